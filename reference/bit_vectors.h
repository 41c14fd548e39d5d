/// \file
/// Numbers of a fixed width as integers in 0 .. 2^width - 1. Each operator has one definition, a template,
/// for integers of any size and for widths that fit a word.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include <gmpxx.h>

namespace quarv::reference {

/// Holds the exact sum, product and concatenation of two numbers of up to 63 bits.
__extension__ typedef __int128 Word;

template <class Integer>
Integer power(std::size_t n) {
  return Integer(Integer(1) << n);
}

/// x modulo 2^width, in 0 .. 2^width - 1.
inline mpz_class wrapped(const mpz_class& x, std::size_t width) {
  mpz_class result;
  mpz_fdiv_r_2exp(result.get_mpz_t(), x.get_mpz_t(), width);
  return result;
}
inline Word wrapped(Word x, std::size_t width) {
  return x & (power<Word>(width) - 1);
}

/// The number that has this encoding in two's complement.
template <class Integer>
Integer signed_value(const Integer& x, std::size_t width) {
  return x < power<Integer>(width - 1) ? x : Integer(x - power<Integer>(width));
}

/// The operands of an operator on bit-vectors, truth values (0 and 1) and integers, with its indices.
template <class Integer>
struct Operands {
  std::span<const Integer> values;
  std::span<const std::size_t> widths;  ///< of those that are bit-vectors
  std::span<const std::size_t> indices;

  std::size_t count() const { return values.size(); }
  const Integer& operator[](std::size_t i) const { return values[i]; }
  std::size_t width(std::size_t i = 0) const { return widths[i]; }
  std::size_t index(std::size_t i) const { return indices[i]; }
  Integer signed_value(std::size_t i) const { return reference::signed_value(values[i], widths[i]); }
};

template <class Integer>
using BitFunction = Integer (*)(const Operands<Integer>&);

}  // namespace quarv::reference
