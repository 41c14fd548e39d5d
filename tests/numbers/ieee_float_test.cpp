#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include <quarv/numbers/ieee_float.h>
#include <quarv/numbers/q_number.h>

namespace quarv {
namespace {

using Mode = IEEEFloat::rounding_mode;
using Format = IEEEFloat::format;

constexpr Mode modes[] = {IEEEFloat::round_nearest_even, IEEEFloat::round_toward_zero,
                          IEEEFloat::round_toward_positive, IEEEFloat::round_toward_negative};

/// One format for each way in which numbers are held and computed with.
const Format formats[] = {{5, 10},  {8, 7},    {8, 23},   {11, 52}, {15, 48},  {2, 61},   {1, 62},
                          {60, 3},  {15, 112}, {15, 63},  {60, 67}, {11, 200}, {60, 195}, {15, 240},
                          {61, 10}, {8, 300},  {15, 400}, {100, 5}, {2, 1},    {1, 1},    {1, 5}};

QNumber pow2(long exponent) {
  mpz_class power;
  mpz_setbit(power.get_mpz_t(), static_cast<mp_bitcnt_t>(exponent < 0 ? -exponent : exponent));
  const QNumber q = QNumber::from_integer(power.get_mpz_t());
  return exponent < 0 ? QNumber(1) / q : q;
}

IEEEFloat number(const QNumber& v, Format f, Mode mode = IEEEFloat::round_nearest_even) {
  return IEEEFloat::from_number(v, f, mode);
}

IEEEFloat zero(Format f, bool negative) {
  IEEEFloat x = number(0, f);
  x.set_sign(negative);
  return x;
}

/// The encoding with all exponent bits set and the given stored significand.
IEEEFloat special(Format f, bool negative, const QNumber& significand) {
  const QNumber exponent = (pow2(static_cast<long>(f.ew)) - 1) * pow2(static_cast<long>(f.mw));
  const QNumber sign = negative ? pow2(static_cast<long>(f.ew + f.mw)) : QNumber(0);
  return IEEEFloat::from_bits(sign + exponent + significand, f);
}

IEEEFloat infinity(Format f, bool negative) {
  return special(f, negative, 0);
}
IEEEFloat quiet_nan(Format f) {
  return special(f, false, pow2(static_cast<long>(f.mw) - 1));
}

IEEEFloat with_mode(IEEEFloat x, Mode mode) {
  x.set_rounding_mode(mode);
  return x;
}

/// The exceptions that `operation` raises.
template <class Operation>
unsigned flags_of(Operation&& operation) {
  swflt::float_exception_flags = 0;
  operation();
  return swflt::float_exception_flags;
}

TEST(IEEEFloat, StartsAsPositiveZero) {
  const IEEEFloat x;
  EXPECT_TRUE(x.is_zero());
  EXPECT_FALSE(x.get_sign());
  EXPECT_EQ(x.get_rounding_mode(), IEEEFloat::round_nearest_even);
}

TEST(IEEEFloat, BitsSurviveDecoding) {
  for (const Format f : formats) {
    const long width = static_cast<long>(f.width());
    for (const QNumber& bits :
         {QNumber(0), QNumber(1), pow2(width - 1), pow2(width - 2), pow2(width) - 1, pow2(width - 1) - 1,
          pow2(static_cast<long>(f.mw)), pow2(static_cast<long>(f.mw)) - 1, pow2(width) / QNumber(4) - 1}) {
      EXPECT_EQ(IEEEFloat::from_bits(bits.floor(), f).get_bits(), bits.floor()) << f.ew << ' ' << f.mw;
    }
  }
}

TEST(IEEEFloat, BitsAreTakenModuloTheWidth) {
  for (const Format f : formats) {
    const QNumber all = pow2(static_cast<long>(f.width())) - 1;
    EXPECT_EQ(IEEEFloat::from_bits(QNumber(-1), f).get_bits(), all);
    EXPECT_EQ(IEEEFloat::from_bits(all + pow2(300) * pow2(300), f).get_bits(), all);
    EXPECT_EQ(IEEEFloat::from_bits(pow2(700).neg() - 1, f).get_bits(), all);
  }
}

TEST(IEEEFloat, BigFormOfSmallBitsIsTheSameNumber) {
  const mpz_class one_bit = 1, one = 1;
  for (const Format f : formats) {
    const QNumber big(one_bit.get_mpz_t(), one.get_mpz_t(), false);
    EXPECT_TRUE(IEEEFloat::from_bits(big, f).identical(IEEEFloat::from_bits(QNumber(1), f)));
  }
}

TEST(IEEEFloat, FormatsWithoutExponentOrSignificandAreRefused) {
  EXPECT_THROW(IEEEFloat::from_bits(QNumber(0), Format{0, 4}), std::invalid_argument);
  EXPECT_THROW(IEEEFloat::from_number(QNumber(0), Format{4, 0}, IEEEFloat::round_toward_zero),
               std::invalid_argument);
  IEEEFloat x = number(3, {8, 23});
  EXPECT_THROW(x.set_format({0, 0}), std::invalid_argument);
  EXPECT_EQ(x.to_string(), "0x1.8p+1");
}

TEST(IEEEFloat, ModeIsKeptByAssignmentConversionAndArithmetic) {
  for (const Mode mode : modes) {
    IEEEFloat x = number(1, {8, 23}, mode);
    EXPECT_EQ(x.get_rounding_mode(), mode);
    for (const Format f : formats) {
      x.set_format(f);
      EXPECT_EQ(x.get_rounding_mode(), mode);
      x += number(1, f);
      x.sqrt();
      EXPECT_EQ(x.get_rounding_mode(), mode);
      const IEEEFloat copy = x;
      IEEEFloat assigned;
      assigned = x;
      EXPECT_EQ(copy.get_rounding_mode(), mode);
      EXPECT_EQ(assigned.get_rounding_mode(), mode);
      EXPECT_EQ(assigned.get_format(), f);
      EXPECT_TRUE(assigned.identical(x));
      EXPECT_EQ(round(x).get_rounding_mode(), mode);
    }
  }
}

TEST(IEEEFloat, AssignmentBetweenAllFormats) {
  for (const Format f : formats) {
    for (const Format g : formats) {
      IEEEFloat x = number(1, f);
      const IEEEFloat y = number(-1, g);
      x = y;
      EXPECT_TRUE(x.identical(y));
      x = *&x;
      EXPECT_TRUE(x.identical(y));
    }
  }
}

TEST(IEEEFloat, Classification) {
  for (const Format f : formats) {
    for (const bool negative : {false, true}) {
      const IEEEFloat z = zero(f, negative), inf = infinity(f, negative);
      EXPECT_TRUE(z.is_zero() && !z.is_inf() && !z.is_nan() && !z.is_normal() && !z.is_subnormal());
      EXPECT_TRUE(inf.is_inf() && !inf.is_zero() && !inf.is_nan() && !inf.is_normal() && !inf.is_subnormal());
      EXPECT_EQ(z.get_sign(), negative);
      EXPECT_EQ(inf.get_sign(), negative);
      const IEEEFloat nan = special(f, negative, 1);
      EXPECT_TRUE(nan.is_nan() && !nan.is_inf() && !nan.is_zero() && !nan.is_normal() && !nan.is_subnormal());
    }
    const QNumber hidden = pow2(static_cast<long>(f.mw));
    const IEEEFloat subnormal = IEEEFloat::from_bits(hidden - 1, f), normal = IEEEFloat::from_bits(hidden, f);
    EXPECT_TRUE(subnormal.is_subnormal() && !subnormal.is_normal() && !subnormal.is_zero());
    EXPECT_EQ(normal.is_normal(), f.ew > 1);
    EXPECT_EQ(normal.is_inf(), f.ew == 1);
  }
}

TEST(IEEEFloat, SumOfOppositeZerosFollowsTheMode) {
  for (const Format f : formats) {
    for (const Mode mode : modes) {
      const bool down = mode == IEEEFloat::round_toward_negative;
      for (const bool first : {false, true}) {
        IEEEFloat sum = with_mode(zero(f, first), mode);
        sum += zero(f, !first);
        EXPECT_TRUE(sum.is_zero());
        EXPECT_EQ(sum.get_sign(), down);
        IEEEFloat same = with_mode(zero(f, first), mode);
        same += zero(f, first);
        EXPECT_EQ(same.get_sign(), first);
        IEEEFloat difference = with_mode(number(first ? -1 : 1, f), mode);
        difference -= with_mode(difference, mode);
        EXPECT_TRUE(difference.is_zero());
        EXPECT_EQ(difference.get_sign(), down);
      }
    }
  }
}

TEST(IEEEFloat, TieAboveTheSignificandRoundsToEven) {
  for (const Format f : formats) {
    const bool in_range = f.ew > 30 || (std::size_t{1} << (f.ew - 1)) > f.mw + 3;
    if (!in_range) continue;
    const QNumber power = pow2(static_cast<long>(f.mw) + 1);
    EXPECT_TRUE(number(power + 1, f).identical(number(power, f)));
    EXPECT_EQ(number(power + 1, f).to_integer(f.mw + 5), power);
    EXPECT_EQ(number(power + 1, f, IEEEFloat::round_toward_positive).to_integer(f.mw + 5), power + 2);
    EXPECT_EQ(number(power + 3, f).to_integer(f.mw + 5), power + 4);
    EXPECT_EQ(number(power.neg() - 1, f, IEEEFloat::round_toward_negative).to_integer(f.mw + 5),
              power.neg() - 2);
  }
}

TEST(IEEEFloat, ZeroIsPositiveInEveryMode) {
  for (const Format f : formats) {
    for (const Mode mode : modes) {
      const IEEEFloat x = number(0, f, mode);
      EXPECT_TRUE(x.is_zero() && !x.get_sign());
    }
  }
}

TEST(IEEEFloat, ComparisonsWithNaNAreFalse) {
  for (const Format f : formats) {
    const IEEEFloat nan = quiet_nan(f), one = number(1, f);
    for (const IEEEFloat& x : {nan, one, infinity(f, true)}) {
      EXPECT_FALSE(x == nan || nan == x || x < nan || nan < x || x <= nan || nan <= x);
    }
    EXPECT_TRUE(zero(f, true) == zero(f, false));
    EXPECT_TRUE(zero(f, true) <= zero(f, false) && zero(f, false) <= zero(f, true));
    EXPECT_FALSE(zero(f, true) < zero(f, false));
    EXPECT_TRUE(infinity(f, true) < one && one < infinity(f, false));
    EXPECT_TRUE(number(-1, f) < zero(f, true) && zero(f, false) < one && number(-1, f) < one);
  }
}

TEST(IEEEFloat, NaNResultsAreCanonical) {
  for (const Format f : formats) {
    const IEEEFloat payload = special(f, true, 1);
    IEEEFloat sum = payload, product = payload, root = number(-1, f), inf = infinity(f, false);
    sum += number(1, f);
    product *= payload;
    root.sqrt();
    inf -= infinity(f, false);
    IEEEFloat converted = payload;
    converted.set_format(f);
    for (const IEEEFloat& x : {sum, product, root, inf, converted, round(payload)}) {
      EXPECT_TRUE(x.identical(quiet_nan(f))) << x.get_bits().to_string();
    }
  }
}

TEST(IEEEFloat, NaNPayloadStaysWithCopies) {
  for (const Format f : formats) {
    const IEEEFloat nan = special(f, true, 1);
    IEEEFloat copy;
    copy = nan;
    EXPECT_TRUE(copy.identical(nan));
    copy.self_neg();
    EXPECT_FALSE(copy.identical(nan));
    EXPECT_TRUE(copy.is_nan());
    EXPECT_FALSE(copy.get_sign());
    copy.set_sign(true);
    EXPECT_EQ(copy.get_bits(), nan.get_bits());
  }
}

TEST(IEEEFloat, IdenticalComparesFormatAndSign) {
  EXPECT_FALSE(zero({8, 23}, true).identical(zero({8, 23}, false)));
  EXPECT_FALSE(zero({8, 23}, false).identical(zero({8, 22}, false)));
  EXPECT_FALSE(zero({8, 23}, false).identical(zero({11, 52}, false)));
  EXPECT_TRUE(with_mode(zero({8, 23}, true), IEEEFloat::round_toward_zero).identical(zero({8, 23}, true)));
}

TEST(IEEEFloat, InfinityArithmetic) {
  for (const Format f : formats) {
    const IEEEFloat inf = infinity(f, false), one = number(1, f);
    IEEEFloat x = inf;
    x += one;
    EXPECT_TRUE(x.identical(inf));
    x = one;
    x -= inf;
    EXPECT_TRUE(x.identical(infinity(f, true)));
    x = number(-1, f);
    x *= inf;
    EXPECT_TRUE(x.identical(infinity(f, true)));
    x = number(-1, f);
    x /= inf;
    EXPECT_TRUE(x.identical(zero(f, true)));
    x = inf;
    x /= number(-1, f);
    EXPECT_TRUE(x.identical(infinity(f, true)));
    x = inf;
    x.sqrt();
    EXPECT_TRUE(x.identical(inf));
    x = zero(f, true);
    x.sqrt();
    EXPECT_TRUE(x.identical(zero(f, true)));
    EXPECT_TRUE(round(inf).identical(inf));
  }
}

TEST(IEEEFloat, Exceptions) {
  using namespace swflt;
  for (const Format f :
       {Format{8, 23}, Format{11, 52}, Format{15, 112}, Format{11, 200}, Format{8, 300}, Format{61, 10}}) {
    const IEEEFloat one = number(1, f), three = number(3, f), inf = infinity(f, false), nil = zero(f, false);
    const IEEEFloat least = IEEEFloat::from_bits(QNumber(1), f);
    const IEEEFloat largest = IEEEFloat::from_bits(infinity(f, false).get_bits() - 1, f);
    const IEEEFloat signalling = special(f, false, 1);
    IEEEFloat x;
    EXPECT_EQ(flags_of([&] { (x = one) += three; }), 0u);
    EXPECT_EQ(flags_of([&] { (x = one) /= three; }), unsigned{flag_inexact});
    EXPECT_EQ(flags_of([&] { (x = one) /= nil; }), unsigned{flag_divide_by_zero});
    EXPECT_EQ(flags_of([&] { (x = inf) /= nil; }), 0u);
    EXPECT_EQ(flags_of([&] { (x = nil) /= nil; }), unsigned{flag_invalid});
    EXPECT_EQ(flags_of([&] { (x = inf) /= inf; }), unsigned{flag_invalid});
    EXPECT_EQ(flags_of([&] { (x = inf) *= nil; }), unsigned{flag_invalid});
    EXPECT_EQ(flags_of([&] { (x = inf) -= inf; }), unsigned{flag_invalid});
    EXPECT_EQ(flags_of([&] { (x = number(-1, f)).sqrt(); }), unsigned{flag_invalid});
    EXPECT_EQ(flags_of([&] { (x = quiet_nan(f)) += one; }), 0u);
    EXPECT_EQ(flags_of([&] { (x = signalling) += one; }), unsigned{flag_invalid});
    EXPECT_EQ(flags_of([&] { (x = inf) *= signalling; }), unsigned{flag_invalid});
    EXPECT_EQ(flags_of([&] { (x = largest) += largest; }), unsigned{flag_overflow | flag_inexact});
    EXPECT_EQ(flags_of([&] { (x = least) *= least; }), unsigned{flag_underflow | flag_inexact});
    EXPECT_EQ(flags_of([&] { (x = least) += least; }), 0u);
    EXPECT_EQ(flags_of([&] { (void)(one == quiet_nan(f)); }), 0u);
    EXPECT_EQ(flags_of([&] { (void)(one == signalling); }), unsigned{flag_invalid});
    EXPECT_EQ(flags_of([&] { (void)(one < quiet_nan(f)); }), unsigned{flag_invalid});
    EXPECT_EQ(flags_of([&] { (void)(quiet_nan(f) <= one); }), unsigned{flag_invalid});
    EXPECT_EQ(flags_of([&] { (x = signalling).set_format({5, 10}); }), unsigned{flag_invalid});
    EXPECT_EQ(flags_of([&] { (x = largest).set_format({5, 10}); }), unsigned{flag_overflow | flag_inexact});
    EXPECT_EQ(flags_of([&] { (x = least).set_format({5, 10}); }), unsigned{flag_underflow | flag_inexact});
    EXPECT_EQ(flags_of([&] { round(number(QNumber(1, 2), f)); }), unsigned{flag_inexact});
    EXPECT_EQ(flags_of([&] { round(one); }), 0u);
    EXPECT_EQ(flags_of([&] { quiet_nan(f).to_integer(8); }), unsigned{flag_invalid});
    EXPECT_EQ(flags_of([&] { inf.to_integer(8); }), unsigned{flag_invalid});
    EXPECT_EQ(flags_of([&] { number(QNumber(5, 2), f).to_integer(8); }), unsigned{flag_inexact});
    EXPECT_EQ(flags_of([&] { three.to_integer(8); }), 0u);
    EXPECT_EQ(flags_of([&] { number(QNumber(1, 3), f); }), unsigned{flag_inexact});
  }
}

TEST(IEEEFloat, OverflowFollowsTheMode) {
  for (const Format f : formats) {
    const QNumber inf = infinity(f, false).get_bits(), minus_inf = infinity(f, true).get_bits();
    const auto doubled = [&](const QNumber& bits, Mode mode) {
      IEEEFloat x = with_mode(IEEEFloat::from_bits(bits, f), mode);
      x += x;
      return x.get_bits();
    };
    const QNumber high = inf - 1, low = minus_inf - 1;
    EXPECT_EQ(doubled(high, IEEEFloat::round_nearest_even), inf);
    EXPECT_EQ(doubled(high, IEEEFloat::round_toward_zero), high);
    EXPECT_EQ(doubled(high, IEEEFloat::round_toward_positive), inf);
    EXPECT_EQ(doubled(high, IEEEFloat::round_toward_negative), high);
    EXPECT_EQ(doubled(low, IEEEFloat::round_nearest_even), minus_inf);
    EXPECT_EQ(doubled(low, IEEEFloat::round_toward_zero), low);
    EXPECT_EQ(doubled(low, IEEEFloat::round_toward_positive), low);
    EXPECT_EQ(doubled(low, IEEEFloat::round_toward_negative), minus_inf);
  }
}

TEST(IEEEFloat, HugeExponentsAreNotExpanded) {
  for (const Format f : {Format{60, 3}, Format{60, 195}, Format{61, 10}, Format{100, 5}, Format{4000, 9}}) {
    const IEEEFloat largest = IEEEFloat::from_bits(infinity(f, false).get_bits() - 1, f);
    const IEEEFloat least = IEEEFloat::from_bits(QNumber(1), f);
    EXPECT_EQ(largest.to_integer(16), QNumber(65535));
    EXPECT_EQ(least.to_integer(16), QNumber(0));
    EXPECT_TRUE(round(largest).identical(largest));
    EXPECT_TRUE(round(least).is_zero());
    IEEEFloat sum = with_mode(largest, IEEEFloat::round_toward_zero);
    sum -= least;
    EXPECT_EQ(sum.get_bits(), largest.get_bits() - 1);
    IEEEFloat ratio = least;
    ratio /= largest;
    EXPECT_TRUE(ratio.is_zero());
    IEEEFloat back = number(QNumber(5, 4), f);
    back.set_format({11, 52});
    EXPECT_EQ(back.to_string(), "0x1.4p+0");
    IEEEFloat narrowed = largest;
    narrowed.set_format({11, 52});
    EXPECT_TRUE(narrowed.is_inf());
    narrowed = with_mode(least, IEEEFloat::round_toward_positive);
    narrowed.set_format({11, 52});
    EXPECT_EQ(narrowed.get_bits(), QNumber(1));
  }
}

TEST(IEEEFloat, OneExponentBitHasOnlySubnormalNumbers) {
  const Format f{1, 2};  // 0, 1/2, 1, 3/2, infinity
  EXPECT_EQ(number(QNumber(3, 2), f).get_bits(), QNumber(3));
  EXPECT_TRUE(number(QNumber(7, 4), f).is_inf());
  EXPECT_EQ(number(QNumber(7, 4), f, IEEEFloat::round_toward_zero).get_bits(), QNumber(3));
  EXPECT_EQ(number(QNumber(5, 4), f).get_bits(), QNumber(2));
  EXPECT_EQ(number(QNumber(1, 4), f).get_bits(), QNumber(0));
  EXPECT_EQ(number(QNumber(-1, 2), f).get_bits(), QNumber(9));
  IEEEFloat half = number(QNumber(1, 2), f);
  half += number(1, f);
  EXPECT_EQ(half.get_bits(), QNumber(3));
}

TEST(IEEEFloat, RoundingMayOverflowWhereTheIntegerIsNoNumberOfTheFormat) {
  const IEEEFloat largest = number(QNumber(7, 2), {2, 2});
  EXPECT_TRUE(round(largest).is_inf());
  EXPECT_EQ(round(with_mode(largest, IEEEFloat::round_toward_zero)).to_integer(8), QNumber(3));
}

TEST(IEEEFloat, ToIntegerSaturates) {
  for (const Format f :
       {Format{8, 23}, Format{11, 52}, Format{15, 112}, Format{11, 200}, Format{8, 300}, Format{61, 10}}) {
    EXPECT_EQ(quiet_nan(f).to_integer(8), QNumber(0));
    EXPECT_EQ(infinity(f, false).to_integer(8), QNumber(255));
    EXPECT_EQ(infinity(f, true).to_integer(8), QNumber(-128));
    EXPECT_EQ(infinity(f, true).to_integer(1), QNumber(-1));
    EXPECT_EQ(infinity(f, false).to_integer(0), QNumber(0));
    EXPECT_EQ(number(7, f).to_integer(0), QNumber(0));
    EXPECT_EQ(number(255, f).to_integer(8), QNumber(255));
    EXPECT_EQ(number(256, f).to_integer(8), QNumber(255));
    EXPECT_EQ(number(QNumber(511, 2), f).to_integer(8), QNumber(255));
    EXPECT_EQ(with_mode(number(QNumber(511, 2), f), IEEEFloat::round_toward_zero).to_integer(8),
              QNumber(255));
    EXPECT_EQ(number(-128, f).to_integer(8), QNumber(-128));
    EXPECT_EQ(number(-129, f).to_integer(8), QNumber(-128));
    EXPECT_EQ(number(-1, f).to_integer(8), QNumber(-1));
    EXPECT_EQ(number(pow2(64), f).to_integer(65), pow2(64));
    EXPECT_EQ(number(pow2(64), f).to_integer(64), pow2(64) - 1);
    EXPECT_EQ(number(pow2(64).neg(), f).to_integer(65), pow2(64).neg());
    EXPECT_EQ(number(pow2(64).neg(), f).to_integer(64), pow2(63).neg());
    EXPECT_EQ(number(pow2(63).neg(), f).to_integer(64), pow2(63).neg());
    EXPECT_EQ(number(QNumber(5, 2), f).to_integer(8), QNumber(2));
    EXPECT_EQ(number(QNumber(-5, 2), f, IEEEFloat::round_toward_negative).to_integer(8), QNumber(-3));
    EXPECT_EQ(number(QNumber(5, 2), f, IEEEFloat::round_toward_positive).to_integer(8), QNumber(3));
    EXPECT_EQ(number(QNumber(7, 2), f, IEEEFloat::round_toward_zero).to_integer(8), QNumber(3));
  }
}

TEST(IEEEFloat, RoundKeepsTheSignOfZero) {
  for (const Format f : {Format{5, 10}, Format{11, 52}, Format{15, 112}, Format{11, 200}, Format{8, 300}}) {
    EXPECT_TRUE(round(number(QNumber(-1, 4), f)).identical(zero(f, true)));
    EXPECT_TRUE(round(number(QNumber(1, 4), f)).identical(zero(f, false)));
    EXPECT_TRUE(round(zero(f, true)).identical(zero(f, true)));
    EXPECT_TRUE(round(number(QNumber(1, 2), f)).is_zero());
    EXPECT_EQ(round(number(QNumber(3, 2), f)).to_integer(8), QNumber(2));
    EXPECT_EQ(round(number(QNumber(1, 4), f, IEEEFloat::round_toward_positive)).to_integer(8), QNumber(1));
  }
}

TEST(IEEEFloat, Text) {
  EXPECT_EQ(number(QNumber(-12), {11, 52}).to_string(), "-0x1.8p+3");
  EXPECT_EQ(number(QNumber(1), {11, 52}).to_string(), "0x1p+0");
  EXPECT_EQ(number(QNumber(1, 10), {11, 52}).to_string(), "0x1.999999999999ap-4");
  EXPECT_EQ(IEEEFloat::from_bits(QNumber(1), {11, 52}).to_string(), "0x1p-1074");
  EXPECT_EQ(zero({15, 112}, false).to_string(), "0x0p+0");
  EXPECT_EQ(zero({15, 112}, true).to_string(), "-0x0p+0");
  EXPECT_EQ(infinity({11, 200}, true).to_string(), "-inf");
  EXPECT_EQ(infinity({2, 1}, false).to_string(), "inf");
  EXPECT_EQ(quiet_nan({8, 23}).to_string(), "nan");
}

}  // namespace
}  // namespace quarv
