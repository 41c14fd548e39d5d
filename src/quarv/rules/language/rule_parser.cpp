#include <map>
#include <utility>

#include <quarv/rules/language/rule_orders.h>
#include <quarv/rules/language/rule_parser.h>
#include <quarv/util/byte_order_mark.h>

namespace quarv::rules {

namespace {

std::optional<NamedConstant> constant_of(std::string_view word) {
  for (int i = 0; i <= static_cast<int>(NamedConstant::minus_zero); ++i) {
    const auto constant = static_cast<NamedConstant>(i);
    if (word_of(constant) == word) return constant;
  }
  return std::nullopt;
}

bool is_operator(std::string_view word) {
  return find_operator(word) != nullptr || find_derived_operator(word) != nullptr || is_defined_word(word);
}

/// The operators of other theories came later than rules with variables of their names; parentheses tell them
/// apart.
bool is_reserved(std::string_view word) {
  static constexpr std::string_view reserved[] = {"rewrite",  "unordered", "const", "identity", "prec",
                                                  "varvalue", "pow2",      "fits",  "size",     "sort"};
  if (std::ranges::find(reserved, word) != std::ranges::end(reserved) || constant_of(word)) return true;
  const OperatorWord* op = find_operator(word);
  return op != nullptr && op->word == word && op->shape != Shape::mixed;
}

}  // namespace

Rule RuleParser::parse() {
  const std::size_t start = lexer_.offset();
  rule_.is_unordered = lexer_.at_word("unordered");
  if (!rule_.is_unordered && !lexer_.at_word("rewrite")) {
    lexer_.fail("expected \"rewrite\" or \"unordered\" but found " + lexer_.found());
  }
  lexer_.advance();
  lexer_.expect("(");
  std::size_t begin = lexer_.offset();
  parse_pattern();
  rule_.pattern_text = lexer_.slice(begin, lexer_.previous_end());
  infer_pattern_sorts();
  for (const Condition& c : rule_.conditions) infer_condition_sorts(c, lexer_.column());
  lexer_.expect(",");
  if (!lexer_.at(")")) {
    do {
      parse_condition();
    } while (lexer_.accept(","));
  }
  lexer_.expect(")");
  check_suffixes_tied();
  lexer_.expect(">>");
  begin = lexer_.offset();
  const ResultTree tree = parse_result(1);
  rule_.result_text = lexer_.slice(begin, lexer_.previous_end());
  if (lexer_.token() != RuleLexer::Token::end)
    lexer_.fail("nothing may follow the rule, found " + lexer_.found());
  rule_.text = lexer_.slice(start, lexer_.previous_end());
  resolve_result(tree, &sorts_, &rule_);  // throws with the line and column of the node
  set_sorts();
  if (rule_.is_unordered) orders_of(rule_);  // throws when they are too many
  return std::move(rule_);
}

std::string RuleParser::take_name(const char* what) {
  if (lexer_.token() != RuleLexer::Token::name)
    lexer_.fail(std::string("expected ") + what + " but found " + lexer_.found());
  if (is_reserved(lexer_.token_text())) {
    lexer_.fail("expected " + std::string(what) + " but found the word " + lexer_.found());
  }
  std::string name(lexer_.token_text());
  lexer_.advance();
  return name;
}

std::optional<std::size_t> RuleParser::find_variable(std::string_view name) const {
  for (std::size_t i = 0; i < rule_.pattern.size(); ++i) {
    if (rule_.pattern[i].kind == PatternNode::Kind::variable && rule_.pattern[i].name == name) return i;
  }
  return std::nullopt;
}

std::optional<std::size_t> RuleParser::find_parameter(std::string_view name) const {
  for (std::size_t i = 0; i < rule_.parameters.size(); ++i) {
    if (rule_.parameters[i].name == name) return i;
  }
  return std::nullopt;
}

/// The position of the variable under the cursor.
std::size_t RuleParser::take_variable() {
  const std::size_t column = lexer_.column();
  const std::string name = take_name("a variable");
  const auto position = find_variable(name);
  if (position) return *position;
  lexer_.fail(column, find_parameter(name)
                          ? quoted(name) + " is an integer, not a term"
                          : "the variable " + quoted(name) + " does not occur in the pattern");
}

std::size_t RuleParser::new_parameter(Parameter parameter, std::size_t column) {
  if (find_variable(parameter.name) || find_parameter(parameter.name)) {
    lexer_.fail(column, "the name " + quoted(parameter.name) + " is already bound");
  }
  if (rule_.parameters.size() == max_parameters) lexer_.fail(column, "too many integer names");
  rule_.parameters.push_back(std::move(parameter));
  return rule_.parameters.size() - 1;
}

/// A constant in place of a term: a number, with or without a sign.
std::int64_t RuleParser::parse_literal() {
  if (!lexer_.at("-")) return lexer_.take_number();
  const std::size_t column = lexer_.column();
  lexer_.advance();
  if (lexer_.token() != RuleLexer::Token::number) lexer_.fail(column, "expected a number after \"-\"");
  return -lexer_.take_number();
}

std::optional<NamedConstant> RuleParser::accept_constant() {
  if (lexer_.token() != RuleLexer::Token::name) return std::nullopt;
  const auto constant = constant_of(lexer_.token_text());
  if (constant) lexer_.advance();
  return constant;
}

/// A word, or a sign that is an operator, with arguments.
bool RuleParser::at_application() const {
  RuleLexer ahead = lexer_;
  ahead.advance();
  if (!ahead.at("(")) return false;
  return lexer_.token() == RuleLexer::Token::name ||
         (lexer_.token() == RuleLexer::Token::sign && is_operator(lexer_.token_text()));
}

/// The operator under the cursor, which must be followed by its arguments.
const OperatorWord* RuleParser::take_operator() {
  const OperatorWord* op = find_operator(lexer_.token_text());
  const std::size_t column = lexer_.column();
  const std::string word(lexer_.token_text());
  lexer_.advance();
  if (op == nullptr) lexer_.fail(column, "unknown operator " + quoted(word));
  return op;
}

void RuleParser::parse_pattern() {
  const std::size_t column = lexer_.column();
  const std::size_t root = new_position(0, 0);
  if (lexer_.at("(")) return parse_pattern_equality(root, 1);
  if (at_application()) return parse_pattern_word(root, 1);
  if (lexer_.token() != RuleLexer::Token::name) lexer_.fail("expected a pattern but found " + lexer_.found());
  take_operator();
  lexer_.fail(column, "a pattern needs an operator at its root");
}

void RuleParser::parse_pattern_equality(std::size_t position, std::size_t depth) {
  lexer_.expect("(");
  rule_.pattern[position].kind = PatternNode::Kind::application;
  rule_.pattern[position].op = find_operator("==");
  const std::size_t left = parse_pattern_node(position, 0, depth + 1);
  lexer_.expect("==");
  const std::size_t right = parse_pattern_node(position, 1, depth + 1);
  lexer_.expect(")");
  rule_.pattern[position].arguments = {left, right};
}

/// An operator, or a word that stands for one.
void RuleParser::parse_pattern_word(std::size_t position, std::size_t depth) {
  if (at_defined_word()) return parse_pattern_defined(position, depth);
  const DerivedOperator* derived = find_derived_operator(lexer_.token_text());
  if (derived == nullptr) return parse_pattern_application(position, *take_operator(), false, depth);
  lexer_.advance();
  if (!derived->negation.empty()) {
    const std::size_t inner = new_position(position, 0);
    PatternNode& negation = rule_.pattern[position];
    negation.kind = PatternNode::Kind::application;
    negation.op = find_operator(derived->negation);
    negation.arguments = {inner};
    position = inner;
  }
  parse_pattern_application(position, *find_operator(derived->of), derived->swapped, depth);
}

std::size_t RuleParser::new_position(std::size_t parent, std::size_t child) {
  if (rule_.pattern.size() == max_positions) lexer_.fail("the pattern is too large");
  PatternNode& node = rule_.pattern.emplace_back();
  node.parent = parent;
  node.child = child;
  node.column = lexer_.column();
  return rule_.pattern.size() - 1;
}

std::size_t RuleParser::parse_pattern_node(std::size_t parent, std::size_t child, std::size_t depth) {
  check_depth(depth);
  const std::size_t position = new_position(parent, child);
  const bool as_real = accept_to_real();
  rule_.pattern[position].as_real = as_real;
  if (lexer_.at("(")) {
    parse_pattern_equality(position, depth);
  } else if (at_application()) {
    parse_pattern_word(position, depth);
  } else if (at_literal()) {
    rule_.pattern[position].kind = PatternNode::Kind::literal;
    rule_.pattern[position].value = parse_literal();
  } else if (const auto constant = accept_constant()) {
    rule_.pattern[position].kind = PatternNode::Kind::constant;
    rule_.pattern[position].constant = *constant;
  } else {
    if (lexer_.token() != RuleLexer::Token::name) lexer_.fail("expected a term but found " + lexer_.found());
    bind_variable(position);
  }
  if (as_real) lexer_.expect(")");
  return position;
}

void RuleParser::bind_variable(std::size_t position) {
  const std::size_t column = lexer_.column();
  const std::string name = take_name("a variable");
  if (find_variable(name) || find_parameter(name)) {
    lexer_.fail(column, "the name " + quoted(name) + " is already bound; write a second occurrence as " +
                            quoted(name + "_0") + " with identity(" + name + ", " + name + "_0)");
  }
  rule_.pattern[position].name = name;
}

void RuleParser::parse_pattern_application(std::size_t position, const OperatorWord& op, bool swapped,
                                           std::size_t depth) {
  rule_.pattern[position].kind = PatternNode::Kind::application;
  rule_.pattern[position].op = &op;
  const std::size_t column = lexer_.column();
  lexer_.expect("(");
  for (std::size_t i = 0; i < op.num_parameters; ++i) {
    bind_pattern_parameter(position, i);
    lexer_.expect(",");
  }
  rule_.pattern[position].arguments.resize(op.num_arguments);
  for (std::size_t i = 0; i < op.num_arguments; ++i) {
    const bool is_left_out = i == 1 && op.tag == SymbolTag::INT_MOD_CONGR && lexer_.at(")");
    if (i > 0 && !is_left_out) lexer_.expect(",");
    const std::size_t place = swapped ? op.num_arguments - 1 - i : i;
    const std::size_t argument =
        is_left_out ? new_zero(position, place) : parse_pattern_node(position, place, depth + 1);
    rule_.pattern[position].arguments[place] = argument;
  }
  if (lexer_.at(",")) lexer_.fail(column, quoted(op.word) + " has too many arguments");
  lexer_.expect(")");
}

/// What divides is congruent to 0.
std::size_t RuleParser::new_zero(std::size_t parent, std::size_t child) {
  const std::size_t position = new_position(parent, child);
  rule_.pattern[position].kind = PatternNode::Kind::literal;
  return position;
}

void RuleParser::bind_pattern_parameter(std::size_t position, std::size_t index) {
  const std::size_t column = lexer_.column();
  Parameter parameter;
  parameter.source = Parameter::Source::pattern;
  parameter.name = take_name("the name of an integer");
  parameter.position = position;
  parameter.index = index;
  rule_.pattern[position].parameters.push_back(new_parameter(std::move(parameter), column));
}

namespace {

/// A rule's name is made for command lines and for reading: words with hyphens between them.
void check_name(std::string_view name, std::size_t line, std::size_t column) {
  char before = '-';
  for (std::size_t i = 0; i < name.size(); ++i) {
    const char c = name[i];
    const bool is_letter = c >= 'a' && c <= 'z';
    const bool is_digit = c >= '0' && c <= '9';
    if (!is_letter && (i == 0 || !is_digit) && (c != '-' || before == '-')) {
      throw RuleError(line, column + i, "the name of a rule is made of a-z, 0-9 and single hyphens");
    }
    before = c;
  }
  if (before == '-') throw RuleError(line, column + name.size(), "the name of the rule is incomplete");
}

}  // namespace

Rule parse_rule(std::string_view text, std::size_t line) {
  // Nothing but a name is followed by a colon.
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return RuleParser(text, line, 0).parse();
  std::string_view name = text.substr(0, colon);
  const std::size_t first = std::min(name.find_first_not_of(" \t"), name.size());
  name.remove_prefix(first);
  name = name.substr(0, name.find_last_not_of(" \t") + 1);
  check_name(name, line, first + 1);
  Rule rule = RuleParser(text, line, colon + 1).parse();
  rule.name = name;
  rule.column = first + 1;
  return rule;
}

std::vector<Rule> parse_rules(std::string_view text) {
  std::vector<Rule> rules;
  std::map<std::string, std::size_t> lines;  // by name
  text = without_byte_order_mark(text);
  for (std::size_t line = 1; !text.empty(); ++line) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view row = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (row.ends_with('\r')) row.remove_suffix(1);
    const std::size_t first = row.find_first_not_of(" \t");
    if (first == std::string_view::npos || row[first] == '#') continue;
    rules.push_back(parse_rule(row, line));
    const Rule& rule = rules.back();
    if (rule.name.empty()) continue;
    const auto [known, is_new] = lines.try_emplace(rule.name, line);
    if (!is_new) {
      throw RuleError(line, rule.column,
                      "the rule of line " + std::to_string(known->second) + " already has this name");
    }
  }
  return rules;
}

}  // namespace quarv::rules
