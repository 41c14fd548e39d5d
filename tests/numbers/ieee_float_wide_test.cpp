// Results and exceptions in formats wider than a word, against the reference evaluator, around the numbers of
// bits at which significands take one word more.

#include <ostream>
#include <string>

#include <gmpxx.h>
#include <gtest/gtest.h>

#include "numbers/float_operations.h"
#include "numbers/float_samples.h"
#include "numbers/number_samples.h"
#include "reference/floats.h"
#include <quarv/numbers/ieee_float.h>

namespace quarv {
namespace {

using Format = IEEEFloat::format;
using reference::FloatFormat;
using reference::FloatResult;

/// A result as the test prints it: the encoding and the exceptions raised.
struct WideOutcome {
  mpz_class bits;
  unsigned exceptions;

  bool operator==(const WideOutcome& other) const {
    return bits == other.bits && exceptions == other.exceptions;
  }
};

void PrintTo(const WideOutcome& x, std::ostream* out) {
  *out << x.bits.get_str(16) << " with exceptions " << x.exceptions;
}

WideOutcome wide_outcome(const FloatResult& x) {
  return {x.bits, x.exceptions};
}

template <class Operation>
WideOutcome wide_outcome(IEEEFloat x, Operation&& operation) {
  swflt::float_exception_flags = 0;
  operation(x);
  return {x.get_bits().num(), swflt::float_exception_flags};
}

FloatResult apply(Operation operation, const FloatFormat& f, const mpz_class& a, const mpz_class& b,
                  reference::Rounding rounding) {
  switch (operation) {
    case op_add:
      return f.add(a, b, rounding);
    case op_subtract:
      return f.subtract(a, b, rounding);
    case op_multiply:
      return f.multiply(a, b, rounding);
    case op_divide:
      return f.divide(a, b, rounding);
    default:
      return f.square_root(a, rounding);
  }
}

IEEEFloat make(const mpz_class& bits, Format f) {
  return IEEEFloat::from_bits(QNumber::from_integer(bits.get_mpz_t()), f);
}

class WideFormats : public testing::TestWithParam<Format> {
 protected:
  Format format = GetParam();
  FloatFormat f{format.ew, format.mw};
  FloatSamples samples{format, 70};
};

TEST_P(WideFormats, EncodingsSurvive) {
  const mpz_class modulus = mpz_class(1) << format.width();
  for (int round = 0; round < num_cases(300); ++round) {
    const mpz_class bits = samples.next();
    const IEEEFloat x = make(bits, format);
    ASSERT_EQ(x.get_bits().num(), bits);
    ASSERT_TRUE(x.identical(make(bits + modulus, format)));
    ASSERT_TRUE(x.identical(make(bits - modulus, format)));
    ASSERT_FALSE(x.identical(make(bits ^ mpz_class(1) << samples.below(format.width()), format)));
    ASSERT_EQ(x.get_sign(), f.is_negative(bits));
    ASSERT_EQ(x.is_nan(), f.is_nan(bits));
    ASSERT_EQ(x.is_inf(), f.is_infinite(bits));
    ASSERT_EQ(x.is_zero(), f.is_zero(bits));
    ASSERT_EQ(x.is_subnormal(), f.is_subnormal(bits));
    ASSERT_EQ(x.is_normal(), f.is_normal(bits));
    IEEEFloat y = x;
    y.self_neg();
    ASSERT_EQ(y.get_bits().num(), bits ^ mpz_class(1) << (format.width() - 1));
    y.set_sign(x.get_sign());
    ASSERT_TRUE(y.identical(x));
  }
}

TEST_P(WideFormats, Arithmetic) {
  for (int round = 0; round < num_cases(300); ++round) {
    const auto [a, b] = samples.next_pair();
    IEEEFloat x = make(a, format);
    const IEEEFloat y = make(b, format);
    const auto mode = static_cast<IEEEFloat::rounding_mode>(samples.below(4));
    x.set_rounding_mode(mode);
    for (int i = 0; i < num_operations; ++i) {
      const auto operation = static_cast<Operation>(i);
      ASSERT_EQ(wide_outcome(x, [&](IEEEFloat& r) { quarv::apply(operation, r, y); }),
                wide_outcome(apply(operation, f, a, b, static_cast<reference::Rounding>(mode))))
          << a.get_str(16) << " and " << b.get_str(16) << " operation " << i << " mode " << mode;
    }
    ASSERT_EQ(wide_outcome(x, [](IEEEFloat& r) { r *= r; }),
              wide_outcome(f.multiply(a, a, static_cast<reference::Rounding>(mode))));
  }
}

TEST_P(WideFormats, Comparisons) {
  for (int round = 0; round < num_cases(300); ++round) {
    auto [a, b] = samples.next_pair();
    if (samples.below(4) == 0) b = a ^ mpz_class(1) << samples.below(format.width());
    const IEEEFloat x = make(a, format), y = make(b, format);
    const bool any_nan = f.is_nan(a) || f.is_nan(b), signals = f.is_signalling(a) || f.is_signalling(b);
    const int order = any_nan ? 2 : f.compare(a, b);
    swflt::float_exception_flags = 0;
    ASSERT_EQ(x == y, order == 0) << a.get_str(16) << ' ' << b.get_str(16);
    ASSERT_EQ(swflt::float_exception_flags, signals ? swflt::flag_invalid : 0);
    swflt::float_exception_flags = 0;
    ASSERT_EQ(x < y, order == -1) << a.get_str(16) << ' ' << b.get_str(16);
    ASSERT_EQ(swflt::float_exception_flags, any_nan ? swflt::flag_invalid : 0);
    ASSERT_EQ(x <= y, order == -1 || order == 0) << a.get_str(16) << ' ' << b.get_str(16);
    ASSERT_TRUE(x == x || f.is_nan(a));
  }
}

TEST_P(WideFormats, RoundingToIntegersAndOtherFormats) {
  for (int round = 0; round < num_cases(100); ++round) {
    const mpz_class a = samples.next();
    IEEEFloat x = make(a, format);
    const auto mode = static_cast<IEEEFloat::rounding_mode>(samples.below(4));
    const auto rounding = static_cast<reference::Rounding>(mode);
    x.set_rounding_mode(mode);
    ASSERT_EQ(wide_outcome(x, [](IEEEFloat& r) { r = quarv::round(r); }),
              wide_outcome(f.round_to_integral(a, rounding)))
        << a.get_str(16) << " mode " << mode;
    if (f.is_finite(a)) {
      const mpz_class integer = reference::rounded_integer(f.value(a), rounding);
      ASSERT_EQ(x.to_integer(1000).num(), integer);
    }
    for (const Format to : {Format{1, 62}, Format{5, 10}, Format{8, 23}, Format{3, 60}, Format{6, 58},
                            Format{5, 113}, Format{8, 150}, Format{4, 220}, Format{7, 256}, Format{5, 330}}) {
      const FloatFormat g(to.ew, to.mw);
      ASSERT_EQ(wide_outcome(x, [&](IEEEFloat& r) { r.set_format(to); }),
                wide_outcome(g.convert(a, f, rounding)))
          << a.get_str(16) << " to " << to.ew << ',' << to.mw << " mode " << mode;
    }
  }
}

std::string name_of_wide_format(const testing::TestParamInfo<Format>& f) {
  return "ew" + std::to_string(f.param.ew) + "mw" + std::to_string(f.param.mw);
}

// Significands take one word more from 60, 124, 188, 252 and 316 stored bits on.
INSTANTIATE_TEST_SUITE_P(IEEEFloat, WideFormats,
                         testing::Values(Format{2, 60}, Format{1, 62}, Format{9, 62}, Format{8, 63},
                                         Format{7, 64}, Format{4, 123}, Format{3, 124}, Format{1, 126},
                                         Format{8, 127}, Format{5, 128}, Format{6, 187}, Format{7, 188},
                                         Format{1, 190}, Format{8, 191}, Format{5, 192}, Format{8, 199},
                                         Format{4, 251}, Format{4, 252}, Format{1, 254}, Format{7, 255},
                                         Format{8, 256}, Format{3, 315}, Format{3, 316}),
                         name_of_wide_format);

}  // namespace
}  // namespace quarv
