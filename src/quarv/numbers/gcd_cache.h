/// \file
/// The greatest common divisor of machine words, memoised for small operands.
#pragma once

#include <cstdint>

#include <quarv/export.h>

namespace quarv {

/// Number of rows and columns of `gcd_cache`; a power of two.
inline constexpr std::uint64_t gcd_cache_size = 1024;

/// Entry (x, y) is gcd(x, y), or 0 when it has not been computed yet. The table is zero-initialised static
/// storage: it exists before any constructor runs and takes no memory before its pages are touched.
///
/// It is the library's own. No inline function reads it: programs that use one would have all of the table
/// copied from the shared library at every start.
/// All threads share it. What is entered depends on the place alone, so it does not matter who enters it, nor
/// when it is seen.
extern std::int64_t gcd_cache[gcd_cache_size][gcd_cache_size];

/// gcd(x, y) by Euclid's algorithm, which stops at the first pair of remainders that the cache knows. A pair
/// that the cache could know but does not is entered, and the loop carries on. gcd(0, 0) = 0.
QUARV_API std::uint64_t cached_gcd(std::uint64_t x, std::uint64_t y);

}  // namespace quarv
