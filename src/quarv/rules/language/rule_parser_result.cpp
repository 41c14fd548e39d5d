#include <algorithm>
#include <utility>

#include <quarv/rules/language/rule_parser.h>

namespace quarv::rules {

ResultTree RuleParser::parse_result(std::size_t depth) {
  check_depth(depth);
  if (accept_to_real()) {
    ResultTree tree = parse_result(depth + 1);
    if (tree.node.as_real) lexer_.fail(tree.column, "to_real needs an integer here");
    tree.node.as_real = true;
    lexer_.expect(")");
    return tree;
  }
  if (lexer_.accept("(")) return parse_result_equality(depth);
  if (at_application() || lexer_.at("~")) return parse_result_word(depth);
  ResultTree tree;
  tree.column = lexer_.column();
  if (at_literal()) {
    tree.node.kind = ResultNode::Kind::literal;
    tree.node.value = parse_literal();
    return tree;
  }
  if (const auto constant = accept_constant()) {
    const bool is_truth = *constant <= NamedConstant::false_value;
    tree.node.kind = is_truth ? ResultNode::Kind::truth : ResultNode::Kind::constant;
    tree.node.value = *constant == NamedConstant::true_value ? 1 : 0;
    tree.node.constant = *constant;
    return tree;
  }
  const std::string name = take_name("a term");
  if (const auto position = find_variable(name)) {
    tree.node.kind = ResultNode::Kind::subterm;
    tree.node.index = *position;
    return tree;
  }
  const auto parameter = find_parameter(name);
  if (!parameter) lexer_.fail(tree.column, "the variable " + quoted(name) + " of the result is not bound");
  if (rule_.parameters[*parameter].source != Parameter::Source::exponent) {
    lexer_.fail(tree.column, quoted(name) + " is an integer, not a term");
  }
  tree.node.kind = ResultNode::Kind::exponent;
  tree.node.index = *parameter;
  return tree;
}

/// An equality, whose opening parenthesis is passed already.
ResultTree RuleParser::parse_result_equality(std::size_t depth) {
  ResultTree tree;
  tree.column = lexer_.column() - 1;
  tree.node.kind = ResultNode::Kind::application;
  tree.node.op = find_operator("==");
  tree.children.push_back(parse_result(depth + 1));
  lexer_.expect("==");
  tree.children.push_back(parse_result(depth + 1));
  lexer_.expect(")");
  return tree;
}

/// An operator, or a word that stands for one.
ResultTree RuleParser::parse_result_word(std::size_t depth) {
  if (at_defined_word()) return parse_result_defined(depth);
  const std::size_t column = lexer_.column();
  const DerivedOperator* derived = find_derived_operator(lexer_.token_text());
  if (derived == nullptr) {
    const OperatorWord* op = take_operator();
    return parse_result_application(*op, depth);
  }
  lexer_.advance();
  ResultTree tree = parse_result_application(*find_operator(derived->of), depth);
  if (derived->swapped) std::ranges::reverse(tree.children);
  if (derived->negation.empty()) return tree;
  ResultTree negation;
  negation.column = column;
  negation.node.kind = ResultNode::Kind::application;
  negation.node.op = find_operator(derived->negation);
  negation.children.push_back(std::move(tree));
  return negation;
}

ResultTree RuleParser::parse_result_application(const OperatorWord& op, std::size_t depth) {
  ResultTree tree;
  tree.column = lexer_.column();
  tree.node.kind = ResultNode::Kind::application;
  tree.node.op = &op;
  lexer_.expect("(");
  for (std::size_t i = 0; i < op.num_parameters; ++i) {
    tree.node.parameters.push_back(parse_result_parameter());
    lexer_.expect(",");
  }
  for (std::size_t i = 0; i < op.num_arguments; ++i) {
    if (i == 1 && op.tag == SymbolTag::INT_MOD_CONGR && lexer_.at(")")) {
      ResultTree zero;  // what divides is congruent to it
      zero.column = lexer_.column();
      zero.node.kind = ResultNode::Kind::literal;
      tree.children.push_back(std::move(zero));
      break;
    }
    if (i > 0) lexer_.expect(",");
    tree.children.push_back(parse_result(depth + 1));
  }
  if (lexer_.at(",")) lexer_.fail(tree.column, quoted(op.word) + " has too many arguments");
  lexer_.expect(")");
  return tree;
}

/// An integer in the result: a number, a bound name, or a fresh name with a numbered suffix, which stands for
/// 0.
IntExpr RuleParser::parse_result_parameter() {
  if (lexer_.token() == RuleLexer::Token::number) {
    return {IntExpr::Kind::literal, static_cast<std::uint64_t>(lexer_.take_number()), {}};
  }
  const std::size_t column = lexer_.column();
  const std::string name = take_name("an integer");
  if (const auto parameter = find_parameter(name)) return {IntExpr::Kind::parameter, *parameter, {}};
  if (find_variable(name)) lexer_.fail(column, quoted(name) + " is a term, not an integer");
  if (!has_suffix(name)) lexer_.fail(column, "the integer " + quoted(name) + " of the result is not bound");
  return {IntExpr::Kind::literal, 0, {}};
}

}  // namespace quarv::rules
