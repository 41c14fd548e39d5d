#pragma once

#include <cstddef>
#include <vector>

#include <quarv/rules/language/rule_language.h>

namespace quarv::rules {

/// In which order a rule is tested once the operators of its pattern have been recognised. Tests have no
/// effects, so the order cannot be observed, only felt: pointer comparisons come first, then integers, widths
/// and numerals.
struct MatchPlan {
  /// Tests, and bindings that later tests need. Besides the written conditions, the literals of the pattern
  /// appear as `has_value`.
  std::vector<Condition> tests;

  /// The `binding` conditions that only the result needs, in order.
  std::vector<Condition> bindings;

  /// Whether each parameter is read by a test or by the result.
  std::vector<bool> parameter_used;
};

MatchPlan plan_match(const Rule& rule);

/// Calls `f` for `expression` and all expressions in it.
template <class F>
void visit(const IntExpr& expression, const F& f) {
  f(expression);
  for (const IntExpr& operand : expression.operands) visit(operand, f);
}

}  // namespace quarv::rules
