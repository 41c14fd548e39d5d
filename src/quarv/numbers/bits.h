/// \file
/// The operations on bit-vectors, on words and on integers of any size.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include <gmp.h>

#include <quarv/numbers/gmp_product.h>

/// The operations on bit-vectors, under the same names for the two ways of holding one of width w: a machine
/// word when w is at most 64, a GMP integer for every w. An operator's rule is written from them once, with
/// `auto` for either. The first operand is replaced by the result.
///
/// A value is *reduced* when it lies in 0 .. 2^w - 1. Results need not be: of a word the lower w bits count,
/// of an integer its residue modulo 2^w. What needs reduced operands says so. In place, a GMP integer
/// allocates only to grow.
namespace quarv::bits {

/// A bit-vector of up to 64 bits.
using Word = std::uint64_t;

/// The number of bits in a `Word`.
inline constexpr std::size_t word_bits = 64;

/// x = 2^w. \pre w < 64 of a word
inline void set_power(Word& x, std::size_t w) {
  x = Word{1} << w;
}
inline void set_power(mpz_ptr x, std::size_t w) {
  mpz_set_ui(x, 1);
  mpz_mul_2exp(x, x, w);
}

/// Reduces x modulo 2^w.
inline void reduce(Word& x, std::size_t w) {
  if (w < word_bits) x &= (Word{1} << w) - 1;
}
inline void reduce(mpz_ptr x, std::size_t w) {
  if (mpz_sgn(x) < 0 || mpz_sizeinbase(x, 2) > w) mpz_fdiv_r_2exp(x, x, w);
}

/// Bit i, of an integer in two's complement with infinitely many sign bits. \pre i < 64 of a word
inline bool bit(Word x, std::size_t i) {
  return (x >> i & 1) != 0;
}
inline bool bit(mpz_srcptr x, std::size_t i) {
  return mpz_tstbit(x, i) != 0;
}

/// \name Bit by bit
/// \{
inline void and_with(Word& x, Word y) {
  x &= y;
}
inline void and_with(mpz_ptr x, mpz_srcptr y) {
  mpz_and(x, x, y);
}
inline void or_with(Word& x, Word y) {
  x |= y;
}
inline void or_with(mpz_ptr x, mpz_srcptr y) {
  mpz_ior(x, x, y);
}
inline void xor_with(Word& x, Word y) {
  x ^= y;
}
inline void xor_with(mpz_ptr x, mpz_srcptr y) {
  mpz_xor(x, x, y);
}
inline void complement(Word& x) {
  x = ~x;
}
inline void complement(mpz_ptr x) {
  mpz_com(x, x);
}
/// \}

/// \name Arithmetic
/// \{
inline void negate(Word& x) {
  x = -x;
}
inline void negate(mpz_ptr x) {
  mpz_neg(x, x);
}
inline void add(Word& x, Word y) {
  x += y;
}
inline void add(mpz_ptr x, mpz_srcptr y) {
  mpz_add(x, x, y);
}
inline void subtract(Word& x, Word y) {
  x -= y;
}
inline void subtract(mpz_ptr x, mpz_srcptr y) {
  mpz_sub(x, x, y);
}
inline void multiply(Word& x, Word y) {
  x *= y;
}
inline void multiply(mpz_ptr x, mpz_srcptr y) {
  quarv::multiply(x, x, y);
}
/// \}

/// \name Shifts by a number of bits
/// To the right, zeros come in, or copies of the sign of a number that is signed. \pre n < 64 of a word
/// \{
inline void shift_left(Word& x, std::size_t n) {
  x <<= n;
}
inline void shift_left(mpz_ptr x, std::size_t n) {
  mpz_mul_2exp(x, x, n);
}
inline void shift_right(Word& x, std::size_t n) {
  x >>= n;
}
inline void shift_right(mpz_ptr x, std::size_t n) {
  mpz_fdiv_q_2exp(x, x, n);
}
inline void shift_right_signed(Word& x, std::size_t n) {
  x = static_cast<Word>(static_cast<std::int64_t>(x) >> n);
}
inline void shift_right_signed(mpz_ptr x, std::size_t n) {
  mpz_fdiv_q_2exp(x, x, n);
}
/// \}

/// The lesser of a reduced value and n.
inline std::size_t at_most(Word x, std::size_t n) {
  return std::min<Word>(x, n);
}
inline std::size_t at_most(mpz_srcptr x, std::size_t n) {
  return mpz_cmp_ui(x, n) < 0 ? mpz_get_ui(x) : n;
}

/// \name Unsigned division of reduced values
/// The quotient by 0 is all ones, and the remainder is the dividend.
/// \{
inline void divide(Word& x, Word y) {
  x = y == 0 ? ~Word{0} : x / y;
}
inline void divide(mpz_ptr x, mpz_srcptr y) {
  if (mpz_sgn(y) == 0) {
    mpz_set_si(x, -1);
  } else {
    mpz_tdiv_q(x, x, y);
  }
}
inline void take_remainder(Word& x, Word y) {
  if (y != 0) x %= y;
}
inline void take_remainder(mpz_ptr x, mpz_srcptr y) {
  if (mpz_sgn(y) != 0) mpz_tdiv_r(x, x, y);
}
/// \}

/// Turns a reduced x into the signed value that it encodes; as a word, into that value modulo 2^64.
/// \pre w > 0
inline void sign_extend(Word& x, std::size_t w) {
  if (bit(x, w - 1)) x |= ~Word{0} << (w - 1);
}
inline void sign_extend(mpz_ptr x, std::size_t w) {
  if (!bit(x, w - 1)) return;
  complement(x);
  reduce(x, w);
  complement(x);  // of 2^w - 1 - x this is x - 2^w
}

/// Replaces a reduced x by the magnitude of the signed value that it encodes; true when that is negative.
inline bool take_magnitude(auto&& x, std::size_t w) {
  const bool negative = bit(x, w - 1);
  if (negative) {
    negate(x);
    reduce(x, w);
  }
  return negative;
}

/// \name Signed division of reduced values, rounding towards 0
/// The magnitudes are divided as unsigned values; the divisor is replaced by its magnitude.
/// \{
inline void divide_signed(auto&& x, auto&& y, std::size_t w) {
  const bool negative_dividend = take_magnitude(x, w);
  const bool negative_divisor = take_magnitude(y, w);
  divide(x, y);
  if (negative_dividend != negative_divisor) negate(x);
}
/// The remainder has the sign of the dividend.
inline void take_signed_remainder(auto&& x, auto&& y, std::size_t w) {
  const bool negative_dividend = take_magnitude(x, w);
  take_magnitude(y, w);
  take_remainder(x, y);
  if (negative_dividend) negate(x);
}
/// \}

/// \name Shifts of reduced values by a reduced value, which may exceed the width
/// \{
inline void shift_left_by(auto&& x, const auto& amount, std::size_t w) {
  const std::size_t n = at_most(amount, w);
  if (n == w) {
    subtract(x, x);
  } else {
    shift_left(x, n);
  }
}
inline void shift_right_by(auto&& x, const auto& amount, std::size_t w) {
  const std::size_t n = at_most(amount, w);
  if (n == w) {
    subtract(x, x);
  } else {
    shift_right(x, n);
  }
}
inline void shift_right_signed_by(auto&& x, const auto& amount, std::size_t w) {
  sign_extend(x, w);
  shift_right_signed(x, at_most(amount, w - 1));
}
/// \}

/// x followed by the n bits of y, which is reduced.
inline void append(auto&& x, const auto& y, std::size_t n) {
  shift_left(x, n);
  add(x, y);
}

/// Rotates a reduced x by n bits to the left; y, of the same value, is lost. \pre 0 < n < w
inline void rotate_left(auto&& x, auto&& y, std::size_t n, std::size_t w) {
  shift_left(x, n);
  shift_right(y, w - n);
  or_with(x, y);
}

}  // namespace quarv::bits
