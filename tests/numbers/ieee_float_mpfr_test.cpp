// Formats beyond the host's, against MPFR with the exponent range and the subnormal numbers of the format.

#include <string>

#include <gmpxx.h>
#include <gtest/gtest.h>

#include "numbers/float_operations.h"
#include "numbers/float_samples.h"
#include "numbers/number_samples.h"
#include "support/mpfr_float.h"
#include <quarv/numbers/ieee_float.h>

namespace quarv {
namespace {

struct MpfrMode {
  IEEEFloat::rounding_mode mode;
  mpfr_rnd_t mpfr;
};

constexpr MpfrMode mpfr_modes[] = {{IEEEFloat::round_nearest_even, MPFR_RNDN},
                                   {IEEEFloat::round_toward_zero, MPFR_RNDZ},
                                   {IEEEFloat::round_toward_positive, MPFR_RNDU},
                                   {IEEEFloat::round_toward_negative, MPFR_RNDD}};

void apply(Operation operation, MpfrFloat& wanted, mpfr_srcptr x, mpfr_srcptr y, mpfr_rnd_t mode) {
  const mpfr_ptr result = wanted.get();
  int ternary = 0;
  switch (operation) {
    case op_add:
      ternary = mpfr_add(result, x, y, mode);
      break;
    case op_subtract:
      ternary = mpfr_sub(result, x, y, mode);
      break;
    case op_multiply:
      ternary = mpfr_mul(result, x, y, mode);
      break;
    case op_divide:
      ternary = mpfr_div(result, x, y, mode);
      break;
    default:
      ternary = mpfr_sqrt(result, x, mode);
  }
  wanted.finish(ternary, mode);
}

struct NamedFormat {
  const char* name;
  IEEEFloat::format format;
};

class MpfrComparison : public testing::TestWithParam<NamedFormat> {};

TEST_P(MpfrComparison, Arithmetic) {
  const IEEEFloat::format f = GetParam().format;
  FloatSamples samples(f, 30);
  MpfrFloat x(f.ew, f.mw), y(f.ew, f.mw), wanted(f.ew, f.mw);
  for (int round = 0; round < num_cases(4000); ++round) {
    const auto [a, b] = samples.next_pair();
    x.decode(a);
    y.decode(b);
    const MpfrMode& mode = mpfr_modes[samples.below(4)];
    IEEEFloat left = IEEEFloat::from_bits(QNumber::from_integer(a.get_mpz_t()), f), result;
    const IEEEFloat right = IEEEFloat::from_bits(QNumber::from_integer(b.get_mpz_t()), f);
    left.set_rounding_mode(mode.mode);
    for (int operation = 0; operation < num_operations; ++operation) {
      apply(static_cast<Operation>(operation), wanted, x.get(), y.get(), mode.mpfr);
      result = left;
      apply(static_cast<Operation>(operation), result, right);
      if (wanted.is_nan()) {
        ASSERT_TRUE(result.is_nan());
      } else {
        ASSERT_EQ(result.get_bits().num(), wanted.encode())
            << left.to_string() << " and " << right.to_string() << " operation " << operation << " mode "
            << mode.mode;
      }
    }
    ASSERT_EQ(left == right, mpfr_equal_p(x.get(), y.get()) != 0);
    ASSERT_EQ(left < right, mpfr_less_p(x.get(), y.get()) != 0);
    ASSERT_EQ(left <= right, mpfr_lessequal_p(x.get(), y.get()) != 0);
  }
}

TEST_P(MpfrComparison, Conversions) {
  const IEEEFloat::format f = GetParam().format;
  FloatSamples samples(f, 31);
  for (int round = 0; round < num_cases(1000); ++round) {
    const mpz_class a = samples.next();
    const MpfrMode& mode = mpfr_modes[samples.below(4)];
    IEEEFloat left = IEEEFloat::from_bits(QNumber::from_integer(a.get_mpz_t()), f);
    left.set_rounding_mode(mode.mode);
    if (left.is_nan()) continue;
    MpfrFloat x(f.ew, f.mw);
    x.decode(a);
    for (const IEEEFloat::format to :
         {IEEEFloat::format{5, 10}, IEEEFloat::format{8, 23}, IEEEFloat::format{15, 63},
          IEEEFloat::format{11, 200}, IEEEFloat::format{9, 300}}) {
      IEEEFloat result = left;
      result.set_format(to);
      MpfrFloat wanted(to.ew, to.mw);
      const int ternary = mpfr_set(wanted.get(), x.get(), mode.mpfr);
      wanted.finish(ternary, mode.mpfr);
      ASSERT_EQ(result.get_bits().num(), wanted.encode())
          << left.to_string() << " to " << to.ew << ',' << to.mw << " mode " << mode.mode;
    }
    MpfrFloat wanted(f.ew, f.mw);
    mpfr_rint(wanted.get(), x.get(), mode.mpfr);
    ASSERT_EQ(quarv::round(left).get_bits().num(), wanted.encode())
        << left.to_string() << " mode " << mode.mode;
  }
}

std::string name_of_format(const testing::TestParamInfo<NamedFormat>& format) {
  return format.param.name;
}

INSTANTIATE_TEST_SUITE_P(IEEEFloat, MpfrComparison,
                         testing::Values(NamedFormat{"binary16", {5, 10}}, NamedFormat{"bfloat16", {8, 7}},
                                         NamedFormat{"binary32", {8, 23}}, NamedFormat{"ew5mw56", {5, 56}},
                                         NamedFormat{"ew4mw59", {4, 59}}, NamedFormat{"ew3mw60", {3, 60}},
                                         NamedFormat{"binary128", {15, 112}},
                                         NamedFormat{"ew11mw200", {11, 200}},
                                         NamedFormat{"binary256", {19, 236}},
                                         NamedFormat{"ew15mw500", {15, 500}},
                                         NamedFormat{"ew28mw3", {28, 3}}),
                         name_of_format);

// Where significands, with the hidden bit and with the bits that arithmetic takes, fill their words, and
// exponents theirs.
INSTANTIATE_TEST_SUITE_P(
    IEEEFloatWords, MpfrComparison,
    testing::Values(NamedFormat{"precision62", {7, 61}}, NamedFormat{"precision63", {15, 62}},
                    NamedFormat{"precision64", {15, 63}}, NamedFormat{"precision65", {11, 64}},
                    NamedFormat{"precision113", {16, 112}}, NamedFormat{"precision124", {4, 123}},
                    NamedFormat{"precision125", {4, 124}}, NamedFormat{"precision127", {15, 126}},
                    NamedFormat{"precision128", {15, 127}}, NamedFormat{"precision129", {8, 128}},
                    NamedFormat{"precision188", {5, 187}}, NamedFormat{"precision189", {5, 188}},
                    NamedFormat{"precision191", {15, 190}}, NamedFormat{"precision192", {15, 191}},
                    NamedFormat{"precision193", {15, 192}}, NamedFormat{"precision200", {20, 199}},
                    NamedFormat{"precision241", {15, 240}}, NamedFormat{"precision252", {4, 251}},
                    NamedFormat{"precision253", {4, 252}}, NamedFormat{"precision255", {15, 254}},
                    NamedFormat{"precision256", {15, 255}}, NamedFormat{"precision257", {19, 256}},
                    NamedFormat{"precision316", {2, 315}}, NamedFormat{"precision317", {2, 316}},
                    NamedFormat{"ew60mw20", {60, 20}}, NamedFormat{"ew60mw315", {60, 315}},
                    NamedFormat{"ew61mw20", {61, 20}}),
    name_of_format);

}  // namespace
}  // namespace quarv
