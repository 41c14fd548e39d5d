// Words of SMT-LIB that stand for several operators, and operators with more operands than terms have.
#include <algorithm>
#include <utility>

#include <quarv/rules/language/defined_words.h>
#include <quarv/rules/language/definition_placer.h>
#include <quarv/rules/language/rule_parser.h>

namespace quarv::rules {

namespace {

ResultTree literal(std::size_t column, std::int64_t value) {
  ResultTree tree;
  tree.node.kind = ResultNode::Kind::literal;
  tree.node.value = value;
  tree.column = column;
  return tree;
}

ResultTree application(std::string_view word, std::size_t column, std::vector<ResultTree> children) {
  ResultTree tree;
  tree.node.kind = ResultNode::Kind::application;
  tree.node.op = find_operator(word);
  tree.children = std::move(children);
  tree.column = column;
  return tree;
}

/// The width of a result in which there are terms of the pattern to tell it.
std::optional<IntExpr> width_of(const ResultTree& tree) {
  const ResultNode& node = tree.node;
  if (node.kind == ResultNode::Kind::subterm) return IntExpr{IntExpr::Kind::size, node.index, {}};
  if (node.kind != ResultNode::Kind::application) return std::nullopt;
  const IntExpr one{IntExpr::Kind::literal, 1, {}};
  std::vector<IntExpr> widths;
  for (const ResultTree& child : tree.children) {
    if (std::optional<IntExpr> width = width_of(child)) widths.push_back(std::move(*width));
  }
  switch (node.op->shape) {
    case Shape::bit:
      return one;
    case Shape::extract:
      return IntExpr{IntExpr::Kind::sum,
                     0,
                     {{IntExpr::Kind::difference, 0, {node.parameters[0], node.parameters[1]}}, one}};
    case Shape::concat:
      if (widths.size() != 2) return std::nullopt;
      return IntExpr{IntExpr::Kind::sum, 0, std::move(widths)};
    case Shape::extend:
      if (widths.empty()) return std::nullopt;
      return IntExpr{IntExpr::Kind::sum, 0, {node.parameters[0], widths[0]}};
    case Shape::mixed:
      if (node.op->tag == SymbolTag::INT_TO_BV || node.op->tag == SymbolTag::FP_TO_BV)
        return node.parameters[0];
      if (node.op->tag != SymbolTag::TERM_ITE) return std::nullopt;
      break;
    default:
      break;
  }
  return widths.empty() ? std::nullopt : std::optional(widths.back());
}

}  // namespace

/// Integers are real numbers in terms, so that nothing stands for `to_real` there.
bool RuleParser::accept_to_real() {
  if (!lexer_.at_word("to_real") || !at_application()) return false;
  lexer_.advance();
  lexer_.expect("(");
  return true;
}

/// Whether the word under the cursor, with the operands that follow, stands for others.
bool RuleParser::at_defined_word() const {
  if (is_defined_word(lexer_.token_text())) return true;
  std::size_t num_operands = 1;
  std::size_t depth = 0;
  RuleLexer ahead = lexer_;
  for (ahead.advance(); ahead.token() != RuleLexer::Token::end; ahead.advance()) {
    if (ahead.at("(")) ++depth;
    if (ahead.at(")") && --depth == 0) break;
    if (ahead.at(",") && depth == 1) ++num_operands;
  }
  return definition_of(lexer_.token_text(), num_operands, 1).has_value();
}

/// The numeral of `repeat`.
std::size_t RuleParser::parse_repetitions() {
  constexpr std::int64_t most = 64;
  const std::size_t column = lexer_.column();
  if (lexer_.token() != RuleLexer::Token::number)
    lexer_.fail("expected a numeral but found " + lexer_.found());
  const std::int64_t times = lexer_.take_number();
  if (times < 1 || times > most) {
    lexer_.fail(column, "the numeral is not one of 1 to " + std::to_string(most));
  }
  lexer_.expect(",");
  return static_cast<std::size_t>(times);
}

DefinedTree RuleParser::defined(const std::string& word, std::size_t num_operands, std::size_t times,
                                std::size_t column) const {
  std::optional<DefinedTree> tree = definition_of(word, num_operands, times);
  if (!tree) {
    lexer_.fail(column, quoted(word) + " does not take " + std::to_string(num_operands) +
                            (num_operands == 1 ? " operand" : " operands"));
  }
  return std::move(*tree);
}

void RuleParser::parse_pattern_defined(std::size_t position, std::size_t depth) {
  const std::string word(lexer_.token_text());
  const std::size_t column = lexer_.column();
  lexer_.advance();
  lexer_.expect("(");
  const std::size_t times = has_repetitions(word) ? parse_repetitions() : 1;
  std::vector<DefinitionPlacer::Operand> operands;
  do {
    DefinitionPlacer::Operand operand;
    operand.first_parameter = rule_.parameters.size();
    operand.first_condition = rule_.conditions.size();
    operand.position = parse_pattern_node(position, operands.size(), depth + 1);
    operand.end = rule_.pattern.size();
    operand.end_parameter = rule_.parameters.size();
    operand.end_condition = rule_.conditions.size();
    operands.push_back(std::move(operand));
  } while (lexer_.accept(","));
  lexer_.expect(")");
  const DefinedTree tree = defined(word, operands.size(), times, column);
  if (!DefinitionPlacer(&rule_, position, std::move(operands), column).place(tree)) {
    lexer_.fail(column, "the pattern is too large");
  }
}

ResultTree RuleParser::parse_result_defined(std::size_t depth) {
  const std::string word(lexer_.token_text());
  const std::size_t column = lexer_.column();
  lexer_.advance();
  lexer_.expect("(");
  const std::size_t times = has_repetitions(word) ? parse_repetitions() : 1;
  std::vector<ResultTree> operands;
  do {
    operands.push_back(parse_result(depth + 1));
  } while (lexer_.accept(","));
  lexer_.expect(")");
  const DefinedTree tree = defined(word, operands.size(), times, column);
  return result_of(tree, operands, column);
}

ResultTree RuleParser::result_of(const DefinedTree& tree, const std::vector<ResultTree>& operands,
                                 std::size_t column) const {
  ResultTree result;
  switch (tree.kind) {
    case DefinedTree::Kind::operand:
      result = operands[tree.operand];
      break;
    case DefinedTree::Kind::literal:
      result = literal(column, tree.value);
      break;
    case DefinedTree::Kind::signed_minimum:  // all ones but the highest bit, complemented
      result = application("bvlshr", column, {literal(column, -1), literal(column, 1)});
      result = application("bvnot", column, {std::move(result)});
      break;
    case DefinedTree::Kind::application:
      for (const DefinedTree& child : tree.children) {
        result.children.push_back(result_of(child, operands, column));
      }
      result = application(tree.op->word, column, std::move(result.children));
      for (const IntExpr& parameter : tree.parameters) {
        result.node.parameters.push_back(with_widths(parameter, operands, column));
      }
  }
  result.node.as_real |= tree.as_real;
  return result;
}

/// The expression with the widths of operands in it.
IntExpr RuleParser::with_widths(const IntExpr& e, const std::vector<ResultTree>& operands,
                                std::size_t column) const {
  if (e.kind == IntExpr::Kind::size) {
    if (std::optional<IntExpr> width = width_of(operands[e.index])) return std::move(*width);
    lexer_.fail(operands[e.index].column, "the width of this operand cannot be inferred");
  }
  IntExpr result = e;
  for (IntExpr& operand : result.operands) operand = with_widths(operand, operands, column);
  return result;
}

}  // namespace quarv::rules
