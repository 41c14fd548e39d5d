#include "reference/floats.h"

#include <algorithm>

namespace quarv::reference {

namespace {

/// Whether the magnitude of a number is rounded up, given the part below the last bit kept, in 0 .. 1, and
/// whether that bit is 1.
bool rounds_up(Rounding rounding, bool negative, const mpq_class& rest, bool odd) {
  const int half = cmp(rest, mpq_class(1, 2));
  switch (rounding) {
    case Rounding::nearest_even:
      return half > 0 || (half == 0 && odd);
    case Rounding::nearest_away:
      return half >= 0;
    case Rounding::toward_positive:
      return !negative && sgn(rest) != 0;
    case Rounding::toward_negative:
      return negative && sgn(rest) != 0;
    default:
      return false;
  }
}

mpz_class floor(const mpq_class& x) {
  mpz_class result;
  mpz_fdiv_q(result.get_mpz_t(), x.get_num_mpz_t(), x.get_den_mpz_t());
  return result;
}

/// The largest e with 2^e <= x, for a positive x.
long floor_log2(const mpq_class& x) {
  const long guess = static_cast<long>(mpz_sizeinbase(x.get_num_mpz_t(), 2)) -
                     static_cast<long>(mpz_sizeinbase(x.get_den_mpz_t(), 2));
  return x < power_of_two(guess) ? guess - 1 : guess;
}

}  // namespace

mpq_class power_of_two(long exponent) {
  mpq_class result(1);
  if (exponent >= 0) {
    mpq_mul_2exp(result.get_mpq_t(), result.get_mpq_t(), static_cast<unsigned long>(exponent));
  } else {
    mpq_div_2exp(result.get_mpq_t(), result.get_mpq_t(), static_cast<unsigned long>(-exponent));
  }
  return result;
}

mpz_class rounded_integer(const mpq_class& x, Rounding rounding) {
  const mpq_class size = abs(x);
  const mpz_class below = floor(size);
  const bool up = rounds_up(rounding, sgn(x) < 0, size - below, mpz_odd_p(below.get_mpz_t()) != 0);
  const mpz_class result = up ? mpz_class(below + 1) : below;
  return sgn(x) < 0 ? mpz_class(-result) : result;
}

FloatFormat::FloatFormat(std::size_t ew, std::size_t mw)
    : ew_(ew),
      mw_(mw),
      least_exponent_(2 - (1L << (ew - 1)) - static_cast<long>(mw)),
      sign_bit_(mpz_class(1) << (ew + mw)),
      infinity_(((mpz_class(1) << ew) - 1) << mw) {}

mpq_class FloatFormat::value(const mpz_class& x) const {
  const mpz_class size = magnitude(x);
  const mpz_class field = size >> mw_;
  mpz_class significand = size - (field << mw_);
  if (field != 0) significand += mpz_class(1) << mw_;
  const long exponent = least_exponent_ + (field == 0 ? 0 : field.get_si() - 1);
  const mpq_class result = mpq_class(significand) * power_of_two(exponent);
  return is_negative(x) ? mpq_class(-result) : result;
}

FloatResult FloatFormat::round(const mpq_class& exact, Rounding rounding, bool negative_zero) const {
  if (sgn(exact) == 0) return {zero(negative_zero), 0};
  const bool negative = sgn(exact) < 0;
  const mpq_class size = abs(exact);
  const long stored_bits = static_cast<long>(mw_);
  const long first_bit = floor_log2(size);
  const long last_bit = std::max(first_bit - stored_bits, least_exponent_);
  const mpq_class scaled = size * power_of_two(-last_bit);
  mpz_class significand = floor(scaled);
  const mpq_class rest = scaled - significand;
  FloatResult result;
  if (sgn(rest) != 0) {
    result.exceptions = inexact;
    if (first_bit < least_exponent_ + stored_bits) result.exceptions |= underflow;
  }
  if (rounds_up(rounding, negative, rest, mpz_odd_p(significand.get_mpz_t()) != 0)) ++significand;
  // The hidden bit counts as one in the exponent's field; a carry out of the significand does what it must.
  mpz_class magnitude = (mpz_class(last_bit - least_exponent_) << mw_) + significand;
  if (magnitude >= infinity_) {
    result.exceptions |= overflow | inexact;
    const bool to_infinity = rounding == Rounding::nearest_even || rounding == Rounding::nearest_away ||
                             rounding == (negative ? Rounding::toward_negative : Rounding::toward_positive);
    magnitude = to_infinity ? infinity_ : mpz_class(infinity_ - 1);
  }
  result.bits = with_sign(negative, magnitude);
  return result;
}

/// A sum of zeros keeps their common sign; any other sum of 0 is positive unless rounding is downward.
FloatResult FloatFormat::exact_sum(const mpq_class& sum, bool negative_a, bool negative_b,
                                   Rounding rounding) const {
  const bool negative = negative_a == negative_b ? negative_a : rounding == Rounding::toward_negative;
  return round(sum, rounding, negative);
}

FloatResult FloatFormat::add(const mpz_class& a, const mpz_class& b, Rounding rounding) const {
  if (is_nan(a) || is_nan(b)) return nan_result(signals(a) | signals(b));
  if (is_infinite(a) && is_infinite(b) && a != b) return nan_result(invalid);
  if (is_infinite(a) || is_infinite(b)) return {is_infinite(a) ? a : b, 0};
  return exact_sum(value(a) + value(b), is_negative(a), is_negative(b), rounding);
}

FloatResult FloatFormat::subtract(const mpz_class& a, const mpz_class& b, Rounding rounding) const {
  return add(a, with_sign(!is_negative(b), magnitude(b)), rounding);
}

FloatResult FloatFormat::multiply(const mpz_class& a, const mpz_class& b, Rounding rounding) const {
  const bool negative = is_negative(a) != is_negative(b);
  if (is_nan(a) || is_nan(b)) return nan_result(signals(a) | signals(b));
  if ((is_infinite(a) && is_zero(b)) || (is_zero(a) && is_infinite(b))) return nan_result(invalid);
  if (is_infinite(a) || is_infinite(b)) return {infinity(negative), 0};
  return round(value(a) * value(b), rounding, negative);
}

FloatResult FloatFormat::divide(const mpz_class& a, const mpz_class& b, Rounding rounding) const {
  const bool negative = is_negative(a) != is_negative(b);
  if (is_nan(a) || is_nan(b)) return nan_result(signals(a) | signals(b));
  if ((is_infinite(a) && is_infinite(b)) || (is_zero(a) && is_zero(b))) return nan_result(invalid);
  if (is_infinite(a)) return {infinity(negative), 0};
  if (is_infinite(b)) return {zero(negative), 0};
  if (is_zero(b)) return {infinity(negative), divide_by_zero};
  return round(value(a) / value(b), rounding, negative);
}

FloatResult FloatFormat::square_root(const mpz_class& a, Rounding rounding) const {
  if (is_nan(a)) return nan_result(signals(a));
  if (is_zero(a)) return {a, 0};
  if (is_negative(a)) return nan_result(invalid);
  if (is_infinite(a)) return {a, 0};
  // Two more bits than are kept: what is cut off never lies on a border between two results, so any smaller
  // amount may stand for it.
  const mpq_class square = value(a);
  const long shift = static_cast<long>(mw_) + 2 - (floor_log2(square) >> 1);
  const mpz_class scaled = floor(square * power_of_two(2 * shift));
  mpz_class root;
  mpz_sqrt(root.get_mpz_t(), scaled.get_mpz_t());
  mpq_class result = mpq_class(root) * power_of_two(-shift);
  if (result * result != square) result += power_of_two(-shift - 1);
  return round(result, rounding);
}

FloatResult FloatFormat::round_to_integral(const mpz_class& a, Rounding rounding) const {
  if (is_nan(a)) return nan_result(signals(a));
  if (is_infinite(a)) return {a, 0};
  const mpq_class exact = value(a);
  const mpz_class integer = rounded_integer(exact, rounding);
  FloatResult result = round(integer, rounding, is_negative(a));
  if (integer != exact) result.exceptions |= inexact;
  return result;
}

FloatResult FloatFormat::multiply_add(const mpz_class& a, const mpz_class& b, const mpz_class& c,
                                      Rounding rounding) const {
  const bool negative = is_negative(a) != is_negative(b);
  if (is_nan(a) || is_nan(b) || is_nan(c)) return nan_result(signals(a) | signals(b) | signals(c));
  if ((is_infinite(a) && is_zero(b)) || (is_zero(a) && is_infinite(b))) return nan_result(invalid);
  if (is_infinite(a) || is_infinite(b)) {
    if (is_infinite(c) && is_negative(c) != negative) return nan_result(invalid);
    return {infinity(negative), 0};
  }
  if (is_infinite(c)) return {c, 0};
  return exact_sum(value(a) * value(b) + value(c), negative, is_negative(c), rounding);
}

FloatResult FloatFormat::remainder(const mpz_class& a, const mpz_class& b) const {
  if (is_nan(a) || is_nan(b)) return nan_result(signals(a) | signals(b));
  if (is_infinite(a) || is_zero(b)) return nan_result(invalid);
  if (is_infinite(b)) return {a, 0};
  const mpq_class dividend = value(a), divisor = value(b);
  const mpz_class quotient = rounded_integer(dividend / divisor, Rounding::nearest_even);
  return round(dividend - divisor * quotient, Rounding::nearest_even, is_negative(a));
}

FloatResult FloatFormat::convert(const mpz_class& a, const FloatFormat& from, Rounding rounding) const {
  if (from.is_nan(a)) return nan_result(from.signals(a));
  if (from.is_infinite(a)) return {infinity(from.is_negative(a)), 0};
  return round(from.value(a), rounding, from.is_negative(a));
}

std::optional<mpz_class> FloatFormat::to_integer(const mpz_class& a, std::size_t width, bool is_signed,
                                                 Rounding rounding) const {
  if (!is_finite(a)) return std::nullopt;
  mpz_class result = rounded_integer(value(a), rounding);
  const mpz_class bound = mpz_class(1) << (is_signed ? width - 1 : width);
  if (result >= bound || result < (is_signed ? mpz_class(-bound) : mpz_class(0))) return std::nullopt;
  return result;
}

int FloatFormat::compare(const mpz_class& a, const mpz_class& b) const {
  const mpz_class x = is_negative(a) ? mpz_class(-magnitude(a)) : a;
  const mpz_class y = is_negative(b) ? mpz_class(-magnitude(b)) : b;
  const int order = cmp(x, y);
  return (order > 0) - (order < 0);
}

}  // namespace quarv::reference
