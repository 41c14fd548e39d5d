#include <gtest/gtest.h>

#include <quarv/rules/bitvector_rules.h>
#include <quarv/rules/rule_helpers.h>
#include <quarv/rules/term_normalizer.h>
#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

/// Single rules on single terms; no simplifier is attached.
class RuleEdge : public testing::Test {
 protected:
  RuleEdge() { register_bitvector_rules(&normalizer); }

  /// What rule `number`, counting from 1, makes of `t`; null when it does not apply.
  const Term* apply(std::size_t number, const Term* t) {
    TermNormalizer::norm_fun& rule = normalizer.get_rule(number - 1);
    EXPECT_EQ(rule.get_applicant(), mgr.get_tag(t->symbol));
    const Term* out = nullptr;
    const bool fires = rule(&mgr, t, &out);
    EXPECT_EQ(fires, out != nullptr);
    return out;
  }

  const Term* var(const char* name, std::size_t width) {
    return mgr.make_constant(name, mgr.get_bv_type(width));
  }
  const Term* num(int value, std::size_t width) { return mgr.make_bv_number(value, width); }

  /// 2^exponent + offset at `width` bits.
  const Term* big(std::size_t width, std::size_t exponent, long offset) {
    QNumber value(1);
    for (std::size_t i = 0; i < exponent; ++i) value += value;
    value += QNumber(offset);
    return mgr.make_bv_number(value, width);
  }

  TermManager mgr;
  TermNormalizer normalizer;
  const Term* x = var("x", 8);
  const Term* y = var("y", 8);
};

TEST_F(RuleEdge, OperandsAreOrderedStrictlyByAge) {
  EXPECT_EQ(apply(16, mgr.make_bv_add(x, x)), nullptr);
  EXPECT_EQ(apply(16, mgr.make_bv_add(x, y)), nullptr);
  EXPECT_EQ(apply(16, mgr.make_bv_add(y, x)), mgr.make_bv_add(x, y));
}

TEST_F(RuleEdge, NumeralsGoFirstInSums) {
  const Term* five = num(5, 8);
  EXPECT_EQ(apply(15, mgr.make_bv_add(x, five)), mgr.make_bv_add(five, x));
  EXPECT_EQ(apply(15, mgr.make_bv_add(five, x)), nullptr);
  EXPECT_EQ(apply(16, mgr.make_bv_add(five, x)), nullptr);
  EXPECT_EQ(apply(15, mgr.make_bv_add(five, five)), nullptr);
}

TEST_F(RuleEdge, ProductsWithPowersOfTwoBecomeShifts) {
  EXPECT_EQ(apply(37, mgr.make_bv_mul(num(1, 8), x)), mgr.make_bv_lshl(x, num(0, 8)));
  EXPECT_EQ(apply(37, mgr.make_bv_mul(num(128, 8), x)), mgr.make_bv_lshl(x, num(7, 8)));
  EXPECT_EQ(apply(37, mgr.make_bv_mul(num(0, 8), x)), nullptr);
  EXPECT_EQ(apply(37, mgr.make_bv_mul(num(6, 8), x)), nullptr);
  const Term* wide = var("w", 100);
  EXPECT_EQ(apply(37, mgr.make_bv_mul(big(100, 62, 0), wide)), mgr.make_bv_lshl(wide, num(62, 100)));
  EXPECT_EQ(apply(37, mgr.make_bv_mul(big(100, 63, 0), wide)), mgr.make_bv_lshl(wide, num(63, 100)));
  EXPECT_EQ(apply(37, mgr.make_bv_mul(big(100, 99, 0), wide)), mgr.make_bv_lshl(wide, num(99, 100)));
  EXPECT_EQ(apply(37, mgr.make_bv_mul(big(100, 99, 1), wide)), nullptr);
}

TEST_F(RuleEdge, NestedShiftsAddUpOnlyWhenTheSumFits) {
  const auto nested = [&](int c1, int c2) {
    const Term* inner = mgr.make_bv_ashr(x, num(c1, 8));
    return mgr.make_bv_ashr(inner, num(c2, 8));
  };
  EXPECT_EQ(apply(67, nested(200, 100)), nullptr);
  EXPECT_EQ(apply(67, nested(200, 56)), nullptr);
  EXPECT_NE(apply(67, nested(200, 55)), nullptr);
  const Term* amount = mgr.make_bv_add(num(3, 8), num(4, 8));
  EXPECT_EQ(apply(67, nested(3, 4)), mgr.make_bv_ashr(x, amount));
  // A sum in two words, and the widths around one word.
  for (const std::size_t width : {62, 63, 64, 65, 128}) {
    const Term* all_ones = big(width, width, -1);
    const Term* wide = var("w", width);
    const Term* inner = mgr.make_bv_ashr(wide, all_ones);
    EXPECT_EQ(apply(67, mgr.make_bv_ashr(inner, num(1, width))), nullptr) << width;
    EXPECT_NE(apply(67, mgr.make_bv_ashr(inner, num(0, width))), nullptr) << width;
  }
}

TEST_F(RuleEdge, AllOnesDependsOnTheWidth) {
  const Term* four = var("f", 4);
  EXPECT_EQ(apply(79, mgr.make_bv_and(num(15, 4), four)), four);
  EXPECT_EQ(apply(79, mgr.make_bv_and(num(14, 4), four)), nullptr);
  EXPECT_EQ(apply(79, mgr.make_bv_and(num(15, 8), x)), nullptr);
  for (const std::size_t width : {1, 61, 62, 63, 64, 65, 200}) {
    const Term* wide = var("w", width);
    EXPECT_EQ(apply(79, mgr.make_bv_and(big(width, width, -1), wide)), wide) << width;
    EXPECT_EQ(apply(79, mgr.make_bv_and(big(width, width, -2), wide)), nullptr) << width;
  }
}

TEST_F(RuleEdge, BigConstantsCompareByValue) {
  const Term* wide = var("w", 80);
  const auto either_equals = [&](const Term* c1, const Term* c2) {
    const Term* either = mgr.make_bv_or(c1, wide);
    return mgr.do_make_term(mgr.make_equal_symbol(mgr.type_of(wide)), {either, c2});
  };
  EXPECT_EQ(apply(161, either_equals(big(80, 70, 0), big(80, 69, 0))), mgr.false_term);
  EXPECT_EQ(apply(161, either_equals(big(80, 70, 0), big(80, 70, 0))), nullptr);
  EXPECT_EQ(apply(161, either_equals(num(7, 80), big(80, 69, 0))), nullptr);
  EXPECT_EQ(apply(55, mgr.make_bv_lshl(wide, big(80, 79, 0))), num(0, 80));
  EXPECT_EQ(apply(55, mgr.make_bv_lshl(wide, num(80, 80))), num(0, 80));
  EXPECT_EQ(apply(55, mgr.make_bv_lshl(wide, num(79, 80))), nullptr);
  EXPECT_EQ(apply(55, mgr.make_bv_lshl(wide, wide)), nullptr);
}

TEST_F(RuleEdge, NoNumeralIsBothZeroAndOne) {
  for (const int low : {0, 1, 2, 15}) {
    const Term* right = mgr.make_bv_concat(var("h", 4), num(low, 4));
    EXPECT_EQ(apply(96, mgr.make_bv_or(num(3, 8), right)), nullptr);
  }
}

TEST_F(RuleEdge, TheWholeOfATermIsTheTerm) {
  EXPECT_EQ(apply(109, mgr.make_bv_extract(7, 0, x)), x);
  EXPECT_EQ(apply(109, mgr.make_bv_extract(6, 0, x)), nullptr);
  EXPECT_EQ(apply(109, mgr.make_bv_extract(7, 1, x)), nullptr);
}

TEST_F(RuleEdge, RotationsShrinkByOneWidthAtATime) {
  EXPECT_EQ(apply(70, mgr.make_bv_rotate_left(10, x)), mgr.make_bv_rotate_left(2, x));
  EXPECT_EQ(apply(70, mgr.make_bv_rotate_left(20, x)), mgr.make_bv_rotate_left(12, x));
  EXPECT_EQ(apply(70, mgr.make_bv_rotate_left(12, x)), mgr.make_bv_rotate_left(4, x));
  EXPECT_EQ(apply(70, mgr.make_bv_rotate_left(8, x)), nullptr);
  EXPECT_EQ(normalizer.normalize(&mgr, mgr.make_bv_rotate_right(20, x)), mgr.make_bv_rotate_right(4, x));
  const Term* inner = mgr.make_bv_rotate_left(7, x);
  EXPECT_EQ(apply(71, mgr.make_bv_rotate_left(7, inner)), mgr.make_bv_rotate_left(14, x));
}

TEST_F(RuleEdge, DoublingIsKeptFromOneBit) {
  const Term* bit = var("b", 1);
  EXPECT_EQ(apply(23, mgr.make_bv_add(bit, bit)), nullptr);
  EXPECT_EQ(apply(30, mgr.make_bv_add(bit, bit)), mgr.make_bv_xor(bit, bit));
  EXPECT_EQ(apply(23, mgr.make_bv_add(x, x)), mgr.make_bv_mul(num(2, 8), x));
}

TEST_F(RuleEdge, ResultsMayBeSubTermsOfTheMatchedTerm) {
  const Term* inner = mgr.make_bv_not(x);
  EXPECT_EQ(apply(2, mgr.make_bv_not(inner)), x);
}

TEST_F(RuleEdge, ConstantsTakeTheWidthOfTheirNeighbour) {
  const Term* sum = mgr.make_bv_add(x, y);
  const Term* equality = mgr.do_make_term(mgr.make_equal_symbol(mgr.type_of(x)), {sum, x});
  EXPECT_EQ(apply(129, equality), mgr.make_equal(y, num(0, 8)));
  const Term* sign = mgr.make_bv_extract(7, 7, x);
  EXPECT_EQ(apply(12, mgr.make_bv_slt(x, num(0, 8))), mgr.make_equal(sign, num(1, 1)));
}

TEST_F(RuleEdge, EqualitiesOfOtherSortsAreLeftAlone) {
  const Term* a = mgr.make_constant("a", mgr.int_type);
  const Term* b = mgr.make_constant("b", mgr.int_type);
  const Term* t = mgr.make_equal(a, b);
  for (std::size_t i = 0; i < normalizer.num_rules(); ++i) {
    if (normalizer.get_rule(i).get_applicant() == SymbolTag::EQ) {
      EXPECT_EQ(apply(i + 1, t), nullptr);
    }
  }
}

TEST_F(RuleEdge, HelpersReduceConstantsToTheWidth) {
  EXPECT_EQ(rules::make_constant(&mgr, -1, 4), num(15, 4));
  EXPECT_EQ(rules::make_constant(&mgr, 2, 1), num(0, 1));
  EXPECT_EQ(rules::make_constant(&mgr, -1, 80), big(80, 80, -1));
  EXPECT_EQ(rules::to_number(~std::uint64_t{0}).to_string(), "18446744073709551615");
}

}  // namespace
}  // namespace quarv
