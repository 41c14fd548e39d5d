#include "reference/random.h"

namespace quarv::reference {

Hash& Hash::add(std::string_view text) {
  for (const char c : text) add(static_cast<unsigned char>(c));
  return add(text.size());
}

Hash& Hash::add(const mpz_class& integer) {
  const std::size_t size = mpz_size(integer.get_mpz_t());
  for (std::size_t i = 0; i < size; ++i) {
    add(static_cast<std::uint64_t>(mpz_getlimbn(integer.get_mpz_t(), static_cast<mp_size_t>(i))));
  }
  return add(2 * size + (integer < 0 ? 1 : 0));
}

std::uint64_t Random::next() {
  std::uint64_t x = state_ += 0x9e3779b97f4a7c15;
  x = (x ^ x >> 30) * 0xbf58476d1ce4e5b9;
  x = (x ^ x >> 27) * 0x94d049bb133111eb;
  return x ^ x >> 31;
}

mpz_class Random::natural(std::size_t bits) {
  mpz_class result;
  for (std::size_t i = 0; i < bits; i += 32)
    result = (result << 32) + static_cast<unsigned long>(next() >> 32);
  mpz_fdiv_r_2exp(result.get_mpz_t(), result.get_mpz_t(), bits);
  return result;
}

}  // namespace quarv::reference
