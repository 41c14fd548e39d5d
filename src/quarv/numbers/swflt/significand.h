/// The integers that hold significands and encodings: std::uint64_t, uint128 and WideUInt for formats that
/// fit, and GMP's integers for all others. Every algorithm on floating-point values is written once over the
/// operations here.
///
/// "Jamming": where bits below the last one are lost, the last bit is set if any of them was. A result of at
/// least two bits more than the precision rounds like the exact one then.
#pragma once

#include <algorithm>
#include <bit>
#include <concepts>
#include <cstdint>
#include <limits>

#include <gmpxx.h>

#include <quarv/numbers/gmp_product.h>
#include <quarv/numbers/swflt/integer_division.h>
#include <quarv/numbers/swflt/integer_sqrt.h>
#include <quarv/numbers/swflt/wide_uint.h>

namespace quarv::swflt {

using BitCount = std::uint64_t;

template <class S>
inline constexpr bool is_unbounded = std::same_as<S, mpz_class>;

template <class S>
inline constexpr bool is_wide = false;
template <std::size_t N>
inline constexpr bool is_wide<WideUInt<N>> = true;

/// The number of bits of a fixed-size integer.
template <class S>
inline constexpr BitCount bits_of = 8 * sizeof(S);

/// significand · 2^scale, where the significand may be jammed.
template <class S>
struct Scaled {
  S significand;
  std::int64_t scale;
};

inline unsigned low_word(std::uint64_t s) {
  return static_cast<unsigned>(s);
}
inline unsigned low_word(uint128 s) {
  return static_cast<unsigned>(s);
}
template <std::size_t N>
unsigned low_word(const WideUInt<N>& s) {
  return static_cast<unsigned>(s.word[0]);
}
inline unsigned low_word(const mpz_class& s) {
  return static_cast<unsigned>(mpz_get_ui(s.get_mpz_t()));
}

/// The two low words.
inline uint128 low_double_word(uint128 s) {
  return s;
}
template <std::size_t N>
uint128 low_double_word(const WideUInt<N>& s) {
  return s.double_word(0);
}

/// Replaces the two low words, and adds a carry to those above. Returns the carry out of the last one.
inline bool set_low_double_word(uint128& s, uint128 low, bool carry) {
  s = low;
  return carry;
}
template <std::size_t N>
bool set_low_double_word(WideUInt<N>& s, uint128 low, bool carry) {
  s.set_double_word(0, low);
  for (std::size_t i = 2; i < N; ++i) {
    s.word[i] += carry;
    carry = carry && s.word[i] == 0;
  }
  return carry;
}

inline bool is_zero(std::uint64_t s) {
  return s == 0;
}
inline bool is_zero(uint128 s) {
  return s == 0;
}
template <std::size_t N>
bool is_zero(const WideUInt<N>& s) {
  return s == WideUInt<N>{};
}
inline bool is_zero(const mpz_class& s) {
  return sgn(s) == 0;
}

template <class S>
S power_of_two(BitCount n) {
  return S(1) << n;
}
template <class S>
requires is_wide<S> S power_of_two(BitCount n) {
  return S::from_word(1, static_cast<unsigned>(n));
}

template <class S>
bool test_bit(const S& s, BitCount position) {
  return low_word(s >> position) & 1;
}
template <std::size_t N>
bool test_bit(const WideUInt<N>& s, BitCount position) {
  return s.bit(static_cast<unsigned>(position));
}
inline bool test_bit(const mpz_class& s, BitCount position) {
  return mpz_tstbit(s.get_mpz_t(), position) != 0;
}

/// The bits above the leading one of a fixed-size integer that is not 0.
inline unsigned leading_zeros(std::uint64_t s) {
  return static_cast<unsigned>(__builtin_clzll(s));
}
inline unsigned leading_zeros(uint128 s) {
  const auto high = static_cast<std::uint64_t>(s >> 64);
  return high != 0 ? leading_zeros(high) : 64 + leading_zeros(static_cast<std::uint64_t>(s));
}
template <std::size_t N>
unsigned leading_zeros(const WideUInt<N>& s) {
  std::size_t i = N - 1;
  while (s.word[i] == 0) --i;
  return static_cast<unsigned>(64 * (N - 1 - i)) + leading_zeros(s.word[i]);
}

/// The zeros below the last one of a number that is not 0.
inline BitCount trailing_zeros(std::uint64_t s) {
  return static_cast<BitCount>(__builtin_ctzll(s));
}
inline BitCount trailing_zeros(uint128 s) {
  const auto low = static_cast<std::uint64_t>(s);
  return low != 0 ? trailing_zeros(low) : 64 + trailing_zeros(static_cast<std::uint64_t>(s >> 64));
}
template <std::size_t N>
BitCount trailing_zeros(const WideUInt<N>& s) {
  std::size_t i = 0;
  while (s.word[i] == 0) ++i;
  return 64 * i + trailing_zeros(s.word[i]);
}
inline BitCount trailing_zeros(const mpz_class& s) {
  return mpz_scan1(s.get_mpz_t(), 0);
}

/// The position of the leading one bit plus one, for a number that is not 0.
template <class S>
BitCount bit_length(const S& s) {
  return bits_of<S> - leading_zeros(s);
}
inline BitCount bit_length(const mpz_class& s) {
  return mpz_sizeinbase(s.get_mpz_t(), 2);
}

/// Shifts a number that is not 0 to the left: a fixed-size one until its top bit is set, which is what
/// "normalized" means below, others until they have `length` bits at least. Returns the distance.
template <class S>
BitCount normalize(S& s, BitCount /*length*/) {
  const unsigned shift = leading_zeros(s);
  s = s << shift;
  return shift;
}
template <>
inline BitCount normalize(mpz_class& s, BitCount length) {
  const BitCount present = bit_length(s);
  const BitCount shift = present < length ? length - present : 0;
  s <<= shift;
  return shift;
}

/// The bits of what `normalize` leaves.
template <class S>
BitCount bit_length_of_normalized(const S& /*s*/) {
  return bits_of<S>;
}
template <>
inline BitCount bit_length_of_normalized(const mpz_class& s) {
  return bit_length(s);
}

/// Whether a number that is not 0 is a power of two.
template <class S>
bool is_power_of_two(const S& s) {
  return is_zero(S(s & S(s - S(1))));
}

/// `s` / 2^count, jammed.
template <class S>
S shift_right_jam(const S& s, BitCount count) {
  const auto shift = static_cast<unsigned>(count < bits_of<S> ? count : bits_of<S> - 1);
  const S shifted = s >> shift;
  return shifted | S(static_cast<std::uint64_t>((shifted << shift) != s));
}
template <>
inline mpz_class shift_right_jam(const mpz_class& s, BitCount count) {
  if (sgn(s) == 0 || count == 0) return s;
  mpz_class shifted = s >> count;
  if (trailing_zeros(s) < count) mpz_setbit(shifted.get_mpz_t(), 0);
  return shifted;
}

template <std::size_t N>
WideUInt<N> shift_right_jam(WideUInt<N> s, BitCount count) {
  if (count >= WideUInt<N>::bits) return WideUInt<N>(!is_zero(s));
  std::uint64_t lost = 0;
  for (std::size_t i = 0; i < count / 64; ++i) lost |= s.word[i];
  lost |= s.word[count / 64] << 1 << (63 - count % 64);
  s = s >> static_cast<unsigned>(count);
  s.word[0] |= lost != 0;
  return s;
}

/// Shifts the low `count` >= 1 bits out of `s`, which is not 0, and tells what they were: bit 1 of the result
/// is the highest of them, bit 0 is set if any other of them was.
template <class S>
unsigned shift_out(S& s, BitCount count) {
  const unsigned sticky = trailing_zeros(s) < count - 1;
  if constexpr (!is_unbounded<S>) {
    if (count >= bits_of<S>) [[unlikely]] {
      const unsigned half = count == bits_of<S> && test_bit(s, count - 1);
      s = S(0);
      return half << 1 | sticky;
    }
  }
  const unsigned half = test_bit(s, count - 1);
  s = s >> count;
  return half << 1 | sticky;
}

/// x < y, for fixed-size integers whose top bits are clear.
template <class S>
bool is_less(const S& x, const S& y) {
  if constexpr (std::integral<S>) {
    return (x - y) >> (bits_of<S> - 1) != 0;
  } else {
    return x < y;
  }
}

/// condition ? x : y, without a branch where that is possible.
template <std::integral S>
S select(bool condition, const S& x, const S& y) {
  const S mask = S(0) - S(static_cast<std::uint64_t>(condition));
  return y ^ ((x ^ y) & mask);
}
template <class S>
const S& select(bool condition, const S& x, const S& y) {
  return condition ? x : y;
}

/// x + y, or x − y, without a branch where that is possible.
template <class S>
S add_signed(const S& x, const S& y, bool subtract) {
  if constexpr (std::integral<S>) {
    const S mask = S(0) - S(subtract);
    return x + ((y ^ mask) - mask);
  } else {
    return subtract ? S(x - y) : S(x + y);
  }
}

/// Zero-extends or truncates one fixed-size integer to another, or converts to or from an unbounded one.
template <class To>
To convert_significand(std::uint64_t s) {
  return To(s);
}
template <class To>
To convert_significand(uint128 s) {
  if constexpr (std::same_as<To, mpz_class>) {
    return (mpz_class(static_cast<std::uint64_t>(s >> 64)) << 64) + static_cast<std::uint64_t>(s);
  } else if constexpr (std::integral<To> || std::same_as<To, uint128>) {
    return static_cast<To>(s);
  } else {
    To r(static_cast<std::uint64_t>(s));
    r.word[1] = static_cast<std::uint64_t>(s >> 64);
    return r;
  }
}
template <class To, std::size_t N>
To convert_significand(const WideUInt<N>& s) {
  if constexpr (std::same_as<To, mpz_class>) {
    mpz_class r;
    mpz_import(r.get_mpz_t(), N, -1, sizeof(std::uint64_t), 0, 0, s.word.data());
    return r;
  } else if constexpr (is_wide<To>) {
    constexpr std::size_t common = std::min(N, To::words);
    To r;
    for (std::size_t i = 0; i < common; ++i) r.word[i] = s.word[i];
    return r;
  } else {
    return static_cast<To>(uint128{s.word[1]} << 64 | s.word[0]);
  }
}
template <class To>
To convert_significand(const mpz_class& s) {
  if constexpr (std::same_as<To, mpz_class>) {
    return s;
  } else if constexpr (is_wide<To>) {
    To r;
    for (std::size_t i = 0; i < To::words; ++i)
      r.word[i] = mpz_getlimbn(s.get_mpz_t(), static_cast<mp_size_t>(i));
    return r;
  } else {
    return convert_significand<To>(convert_significand<WideUInt<2>>(s));
  }
}

/// The first words of `s`, jammed, or all of them and zeros below, as there are in `To`.
template <class To, std::size_t N>
To leading_part(const WideUInt<N>& s) {
  if constexpr (std::same_as<To, uint128>) {
    return convert_significand<uint128>(leading_part<WideUInt<2>>(s));
  } else {
    To high;
    std::uint64_t low = 0;
    constexpr std::size_t left_out = N - std::min(N, To::words), added = To::words - std::min(N, To::words);
    for (std::size_t i = 0; i < left_out; ++i) low |= s.word[i];
    for (std::size_t i = added; i < To::words; ++i) high.word[i] = s.word[i - added + left_out];
    high.word[0] |= low != 0;
    return high;
  }
}

/// a · b for normalized numbers, exact but for jamming.
inline Scaled<std::uint64_t> product(std::uint64_t a, std::uint64_t b) {
  const uint128 p = uint128{a} * b;
  return {static_cast<std::uint64_t>(p >> 64) | (static_cast<std::uint64_t>(p) != 0), 64};
}
inline Scaled<uint128> product(uint128 a, uint128 b) {
  const auto a0 = static_cast<std::uint64_t>(a), a1 = static_cast<std::uint64_t>(a >> 64);
  const auto b0 = static_cast<std::uint64_t>(b), b1 = static_cast<std::uint64_t>(b >> 64);
  const uint128 low = uint128{a0} * b0, cross = uint128{a1} * b0, other = uint128{a0} * b1;
  const uint128 middle = (low >> 64) + static_cast<std::uint64_t>(cross) + static_cast<std::uint64_t>(other);
  const uint128 high = uint128{a1} * b1 + (cross >> 64) + (other >> 64) + (middle >> 64);
  const std::uint64_t rest = static_cast<std::uint64_t>(low) | static_cast<std::uint64_t>(middle);
  return {high | (rest != 0), 128};
}
template <class S>
Scaled<S> product(const S& a, const S& b) {
  constexpr std::size_t n = sizeof(S) / sizeof(std::uint64_t);
  const auto p = full_product(convert_significand<WideUInt<n>>(a), convert_significand<WideUInt<n>>(b));
  return {convert_significand<S>(leading_part<WideUInt<n>>(p)), static_cast<std::int64_t>(bits_of<S>)};
}
inline Scaled<mpz_class> product(const mpz_class& a, const mpz_class& b) {
  Scaled<mpz_class> result{mpz_class(), 0};
  multiply(result.significand.get_mpz_t(), a.get_mpz_t(), b.get_mpz_t());
  return result;
}

/// a / b for normalized numbers, jammed. At least `precision` + 2 bits.
template <class S>
Scaled<S> quotient(const S& a, const S& b, BitCount /*precision*/) {
  return {fraction_quotient_jam(a, b), 1 - static_cast<std::int64_t>(bits_of<S>)};
}
template <>
inline Scaled<mpz_class> quotient(const mpz_class& a, const mpz_class& b, BitCount precision) {
  const auto length = static_cast<std::int64_t>(bit_length(a));
  const std::int64_t wanted = static_cast<std::int64_t>(bit_length(b) + precision + 2);
  const std::int64_t shift = wanted > length ? wanted - length : 0;
  mpz_class q = a << static_cast<BitCount>(shift), r;
  mpz_tdiv_qr(q.get_mpz_t(), r.get_mpz_t(), q.get_mpz_t(), b.get_mpz_t());
  if (sgn(r) != 0) mpz_setbit(q.get_mpz_t(), 0);
  return {q, -shift};
}

/// √(a · 2^odd) for a normalized number and odd = 0 or 1, jammed. At least `precision` + 2 bits. The last bit
/// of a fixed-size `a` must be clear.
template <class S>
Scaled<S> square_root(const S& a, unsigned odd, BitCount precision) {
  return {fraction_sqrt_jam(S(a >> odd), precision),
          static_cast<std::int64_t>(odd) - static_cast<std::int64_t>(bits_of<S> / 2)};
}
template <>
inline Scaled<mpz_class> square_root(const mpz_class& a, unsigned odd, BitCount precision) {
  const auto length = static_cast<std::int64_t>(bit_length(a));
  const std::int64_t wanted = 2 * static_cast<std::int64_t>(precision + 2);
  std::int64_t shift = wanted > length ? wanted - length : 0;
  shift += (shift ^ odd) & 1;
  mpz_class root = a << static_cast<BitCount>(shift), remainder;
  mpz_sqrtrem(root.get_mpz_t(), remainder.get_mpz_t(), root.get_mpz_t());
  if (sgn(remainder) != 0) mpz_setbit(root.get_mpz_t(), 0);
  return {root, (static_cast<std::int64_t>(odd) - shift) / 2};
}

}  // namespace quarv::swflt
