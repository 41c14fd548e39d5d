// The reference evaluator's floating point against MPFR, on all numbers of small formats and on random ones
// of large formats, and against the host.

#include "reference/floats.h"

#include <bit>
#include <cfenv>
#include <cmath>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "numbers/float_samples.h"
#include "support/mpfr_float.h"
#include "support/test_scale.h"

namespace quarv::reference {
namespace {

constexpr mpfr_rnd_t mpfr_modes[] = {MPFR_RNDN, MPFR_RNDZ, MPFR_RNDU, MPFR_RNDD};

class AgainstMpfr {
 public:
  explicit AgainstMpfr(IEEEFloat::format f) : format_(f), reference_(f.ew, f.mw) {}

  void check(const mpz_class& a, const mpz_class& b, const mpz_class& c, int mode) const {
    const auto rounding = static_cast<Rounding>(mode);
    const mpfr_rnd_t m = mpfr_modes[mode];
    MpfrFloat x(format_.ew, format_.mw), y(format_.ew, format_.mw), z(format_.ew, format_.mw);
    x.decode(a);
    y.decode(b);
    z.decode(c);
    const auto compare = [&](const char* op, const FloatResult& found, auto&& compute) {
      MpfrFloat wanted(format_.ew, format_.mw);
      wanted.finish(compute(wanted.get()), m);
      const mpz_class bits = wanted.is_nan() ? reference_.nan() : wanted.encode();
      ASSERT_EQ(found.bits, bits) << op << " of " << a << ", " << b << ", " << c << ", mode " << mode
                                  << ", exponent " << format_.ew << ", significand " << format_.mw;
    };
    compare("+", reference_.add(a, b, rounding), [&](auto r) { return mpfr_add(r, x.get(), y.get(), m); });
    compare("-", reference_.subtract(a, b, rounding),
            [&](auto r) { return mpfr_sub(r, x.get(), y.get(), m); });
    compare("*", reference_.multiply(a, b, rounding),
            [&](auto r) { return mpfr_mul(r, x.get(), y.get(), m); });
    compare("/", reference_.divide(a, b, rounding), [&](auto r) { return mpfr_div(r, x.get(), y.get(), m); });
    compare("root", reference_.square_root(a, rounding), [&](auto r) { return mpfr_sqrt(r, x.get(), m); });
    compare("integral", reference_.round_to_integral(a, rounding),
            [&](auto r) { return mpfr_rint(r, x.get(), m); });
    compare("fma", reference_.multiply_add(a, b, c, rounding),
            [&](auto r) { return mpfr_fma(r, x.get(), y.get(), z.get(), m); });
    if (!reference_.is_nan(a) && !reference_.is_nan(b)) {
      ASSERT_EQ(reference_.compare(a, b),
                (mpfr_cmp(x.get(), y.get()) > 0) - (mpfr_cmp(x.get(), y.get()) < 0));
    }
    if (format_.ew < 9) {  // or else the quotient is too long
      compare("remainder", reference_.remainder(a, b),
              [&](auto r) { return mpfr_remainder(r, x.get(), y.get(), m); });
    }
  }

 private:
  IEEEFloat::format format_;
  FloatFormat reference_;
};

TEST(ReferenceFloats, AgreeWithMpfrOnAllSmallNumbers) {
  FloatSamples third({3, 3}, 1);
  const auto step = static_cast<unsigned>(one_in_when_sanitized(29));
  for (std::size_t ew = 2; ew <= 4; ++ew) {
    for (std::size_t mw = 1; mw + ew <= 6; ++mw) {
      const AgainstMpfr comparison({ew, mw});
      const unsigned count = 1u << (1 + ew + mw);
      for (unsigned a = 0; a < count; ++a) {
        for (unsigned b = a % step; b < count; b += step) {
          const auto c = static_cast<unsigned>(third.below(count));
          for (int mode = 0; mode < 4; ++mode) ASSERT_NO_FATAL_FAILURE(comparison.check(a, b, c, mode));
        }
      }
    }
  }
}

TEST(ReferenceFloats, AgreeWithMpfrOnLargeFormats) {
  for (const IEEEFloat::format f :
       {IEEEFloat::format{5, 10}, IEEEFloat::format{8, 7}, IEEEFloat::format{8, 23},
        IEEEFloat::format{11, 52}, IEEEFloat::format{15, 112}, IEEEFloat::format{4, 200},
        IEEEFloat::format{9, 300}}) {
    const AgainstMpfr comparison(f);
    FloatSamples samples(f, 7);
    for (int i = 0; i < num_cases(300); ++i) {
      const auto [a, b] = samples.next_pair();
      const mpz_class c = samples.next();
      ASSERT_NO_FATAL_FAILURE(comparison.check(a, b, c, static_cast<int>(samples.below(4))));
    }
  }
}

TEST(ReferenceFloats, ConvertAsMpfrDoes) {
  const IEEEFloat::format formats[] = {{2, 1}, {3, 4}, {5, 10}, {8, 23}, {11, 52}, {15, 112}, {4, 200}};
  for (const IEEEFloat::format f : formats) {
    FloatSamples samples(f, 8);
    const FloatFormat from(f.ew, f.mw);
    for (int i = 0; i < num_cases(200); ++i) {
      const mpz_class a = samples.next();
      const IEEEFloat::format t = formats[samples.below(std::size(formats))];
      const auto mode = static_cast<int>(samples.below(4));
      const FloatFormat to(t.ew, t.mw);
      MpfrFloat x(f.ew, f.mw);
      x.decode(a);
      MpfrFloat wanted(t.ew, t.mw);
      wanted.finish(mpfr_set(wanted.get(), x.get(), mpfr_modes[mode]), mpfr_modes[mode]);
      ASSERT_EQ(to.convert(a, from, static_cast<Rounding>(mode)).bits,
                wanted.is_nan() ? to.nan() : wanted.encode());
    }
  }
}

// Halves away from zero, the rounding that MPFR has for integers only.
TEST(ReferenceFloats, RoundHalvesAwayFromZero) {
  const FloatFormat f(5, 4);
  for (unsigned a = 0; a < 1u << 10; ++a) {
    if (!f.is_finite(a)) continue;
    MpfrFloat x(5, 4), wanted(5, 4);
    x.decode(a);
    mpfr_round(wanted.get(), x.get());
    ASSERT_EQ(f.round_to_integral(a, Rounding::nearest_away).bits, wanted.encode()) << a;
  }
  // Of the numbers of one bit more, those between two are halves.
  const FloatFormat wider(5, 5);
  for (unsigned a = 0; a < 1u << 10; ++a) {
    if (!wider.is_finite(a) || a % 2 == 0) continue;
    ASSERT_EQ(f.convert(a, wider, Rounding::nearest_away).bits, (a + 1) / 2) << a;
  }
}

template <class Real, class Bits>
void agrees_with_host(const FloatFormat& f, IEEEFloat::format format) {
  FloatSamples samples(format, 9);
  const auto bits_of = [&f](Real x) {
    return std::isnan(x) ? f.nan() : mpz_class(static_cast<unsigned long>(std::bit_cast<Bits>(x)));
  };
  const int host_modes[] = {FE_TONEAREST, FE_TOWARDZERO, FE_UPWARD, FE_DOWNWARD};
  for (int i = 0; i < num_cases(3000); ++i) {
    const auto [a, b] = samples.next_word_pair();
    const volatile Real x = std::bit_cast<Real>(static_cast<Bits>(a)),
                        y = std::bit_cast<Real>(static_cast<Bits>(b));
    const mpz_class p(static_cast<unsigned long>(a)), q(static_cast<unsigned long>(b));
    const auto mode = static_cast<int>(samples.below(4));
    const auto rounding = static_cast<Rounding>(mode);
    std::fesetround(host_modes[mode]);
    const volatile Real wanted[] = {
        x + y, x - y, x * y, x / y, std::sqrt(x), std::nearbyint(x), std::fma(x, y, x)};
    std::fesetround(FE_TONEAREST);
    const FloatResult found[] = {f.add(p, q, rounding),
                                 f.subtract(p, q, rounding),
                                 f.multiply(p, q, rounding),
                                 f.divide(p, q, rounding),
                                 f.square_root(p, rounding),
                                 f.round_to_integral(p, rounding),
                                 f.multiply_add(p, q, p, rounding)};
    for (std::size_t k = 0; k < std::size(found); ++k) {
      ASSERT_EQ(found[k].bits, bits_of(wanted[k]))
          << p << ", " << q << ", mode " << mode << ", operation " << k;
    }
    if (i % 16 == 0) {  // slow where exponents lie far apart
      ASSERT_EQ(f.remainder(p, q).bits, bits_of(std::remainder(x, y))) << p << " rem " << q;
    }
    const std::optional<mpz_class> integer = f.to_integer(p, 64, true, Rounding::toward_zero);
    const bool fits = std::fabs(x) < std::ldexp(Real(1), 63);
    ASSERT_EQ(integer.has_value(), fits || x == -std::ldexp(Real(1), 63)) << p;
    if (integer.has_value()) {
      ASSERT_EQ(*integer, static_cast<long>(x)) << p;
    }
  }
}

TEST(ReferenceFloats, AgreeWithTheHost) {
  agrees_with_host<float, std::uint32_t>(FloatFormat(8, 23), {8, 23});
  agrees_with_host<double, std::uint64_t>(FloatFormat(11, 52), {11, 52});
}

}  // namespace
}  // namespace quarv::reference
