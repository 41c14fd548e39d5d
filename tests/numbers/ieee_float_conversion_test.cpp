// Conversions from and to exact rationals of up to ten thousand bits.

#include <string>

#include <gmpxx.h>
#include <gtest/gtest.h>

#include "numbers/float_samples.h"
#include "numbers/number_samples.h"
#include "reference/floats.h"
#include <quarv/numbers/ieee_float.h>

namespace quarv {
namespace {

using Mode = IEEEFloat::rounding_mode;
using Format = IEEEFloat::format;

constexpr Mode roundings[] = {IEEEFloat::round_nearest_even, IEEEFloat::round_toward_zero,
                              IEEEFloat::round_toward_positive, IEEEFloat::round_toward_negative};

constexpr Format converted_formats[] = {{5, 10}, {8, 7},   {8, 23},   {11, 52},  {4, 59},   {15, 48},
                                        {3, 60}, {15, 63}, {15, 112}, {11, 200}, {19, 236}, {15, 500}};

mpq_class power_of_two(long exponent) {
  const mpz_class power = mpz_class(1) << static_cast<unsigned long>(exponent < 0 ? -exponent : exponent);
  return exponent < 0 ? mpq_class(1, power) : mpq_class(power);
}

/// The exact value of a number that is finite, by the definition of the interchange formats.
mpq_class value_of(const IEEEFloat& x) {
  const Format f = x.get_format();
  const mpz_class bits = x.get_bits().num(), hidden = mpz_class(1) << f.mw;
  const mpz_class field = (bits >> f.mw) & ((mpz_class(1) << f.ew) - 1);
  mpz_class significand = bits & (hidden - 1);
  if (field != 0) significand += hidden;
  const long bias = (1L << (f.ew - 1)) - 1;
  const mpq_class magnitude =
      significand * power_of_two((field == 0 ? 1 : field.get_si()) - bias - static_cast<long>(f.mw));
  return x.get_sign() ? mpq_class(-magnitude) : magnitude;
}

IEEEFloat offset_encoding(const IEEEFloat& x, long distance) {
  return IEEEFloat::from_bits(x.get_bits() + distance, x.get_format());
}

/// Whether x is v rounded. Of the numbers of the format, which are in the order of their encodings, x must be
/// on the right side, and the next one must be beyond v, or farther away.
void expect_rounded(const IEEEFloat& x, const mpq_class& v, Mode mode) {
  const std::string what =
      x.to_string() + " for " + v.get_str().substr(0, 80) + " mode " + std::to_string(mode);
  const bool negative = sgn(v) < 0;
  const mpq_class size = abs(v);
  ASSERT_EQ(x.get_sign(), negative) << what;
  IEEEFloat m = x;
  m.set_sign(false);
  const bool away = mode == (negative ? IEEEFloat::round_toward_negative : IEEEFloat::round_toward_positive);
  const bool nearest = mode == IEEEFloat::round_nearest_even;
  // Neighbours in magnitude; where infinity is one, the number that would be there.
  const mpq_class below = m.is_zero() ? mpq_class(-1) : value_of(offset_encoding(m, -1));
  const mpq_class at = m.is_inf() ? mpq_class(2 * below - value_of(offset_encoding(m, -2))) : value_of(m);
  if (size == at && !m.is_inf()) return;
  if (size > at || (m.is_inf() && size >= at)) {
    if (m.is_inf()) {
      ASSERT_TRUE(nearest || away) << what;
      return;
    }
    const IEEEFloat next = offset_encoding(m, 1);
    const mpq_class above = next.is_inf() ? mpq_class(2 * at - below) : value_of(next);
    ASSERT_FALSE(away) << what;
    if (!nearest) {
      ASSERT_TRUE(size < above || next.is_inf()) << what;
      return;
    }
    const int side = cmp(mpq_class(size - at), mpq_class(above - size));
    ASSERT_TRUE(side < 0 || (side == 0 && mpz_even_p(m.get_bits().num().get_mpz_t()))) << what;
  } else {
    ASSERT_TRUE(nearest || away) << what;
    ASSERT_GT(size, below) << what;
    if (!nearest) return;
    const int side = cmp(mpq_class(at - size), mpq_class(size - below));
    ASSERT_TRUE(side < 0 || (side == 0 && mpz_even_p(m.get_bits().num().get_mpz_t()))) << what;
  }
}

/// Random integers of random sizes up to `bits`, half of them near a power of two or a short number times
/// one.
class WideSamples {
 public:
  explicit WideSamples(unsigned long seed) : state_(gmp_randinit_mt), small_(static_cast<unsigned>(seed)) {
    state_.seed(seed);
  }

  mpz_class integer(unsigned bits) {
    const unsigned length = 1 + small_.below(bits);
    mpz_class x = state_.get_z_bits(length);
    switch (small_.below(4)) {
      case 0:
        x = (mpz_class(1) << length) + (static_cast<long>(small_.below(5)) - 2);
        break;
      case 1:
        x = (mpz_class(small_.below(1u << 20)) << length) + (static_cast<long>(small_.below(3)) - 1);
        break;
      default:
        break;
    }
    return x == 0 ? mpz_class(1) : x;
  }
  unsigned below(unsigned bound) { return small_.below(bound); }

 private:
  gmp_randclass state_;
  NumberSamples small_;
};

QNumber make_number(const mpq_class& v, bool big) {
  const QNumber q(v.get_num_mpz_t(), v.get_den_mpz_t(), false);
  return big ? q : q.demoted();
}

TEST(IEEEFloatConversion, FromRationals) {
  WideSamples samples(50);
  for (int round = 0; round < num_cases(300); ++round) {
    const unsigned bits = round % 3 == 0 ? 10000 : round % 3 == 1 ? 300 : 62;
    mpq_class v(samples.integer(bits), round % 2 == 0 ? mpz_class(1) : samples.integer(bits));
    v.canonicalize();
    if (samples.below(2) == 0) v = -v;
    const QNumber q = make_number(v, samples.below(2) == 0);
    for (const Format f : converted_formats) {
      for (const Mode mode : roundings) {
        const IEEEFloat x = IEEEFloat::from_number(q, f, mode);
        ASSERT_EQ(x.get_rounding_mode(), mode);
        expect_rounded(x, v, mode);
        if (testing::Test::HasFatalFailure()) return;
      }
    }
  }
}

TEST(IEEEFloatConversion, FromRationalsNextToTies) {
  WideSamples samples(51);
  for (const Format f : converted_formats) {
    FloatSamples encodings(f, 52);
    for (int round = 0; round < num_cases(60); ++round) {
      IEEEFloat x = IEEEFloat::from_bits(QNumber::from_integer(encodings.next().get_mpz_t()), f);
      if (x.is_nan() || x.is_inf()) continue;
      x.set_sign(false);
      const IEEEFloat next = offset_encoding(x, 1);
      if (next.is_inf()) continue;
      const mpq_class tie = (value_of(x) + value_of(next)) / 2;
      const mpq_class nudge = tie / (mpz_class(1) << (1 + samples.below(3000)));
      for (const mpq_class& v :
           {tie, mpq_class(tie + nudge), mpq_class(tie - nudge), mpq_class(-tie), value_of(x)}) {
        if (v == 0) continue;
        for (const Mode mode : roundings) {
          expect_rounded(IEEEFloat::from_number(make_number(v, true), f, mode), v, mode);
          if (testing::Test::HasFatalFailure()) return;
        }
      }
    }
  }
}

TEST(IEEEFloatConversion, ToIntegers) {
  WideSamples samples(53);
  for (const Format f : converted_formats) {
    FloatSamples encodings(f, 54);
    for (int round = 0; round < num_cases(200); ++round) {
      IEEEFloat x = IEEEFloat::from_bits(QNumber::from_integer(encodings.next().get_mpz_t()), f);
      if (x.is_nan() || x.is_inf()) continue;
      const mpq_class v = value_of(x);
      const std::size_t width = round % 4 == 0 ? 1 + samples.below(10000) : 1 + samples.below(130);
      const mpz_class low = -(mpz_class(1) << (width - 1)), high = (mpz_class(1) << width) - 1;
      for (const Mode mode : roundings) {
        x.set_rounding_mode(mode);
        mpz_class wanted = reference::rounded_integer(v, static_cast<reference::Rounding>(mode));
        if (wanted < low) wanted = low;
        if (wanted > high) wanted = high;
        ASSERT_EQ(x.to_integer(width).num(), wanted)
            << x.to_string() << " mode " << mode << " width " << width;
      }
    }
  }
}

TEST(IEEEFloatConversion, IntegersOfAnySizeSurvive) {
  WideSamples samples(55);
  const Format wide{40, 10100};
  for (int round = 0; round < num_cases(200); ++round) {
    mpz_class v = samples.integer(10000);
    if (samples.below(2) == 0) v = -v;
    const IEEEFloat x = IEEEFloat::from_number(make_number(v, false), wide, roundings[round % 4]);
    ASSERT_EQ(x.to_integer(10100).num(), v);
  }
}

}  // namespace
}  // namespace quarv
