#pragma once

#include <cstddef>
#include <cstdint>

#include <quarv/export.h>

namespace quarv {

/// Classification of symbols by operator. Simplifiers are registered for a tag, and rewrite rules
/// name the tag of the root operator that they apply to.
struct QUARV_API SymbolTag {
  /// The numbers are fixed: registration, rules and the floating-point evaluator pass and compare them.
  enum tag : std::uint32_t {
    UF = 0,        ///< application of an uninterpreted function; a declared constant
    CONSTANT = 1,  ///< an interpreted constant: a number, `true`, `false`, a rounding mode
    OPAQUE = 2,    ///< an interpreted operator without a simplifier, known by its name alone
    AND = 3,
    OR = 4,
    NOT = 5,
    IFF = 6,
    PLUS = 7,
    TIMES = 8,
    FLOOR = 9,
    LEQ = 10,
    EQ = 11,
    TERM_ITE = 12,
    INT_MOD_CONGR = 13,
    BV_CONCAT = 14,
    BV_SELECT = 15,
    BV_NOT = 16,
    BV_AND = 17,
    BV_OR = 18,
    BV_XOR = 19,
    BV_ULT = 20,
    BV_SLT = 21,
    BV_ULE = 22,
    BV_SLE = 23,
    BV_COMP = 24,
    BV_NEG = 25,
    BV_ADD = 26,
    BV_SUB = 27,
    BV_MUL = 28,
    BV_UDIV = 29,
    BV_SDIV = 30,
    BV_UREM = 31,
    BV_SREM = 32,
    BV_LSL = 33,
    BV_LSR = 34,
    BV_ASR = 35,
    BV_ROL = 36,
    BV_ROR = 37,
    BV_ZEXT = 38,
    BV_SEXT = 39,
    ARRAY_READ = 40,
    ARRAY_WRITE = 41,
    ARRAY_CONST = 42,  ///< the array that maps every index to one element
    FP_EQ = 43,
    FP_LT = 44,
    FP_LE = 45,
    FP_NEG = 46,
    FP_ADD = 47,
    FP_SUB = 48,
    FP_MUL = 49,
    FP_DIV = 50,
    FP_SQRT = 51,
    FP_ABS = 52,
    FP_MIN = 53,
    FP_MAX = 54,
    FP_CAST = 55,
    FP_ROUND_TO_INT = 56,
    FP_FROM_SBV = 57,
    FP_FROM_UBV = 58,
    FP_TO_BV = 59,
    FP_AS_IEEEBV = 60,
    FP_ISNAN = 61,
    FP_ISINF = 62,
    FP_ISZERO = 63,
    FP_ISSUBNORMAL = 64,
    FP_ISNORMAL = 65,
    FP_ISNEG = 66,
    FP_ISPOS = 67,
    FP_FROM_IEEEBV = 68,
    INT_FROM_UBV = 69,
    INT_FROM_SBV = 70,
    INT_TO_BV = 71,
    FP_REM = 72,
    FP_FMA = 73,
  };

  /// One more than the largest tag: the size of a table indexed by tag.
  static constexpr std::size_t count = 74;

  /// The operator's SMT-LIB name without its indices ("bvadd", "extract"), for messages and statistics.
  static const char* name(tag t) noexcept;
};

}  // namespace quarv
