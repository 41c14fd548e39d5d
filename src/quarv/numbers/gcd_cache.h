/// \file
/// The greatest common divisor of machine words, memoised for small operands.
#pragma once

#include <cstdint>
#include <utility>

#include <quarv/export.h>

namespace quarv {

/// Number of rows and columns of `gcd_cache`; a power of two.
inline constexpr unsigned long gcd_cache_size = 1024;

/// Entry (x, y) is gcd(x, y), or 0 when it has not been computed yet. The table is zero-initialised static
/// storage: it exists before any constructor runs and takes no memory before its pages are touched.
QUARV_API_TABLE extern long gcd_cache[gcd_cache_size][gcd_cache_size];

/// Computes gcd(x, y) by Euclid's algorithm and writes it to the entries (x, y) and (y, x).
///
/// \pre x < gcd_cache_size, 0 < y < gcd_cache_size
QUARV_API void fill_gcd_cache(unsigned long x, unsigned long y);

/// gcd(x, y), if x and y are small enough for the cache and the entry is known, otherwise 0. An entry that
/// could be known but is not is filled.
///
/// \pre 0 < y
inline unsigned long look_up_gcd(unsigned long x, unsigned long y) {
  if ((x | y) >= gcd_cache_size) return 0;
  if (const long known = gcd_cache[x][y]; known != 0) return static_cast<unsigned long>(known);
  fill_gcd_cache(x, y);
  return 0;
}

/// gcd(x, y) by Euclid's algorithm, which stops at the first pair of remainders that the cache knows. A pair
/// that the cache could know but does not is entered, and the loop carries on. gcd(0, 0) = 0.
///
/// Divisions of 32-bit words are the faster ones, and two turns of the loop in a row need no exchange of
/// variables.
inline unsigned long cached_gcd(unsigned long x, unsigned long y) {
  if (y == 0) return x;
  while (((x | y) >> 32) != 0) {
    x %= y;
    if (x == 0) return y;
    std::swap(x, y);
  }
  auto a = static_cast<std::uint32_t>(x);
  auto b = static_cast<std::uint32_t>(y);
  for (;;) {
    if (const unsigned long known = look_up_gcd(a, b); known != 0) return known;
    a %= b;
    if (a == 0) return b;
    if (const unsigned long known = look_up_gcd(b, a); known != 0) return known;
    b %= a;
    if (b == 0) return a;
  }
}

}  // namespace quarv
