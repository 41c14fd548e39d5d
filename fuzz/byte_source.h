#pragma once

#include <cstddef>
#include <cstdint>

#include <gmpxx.h>

namespace quarv::fuzz {

/// The bytes of an input as a sequence of decisions. Beyond their end all decisions are 0.
class ByteSource {
 public:
  ByteSource(const std::uint8_t* data, std::size_t size) : next_(data), end_(data + size) {}

  bool empty() const { return next_ == end_; }

  std::uint8_t byte() { return empty() ? std::uint8_t{0} : *next_++; }

  /// A number in 0 .. bound - 1, for a bound of up to 256.
  std::size_t below(std::size_t bound) { return byte() % bound; }

  /// Whether one of `n` cases, the rarest, is met.
  bool one_in(std::size_t n) { return below(n) == n - 1; }

  std::uint64_t word(std::size_t num_bytes = 8) {
    std::uint64_t result = 0;
    for (std::size_t i = 0; i < num_bytes; ++i) result = result << 8 | byte();
    return result;
  }

  /// A natural number of up to `bits` bits.
  mpz_class natural(std::size_t bits) {
    mpz_class result;
    for (std::size_t i = 0; i < bits; i += 8) result = (result << 8) + static_cast<unsigned long>(byte());
    mpz_fdiv_r_2exp(result.get_mpz_t(), result.get_mpz_t(), bits);
    return result;
  }

 private:
  const std::uint8_t* next_;
  const std::uint8_t* end_;
};

}  // namespace quarv::fuzz
