#include <cstdlib>
#include <random>
#include <string>

#include <gmpxx.h>
#include <gtest/gtest.h>

#include "numbers/number_samples.h"
#include <quarv/numbers/bv_number.h>

namespace quarv {
namespace {

QNumber big(const mpz_class& x) {
  return QNumber(x.get_mpz_t(), mpz_class(1).get_mpz_t(), false);
}

QNumber big(long x) {
  return big(mpz_class(x));
}

mpz_class power(std::size_t w) {
  mpz_class result;
  mpz_ui_pow_ui(result.get_mpz_t(), 2, w);
  return result;
}

QNumber pow2(std::size_t w) {
  QNumber result;
  BVNumber::pow2(w, &result);
  return result;
}

QNumber trim(QNumber x, std::size_t w) {
  BVNumber::trim(x, w);
  return x;
}

QNumber neg(std::size_t w, const QNumber& x) {
  QNumber result;
  BVNumber::neg(w, x, &result);
  return result;
}

QNumber twos_complement(const QNumber& x, std::size_t w) {
  QNumber result;
  BVNumber::twos_complement(x, w, &result);
  return result;
}

QNumber bit_complement(const QNumber& x) {
  QNumber result;
  BVNumber::bit_complement(x, &result);
  return result;
}

QNumber left_shift(const QNumber& x, std::size_t n) {
  QNumber result;
  BVNumber::bit_left_shift(x, n, &result);
  return result;
}

QNumber right_shift(const QNumber& x, std::size_t n) {
  QNumber result;
  BVNumber::bit_right_shift(x, n, &result);
  return result;
}

QNumber bit_and(const QNumber& a, const QNumber& b) {
  QNumber result;
  BVNumber::bit_op(a, b, BVNumber::bit_and_l, mpz_and, &result);
  return result;
}

QNumber bit_or(const QNumber& a, const QNumber& b) {
  QNumber result;
  BVNumber::bit_op(a, b, BVNumber::bit_or_l, mpz_ior, &result);
  return result;
}

QNumber bit_xor(const QNumber& a, const QNumber& b) {
  QNumber result;
  BVNumber::bit_op(a, b, BVNumber::bit_xor_l, mpz_xor, &result);
  return result;
}

/// Holds when `x` has the value `expected` and is small exactly when it fits.
::testing::AssertionResult is_canonical(const QNumber& x, const mpz_class& expected) {
  const mpz_class limit = power(63);
  const bool fits = abs(expected) < limit;
  if (x.num() == expected && x.den() == 1 && x.is_small() == fits) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << x.to_string() << (x.is_small() ? " (small)" : " (big)") << " instead of " << expected.get_str();
}

TEST(BVNumberPow2, IsSmallUpTo62) {
  EXPECT_TRUE(is_canonical(pow2(0), 1));
  EXPECT_TRUE(is_canonical(pow2(61), power(61)));
  EXPECT_TRUE(pow2(61).is_small());
  EXPECT_TRUE(is_canonical(pow2(62), power(62)));
  EXPECT_TRUE(pow2(62).is_small());
  EXPECT_TRUE(is_canonical(pow2(63), power(63)));
  EXPECT_FALSE(pow2(63).is_small());
  EXPECT_TRUE(is_canonical(pow2(64), power(64)));
  EXPECT_TRUE(is_canonical(pow2(1000), power(1000)));
}

TEST(BVNumberPow2, OverwritesEitherForm) {
  QNumber out = big(power(200));
  BVNumber::pow2(61, &out);
  EXPECT_EQ(out, QNumber(1L << 61));
  EXPECT_FALSE(out.is_small());
  BVNumber::pow2(100, &out);
  EXPECT_EQ(out.num(), power(100));
  BVNumber::pow2(62, &out);
  EXPECT_TRUE(is_canonical(out, power(62)));
}

TEST(BVNumberTrim, KeepsTheLowBits) {
  EXPECT_TRUE(is_canonical(trim(5, 2), 1));
  EXPECT_TRUE(is_canonical(trim(3, 2), 3));
  EXPECT_TRUE(is_canonical(trim(-1, 8), 255));
  EXPECT_TRUE(is_canonical(trim(-1, 63), power(63) - 1));
  EXPECT_TRUE(is_canonical(trim(LONG_MAX, 63), LONG_MAX));
  EXPECT_TRUE(is_canonical(trim(7, 0), 0));
  EXPECT_TRUE(is_canonical(trim(0, 0), 0));
  EXPECT_TRUE(is_canonical(trim(big(power(64) + 3), 64), 3));
  EXPECT_TRUE(is_canonical(trim(big(-power(64)), 64), 0));
  EXPECT_TRUE(is_canonical(trim(big(-power(64) - 1), 64), power(64) - 1));
  EXPECT_TRUE(is_canonical(trim(big(power(64) - 1), 64), power(64) - 1));
}

TEST(BVNumberTrim, LeavesNegativeNumbersThatHaveNoMoreBits) {
  EXPECT_EQ(trim(-1, 64), QNumber(-1));
  EXPECT_EQ(trim(-1, 100), QNumber(-1));
  EXPECT_EQ(trim(big(-1), 8), QNumber(-1));
  EXPECT_EQ(trim(big(-255), 8), QNumber(-255));
  EXPECT_EQ(trim(big(-257), 8), QNumber(255));
  EXPECT_EQ(trim(big(-power(63)), 64), big(-power(63)));
}

TEST(BVNumberNeg, IsTwosComplementNegation) {
  EXPECT_TRUE(is_canonical(neg(8, 0), 0));
  EXPECT_TRUE(is_canonical(neg(8, 1), 255));
  EXPECT_TRUE(is_canonical(neg(8, 128), 128));
  EXPECT_EQ(neg(8, big(0)), QNumber(0));
  EXPECT_TRUE(is_canonical(neg(8, big(1)), 255));
  EXPECT_TRUE(is_canonical(neg(63, 1), LONG_MAX));
  EXPECT_TRUE(is_canonical(neg(64, 1), power(64) - 1));
  EXPECT_TRUE(is_canonical(neg(64, big(power(63))), power(63)));
  EXPECT_TRUE(is_canonical(neg(64, big(power(64) - 5)), 5));
}

TEST(BVNumberTwosComplement, EncodesSignedNumbers) {
  EXPECT_TRUE(is_canonical(twos_complement(-1, 8), 255));
  EXPECT_TRUE(is_canonical(twos_complement(-128, 8), 128));
  EXPECT_TRUE(is_canonical(twos_complement(5, 8), 5));
  EXPECT_TRUE(is_canonical(twos_complement(big(-1), 8), 255));
  EXPECT_TRUE(is_canonical(twos_complement(-1, 63), LONG_MAX));
  EXPECT_TRUE(is_canonical(twos_complement(-1, 64), power(64) - 1));
  EXPECT_TRUE(is_canonical(twos_complement(big(-power(63)), 64), power(63)));
  EXPECT_TRUE(is_canonical(twos_complement(big(-power(99)), 100), power(99)));
  EXPECT_EQ(twos_complement(big(power(99)), 100), big(power(99)));
}

TEST(BVNumberComplement, IsUnbounded) {
  EXPECT_TRUE(is_canonical(bit_complement(0), -1));
  EXPECT_TRUE(is_canonical(bit_complement(-1), 0));
  EXPECT_TRUE(is_canonical(trim(bit_complement(0), 8), 255));
  EXPECT_TRUE(is_canonical(bit_complement(LONG_MAX), LONG_MIN));
  EXPECT_TRUE(is_canonical(bit_complement(QNumber(LONG_MIN)), LONG_MAX));
  EXPECT_TRUE(is_canonical(bit_complement(big(power(64) - 1)), -power(64)));
  EXPECT_TRUE(is_canonical(bit_complement(big(7)), -8));
}

TEST(BVNumberShift, LeftLeavesWordsWhenItMust) {
  EXPECT_TRUE(is_canonical(left_shift(1, 63), power(63)));
  EXPECT_FALSE(left_shift(1, 63).is_small());
  EXPECT_TRUE(is_canonical(left_shift(3, 0), 3));
  EXPECT_TRUE(is_canonical(left_shift(1, 61), power(61)));
  EXPECT_TRUE(is_canonical(left_shift(3, 61), 3 * power(61)));
  EXPECT_TRUE(is_canonical(left_shift(1, 62), power(62)));
  EXPECT_TRUE(is_canonical(left_shift(-1, 62), -power(62)));
  EXPECT_TRUE(is_canonical(left_shift(-1, 63), -power(63)));
  EXPECT_TRUE(is_canonical(left_shift(-3, 2), -12));
  EXPECT_TRUE(is_canonical(left_shift(0, 1000), 0));
  EXPECT_TRUE(is_canonical(left_shift(big(5), 3), 40));
}

TEST(BVNumberShift, RightRoundsDown) {
  EXPECT_TRUE(is_canonical(right_shift(-8, 1), -4));
  EXPECT_TRUE(is_canonical(right_shift(-7, 1), -4));
  EXPECT_TRUE(is_canonical(right_shift(-8, 0), -8));
  EXPECT_TRUE(is_canonical(right_shift(-8, 63), -1));
  EXPECT_TRUE(is_canonical(right_shift(-8, 64), 0));
  EXPECT_TRUE(is_canonical(right_shift(big(-8), 64), -1));
  EXPECT_TRUE(is_canonical(right_shift(LONG_MAX, 62), 1));
  EXPECT_TRUE(is_canonical(right_shift(LONG_MAX, 1000), 0));
  EXPECT_TRUE(is_canonical(right_shift(big(power(70)), 70), 1));
  EXPECT_TRUE(is_canonical(right_shift(big(power(70)), 3), power(67)));
}

TEST(BVNumberBitOp, MixesForms) {
  EXPECT_TRUE(is_canonical(bit_and(-1, 255), 255));
  EXPECT_TRUE(is_canonical(bit_and(big(-1), 255), 255));
  EXPECT_TRUE(is_canonical(bit_or(1, big(power(64))), power(64) + 1));
  EXPECT_TRUE(is_canonical(bit_or(big(power(64)), 1), power(64) + 1));
  EXPECT_TRUE(is_canonical(bit_xor(3, big(power(64) + 1)), power(64) + 2));
  EXPECT_TRUE(is_canonical(bit_xor(big(power(64)), big(power(64) + 1)), 1));
  EXPECT_TRUE(is_canonical(bit_and(-LONG_MAX, -2), LONG_MIN));
}

/// The operations by way of mpz alone, for integers as large and as negative as the contracts allow.
TEST(BVNumber, AgreesWithMpz) {
  NumberSamples samples(20240607);
  const int count = num_cases(200000);
  for (int i = 0; i < count; ++i) {
    const mpz_class a = samples.integer();
    const mpz_class b = samples.integer();
    const QNumber x = samples.number(a);
    const QNumber y = samples.number(b);
    const std::size_t w = samples.width();

    ASSERT_TRUE(is_canonical(pow2(w), power(w)));
    ASSERT_TRUE(is_canonical(bit_and(x, y), a & b)) << a << " " << b;
    ASSERT_TRUE(is_canonical(bit_or(x, y), a | b)) << a << " " << b;
    ASSERT_TRUE(is_canonical(bit_xor(x, y), a ^ b)) << a << " " << b;
    ASSERT_EQ(left_shift(x, w).num(), a * power(w)) << a << " " << w;
    mpz_class expected;
    mpz_fdiv_q(expected.get_mpz_t(), a.get_mpz_t(), power(w).get_mpz_t());
    if (x.is_small() && w >= 64) expected = 0;
    ASSERT_EQ(right_shift(x, w).num(), expected) << a << " " << w;
    ASSERT_EQ(bit_complement(x).num(), -a - 1) << a;

    mpz_class in_range;
    mpz_fdiv_r(in_range.get_mpz_t(), a.get_mpz_t(), power(w).get_mpz_t());
    if (a >= 0 || (x.is_small() && w <= 63) || abs(a) >= power(w)) {
      ASSERT_EQ(trim(x, w).num(), in_range) << a << " " << w;
    } else {
      ASSERT_EQ(trim(x, w).num(), a) << a << " " << w;
    }
    const QNumber unsigned_value = samples.number(in_range);
    ASSERT_EQ(neg(w, unsigned_value).num(), in_range == 0 ? mpz_class(0) : mpz_class(power(w) - in_range));
    const bool negative = w > 0 && in_range >= power(w) / 2;
    const mpz_class signed_value = negative ? mpz_class(in_range - power(w)) : in_range;
    ASSERT_EQ(twos_complement(samples.number(signed_value), w).num(), in_range) << signed_value << " " << w;
  }
}

TEST(BVNumber, ResultMayReplaceAnOperand) {
  NumberSamples samples(4711);
  const int count = num_cases(20000);
  for (int i = 0; i < count; ++i) {
    const QNumber x = samples.number(samples.integer());
    const QNumber y = samples.number(samples.integer());
    const std::size_t w = samples.width();
    QNumber out = x;
    BVNumber::bit_op(out, y, BVNumber::bit_and_l, mpz_and, &out);
    ASSERT_EQ(out, bit_and(x, y));
    out = y;
    BVNumber::bit_op(x, out, BVNumber::bit_xor_l, mpz_xor, &out);
    ASSERT_EQ(out, bit_xor(x, y));
    out = x;
    BVNumber::bit_op(out, out, BVNumber::bit_or_l, mpz_ior, &out);
    ASSERT_EQ(out, x);
    out = QNumber(x);
    BVNumber::bit_left_shift(out, w, &out);
    ASSERT_EQ(out, left_shift(x, w));
    out = QNumber(x);
    BVNumber::bit_right_shift(out, w, &out);
    ASSERT_EQ(out, right_shift(x, w));
    out = QNumber(x);
    BVNumber::bit_complement(out, &out);
    ASSERT_EQ(out, bit_complement(x));
    out = QNumber(x);
    BVNumber::neg(w, out, &out);
    ASSERT_EQ(out, neg(w, x));
    out = QNumber(x);
    BVNumber::twos_complement(out, w, &out);
    ASSERT_EQ(out, twos_complement(x, w));
  }
}

}  // namespace
}  // namespace quarv
