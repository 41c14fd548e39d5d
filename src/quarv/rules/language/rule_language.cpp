#include <algorithm>
#include <array>
#include <numeric>

#include <quarv/rules/language/rule_language.h>
#include <quarv/term/operators.h>
#include <quarv/util/one_line.h>

namespace quarv::rules {

RuleError::RuleError(std::size_t line, std::size_t column, const std::string& reason)
    : std::runtime_error(std::to_string(line) + ":" + std::to_string(column) + ": " + in_one_line(reason)),
      line_(line),
      column_(column),
      reason_(in_one_line(reason)) {}

namespace {

constexpr bool is_of_bits(const SortPattern& p) {
  return p.kind == SortPattern::bit || p.kind == SortPattern::bits || p.kind == SortPattern::joined ||
         p.kind == SortPattern::kept;
}

/// Equality and negation are among the operators on bit-vectors, since the standard rules have them.
constexpr bool is_on_bit_vectors(const OperatorRow& row) {
  if (row.tag == SymbolTag::EQ || row.tag == SymbolTag::NOT) return true;
  for (const SortPattern& p : row.signature.arguments()) {
    if (!is_of_bits(p)) return false;
  }
  return is_of_bits(row.signature.result) || row.signature.result.kind == SortPattern::boolean;
}

constexpr Shape shape_of(const OperatorRow& row) {
  const Signature& s = row.signature;
  if (!is_on_bit_vectors(row) || row.tag == SymbolTag::OPAQUE) return Shape::mixed;
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

/// The conversion of a real number, whose symbols have the indices in their names.
constexpr OperatorRow real_to_float =
    OperatorRow(SymbolTag::OPAQUE, "OPAQUE", "to_fp (from real)",
                {{operator_table::mode, operator_table::real}, operator_table::format})
        .written("to_fp")
        .indexed(0, 2);

/// The modulus of a congruence is an index, though not a parameter of its symbol.
constexpr std::uint8_t num_parameters(const OperatorRow& row) {
  return row.tag == SymbolTag::INT_MOD_CONGR ? 1 : row.num_indices;
}

/// SMT-LIB has one name for several operators: there the sorts of the operands tell them apart, here words.
constexpr std::string_view word_of(const OperatorRow& row) {
  switch (row.tag) {
    case SymbolTag::IFF:
      return "iff";  // "=" is equality at any sort
    case SymbolTag::FP_FROM_SBV:
      return "to_fp_signed";
    case SymbolTag::FP_FROM_IEEEBV:
      return "to_fp_bits";
    case SymbolTag::INT_FROM_UBV:
      return "ubv_to_int";
    case SymbolTag::ARRAY_CONST:
      return "const_array";  // const(t) is a condition
    case SymbolTag::OPAQUE:
      return row.has_format_as_index() ? "to_fp_real" : row.smtlib;
    default:
      break;
  }
  return row.rule_word.empty() ? row.smtlib : row.rule_word;
}

constexpr std::string_view sign_of(const OperatorRow& row) {
  return row.sign.empty() && std::string_view("+*<=/").find(row.smtlib) != std::string_view::npos ? row.smtlib
                                                                                                  : row.sign;
}

// fp.to_sbv shares a row with fp.to_ubv.
constexpr std::size_t num_words = tagged_operators().size() + opaque_operators().size() + 2;

constexpr std::array<OperatorWord, num_words> words = [] {
  std::array<OperatorWord, num_words> all;
  std::size_t n = 0;
  for (const auto& table : {tagged_operators(), opaque_operators(), std::span(&real_to_float, 1)}) {
    for (const OperatorRow& row : table) {
      all[n++] = {.word = word_of(row),
                  .tag = row.tag,
                  .tag_name = row.tag_name,
                  .shape = shape_of(row),
                  .num_parameters = num_parameters(row),
                  .num_arguments = row.signature.arity,
                  .name = row.member,
                  .smtlib = row.smtlib,
                  .synonym = row.synonym,
                  .sign = sign_of(row),
                  .commutes_from = commutes_from(row),
                  .associates = row.chain == Chain::right && row.commutes_from == 0,
                  .has_format = row.has_format_as_index(),
                  .signature = &row.signature,
                  .chain = row.chain,
                  .returns_boolean = row.signature.result.kind == SortPattern::boolean};
      if (row.tag != SymbolTag::FP_TO_BV) continue;
      all[n] = all[n - 1];
      all[n].word = all[n].smtlib = row.synonym;
      all[n++].is_signed = true;
    }
  }
  return all;
}();

constexpr DerivedOperator derived_operators[] = {
    {"distinct", "==", false, "~"},
    {"xor", "iff", false, "~"},
    {"<", "<=", true, "~"},
    {">", "<=", false, "~"},
    {">=", "<=", true, ""},
    {"bvugt", "bvult", true, ""},
    {"bvuge", "bvule", true, ""},
    {"bvsgt", "bvslt", true, ""},
    {"bvsge", "bvsle", true, ""},
    {"fp.gt", "fp.lt", true, ""},
    {"fp.geq", "fp.leq", true, ""},
    {"bvnand", "bvand", false, "bvnot"},
    {"bvnor", "bvor", false, "bvnot"},
    {"bvxnor", "bvxor", false, "bvnot"},
};

}  // namespace

std::span<const OperatorWord> operators() {
  return words;
}

const OperatorWord* find_operator(std::string_view word) {
  if (word.empty()) return nullptr;
  for (const OperatorWord& op : operators()) {
    if (op.word == word) return &op;
  }
  for (const OperatorWord& op : operators()) {
    if ((op.smtlib == word || op.synonym == word) && op.tag != SymbolTag::IFF) return &op;
  }
  return nullptr;
}

const OperatorWord* boolean_equality() {
  return find_operator("iff");
}

const DerivedOperator* find_derived_operator(std::string_view word) {
  const auto* const found = std::ranges::find(derived_operators, word, &DerivedOperator::word);
  return found == std::end(derived_operators) ? nullptr : found;
}

std::string_view word_of(NamedConstant constant) {
  static constexpr std::array<std::string_view, 12> constants = {
      "true", "false", "RNE", "RNA", "RTP", "RTN", "RTZ", "NaN", "+oo", "-oo", "+zero", "-zero"};
  return constants[static_cast<std::size_t>(constant)];
}

std::string_view description(SortKind kind) {
  static constexpr std::array<std::string_view, 9> descriptions = {
      "a term",       "a truth value",           "an integer", "a real number", "a number", "a rounding mode",
      "a bit-vector", "a floating-point number", "an array"};
  return descriptions[static_cast<std::size_t>(kind)];
}

bool is_exact(const IntExpr& expression) {
  return expression.kind == IntExpr::Kind::value || expression.kind == IntExpr::Kind::conjunction ||
         expression.kind == IntExpr::Kind::power || std::ranges::any_of(expression.operands, is_exact);
}

bool has_widths(const Rule& rule) {
  return std::ranges::any_of(rule.pattern, [&](const PatternNode& node) {
    return rule.sorts[node.sort].kind == SortKind::bit_vector;
  });
}

bool is_in_qf_bv(const Rule& rule) {
  // What is known by its name alone is none of QF_BV's: rotations by a term.
  const auto is_known_by_name = [](const auto& node) {
    return node.op != nullptr && node.op->tag == SymbolTag::OPAQUE;
  };
  if (std::ranges::any_of(rule.pattern, is_known_by_name)) return false;
  if (std::ranges::any_of(rule.result, is_known_by_name)) return false;
  return has_widths(rule) && std::ranges::all_of(rule.sorts, [](const RuleSort& sort) {
           return sort.kind == SortKind::bit_vector || sort.kind == SortKind::boolean;
         });
}

bool is_about_bit_vectors_alone(const Rule& rule) {
  for (std::size_t i = 0; i < rule.pattern.size(); ++i) {
    const PatternNode& node = rule.pattern[i];
    const bool is_application = node.kind == PatternNode::Kind::application;
    if (is_application && (node.op->shape == Shape::mixed || node.op->shape == Shape::negation)) return false;
    if ((i > 0 || !is_application) && rule.sorts[node.sort].kind != SortKind::bit_vector) return false;
  }
  return std::ranges::all_of(rule.result, [](const ResultNode& node) {
    const bool is_application = node.kind == ResultNode::Kind::application;
    return node.kind != ResultNode::Kind::number && node.kind != ResultNode::Kind::constant &&
           (!is_application || node.op->shape != Shape::mixed);
  });
}

std::string_view relation_sign(Relation relation) {
  static constexpr std::array<std::string_view, 6> signs = {"==", "!=", "<", "<=", ">", ">="};
  return signs[static_cast<std::size_t>(relation)];
}

namespace {

/// The identifier characters for a piece of rule text.
std::string transcribe(std::string_view text) {
  // The last that fits counts.
  static constexpr std::array<std::pair<std::string_view, std::string_view>, 19> replacements = {{
      {"(", "_"},     {")", "_"},     {",", "_"},       {" ", ""},          {"=", "EQ"},
      {"==", "_EQ_"}, {"~", "NOT"},   {".", "_"},       {"+", "PLUS"},      {"*", "TIMES"},
      {"/", "DIV"},   {"<", "LT"},    {">", "GT"},      {"<=", "LEQ"},      {">=", "GEQ"},
      {"-", "MINUS"}, {"-1", "ALL1"}, {"true", "TRUE"}, {"false", "FALSE"},
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

std::vector<std::size_t> united_positions(const Rule& rule) {
  std::vector<std::size_t> same_as(rule.pattern.size());
  std::iota(same_as.begin(), same_as.end(), std::size_t{0});
  for (const Condition& c : rule.conditions) {
    if (c.kind != Condition::Kind::identity) continue;
    const auto [first, second] = std::minmax({same_as[c.a], same_as[c.b]});
    std::ranges::replace(same_as, second, first);
  }
  return same_as;
}

}  // namespace quarv::rules
