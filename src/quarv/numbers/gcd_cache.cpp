#include <cstdint>
#include <utility>

#include <quarv/numbers/gcd_cache.h>

namespace quarv {

std::int64_t gcd_cache[gcd_cache_size][gcd_cache_size];

namespace {

// Threads share the table. An array of atomics would be filled at every start by compilers that do not see
// that it is zero; std::atomic_ref is not in every library of C++20.
std::int64_t entry(std::uint64_t x, std::uint64_t y) {
  return __atomic_load_n(&gcd_cache[x][y], __ATOMIC_RELAXED);
}

void set_entry(std::uint64_t x, std::uint64_t y, std::int64_t divisor) {
  __atomic_store_n(&gcd_cache[x][y], divisor, __ATOMIC_RELAXED);
}

// Computes gcd(x, y) by Euclid's algorithm and writes it to the entries (x, y) and (y, x).
void fill_gcd_cache(std::uint64_t x, std::uint64_t y) {
  std::uint64_t divisor = x;
  std::uint64_t rest = y;
  while (rest != 0) {
    const std::uint64_t remainder = divisor % rest;
    divisor = rest;
    rest = remainder;
  }
  set_entry(x, y, static_cast<std::int64_t>(divisor));
  set_entry(y, x, static_cast<std::int64_t>(divisor));
}

// gcd(x, y), if x and y are small enough for the cache and the entry is known, otherwise 0. An entry that
// could be known but is not is filled. y is not 0.
std::uint64_t look_up_gcd(std::uint64_t x, std::uint64_t y) {
  if ((x | y) >= gcd_cache_size) return 0;
  if (const std::int64_t known = entry(x, y); known != 0) return static_cast<std::uint64_t>(known);
  fill_gcd_cache(x, y);
  return 0;
}

// Divisions of 32-bit words are the faster ones, and two turns of the loop in a row need no exchange of
// variables.
[[gnu::noinline]] std::uint64_t computed_gcd(std::uint64_t x, std::uint64_t y) {
  if (y == 0) return x;
  while (((x | y) >> 32) != 0) {
    x %= y;
    if (x == 0) return y;
    std::swap(x, y);
  }
  auto a = static_cast<std::uint32_t>(x);
  auto b = static_cast<std::uint32_t>(y);
  for (;;) {
    if (const std::uint64_t known = look_up_gcd(a, b); known != 0) return known;
    a %= b;
    if (a == 0) return b;
    if (const std::uint64_t known = look_up_gcd(b, a); known != 0) return known;
    b %= a;
    if (b == 0) return a;
  }
}

}  // namespace

// What is known, the usual case, needs no register saved.
std::uint64_t cached_gcd(std::uint64_t x, std::uint64_t y) {
  if ((x | y) < gcd_cache_size) {
    if (const std::int64_t known = entry(x, y); known != 0) return static_cast<std::uint64_t>(known);
  }
  return computed_gcd(x, y);
}

}  // namespace quarv
