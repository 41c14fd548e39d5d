/// \file
/// One row for each operator: all that is known of it except what it means.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>

#include <quarv/export.h>
#include <quarv/term/symbol_tag.h>

namespace quarv {

/// A sort in the signature of an operator. Widths and formats are integer parameters of the operator's
/// symbol, which stand in the order of the manager's recognisers.
struct SortPattern {
  enum Kind : std::uint8_t {
    boolean,
    integer,
    real,
    rounding_mode,
    bit,       ///< a bit-vector of one bit
    bits,      ///< a bit-vector; parameter `at` is its width
    joined,    ///< a bit-vector as wide as the parameters `at` and `at` + 1 say together
    kept,      ///< a bit-vector of the bits from parameter `at` down to parameter `at` + 1
    format,    ///< a float; the parameters `at` and `at` + 1 are its exponent and stored significand widths
    encoding,  ///< the bit-vector that encodes such a float
    any,       ///< the sort that the symbol is made for, whatever it is
    number,    ///< the sort that the symbol is made for, Int or Real
    array,     ///< the sort that the symbol is made for, an array
    index,     ///< the sort of that array's indices
    element,   ///< the sort of that array's elements
  };

  Kind kind = boolean;
  std::uint8_t at = 0;

  constexpr bool operator==(const SortPattern&) const = default;

  /// How many parameters it needs, counted from the first.
  constexpr std::size_t num_params() const noexcept {
    return kind == bits                                                           ? at + 1U
           : kind == joined || kind == kept || kind == format || kind == encoding ? at + 2U
                                                                                  : 0U;
  }
  /// True when the symbol is made for a sort.
  constexpr bool is_polymorphic() const noexcept { return kind >= any; }
};

/// The sorts of the arguments and of the result.
struct Signature {
  static constexpr std::size_t max_arity = 4;

  constexpr Signature() = default;
  constexpr Signature(std::initializer_list<SortPattern> arguments, SortPattern result_pattern)
      : arity(static_cast<std::uint8_t>(arguments.size())), result(result_pattern) {
    std::size_t i = 0;
    num_params = result.num_params();
    is_polymorphic = result.is_polymorphic();
    for (const SortPattern& p : arguments) {
      if (p.num_params() > num_params) num_params = p.num_params();
      is_polymorphic |= p.is_polymorphic();
      args[i++] = p;
    }
    has_format = num_params == 2 && (has(SortPattern::format) || result.kind == SortPattern::format);
  }

  constexpr std::span<const SortPattern> arguments() const noexcept { return {args, arity}; }
  constexpr bool has(SortPattern::Kind kind) const noexcept {
    for (const SortPattern& p : arguments()) {
      if (p.kind == kind) return true;
    }
    return false;
  }

  SortPattern args[max_arity] = {};
  std::uint8_t arity = 0;       ///< 0: no operator
  bool is_polymorphic = false;  ///< its symbols are made for a sort
  bool has_format = false;      ///< its parameters are a format and nothing else
  std::size_t num_params = 0;
  SortPattern result;
};

/// How SMT-LIB reads more arguments than an operator has.
enum class Chain : std::uint8_t {
  none,   ///< there are no more
  right,  ///< associative, hence built from the right: a + (b + c)
  left,   ///< (a - b) - c
  pairs,  ///< a < b and b < c
};

/// One row of the table. Where SMT-LIB has one name for several operators, or several names for one, `name`
/// tells operators apart and `smtlib` is what is printed.
struct OperatorRow {
  SymbolTag::tag tag = SymbolTag::UF;
  std::string_view tag_name;  ///< its enumerator
  const char* name = "";      ///< in messages and statistics; differs from all others
  std::string_view smtlib;    ///< in SMT-LIB, without indices
  std::string_view synonym;   ///< another SMT-LIB name that is read
  Signature signature;

  std::uint8_t first_index = 0;  ///< which parameters are SMT-LIB's indices
  std::uint8_t num_indices = 0;
  Chain chain = Chain::none;
  static constexpr std::uint8_t never = 255;
  std::uint8_t commutes_from = never;  ///< the constructors order the operands by id, from this one on

  std::string_view rule_word;  ///< in the rule language; empty when that does not have it
  std::string_view member;     ///< what the manager's `make_` and `is_` members end in
  std::string_view sign;       ///< between operands, in prose

  /// The index after the exponent's width counts the hidden bit too: SMT-LIB's significand width.
  constexpr bool has_format_as_index() const noexcept {
    return signature.result == SortPattern{SortPattern::format, first_index} && num_indices == 2;
  }

  // For writing the table.
  constexpr OperatorRow() = default;
  constexpr OperatorRow(SymbolTag::tag t, std::string_view enumerator, const char* text,
                        const Signature& sorts = {})
      : tag(t), tag_name(enumerator), name(text), smtlib(text), signature(sorts) {}
  constexpr OperatorRow written(std::string_view text, std::string_view other = {}) const {
    OperatorRow row = *this;
    row.smtlib = text, row.synonym = other;
    return row;
  }
  /// The parameters from `first` on are given as indices.
  constexpr OperatorRow indexed(std::uint8_t first, std::uint8_t count) const {
    OperatorRow row = *this;
    row.first_index = first, row.num_indices = count;
    return row;
  }
  constexpr OperatorRow chained(Chain how) const {
    OperatorRow row = *this;
    row.chain = how;
    return row;
  }
  constexpr OperatorRow commutes(std::uint8_t from = 0) const {
    OperatorRow row = *this;
    row.commutes_from = from;
    return row;
  }
  constexpr OperatorRow in_rules(std::string_view word, std::string_view ending,
                                 std::string_view infix = {}) const {
    OperatorRow row = *this;
    row.rule_word = word, row.member = ending, row.sign = infix;
    return row;
  }
};

namespace operator_table {

using Tag = SymbolTag;
using Sort = SortPattern;
using Row = OperatorRow;
using enum Chain;

inline constexpr Sort boolean{Sort::boolean}, integer{Sort::integer}, real{Sort::real},
    mode{Sort::rounding_mode}, bit{Sort::bit}, bits{Sort::bits, 0}, bits1{Sort::bits, 1},
    bits2{Sort::bits, 2}, joined{Sort::joined, 0}, kept{Sort::kept, 0}, format{Sort::format, 0},
    format1{Sort::format, 1}, format2{Sort::format, 2}, encoding{Sort::encoding, 0}, any{Sort::any},
    number{Sort::number}, array{Sort::array}, index{Sort::index}, element{Sort::element};

// clang-format off

/// The operators that have a tag, by tag.
inline constexpr Row tagged[] = {
    {Tag::UF, "UF", "apply"},
    {Tag::CONSTANT, "CONSTANT", "constant"},
    {Tag::OPAQUE, "OPAQUE", "operator"},

    Row(Tag::AND, "AND", "and", {{boolean, boolean}, boolean}).chained(right).commutes(),
    Row(Tag::OR, "OR", "or", {{boolean, boolean}, boolean}).chained(right).commutes(),
    Row(Tag::NOT, "NOT", "not", {{boolean}, boolean}).in_rules("~", "not", "not "),
    Row(Tag::IFF, "IFF", "iff", {{boolean, boolean}, boolean}).written("=").chained(pairs).commutes(),
    Row(Tag::PLUS, "PLUS", "+", {{number, number}, number}).chained(right).commutes(),
    Row(Tag::TIMES, "TIMES", "*", {{number, number}, number}).chained(right).commutes(),
    Row(Tag::FLOOR, "FLOOR", "to_int", {{real}, integer}),
    Row(Tag::LEQ, "LEQ", "<=", {{number, number}, boolean}).chained(pairs),
    Row(Tag::EQ, "EQ", "=", {{any, any}, boolean}).chained(pairs).commutes().in_rules("==", "equal", "="),
    Row(Tag::TERM_ITE, "TERM_ITE", "ite", {{boolean, any, any}, any}),
    // Its modulus is a number of any size, which is not a parameter; in SMT-LIB the second operand is 0.
    Row(Tag::INT_MOD_CONGR, "INT_MOD_CONGR", "divisible", {{integer, integer}, boolean}),

    Row(Tag::BV_CONCAT, "BV_CONCAT", "concat", {{bits, bits1}, joined}).chained(right).in_rules("concat", "bv_concat"),
    Row(Tag::BV_SELECT, "BV_SELECT", "extract", {{bits2}, kept}).indexed(0, 2).in_rules("extract", "bv_extract"),
    Row(Tag::BV_NOT, "BV_NOT", "bvnot", {{bits}, bits}).in_rules("bvnot", "bv_not", "~"),
    Row(Tag::BV_AND, "BV_AND", "bvand", {{bits, bits}, bits}).chained(right).commutes().in_rules("bvand", "bv_and", "&"),
    Row(Tag::BV_OR, "BV_OR", "bvor", {{bits, bits}, bits}).chained(right).commutes().in_rules("bvor", "bv_or", "|"),
    Row(Tag::BV_XOR, "BV_XOR", "bvxor", {{bits, bits}, bits}).chained(right).commutes().in_rules("bvxor", "bv_xor", "^"),
    Row(Tag::BV_ULT, "BV_ULT", "bvult", {{bits, bits}, boolean}).chained(pairs).in_rules("bvult", "bv_ult", "<"),
    Row(Tag::BV_SLT, "BV_SLT", "bvslt", {{bits, bits}, boolean}).chained(pairs).in_rules("bvslt", "bv_slt"),
    Row(Tag::BV_ULE, "BV_ULE", "bvule", {{bits, bits}, boolean}).chained(pairs).in_rules("bvule", "bv_ule", "<="),
    Row(Tag::BV_SLE, "BV_SLE", "bvsle", {{bits, bits}, boolean}).chained(pairs).in_rules("bvsle", "bv_sle"),
    Row(Tag::BV_COMP, "BV_COMP", "bvcomp", {{bits, bits}, bit}).in_rules("bvcomp", "bv_comp"),
    Row(Tag::BV_NEG, "BV_NEG", "bvneg", {{bits}, bits}).in_rules("bvneg", "bv_neg", "-"),
    Row(Tag::BV_ADD, "BV_ADD", "bvadd", {{bits, bits}, bits}).chained(right).commutes().in_rules("bvadd", "bv_add", "+"),
    Row(Tag::BV_SUB, "BV_SUB", "bvsub", {{bits, bits}, bits}).chained(left).in_rules("bvsub", "bv_sub", "-"),
    Row(Tag::BV_MUL, "BV_MUL", "bvmul", {{bits, bits}, bits}).chained(right).commutes().in_rules("bvmul", "bv_mul", "*"),
    Row(Tag::BV_UDIV, "BV_UDIV", "bvudiv", {{bits, bits}, bits}).in_rules("bvudiv", "bv_udiv"),
    Row(Tag::BV_SDIV, "BV_SDIV", "bvsdiv", {{bits, bits}, bits}).in_rules("bvsdiv", "bv_sdiv"),
    Row(Tag::BV_UREM, "BV_UREM", "bvurem", {{bits, bits}, bits}).in_rules("bvurem", "bv_urem"),
    Row(Tag::BV_SREM, "BV_SREM", "bvsrem", {{bits, bits}, bits}).in_rules("bvsrem", "bv_srem"),
    Row(Tag::BV_LSL, "BV_LSL", "bvshl", {{bits, bits}, bits}).in_rules("bvlshl", "bv_lshl", "<<"),
    Row(Tag::BV_LSR, "BV_LSR", "bvlshr", {{bits, bits}, bits}).in_rules("bvlshr", "bv_lshr", ">>"),
    Row(Tag::BV_ASR, "BV_ASR", "bvashr", {{bits, bits}, bits}).in_rules("bvashr", "bv_ashr"),
    Row(Tag::BV_ROL, "BV_ROL", "rotate_left", {{bits1}, bits1}).indexed(0, 1).in_rules("bvrol", "bv_rotate_left"),
    Row(Tag::BV_ROR, "BV_ROR", "rotate_right", {{bits1}, bits1}).indexed(0, 1).in_rules("bvror", "bv_rotate_right"),
    Row(Tag::BV_ZEXT, "BV_ZEXT", "zero_extend", {{bits1}, joined}).indexed(0, 1).in_rules("zext", "bv_zero_extend"),
    Row(Tag::BV_SEXT, "BV_SEXT", "sign_extend", {{bits1}, joined}).indexed(0, 1).in_rules("sext", "bv_sign_extend"),

    Row(Tag::ARRAY_READ, "ARRAY_READ", "select", {{array, index}, element}),
    Row(Tag::ARRAY_WRITE, "ARRAY_WRITE", "store", {{array, index, element}, array}),
    Row(Tag::ARRAY_CONST, "ARRAY_CONST", "const", {{element}, array}),

    Row(Tag::FP_EQ, "FP_EQ", "fp.eq", {{format, format}, boolean}).chained(pairs).commutes(),
    Row(Tag::FP_LT, "FP_LT", "fp.lt", {{format, format}, boolean}).chained(pairs),
    Row(Tag::FP_LE, "FP_LE", "fp.leq", {{format, format}, boolean}).chained(pairs),
    Row(Tag::FP_NEG, "FP_NEG", "fp.neg", {{format}, format}),
    Row(Tag::FP_ADD, "FP_ADD", "fp.add", {{mode, format, format}, format}).commutes(1),
    Row(Tag::FP_SUB, "FP_SUB", "fp.sub", {{mode, format, format}, format}),
    Row(Tag::FP_MUL, "FP_MUL", "fp.mul", {{mode, format, format}, format}).commutes(1),
    Row(Tag::FP_DIV, "FP_DIV", "fp.div", {{mode, format, format}, format}),
    Row(Tag::FP_SQRT, "FP_SQRT", "fp.sqrt", {{mode, format}, format}),
    Row(Tag::FP_ABS, "FP_ABS", "fp.abs", {{format}, format}),
    Row(Tag::FP_MIN, "FP_MIN", "fp.min", {{format, format}, format}),
    Row(Tag::FP_MAX, "FP_MAX", "fp.max", {{format, format}, format}),
    Row(Tag::FP_CAST, "FP_CAST", "to_fp (from fp)", {{mode, format}, format2}).written("to_fp").indexed(2, 2),
    Row(Tag::FP_ROUND_TO_INT, "FP_ROUND_TO_INT", "fp.roundToIntegral", {{mode, format}, format}),
    Row(Tag::FP_FROM_SBV, "FP_FROM_SBV", "to_fp (from signed)", {{mode, bits}, format1}).written("to_fp").indexed(1, 2),
    Row(Tag::FP_FROM_UBV, "FP_FROM_UBV", "to_fp_unsigned", {{mode, bits}, format1}).indexed(1, 2),
    // One tag for two operators, which a flag of the symbol tells apart; fp.to_sbv is the other.
    Row(Tag::FP_TO_BV, "FP_TO_BV", "fp.to_bv", {{mode, format}, bits2}).written("fp.to_ubv", "fp.to_sbv").indexed(2, 1),
    Row(Tag::FP_AS_IEEEBV, "FP_AS_IEEEBV", "fp.to_ieee_bv", {{format}, encoding}),
    Row(Tag::FP_ISNAN, "FP_ISNAN", "fp.isNaN", {{format}, boolean}),
    Row(Tag::FP_ISINF, "FP_ISINF", "fp.isInfinite", {{format}, boolean}),
    Row(Tag::FP_ISZERO, "FP_ISZERO", "fp.isZero", {{format}, boolean}),
    Row(Tag::FP_ISSUBNORMAL, "FP_ISSUBNORMAL", "fp.isSubnormal", {{format}, boolean}),
    Row(Tag::FP_ISNORMAL, "FP_ISNORMAL", "fp.isNormal", {{format}, boolean}),
    Row(Tag::FP_ISNEG, "FP_ISNEG", "fp.isNegative", {{format}, boolean}),
    Row(Tag::FP_ISPOS, "FP_ISPOS", "fp.isPositive", {{format}, boolean}),
    Row(Tag::FP_FROM_IEEEBV, "FP_FROM_IEEEBV", "to_fp (from bits)", {{encoding}, format}).written("to_fp").indexed(0, 2),

    Row(Tag::INT_FROM_UBV, "INT_FROM_UBV", "ubv_to_int", {{bits}, integer}).written("bv2nat", "ubv_to_int"),
    Row(Tag::INT_FROM_SBV, "INT_FROM_SBV", "sbv_to_int", {{bits}, integer}),
    Row(Tag::INT_TO_BV, "INT_TO_BV", "int_to_bv", {{integer}, bits}).written("int2bv", "int_to_bv").indexed(0, 1),
    Row(Tag::FP_REM, "FP_REM", "fp.rem", {{format, format}, format}),
    Row(Tag::FP_FMA, "FP_FMA", "fp.fma", {{mode, format, format, format}, format}),
};

/// Operators that are kept by their name alone: their symbols are the manager's opaque ones.
inline constexpr Row opaque[] = {
    Row(Tag::OPAQUE, "OPAQUE", "/", {{real, real}, real}).chained(left),
    Row(Tag::OPAQUE, "OPAQUE", "div", {{integer, integer}, integer}).chained(left),
    Row(Tag::OPAQUE, "OPAQUE", "mod", {{integer, integer}, integer}),
    Row(Tag::OPAQUE, "OPAQUE", "ext_rotate_left", {{bits, bits}, bits}),
    Row(Tag::OPAQUE, "OPAQUE", "ext_rotate_right", {{bits, bits}, bits}),
    Row(Tag::OPAQUE, "OPAQUE", "fp.to_real", {{format}, real}),
};

// clang-format on

/// Each row stands where its tag says, and there is one for each tag.
constexpr bool is_in_order() {
  std::size_t i = 0;
  for (const OperatorRow& row : tagged) {
    if (row.tag != i++) return false;
  }
  return i == SymbolTag::count;
}
static_assert(is_in_order());

}  // namespace operator_table

/// The row of a tag. Those of UF, CONSTANT and OPAQUE, which are not operators, have no signature.
constexpr const OperatorRow& operator_row(SymbolTag::tag tag) noexcept {
  return operator_table::tagged[tag];
}

/// The rows of all operators with a tag, and of those that are known by their names.
constexpr std::span<const OperatorRow> tagged_operators() noexcept {
  return std::span(operator_table::tagged).subspan(SymbolTag::AND);
}
constexpr std::span<const OperatorRow> opaque_operators() noexcept {
  return operator_table::opaque;
}

}  // namespace quarv
