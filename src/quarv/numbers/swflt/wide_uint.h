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

  /// value · 2^position, modulo 2^(64·N).
  static constexpr WideUInt from_word(std::uint64_t value, unsigned position) {
    const unsigned index = position / 64, bit = position % 64;
    const std::uint64_t low = value << bit, high = value >> 1 >> (63 - bit);
    WideUInt r;
    for (std::size_t i = 0; i < N; ++i) r.word[i] = i == index ? low : i == index + 1 ? high : 0;
    return r;
  }

  /// The 64 bits from `position` on.
  constexpr std::uint64_t word_at(unsigned position) const {
    const unsigned index = position / 64, bit = position % 64;
    const std::uint64_t above = index + 1 < N ? word[index + 1] : 0;
    return word[index] >> bit | above << 1 << (63 - bit);
  }

  /// The words `index` and `index` + 1.
  constexpr uint128 double_word(std::size_t index) const {
    return uint128{word[index + 1]} << 64 | word[index];
  }
  constexpr void set_double_word(std::size_t index, uint128 value) {
    word[index] = static_cast<std::uint64_t>(value);
    word[index + 1] = static_cast<std::uint64_t>(value >> 64);
  }

  constexpr bool bit(unsigned position) const { return word[position / 64] >> position % 64 & 1; }

  constexpr bool operator==(const WideUInt& other) const {
    std::uint64_t difference = 0;
    for (std::size_t i = 0; i < N; ++i) difference |= word[i] ^ other.word[i];
    return difference == 0;
  }

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

  friend constexpr WideUInt operator<<(WideUInt a, unsigned count) {
    if (count >= 64) a.move_words<false>(count / 64);
    const unsigned bit = count % 64;
    for (std::size_t i = N - 1; i > 0; --i) {
      a.word[i] = a.word[i] << bit | a.word[i - 1] >> 1 >> (63 - bit);
    }
    a.word[0] <<= bit;
    return a;
  }

  friend constexpr WideUInt operator>>(WideUInt a, unsigned count) {
    if (count >= 64) a.move_words<true>(count / 64);
    const unsigned bit = count % 64;
    for (std::size_t i = 0; i + 1 < N; ++i) {
      a.word[i] = a.word[i] >> bit | a.word[i + 1] << 1 << (63 - bit);
    }
    a.word[N - 1] >>= bit;
    return a;
  }

  WideUInt& operator+=(const WideUInt& b) { return *this = *this + b; }
  WideUInt& operator-=(const WideUInt& b) { return *this = *this - b; }

 private:
  /// Shifts whole words up or down, by powers of two: the words stay in registers, at indices that are
  /// constants.
  template <bool down>
  constexpr void move_words(unsigned distance) {
    for (std::size_t step = 1; step < N; step *= 2) {
      if ((distance & step) == 0) continue;
      for (std::size_t k = 0; k < N; ++k) {
        const std::size_t to = down ? k : N - 1 - k;
        const std::size_t from = down ? to + step : to - step;
        word[to] = from < N ? word[from] : 0;
      }
    }
  }
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
