#include <algorithm>
#include <array>
#include <utility>

#include <quarv/rules/language/child_shapes.h>
#include <quarv/rules/language/rule_orders.h>
#include <quarv/rules/rule_helpers.h>
#include <quarv/rules/rule_interpreter.h>
#include <quarv/rules/rule_operations.h>

namespace quarv::rules {

namespace {

/// One attempt to apply a rule.
class Attempt {
 public:
  Attempt(TermManager* mgr, const Rule& rule) : mgr_(mgr), rule_(rule) {}

  /// Binds positions and operator parameters.
  bool match_pattern(const Term* root) {
    terms_[0] = root;
    for (std::size_t position = 0; position < rule_.pattern.size(); ++position) {
      const PatternNode& node = rule_.pattern[position];
      if (position > 0) terms_[position] = terms_[node.parent]->args[node.child];
      if (node.kind != PatternNode::Kind::application) continue;
      std::size_t parameters[2] = {};
      if (!recognize(mgr_, *node.op, terms_[position]->symbol, parameters)) return false;
      for (std::size_t i = 0; i < node.parameters.size(); ++i) integers_[node.parameters[i]] = parameters[i];
    }
    return true;
  }

  bool holds(const Condition& test) {
    const Term* const a = terms_[test.a];
    switch (test.kind) {
      case Condition::Kind::states_literal:
        return true;
      case Condition::Kind::is_const:
        return is_number(mgr_, a);
      case Condition::Kind::is_not_const:
        return !is_number(mgr_, a);
      case Condition::Kind::identity:
        return a == terms_[test.b];
      case Condition::Kind::precedes:
        return a->id < terms_[test.b]->id;
      case Condition::Kind::has_value:
        return test.value < 0 ? is_all_ones(mgr_, a) : has_value(mgr_, a, test.value);
      case Condition::Kind::has_number:
        return has_value(mgr_, a, test.value);
      case Condition::Kind::has_constant:
        return rules::is_constant(mgr_, a, test.constant);
      case Condition::Kind::has_sort:
        return has_sort(mgr_, a, test.sort);
      case Condition::Kind::compare_values:
        return compare_values(test);
      case Condition::Kind::compare: {
        std::size_t left, right;
        return evaluate(test.left, &left) && evaluate(test.right, &right) &&
               related(left, test.relation, right);
      }
      case Condition::Kind::power_of_two:
        return is_power_of_two(mgr_, a, &integers_[test.b]);
      case Condition::Kind::fits: {
        std::size_t width;
        return get_width(mgr_, a, &width) &&
               sum_fits(mgr_, terms_[test.left.index], terms_[test.right.index], width);
      }
      case Condition::Kind::binding:
        return evaluate(test.left, &integers_[test.b]);
    }
    return false;
  }

  /// Gets the widths that constants of the result take from terms of the pattern, before anything is built.
  bool get_widths() {
    for (const ResultNode& node : rule_.result) {
      std::size_t width;
      if (is_constant(node) && !node.width.from_result &&
          !get_width(mgr_, terms_[node.width.index], &width)) {
        return false;
      }
    }
    return true;
  }

  const Term* build_result() {
    std::size_t i = 0;
    for (const ResultNode& node : rule_.result) results_[i++] = build(node);
    return results_[i - 1];
  }

 private:
  static bool is_constant(const ResultNode& node) {
    return node.kind == ResultNode::Kind::literal || node.kind == ResultNode::Kind::exponent;
  }

  const Term* build(const ResultNode& node) {
    switch (node.kind) {
      case ResultNode::Kind::subterm:
        return terms_[node.index];
      case ResultNode::Kind::truth:
        return mgr_->make_bool(node.value != 0);
      case ResultNode::Kind::literal:
        return make_constant(mgr_, node.value, width_for(node));
      case ResultNode::Kind::number:
        return mgr_->make_number(QNumber(node.value));
      case ResultNode::Kind::constant:
        return rules::make_constant(mgr_, node.constant, like(node));
      case ResultNode::Kind::exponent:
        return make_constant(mgr_, static_cast<std::int64_t>(integers_[node.index]), width_for(node));
      case ResultNode::Kind::application:
        break;
    }
    std::size_t parameters[2] = {};
    for (std::size_t i = 0; i < node.parameters.size(); ++i) evaluate(node.parameters[i], &parameters[i]);
    const Term* arguments[4] = {};
    for (std::size_t i = 0; i < node.arguments.size(); ++i) arguments[i] = results_[node.arguments[i]];
    const Term* array = node.op->tag == SymbolTag::ARRAY_CONST ? like(node) : nullptr;
    return make_application(mgr_, *node.op, parameters, arguments, array);
  }

  const Term* like(const ResultNode& node) const {
    return node.width.from_result ? results_[node.width.index] : terms_[node.width.index];
  }
  std::size_t width_for(const ResultNode& node) const { return width_of(mgr_, like(node)); }

  bool compare_values(const Condition& test) const {
    QNumber left, right;
    return get_value(test.left, &left) && get_value(test.right, &right) &&
           related(left, test.relation, right);
  }

  /// A side of a comparison of values; false when it reads a term that is not a numeral.
  bool get_value(const IntExpr& side, QNumber* value) const {
    if (side.kind == IntExpr::Kind::value) {
      const QNumber* number = mgr_->get_number(terms_[side.index]->symbol);
      if (number != nullptr) *value = *number;
      return number != nullptr;
    }
    if (!is_exact(side)) {
      std::size_t integer;
      if (!evaluate(side, &integer)) return false;
      *value = to_number(integer);
      return true;
    }
    if (side.kind == IntExpr::Kind::power) {
      std::size_t exponent;
      return evaluate(side.operands[0], &exponent) && get_power(exponent, value);
    }
    QNumber left, right;
    if (!get_value(side.operands[0], &left) || !get_value(side.operands[1], &right)) return false;
    if (side.kind == IntExpr::Kind::conjunction) return get_conjunction(left, right, value);
    *value = side.kind == IntExpr::Kind::sum          ? left + right
             : side.kind == IntExpr::Kind::difference ? left - right
                                                      : left * right;
    return true;
  }

  /// False when the width of a term is asked for that is not a bit-vector.
  bool evaluate(const IntExpr& expression, std::size_t* value) const {
    switch (expression.kind) {
      case IntExpr::Kind::literal:
        *value = static_cast<std::size_t>(expression.index);
        return true;
      case IntExpr::Kind::parameter:
        *value = integers_[expression.index];
        return true;
      case IntExpr::Kind::size:
        return get_width(mgr_, terms_[expression.index], value);
      case IntExpr::Kind::value:
      case IntExpr::Kind::conjunction:
      case IntExpr::Kind::power:
        return false;
      case IntExpr::Kind::sum:
      case IntExpr::Kind::difference:
      case IntExpr::Kind::product:
        break;
    }
    std::size_t left, right;
    if (!evaluate(expression.operands[0], &left) || !evaluate(expression.operands[1], &right)) return false;
    *value = expression.kind == IntExpr::Kind::sum ? left + right : left - right;
    return true;
  }

  TermManager* mgr_;
  const Rule& rule_;
  std::array<const Term*, max_positions> terms_;      // by position
  std::array<std::size_t, max_parameters> integers_;  // by parameter
  std::array<const Term*, max_result_nodes> results_;
};

}  // namespace

InterpretedRule::InterpretedRule(Rule rule) : rule_(std::move(rule)) {
  for (Rule& order : orders_of(rule_)) {
    MatchPlan plan = plan_match(order);
    const ChildShapes shapes = child_shapes(order);
    orders_.push_back({std::move(order), std::move(plan), shapes});
  }
}

bool InterpretedRule::operator()(TermManager* mgr, const Term* t, const Term** out) const {
  for (std::size_t i = 0; i < orders_.size(); ++i) {
    if (apply_order(i, mgr, t, out)) return true;
  }
  return false;
}

bool InterpretedRule::apply_order(std::size_t order, TermManager* mgr, const Term* t,
                                  const Term** out) const {
  const MatchPlan& plan = orders_[order].plan;
  Attempt attempt(mgr, orders_[order].rule);
  const auto holds = [&](const Condition& condition) { return attempt.holds(condition); };
  if (!attempt.match_pattern(t) || !std::ranges::all_of(plan.tests, holds) ||
      !std::ranges::all_of(plan.bindings, holds) || !attempt.get_widths()) {
    return false;
  }
  const Term* const result = attempt.build_result();
  // A real number may turn out to be an integer.
  const DataType* type = mgr->type_of(t);
  if (mgr->type_of(result) != type && (type != mgr->rat_type || mgr->type_of(result) != mgr->int_type)) {
    std::string reason = "the result has the sort ";
    reason += mgr->type_of(result)->abbreviated();
    reason += ", the term that it replaces ";
    reason += mgr->type_of(t)->abbreviated();
    throw RuleError(rule_.line, 1, reason);
  }
  *out = result;
  return true;
}

std::vector<std::unique_ptr<InterpretedRule>> load_rules(std::string_view text) {
  std::vector<std::unique_ptr<InterpretedRule>> rules;
  for (Rule& rule : parse_rules(text)) rules.push_back(std::make_unique<InterpretedRule>(std::move(rule)));
  return rules;
}

}  // namespace quarv::rules
