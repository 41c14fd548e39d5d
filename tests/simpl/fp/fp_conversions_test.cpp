// Folding of conversions between formats and from and to bit-vectors.
#include <simpl/fp/fp_fixture.h>

namespace quarv {
namespace {

using FpConversions = FloatingPoints;

TEST_F(FpConversions, CastRoundsInTheGivenMode) {
  const Term* const x = literal(0x3f801000, binary32);  // 1 + 2^-11, between two numbers of binary16
  const Term* const below = literal(0x3c00, binary16);
  const Term* const above = literal(0x3c01, binary16);
  const Term* const expected[] = {below, below, above, below};
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(mgr.make_fp_cast(5, 10, rounding_modes[i], x), expected[i]);
}

TEST_F(FpConversions, CastOverflowsAndUnderflows) {
  const Term* const large = value("65520", binary32);
  const Term* const largest = literal(0x7bff, binary16);
  const Term* const tiny = literal(true, 1, 0, binary64);
  EXPECT_EQ(mgr.make_fp_cast(5, 10, even, large), infinity(binary16));
  EXPECT_EQ(mgr.make_fp_cast(5, 10, rounding_modes[1], large), largest);
  EXPECT_EQ(mgr.make_fp_cast(5, 10, rounding_modes[2], large), infinity(binary16));
  EXPECT_EQ(mgr.make_fp_cast(5, 10, rounding_modes[3], large), largest);
  EXPECT_EQ(mgr.make_fp_cast(8, 23, even, tiny), zero(binary32, true));
  EXPECT_EQ(mgr.make_fp_cast(8, 23, rounding_modes[3], tiny), literal(true, 0, 1, binary32));
}

TEST_F(FpConversions, CastKeepsSpecialNumbers) {
  for (const Format source : formats) {
    for (const Format target : formats) {
      const auto cast = [&](const Term* x) { return mgr.make_fp_cast(target.ew, target.mw, even, x); };
      for (const bool negative : {false, true}) {
        EXPECT_EQ(cast(zero(source, negative)), zero(target, negative));
        EXPECT_EQ(cast(infinity(source, negative)), infinity(target, negative));
        EXPECT_EQ(cast(nan(source, negative, 1)), nan(target));
      }
    }
  }
}

TEST_F(FpConversions, CastThereAndBackKeepsTheNumber) {
  for (const char* text : {"1", "-1.5", "0.25", "3"}) {
    for (const Format f : {Format{4, 3}, binary16, binary64, binary128, Format{11, 200}}) {
      const Term* const x = value(text, binary32);
      const Term* const there = mgr.make_fp_cast(f.ew, f.mw, even, x);
      EXPECT_EQ(there, value(text, f));
      EXPECT_EQ(mgr.make_fp_cast(8, 23, even, there), x);
    }
  }
}

TEST_F(FpConversions, ToBitVector) {
  for (const Format f : {binary16, binary32, binary64, binary128, Format{11, 200}}) {
    for (const Term* r : rounding_modes) {
      EXPECT_EQ(mgr.make_fp_to_sbv(8, r, value("-1", f)), bv(255, 8));
      EXPECT_EQ(mgr.make_fp_to_sbv(8, r, value("-128", f)), bv(128, 8));
      EXPECT_EQ(mgr.make_fp_to_sbv(64, r, value("-1", f)), bv(pow2(64) - 1, 64));
      EXPECT_EQ(mgr.make_fp_to_sbv(70, r, value("-2", f)), bv(pow2(70) - 2, 70));
      EXPECT_EQ(mgr.make_fp_to_ubv(8, r, value("255", f)), bv(255, 8));
      EXPECT_EQ(mgr.make_fp_to_ubv(1, r, value("1", f)), bv(1, 1));
      EXPECT_EQ(mgr.make_fp_to_ubv(200, r, value("1000", f)), bv(1000, 200));
      EXPECT_EQ(mgr.make_fp_to_ubv(8, r, zero(f, true)), bv(0, 8));
    }
    const long rounded[] = {2, 2, 3, 2};
    for (std::size_t i = 0; i < 4; ++i) {
      EXPECT_EQ(mgr.make_fp_to_ubv(8, rounding_modes[i], value("2.5", f)), bv(rounded[i], 8));
    }
    const long rounded_negative[] = {254, 254, 254, 253};
    for (std::size_t i = 0; i < 4; ++i) {
      EXPECT_EQ(mgr.make_fp_to_sbv(8, rounding_modes[i], value("-2.5", f)), bv(rounded_negative[i], 8));
    }
  }
}

TEST_F(FpConversions, ToBitVectorOfWhatItCannotHold) {
  for (const auto make : {&TermManager::make_fp_to_sbv, &TermManager::make_fp_to_ubv}) {
    EXPECT_EQ((mgr.*make)(8, even, nan(binary32)), bv(0, 8));
    EXPECT_EQ((mgr.*make)(8, even, infinity(binary32)), bv(255, 8));
    EXPECT_EQ((mgr.*make)(8, even, infinity(binary32, true)), bv(128, 8));
    EXPECT_EQ((mgr.*make)(8, even, value("256", binary32)), bv(255, 8));
    EXPECT_EQ((mgr.*make)(8, even, value("-129", binary32)), bv(128, 8));
    EXPECT_EQ((mgr.*make)(64, even, infinity(binary32)), bv(pow2(64) - 1, 64));
    EXPECT_EQ((mgr.*make)(65, even, infinity(binary32, true)), bv(pow2(64), 65));
  }
}

TEST_F(FpConversions, FromBitVector) {
  for (const Format f : {binary16, binary32, binary64, binary128, Format{11, 200}}) {
    for (const Term* r : rounding_modes) {
      const auto from_signed = [&](const Term* b) { return mgr.make_fp_from_sbv(f.ew, f.mw, r, b); };
      const auto from_unsigned = [&](const Term* b) { return mgr.make_fp_from_ubv(f.ew, f.mw, r, b); };
      EXPECT_EQ(from_signed(bv(15, 4)), value("-1", f));
      EXPECT_EQ(from_unsigned(bv(15, 4)), value("15", f));
      EXPECT_EQ(from_signed(bv(1, 1)), value("-1", f));
      EXPECT_EQ(from_unsigned(bv(1, 1)), value("1", f));
      EXPECT_EQ(from_signed(bv(0, 300)), zero(f));
      EXPECT_EQ(from_signed(bv(pow2(300) - 6, 300)), value("-6", f));
      EXPECT_EQ(from_unsigned(bv(6, 300)), value("6", f));
      for (const std::size_t w : {62, 63, 64, 65}) {
        EXPECT_EQ(from_signed(bv(pow2(w) - 1, w)), value("-1", f));
        EXPECT_EQ(from_signed(bv(7, w)), value("7", f));
        if (f.ew == 5) continue;
        EXPECT_EQ(from_signed(bv(pow2(w - 1), w)), value(number(-pow2(w - 1)), f));
        EXPECT_EQ(from_unsigned(bv(pow2(w - 1), w)), value(number(pow2(w - 1)), f));
      }
    }
  }
}

TEST_F(FpConversions, FromBitVectorRounds) {
  const mpz_class halfway = pow2(24) + 1;
  const Term* const below = value(number(pow2(24)), binary32);
  const Term* const above = value(number(pow2(24) + 2), binary32);
  const Term* const expected[] = {below, below, above, below};
  const Term* const expected_negative[] = {mgr.make_fp_neg(below), mgr.make_fp_neg(below),
                                           mgr.make_fp_neg(below), mgr.make_fp_neg(above)};
  for (const std::size_t w : {32, 64, 100}) {
    for (std::size_t i = 0; i < 4; ++i) {
      EXPECT_EQ(mgr.make_fp_from_ubv(8, 23, rounding_modes[i], bv(halfway, w)), expected[i]);
      EXPECT_EQ(mgr.make_fp_from_sbv(8, 23, rounding_modes[i], bv(pow2(w) - halfway, w)),
                expected_negative[i]);
    }
  }
  const Term* const large = bv(pow2(300) - 1, 300);
  EXPECT_EQ(mgr.make_fp_from_ubv(8, 23, even, large), infinity(binary32));
  EXPECT_EQ(mgr.make_fp_from_ubv(8, 23, rounding_modes[1], large), literal(0x7f7fffff, binary32));
}

TEST_F(FpConversions, EncodingsPassThrough) {
  for (const Format f : formats) {
    const std::size_t w = f.width();
    for (const mpz_class& x :
         {mpz_class(0), mpz_class(1), pow2(w - 1), mpz_class(pow2(w) - 1),
          mpz_class(((pow2(f.ew) - 1) << f.mw) + 1), mpz_class(pow2(w - 1) + ((pow2(f.ew) - 1) << f.mw))}) {
      EXPECT_EQ(mgr.make_fp_as_ieeebv(literal(x, f)), bv(x, w));
      EXPECT_EQ(mgr.make_fp_from_ieeebv(f.ew, f.mw, bv(x, w)), literal(x, f));
    }
  }
}

TEST_F(FpConversions, OtherTermsAreRebuilt) {
  const Term* const x = variable(binary32, "x");
  const Term* const b = bv_variable(32);
  EXPECT_TRUE(is_application(mgr.make_fp_to_sbv(8, even, x), SymbolTag::FP_TO_BV, {even, x}));
  EXPECT_TRUE(is_application(mgr.make_fp_to_ubv(8, even, x), SymbolTag::FP_TO_BV, {even, x}));
  EXPECT_NE(mgr.make_fp_to_ubv(8, even, x), mgr.make_fp_to_sbv(8, even, x));
  EXPECT_TRUE(is_application(mgr.make_fp_from_sbv(8, 23, even, b), SymbolTag::FP_FROM_SBV, {even, b}));
  EXPECT_TRUE(is_application(mgr.make_fp_from_ubv(8, 23, even, b), SymbolTag::FP_FROM_UBV, {even, b}));
  EXPECT_TRUE(is_application(mgr.make_fp_as_ieeebv(x), SymbolTag::FP_AS_IEEEBV, {x}));
  EXPECT_TRUE(is_application(mgr.make_fp_from_ieeebv(8, 23, b), SymbolTag::FP_FROM_IEEEBV, {b}));
}

TEST_F(FpConversions, NoFoldingUnderOtherModes) {
  const Term* const a = value("1", binary32);
  const Term* const b = bv(1, 32);
  for (const Term* r : {any_rounding, away}) {
    EXPECT_TRUE(is_application(mgr.make_fp_to_sbv(8, r, a), SymbolTag::FP_TO_BV, {r, a}));
    EXPECT_TRUE(is_application(mgr.make_fp_to_ubv(8, r, a), SymbolTag::FP_TO_BV, {r, a}));
    EXPECT_TRUE(is_application(mgr.make_fp_from_sbv(8, 23, r, b), SymbolTag::FP_FROM_SBV, {r, b}));
    EXPECT_TRUE(is_application(mgr.make_fp_from_ubv(8, 23, r, b), SymbolTag::FP_FROM_UBV, {r, b}));
  }
}

}  // namespace
}  // namespace quarv
