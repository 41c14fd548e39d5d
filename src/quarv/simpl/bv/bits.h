#pragma once

#include <cstddef>
#include <cstdint>

#include <gmpxx.h>

/// The operations on bits from which folding is written, under the same names for the two ways of holding a
/// bit-vector of width w: a machine word when w is at most 64, a GMP integer for every w. Together with the
/// arithmetic operators that both have, they let an operator's rule be written once.
///
/// A value is *reduced* when it lies in 0 .. 2^w - 1. Operands come reduced, results need not be: of a word
/// the lower w bits count, of an integer its residue modulo 2^w. In place, a GMP integer allocates only to
/// grow.
namespace quarv::termsimpl::bv {

using Word = std::uint64_t;
constexpr std::size_t word_bits = 64;

/// Reduces x modulo 2^w.
inline void reduce(Word& x, std::size_t w) {
  if (w < word_bits) x &= (Word{1} << w) - 1;
}
inline void reduce(mpz_class& x, std::size_t w) {
  if (sgn(x) < 0 || mpz_sizeinbase(x.get_mpz_t(), 2) > w) {
    mpz_fdiv_r_2exp(x.get_mpz_t(), x.get_mpz_t(), w);
  }
}

/// Bit i of a reduced value.
inline bool bit(Word x, std::size_t i) {
  return (x >> i & 1) != 0;
}
inline bool bit(const mpz_class& x, std::size_t i) {
  return mpz_tstbit(x.get_mpz_t(), i) != 0;
}

inline void set_bit(Word& x, std::size_t i) {
  x |= Word{1} << i;
}
inline void set_bit(mpz_class& x, std::size_t i) {
  mpz_setbit(x.get_mpz_t(), i);
}

/// x is below 2^64.
inline Word low_word(Word x) {
  return x;
}
inline Word low_word(const mpz_class& x) {
  return x.get_ui();
}

/// x = 2^w - 1 - x.
template <class Value>
void complement(Value& x, std::size_t w) {
  x = ~x;
  reduce(x, w);
}

/// x = -x modulo 2^w, reduced.
template <class Value>
void negate(Value& x, std::size_t w) {
  x = -x;
  reduce(x, w);
}

/// Turns a reduced x into the signed value that it encodes; as a word, into that value modulo 2^64.
inline void sign_extend(Word& x, std::size_t w) {
  if (bit(x, w - 1)) x |= ~Word{0} << (w - 1);
}
inline void sign_extend(mpz_class& x, std::size_t w) {
  if (!bit(x, w - 1)) return;
  complement(x, w);
  x = ~x;  // of 2^w - 1 - x this is x - 2^w
}

/// Replaces x by the magnitude of the signed value that it encodes; true when that value is negative.
template <class Value>
bool take_magnitude(Value& x, std::size_t w) {
  const bool negative = bit(x, w - 1);
  if (negative) negate(x, w);
  return negative;
}

}  // namespace quarv::termsimpl::bv
