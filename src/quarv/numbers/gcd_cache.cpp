#include <quarv/numbers/gcd_cache.h>

namespace quarv {

long gcd_cache[gcd_cache_size][gcd_cache_size];

void fill_gcd_cache(unsigned long x, unsigned long y) {
  unsigned long divisor = x;
  unsigned long rest = y;
  while (rest != 0) {
    const unsigned long remainder = divisor % rest;
    divisor = rest;
    rest = remainder;
  }
  gcd_cache[y][x] = gcd_cache[x][y] = static_cast<long>(divisor);
}

}  // namespace quarv
