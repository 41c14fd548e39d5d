/// Division of fixed-size fractions, for the quotients of floating-point significands.
#pragma once

#include <cstdint>

#include <gmp.h>

#include <quarv/numbers/swflt/wide_uint.h>

namespace quarv::swflt {

/// floor(a · 2^63 / b) with the last bit set if the division leaves a remainder. The top bits of `a` and `b`
/// must be set; the quotient has 63 or 64 bits then.
inline std::uint64_t fraction_quotient_jam(std::uint64_t a, std::uint64_t b) {
  const uint128 numerator = uint128{a} << 63;
  const auto q = static_cast<std::uint64_t>(numerator / b);
  return q | (uint128{q} * b != numerator);
}

/// The same for N words: floor(a · 2^(64·N − 1) / b).
template <std::size_t N>
WideUInt<N> fraction_quotient_jam(const WideUInt<N>& a, const WideUInt<N>& b) {
  WideUInt<2 * N> numerator;
  for (std::size_t i = 0; i < N; ++i) numerator.word[N + i] = a.word[i];
  numerator = numerator >> 1;
  mp_limb_t q[N + 1], remainder[N];
  mpn_tdiv_qr(q, remainder, 0, numerator.word.data(), 2 * N, b.word.data(), N);
  WideUInt<N> r;
  std::uint64_t rest = 0;
  for (std::size_t i = 0; i < N; ++i) {
    r.word[i] = q[i];
    rest |= remainder[i];
  }
  r.word[0] |= rest != 0;
  return r;
}

/// The next word of the quotient of a long division by `divisor`, two words whose top bit is set: the
/// quotient of remainder · 2^64 + next, where remainder < divisor. `remainder` becomes what is left. (D.
/// Knuth, The Art of Computer Programming, volume 2, 4.3.1, algorithm D.)
inline std::uint64_t quotient_word(uint128& remainder, std::uint64_t next, uint128 divisor) {
  const auto high = static_cast<std::uint64_t>(divisor >> 64), low = static_cast<std::uint64_t>(divisor);
  // The quotient by the high word alone is too large by two at most.
  const bool fits = static_cast<std::uint64_t>(remainder >> 64) < high;
  std::uint64_t q = fits ? static_cast<std::uint64_t>(remainder / high) : ~std::uint64_t{0};
  const uint128 rest = remainder - uint128{q} * high;
  const uint128 minuend = rest << 64 | next, subtrahend = uint128{q} * low;
  bool negative = rest >> 64 == 0 && minuend < subtrahend;
  remainder = minuend - subtrahend;
  while (negative) {
    --q;
    remainder += divisor;
    negative = remainder >= divisor;  // without a carry it is still below zero
  }
  return q;
}

inline uint128 fraction_quotient_jam(uint128 a, uint128 b) {
  uint128 remainder = a >> 1;
  const std::uint64_t high = quotient_word(remainder, static_cast<std::uint64_t>(a) << 63, b);
  const std::uint64_t low = quotient_word(remainder, 0, b);
  return uint128{high} << 64 | low | (remainder != 0);
}

}  // namespace quarv::swflt
