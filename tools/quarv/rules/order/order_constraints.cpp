#include "rules/order/order_constraints.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <utility>

#include <fmt/core.h>

#include <quarv/term/operators.h>

namespace quarv::cli {

namespace {

using rules::Condition;
using rules::IntExpr;
using rules::PatternNode;
using rules::ResultNode;
using rules::Rule;

/// Terms are rules' sides: their depth is bounded by that of rules, and functions on them may recurse.

std::vector<std::size_t> united(const Rule& rule) {
  std::vector<std::size_t> same_as(rule.pattern.size());
  std::iota(same_as.begin(), same_as.end(), std::size_t{0});
  for (const Condition& c : rule.conditions) {
    if (c.kind != Condition::Kind::identity) continue;
    const auto [first, second] = std::minmax(same_as[c.a], same_as[c.b]);
    std::ranges::replace(same_as, std::size_t{second}, std::size_t{first});
  }
  return same_as;
}

/// Whether a variable stands for constants alone.
bool is_constant(const Rule& rule, std::size_t position) {
  return std::ranges::any_of(rule.conditions, [&](const Condition& c) {
    if (c.kind == Condition::Kind::compare_values) {
      const auto is_it = [&](const IntExpr& e) {
        return e.kind == IntExpr::Kind::value && e.index == position;
      };
      return is_it(c.left) || is_it(c.right);
    }
    return c.a == position && (c.kind == Condition::Kind::is_const || c.kind == Condition::Kind::has_value ||
                               c.kind == Condition::Kind::power_of_two);
  });
}

class TermMaker {
 public:
  explicit TermMaker(const Rule& rule) : rule_(rule), same_as_(united(rule)) {}

  OrderTerm of_position(std::size_t position) const {
    const PatternNode& node = rule_.pattern[position];
    OrderTerm t;
    if (node.kind == PatternNode::Kind::literal || node.kind == PatternNode::Kind::constant) return t;
    if (node.kind == PatternNode::Kind::variable) {
      const std::size_t first = same_as_[position];
      for (std::size_t i = 0; i < same_as_.size(); ++i) {
        if (same_as_[i] == first && is_constant(rule_, i)) return t;
      }
      t.kind = OrderTerm::Kind::variable;
      t.variable = first;
      return t;
    }
    t.kind = OrderTerm::Kind::application;
    t.op = node.op;
    for (const std::size_t p : node.parameters) t.integers.push_back({IntExpr::Kind::parameter, p, {}});
    for (const std::size_t a : node.arguments) t.args.push_back(of_position(a));
    return t;
  }

  OrderTerm of_result(std::size_t index) const {
    const ResultNode& node = rule_.result[index];
    if (node.kind == ResultNode::Kind::subterm) return of_position(node.index);
    OrderTerm t;
    if (node.kind != ResultNode::Kind::application) return t;
    t.kind = OrderTerm::Kind::application;
    t.op = node.op;
    t.integers = node.parameters;
    for (const std::size_t a : node.arguments) t.args.push_back(of_result(a));
    const bool folds = std::ranges::all_of(
        t.args, [](const OrderTerm& arg) { return arg.kind == OrderTerm::Kind::constant; });
    return folds ? OrderTerm() : t;
  }

 private:
  const Rule& rule_;
  std::vector<std::size_t> same_as_;
};

bool same_integers(const std::vector<IntExpr>& a, const std::vector<IntExpr>& b) {
  return std::ranges::equal(a, b, [](const IntExpr& x, const IntExpr& y) {
    return x.kind == y.kind && x.index == y.index && x.operands.empty() && y.operands.empty();
  });
}

bool same(const OrderTerm& a, const OrderTerm& b) {
  if (a.kind != b.kind || a.op != b.op) return false;
  if (a.kind == OrderTerm::Kind::constant) return true;
  if (a.kind == OrderTerm::Kind::variable) return a.variable == b.variable;
  return same_integers(a.integers, b.integers) && std::ranges::equal(a.args, b.args, same);
}

using Counts = std::map<std::size_t, long>;                         // of variables
using OperatorCounts = std::map<const rules::OperatorWord*, long>;  // null: constants

void count(const OrderTerm& t, long sign, Counts& variables, OperatorCounts& operators) {
  if (t.kind == OrderTerm::Kind::variable) {
    variables[t.variable] += sign;
  } else {
    operators[t.op] += sign;
  }
  for (const OrderTerm& arg : t.args) count(arg, sign, variables, operators);
}

bool commutes(const rules::OperatorWord& op) {
  return operator_row(op.tag).commutes_from == 0;
}

/// What decides between terms of one weight.
class Comparison {
 public:
  explicit Comparison(const Rule& rule) : rule_(rule) {}

  std::string greater(const OrderTerm& s, const OrderTerm& t) const {
    Counts variables;
    OperatorCounts operators;
    count(s, 1, variables, operators);
    count(t, -1, variables, operators);
    long difference = 0;  // of variables, which weigh 1
    for (const auto& [variable, n] : variables) {
      if (n < 0) return "false";
      difference += n;
    }
    std::string sum = fmt::format("(+ {}", difference);
    for (const auto& [op, n] : operators) {
      if (n != 0)
        sum +=
            fmt::format(" (* {} {})", n < 0 ? fmt::format("(- {})", -n) : std::to_string(n), weight_name(op));
    }
    sum += " 0)";
    return fmt::format("(or (> {} 0) (and (= {} 0) {}))", sum, sum, greater_of_equal_weight(s, t));
  }

 private:
  std::string greater_of_equal_weight(const OrderTerm& s, const OrderTerm& t) const {
    if (s.kind != OrderTerm::Kind::application) return "false";
    // A variable that weighs as much as a term in which it occurs is below unary operators of no weight.
    if (t.kind == OrderTerm::Kind::variable) return "true";
    const std::string before = fmt::format("(> {} {})", precedence_name(s.op), precedence_name(t.op));
    if (s.op != t.op) return before;
    if (!same_integers(s.integers, t.integers)) {
      const bool same_args = std::ranges::equal(s.args, t.args, same);
      return same_args && integer_decreases(s, t) ? "true" : compare_arguments(s, t);
    }
    return commutes(*s.op) ? compare_multisets(s.args, t.args) : compare_arguments(s, t);
  }

  std::string compare_arguments(const OrderTerm& s, const OrderTerm& t) const {
    for (std::size_t i = 0; i < s.args.size(); ++i) {
      if (!same(s.args[i], t.args[i])) return greater(s.args[i], t.args[i]);
    }
    return "false";
  }

  std::string compare_multisets(std::vector<OrderTerm> left, std::vector<OrderTerm> right) const {
    for (std::size_t i = left.size(); i-- > 0;) {
      const auto equal = std::ranges::find_if(right, [&](const OrderTerm& t) { return same(left[i], t); });
      if (equal == right.end()) continue;
      right.erase(equal);
      left.erase(left.begin() + static_cast<std::ptrdiff_t>(i));
    }
    if (left.empty()) return "false";
    std::string all = "(and true";
    for (const OrderTerm& t : right) {
      all += " (or false";
      for (const OrderTerm& s : left) all += ' ' + greater(s, t);
      all += ')';
    }
    return all + ')';
  }

  /// The only integer becomes itself less a size, which a condition says to be below it.
  bool integer_decreases(const OrderTerm& s, const OrderTerm& t) const {
    if (s.integers.size() != 1 || s.integers[0].kind != IntExpr::Kind::parameter) return false;
    const IntExpr* e = t.integers.data();
    if (e->kind == IntExpr::Kind::parameter &&
        rule_.parameters[e->index].source == rules::Parameter::Source::computed) {
      e = &rule_.parameters[e->index].value;
    }
    if (e->kind != IntExpr::Kind::difference || e->operands[0].kind != IntExpr::Kind::parameter ||
        e->operands[0].index != s.integers[0].index || e->operands[1].kind != IntExpr::Kind::size) {
      return false;
    }
    const IntExpr& size = e->operands[1];
    return std::ranges::any_of(rule_.conditions, [&](const Condition& c) {
      return c.kind == Condition::Kind::compare && c.relation == rules::Relation::lt &&
             c.left.kind == IntExpr::Kind::size && c.left.index == size.index &&
             c.right.kind == IntExpr::Kind::parameter && c.right.index == s.integers[0].index;
    });
  }

  const Rule& rule_;
};

}  // namespace

OrderTerm pattern_term(const Rule& rule) {
  return TermMaker(rule).of_position(0);
}

OrderTerm result_term(const Rule& rule) {
  return TermMaker(rule).of_result(rule.result.size() - 1);
}

bool rearranges(const Rule& rule) {
  Counts variables;
  OperatorCounts operators;
  const OrderTerm result = result_term(rule);
  count(pattern_term(rule), 1, variables, operators);
  count(result, -1, variables, operators);
  const auto is_zero = [](const auto& entry) { return entry.second == 0; };
  const bool ordered = std::ranges::any_of(rule.conditions, [](const Condition& c) {
    return c.kind == Condition::Kind::precedes || c.kind == Condition::Kind::is_const;
  });
  return ordered && std::ranges::all_of(variables, is_zero) && std::ranges::all_of(operators, is_zero);
}

std::string goes_down(const Rule& rule) {
  return Comparison(rule).greater(pattern_term(rule), result_term(rule));
}

std::string weight_name(const rules::OperatorWord* op) {
  return op == nullptr ? "w.constant" : fmt::format("|w.{}|", op->word);
}

std::string precedence_name(const rules::OperatorWord* op) {
  return op == nullptr ? "p.constant" : fmt::format("|p.{}|", op->word);
}

}  // namespace quarv::cli
