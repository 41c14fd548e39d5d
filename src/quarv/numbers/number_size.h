#pragma once

#include <algorithm>
#include <cstddef>

#include <quarv/numbers/q_number.h>

namespace quarv {

/// The most bits of numerator or denominator that simplifiers compute, and the widest bit-vector literals
/// that they make: what a short text can cost must have a bound. Larger operations are left as they are.
inline constexpr std::size_t max_number_bits = std::size_t{1} << 24;

/// Bits of the numerator's magnitude, and of the denominator.
inline std::size_t numerator_bits(const QNumber& x) {
  return x.is_small() ? 63 : mpz_sizeinbase(x.big_num(), 2);
}
inline std::size_t denominator_bits(const QNumber& x) {
  return x.is_small() ? 63 : mpz_sizeinbase(x.big_den(), 2);
}

/// Bits of numerator or denominator, whichever has more.
inline std::size_t number_bits(const QNumber& x) {
  return std::max(numerator_bits(x), denominator_bits(x));
}

/// Bounds for the bits of a * b, of a + b and of a - b.
inline std::size_t product_bits(const QNumber& a, const QNumber& b) {
  return std::max(numerator_bits(a) + numerator_bits(b), denominator_bits(a) + denominator_bits(b));
}
inline std::size_t sum_bits(const QNumber& a, const QNumber& b) {
  if (a.is_integer() && b.is_integer()) return std::max(numerator_bits(a), numerator_bits(b)) + 1;
  return std::max({numerator_bits(a) + denominator_bits(b), numerator_bits(b) + denominator_bits(a),
                   denominator_bits(a) + denominator_bits(b)}) +
         1;
}

}  // namespace quarv
