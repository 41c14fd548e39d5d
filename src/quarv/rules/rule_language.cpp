#include <algorithm>
#include <array>

#include <quarv/rules/rule_language.h>
#include <quarv/term/operators.h>

namespace quarv::rules {

RuleError::RuleError(std::size_t line, std::size_t column, const std::string& reason)
    : std::runtime_error(std::to_string(line) + ":" + std::to_string(column) + ": " + reason),
      line_(line),
      column_(column),
      reason_(reason) {}

namespace {

constexpr Shape shape_of(const Signature& s) {
  switch (s.result.kind) {
    case SortPattern::boolean:
      return s.arity == 1 ? Shape::negation : Shape::predicate;
    case SortPattern::bit:
      return Shape::bit;
    case SortPattern::joined:
      return s.arity == 1 ? Shape::extend : Shape::concat;
    case SortPattern::kept:
      return Shape::extract;
    default:
      return Shape::equal_widths;
  }
}

/// Equality of bits commutes though constructors leave its operands as they are.
constexpr std::uint8_t commutes_from(const OperatorRow& row) {
  return row.tag == SymbolTag::BV_COMP ? 0 : row.commutes_from;
}

constexpr bool has_word(const OperatorRow& row) {
  return !row.rule_word.empty();
}

constexpr std::size_t num_words = std::ranges::count_if(tagged_operators(), has_word);

constexpr std::array<Operator, num_words> words = [] {
  std::array<Operator, num_words> all;
  std::size_t n = 0;
  for (const OperatorRow& row : tagged_operators()) {
    if (!has_word(row)) continue;
    all[n++] = {row.rule_word,
                row.tag,
                row.tag_name,
                shape_of(row.signature),
                row.num_indices,
                row.signature.arity,
                row.member,
                row.smtlib,
                row.sign,
                commutes_from(row),
                row.chain == Chain::right && row.commutes_from == 0};
  }
  return all;
}();

}  // namespace

std::span<const Operator> operators() {
  return words;
}

const Operator* find_operator(std::string_view word) {
  for (const Operator& op : operators()) {
    if (op.word == word) return &op;
  }
  return nullptr;
}

std::string_view relation_sign(Relation relation) {
  static constexpr std::array<std::string_view, 6> signs = {"==", "!=", "<", "<=", ">", ">="};
  return signs[static_cast<std::size_t>(relation)];
}

namespace {

/// The identifier characters for a piece of rule text.
std::string transcribe(std::string_view text) {
  static constexpr std::array<std::pair<std::string_view, std::string_view>, 9> replacements = {{
      {"(", "_"},
      {")", "_"},
      {",", "_"},
      {" ", ""},
      {"==", "_EQ_"},
      {"~", "NOT"},
      {"-1", "ALL1"},
      {"true", "TRUE"},
      {"false", "FALSE"},
  }};
  std::string out;
  while (!text.empty()) {
    std::string_view from = text.substr(0, 1);
    std::string_view to = from;
    for (const auto& [pattern, replacement] : replacements) {
      if (text.starts_with(pattern)) {
        from = pattern;
        to = replacement;
      }
    }
    out += to;
    text.remove_prefix(from.size());
  }
  return out;
}

}  // namespace

std::string class_name(const Rule& rule) {
  std::string name = rule.is_unordered ? "GeneratedUnorderedRule_" : "GeneratedRewriteRule_";
  name += transcribe(rule.pattern_text) + "_WITH_";
  for (std::size_t i = 0; i < rule.conditions.size(); ++i) {
    const Condition& condition = rule.conditions[i];
    if (i > 0) name += '_';
    if (condition.kind == Condition::Kind::identity) {
      name += rule.pattern[condition.a].name + "_ID_" + rule.pattern[condition.b].name;
    }
  }
  return name + "_TO_" + transcribe(rule.result_text);
}

}  // namespace quarv::rules
