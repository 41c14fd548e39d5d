/// \file
/// The greatest common divisor of machine words, memoised for small operands.
#pragma once

namespace quarv {

/// Number of rows and columns of `gcd_cache`; a power of two.
inline constexpr unsigned long gcd_cache_size = 1024;

/// Entry (x, y) is gcd(x, y), or 0 when it has not been computed yet. The table is zero-initialised static
/// storage: it exists before any constructor runs and takes no memory before its pages are touched.
extern long gcd_cache[gcd_cache_size][gcd_cache_size];

/// Computes gcd(x, y) by Euclid's algorithm and writes it to the entries (x, y) and (y, x).
/// \pre x < gcd_cache_size, 0 < y < gcd_cache_size
void fill_gcd_cache(unsigned long x, unsigned long y);

/// gcd(x, y) by Euclid's algorithm, which stops at the first pair of remainders that the cache knows. A pair
/// that the cache could know but does not is entered, and the loop carries on. gcd(0, 0) = 0.
inline unsigned long cached_gcd(unsigned long x, unsigned long y) {
  if (y == 0) return x;
  for (;;) {
    if ((x | y) < gcd_cache_size) {
      if (const long known = gcd_cache[x][y]; known != 0) return static_cast<unsigned long>(known);
      fill_gcd_cache(x, y);
    }
    const unsigned long remainder = x % y;
    if (remainder == 0) return y;
    x = y;
    y = remainder;
  }
}

}  // namespace quarv
