#include <array>

#include <quarv/rules/rule_language.h>

namespace quarv::rules {

RuleError::RuleError(std::size_t line, std::size_t column, const std::string& reason)
    : std::runtime_error(std::to_string(line) + ":" + std::to_string(column) + ": " + reason),
      line_(line),
      column_(column),
      reason_(reason) {}

namespace {

constexpr Operator operator_table[] = {
    {"==", SymbolTag::EQ, "EQ", Shape::predicate, 0, 2, "equal"},
    {"~", SymbolTag::NOT, "NOT", Shape::negation, 0, 1, "not"},
    {"concat", SymbolTag::BV_CONCAT, "BV_CONCAT", Shape::concat, 0, 2, "bv_concat"},
    {"extract", SymbolTag::BV_SELECT, "BV_SELECT", Shape::extract, 2, 1, "bv_extract"},
    {"bvnot", SymbolTag::BV_NOT, "BV_NOT", Shape::equal_widths, 0, 1, "bv_not"},
    {"bvand", SymbolTag::BV_AND, "BV_AND", Shape::equal_widths, 0, 2, "bv_and"},
    {"bvor", SymbolTag::BV_OR, "BV_OR", Shape::equal_widths, 0, 2, "bv_or"},
    {"bvxor", SymbolTag::BV_XOR, "BV_XOR", Shape::equal_widths, 0, 2, "bv_xor"},
    {"bvult", SymbolTag::BV_ULT, "BV_ULT", Shape::predicate, 0, 2, "bv_ult"},
    {"bvslt", SymbolTag::BV_SLT, "BV_SLT", Shape::predicate, 0, 2, "bv_slt"},
    {"bvule", SymbolTag::BV_ULE, "BV_ULE", Shape::predicate, 0, 2, "bv_ule"},
    {"bvsle", SymbolTag::BV_SLE, "BV_SLE", Shape::predicate, 0, 2, "bv_sle"},
    {"bvcomp", SymbolTag::BV_COMP, "BV_COMP", Shape::bit, 0, 2, "bv_comp"},
    {"bvneg", SymbolTag::BV_NEG, "BV_NEG", Shape::equal_widths, 0, 1, "bv_neg"},
    {"bvadd", SymbolTag::BV_ADD, "BV_ADD", Shape::equal_widths, 0, 2, "bv_add"},
    {"bvsub", SymbolTag::BV_SUB, "BV_SUB", Shape::equal_widths, 0, 2, "bv_sub"},
    {"bvmul", SymbolTag::BV_MUL, "BV_MUL", Shape::equal_widths, 0, 2, "bv_mul"},
    {"bvudiv", SymbolTag::BV_UDIV, "BV_UDIV", Shape::equal_widths, 0, 2, "bv_udiv"},
    {"bvsdiv", SymbolTag::BV_SDIV, "BV_SDIV", Shape::equal_widths, 0, 2, "bv_sdiv"},
    {"bvurem", SymbolTag::BV_UREM, "BV_UREM", Shape::equal_widths, 0, 2, "bv_urem"},
    {"bvsrem", SymbolTag::BV_SREM, "BV_SREM", Shape::equal_widths, 0, 2, "bv_srem"},
    {"bvlshl", SymbolTag::BV_LSL, "BV_LSL", Shape::equal_widths, 0, 2, "bv_lshl"},
    {"bvlshr", SymbolTag::BV_LSR, "BV_LSR", Shape::equal_widths, 0, 2, "bv_lshr"},
    {"bvashr", SymbolTag::BV_ASR, "BV_ASR", Shape::equal_widths, 0, 2, "bv_ashr"},
    {"bvrol", SymbolTag::BV_ROL, "BV_ROL", Shape::equal_widths, 1, 1, "bv_rotate_left"},
    {"bvror", SymbolTag::BV_ROR, "BV_ROR", Shape::equal_widths, 1, 1, "bv_rotate_right"},
    {"zext", SymbolTag::BV_ZEXT, "BV_ZEXT", Shape::extend, 1, 1, "bv_zero_extend"},
    {"sext", SymbolTag::BV_SEXT, "BV_SEXT", Shape::extend, 1, 1, "bv_sign_extend"},
};

}  // namespace

std::span<const Operator> operators() {
  return operator_table;
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
  std::string name = "GeneratedRewriteRule_" + transcribe(rule.pattern_text) + "_WITH_";
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
