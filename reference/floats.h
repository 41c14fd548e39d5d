/// \file
/// Binary floating point by exact rational arithmetic and one rounding, with the exceptions of IEEE 754. It
/// is slow, and exponents of more than about 20 bits make numbers too long for it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include <gmpxx.h>

namespace quarv::reference {

enum class Rounding : std::uint8_t {
  nearest_even,
  toward_zero,
  toward_positive,
  toward_negative,
  nearest_away
};

/// The exceptions of IEEE 754, section 7.
enum FloatException : unsigned { inexact = 1, underflow = 2, overflow = 4, divide_by_zero = 8, invalid = 16 };

/// An encoding and the exceptions raised on the way to it.
struct FloatResult {
  mpz_class bits;
  unsigned exceptions = 0;
};

/// 2^exponent.
mpq_class power_of_two(long exponent);

/// The integer to which `x` is rounded.
mpz_class rounded_integer(const mpq_class& x, Rounding rounding);

/// The arithmetic of one format: `ew` exponent bits, `mw` stored significand bits. Operands and results are
/// encodings of 1 + ew + mw bits. The only NaN among the results is positive and quiet, without payload.
class FloatFormat {
 public:
  FloatFormat(std::size_t ew, std::size_t mw);

  std::size_t exponent_bits() const { return ew_; }
  std::size_t significand_bits() const { return mw_; }

  mpz_class nan() const { return infinity_ + (mpz_class(1) << (mw_ - 1)); }
  mpz_class infinity(bool negative) const { return with_sign(negative, infinity_); }
  mpz_class zero(bool negative) const { return with_sign(negative, 0); }

  bool is_negative(const mpz_class& x) const { return x >= sign_bit_; }
  mpz_class magnitude(const mpz_class& x) const { return is_negative(x) ? mpz_class(x - sign_bit_) : x; }
  mpz_class with_sign(bool negative, const mpz_class& magnitude) const {
    return negative ? mpz_class(sign_bit_ + magnitude) : magnitude;
  }
  bool is_nan(const mpz_class& x) const { return magnitude(x) > infinity_; }
  bool is_signalling(const mpz_class& x) const { return is_nan(x) && magnitude(x) < nan(); }
  bool is_infinite(const mpz_class& x) const { return magnitude(x) == infinity_; }
  bool is_finite(const mpz_class& x) const { return magnitude(x) < infinity_; }
  bool is_zero(const mpz_class& x) const { return magnitude(x) == 0; }
  bool is_subnormal(const mpz_class& x) const { return !is_zero(x) && (magnitude(x) >> mw_) == 0; }
  bool is_normal(const mpz_class& x) const { return is_finite(x) && (magnitude(x) >> mw_) != 0; }

  /// The value of a finite number.
  mpq_class value(const mpz_class& x) const;

  /// Rounds a number; 0 becomes the zero of that sign.
  FloatResult round(const mpq_class& exact, Rounding rounding, bool negative_zero = false) const;

  FloatResult add(const mpz_class& a, const mpz_class& b, Rounding rounding) const;
  FloatResult subtract(const mpz_class& a, const mpz_class& b, Rounding rounding) const;
  FloatResult multiply(const mpz_class& a, const mpz_class& b, Rounding rounding) const;
  FloatResult divide(const mpz_class& a, const mpz_class& b, Rounding rounding) const;
  FloatResult square_root(const mpz_class& a, Rounding rounding) const;
  FloatResult round_to_integral(const mpz_class& a, Rounding rounding) const;
  /// a * b + c, rounded once.
  FloatResult multiply_add(const mpz_class& a, const mpz_class& b, const mpz_class& c,
                           Rounding rounding) const;
  /// a - b * n, n being the integer nearest to a / b, the even one of two.
  FloatResult remainder(const mpz_class& a, const mpz_class& b) const;
  /// A number of the format `from`, in this format.
  FloatResult convert(const mpz_class& a, const FloatFormat& from, Rounding rounding) const;

  /// The integer to which a number is rounded, if it is one of the signed or unsigned integers of that width.
  std::optional<mpz_class> to_integer(const mpz_class& a, std::size_t width, bool is_signed,
                                      Rounding rounding) const;

  /// -1, 0 or 1 for numbers that are not NaN.
  int compare(const mpz_class& a, const mpz_class& b) const;

 private:
  FloatResult nan_result(unsigned exceptions) const { return {nan(), exceptions}; }
  unsigned signals(const mpz_class& a) const { return is_signalling(a) ? unsigned{invalid} : 0; }
  FloatResult exact_sum(const mpq_class& sum, bool negative_a, bool negative_b, Rounding rounding) const;

  std::size_t ew_;
  std::size_t mw_;
  long least_exponent_;  ///< of the last bit of subnormal numbers
  mpz_class sign_bit_;
  mpz_class infinity_;
};

}  // namespace quarv::reference
