/// Division of fixed-size fractions, for the quotients of floating-point significands.
#pragma once

#include <cstddef>
#include <cstdint>

#include <quarv/numbers/swflt/wide_uint.h>

namespace quarv::swflt {

/// floor(a · 2^63 / b) with the last bit set if the division leaves a remainder. The top bits of `a` and `b`
/// must be set; the quotient has 63 or 64 bits then.
inline std::uint64_t fraction_quotient_jam(std::uint64_t a, std::uint64_t b) {
  const uint128 numerator = uint128{a} << 63;
  const auto q = static_cast<std::uint64_t>(numerator / b);
  return q | (uint128{q} * b != numerator);
}

/// A divisor of two words whose top bit is set, with its reciprocal floor((2^192 − 1) / divisor) − 2^64: two
/// multiplications give a word of a quotient. (N. Möller, T. Granlund, Improved Division by Invariant
/// Integers, IEEE Transactions on Computers 60, 2011.)
class InvertedDivisor {
 public:
  explicit InvertedDivisor(uint128 divisor) : divisor_(divisor) {
    const std::uint64_t d1 = high(divisor), d0 = low(divisor);
    reciprocal_ = low(~(uint128{d1} << 64) / d1);  // of the high word alone
    std::uint64_t p = d1 * reciprocal_ + d0;
    if (p < d0) {
      --reciprocal_;
      if (p >= d1) {
        --reciprocal_;
        p -= d1;
      }
      p -= d1;
    }
    const uint128 t = uint128{reciprocal_} * d0;
    p += high(t);
    if (p < high(t)) {
      --reciprocal_;
      if ((uint128{p} << 64 | low(t)) >= divisor) --reciprocal_;
    }
  }

  /// The quotient of remainder · 2^64 + next, where remainder < divisor. `remainder` becomes what is left.
  std::uint64_t quotient_word(uint128& remainder, std::uint64_t next) const {
    const uint128 q = uint128{reciprocal_} * high(remainder) + remainder;
    const std::uint64_t rest = low(remainder) - high(q) * high(divisor_);
    remainder = (uint128{rest} << 64 | next) - uint128{low(divisor_)} * high(q) - divisor_;
    std::uint64_t result = high(q) + 1;
    const bool too_large = high(remainder) >= low(q);
    result -= too_large;
    remainder += too_large ? divisor_ : 0;
    if (remainder >= divisor_) [[unlikely]] {
      ++result;
      remainder -= divisor_;
    }
    return result;
  }

 private:
  static std::uint64_t high(uint128 x) { return static_cast<std::uint64_t>(x >> 64); }
  static std::uint64_t low(uint128 x) { return static_cast<std::uint64_t>(x); }

  uint128 divisor_;
  std::uint64_t reciprocal_ = 0;
};

inline uint128 fraction_quotient_jam(uint128 a, uint128 b) {
  const InvertedDivisor divisor(b);
  uint128 remainder = a >> 1;
  const std::uint64_t high = divisor.quotient_word(remainder, static_cast<std::uint64_t>(a) << 63);
  const std::uint64_t low = divisor.quotient_word(remainder, 0);
  return uint128{high} << 64 | low | (remainder != 0);
}

/// Subtracts q · b from r, of both the low `words` words. Returns what is to be taken from the next word.
template <std::size_t words, std::size_t N>
std::uint64_t subtract_product(WideUInt<N>& r, const WideUInt<N>& b, std::uint64_t q) {
  std::uint64_t carry = 0;
  for (std::size_t i = 0; i < words; ++i) {
    const uint128 product = uint128{b.word[i]} * q + carry;
    const auto subtrahend = static_cast<std::uint64_t>(product);
    carry = static_cast<std::uint64_t>(product >> 64) + (r.word[i] < subtrahend);
    r.word[i] -= subtrahend;
  }
  return carry;
}

/// The same for N words, more than two: floor(a · 2^(64·N − 1) / b). (D. Knuth, The Art of Computer
/// Programming, volume 2, 4.3.1, algorithm D, with quotients by the two high words.)
template <std::size_t N>
WideUInt<N> fraction_quotient_jam(const WideUInt<N>& a, const WideUInt<N>& b) {
  static_assert(N > 2);
  const uint128 divisor = b.double_word(N - 2);
  const InvertedDivisor inverted(divisor);
  WideUInt<N> remainder = a >> 1, quotient;
  std::uint64_t next = a.word[0] << 63;
  for (std::size_t i = N; i-- > 0; next = 0) {
    uint128 top = remainder.double_word(N - 2);
    const std::uint64_t third = remainder.word[N - 3];
    for (std::size_t k = N - 1; k > 0; --k) remainder.word[k] = remainder.word[k - 1];
    remainder.word[0] = next;
    if (top == divisor) [[unlikely]] {
      quotient.word[i] = ~std::uint64_t{0};
      subtract_product<N>(remainder, b, quotient.word[i]);
      continue;
    }
    quotient.word[i] = inverted.quotient_word(top, third);
    const std::uint64_t borrow = subtract_product<N - 2>(remainder, b, quotient.word[i]);
    remainder.set_double_word(N - 2, top - borrow);
    if (top < borrow) [[unlikely]] {
      --quotient.word[i];
      remainder += b;
    }
  }
  quotient.word[0] |= remainder != WideUInt<N>();
  return quotient;
}

}  // namespace quarv::swflt
