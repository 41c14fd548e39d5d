/// \file
/// A second definition of floating-point arithmetic for formats of a few bits: the list of all finite numbers
/// as exact rationals, in which the neighbours of an exact result are looked up.
#pragma once

#include <ostream>
#include <vector>

#include <gmpxx.h>

#include <quarv/numbers/ieee_float.h>

namespace quarv {

/// The encoding of a result and the exceptions that it raises.
struct FloatOutcome {
  unsigned bits;
  unsigned flags;
  bool operator==(const FloatOutcome&) const = default;
};

/// How GoogleTest shows an outcome.
inline void PrintTo(const FloatOutcome& x, std::ostream* out) {
  *out << x.bits << " with exceptions " << x.flags;
}

class FloatReference {
 public:
  using Mode = IEEEFloat::rounding_mode;

  explicit FloatReference(IEEEFloat::format f) : format_(f) {
    const long bias = (1L << (f.ew - 1)) - 1;
    for (unsigned field = 0; field + 1 < (1u << f.ew); ++field) {
      for (unsigned fraction = 0; fraction < (1u << f.mw); ++fraction) {
        const long hidden = field == 0 ? 0 : 1L << f.mw;
        const long exponent = (field == 0 ? 1 : static_cast<long>(field)) - bias - static_cast<long>(f.mw);
        finite_.push_back(mpq_class(hidden + fraction) * power_of_two(exponent));
      }
    }
    limit_ = 2 * finite_.back() - finite_[finite_.size() - 2];
    least_normal_ = power_of_two(1 - bias);
  }

  IEEEFloat::format format() const { return format_; }
  unsigned count() const { return 1u << format_.width(); }
  unsigned sign_bit() const { return count() / 2; }
  unsigned infinity() const { return static_cast<unsigned>(finite_.size()); }
  unsigned nan() const { return infinity() + (1u << (format_.mw - 1)); }

  unsigned magnitude(unsigned bits) const { return bits % sign_bit(); }
  bool negative(unsigned bits) const { return bits >= sign_bit(); }
  bool is_nan(unsigned bits) const { return magnitude(bits) > infinity(); }
  bool is_signalling(unsigned bits) const { return is_nan(bits) && magnitude(bits) < nan(); }
  bool is_inf(unsigned bits) const { return magnitude(bits) == infinity(); }
  bool is_zero(unsigned bits) const { return magnitude(bits) == 0; }
  bool is_finite(unsigned bits) const { return magnitude(bits) < infinity(); }
  mpq_class value(unsigned bits) const {
    const mpq_class& v = finite_[magnitude(bits)];
    return negative(bits) ? mpq_class(-v) : v;
  }
  unsigned zero(bool sign) const { return sign ? sign_bit() : 0; }
  unsigned inf(bool sign) const { return zero(sign) + infinity(); }

  /// Rounds a number other than 0.
  FloatOutcome round(const mpq_class& exact, Mode mode) const {
    const mpq_class size = abs(exact);
    return round_by(sgn(exact) < 0, mode, [&](const mpq_class& x) { return cmp(size, x); });
  }

  /// Rounds the root of a number above 0.
  FloatOutcome round_root(const mpq_class& square, Mode mode) const {
    return round_by(false, mode, [&](const mpq_class& x) { return cmp(square, mpq_class(x * x)); });
  }

  FloatOutcome add(unsigned a, unsigned b, Mode mode) const {
    if (is_nan(a) || is_nan(b)) return nan_operand(a, b);
    if (is_inf(a) && is_inf(b) && a != b) return invalid();
    if (is_inf(a) || is_inf(b)) return {is_inf(a) ? a : b, 0};
    const mpq_class sum = value(a) + value(b);
    if (sgn(sum) != 0) return round(sum, mode);
    const bool both_negative = negative(a) && negative(b);
    const bool both_positive = !negative(a) && !negative(b);
    return {zero(both_negative || (!both_positive && mode == IEEEFloat::round_toward_negative)), 0};
  }

  FloatOutcome subtract(unsigned a, unsigned b, Mode mode) const { return add(a, b ^ sign_bit(), mode); }

  FloatOutcome multiply(unsigned a, unsigned b, Mode mode) const {
    const bool sign = negative(a) != negative(b);
    if (is_nan(a) || is_nan(b)) return nan_operand(a, b);
    if ((is_inf(a) && is_zero(b)) || (is_zero(a) && is_inf(b))) return invalid();
    if (is_inf(a) || is_inf(b)) return {inf(sign), 0};
    if (is_zero(a) || is_zero(b)) return {zero(sign), 0};
    return round(value(a) * value(b), mode);
  }

  FloatOutcome divide(unsigned a, unsigned b, Mode mode) const {
    const bool sign = negative(a) != negative(b);
    if (is_nan(a) || is_nan(b)) return nan_operand(a, b);
    if ((is_inf(a) && is_inf(b)) || (is_zero(a) && is_zero(b))) return invalid();
    if (is_inf(a)) return {inf(sign), 0};
    if (is_inf(b) || is_zero(a)) return {zero(sign), 0};
    if (is_zero(b)) return {inf(sign), swflt::flag_divide_by_zero};
    return round(value(a) / value(b), mode);
  }

  FloatOutcome square_root(unsigned a, Mode mode) const {
    if (is_nan(a)) return nan_operand(a, a);
    if (is_zero(a)) return {a, 0};
    if (negative(a)) return invalid();
    if (is_inf(a)) return {a, 0};
    return round_root(value(a), mode);
  }

  /// Converts an encoding of this format.
  FloatOutcome convert(unsigned a, const FloatReference& to, Mode mode) const {
    if (is_nan(a)) return {to.nan(), is_signalling(a) ? unsigned{swflt::flag_invalid} : 0};
    if (is_inf(a)) return {to.inf(negative(a)), 0};
    if (is_zero(a)) return {to.zero(negative(a)), 0};
    return to.round(value(a), mode);
  }

  FloatOutcome round_to_integral(unsigned a, Mode mode) const {
    if (is_nan(a)) return nan_operand(a, a);
    if (is_inf(a) || is_zero(a)) return {a, 0};
    const mpq_class integer = rounded_integer(value(a), mode);
    const unsigned inexact = integer != value(a) ? unsigned{swflt::flag_inexact} : 0;
    if (sgn(integer) == 0) return {zero(negative(a)), inexact};
    FloatOutcome result = round(integer, mode);
    result.flags |= inexact;
    return result;
  }

  static mpz_class rounded_integer(const mpq_class& v, Mode mode) {
    mpz_class below;
    mpz_fdiv_q(below.get_mpz_t(), v.get_num_mpz_t(), v.get_den_mpz_t());
    if (v == below) return below;
    const mpz_class above = below + 1;
    if (mode == IEEEFloat::round_toward_negative) return below;
    if (mode == IEEEFloat::round_toward_positive) return above;
    if (mode == IEEEFloat::round_toward_zero) return sgn(v) < 0 ? above : below;
    const int side = cmp(mpq_class(v - below), mpq_class(1, 2));
    if (side != 0) return side < 0 ? below : above;
    return mpz_even_p(below.get_mpz_t()) ? below : above;
  }

 private:
  static mpq_class power_of_two(long exponent) {
    const mpq_class power(mpz_class(1) << static_cast<unsigned long>(exponent < 0 ? -exponent : exponent));
    return exponent < 0 ? mpq_class(1 / power) : power;
  }

  FloatOutcome invalid() const { return {nan(), swflt::flag_invalid}; }
  FloatOutcome nan_operand(unsigned a, unsigned b) const {
    return {nan(), is_signalling(a) || is_signalling(b) ? unsigned{swflt::flag_invalid} : 0};
  }

  /// Rounds the magnitude for which `compare(x)` is the sign of its difference from x.
  template <class Compare>
  FloatOutcome round_by(bool sign, Mode mode, Compare compare) const {
    using namespace swflt;
    unsigned low = 0,
             high = infinity();  // the magnitude is at least `low`, and less than `high` if that is finite
    while (high - low > 1) {
      const unsigned middle = (low + high) / 2;
      (compare(finite_[middle]) >= 0 ? low : high) = middle;
    }
    if (compare(finite_[low]) == 0) return {zero(sign) + low, 0};
    const bool last = low + 1 == infinity();
    const bool beyond_limit = last && compare(limit_) >= 0;
    const bool up = beyond_limit ? away_beyond_limit(sign, mode) : away(sign, mode, low, compare);
    unsigned flags = flag_inexact;
    if (beyond_limit || (up && last)) flags |= flag_overflow;
    if (compare(least_normal_) < 0) flags |= flag_underflow;
    return {zero(sign) + low + up, flags};
  }

  static bool away_beyond_limit(bool sign, Mode mode) {
    return mode == IEEEFloat::round_nearest_even || mode == directed_away(sign);
  }

  template <class Compare>
  bool away(bool sign, Mode mode, unsigned low, Compare compare) const {
    if (mode != IEEEFloat::round_nearest_even) return mode == directed_away(sign);
    const mpq_class& next = low + 1 == infinity() ? limit_ : finite_[low + 1];
    const int side = compare(mpq_class((finite_[low] + next) / 2));
    return side > 0 || (side == 0 && low % 2 == 1);
  }

  static Mode directed_away(bool sign) {
    return sign ? IEEEFloat::round_toward_negative : IEEEFloat::round_toward_positive;
  }

  IEEEFloat::format format_;
  std::vector<mpq_class> finite_;  ///< by encoding
  mpq_class limit_;                ///< what the encoding of infinity would be if it were finite
  mpq_class least_normal_;
};

}  // namespace quarv
