/// Square roots of fixed-size fractions, for the roots of floating-point significands.
#pragma once

#include <array>
#include <cstdint>

#include <gmp.h>

#include <quarv/numbers/swflt/wide_uint.h>

namespace quarv::swflt {

/// floor(√n) and n - floor(√n)².
struct RootAndRemainder {
  std::uint64_t root;
  uint128 remainder;
};

/// For i from 128 to 511, entry i - 128 is 2^15 / √((i + 1/2) / 512), within 1/2 and 2^-9 of 2^15 / √x for
/// every x in [i / 512, (i + 1) / 512).
constexpr std::array<std::uint16_t, 384> make_reciprocal_root_table() {
  std::array<std::uint16_t, 384> table{};
  for (std::uint64_t i = 128; i < 512; ++i) {
    // The largest t with t² · (2i + 1) / 1024 <= 2^30: t = floor(2^15 / √((i + 1/2) / 512)).
    std::uint64_t t = 0;
    for (std::uint64_t bit = std::uint64_t{1} << 15; bit != 0; bit >>= 1) {
      if ((t | bit) * (t | bit) * (2 * i + 1) <= std::uint64_t{1} << 40) t |= bit;
    }
    table[i - 128] = static_cast<std::uint16_t>(t);
  }
  return table;
}
inline constexpr auto reciprocal_root_table = make_reciprocal_root_table();

inline std::uint64_t high_product(std::uint64_t a, std::uint64_t b) {
  return static_cast<std::uint64_t>(uint128{a} * b >> 64);
}

/// The square root of a number of 127 or 128 bits: a tabulated reciprocal root, two Newton steps that double
/// its exact bits from 9 to 34, a third on the root itself, and a correction by the exact remainder.
inline RootAndRemainder sqrt_with_remainder(uint128 n) {
  __extension__ typedef __int128 int128;
  const auto x = static_cast<std::uint64_t>(n >> 64);
  constexpr std::uint64_t three = std::uint64_t{3} << 62;
  // y approximates 1/√(x / 2^64), which is in (1, 2]: 15, then 31, then 63 fraction bits.
  const std::uint64_t y0 = reciprocal_root_table[(x >> 55) - 128];
  const std::uint64_t y1 = (y0 * ((three - (x >> 32) * (y0 * y0)) >> 30)) >> 17;
  const std::uint64_t y2 = high_product(y1 << 32, three - high_product(x, y1 * y1)) << 1;
  const std::uint64_t estimate = high_product(x, y2) << 1;
  const auto error = static_cast<std::int64_t>((n - uint128{estimate} * estimate) >> 64);
  const auto step = static_cast<std::int64_t>(int128{error} * y2 >> 64);
  std::uint64_t root = estimate + static_cast<std::uint64_t>(step);
  if (step > 0 && root < estimate) root = ~std::uint64_t{0};
  auto remainder = static_cast<int128>(n - uint128{root} * root);
  while (remainder < 0) {
    --root;
    remainder += 2 * static_cast<int128>(root) + 1;
  }
  while (remainder > 2 * static_cast<int128>(root)) {
    remainder -= 2 * static_cast<int128>(root) + 1;
    ++root;
  }
  return {root, static_cast<uint128>(remainder)};
}

/// floor(√(a · 2^64)) with the last bit set if the root is not exact. One of the top two bits of `a` must be
/// set; the root has 64 bits then.
inline std::uint64_t fraction_sqrt_jam(std::uint64_t a) {
  const RootAndRemainder r = sqrt_with_remainder(uint128{a} << 64);
  return r.root | (r.remainder != 0);
}

/// The same for N words: floor(√(a · 2^(64·N))).
template <std::size_t N>
WideUInt<N> fraction_sqrt_jam(const WideUInt<N>& a) {
  WideUInt<2 * N> radicand;
  for (std::size_t i = 0; i < N; ++i) radicand.word[N + i] = a.word[i];
  mp_limb_t root[N], remainder[2 * N];
  const mp_size_t rest = mpn_sqrtrem(root, remainder, radicand.word.data(), 2 * N);
  WideUInt<N> r;
  for (std::size_t i = 0; i < N; ++i) r.word[i] = root[i];
  r.word[0] |= rest != 0;
  return r;
}

inline uint128 fraction_sqrt_jam(uint128 a) {
  WideUInt<2> w;
  w.word = {static_cast<std::uint64_t>(a), static_cast<std::uint64_t>(a >> 64)};
  const WideUInt<2> r = fraction_sqrt_jam(w);
  return uint128{r.word[1]} << 64 | r.word[0];
}

}  // namespace quarv::swflt
