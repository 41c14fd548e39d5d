#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <quarv/export.h>
#include <quarv/rules/rule_index.h>
#include <quarv/rules/simplification_observer.h>
#include <quarv/term/form_cache.h>
#include <quarv/term/symbol_tag.h>
#include <quarv/term/term.h>

namespace quarv {

class TermManager;

/// Rewrites terms bottom-up by local rules until none applies.
///
/// The normalizer owns its rules. Arguments are normalised before the term that they belong to; a term with
/// changed arguments is rebuilt by the manager's full constructor, so that simplifiers and rules feed each
/// other; what a rule yields is normalised again. Rules of one operator are tried in the order of their
/// registration, and only those that the operators of the first two arguments allow. Nothing recurses on the
/// depth of terms, and results are kept from call to call, so that a shared term is normalised once.
///
/// A normalizer serves one manager at a time: on a call with another one it forgets all results. What a
/// manager releases, it forgets by itself.
class QUARV_API TermNormalizer {
 public:
  /// The base of every rule. A rule has no state.
  class norm_fun {
   public:
    virtual ~norm_fun() = default;

    /// The tag of the root operator of the terms that the rule applies to.
    virtual SymbolTag::tag get_applicant() = 0;

    /// Tries the rule on `t`, whose root has the applicant's tag. When it applies, stores a term equal to `t`
    /// and returns true; otherwise returns false and leaves `*out` alone.
    virtual bool operator()(TermManager* mgr, const Term* t, const Term** out) const = 0;

    /// What the rule is called; empty for a rule that has no name. A set of rules may change around a name,
    /// where it changes a rule's number.
    virtual std::string_view get_name() const { return {}; }

    /// The rule's text.
    virtual std::string get_signature() = 0;

    virtual int get_group() const = 0;

    /// What the rule asks of the root's first two arguments. It is never called on terms that do not meet
    /// this.
    virtual rules::ChildShapes get_child_shapes() const { return {}; }

    /// In how many orders of its operands the rule is matched; 0 for a rule that is matched as it is written.
    /// A call of an unordered rule tries its orders one after the other. The index tries, in the same order,
    /// those alone whose shapes a term has.
    virtual std::size_t num_orders() const { return 0; }
    virtual rules::ChildShapes get_order_shapes(std::size_t /*order*/) const { return {}; }
    virtual bool apply_order(std::size_t /*order*/, TermManager* mgr, const Term* t, const Term** out) const {
      return (*this)(mgr, t, out);
    }
  };

  /// Counts since the normalizer was made or `reset_statistics` was called.
  struct Statistics {
    std::uint64_t visited = 0;   ///< terms that were looked at, each once
    std::uint64_t attempts = 0;  ///< calls of rules
    std::uint64_t applied = 0;   ///< calls of rules that rewrote
    std::uint64_t cycles =
        0;  ///< times that rewriting came back to a term it had started from, and was stopped
    std::uint64_t budget_spent = 0;  ///< calls of `normalize` that ended because their step budget was spent
  };

  TermNormalizer();
  ~TermNormalizer();
  TermNormalizer(const TermNormalizer&) = delete;
  TermNormalizer& operator=(const TermNormalizer&) = delete;

  /// Appends a rule, which is on, and takes ownership of it.
  void register_rule(norm_fun* rule);

  std::size_t num_rules() const noexcept { return rules_.size(); }

  /// Rule i in registration order, from 0.
  norm_fun& get_rule(std::size_t i) const { return *rules_[i].fun; }

  /// The number, from 0, of the rule that has that name.
  std::optional<std::size_t> find_rule(std::string_view name) const;

  /// What rule i is called in messages: its name, or without one its number, from 1.
  std::string rule_label(std::size_t i) const;

  bool is_rule_enabled(std::size_t i) const { return rules_[i].enabled; }

  /// Turns a rule on or off, by number from 0, or by name or signature, for all calls to come. The second
  /// form returns how many rules have that name or signature.
  void set_rule_enabled(std::size_t i, bool enabled);
  std::size_t set_rule_enabled(std::string_view name_or_signature, bool enabled);

  /// A term equal to `t` to which no rule applies, at its root or below; the same one at every call. If rules
  /// undo each other, rewriting stops at one of the terms that they lead through, chosen by age, whichever of
  /// them it began with. When the step budget is spent, the term reached so far. What a constructor or a rule
  /// throws passes through.
  const Term* normalize(TermManager* mgr, const Term* t) { return normalize(mgr, t, no_limit); }
  /// Likewise, with a step budget for this call that is no larger than `most_steps`.
  const Term* normalize(TermManager* mgr, const Term* t, std::uint64_t most_steps);

  /// Says whether the terms passed to `normalize` were built by full constructors, with the simplifiers that
  /// the manager has now. Then only what changes is built again. They are not, unless said.
  void set_inputs_are_simplified(bool yes) noexcept { inputs_are_simplified_ = yes; }

  /// Limits the rule applications of each call of `normalize`. Without a limit set, the budget grows with the
  /// input: `base_budget` applications and `budget_per_term` for each of its terms that is visited. What
  /// rules make gives them no further budget, even where an earlier call had made the same.
  void set_step_budget(std::uint64_t n) { step_budget_ = n; }
  void reset_step_budget() { step_budget_.reset(); }
  static constexpr std::uint64_t base_budget = 1 << 14;
  static constexpr std::uint64_t budget_per_term = 64;

  /// The observer to be told of each rule application; null for none. Not owned.
  void set_observer(SimplificationObserver* observer) noexcept { observer_ = observer; }
  SimplificationObserver* observer() const noexcept { return observer_; }

  /// Forgets all results, and frees their memory. To be called when the manager's simplifiers change.
  void clear_cache();

  const Statistics& statistics() const noexcept { return statistics_; }
  void reset_statistics() { statistics_ = {}; }

 private:
  struct OwnedRule {
    std::unique_ptr<norm_fun> fun;
    bool enabled = true;
  };

  /// A term being normalised.
  struct Frame {
    const Term* current;      // the last term of its trail
    std::size_t trail_begin;  // its trail: what it has been rewritten to so far, beginning with itself
    std::uint32_t next_child;
    bool is_input;  // a term of the input that has not been rewritten
  };

  struct TrailEntry {
    const Term* term;
    bool rules_tried;  // its arguments were normal
  };

  /// What the index leads to: a rule, or one order of an unordered rule.
  struct Candidate {
    static constexpr std::uint32_t as_written = ~std::uint32_t{0};

    const norm_fun* fun;
    std::uint32_t rule;
    std::uint32_t order;
    rules::TermShape shape;

    bool apply(TermManager* mgr, const Term* t, const Term** out) const {
      return order == as_written ? (*fun)(mgr, t, out) : fun->apply_order(order, mgr, t, out);
    }
  };

  void build_index();
  void prepare(TermManager* mgr);
  void run();
  void unwind();
  void abandon();

  const Term*& entry(const Term* t) { return cache_[t]; }
  bool is_finished(const Term* t);
  const Term* form_of(const Term* t);
  void note_visit(bool is_input) noexcept;
  void push(const Term* t, bool is_input);
  bool push_next_child(Frame& frame);
  const Term* rebuild(const Term* t, bool always);
  const Term* apply_rule(const Term* t);
  void advance(const Term* next);
  void finish(const Term* normal_form);
  const Term* stop_cycle(const Term* repeated);
  std::uint64_t budget() const;

  std::vector<OwnedRule> rules_;
  rules::RuleIndex index_;
  std::vector<Candidate> candidates_;
  bool index_is_current_ = false;
  bool inputs_are_simplified_ = false;

  static constexpr std::uint64_t no_limit = ~std::uint64_t{0};
  std::optional<std::uint64_t> step_budget_;
  SimplificationObserver* observer_ = nullptr;
  Statistics statistics_;

  TermManager* mgr_ = nullptr;
  FormCache cache_;  // null, the normal form, or the mark of a term being normalised

  // The call under way.
  std::vector<Frame> stack_;
  std::vector<TrailEntry> trail_;  // the trails of all frames, one after the other
  std::vector<const Term*> args_;
  std::size_t first_new_id_ = 0;
  std::uint64_t most_steps_ = no_limit;
  std::uint64_t applied_ = 0;
  std::uint64_t visited_ = 0;
  std::uint64_t visited_inputs_ = 0;  // those of the input
  bool budget_spent_ = false;
};

}  // namespace quarv
