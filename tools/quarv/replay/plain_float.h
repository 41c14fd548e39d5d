#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include <gmpxx.h>

/// IEEE 754 arithmetic over exact rational numbers: slow and simple, to check others with.
namespace quarv::cli {

struct FloatFormat {
  std::size_t exponent = 0;     ///< bits of the exponent
  std::size_t significand = 0;  ///< bits of the significand, with the hidden one

  std::size_t width() const { return exponent + significand; }
  bool operator==(const FloatFormat&) const = default;
};

enum class Rounding : std::uint8_t { to_even, to_away, up, down, to_zero };

struct PlainFloat {
  enum Kind : std::uint8_t { finite, infinite, nan };
  Kind kind = finite;
  bool negative = false;  ///< of zeros and infinities too
  mpq_class value;        ///< of finite ones

  /// What an encoding stands for. The exponent has at most `largest_exponent` bits.
  static PlainFloat decode(const mpz_class& bits, FloatFormat format);
  static constexpr std::size_t largest_exponent = 20;

  bool is_zero() const { return kind == finite && value == 0; }
  PlainFloat negated() const;

  /// -1, 0, 1 as `a` is less than, equal to or greater than `b`; nothing when one is NaN. Zeros are equal.
  static std::optional<int> compare(const PlainFloat& a, const PlainFloat& b);

  // Exact results; zeros have the sign that the rounding mode asks for.
  static PlainFloat sum(const PlainFloat& a, const PlainFloat& b, Rounding mode);
  static PlainFloat product(const PlainFloat& a, const PlainFloat& b);
  static PlainFloat quotient(const PlainFloat& a, const PlainFloat& b);
  /// Exact, or a number that is rounded to `format` as the root would be.
  static PlainFloat root(const PlainFloat& a, FloatFormat format);

  /// The encoding of this in `format`; nothing for NaN, which has many.
  std::optional<mpz_class> encode(FloatFormat format, Rounding mode) const;
};

/// An integer next to `value`.
mpz_class rounded_to_integer(const mpq_class& value, bool negative, Rounding mode);

}  // namespace quarv::cli
