#include <atomic>
#include <cstdint>
#include <utility>

#include <quarv/numbers/gcd_cache.h>

namespace quarv {

long gcd_cache[gcd_cache_size][gcd_cache_size];

namespace {

// Threads share the table. An array of atomics would be filled at every start by compilers that do not see
// that it is zero.
std::atomic_ref<long> entry(unsigned long x, unsigned long y) {
  return std::atomic_ref<long>(gcd_cache[x][y]);
}

// Computes gcd(x, y) by Euclid's algorithm and writes it to the entries (x, y) and (y, x).
void fill_gcd_cache(unsigned long x, unsigned long y) {
  unsigned long divisor = x;
  unsigned long rest = y;
  while (rest != 0) {
    const unsigned long remainder = divisor % rest;
    divisor = rest;
    rest = remainder;
  }
  entry(x, y).store(static_cast<long>(divisor), std::memory_order_relaxed);
  entry(y, x).store(static_cast<long>(divisor), std::memory_order_relaxed);
}

// gcd(x, y), if x and y are small enough for the cache and the entry is known, otherwise 0. An entry that
// could be known but is not is filled. y is not 0.
unsigned long look_up_gcd(unsigned long x, unsigned long y) {
  if ((x | y) >= gcd_cache_size) return 0;
  if (const long known = entry(x, y).load(std::memory_order_relaxed); known != 0)
    return static_cast<unsigned long>(known);
  fill_gcd_cache(x, y);
  return 0;
}

// Divisions of 32-bit words are the faster ones, and two turns of the loop in a row need no exchange of
// variables.
[[gnu::noinline]] unsigned long computed_gcd(unsigned long x, unsigned long y) {
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

}  // namespace

// What is known, the usual case, needs no register saved.
unsigned long cached_gcd(unsigned long x, unsigned long y) {
  if ((x | y) < gcd_cache_size) {
    if (const long known = entry(x, y).load(std::memory_order_relaxed); known != 0)
      return static_cast<unsigned long>(known);
  }
  return computed_gcd(x, y);
}

}  // namespace quarv
