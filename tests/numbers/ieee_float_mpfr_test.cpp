// Formats beyond the host's, against MPFR with the exponent range and the subnormal numbers of the format.

#include <string>

#include <gmpxx.h>
#include <gtest/gtest.h>
#include <mpfr.h>

#include "numbers/float_samples.h"
#include "numbers/number_samples.h"
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

/// A number of one format as MPFR holds it. The exponent range of MPFR is that of the format while one lives.
class MpfrFloat {
 public:
  explicit MpfrFloat(IEEEFloat::format f) : format_(f) {
    const long bias = (1L << (f.ew - 1)) - 1;
    mpfr_set_emin(2 - bias - static_cast<long>(f.mw));
    mpfr_set_emax(bias + 1);
    mpfr_init2(value_, static_cast<mpfr_prec_t>(f.mw + 1));
  }
  MpfrFloat(const MpfrFloat&) = delete;
  MpfrFloat& operator=(const MpfrFloat&) = delete;
  ~MpfrFloat() { mpfr_clear(value_); }

  mpfr_ptr get() { return value_; }

  void decode(const mpz_class& bits) {
    const mpz_class hidden = mpz_class(1) << format_.mw, last = (mpz_class(1) << format_.ew) - 1;
    const mpz_class field = (bits >> format_.mw) & last;
    mpz_class significand = bits & (hidden - 1);
    const bool negative = mpz_tstbit(bits.get_mpz_t(), format_.ew + format_.mw) != 0;
    if (field == last) {
      if (significand == 0) {
        mpfr_set_inf(value_, negative ? -1 : 1);
      } else {
        mpfr_set_nan(value_);
      }
      return;
    }
    if (field != 0) significand += hidden;
    const long exponent =
        (field == 0 ? 1 : field.get_si()) - (1L << (format_.ew - 1)) + 1 - static_cast<long>(format_.mw);
    mpfr_set_z_2exp(value_, significand.get_mpz_t(), exponent, MPFR_RNDN);
    mpfr_setsign(value_, value_, negative, MPFR_RNDN);
  }

  mpz_class encode() const {
    const mpz_class hidden = mpz_class(1) << format_.mw, last = (mpz_class(1) << format_.ew) - 1;
    const mpz_class sign = mpfr_signbit(value_) ? mpz_class(1) << (format_.ew + format_.mw) : mpz_class(0);
    if (mpfr_zero_p(value_)) return sign;
    if (mpfr_inf_p(value_)) return sign + last * hidden;
    mpz_class significand;
    const long exponent = mpfr_get_z_2exp(significand.get_mpz_t(), value_);
    significand = abs(significand);
    const long field = exponent + (1L << (format_.ew - 1)) - 1 + static_cast<long>(format_.mw);
    if (field < 1) return sign + (significand >> static_cast<unsigned long>(1 - field));
    return sign + mpz_class(field) * hidden + (significand - hidden);
  }

 private:
  IEEEFloat::format format_;
  mpfr_t value_;
};

enum Operation { add, subtract, multiply, divide, square_root, num_operations };

void apply(Operation operation, IEEEFloat& x, const IEEEFloat& y) {
  switch (operation) {
    case add:
      x += y;
      break;
    case subtract:
      x -= y;
      break;
    case multiply:
      x *= y;
      break;
    case divide:
      x /= y;
      break;
    default:
      x.sqrt();
  }
}

void apply(Operation operation, mpfr_ptr result, mpfr_srcptr x, mpfr_srcptr y, mpfr_rnd_t mode) {
  int ternary = 0;
  switch (operation) {
    case add:
      ternary = mpfr_add(result, x, y, mode);
      break;
    case subtract:
      ternary = mpfr_sub(result, x, y, mode);
      break;
    case multiply:
      ternary = mpfr_mul(result, x, y, mode);
      break;
    case divide:
      ternary = mpfr_div(result, x, y, mode);
      break;
    default:
      ternary = mpfr_sqrt(result, x, mode);
  }
  ternary = mpfr_check_range(result, ternary, mode);
  mpfr_subnormalize(result, ternary, mode);
}

struct NamedFormat {
  const char* name;
  IEEEFloat::format format;
};

class MpfrComparison : public testing::TestWithParam<NamedFormat> {};

TEST_P(MpfrComparison, Arithmetic) {
  const IEEEFloat::format f = GetParam().format;
  FloatSamples samples(f, 30);
  MpfrFloat x(f), y(f), wanted(f);
  for (int round = 0; round < 4000 * test_scale(); ++round) {
    const auto [a, b] = samples.next_pair();
    x.decode(a);
    y.decode(b);
    const MpfrMode& mode = mpfr_modes[samples.below(4)];
    IEEEFloat left = IEEEFloat::from_bits(QNumber::from_integer(a.get_mpz_t()), f), result;
    const IEEEFloat right = IEEEFloat::from_bits(QNumber::from_integer(b.get_mpz_t()), f);
    left.set_rounding_mode(mode.mode);
    for (int operation = 0; operation < num_operations; ++operation) {
      apply(static_cast<Operation>(operation), wanted.get(), x.get(), y.get(), mode.mpfr);
      result = left;
      apply(static_cast<Operation>(operation), result, right);
      if (mpfr_nan_p(wanted.get())) {
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
  for (int round = 0; round < 1000 * test_scale(); ++round) {
    const mpz_class a = samples.next();
    const MpfrMode& mode = mpfr_modes[samples.below(4)];
    IEEEFloat left = IEEEFloat::from_bits(QNumber::from_integer(a.get_mpz_t()), f);
    left.set_rounding_mode(mode.mode);
    if (left.is_nan()) continue;
    MpfrFloat x(f);
    x.decode(a);
    for (const IEEEFloat::format to :
         {IEEEFloat::format{5, 10}, IEEEFloat::format{8, 23}, IEEEFloat::format{15, 63},
          IEEEFloat::format{11, 200}, IEEEFloat::format{9, 300}}) {
      IEEEFloat result = left;
      result.set_format(to);
      MpfrFloat wanted(to);
      const int ternary = mpfr_set(wanted.get(), x.get(), mode.mpfr);
      mpfr_subnormalize(wanted.get(), mpfr_check_range(wanted.get(), ternary, mode.mpfr), mode.mpfr);
      ASSERT_EQ(result.get_bits().num(), wanted.encode())
          << left.to_string() << " to " << to.ew << ',' << to.mw << " mode " << mode.mode;
    }
    MpfrFloat wanted(f);
    mpfr_rint(wanted.get(), x.get(), mode.mpfr);
    ASSERT_EQ(quarv::round(left).get_bits().num(), wanted.encode())
        << left.to_string() << " mode " << mode.mode;
  }
}

std::string format_name(const testing::TestParamInfo<NamedFormat>& format) {
  return format.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    IEEEFloat, MpfrComparison,
    testing::Values(NamedFormat{"binary16", {5, 10}}, NamedFormat{"bfloat16", {8, 7}},
                    NamedFormat{"binary32", {8, 23}}, NamedFormat{"ew5mw56", {5, 56}},
                    NamedFormat{"ew4mw59", {4, 59}}, NamedFormat{"ew3mw60", {3, 60}},
                    NamedFormat{"ew15mw63", {15, 63}}, NamedFormat{"binary128", {15, 112}},
                    NamedFormat{"ew4mw123", {4, 123}}, NamedFormat{"ew4mw124", {4, 124}},
                    NamedFormat{"ew11mw200", {11, 200}}, NamedFormat{"binary256", {19, 236}},
                    NamedFormat{"ew4mw251", {4, 251}}, NamedFormat{"ew4mw252", {4, 252}},
                    NamedFormat{"ew15mw500", {15, 500}}, NamedFormat{"ew28mw3", {28, 3}}),
    format_name);

}  // namespace
}  // namespace quarv
