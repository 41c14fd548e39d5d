#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include <gmpxx.h>

namespace quarv::reference {

/// Makes one number of many things: FNV-1a, word by word.
class Hash {
 public:
  Hash& add(std::uint64_t word) {
    state_ = (state_ ^ word) * 0x100000001b3;
    state_ ^= state_ >> 32;
    return *this;
  }
  Hash& add(std::string_view text);
  Hash& add(const mpz_class& integer);
  Hash& add(const mpq_class& number) { return add(number.get_num()).add(number.get_den()); }

  std::uint64_t value() const { return state_; }

 private:
  std::uint64_t state_ = 0xcbf29ce484222325;
};

/// A sequence of numbers fixed by a seed: the generator SplitMix64.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  std::uint64_t next();
  std::uint64_t below(std::uint64_t bound) { return next() % bound; }
  mpz_class natural(std::size_t bits);

 private:
  std::uint64_t state_;
};

}  // namespace quarv::reference
