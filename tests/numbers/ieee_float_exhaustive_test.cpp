// Every operation on every operand of every small format, against the reference evaluator.

#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "reference/floats.h"
#include "support/test_scale.h"
#include <quarv/numbers/ieee_float.h>

namespace quarv {
namespace {

constexpr IEEEFloat::rounding_mode rounding_modes[] = {
    IEEEFloat::round_nearest_even, IEEEFloat::round_toward_zero, IEEEFloat::round_toward_positive,
    IEEEFloat::round_toward_negative};

using Mode = IEEEFloat::rounding_mode;

/// The encoding of a result and the exceptions that it raises.
struct FloatOutcome {
  unsigned bits;
  unsigned flags;
  bool operator==(const FloatOutcome&) const = default;
};

void PrintTo(const FloatOutcome& x, std::ostream* out) {
  *out << x.bits << " with exceptions " << x.flags;
}

/// The reference's arithmetic of one format, on encodings that are machine integers.
class SmallFormat : public reference::FloatFormat {
 public:
  explicit SmallFormat(IEEEFloat::format f) : FloatFormat(f.ew, f.mw), format_(f) {}

  IEEEFloat::format format() const { return format_; }
  unsigned count() const { return 1u << format_.width(); }
  unsigned sign_bit() const { return count() / 2; }

  FloatOutcome add(unsigned a, unsigned b, Mode mode) const {
    return outcome(FloatFormat::add(a, b, rounding(mode)));
  }
  FloatOutcome subtract(unsigned a, unsigned b, Mode mode) const {
    return outcome(FloatFormat::subtract(a, b, rounding(mode)));
  }
  FloatOutcome multiply(unsigned a, unsigned b, Mode mode) const {
    return outcome(FloatFormat::multiply(a, b, rounding(mode)));
  }
  FloatOutcome divide(unsigned a, unsigned b, Mode mode) const {
    return outcome(FloatFormat::divide(a, b, rounding(mode)));
  }
  FloatOutcome square_root(unsigned a, Mode mode) const {
    return outcome(FloatFormat::square_root(a, rounding(mode)));
  }
  FloatOutcome round_to_integral(unsigned a, Mode mode) const {
    return outcome(FloatFormat::round_to_integral(a, rounding(mode)));
  }
  FloatOutcome round(const mpq_class& exact, Mode mode) const {
    return outcome(FloatFormat::round(exact, rounding(mode)));
  }
  FloatOutcome convert_to(const SmallFormat& to, unsigned a, Mode mode) const {
    return outcome(to.convert(a, *this, rounding(mode)));
  }

  static reference::Rounding rounding(Mode mode) { return static_cast<reference::Rounding>(mode); }

 private:
  static FloatOutcome outcome(const reference::FloatResult& x) {
    return {static_cast<unsigned>(x.bits.get_ui()), x.exceptions};
  }

  IEEEFloat::format format_;
};

std::vector<SmallFormat> small_formats() {
  std::vector<SmallFormat> result;
  for (std::size_t ew = 1; ew <= 4; ++ew) {
    for (std::size_t mw = 1; mw <= 3; ++mw) result.emplace_back(IEEEFloat::format{ew, mw});
  }
  return result;
}

IEEEFloat make(const SmallFormat& f, unsigned bits, IEEEFloat::rounding_mode mode) {
  IEEEFloat x = IEEEFloat::from_bits(QNumber(static_cast<long>(bits)), f.format());
  x.set_rounding_mode(mode);
  return x;
}

/// What `operation` makes of a number, and the exceptions that it raises.
template <class Operation>
FloatOutcome outcome(IEEEFloat x, Operation&& operation) {
  swflt::float_exception_flags = 0;
  operation(x);
  return {static_cast<unsigned>(x.get_bits().small_num()), swflt::float_exception_flags};
}

class SmallFormats : public testing::TestWithParam<int> {
 protected:
  SmallFormat f{IEEEFloat::format{static_cast<std::size_t>(GetParam() / 10),
                                  static_cast<std::size_t>(GetParam() % 10)}};
};

TEST_P(SmallFormats, Arithmetic) {
  const auto step = static_cast<unsigned>(one_in_when_sanitized(13));
  for (unsigned a = 0; a < f.count(); ++a) {
    for (unsigned b = a % step; b < f.count(); b += step) {
      const IEEEFloat y = make(f, b, IEEEFloat::round_nearest_even);
      for (const auto mode : rounding_modes) {
        const IEEEFloat x = make(f, a, mode);
        ASSERT_EQ(outcome(x, [&](IEEEFloat& r) { r += y; }), f.add(a, b, mode))
            << a << " + " << b << " mode " << mode;
        ASSERT_EQ(outcome(x, [&](IEEEFloat& r) { r -= y; }), f.subtract(a, b, mode))
            << a << " - " << b << " mode " << mode;
        ASSERT_EQ(outcome(x, [&](IEEEFloat& r) { r *= y; }), f.multiply(a, b, mode))
            << a << " * " << b << " mode " << mode;
        ASSERT_EQ(outcome(x, [&](IEEEFloat& r) { r /= y; }), f.divide(a, b, mode))
            << a << " / " << b << " mode " << mode;
      }
    }
  }
}

TEST_P(SmallFormats, OneOperand) {
  for (unsigned a = 0; a < f.count(); ++a) {
    for (const auto mode : rounding_modes) {
      const IEEEFloat x = make(f, a, mode);
      ASSERT_EQ(outcome(x, [](IEEEFloat& r) { r.sqrt(); }), f.square_root(a, mode)) << a << " mode " << mode;
      ASSERT_EQ(outcome(x, [](IEEEFloat& r) { r = round(r); }), f.round_to_integral(a, mode))
          << a << " mode " << mode;
      ASSERT_EQ(outcome(x, [](IEEEFloat& r) { r += r; }), f.add(a, a, mode));
      ASSERT_EQ(outcome(x, [](IEEEFloat& r) { r -= r; }), f.subtract(a, a, mode));
      ASSERT_EQ(outcome(x, [](IEEEFloat& r) { r.self_neg(); }), (FloatOutcome{a ^ f.sign_bit(), 0}));
      ASSERT_EQ(outcome(x, [](IEEEFloat& r) { r.set_sign(true); }), (FloatOutcome{a | f.sign_bit(), 0}));
      ASSERT_EQ(outcome(x, [](IEEEFloat& r) { r.set_sign(false); }), (FloatOutcome{a & ~f.sign_bit(), 0}));
    }
  }
}

TEST_P(SmallFormats, Classification) {
  for (unsigned a = 0; a < f.count(); ++a) {
    const IEEEFloat x = make(f, a, IEEEFloat::round_nearest_even);
    EXPECT_EQ(x.get_sign(), f.is_negative(a));
    EXPECT_EQ(x.is_nan(), f.is_nan(a));
    EXPECT_EQ(x.is_inf(), f.is_infinite(a));
    EXPECT_EQ(x.is_zero(), f.is_zero(a));
    EXPECT_EQ(x.is_subnormal(), f.is_subnormal(a));
    EXPECT_EQ(x.is_normal(), f.is_normal(a));
  }
}

TEST_P(SmallFormats, Comparisons) {
  for (unsigned a = 0; a < f.count(); ++a) {
    const IEEEFloat x = make(f, a, IEEEFloat::round_nearest_even);
    for (unsigned b = 0; b < f.count(); ++b) {
      const IEEEFloat y = make(f, b, IEEEFloat::round_toward_zero);
      const bool unordered = f.is_nan(a) || f.is_nan(b);
      const int order = unordered ? 0 : f.compare(a, b);
      ASSERT_EQ(x == y, !unordered && order == 0) << a << ' ' << b;
      ASSERT_EQ(x < y, !unordered && order < 0) << a << ' ' << b;
      ASSERT_EQ(x <= y, !unordered && order <= 0) << a << ' ' << b;
      ASSERT_EQ(x.identical(y), a == b);
    }
  }
}

TEST_P(SmallFormats, ConversionToEveryFormat) {
  for (const SmallFormat& to : small_formats()) {
    for (unsigned a = 0; a < f.count(); ++a) {
      for (const auto mode : rounding_modes) {
        ASSERT_EQ(outcome(make(f, a, mode), [&](IEEEFloat& r) { r.set_format(to.format()); }),
                  f.convert_to(to, a, mode))
            << a << " to " << to.format().ew << ',' << to.format().mw << " mode " << mode;
      }
    }
  }
}

TEST_P(SmallFormats, ConversionThroughWideFormats) {
  for (const IEEEFloat::format wide :
       {IEEEFloat::format{11, 52}, IEEEFloat::format{3, 60}, IEEEFloat::format{15, 112},
        IEEEFloat::format{11, 200}, IEEEFloat::format{8, 300}, IEEEFloat::format{70, 9}}) {
    if (wide.ew <= f.format().ew) continue;
    for (unsigned a = 0; a < f.count(); ++a) {
      if (f.is_nan(a)) continue;
      const auto widen_and_narrow = [&](IEEEFloat& r) {
        r.set_format(wide);
        r.set_format(f.format());
      };
      ASSERT_EQ(outcome(make(f, a, IEEEFloat::round_nearest_even), widen_and_narrow), (FloatOutcome{a, 0}));
    }
  }
}

TEST_P(SmallFormats, FromNumber) {
  const auto check = [&](long num, long den, bool big) {
    const mpq_class v(num, den);
    QNumber q(num, den);
    if (big) {
      mpq_class reduced = v;
      reduced.canonicalize();
      q = QNumber(reduced.get_num_mpz_t(), reduced.get_den_mpz_t(), false);
    }
    for (const auto mode : rounding_modes) {
      swflt::float_exception_flags = 0;
      const IEEEFloat x = IEEEFloat::from_number(q, f.format(), mode);
      const FloatOutcome got{static_cast<unsigned>(x.get_bits().small_num()), swflt::float_exception_flags};
      const FloatOutcome wanted = num == 0 ? FloatOutcome{0, 0} : f.round(v, mode);
      ASSERT_EQ(got, wanted) << num << '/' << den << " mode " << mode;
      ASSERT_EQ(x.get_rounding_mode(), mode);
    }
  };
  for (const long den : {1L, 3L, 4L, 64L, 1000L, 2048L, 65536L}) {
    for (long num = -300; num <= 300; ++num) check(num, den, num % 2 == 0);
  }
}

TEST_P(SmallFormats, ToInteger) {
  for (unsigned a = 0; a < f.count(); ++a) {
    for (const auto mode : rounding_modes) {
      for (std::size_t width = 1; width <= 10; ++width) {
        const mpz_class low = -(mpz_class(1) << (width - 1)), high = (mpz_class(1) << width) - 1;
        mpz_class wanted;
        if (f.is_infinite(a)) {
          wanted = f.is_negative(a) ? low : high;
        } else if (!f.is_nan(a)) {
          wanted = reference::rounded_integer(f.value(a), SmallFormat::rounding(mode));
          if (wanted < low) wanted = low;
          if (wanted > high) wanted = high;
        }
        ASSERT_EQ(make(f, a, mode).to_integer(width).num(), wanted)
            << a << " mode " << mode << " width " << width;
      }
    }
  }
}

std::string format_name(const testing::TestParamInfo<int>& format) {
  return "ew" + std::to_string(format.param / 10) + "mw" + std::to_string(format.param % 10);
}

INSTANTIATE_TEST_SUITE_P(IEEEFloat, SmallFormats,
                         testing::Values(11, 12, 13, 21, 22, 23, 31, 32, 33, 41, 42, 43), format_name);

}  // namespace
}  // namespace quarv
