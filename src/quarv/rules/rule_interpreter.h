#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <quarv/export.h>
#include <quarv/rules/language/match_plan.h>
#include <quarv/rules/language/rule_language.h>
#include <quarv/rules/term_normalizer.h>

namespace quarv::rules {

/// A rule that is matched by walking its syntax tree. It does what the class that the rule compiler makes of
/// the same text does, more slowly; it is there for rules that are known only at run time.
class QUARV_API InterpretedRule final : public TermNormalizer::norm_fun {
 public:
  explicit InterpretedRule(Rule rule);

  SymbolTag::tag get_applicant() override { return rule_.applicant(); }

  /// Throws SortError when an operator of the result does not fit its arguments, and RuleError when the
  /// result has another sort than `t`: such a rule is wrong, and what it would yield is not equal to `t`.
  bool operator()(TermManager* mgr, const Term* t, const Term** out) const override;

  std::string_view get_name() const override { return rule_.name; }
  std::string get_signature() override { return rule_.text; }
  int get_group() const override { return 2; }
  ChildShapes get_child_shapes() const override { return orders_.front().shapes; }

  std::size_t num_orders() const override { return rule_.is_unordered ? orders_.size() : 0; }
  ChildShapes get_order_shapes(std::size_t order) const override { return orders_[order].shapes; }
  bool apply_order(std::size_t order, TermManager* mgr, const Term* t, const Term** out) const override;

  const Rule& rule() const noexcept { return rule_; }

 private:
  struct Order {
    Rule rule;
    MatchPlan plan;
    ChildShapes shapes;
  };

  Rule rule_;
  std::vector<Order> orders_;  // one, if the rule is matched as it is written
};

/// The rules of a rule file, to be registered with a normalizer. Throws RuleError.
QUARV_API std::vector<std::unique_ptr<InterpretedRule>> load_rules(std::string_view text);

}  // namespace quarv::rules
