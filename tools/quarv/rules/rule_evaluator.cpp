#include "rules/rule_evaluator.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include <fmt/core.h>

#include "reference/operations.h"
#include "reference/random.h"
#include "reference/terms.h"

namespace quarv::cli {

namespace {

using reference::Column;
using reference::Expression;
using reference::Sort;
using rules::Condition;
using rules::IntExpr;
using rules::PatternNode;
using rules::ResultNode;
using rules::Rule;
using rules::RuleInstance;
using rules::Shape;

mpz_class number(std::uint64_t value) {
  return mpz_class(static_cast<unsigned long>(value));
}

mpz_class power(std::size_t n) {
  return mpz_class(1) << n;
}

/// The evaluation of one instance.
class InstanceEvaluation {
 public:
  InstanceEvaluation(const Rule& rule, const RuleInstance& instance, reference::Sorts& sorts)
      : rule_(rule),
        instance_(instance),
        sorts_(sorts),
        same_as_(rule.pattern.size()),
        places_(rule.pattern.size()) {
    unite_identical();
    add_pattern();
    has_result_ = add_result();
  }

  RuleEvaluator::Outcome run(std::size_t most, std::uint64_t seed) {
    if (!is_possible_) return {};
    choose_values(most, seed);
    if (!is_possible_) return {};
    reference::Evaluation values(expressions_, num_assignments_);
    for (std::size_t i = 0; i < variables_.size(); ++i)
      values.set(places_[variables_[i]], std::move(given_[i]));
    if (!expressions_.empty()) values[expressions_.size() - 1];
    const std::vector<bool> applies = where_conditions_hold(values);
    RuleEvaluator::Outcome outcome;
    outcome.applied = static_cast<std::uint64_t>(std::ranges::count(applies, true));
    if (outcome.applied == 0) return outcome;
    const std::size_t first = has_result_ ? first_difference(values, applies) : first_true(applies);
    if (first != num_assignments_) outcome.counterexample = description(values, first);
    return outcome;
  }

 private:
  void unite_identical() {
    std::iota(same_as_.begin(), same_as_.end(), std::size_t{0});
    for (const Condition& c : rule_.conditions) {
      if (c.kind != Condition::Kind::identity) continue;
      const auto [first, second] = std::minmax(same_as_[c.a], same_as_[c.b]);
      std::ranges::replace(same_as_, std::size_t{second}, std::size_t{first});
    }
  }

  std::size_t width(std::size_t position) const { return instance_.widths[position]; }
  const Sort* sort(std::size_t bits) { return bits == 0 ? sorts_.boolean() : sorts_.bit_vector(bits); }

  std::size_t add(Expression e) {
    expressions_.push_back(std::move(e));
    return expressions_.size() - 1;
  }

  std::size_t add_literal(std::int64_t value, std::size_t bits) {
    const mpz_class exact =
        value < 0 ? mpz_class(power(bits) - 1) : number(static_cast<std::uint64_t>(value));
    if (bits != 0 && exact >= power(bits)) is_possible_ = false;
    return add({.kind = Expression::literal, .sort = sort(bits), .value = exact});
  }

  /// Later positions are arguments of earlier ones, never the other way round.
  void add_pattern() {
    for (std::size_t i = rule_.pattern.size(); i-- > 0;) {
      const PatternNode& node = rule_.pattern[i];
      if (node.kind == PatternNode::Kind::literal) places_[i] = add_literal(node.value, width(i));
      if (node.kind == PatternNode::Kind::variable && same_as_[i] == i) {
        places_[i] = add({.kind = Expression::variable, .sort = sort(width(i)), .name = node.name});
        variables_.insert(variables_.begin(), i);
      }
    }
    for (std::size_t i = rule_.pattern.size(); i-- > 0;) {
      const PatternNode& node = rule_.pattern[i];
      if (node.kind == PatternNode::Kind::variable) places_[i] = places_[same_as_[i]];
      if (node.kind != PatternNode::Kind::application) continue;
      std::vector<std::size_t> indices, args;
      for (const std::size_t p : node.parameters) indices.push_back(instance_.integers[p]);
      for (const std::size_t a : node.arguments) args.push_back(places_[a]);
      places_[i] = add_application(*node.op, std::move(indices), std::move(args), width(i));
    }
  }

  std::size_t add_application(const rules::OperatorWord& op, std::vector<std::size_t> indices,
                              std::vector<std::size_t> args, std::size_t bits) {
    return add({.kind = Expression::operation,
                .sort = sort(bits),
                .op = &reference::operation_named(op.smtlib),
                .indices = std::move(indices),
                .args = std::move(args)});
  }

  /// False when the result has no sort, or another one than the pattern.
  bool add_result() {
    std::vector<std::size_t> places, widths;
    for (const ResultNode& node : rule_.result) {
      if (node.kind == ResultNode::Kind::subterm) {
        places.push_back(places_[node.index]);
        widths.push_back(width(node.index));
      } else if (node.kind == ResultNode::Kind::truth) {
        places.push_back(add_literal(node.value, 0));
        widths.push_back(0);
      } else if (node.kind == ResultNode::Kind::application) {
        std::vector<std::size_t> indices, args, bits;
        for (const IntExpr& p : node.parameters) indices.push_back(rules::evaluate(p, instance_));
        for (const std::size_t a : node.arguments) {
          args.push_back(places[a]);
          bits.push_back(widths[a]);
        }
        const std::optional<std::size_t> w = rules::width_of_application(*node.op, indices, bits);
        if (!w) return false;
        places.push_back(add_application(*node.op, std::move(indices), std::move(args), *w));
        widths.push_back(*w);
      } else {
        const std::size_t w = node.width.from_result ? widths[node.width.index] : width(node.width.index);
        const bool is_literal = node.kind == ResultNode::Kind::literal;
        mpz_class value =
            is_literal ? mpz_class(static_cast<long>(node.value)) : number(instance_.integers[node.index]);
        mpz_fdiv_r_2exp(value.get_mpz_t(), value.get_mpz_t(), w);
        places.push_back(add({.kind = Expression::literal, .sort = sort(w), .value = value}));
        widths.push_back(w);
      }
    }
    result_ = places.back();
    return widths.back() == width(0);
  }

  /// What a condition says that the variable at a position is, if one does.
  std::optional<mpz_class> stated_value(std::size_t position) const {
    for (const Condition& c : rule_.conditions) {
      if (same_as_[c.a] != position) continue;
      if (c.kind == Condition::Kind::has_value) {
        return c.value < 0 ? mpz_class(power(width(position)) - 1)
                           : number(static_cast<std::uint64_t>(c.value));
      }
      if (c.kind == Condition::Kind::power_of_two) return power(instance_.integers[c.b]);
    }
    return std::nullopt;
  }

  void choose_values(std::size_t most, std::uint64_t seed) {
    std::vector<std::optional<mpz_class>> stated;
    std::vector<std::size_t> free_widths;
    std::size_t bits = 0;
    for (const std::size_t position : variables_) {
      stated.push_back(stated_value(position));
      if (stated.back() && *stated.back() >= power(width(position))) is_possible_ = false;
      if (stated.back()) continue;
      free_widths.push_back(std::max<std::size_t>(1, width(position)));  // a truth value has one bit
      bits += free_widths.back();
    }
    constexpr std::size_t word = 20;
    const bool all = bits <= word && (std::size_t{1} << bits) <= most;
    num_assignments_ = all ? std::size_t{1} << bits : most;
    std::vector<Column> free =
        all ? reference::all_assignments(free_widths) : random_columns(free_widths, seed);
    std::size_t next = 0;
    for (std::size_t i = 0; i < variables_.size(); ++i) {
      if (!stated[i]) {
        given_.push_back(std::move(free[next++]));
      } else if (sort(width(variables_[i]))->is_word()) {
        given_.push_back({std::vector<std::uint64_t>(num_assignments_, stated[i]->get_ui()), {}});
      } else {
        given_.push_back({{}, std::vector<reference::Value>(num_assignments_, {*stated[i], nullptr})});
      }
    }
  }

  std::vector<Column> random_columns(const std::vector<std::size_t>& widths, std::uint64_t seed) {
    std::vector<Column> columns;
    reference::Random random(seed);
    for (const std::size_t w : widths) {
      const Sort* s = sort(w);
      Column& column = columns.emplace_back();
      for (std::size_t i = 0; i < num_assignments_; ++i) {
        if (s->is_word()) {
          column.words.push_back(random_word(w, random));
        } else {
          column.values.push_back(reference::random_value(s, random));
        }
      }
    }
    return columns;
  }
  /// Every other one is near a corner, or near a number that the rule names.
  std::uint64_t random_word(std::size_t w, reference::Random& random) const {
    const std::uint64_t ones = (std::uint64_t{1} << w) - 1;
    const std::uint64_t any = random.next();
    switch (any & 7) {
      case 0:
        return (any >> 8) % (w + 2) & ones;
      case 1:
        return (ones - (any >> 8) % 3) & ones;
      case 2:
        return (std::uint64_t{1} << (any >> 8) % w) - (any >> 60) % 2;
      case 3:
        if (landmarks_.empty()) return any >> 8 & ones;
        return (landmarks_[(any >> 8) % landmarks_.size()] + (any >> 40) % 3 - 1) & ones;
      default:
        return any >> 1 & ones;
    }
  }

  mpz_class value(reference::Evaluation& values, std::size_t position, std::size_t assignment) const {
    return values[places_[position]].value(assignment).number.get_num();
  }
  /// A side of a comparison, exactly; nothing where it has no value.
  std::optional<mpz_class> value(reference::Evaluation& values, const IntExpr& side,
                                 std::size_t assignment) const {
    if (side.kind == IntExpr::Kind::value) return value(values, side.index, assignment);
    if (!is_exact(side)) return number(rules::evaluate(side, instance_));
    if (side.kind == IntExpr::Kind::power) {
      const std::uint64_t exponent = rules::evaluate(side.operands[0], instance_);
      return exponent <= rules::most_exponent ? std::optional(power(exponent)) : std::nullopt;
    }
    const std::optional<mpz_class> left = value(values, side.operands[0], assignment);
    const std::optional<mpz_class> right = value(values, side.operands[1], assignment);
    if (!left || !right) return std::nullopt;
    switch (side.kind) {
      case IntExpr::Kind::sum:
        return mpz_class(*left + *right);
      case IntExpr::Kind::difference:
        return mpz_class(*left - *right);
      case IntExpr::Kind::product:
        return mpz_class(*left * *right);
      default:  // a conjunction
        return *left < 0 || *right < 0 ? std::nullopt : std::optional(mpz_class(*left & *right));
    }
  }

  std::vector<bool> where_conditions_hold(reference::Evaluation& values) const {
    std::vector<bool> holds(num_assignments_, true);
    for (const Condition& c : rule_.conditions) {
      if (c.kind != Condition::Kind::compare_values && c.kind != Condition::Kind::fits &&
          c.kind != Condition::Kind::has_value && c.kind != Condition::Kind::power_of_two) {
        continue;
      }
      for (std::size_t i = 0; i < num_assignments_; ++i) holds[i] = holds[i] && condition_holds(values, c, i);
    }
    return holds;
  }

  bool condition_holds(reference::Evaluation& values, const Condition& c, std::size_t i) const {
    switch (c.kind) {
      case Condition::Kind::compare_values: {
        const std::optional<mpz_class> left = value(values, c.left, i);
        const std::optional<mpz_class> right = value(values, c.right, i);
        return left && right && rules::related(*left, c.relation, *right);
      }
      case Condition::Kind::fits:
        return value(values, c.left.index, i) + value(values, c.right.index, i) < power(width(c.a));
      case Condition::Kind::has_value:
        return value(values, c.a, i) ==
               (c.value < 0 ? mpz_class(power(width(c.a)) - 1) : number(static_cast<std::uint64_t>(c.value)));
      default:
        return value(values, c.a, i) == power(instance_.integers[c.b]);
    }
  }

  std::size_t first_difference(reference::Evaluation& values, const std::vector<bool>& applies) const {
    const Column pattern = values[places_[0]];
    const Column& result = values[result_];
    for (std::size_t i = 0; i < num_assignments_; ++i) {
      if (!applies[i]) continue;
      const bool equal = pattern.values.empty() ? pattern.words[i] == result.words[i]
                                                : pattern.values[i].number == result.values[i].number;
      if (!equal) return i;
    }
    return num_assignments_;
  }
  static std::size_t first_true(const std::vector<bool>& v) {
    return static_cast<std::size_t>(std::ranges::find(v, true) - v.begin());
  }

  std::string description(reference::Evaluation& values, std::size_t assignment) const {
    std::string text;
    const auto add_value = [&text](const std::string& name, const std::string& what) {
      text += (text.empty() ? "" : ", ") + name + " = " + what;
    };
    for (std::size_t i = 0; i < rule_.parameters.size(); ++i) {
      if (rule_.parameters[i].source == rules::Parameter::Source::computed) continue;
      add_value(rule_.parameters[i].name, std::to_string(instance_.integers[i]));
    }
    for (const std::size_t v : variables_) {
      add_value(fmt::format("{} ({} bits)", rule_.pattern[v].name, width(v)),
                value(values, v, assignment).get_str());
    }
    if (!has_result_) return text + ": the result does not have the sort of the pattern";
    const mpq_class result = values[result_].value(assignment).number;
    return fmt::format("{}: the pattern is {}, the result {}", text, value(values, 0, assignment).get_str(),
                       result.get_str());
  }

  const Rule& rule_;
  const RuleInstance& instance_;
  reference::Sorts& sorts_;
  reference::Expressions expressions_;
  std::vector<std::size_t> same_as_;    // by position: the first that holds the same term
  std::vector<std::size_t> places_;     // by position: of the expression
  std::vector<std::size_t> variables_;  // positions
  std::vector<Column> given_;           // by variable
  std::vector<std::uint64_t> landmarks_;
  std::size_t result_ = 0;
  bool has_result_ = false;
  bool is_possible_ = true;  // the constants fit their widths
  std::size_t num_assignments_ = 0;
};

}  // namespace

RuleEvaluator::Outcome RuleEvaluator::run(const Rule& rule, const RuleInstance& instance,
                                          std::size_t most_assignments, std::uint64_t seed) {
  return InstanceEvaluation(rule, instance, sorts_).run(most_assignments, seed);
}

std::string counterexample_among(const Rule& rule, std::uint64_t assignments) {
  constexpr std::size_t at_once = 4096;
  constexpr std::uint64_t most_attempts = 4;  // so many times what is asked for: conditions may hold seldom
  std::vector<RuleInstance> instances = rules::all_instances(rule, 2);
  std::vector<std::size_t> widths = rules::own_widths(rule);
  widths.insert(widths.end(), {3, 4, 5, 8, 13, 16, 24, 32, 48, 63, 64});
  for (const std::size_t w : widths) {
    const std::vector<RuleInstance> some = rules::some_instances(rule, w);
    const std::size_t step = std::max<std::size_t>(1, some.size() / 16);
    for (std::size_t i = 0; i < some.size(); i += step) instances.push_back(some[i]);
  }
  RuleEvaluator evaluator;
  std::uint64_t tried = 0, attempted = 0;
  for (std::uint64_t seed = 1; tried < assignments && attempted < most_attempts * assignments; ++seed) {
    const std::uint64_t before = attempted;
    for (const RuleInstance& instance : instances) {
      const RuleEvaluator::Outcome outcome = evaluator.run(rule, instance, at_once, seed);
      if (outcome.counterexample) return *outcome.counterexample;
      tried += outcome.applied;
      attempted += at_once;
      if (tried >= assignments) break;
    }
    if (attempted == before) break;
  }
  return {};
}

}  // namespace quarv::cli
