/// Square roots of fixed-size fractions, for the roots of floating-point significands.
#pragma once

#include <array>
#include <cstdint>

#include <gmp.h>

#include <quarv/numbers/swflt/wide_uint.h>

namespace quarv::swflt {

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

__extension__ typedef __int128 int128;

inline std::uint64_t high_product(std::uint64_t a, std::uint64_t b) {
  return static_cast<std::uint64_t>(uint128{a} * b >> 64);
}

/// floor(√n) and n − floor(√n)².
struct RootAndRemainder {
  std::uint64_t root;
  uint128 remainder;
};

/// The square root of the number of 127 or 128 bits whose high word is `x` and whose low word is 0, wrong by
/// 3 at most: a tabulated reciprocal root, two Newton steps that double its exact bits from 9 to 34, a third
/// on the root itself.
inline std::uint64_t estimate_root(std::uint64_t x) {
  constexpr std::uint64_t three = std::uint64_t{3} << 62;
  // y approximates 1/√(x / 2^64), which is in (1, 2]: 15, then 31, then 63 fraction bits.
  const std::uint64_t y0 = reciprocal_root_table[(x >> 55) - 128];
  const std::uint64_t y1 = (y0 * ((three - (x >> 32) * (y0 * y0)) >> 30)) >> 17;
  const std::uint64_t y2 = high_product(y1 << 32, three - high_product(x, y1 * y1)) << 1;
  const std::uint64_t root = high_product(x, y2) << 1;
  const auto error = static_cast<std::int64_t>(x - high_product(root, root));
  const auto step = static_cast<std::int64_t>(int128{error} * y2 >> 64);
  const std::uint64_t improved = root + static_cast<std::uint64_t>(step);
  return step > 0 && improved < root ? ~std::uint64_t{0} : improved;
}

/// The square root of a number of 127 or 128 bits.
inline RootAndRemainder sqrt_with_remainder(uint128 n) {
  std::uint64_t root = estimate_root(static_cast<std::uint64_t>(n >> 64));
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

/// √(a · 2^64), jammed for rounding to `precision` bits, which is at most 61. One of the top two bits of `a`
/// must be set; the root has 64 bits then.
inline std::uint64_t fraction_sqrt_jam(std::uint64_t a, std::uint64_t precision) {
  // An error does not matter unless a tie or an exact result is that close.
  const std::uint64_t estimate = estimate_root(a), below_tie = (std::uint64_t{1} << (63 - precision)) - 1;
  if (((estimate + 3) & below_tie) > 6) [[likely]]
    return estimate;
  const RootAndRemainder exact = sqrt_with_remainder(uint128{a} << 64);
  return exact.root | (exact.remainder != 0);
}

/// floor(√(a · 2^(64·N))) with the last bit set if the root is not exact.
template <std::size_t N>
WideUInt<N> fraction_sqrt_jam(const WideUInt<N>& a, std::uint64_t /*precision*/) {
  WideUInt<2 * N> radicand;
  for (std::size_t i = 0; i < N; ++i) radicand.word[N + i] = a.word[i];
  mp_limb_t root[N];
  const mp_size_t rest = mpn_sqrtrem(root, radicand.word.data(), radicand.word.data(), 2 * N);
  WideUInt<N> r;
  for (std::size_t i = 0; i < N; ++i) r.word[i] = root[i];
  r.word[0] |= rest != 0;
  return r;
}

/// The same for two words: the root of the radicand's two high words gives the high word, and what it leaves,
/// divided by twice the root, the low word, which may be one too large (P. Zimmermann, Karatsuba Square Root,
/// INRIA RR-3805, 1999).
inline uint128 fraction_sqrt_jam(uint128 a, std::uint64_t /*precision*/) {
  const RootAndRemainder high = sqrt_with_remainder(a);
  const bool fits = high.remainder >> 1 < high.root;
  const std::uint64_t low =
      fits ? static_cast<std::uint64_t>((high.remainder << 63) / high.root) : ~std::uint64_t{0};
  const uint128 rest = (high.remainder << 64) - (uint128{high.root} << 1) * low;
  const uint128 root = uint128{high.root} << 64 | low, square = uint128{low} * low;
  if (rest >> 64 != 0 || rest << 64 > square) return root | 1;
  return rest << 64 == square ? root : (root - 1) | 1;
}

}  // namespace quarv::swflt
