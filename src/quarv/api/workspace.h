#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <quarv/export.h>
#include <quarv/rules/simplification_observer.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

namespace quarv {

struct WorkspaceOptions {
  bool eager = false;  ///< simplify each term when it is built; otherwise terms are built as they are written
  bool standard = false;  ///< the plain layer instead of strict SMT-LIB semantics
  bool rules = true;      ///< `simplify` applies the rewrite rules, beside the simplifiers
};

/// One step of a simplification: what stood for what.
struct Step {
  std::size_t rule = 0;  ///< number of the rewrite rule, from 1; 0 for a simplifier
  std::string name;      ///< the rule's text, or the SMT-LIB name of the simplifier's operator
  const Term* before;
  const Term* after;
};

/// A manager with its simplifiers, reached by names and texts of SMT-LIB instead of C++ members: what the C
/// interface and the Python module are made of, and what is convenient for short programs.
///
/// A name has one meaning in a workspace, wherever it comes from: a constant that a script declares is the
/// constant that `constant` answers for its name and sort. Where nothing else is said, what does not fit is
/// thrown as SortError, texts with faults as smtlib::Error, and names that mean nothing as
/// std::invalid_argument.
class QUARV_API Workspace {
 public:
  using Args = std::span<const Term* const>;
  using Sorts = std::span<const DataType* const>;

  explicit Workspace(const WorkspaceOptions& options = {});
  ~Workspace();
  Workspace(const Workspace&) = delete;
  Workspace& operator=(const Workspace&) = delete;

  TermManager& manager() noexcept;
  /// Holds simplifiers and rules; shared by all that the workspace does.
  StdTermSimplifier& simplifier() noexcept;

  /// The sort that an SMT-LIB text denotes: "(_ BitVec 8)", "(Array Int Bool)".
  const DataType* sort(std::string_view text);
  /// An uninterpreted sort, or a constructor of sorts; the same name gives the same sort.
  const DataType* declare_sort(std::string_view name, std::size_t num_parameters = 0);

  /// The declared constant of that name. \throws std::invalid_argument when the name has another sort
  /// already, or may not be declared
  const Term* constant(std::string_view name, const DataType* sort);
  /// The declared function of that name; `make` applies it.
  const Symbol* function(std::string_view name, Sorts arguments, const DataType* result);

  /// The literal of `width` bits that is congruent to the integer `value`.
  const Term* bit_vector(const QNumber& value, std::size_t width);

  /// The application of an operator by its SMT-LIB name, indices included ("bvadd", "(_ extract 7 0)",
  /// "(as const (Array Int Int))"), or of a declared function.
  const Term* make(std::string_view op, Args args);

  /// The term that an SMT-LIB text denotes; declared names may occur in it.
  const Term* term(std::string_view text);

  /// The assertions of an SMT-LIB script that are in force at its end. `file` is for messages. Definitions of
  /// functions with parameters have no place among terms and are refused.
  std::vector<const Term*> parse(std::string_view text, const std::string& file);

  /// A term equal to `t`, simplified as far as the workspace can. Rules that would more than double a large
  /// term are not applied to it.
  const Term* simplify(const Term* t);
  /// Likewise; appends what was done, in the order in which it was done.
  const Term* simplify(const Term* t, std::vector<Step>& steps);

  /// Rules of a user's own, tried after those there are. \throws smtlib::Error with `file` and the place in
  /// the text
  void add_rules(std::string_view text, const std::string& file);

  /// The term on one line, shared sub-terms as `let`.
  std::string text(const Term* t) const;
  /// A script that declares what occurs in the assertions, and asserts them.
  std::string script(Args assertions) const;
  /// Number of distinct sub-terms, the terms themselves included.
  std::size_t num_nodes(Args terms) const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quarv
