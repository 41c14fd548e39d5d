#include <utility>

#include <quarv/rules/language/rule_parser.h>

namespace quarv::rules {

namespace {

bool has_product(const IntExpr& e) {
  return e.kind == IntExpr::Kind::product || std::ranges::any_of(e.operands, has_product);
}

}  // namespace

void RuleParser::parse_condition() {
  const std::size_t begin = lexer_.offset();
  const std::size_t column = lexer_.column();
  Condition condition = parse_condition_body();
  infer_condition_sorts(condition, column);
  condition.text = lexer_.slice(begin, lexer_.previous_end());
  rule_.conditions.push_back(std::move(condition));
}

Condition RuleParser::parse_condition_body() {
  if (lexer_.at("(")) return parse_comparison();
  if (lexer_.accept("~")) {
    const std::size_t column = lexer_.column();
    if (!lexer_.at_word("const")) lexer_.fail("expected \"const\" after \"~\" but found " + lexer_.found());
    Condition condition = parse_word_condition();
    if (condition.kind != Condition::Kind::is_const) lexer_.fail(column, "only const can be negated");
    condition.kind = Condition::Kind::is_not_const;
    return condition;
  }
  if (lexer_.token() != RuleLexer::Token::name)
    lexer_.fail("expected a condition but found " + lexer_.found());
  RuleLexer ahead = lexer_;
  ahead.advance();
  return ahead.at("=") ? parse_binding() : parse_word_condition();
}

/// A word with arguments.
Condition RuleParser::parse_word_condition() {
  const std::string word(lexer_.token_text());
  const std::size_t column = lexer_.column();
  lexer_.advance();
  Condition condition;
  if (word == "const" || word == "pow2" || word == "varvalue" || word == "identity" || word == "prec" ||
      word == "sort") {
    lexer_.expect("(");
    condition.a = take_variable();
    if (word != "const") lexer_.expect(",");
  }
  if (word == "const") {
    condition.kind = Condition::Kind::is_const;
  } else if (word == "identity" || word == "prec") {
    condition.kind = word == "prec" ? Condition::Kind::precedes : Condition::Kind::identity;
    condition.b = take_variable();
  } else if (word == "sort") {
    condition.kind = Condition::Kind::has_sort;
    condition.sort = parse_sort();
  } else if (word == "varvalue") {
    condition.kind = Condition::Kind::has_value;
    if (!at_literal()) lexer_.fail("expected a number but found " + lexer_.found());
    condition.value = parse_literal();
  } else if (word == "pow2") {
    condition.kind = Condition::Kind::power_of_two;
    const std::size_t name_column = lexer_.column();
    Parameter parameter;
    parameter.source = Parameter::Source::exponent;
    parameter.name = take_name("the name of an integer");
    parameter.position = condition.a;
    condition.b = new_parameter(std::move(parameter), name_column);
  } else if (word == "fits") {
    condition.kind = Condition::Kind::fits;
    lexer_.expect("(");
    const IntExpr size = parse_expression(1);
    if (size.kind != IntExpr::Kind::size) lexer_.fail(column, "fits needs the size of a term");
    condition.a = size.index;
    lexer_.expect(",");
    const std::size_t sum_column = lexer_.column();
    const IntExpr sum = parse_expression(1);
    check_sum_of_values(sum, sum_column);
    condition.left = sum.operands[0];
    condition.right = sum.operands[1];
  } else {
    lexer_.fail(column, "unknown condition " + quoted(word));
  }
  lexer_.expect(")");
  return condition;
}

void RuleParser::check_sum_of_values(const IntExpr& expression, std::size_t column) {
  if (expression.kind != IntExpr::Kind::sum || expression.operands[0].kind != IntExpr::Kind::value ||
      expression.operands[1].kind != IntExpr::Kind::value) {
    lexer_.fail(column, "fits needs the sum of two numerals");
  }
}

SortKind RuleParser::parse_sort() {
  static constexpr std::pair<std::string_view, SortKind> sorts[] = {
      {"Bool", SortKind::boolean},      {"Int", SortKind::integer},
      {"Real", SortKind::real},         {"RoundingMode", SortKind::rounding_mode},
      {"BitVec", SortKind::bit_vector}, {"FloatingPoint", SortKind::floating_point},
      {"Array", SortKind::array},
  };
  for (const auto& [word, kind] : sorts) {
    if (!lexer_.at_word(word)) continue;
    lexer_.advance();
    return kind;
  }
  lexer_.fail("expected Bool, Int, Real, RoundingMode, BitVec, FloatingPoint or Array but found " +
              lexer_.found());
}

Relation RuleParser::parse_relation() {
  for (int i = 0; i <= static_cast<int>(Relation::ge); ++i) {
    if (lexer_.accept(relation_sign(static_cast<Relation>(i)))) return static_cast<Relation>(i);
  }
  lexer_.fail("expected a comparison but found " + lexer_.found());
}

Condition RuleParser::parse_comparison() {
  const std::size_t column = lexer_.column();
  lexer_.expect("(");
  Condition condition;
  if (at_literal()) {
    const std::int64_t left = parse_literal();
    const Relation relation = parse_relation();
    if (at_literal()) {
      check_stated_literal(left, relation, parse_literal(), column);
      condition.kind = Condition::Kind::states_literal;
      condition.value = left;
      lexer_.expect(")");
      return condition;
    }
    if (left < 0) lexer_.fail(column, "-1 stands only on the right of a comparison");
    condition = make_comparison({IntExpr::Kind::literal, static_cast<std::uint64_t>(left), {}}, relation,
                                parse_expression(1), column);
  } else {
    IntExpr left = parse_expression(1);
    const Relation relation = parse_relation();
    if (at_literal()) {
      const std::int64_t right = parse_literal();
      if (left.kind == IntExpr::Kind::value && relation == Relation::eq) {
        condition.kind = Condition::Kind::has_value;
        condition.a = left.index;
        condition.value = right;
        lexer_.expect(")");
        return condition;
      }
      if (right < 0) lexer_.fail(column, "-1 can be compared only with a numeral, and only by ==");
      condition = make_comparison(std::move(left), relation,
                                  {IntExpr::Kind::literal, static_cast<std::uint64_t>(right), {}}, column);
    } else {
      condition = make_comparison(std::move(left), relation, parse_expression(1), column);
    }
  }
  lexer_.expect(")");
  return condition;
}

/// "(0 == 0)" says that the pattern's position 0 holds that value.
void RuleParser::check_stated_literal(std::int64_t left, Relation relation, std::int64_t right,
                                      std::size_t column) {
  if (relation != Relation::eq || left != right) lexer_.fail(column, "this condition compares two constants");
  const bool found = std::ranges::any_of(rule_.pattern, [&](const PatternNode& node) {
    return node.kind == PatternNode::Kind::literal && node.value == left;
  });
  if (!found) lexer_.fail(column, "the pattern has no constant " + std::to_string(left));
}

Condition RuleParser::make_comparison(IntExpr left, Relation relation, IntExpr right, std::size_t column) {
  Condition condition;
  const bool values = is_exact(left) || is_exact(right);
  condition.kind = values ? Condition::Kind::compare_values : Condition::Kind::compare;
  condition.relation = relation;
  condition.left = std::move(left);
  condition.right = std::move(right);
  for (const IntExpr* side : {&condition.left, &condition.right}) {
    if (!is_exact(*side) && has_product(*side)) lexer_.fail(column, "a product is one of numerals");
  }
  return condition;
}

Condition RuleParser::parse_binding() {
  const std::size_t column = lexer_.column();
  Parameter parameter;
  parameter.source = Parameter::Source::computed;
  parameter.name = take_name("the name of an integer");
  lexer_.expect("=");
  const std::size_t value_column = lexer_.column();
  parameter.value = parse_expression(1);
  if (has_product(parameter.value)) lexer_.fail(value_column, "a product is one of numerals");
  if (is_exact(parameter.value)) {
    lexer_.fail(value_column, "a name can be bound to integers and sizes only, not to the value of a term");
  }
  Condition condition;
  condition.kind = Condition::Kind::binding;
  condition.left = parameter.value;
  condition.b = new_parameter(std::move(parameter), column);
  return condition;
}

/// A number, a name, "size(t)", or two of them and an operator between underscores.
IntExpr RuleParser::parse_expression(std::size_t depth) {
  check_depth(depth);
  if (lexer_.accept("_")) {
    IntExpr expression;
    IntExpr left = parse_expression(depth + 1);
    if (lexer_.at("^")) return parse_power(left, depth);
    expression.kind = lexer_.at("-")   ? IntExpr::Kind::difference
                      : lexer_.at("*") ? IntExpr::Kind::product
                      : lexer_.at("&") ? IntExpr::Kind::conjunction
                                       : IntExpr::Kind::sum;
    if (expression.kind == IntExpr::Kind::sum && !lexer_.at("+")) lexer_.expect("+");
    lexer_.advance();
    IntExpr right = parse_expression(depth + 1);
    expression.operands.push_back(std::move(left));
    expression.operands.push_back(std::move(right));
    lexer_.expect("_");
    return expression;
  }
  if (lexer_.token() == RuleLexer::Token::number) {
    return {IntExpr::Kind::literal, static_cast<std::uint64_t>(lexer_.take_number()), {}};
  }
  if (lexer_.at_word("size")) {
    lexer_.advance();
    lexer_.expect("(");
    const std::size_t position = take_variable();
    lexer_.expect(")");
    return {IntExpr::Kind::size, position, {}};
  }
  const std::size_t column = lexer_.column();
  const std::string name = take_name("an expression");
  if (const auto parameter = find_parameter(name)) return {IntExpr::Kind::parameter, *parameter, {}};
  if (const auto position = find_variable(name)) return {IntExpr::Kind::value, *position, {}};
  lexer_.fail(column, "the name " + quoted(name) + " is not bound");
}

/// The exponent of a power of 2, the sign being under the cursor.
IntExpr RuleParser::parse_power(const IntExpr& base, std::size_t depth) {
  if (base.kind != IntExpr::Kind::literal || base.index != 2) lexer_.fail("only powers of 2 can be written");
  lexer_.advance();
  const std::size_t column = lexer_.column();
  IntExpr exponent = parse_expression(depth + 1);
  if (is_exact(exponent)) lexer_.fail(column, "an exponent is made of integers and sizes");
  lexer_.expect("_");
  IntExpr power;
  power.kind = IntExpr::Kind::power;
  power.operands.push_back(std::move(exponent));
  return power;
}

/// A name with a numbered suffix is another occurrence of a term, so something must say of which.
void RuleParser::check_suffixes_tied() {
  for (std::size_t i = 0; i < rule_.pattern.size(); ++i) {
    const PatternNode& node = rule_.pattern[i];
    if (node.kind != PatternNode::Kind::variable || !has_suffix(node.name)) continue;
    const bool tied = std::ranges::any_of(rule_.conditions, [&](const Condition& condition) {
      return condition.kind == Condition::Kind::identity && (condition.a == i || condition.b == i);
    });
    if (!tied) lexer_.fail(node.column, "no identity ties " + quoted(node.name) + " to another variable");
  }
}

}  // namespace quarv::rules
