/// The integers that hold significands and encodings: std::uint64_t, uint128 and WideUInt<4> for formats that
/// fit, and GMP's integers for all others. Every algorithm on floating-point values is written once over the
/// operations here.
///
/// "Jamming": where bits below the last one are lost, the last bit is set if any of them was. A result of at
/// least two bits more than the precision rounds like the exact one then.
#pragma once

#include <bit>
#include <concepts>
#include <cstdint>
#include <limits>

#include <gmpxx.h>

#include <quarv/numbers/swflt/integer_division.h>
#include <quarv/numbers/swflt/integer_sqrt.h>
#include <quarv/numbers/swflt/wide_uint.h>

namespace quarv::swflt {

using BitCount = std::uint64_t;

template <class S>
inline constexpr bool is_unbounded = std::same_as<S, mpz_class>;

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

/// The position of the leading one bit plus one, for a number that is not 0.
template <class S>
BitCount bit_length(const S& s) {
  return bits_of<S> - leading_zeros(s);
}
inline BitCount bit_length(const mpz_class& s) {
  return mpz_sizeinbase(s.get_mpz_t(), 2);
}

/// Whether a number that is not 0 is a power of two.
template <class S>
bool is_power_of_two(const S& s) {
  return is_zero(S(s & S(s - S(1))));
}

/// `s` / 2^count, jammed. The top bit of a fixed-size `s` must be clear.
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
  if (mpz_scan1(s.get_mpz_t(), 0) < count) mpz_setbit(shifted.get_mpz_t(), 0);
  return shifted;
}

/// Shifts the low `count` >= 1 bits out of `s`, which is not 0, and tells what they were: bit 1 of the result
/// is the highest of them, bit 0 is set if any other of them was.
template <class S>
unsigned shift_out(S& s, BitCount count) {
  if (count > bits_of<S>) [[unlikely]] {
    s = S(0);
    return 1;
  }
  const S kept = s >> static_cast<unsigned>(count - 1);
  const unsigned sticky = (kept << static_cast<unsigned>(count - 1)) != s;
  s = kept >> 1;
  return (low_word(kept) & 1) << 1 | sticky;
}
template <>
inline unsigned shift_out(mpz_class& s, BitCount count) {
  const unsigned round = mpz_tstbit(s.get_mpz_t(), count - 1);
  const unsigned sticky = mpz_scan1(s.get_mpz_t(), 0) < count - 1;
  s >>= count;
  return round << 1 | sticky;
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
  } else if constexpr (std::same_as<To, WideUInt<N>>) {
    return s;
  } else {
    return static_cast<To>(uint128{s.word[1]} << 64 | s.word[0]);
  }
}
template <class To>
To convert_significand(const mpz_class& s) {
  if constexpr (std::same_as<To, mpz_class>) {
    return s;
  } else {
    WideUInt<4> r;
    for (std::size_t i = 0; i < r.words; ++i)
      r.word[i] = mpz_getlimbn(s.get_mpz_t(), static_cast<mp_size_t>(i));
    return convert_significand<To>(r);
  }
}

/// a · b for a, b > 0; exact but for jamming.
inline Scaled<std::uint64_t> product(std::uint64_t a, std::uint64_t b) {
  const unsigned la = leading_zeros(a), lb = leading_zeros(b);
  const uint128 p = uint128{a << la} * (b << lb);
  const auto high = static_cast<std::uint64_t>(p >> 64);
  return {high | (static_cast<std::uint64_t>(p) != 0), 64 - static_cast<std::int64_t>(la + lb)};
}
template <class S>
Scaled<S> product(const S& a, const S& b) {
  constexpr std::size_t n = sizeof(S) / sizeof(std::uint64_t);
  const unsigned la = leading_zeros(a), lb = leading_zeros(b);
  const auto p =
      full_product(convert_significand<WideUInt<n>>(a << la), convert_significand<WideUInt<n>>(b << lb));
  WideUInt<n> high;
  std::uint64_t low = 0;
  for (std::size_t i = 0; i < n; ++i) {
    high.word[i] = p.word[n + i];
    low |= p.word[i];
  }
  high.word[0] |= low != 0;
  return {convert_significand<S>(high),
          static_cast<std::int64_t>(bits_of<S>) - static_cast<std::int64_t>(la + lb)};
}
inline Scaled<mpz_class> product(const mpz_class& a, const mpz_class& b) {
  return {a * b, 0};
}

/// a / b for a, b > 0, jammed. At least `precision` + 2 bits, for fixed-size integers at least all but one.
template <class S>
Scaled<S> quotient(const S& a, const S& b, BitCount /*precision*/) {
  const unsigned la = leading_zeros(a), lb = leading_zeros(b);
  const std::int64_t scale = static_cast<std::int64_t>(lb) - la - static_cast<std::int64_t>(bits_of<S> - 1);
  return {fraction_quotient_jam(a << la, b << lb), scale};
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

/// √(a · 2^odd) for a > 0 and odd = 0 or 1, jammed. At least `precision` + 2 bits, for fixed-size integers
/// all; the top two bits of a fixed-size `a` must be clear.
template <class S>
Scaled<S> square_root(const S& a, unsigned odd, BitCount /*precision*/) {
  unsigned shift = leading_zeros(a);
  shift -= (shift ^ odd) & 1;
  return {fraction_sqrt_jam(a << shift),
          (static_cast<std::int64_t>(odd) - static_cast<std::int64_t>(shift + bits_of<S>)) / 2};
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
