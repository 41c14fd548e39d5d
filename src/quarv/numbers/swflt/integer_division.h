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

inline uint128 fraction_quotient_jam(uint128 a, uint128 b) {
  WideUInt<2> wa, wb;
  wa.word = {static_cast<std::uint64_t>(a), static_cast<std::uint64_t>(a >> 64)};
  wb.word = {static_cast<std::uint64_t>(b), static_cast<std::uint64_t>(b >> 64)};
  const WideUInt<2> q = fraction_quotient_jam(wa, wb);
  return uint128{q.word[1]} << 64 | q.word[0];
}

}  // namespace quarv::swflt
