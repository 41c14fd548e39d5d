// Formats whose numbers are not in a QNumber are computed with without any allocation.

#include <support/allocation_counter.h>
#include <vector>

#include <gtest/gtest.h>

#include "numbers/float_samples.h"
#include <quarv/numbers/ieee_float.h>

namespace quarv {
namespace {

TEST(IEEEFloatAllocation, WordFormatsAllocateNothing) {
  const CountGmpAllocations gmp;
  for (const IEEEFloat::format f :
       {IEEEFloat::format{5, 10}, IEEEFloat::format{8, 7}, IEEEFloat::format{8, 23},
        IEEEFloat::format{11, 52}, IEEEFloat::format{4, 59}, IEEEFloat::format{2, 1}}) {
    FloatSamples samples(f, 40);
    std::vector<IEEEFloat> numbers;
    for (int i = 0; i < 100; ++i) {
      numbers.push_back(IEEEFloat::from_bits(QNumber::from_integer(samples.next().get_mpz_t()), f));
    }
    const QNumber integer(-12345), fraction(22, 7);
    IEEEFloat result = numbers[0];
    bool any = false;
    const long before = allocation_count();
    for (const IEEEFloat& a : numbers) {
      for (const IEEEFloat& b : numbers) {
        result = a;
        result.set_rounding_mode(IEEEFloat::round_toward_positive);
        result += b;
        result -= a;
        result *= b;
        result /= a;
        any = any || result < a || a <= b || a == b || result.identical(a);
      }
      result = round(a);
      result.sqrt();
      result.self_neg();
      result.set_sign(false);
      result.set_format({8, 23});
      result.set_format(f);
      result = IEEEFloat::from_number(integer, f, IEEEFloat::round_nearest_even);
      result = IEEEFloat::from_number(fraction, f, IEEEFloat::round_toward_zero);
      any = any || result.to_integer(32) == integer || a.to_integer(62) == fraction;
    }
    EXPECT_EQ(allocation_count(), before) << f.ew << ' ' << f.mw;
    EXPECT_TRUE(any);
  }
}

TEST(IEEEFloatAllocation, WideFormatsAllocateNothing) {
  const CountGmpAllocations gmp;
  for (const IEEEFloat::format f :
       {IEEEFloat::format{3, 60}, IEEEFloat::format{15, 112}, IEEEFloat::format{15, 150},
        IEEEFloat::format{11, 200}, IEEEFloat::format{15, 256}, IEEEFloat::format{60, 315}}) {
    FloatSamples samples(f, 41);
    std::vector<IEEEFloat> numbers;
    for (int i = 0; i < 30; ++i) {
      numbers.push_back(IEEEFloat::from_bits(QNumber::from_integer(samples.next().get_mpz_t()), f));
    }
    const QNumber one(1);
    IEEEFloat result = numbers[0];
    bool any = false;
    const long before = allocation_count();
    for (const IEEEFloat& a : numbers) {
      for (const IEEEFloat& b : numbers) {
        result = a;
        result += b;
        result -= a;
        result *= b;
        result /= a;
        result.sqrt();
        any = any || result < a || a <= b || a == b || result.identical(a) || result.is_nan();
        result = round(a);
        result.self_neg();
        result.set_sign(false);
        result.set_format({8, 23});
        result.set_format({15, 240});
        result.set_format(f);
        any = any || a.to_integer(30) == one;
      }
    }
    EXPECT_EQ(allocation_count(), before) << f.ew << ' ' << f.mw;
    EXPECT_TRUE(any);
  }
}

}  // namespace
}  // namespace quarv
