// What each bit-vector simplifier makes of literals, borders first, and that it touches nothing else.
#include <simpl/bv/bv_fixture.h>
#include <utility>

namespace quarv {
namespace {

using Tag = SymbolTag;

using BVComparisons = BitVectors;
using BVArithmetic = BitVectors;
using BVBitwise = BitVectors;
using BVShifts = BitVectors;
using BVRotations = BitVectors;
using BVStructure = BitVectors;
using BVConversions = BitVectors;

constexpr SymbolTag::tag binary_tags[] = {Tag::BV_AND, Tag::BV_OR,   Tag::BV_XOR,  Tag::BV_ULT,  Tag::BV_SLT,
                                          Tag::BV_ULE, Tag::BV_SLE,  Tag::BV_COMP, Tag::BV_ADD,  Tag::BV_SUB,
                                          Tag::BV_MUL, Tag::BV_UDIV, Tag::BV_SDIV, Tag::BV_UREM, Tag::BV_SREM,
                                          Tag::BV_LSL, Tag::BV_LSR,  Tag::BV_ASR};

TEST_F(BitVectors, OnlyLiteralsFold) {
  for (const std::size_t w : {1, 8, 64, 200}) {
    const Term* const x = variable(w);
    const Term* const zero = bv(0, w);
    const Term* const one = bv(1, w);
    const Term* const ones = mgr.make_bv_not(zero);
    for (const SymbolTag::tag tag : binary_tags) {
      const Symbol* const s = mgr.make_bv_symbol(tag, w);
      const std::pair<const Term*, const Term*> operands[] = {{x, x},   {x, zero}, {zero, x}, {x, one},
                                                              {one, x}, {x, ones}, {ones, x}};
      for (const auto& [a, b] : operands) {
        EXPECT_EQ(mgr.make_term(s, {a, b}), plain(s, {a, b})) << "operator " << tag << ", width " << w;
      }
    }
    for (const SymbolTag::tag tag : {Tag::BV_NOT, Tag::BV_NEG, Tag::INT_FROM_UBV, Tag::INT_FROM_SBV}) {
      const Symbol* const s = mgr.make_bv_symbol(tag, w);
      EXPECT_EQ(mgr.make_term(s, {x}), plain(s, {x}));
    }
    const Symbol* const indexed[] = {
        mgr.make_bv_rotate_left_symbol(1, w),  mgr.make_bv_rotate_left_symbol(0, w),
        mgr.make_bv_rotate_right_symbol(w, w), mgr.make_bv_extract_symbol(w - 1, 0, w),
        mgr.make_bv_zero_extend_symbol(0, w),  mgr.make_bv_zero_extend_symbol(3, w),
        mgr.make_bv_sign_extend_symbol(0, w),  mgr.make_bv_sign_extend_symbol(3, w)};
    for (const Symbol* const s : indexed) EXPECT_EQ(mgr.make_term(s, {x}), plain(s, {x}));
    const Symbol* const concat = mgr.make_bv_concat_symbol(w, w);
    EXPECT_EQ(mgr.make_term(concat, {x, zero}), plain(concat, {x, zero}));
    EXPECT_EQ(mgr.make_term(concat, {zero, x}), plain(concat, {zero, x}));
    EXPECT_EQ(mgr.make_term(concat, {x, x}), plain(concat, {x, x}));
  }
}

TEST_F(BitVectors, DoubleNegationStays) {
  const Term* const x = variable(8);
  const Term* const negated = mgr.make_bv_neg(x);
  EXPECT_EQ(mgr.make_bv_neg(negated), plain(mgr.make_bv_neg_symbol(8), {negated}));
  const Term* const complement = mgr.make_bv_not(x);
  EXPECT_EQ(mgr.make_bv_not(complement), plain(mgr.make_bv_symbol(Tag::BV_NOT, 8), {complement}));
}

TEST_F(BVComparisons, Unsigned) {
  EXPECT_EQ(apply(Tag::BV_ULT, 4, 3, 5), mgr.true_term);
  EXPECT_EQ(apply(Tag::BV_ULT, 4, 5, 3), mgr.false_term);
  EXPECT_EQ(apply(Tag::BV_ULE, 4, 5, 5), mgr.true_term);
  EXPECT_EQ(apply(Tag::BV_ULE, 4, 6, 5), mgr.false_term);
  EXPECT_EQ(apply(Tag::BV_ULT, 4, 5, 5), mgr.false_term);
}

TEST_F(BVComparisons, SignedMinimumIsBelowMaximum) {
  EXPECT_EQ(apply(Tag::BV_SLT, 4, 8, 7), mgr.true_term);
  EXPECT_EQ(apply(Tag::BV_SLT, 4, 7, 8), mgr.false_term);
  EXPECT_EQ(apply(Tag::BV_SLE, 4, 8, 7), mgr.true_term);
  EXPECT_EQ(apply(Tag::BV_SLE, 4, 7, 8), mgr.false_term);
}

TEST_F(BVComparisons, Signed) {
  EXPECT_EQ(apply(Tag::BV_SLT, 4, 15, 0), mgr.true_term);
  EXPECT_EQ(apply(Tag::BV_SLT, 4, 0, 15), mgr.false_term);
  EXPECT_EQ(apply(Tag::BV_SLE, 4, 15, 15), mgr.true_term);
  EXPECT_EQ(apply(Tag::BV_SLT, 4, 15, 15), mgr.false_term);
  EXPECT_EQ(apply(Tag::BV_SLT, 4, 14, 15), mgr.true_term);
}

TEST_F(BVComparisons, OneBit) {
  EXPECT_EQ(apply(Tag::BV_SLE, 1, 1, 0), mgr.true_term);
  EXPECT_EQ(apply(Tag::BV_SLT, 1, 1, 0), mgr.true_term);
  EXPECT_EQ(apply(Tag::BV_SLT, 1, 0, 1), mgr.false_term);
  EXPECT_EQ(apply(Tag::BV_SLE, 1, 0, 1), mgr.false_term);
}

TEST_F(BVComparisons, EqualityAsOneBit) {
  for (const std::size_t w : {3, 64, 100}) {
    EXPECT_EQ(apply(Tag::BV_COMP, w, 5, 5), bv(1, 1));
    EXPECT_EQ(apply(Tag::BV_COMP, w, 5, 6), bv(0, 1));
  }
}

TEST_F(BVComparisons, SignOfSmallValuesAtWidthsBeyondAWord) {
  // The sign bit of a value that fits a word is clear at these widths.
  for (const std::size_t w : {64, 65, 66, 128}) {
    const mpz_class minimum = mpz_class(1) << (w - 1);
    EXPECT_EQ(apply(Tag::BV_SLT, w, minimum, 1), mgr.true_term);
    EXPECT_EQ(apply(Tag::BV_SLT, w, 1, minimum), mgr.false_term);
    EXPECT_EQ(apply(Tag::BV_SLE, w, 1, 1), mgr.true_term);
    EXPECT_EQ(apply(Tag::BV_SLT, w, 1, 2), mgr.true_term);
  }
}

TEST_F(BVComparisons, TheOperandsOwnWidthTellsItsSign) {
  const Symbol* const less = mgr.make_bv_symbol(Tag::BV_SLT, 8);
  const Term* const minus_eight = bv(8, 4);
  const Term* const seven = bv(7, 4);
  EXPECT_EQ(mgr.make_term_unchecked(less, {{minus_eight, seven}}), mgr.true_term);
}

TEST_F(BVArithmetic, Wraps) {
  EXPECT_EQ(apply(Tag::BV_ADD, 8, 255, 1), bv(0, 8));
  EXPECT_EQ(apply(Tag::BV_MUL, 8, 16, 16), bv(0, 8));
  EXPECT_EQ(apply(Tag::BV_SUB, 8, 0, 1), bv(255, 8));
}

TEST_F(BVArithmetic, Negation) {
  EXPECT_EQ(apply(Tag::BV_NEG, 8, 0), bv(0, 8));
  EXPECT_EQ(apply(Tag::BV_NEG, 8, 1), bv(255, 8));
  // The signed minimum is its own negation.
  EXPECT_EQ(apply(Tag::BV_NEG, 8, 128), bv(128, 8));
}

TEST_F(BVArithmetic, UnsignedDivisionByZero) {
  EXPECT_EQ(apply(Tag::BV_UDIV, 4, 7, 0), bv(15, 4));
  EXPECT_EQ(apply(Tag::BV_UREM, 4, 7, 0), bv(7, 4));
}

TEST_F(BVArithmetic, SignedDivisionRoundsTowardZero) {
  // -2 / 3 and -7 / 2.
  EXPECT_EQ(apply(Tag::BV_SDIV, 4, 14, 3), bv(0, 4));
  EXPECT_EQ(apply(Tag::BV_SDIV, 4, 9, 2), bv(13, 4));
  // -8 / -1 overflows.
  EXPECT_EQ(apply(Tag::BV_SDIV, 4, 8, 15), bv(8, 4));
  // 7 / -2 and -7 / -2.
  EXPECT_EQ(apply(Tag::BV_SDIV, 4, 7, 14), bv(13, 4));
  EXPECT_EQ(apply(Tag::BV_SDIV, 4, 9, 14), bv(3, 4));
}

TEST_F(BVArithmetic, SignedDivisionByZero) {
  for (int a = 0; a < 16; ++a) {
    EXPECT_EQ(apply(Tag::BV_SDIV, 4, a, 0), bv(a < 8 ? 15 : 1, 4));
    EXPECT_EQ(apply(Tag::BV_SREM, 4, a, 0), bv(a, 4));
  }
}

TEST_F(BVArithmetic, SignedRemainderHasTheSignOfTheDividend) {
  // -7 rem 2 and 7 rem -2.
  EXPECT_EQ(apply(Tag::BV_SREM, 4, 9, 2), bv(15, 4));
  EXPECT_EQ(apply(Tag::BV_SREM, 4, 7, 14), bv(1, 4));
}

TEST_F(BVBitwise, Operators) {
  EXPECT_EQ(apply(Tag::BV_AND, 4, 12, 10), bv(8, 4));
  EXPECT_EQ(apply(Tag::BV_OR, 4, 12, 10), bv(14, 4));
  EXPECT_EQ(apply(Tag::BV_XOR, 4, 12, 10), bv(6, 4));
  EXPECT_EQ(apply(Tag::BV_NOT, 4, 0), bv(15, 4));
  EXPECT_EQ(apply(Tag::BV_NOT, 4, 15), bv(0, 4));
}

TEST_F(BVShifts, Left) {
  EXPECT_EQ(apply(Tag::BV_LSL, 4, 1, 3), bv(8, 4));
  EXPECT_EQ(apply(Tag::BV_LSL, 4, 1, 4), bv(0, 4));
  EXPECT_EQ(apply(Tag::BV_LSL, 4, 3, 3), bv(8, 4));
  EXPECT_EQ(apply(Tag::BV_LSL, 4, 3, 0), bv(3, 4));
}

TEST_F(BVShifts, LogicalRight) {
  EXPECT_EQ(apply(Tag::BV_LSR, 4, 8, 3), bv(1, 4));
  EXPECT_EQ(apply(Tag::BV_LSR, 4, 15, 4), bv(0, 4));
  EXPECT_EQ(apply(Tag::BV_LSR, 4, 15, 0), bv(15, 4));
}

TEST_F(BVShifts, ArithmeticRight) {
  EXPECT_EQ(apply(Tag::BV_ASR, 4, 8, 1), bv(12, 4));
  EXPECT_EQ(apply(Tag::BV_ASR, 4, 8, 4), bv(15, 4));
  EXPECT_EQ(apply(Tag::BV_ASR, 4, 8, 9), bv(15, 4));
  EXPECT_EQ(apply(Tag::BV_ASR, 4, 7, 1), bv(3, 4));
  EXPECT_EQ(apply(Tag::BV_ASR, 4, 7, 9), bv(0, 4));
}

TEST_F(BVShifts, ByMoreThanAWordHolds) {
  for (const std::size_t w : {64, 65, 128, 300}) {
    const mpz_class ones = (mpz_class(1) << w) - 1;
    const mpz_class minimum = mpz_class(1) << (w - 1);
    for (const mpz_class& amount : {mpz_class(w), minimum, ones}) {
      EXPECT_EQ(apply(Tag::BV_LSL, w, ones, amount), bv(0, w));
      EXPECT_EQ(apply(Tag::BV_LSR, w, ones, amount), bv(0, w));
      EXPECT_EQ(apply(Tag::BV_ASR, w, minimum, amount), bv(ones, w));
      EXPECT_EQ(apply(Tag::BV_ASR, w, minimum - 1, amount), bv(0, w));
    }
  }
}

TEST_F(BVShifts, TheLimitOfALogicalShiftIsTheOperandsOwnWidth) {
  const Symbol* const shift = mgr.make_bv_symbol(Tag::BV_LSR, 4);
  const Term* const value = bv(128, 8);
  const Term* const amount = bv(5, 8);
  EXPECT_EQ(mgr.make_term_unchecked(shift, {{value, amount}}), bv(4, 8));
}

TEST_F(BVRotations, ByAnyAmount) {
  const Term* const nine = bv(9, 4);
  EXPECT_EQ(mgr.make_bv_rotate_left(1, nine), bv(3, 4));
  EXPECT_EQ(mgr.make_bv_rotate_right(1, nine), bv(12, 4));
  EXPECT_EQ(mgr.make_bv_rotate_left(4, nine), nine);
  EXPECT_EQ(mgr.make_bv_rotate_left(5, nine), bv(3, 4));
  EXPECT_EQ(mgr.make_bv_rotate_left(0, nine), nine);
  EXPECT_EQ(mgr.make_bv_rotate_right(0, nine), nine);
  EXPECT_EQ(mgr.make_bv_rotate_right(5, nine), bv(12, 4));
}

TEST_F(BVStructure, Concatenation) {
  const Term* const two = bv(2, 4);
  const Term* const three = bv(3, 4);
  EXPECT_EQ(mgr.make_bv_concat(two, three), bv(35, 8));
  const Term* const zero = bv(0, 1);
  const Term* const one = bv(1, 1);
  EXPECT_EQ(mgr.make_bv_concat(zero, one), bv(1, 2));
}

TEST_F(BVStructure, Extraction) {
  EXPECT_EQ(mgr.make_bv_extract(7, 4, bv(171, 8)), bv(10, 4));
  EXPECT_EQ(mgr.make_bv_extract(0, 0, bv(5, 8)), bv(1, 1));
  EXPECT_EQ(mgr.make_bv_extract(7, 0, bv(171, 8)), bv(171, 8));
}

TEST_F(BVStructure, Extension) {
  EXPECT_EQ(mgr.make_bv_zero_extend(4, bv(15, 4)), bv(15, 8));
  EXPECT_EQ(mgr.make_bv_zero_extend(0, bv(15, 4)), bv(15, 4));
  EXPECT_EQ(mgr.make_bv_sign_extend(4, bv(15, 4)), bv(255, 8));
  EXPECT_EQ(mgr.make_bv_sign_extend(4, bv(7, 4)), bv(7, 8));
  EXPECT_EQ(mgr.make_bv_sign_extend(0, bv(9, 4)), bv(9, 4));
}

TEST_F(BVConversions, IntegerToBitVector) {
  for (const auto& [value, bits] :
       {std::pair(300, 44), {-1, 255}, {-256, 0}, {0, 0}, {256, 0}, {-300, 212}}) {
    EXPECT_EQ(mgr.make_int_to_bv(8, integer(value)), bv(bits, 8));
  }
  const mpz_class word = mpz_class(1) << 64;
  EXPECT_EQ(mgr.make_int_to_bv(64, integer(-1)), bv(word - 1, 64));
  EXPECT_EQ(mgr.make_int_to_bv(64, integer(-word / 2)), bv(word / 2, 64));
  EXPECT_EQ(mgr.make_int_to_bv(8, integer(-word - 1)), bv(255, 8));
  EXPECT_EQ(mgr.make_int_to_bv(100, integer(-1)), bv((mpz_class(1) << 100) - 1, 100));
  EXPECT_EQ(mgr.make_int_to_bv(100, integer(-(mpz_class(1) << 100))), bv(0, 100));
}

TEST_F(BVConversions, RoundTripThroughTheIntegersBecomesAnExtension) {
  const Term* const x = variable(4);
  const Term* const signed_value = mgr.make_int_from_sbv(x);
  const Term* const unsigned_value = mgr.make_int_from_ubv(x);
  EXPECT_EQ(mgr.make_int_to_bv(8, signed_value), mgr.make_bv_sign_extend(4, x));
  EXPECT_EQ(mgr.make_int_to_bv(8, unsigned_value), mgr.make_bv_zero_extend(4, x));
  EXPECT_EQ(mgr.make_int_to_bv(4, signed_value), x);
  EXPECT_EQ(mgr.make_int_to_bv(4, unsigned_value), x);
}

TEST_F(BVConversions, NarrowingRoundTripStays) {
  const Term* const x = variable(8);
  const Symbol* const narrow = mgr.make_bv_symbol(Tag::INT_TO_BV, 4);
  for (const Term* const value : {mgr.make_int_from_ubv(x), mgr.make_int_from_sbv(x)}) {
    EXPECT_EQ(mgr.make_term(narrow, {value}), plain(narrow, {value}));
  }
  const Term* const n = mgr.make_constant("n", mgr.int_type);
  EXPECT_EQ(mgr.make_term(narrow, {n}), plain(narrow, {n}));
}

TEST_F(BVConversions, BitVectorToInteger) {
  EXPECT_EQ(mgr.make_int_from_ubv(bv(15, 4)), integer(15));
  EXPECT_EQ(mgr.make_int_from_sbv(bv(15, 4)), integer(-1));
  EXPECT_EQ(mgr.make_int_from_sbv(bv(7, 4)), integer(7));
  EXPECT_EQ(mgr.make_int_from_sbv(bv(8, 4)), integer(-8));
  for (const std::size_t w : {1, 62, 63, 64, 65, 128}) {
    const mpz_class minimum = mpz_class(1) << (w - 1);
    EXPECT_EQ(mgr.make_int_from_sbv(bv(minimum, w)), integer(-minimum));
    EXPECT_EQ(mgr.make_int_from_sbv(bv(minimum - 1, w)), integer(minimum - 1));
    EXPECT_EQ(mgr.make_int_from_ubv(bv(minimum, w)), integer(minimum));
  }
}

TEST_F(BVConversions, FoldedIntegersHaveTheIntegerType) {
  EXPECT_EQ(mgr.type_of(mgr.make_int_from_ubv(bv(3, 4))), mgr.int_type);
  EXPECT_EQ(mgr.type_of(mgr.make_int_from_sbv(bv(9, 4))), mgr.int_type);
}

TEST_F(BitVectors, EveryOperatorHasItsSimplifier) {
  for (int tag = Tag::BV_CONCAT; tag <= int{Tag::BV_SEXT}; ++tag) {
    EXPECT_NE(simplifier.get_simplification(static_cast<SymbolTag::tag>(tag)), nullptr) << tag;
  }
  for (const SymbolTag::tag tag : {Tag::INT_FROM_UBV, Tag::INT_FROM_SBV, Tag::INT_TO_BV}) {
    EXPECT_NE(simplifier.get_simplification(tag), nullptr);
  }
}

}  // namespace
}  // namespace quarv
