// Which sorts the terms of a rule have.
#include <algorithm>
#include <string>
#include <vector>

#include <quarv/rules/language/rule_parser.h>

namespace quarv::rules {

namespace {

SortKind kind_of(NamedConstant constant) {
  if (constant <= NamedConstant::false_value) return SortKind::boolean;
  return constant <= NamedConstant::toward_zero ? SortKind::rounding_mode : SortKind::floating_point;
}

bool has_conjunction(const IntExpr& e) {
  return e.kind == IntExpr::Kind::conjunction || std::ranges::any_of(e.operands, has_conjunction);
}

bool is_arithmetic(SortKind kind) {
  return kind == SortKind::integer || kind == SortKind::real || kind == SortKind::number;
}

}  // namespace

/// From the leaves up.
void RuleParser::infer_pattern_sorts() {
  for (std::size_t i = rule_.pattern.size(); i-- > 0;) {
    PatternNode& node = rule_.pattern[i];
    if (node.kind == PatternNode::Kind::constant) {
      node.sort = sorts_.make(kind_of(node.constant));
    } else if (node.kind != PatternNode::Kind::application) {
      node.sort = sorts_.make();
    } else {
      std::vector<std::size_t> arguments;
      for (std::size_t a : node.arguments) arguments.push_back(sort_as_argument(a));
      std::optional<SortInference::Misfit> misfit;
      node.sort = sorts_.apply(*node.op, arguments, true, &misfit);
      if (!misfit) continue;
      const PatternNode& argument = rule_.pattern[node.arguments[misfit->argument]];
      lexer_.fail(argument.column,
                  quoted(node.op->word) + " needs " + std::string(description(misfit->needed)) + " here");
    }
  }
}

/// What the operator above finds there.
std::size_t RuleParser::sort_as_argument(std::size_t position) {
  const PatternNode& node = rule_.pattern[position];
  if (!node.as_real) return node.sort;
  if (!sorts_.unite(node.sort, sorts_.make(SortKind::integer))) {
    lexer_.fail(node.column, "to_real needs an integer here");
  }
  return sorts_.make(SortKind::real);
}

void RuleParser::need(std::size_t position, SortKind kind, std::size_t column) {
  const std::size_t sort = rule_.pattern[position].sort;
  const bool fits = sorts_.unite(sort, sorts_.make(kind));
  if (!fits) {
    lexer_.fail(column, quoted(rule_.pattern[position].name) + " is " +
                            std::string(description(sorts_.kind(sort))) + ", not " +
                            std::string(description(kind)));
  }
}

void RuleParser::need_widths(const IntExpr& expression, std::size_t column) {
  if (expression.kind == IntExpr::Kind::size) need(expression.index, SortKind::bit_vector, column);
  for (const IntExpr& operand : expression.operands) need_widths(operand, column);
}

void RuleParser::need_bits(const IntExpr& expression, std::size_t column) {
  if (expression.kind == IntExpr::Kind::value) need(expression.index, SortKind::bit_vector, column);
  for (const IntExpr& operand : expression.operands) need_bits(operand, column);
}

void RuleParser::infer_condition_sorts(const Condition& c, std::size_t column) {
  need_widths(c.left, column);
  need_widths(c.right, column);
  if (has_conjunction(c.left) || has_conjunction(c.right)) {
    need_bits(c.left, column);
    need_bits(c.right, column);
  }
  switch (c.kind) {
    case Condition::Kind::identity: {
      if (sorts_.unite(rule_.pattern[c.a].sort, rule_.pattern[c.b].sort)) return;
      const SortKind other = sorts_.kind(rule_.pattern[c.b].sort);
      return need(c.a, other, column);
    }
    case Condition::Kind::has_sort:
      return need(c.a, c.sort, column);
    case Condition::Kind::power_of_two:
    case Condition::Kind::fits:
      need(c.a, SortKind::bit_vector, column);
      if (c.kind == Condition::Kind::power_of_two) return;
      need(c.left.index, SortKind::bit_vector, column);
      return need(c.right.index, SortKind::bit_vector, column);
    default:
      return;
  }
}

/// Conditions on values were for bit-vectors before there were other numerals, so that they are meant where
/// nothing says otherwise.
void RuleParser::settle_open_sorts() {
  const auto settle = [this](std::size_t position) {
    PatternNode& node = rule_.pattern[position];
    const SortKind kind = sorts_.kind(node.sort);
    if (kind == SortKind::open) {
      sorts_.make_bit_vector(node.sort);
      if (node.kind == PatternNode::Kind::variable) {
        Condition test;
        test.kind = Condition::Kind::has_sort;
        test.a = position;
        test.sort = SortKind::bit_vector;
        rule_.sort_tests.push_back(test);
      }
    } else if (kind != SortKind::bit_vector && !is_arithmetic(kind)) {
      lexer_.fail(node.column, "a numeral cannot be " + std::string(description(kind)));
    }
  };
  const auto settle_values = [&](const auto& self, const IntExpr& e) -> void {
    if (e.kind == IntExpr::Kind::value) settle(e.index);
    for (const IntExpr& operand : e.operands) self(self, operand);
  };
  for (std::size_t i = 0; i < rule_.pattern.size(); ++i) {
    if (rule_.pattern[i].kind == PatternNode::Kind::literal) settle(i);
  }
  for (const Condition& c : rule_.conditions) {
    if (c.kind == Condition::Kind::has_value) settle(c.a);
    settle_values(settle_values, c.left);
    settle_values(settle_values, c.right);
  }
}

/// The sum of an integer and a real number is real: where the sort is the integers for another reason than
/// the operator, variables are looked at.
void RuleParser::add_sort_tests() {
  for (std::size_t i = 1; i < rule_.pattern.size(); ++i) {
    const PatternNode& node = rule_.pattern[i];
    if (sorts_.kind(node.sort) != SortKind::integer) continue;
    if (node.kind != PatternNode::Kind::variable &&
        (node.kind != PatternNode::Kind::application || !can_be_of_any_sort(*node.op))) {
      continue;
    }
    if (demands(*rule_.pattern[node.parent].op, node.child, SortKind::integer)) continue;
    Condition test;
    test.kind = Condition::Kind::has_sort;
    test.a = i;
    test.sort = SortKind::integer;
    rule_.sort_tests.push_back(test);
  }
}

/// A negative number stands for all ones, or for itself.
void RuleParser::resolve_literals() {
  const auto check = [this](SortKind kind, std::int64_t value, std::size_t column) {
    if (kind == SortKind::bit_vector && value < -1) {
      lexer_.fail(column, "of a bit-vector, the only negative constant is -1, all ones");
    }
  };
  for (const PatternNode& node : rule_.pattern) {
    if (node.kind == PatternNode::Kind::literal) check(sorts_.kind(node.sort), node.value, node.column);
  }
  for (Condition& c : rule_.conditions) {
    if (c.kind != Condition::Kind::has_value) continue;
    const PatternNode& node = rule_.pattern[c.a];
    check(sorts_.kind(node.sort), c.value, node.column);
    if (is_arithmetic(sorts_.kind(node.sort))) c.kind = Condition::Kind::has_number;
  }
}

void RuleParser::set_sorts() {
  settle_open_sorts();
  resolve_literals();
  add_sort_tests();
  for (PatternNode& node : rule_.pattern) {
    if (node.kind == PatternNode::Kind::application && node.op->tag == SymbolTag::EQ &&
        sorts_.kind(rule_.pattern[node.arguments[0]].sort) == SortKind::boolean) {
      node.op = boolean_equality();
    }
  }
  std::vector<std::size_t> numbers;
  rule_.sorts = sorts_.finish(&numbers);
  for (PatternNode& node : rule_.pattern) node.sort = numbers[node.sort];
  for (ResultNode& node : rule_.result) node.sort = numbers[node.sort];
}

}  // namespace quarv::rules
