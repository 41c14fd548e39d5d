#include "replay/plain_float.h"

#include <algorithm>

namespace quarv::cli {

namespace {

mpq_class power_of_two(long exponent) {
  mpq_class power = 1;
  if (exponent >= 0) {
    mpq_mul_2exp(power.get_mpq_t(), power.get_mpq_t(), static_cast<mp_bitcnt_t>(exponent));
  } else {
    mpq_div_2exp(power.get_mpq_t(), power.get_mpq_t(), static_cast<mp_bitcnt_t>(-exponent));
  }
  return power;
}

/// The integer part of the logarithm of a positive number to base 2.
long logarithm(const mpq_class& q) {
  const auto bits = [](const mpz_class& z) { return static_cast<long>(mpz_sizeinbase(z.get_mpz_t(), 2)); };
  const long estimate = bits(q.get_num()) - bits(q.get_den());
  return q < power_of_two(estimate) ? estimate - 1 : estimate;
}

long smallest_exponent(FloatFormat f) {
  return 2 - (1L << (f.exponent - 1));
}

/// The exponent of the last place of a number of that logarithm.
long last_place(long logarithm, FloatFormat f) {
  return std::max(logarithm, smallest_exponent(f)) - static_cast<long>(f.significand) + 1;
}

mpz_class infinity(FloatFormat f) {
  return ((mpz_class(1) << f.exponent) - 1) << (f.significand - 1);
}

}  // namespace

mpz_class rounded_to_integer(const mpq_class& value, bool negative, Rounding mode) {
  const mpq_class magnitude = abs(value);
  mpz_class n = magnitude.get_num() / magnitude.get_den();
  const mpq_class rest = magnitude - n;
  const int half = cmp(rest, mpq_class(1, 2));
  bool away = false;
  switch (mode) {
    case Rounding::to_even:
      away = half > 0 || (half == 0 && mpz_odd_p(n.get_mpz_t()) != 0);
      break;
    case Rounding::to_away:
      away = half >= 0;
      break;
    case Rounding::up:
      away = rest != 0 && !negative;
      break;
    case Rounding::down:
      away = rest != 0 && negative;
      break;
    case Rounding::to_zero:
      break;
  }
  if (away) ++n;
  return negative ? mpz_class(-n) : n;
}

PlainFloat PlainFloat::decode(const mpz_class& bits, FloatFormat f) {
  PlainFloat x;
  const mpz_class hidden = mpz_class(1) << (f.significand - 1);
  const mpz_class fraction = bits % hidden;
  const mpz_class biased = (bits / hidden) % (mpz_class(1) << f.exponent);
  x.negative = mpz_tstbit(bits.get_mpz_t(), f.width() - 1) != 0;
  if (biased == (mpz_class(1) << f.exponent) - 1) {
    x.kind = fraction == 0 ? infinite : nan;
    return x;
  }
  const bool normal = biased != 0;
  const long exponent = (normal ? biased.get_si() - 1 : 0) + smallest_exponent(f);
  x.value = mpz_class(normal ? hidden + fraction : fraction) *
            power_of_two(exponent - static_cast<long>(f.significand) + 1);
  if (x.negative) x.value = -x.value;
  return x;
}

std::optional<mpz_class> PlainFloat::encode(FloatFormat f, Rounding mode) const {
  if (kind == nan) return std::nullopt;
  const mpz_class sign = mpz_class(negative ? 1 : 0) << (f.width() - 1);
  if (kind == infinite) return sign + infinity(f);
  if (value == 0) return sign;
  const long place = last_place(logarithm(abs(value)), f);
  const mpz_class n = abs(rounded_to_integer(value * power_of_two(-place), negative, mode));
  // The encodings of magnitudes are in ascending order without gaps: what is carried goes to the exponent.
  const mpz_class steps = mpz_class(place - last_place(smallest_exponent(f), f)) << (f.significand - 1);
  const mpz_class magnitude = steps + n;
  if (magnitude < infinity(f)) return sign + magnitude;
  const bool stays_finite = mode == Rounding::to_zero || mode == (negative ? Rounding::up : Rounding::down);
  return sign + infinity(f) - (stays_finite ? 1 : 0);
}

PlainFloat PlainFloat::negated() const {
  PlainFloat x = *this;
  x.negative = !negative;
  x.value = -value;
  return x;
}

std::optional<int> PlainFloat::compare(const PlainFloat& a, const PlainFloat& b) {
  if (a.kind == nan || b.kind == nan) return std::nullopt;
  const auto infinite_sign = [](const PlainFloat& x) {
    return x.kind == infinite ? (x.negative ? -1 : 1) : 0;
  };
  const int difference = infinite_sign(a) - infinite_sign(b);
  const int order = difference != 0 || a.kind == infinite ? difference : cmp(a.value, b.value);
  return (order > 0 ? 1 : 0) - (order < 0 ? 1 : 0);
}

PlainFloat PlainFloat::sum(const PlainFloat& a, const PlainFloat& b, Rounding mode) {
  PlainFloat x;
  if (a.kind != finite || b.kind != finite) {
    const bool undefined = a.kind == b.kind && a.negative != b.negative;
    if (a.kind == nan || b.kind == nan || undefined) {
      x.kind = nan;
      return x;
    }
    return a.kind == infinite ? a : b;
  }
  x.value = a.value + b.value;
  const bool zeros = a.is_zero() && b.is_zero() && a.negative == b.negative;
  x.negative = x.value != 0 ? x.value < 0 : zeros ? a.negative : mode == Rounding::down;
  return x;
}

PlainFloat PlainFloat::product(const PlainFloat& a, const PlainFloat& b) {
  PlainFloat x;
  x.negative = a.negative != b.negative;
  if (a.kind == finite && b.kind == finite) {
    x.value = a.value * b.value;
  } else {
    x.kind = a.kind == nan || b.kind == nan || a.is_zero() || b.is_zero() ? nan : infinite;
  }
  return x;
}

PlainFloat PlainFloat::quotient(const PlainFloat& a, const PlainFloat& b) {
  PlainFloat x;
  x.negative = a.negative != b.negative;
  if (a.kind == nan || b.kind == nan || (a.kind == infinite && b.kind == infinite) ||
      (a.is_zero() && b.is_zero())) {
    x.kind = nan;
  } else if (a.kind == infinite || b.is_zero()) {
    x.kind = infinite;
  } else if (b.kind == finite) {
    x.value = a.value / b.value;
  }
  return x;
}

PlainFloat PlainFloat::root(const PlainFloat& a, FloatFormat f) {
  PlainFloat x = a;
  if (a.kind == nan || a.is_zero()) return x;
  if (a.negative) x.kind = nan;
  if (x.kind != finite) return x;
  const long exponent = logarithm(a.value);
  const long half = exponent >= 0 ? exponent / 2 : -((1 - exponent) / 2);
  const long place = last_place(half, f);
  const mpq_class square = a.value * power_of_two(-2 * place);
  mpz_class n = square.get_num() / square.get_den();
  mpz_sqrt(n.get_mpz_t(), n.get_mpz_t());
  // Where between two integers the root is, as far as rounding asks.
  const mpq_class middle = n + mpq_class(1, 2);
  const int side = cmp(square, mpq_class(middle * middle));
  const mpq_class rest = n * n == square ? mpq_class(0) : mpq_class(2 + side, 4);
  x.value = (n + rest) * power_of_two(place);
  return x;
}

}  // namespace quarv::cli
