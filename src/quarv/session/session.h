#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include <quarv/export.h>
#include <quarv/session/model.h>
#include <quarv/session/own_simplifications.h>
#include <quarv/session/strict_semantics.h>
#include <quarv/session/term_rebuilder.h>
#include <quarv/session/user_rules.h>
#include <quarv/simpl/extended/extended_simplifier.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/substitution.h>
#include <quarv/term/term_manager.h>

namespace quarv {

/// How a session simplifies.
struct SessionOptions {
  bool simplify = true;     ///< false: terms stay as they are written
  bool eager = true;        ///< terms are simplified when they are built, otherwise by `Session::simplify`
  bool rules = true;        ///< the rewrite rules, beside the simplifiers
  bool simplifiers = true;  ///< the simplifiers of operators, beside the rules
  bool library_semantics = false;  ///< the library's own semantics instead of the strict SMT-LIB semantics
  bool extended = false;  ///< simplifications beside the required ones; none in the library's own semantics
  std::vector<RuleFile> extra_rules{};        ///< to be tried after the standard rules
  std::vector<std::string> disabled_rules{};  ///< names, numbers from 1, the standard rules first, or texts
  bool unfold = false;  ///< readers take applications of defined functions for what the definitions say
};

/// One step of a simplification: what stood for what.
struct Step {
  std::size_t rule = 0;  ///< number of the rewrite rule, from 1; 0 for a simplifier
  std::string name;      ///< the rule's text, or the SMT-LIB name of the simplifier's operator
  const Term* before;
  const Term* after;
  std::string rule_name;  ///< of a rule that has one
};

/// A manager of terms with all that simplifies them, the functions that are declared, and the formulas that
/// are asserted, by levels. Readers, printers, and the interfaces to other languages stand on it.
///
///     quarv::Session session;
///     quarv::TermManager& m = session.manager();
///     const quarv::Term* x = session.constant("x", m.get_bv_type(8));
///     const quarv::Term* t = session.simplify(m.make_bv_add(x, m.make_bv_number(0, 8)));   // x
///
/// Terms, symbols and sorts live as long as the session.
class QUARV_API Session {
 public:
  using Args = std::span<const Term* const>;
  using Sorts = std::span<const DataType* const>;

  /// Throws InputError for a rule file with an error, and UnknownRule.
  explicit Session(SessionOptions options = {});
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  const SessionOptions& options() const noexcept { return options_; }
  TermManager& manager() noexcept { return manager_; }
  const TermManager& manager() const noexcept { return manager_; }
  /// Holds simplifiers and rules.
  StdTermSimplifier& simplifier() noexcept { return simplifier_; }

  /// A term equal to `t`, simplified as far as the session can, however it was built. What more than doubles
  /// a large term is not done to it.
  const Term* simplify(const Term* t) { return simplified(t, rebuild_); }
  /// Likewise; appends what was done, in the order in which it was done.
  const Term* simplify(const Term* t, std::vector<Step>& steps);
  /// What the rules make of a term that the simplifiers have seen; the term itself where rules are off, and
  /// where they would more than double a large term. \throws SortError for a null term and one of another
  /// manager
  const Term* normalize(const Term* t);
  /// Says that so many rule applications were for nothing: what came of them was not used.
  void count_wasted(std::uint64_t steps) noexcept { wasted_ += steps; }
  /// The term with replacements made, as `quarv::substitute` does; what changes is built as the session
  /// builds.
  const Term* substitute(const Term* t, const Substitution& substitution);
  /// The term's value where the model says what is needed for it, computed by the simplifiers; a term that is
  /// simpler, where it does not, or where the standard leaves the value open. Quantifiers are not tried out;
  /// annotations are left out. A session that does not simplify at all computes nothing. \throws SortError
  /// for a null term, one of another manager, and a function's value of another sort
  const Term* evaluate(const Term* t, const Model& model);

  /// Simplifications of a user's own, for an operator or a declared function; see OwnSimplifications. What
  /// was simplified already is simplified anew when it is asked for. What is added after a mark is gone when
  /// the mark is released.
  template <class TagOrSymbol>
  void add_simplification(TagOrSymbol what, OwnSimplifications::Function f,
                          OwnSimplifications::When when = OwnSimplifications::When::before) {
    own_.add(what, std::move(f), when);
    use_own_simplifications();
  }

  /// Rules of a user's own, tried after those there are. \throws InputError with the file's name and the
  /// place in its text
  void add_rules(const RuleFile& file) { register_rule_file(file, simplifier_.normalizer); }

  /// The constant of that name: one name is one symbol. \throws std::invalid_argument when the name is
  /// declared with other sorts
  const Term* constant(std::string_view name, const DataType* sort);
  /// The function of that name; likewise.
  const Symbol* function(std::string_view name, Sorts arguments, const DataType* result);
  /// The function or constant that a name was given to; null for none.
  const Symbol* declared(std::string_view name) const;

  struct DeclaredSort {
    const DataType* sort;  ///< or the constructor of sorts
    std::size_t num_parameters;
  };
  /// Remembers a sort. \throws std::invalid_argument when the name has a different number of parameters
  void declare_sort(std::string_view name, const DeclaredSort& sort);
  /// The sort that a name was given to; null for none.
  const DeclaredSort* declared_sort(std::string_view name) const;

  /// A state to return to: what is declared and asserted, and how many levels are open.
  struct Place {
    std::size_t names = 0;
    std::size_t sorts = 0;
    std::size_t formulas = 0;
    std::size_t levels = 0;
  };
  Place place() const noexcept {
    return {names_.size(), sort_names_.size(), formulas_.size(), levels_.size()};
  }

  /// A state to which `release` returns: terms, declarations, assertions and levels.
  class Mark {
    friend class Session;
    TermMark terms_;
    std::size_t depth_ = 0;
    std::uint64_t number_ = 0;
  };
  /// Remembers the state there is now.
  Mark mark();
  /// Forgets what was declared, asserted and opened since the mark, and gives back all terms, symbols and
  /// sorts that were made since; see `TermManager::release`, which a session's owner does not call himself.
  /// \throws std::invalid_argument for a mark that is not in force: it, or an earlier one, was released, or
  /// a level that was open there was closed
  void release(const Mark& mark);

  /// Opens levels. What is declared and asserted from now on is gone when they are closed.
  void push(std::size_t levels = 1) { levels_.insert(levels_.end(), levels, place()); }
  /// Closes levels, which must be open. Declarations stay when `keep_names`.
  void pop(std::size_t levels = 1, bool keep_names = false);
  std::size_t num_levels() const noexcept { return levels_.size(); }

  /// \throws SortError for a term of another sort than Bool, a null one and one of another manager
  void assert_formula(const Term* t);
  /// Something restricts the interpretations that is not a term, as a recursive definition does.
  void assert_something_else() { formulas_.push_back(nullptr); }
  /// What is asserted on all levels, oldest first; null for what is not a term.
  Args assertions() const noexcept { return formulas_; }

  /// Forgets what came after a place; names stay when `keep_names`. Terms stay in the manager.
  void return_to(const Place& place, bool keep_names = false);

  /// Builds what is known by its name alone, because no simplifier was there when it was built, of other
  /// operators; to be set by those who know operators by name.
  using NamedBuilder = const Term* (*)(Session&, const Symbol*, Args);
  void set_named_builder(NamedBuilder build) noexcept { build_named_ = build; }

 private:
  TermSimplifier* standard() noexcept {
    if (options_.library_semantics) return &simplifier_;
    return options_.extended ? static_cast<TermSimplifier*>(&extended_) : &strict_;
  }
  TermSimplifier* active() noexcept { return own_.size() == 0 ? standard() : &own_; }
  void use_own_simplifications();
  const Term* make(const Symbol* symbol, Args args);
  void disable_rules(bool by_number);
  TermRebuilder rebuilder();
  const Term* simplified(const Term* t, TermRebuilder& rebuild);

  SessionOptions options_;
  TermManager manager_;
  StdTermSimplifier simplifier_;
  StrictSemantics strict_{simplifier_};
  ExtendedSimplifier extended_{strict_, simplifier_};
  OwnSimplifications own_{*standard(), simplifier_};
  NamedBuilder build_named_ = nullptr;
  TermRebuilder rebuild_;
  std::uint64_t wasted_ = 0;  // rule applications of no use
  std::size_t skipped_ = 0;   // terms that rules were not tried on since these were too many
  bool has_paused_ = false;   // some were skipped

  std::unordered_map<std::string, const Symbol*> declared_;
  std::vector<const std::string*> names_;  // keys of `declared_`, oldest first
  std::unordered_map<std::string, DeclaredSort> declared_sorts_;
  std::vector<const std::string*> sort_names_;  // likewise
  std::vector<const Term*> formulas_;
  std::vector<Place> levels_;

  struct MarkedState {
    std::uint64_t number;
    Place place;
    std::uint64_t wasted;
    std::size_t skipped, own;
    bool has_paused;
  };
  std::vector<MarkedState> marks_;  // those in force
  std::uint64_t num_marks_ = 0;
};

}  // namespace quarv
