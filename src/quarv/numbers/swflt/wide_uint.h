/// Unsigned integers of a fixed number of machine words, for the significands of formats that are wider than
/// a word.
#pragma once

#include <array>
#include <bit>
#include <compare>
#include <cstddef>
#include <cstdint>

namespace quarv::swflt {

__extension__ typedef unsigned __int128 uint128;

/// An unsigned integer of 64·N bits, least significant word first. Arithmetic is modulo 2^(64·N); shift
/// counts must be below 64·N.
template <std::size_t N>
struct WideUInt {
  static constexpr std::size_t words = N;
  static constexpr unsigned bits = 64 * N;

  std::array<std::uint64_t, N> word{};

  constexpr WideUInt() = default;
  constexpr WideUInt(std::uint64_t value) { word[0] = value; }  // NOLINT(google-explicit-constructor)

  /// Zero-extends or truncates another width.
  template <std::size_t M>
  static constexpr WideUInt resize(const WideUInt<M>& other) {
    WideUInt r;
    for (std::size_t i = 0; i < N && i < M; ++i) r.word[i] = other.word[i];
    return r;
  }

  constexpr bool operator==(const WideUInt&) const = default;

  constexpr std::strong_ordering operator<=>(const WideUInt& other) const {
    for (std::size_t i = N; i-- > 0;) {
      if (word[i] != other.word[i]) return word[i] <=> other.word[i];
    }
    return std::strong_ordering::equal;
  }

  friend constexpr WideUInt operator+(const WideUInt& a, const WideUInt& b) {
    WideUInt r;
    std::uint64_t carry = 0;
    for (std::size_t i = 0; i < N; ++i) {
      const uint128 sum = uint128{a.word[i]} + b.word[i] + carry;
      r.word[i] = static_cast<std::uint64_t>(sum);
      carry = static_cast<std::uint64_t>(sum >> 64);
    }
    return r;
  }

  friend constexpr WideUInt operator-(const WideUInt& a, const WideUInt& b) {
    WideUInt r;
    std::uint64_t borrow = 0;
    for (std::size_t i = 0; i < N; ++i) {
      const uint128 difference = uint128{a.word[i]} - b.word[i] - borrow;
      r.word[i] = static_cast<std::uint64_t>(difference);
      borrow = static_cast<std::uint64_t>(difference >> 64) & 1;
    }
    return r;
  }

  friend constexpr WideUInt operator&(WideUInt a, const WideUInt& b) {
    for (std::size_t i = 0; i < N; ++i) a.word[i] &= b.word[i];
    return a;
  }

  friend constexpr WideUInt operator|(WideUInt a, const WideUInt& b) {
    for (std::size_t i = 0; i < N; ++i) a.word[i] |= b.word[i];
    return a;
  }

  friend constexpr WideUInt operator^(WideUInt a, const WideUInt& b) {
    for (std::size_t i = 0; i < N; ++i) a.word[i] ^= b.word[i];
    return a;
  }

  // The shifts read a window of a buffer that is padded with zeros: no branch depends on the count.
  friend constexpr WideUInt operator<<(const WideUInt& a, unsigned count) {
    std::uint64_t padded[2 * N] = {};
    for (std::size_t i = 0; i < N; ++i) padded[N + i] = a.word[i];
    const std::uint64_t* window = padded + N - count / 64;
    const unsigned bit = count % 64;
    WideUInt r;
    for (std::size_t i = N - 1; i > 0; --i) r.word[i] = window[i] << bit | window[i - 1] >> 1 >> (63 - bit);
    r.word[0] = window[0] << bit;
    return r;
  }

  friend constexpr WideUInt operator>>(const WideUInt& a, unsigned count) {
    std::uint64_t padded[2 * N] = {};
    for (std::size_t i = 0; i < N; ++i) padded[i] = a.word[i];
    const std::uint64_t* window = padded + count / 64;
    const unsigned bit = count % 64;
    WideUInt r;
    for (std::size_t i = 0; i + 1 < N; ++i) r.word[i] = window[i] >> bit | window[i + 1] << 1 << (63 - bit);
    r.word[N - 1] = window[N - 1] >> bit;
    return r;
  }

  WideUInt& operator+=(const WideUInt& b) { return *this = *this + b; }
  WideUInt& operator-=(const WideUInt& b) { return *this = *this - b; }
  WideUInt& operator|=(const WideUInt& b) { return *this = *this | b; }
  WideUInt& operator<<=(unsigned count) { return *this = *this << count; }
  WideUInt& operator>>=(unsigned count) { return *this = *this >> count; }
};

/// The double-width product.
template <std::size_t N>
constexpr WideUInt<2 * N> full_product(const WideUInt<N>& a, const WideUInt<N>& b) {
  WideUInt<2 * N> r;
  for (std::size_t i = 0; i < N; ++i) {
    std::uint64_t carry = 0;
    for (std::size_t j = 0; j < N; ++j) {
      const uint128 t = uint128{a.word[i]} * b.word[j] + r.word[i + j] + carry;
      r.word[i + j] = static_cast<std::uint64_t>(t);
      carry = static_cast<std::uint64_t>(t >> 64);
    }
    r.word[i + N] = carry;
  }
  return r;
}

}  // namespace quarv::swflt
