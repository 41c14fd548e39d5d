#include <quarv/rules/rule_parser.h>

namespace quarv::rules {

ResultTree RuleParser::parse_result(std::size_t depth) {
  check_depth(depth);
  if (lexer_.accept("(")) return parse_result_equality(depth);
  ResultTree tree;
  tree.column = lexer_.column();
  if (at_literal()) {
    tree.node.kind = ResultNode::Kind::literal;
    tree.node.value = parse_literal();
    return tree;
  }
  if (lexer_.at_word("true") || lexer_.at_word("false")) {
    tree.node.kind = ResultNode::Kind::truth;
    tree.node.value = lexer_.at_word("true");
    lexer_.advance();
    return tree;
  }
  RuleLexer ahead = lexer_;
  ahead.advance();
  if (lexer_.at("~") || (lexer_.token() == RuleLexer::Token::name && ahead.at("("))) {
    const Operator* op = take_operator();
    return parse_result_application(*op, depth);
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

ResultTree RuleParser::parse_result_application(const Operator& op, std::size_t depth) {
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
