// Words of SMT-LIB that stand for several operators: differences, implications, to_real, is_int.
#include <algorithm>
#include <array>
#include <utility>

#include <quarv/rules/rule_parser.h>

namespace quarv::rules {

namespace {

constexpr std::array<std::string_view, 3> composed = {"-", "=>", "is_int"};

ResultTree application(std::string_view word, std::size_t column, std::vector<ResultTree> children) {
  ResultTree tree;
  tree.node.kind = ResultNode::Kind::application;
  tree.node.op = find_operator(word);
  tree.children = std::move(children);
  tree.column = column;
  return tree;
}

ResultTree opposite(std::size_t column, ResultTree tree) {
  ResultTree minus_one;
  minus_one.node.kind = ResultNode::Kind::literal;
  minus_one.node.value = -1;
  minus_one.column = column;
  return application("*", column, {std::move(minus_one), std::move(tree)});
}

}  // namespace

bool is_composed_word(std::string_view word) {
  return std::ranges::find(composed, word) != composed.end();
}

/// Integers are real numbers in terms, so that nothing stands for `to_real` there.
bool RuleParser::accept_to_real() {
  if (!lexer_.at_word("to_real") || !at_application()) return false;
  lexer_.advance();
  lexer_.expect("(");
  return true;
}

void RuleParser::make_application(std::size_t position, std::string_view word,
                                  std::vector<std::size_t> arguments) {
  PatternNode& node = rule_.pattern[position];
  node.kind = PatternNode::Kind::application;
  node.op = find_operator(word);
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    rule_.pattern[arguments[i]].parent = position;
    rule_.pattern[arguments[i]].child = i;
  }
  node.arguments = std::move(arguments);
}

void RuleParser::parse_pattern_composed(std::size_t position, std::size_t depth) {
  const std::string word(lexer_.token_text());
  lexer_.advance();
  lexer_.expect("(");
  if (word == "is_int") {
    parse_pattern_is_int(position);
  } else if (word == "=>") {
    const std::size_t negation = new_position(position, 0);
    make_application(negation, "~", {parse_pattern_node(negation, 0, depth + 1)});
    lexer_.expect(",");
    const std::size_t conclusion = parse_pattern_node(position, 1, depth + 1);
    make_application(position, "or", {negation, conclusion});
  } else {
    parse_pattern_difference(position, depth);
  }
  lexer_.expect(")");
}

/// a + -1 * b, or -1 * a.
void RuleParser::parse_pattern_difference(std::size_t position, std::size_t depth) {
  const auto new_minus_one = [this] {
    const std::size_t literal = new_position(0, 0);
    rule_.pattern[literal].kind = PatternNode::Kind::literal;
    rule_.pattern[literal].value = -1;
    return literal;
  };
  const std::size_t first = parse_pattern_node(position, 0, depth + 1);
  if (!lexer_.accept(",")) return make_application(position, "*", {new_minus_one(), first});
  const std::size_t product = new_position(position, 1);
  const std::size_t minus_one = new_minus_one();
  make_application(product, "*", {minus_one, parse_pattern_node(product, 1, depth + 1)});
  make_application(position, "+", {first, product});
}

/// t = to_int(t), whose second t has a name that nobody writes.
void RuleParser::parse_pattern_is_int(std::size_t position) {
  if (lexer_.token() != RuleLexer::Token::name || at_application()) {
    lexer_.fail("is_int needs a variable in a pattern");
  }
  const std::size_t number = new_position(position, 0);
  bind_variable(number);
  const std::size_t floor = new_position(position, 1);
  const std::size_t again = new_position(floor, 0);
  rule_.pattern[again].name = rule_.pattern[number].name + "_0000";
  make_application(floor, "to_int", {again});
  rule_.pattern[floor].as_real = true;
  make_application(position, "==", {number, floor});
  Condition same;
  same.kind = Condition::Kind::identity;
  same.a = number;
  same.b = again;
  rule_.conditions.push_back(std::move(same));
}

ResultTree RuleParser::parse_result_composed(std::size_t depth) {
  const std::string word(lexer_.token_text());
  const std::size_t column = lexer_.column();
  lexer_.advance();
  lexer_.expect("(");
  std::vector<ResultTree> parts{parse_result(depth + 1)};
  if (word == "=>" || (word == "-" && lexer_.at(","))) {
    lexer_.expect(",");
    parts.push_back(parse_result(depth + 1));
  }
  lexer_.expect(")");
  if (word == "=>") {
    parts[0] = application("~", column, {std::move(parts[0])});
    return application("or", column, std::move(parts));
  }
  if (word == "is_int") {
    parts.push_back(application("to_int", column, parts));
    parts[1].node.as_real = true;
    return application("==", column, std::move(parts));
  }
  if (parts.size() == 1) return opposite(column, std::move(parts[0]));
  parts[1] = opposite(column, std::move(parts[1]));
  return application("+", column, std::move(parts));
}

}  // namespace quarv::rules
