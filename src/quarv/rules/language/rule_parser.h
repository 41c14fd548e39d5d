#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <quarv/rules/language/defined_words.h>
#include <quarv/rules/language/result_resolver.h>
#include <quarv/rules/language/rule_language.h>
#include <quarv/rules/language/rule_lexer.h>
#include <quarv/rules/language/rule_sorts.h>

namespace quarv::rules {

/// True for a name that ends in an underscore and a numeral.
inline bool has_suffix(std::string_view name) {
  return name.find('_') != std::string_view::npos;
}

/// Parses one rule by recursive descent. Its members are defined in five files: names and the pattern, words
/// for several operators, the conditions, the result, and the sorts of all of them.
class RuleParser {
 public:
  /// `begin` is where the rule begins in `text`, after its name.
  RuleParser(std::string_view text, std::size_t line, std::size_t begin) : lexer_(text, line, begin) {
    rule_.line = line;
    rule_.column = lexer_.column();
  }

  Rule parse();

 private:
  // Pattern.
  void parse_pattern();
  std::size_t parse_pattern_node(std::size_t parent, std::size_t child, std::size_t depth);
  void parse_pattern_equality(std::size_t position, std::size_t depth);
  void parse_pattern_application(std::size_t position, const OperatorWord& op, bool swapped,
                                 std::size_t depth);
  void parse_pattern_word(std::size_t position, std::size_t depth);
  void parse_pattern_defined(std::size_t position, std::size_t depth);
  bool accept_to_real();
  bool at_application() const;
  std::size_t sort_as_argument(std::size_t position);
  void infer_pattern_sorts();
  void bind_pattern_parameter(std::size_t position, std::size_t index);
  std::size_t new_position(std::size_t parent, std::size_t child);
  std::size_t new_zero(std::size_t parent, std::size_t child);
  void bind_variable(std::size_t position);

  // Words that stand for others.
  bool at_defined_word() const;
  std::size_t parse_repetitions();
  DefinedTree defined(const std::string& word, std::size_t num_operands, std::size_t times,
                      std::size_t column) const;

  // Conditions.
  void parse_condition();
  Condition parse_condition_body();
  Condition parse_word_condition();
  Condition parse_comparison();
  Condition parse_binding();
  Condition make_comparison(IntExpr left, Relation relation, IntExpr right, std::size_t column);
  void check_stated_literal(std::int64_t left, Relation relation, std::int64_t right, std::size_t column);
  Relation parse_relation();
  SortKind parse_sort();
  IntExpr parse_expression(std::size_t depth);
  IntExpr parse_power(const IntExpr& base, std::size_t depth);
  void check_sum_of_values(const IntExpr& expression, std::size_t column);
  void check_suffixes_tied();
  void infer_condition_sorts(const Condition& condition, std::size_t column);
  void need_widths(const IntExpr& expression, std::size_t column);
  void need_bits(const IntExpr& expression, std::size_t column);
  SortKind value_kind(const IntExpr& expression) const;
  void need(std::size_t position, SortKind kind, std::size_t column);
  void set_sorts();
  void settle_open_sorts();
  void resolve_literals();
  void add_sort_tests();

  // Result.
  ResultTree parse_result(std::size_t depth);
  ResultTree parse_result_equality(std::size_t depth);
  ResultTree parse_result_defined(std::size_t depth);
  ResultTree result_of(const DefinedTree& tree, const std::vector<ResultTree>& operands,
                       std::size_t column) const;
  IntExpr with_widths(const IntExpr& e, const std::vector<ResultTree>& operands, std::size_t column) const;
  ResultTree parse_result_word(std::size_t depth);
  ResultTree parse_result_application(const OperatorWord& op, std::size_t depth);
  IntExpr parse_result_parameter();

  // Names and numbers.
  std::string take_name(const char* what);
  std::optional<std::size_t> find_variable(std::string_view name) const;
  std::optional<std::size_t> find_parameter(std::string_view name) const;
  std::size_t take_variable();
  std::size_t new_parameter(Parameter parameter, std::size_t column);
  std::int64_t parse_literal();
  bool at_literal() const { return lexer_.token() == RuleLexer::Token::number || lexer_.at("-"); }
  const OperatorWord* take_operator();
  std::optional<NamedConstant> accept_constant();
  void check_depth(std::size_t depth) const {
    if (depth > max_depth) lexer_.fail("nested too deeply");
  }

  RuleLexer lexer_;
  SortInference sorts_;
  Rule rule_;
};

}  // namespace quarv::rules
