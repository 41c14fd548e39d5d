#include <algorithm>

#include <quarv/rules/language/match_plan.h>

namespace quarv::rules {

namespace {

using ConditionKind = Condition::Kind;

/// How dear a test is.
enum Cost { pointers, integers, widths, numerals };

Cost own_cost(const Condition& condition) {
  switch (condition.kind) {
    case ConditionKind::identity:
    case ConditionKind::precedes:
    case ConditionKind::has_sort:
      return pointers;
    case ConditionKind::compare:
    case ConditionKind::binding: {
      Cost cost = integers;
      for (const IntExpr* side : {&condition.left, &condition.right}) {
        visit(*side, [&](const IntExpr& e) {
          if (e.kind == IntExpr::Kind::size) cost = widths;
        });
      }
      return cost;
    }
    default:
      return numerals;
  }
}

class Planner {
 public:
  explicit Planner(const Rule& rule)
      : rule_(rule),
        needed_by_tests_(rule.parameters.size(), false),
        needed_by_result_(rule.parameters.size(), false),
        parameter_cost_(rule.parameters.size(), pointers) {}

  MatchPlan plan() {
    collect_needs();
    MatchPlan plan;
    std::vector<Step> steps = literal_steps();
    for (const Condition& condition : rule_.conditions) {
      const bool for_tests = condition.kind != ConditionKind::binding || needed_by_tests_[condition.b];
      if (condition.kind == ConditionKind::states_literal) continue;
      if (for_tests) {
        steps.push_back({step_cost(condition), condition});
      } else if (needed_by_result_[condition.b]) {
        plan.bindings.push_back(condition);
      }
    }
    std::ranges::stable_sort(steps, {}, &Step::cost);
    for (Step& step : steps) plan.tests.push_back(std::move(step.condition));
    for (std::size_t i = 0; i < rule_.parameters.size(); ++i) {
      plan.parameter_used.push_back(needed_by_tests_[i] || needed_by_result_[i]);
    }
    return plan;
  }

 private:
  struct Step {
    Cost cost;
    Condition condition;
  };

  /// Marks what `condition` reads. Walked backwards, so that a binding's own needs come after those of its
  /// readers.
  void collect_needs() {
    for (const ResultNode& node : rule_.result) {
      for (const IntExpr& e : node.parameters) mark(e, &needed_by_result_);
      if (node.kind == ResultNode::Kind::exponent) needed_by_result_[node.index] = true;
    }
    for (auto condition = rule_.conditions.rbegin(); condition != rule_.conditions.rend(); ++condition) {
      std::vector<bool>* needed = &needed_by_tests_;
      if (condition->kind == ConditionKind::binding && !needed_by_tests_[condition->b]) {
        if (!needed_by_result_[condition->b]) continue;
        needed = &needed_by_result_;
      }
      mark(condition->left, needed);
      mark(condition->right, needed);
    }
  }

  static void mark(const IntExpr& expression, std::vector<bool>* needed) {
    visit(expression, [&](const IntExpr& e) {
      if (e.kind == IntExpr::Kind::parameter) (*needed)[e.index] = true;
    });
  }

  std::vector<Step> literal_steps() const {
    std::vector<Step> steps;
    for (std::size_t i = 0; i < rule_.pattern.size(); ++i) {
      const PatternNode& node = rule_.pattern[i];
      const bool is_literal = node.kind == PatternNode::Kind::literal;
      if (!is_literal && node.kind != PatternNode::Kind::constant) continue;
      const bool has_width = rule_.sorts[node.sort].kind == SortKind::bit_vector;
      Condition test;
      test.kind = !is_literal ? ConditionKind::has_constant
                  : has_width ? ConditionKind::has_value
                              : ConditionKind::has_number;
      test.a = i;
      test.value = node.value;
      test.constant = node.constant;
      steps.push_back({numerals, std::move(test)});
    }
    for (const Condition& test : rule_.sort_tests) steps.push_back({own_cost(test), test});
    return steps;
  }

  /// A test is as dear as the dearest thing that it reads.
  Cost step_cost(const Condition& condition) {
    Cost cost = own_cost(condition);
    for (const IntExpr* side : {&condition.left, &condition.right}) {
      visit(*side, [&](const IntExpr& e) {
        if (e.kind == IntExpr::Kind::parameter) cost = std::max(cost, parameter_cost_[e.index]);
      });
    }
    if (condition.kind == ConditionKind::binding || condition.kind == ConditionKind::power_of_two)
      parameter_cost_[condition.b] = cost;
    return cost;
  }

  const Rule& rule_;
  std::vector<bool> needed_by_tests_;
  std::vector<bool> needed_by_result_;
  std::vector<Cost> parameter_cost_;
};

}  // namespace

MatchPlan plan_match(const Rule& rule) {
  return Planner(rule).plan();
}

}  // namespace quarv::rules
