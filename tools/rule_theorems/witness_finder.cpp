#include "witness_finder.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include <quarv/rules/language/rule_orders.h>
#include <quarv/rules/queries/rule_instance.h>

namespace rule_theorems {

using namespace quarv::rules;

namespace {

constexpr std::size_t max_width = 3;
constexpr std::size_t max_tries = 100'000;  // for each choice of widths

/// Gives values to the variables of an instance.
class WitnessFinder {
 public:
  WitnessFinder(const Rule& rule, const RuleInstance& instance)
      : rule_(rule), instance_(instance), values_(rule.pattern.size(), 1) {}

  /// Whether some values meet the conditions.
  bool find() {
    for (std::size_t i = 0; i < rule_.pattern.size(); ++i) {
      const PatternNode& node = rule_.pattern[i];
      if (node.kind == PatternNode::Kind::literal) values_[i] = value(node.value, i);
      if (node.kind == PatternNode::Kind::variable) variables_.push_back(i);
    }
    return try_values(0);
  }

  std::string arguments() const {
    std::string text;
    for (std::size_t i = 0; i < rule_.pattern.size(); ++i) {
      if (!is_term(i) || is_truth_value(i)) continue;
      text += " (make_bv " + std::to_string(instance_.widths[i]) + ' ' + std::to_string(values_[i]) + ')';
    }
    for (std::size_t i = 0; i < rule_.pattern.size(); ++i) {
      if (is_term(i) && is_truth_value(i)) text += values_[i] != 0 ? " true" : " false";
    }
    for (std::size_t i = 0; i < rule_.parameters.size(); ++i) {
      if (rule_.parameters[i].source == Parameter::Source::computed) continue;
      text += ' ' + std::to_string(instance_.integers[i]);
    }
    return text;
  }

 private:
  /// One of which the statement speaks.
  bool is_term(std::size_t position) const {
    const PatternNode::Kind kind = rule_.pattern[position].kind;
    return kind == PatternNode::Kind::variable || kind == PatternNode::Kind::literal;
  }
  bool is_truth_value(std::size_t position) const {
    return rule_.sorts[rule_.pattern[position].sort].kind == SortKind::boolean;
  }
  std::size_t num_bits(std::size_t position) const {
    return is_truth_value(position) ? 1 : instance_.widths[position];
  }

  std::uint64_t value(std::int64_t literal, std::size_t position) const {
    return literal < 0 ? (std::uint64_t{1} << instance_.widths[position]) - 1
                       : static_cast<std::uint64_t>(literal);
  }

  /// The only value that a condition leaves to the variable, if there is such a condition.
  std::optional<std::uint64_t> determined(std::size_t variable) const {
    for (const Condition& c : rule_.conditions) {
      if (c.kind == Condition::Kind::identity && std::max(c.a, c.b) == variable) {
        return values_[std::min(c.a, c.b)];
      }
      if (c.a != variable) continue;
      if (c.kind == Condition::Kind::has_value) return value(c.value, variable);
      if (c.kind == Condition::Kind::power_of_two) return std::uint64_t{1} << instance_.integers[c.b];
    }
    return std::nullopt;
  }

  bool try_values(std::size_t i) {
    if (i == variables_.size()) {
      ++num_tries_;
      return conditions_hold();
    }
    const std::size_t variable = variables_[i];
    if (const auto only = determined(variable)) {
      values_[variable] = *only;
      return try_values(i + 1);
    }
    const std::uint64_t end = std::uint64_t{1} << num_bits(variable);
    for (std::uint64_t value = 0; value < end && num_tries_ < max_tries; ++value) {
      values_[variable] = value;
      if (try_values(i + 1)) return true;
    }
    return false;
  }

  std::uint64_t side(const IntExpr& e) const {
    if (e.kind == IntExpr::Kind::value) return values_[e.index];
    if (!is_exact(e)) return evaluate(e, instance_);
    if (e.kind == IntExpr::Kind::power) return std::uint64_t{1} << evaluate(e.operands[0], instance_);
    const std::uint64_t left = side(e.operands[0]);
    const std::uint64_t right = side(e.operands[1]);
    return e.kind == IntExpr::Kind::sum           ? left + right
           : e.kind == IntExpr::Kind::difference  ? left - right
           : e.kind == IntExpr::Kind::conjunction ? left & right
                                                  : left * right;
  }

  bool conditions_hold() const {
    for (std::size_t i = 0; i < rule_.pattern.size(); ++i) {
      if (is_term(i) && values_[i] >> num_bits(i) != 0) return false;
    }
    return std::ranges::all_of(rule_.conditions, [this](const Condition& c) { return holds(c); });
  }

  bool holds(const Condition& c) const {
    switch (c.kind) {
      case Condition::Kind::identity:
        return values_[c.a] == values_[c.b];
      case Condition::Kind::has_value:
        return values_[c.a] == value(c.value, c.a);
      case Condition::Kind::power_of_two:
        return values_[c.a] == std::uint64_t{1} << instance_.integers[c.b];
      case Condition::Kind::compare_values:
        return related(side(c.left), c.relation, side(c.right));
      case Condition::Kind::fits:
        return (side(c.left) + side(c.right)) >> instance_.widths[c.a] == 0;
      default:
        return true;  // the instance meets it, or it says nothing about values
    }
  }

  const Rule& rule_;
  const RuleInstance& instance_;
  std::vector<std::uint64_t> values_;  // by position
  std::vector<std::size_t> variables_;
  std::size_t num_tries_ = 0;
};

}  // namespace

std::string witness(const Rule& rule, std::size_t number) {
  for (const RuleInstance& instance : all_instances(rule, max_width)) {
    WitnessFinder finder(rule, instance);
    if (!finder.find()) continue;
    const std::string n = std::to_string(number);
    std::string text = "Theorem witness_";
    text.append(n).append(" : applies_").append(n).append(finder.arguments());
    // Of the orders of an unordered rule, the first.
    text += orders_of(rule).size() > 1 ? ".\nProof. left; instance. Qed.\n" : ".\nProof. instance. Qed.\n";
    return text;
  }
  return {};
}

}  // namespace rule_theorems
