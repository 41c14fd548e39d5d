/// Numbers of formats that are wider than a word, kept in parts.
#pragma once

#include <compare>
#include <cstdint>

#include <quarv/numbers/swflt/layout.h>

namespace quarv::swflt {

/// An integer that every encoding fits of which the parts fit a `WideFloat`.
using WideEncoding = WideUInt<6>;

/// The parts of an encoding. The significand has the hidden bit, which is the last but one of its type from
/// above: the bit over it takes the carry of a sum, those below the last one of the format are 0.
template <class S>
struct WideFloat {
  std::uint64_t sign_and_exponent;  ///< the sign is the top bit, the rest the biased exponent
  S significand;

  bool operator==(const WideFloat&) const = default;
};

/// The same number with a significand that has another number of words, which it fits.
template <class To, class S>
WideFloat<To> with_significand_type(const WideFloat<S>& x) {
  constexpr std::size_t words = sizeof(S) / sizeof(std::uint64_t);
  return {x.sign_and_exponent, leading_part<To>(convert_significand<WideUInt<words>>(x.significand))};
}

/// How many words a significand of that precision takes, with four bits more.
constexpr BitCount significand_words(BitCount precision) {
  return (precision + 4 + 63) / 64;
}

/// A format whose numbers are of the type `WideFloat<S>`. What it names a magnitude is a number of either
/// sign.
template <class S, class Widths>
struct WideLayout : FormatParameters<std::int64_t, Widths> {
  using Bits = WideFloat<S>;
  using Significand = S;
  using Exponent = std::int64_t;
  using FormatParameters<Exponent, Widths>::FormatParameters;
  using FormatParameters<Exponent, Widths>::infinity_offset;

  BitCount guard_bits() const { return bits_of<S> - 1 - this->precision(); }
  static constexpr BitCount normalizing_shift() { return 1; }

  Bits infinity() const { return {infinity_field(), hidden_bit()}; }
  Bits largest_finite() const {
    const S end =
        infinity_field() == 1 ? hidden_bit() : S(hidden_bit() << 1);  // with one exponent bit it is subnormal
    return {infinity_field() - 1, end - swflt::power_of_two<S>(guard_bits())};
  }
  Bits default_nan() const { return {infinity_field(), hidden_bit() | hidden_bit() >> 1}; }
  Bits zero(bool sign) const { return with_sign({0, S(0)}, sign); }

  bool sign(const Bits& x) const { return x.sign_and_exponent >> 63 != 0; }
  Bits with_sign(const Bits& x, bool sign) const {
    return {field(x) | std::uint64_t{sign} << 63, x.significand};
  }
  Bits negated(const Bits& x) const { return {x.sign_and_exponent ^ std::uint64_t{1} << 63, x.significand}; }
  const Bits& magnitude(const Bits& x) const { return x; }

  bool is_finite(const Bits& m) const { return field(m) < infinity_field(); }
  bool is_infinite(const Bits& m) const { return !is_finite(m) && !has_payload(m); }
  bool is_nan(const Bits& m) const { return !is_finite(m) && has_payload(m); }
  bool is_signalling(const Bits& m) const { return is_nan(m) && !test_bit(m.significand, bits_of<S> - 3); }
  bool is_zero(const Bits& m) const { return field(m) == 0 && swflt::is_zero(m.significand); }
  bool is_subnormal(const Bits& m) const { return field(m) == 0 && !swflt::is_zero(m.significand); }
  bool is_normal(const Bits& m) const { return field(m) - 1 < infinity_field() - 1; }
  bool is_less(const Bits& x, const Bits& y) const {
    return field(x) != field(y) ? field(x) < field(y) : x.significand < y.significand;
  }

  /// Whether the values of two numbers that are not NaN are equal.
  bool equal(const Bits& x, const Bits& y) const {
    return signed_field(x) == signed_field(y) && std::is_eq(order_in_field(x, y));
  }
  /// x < y, or x <= y if `or_equal`, for numbers that are not NaN. Fields that differ decide without a
  /// branch.
  template <bool or_equal>
  bool ordered(const Bits& x, const Bits& y) const {
    const Exponent a = signed_field(x), b = signed_field(y);
    if (a != b) [[likely]]
      return a < b;
    return or_equal ? std::is_lteq(order_in_field(x, y)) : std::is_lt(order_in_field(x, y));
  }

  Exponent exponent_field(const Bits& m) const { return static_cast<Exponent>(field(m)); }
  Exponent offset(const Bits& m) const { return static_cast<Exponent>(field(m) - (field(m) != 0)); }
  const S& significand(const Bits& m, Exponent /*offset*/) const { return m.significand; }

  /// The magnitude with a significand that is normalized, or less if the offset is 0, and 0 below the last
  /// bit of the format.
  Bits encode(Exponent offset, const S& significand) const {
    const std::uint64_t hidden = test_bit(significand, bits_of<S> - 1);
    return {static_cast<std::uint64_t>(offset) + hidden, significand >> 1};
  }

  /// The encoding as an integer.
  WideEncoding encoding(const Bits& x) const {
    const auto mw = static_cast<unsigned>(this->mw());
    WideEncoding r =
        convert_significand<WideEncoding>(S(x.significand >> static_cast<unsigned>(guard_bits())));
    r += WideEncoding::from_word(static_cast<std::uint64_t>(offset(x)), mw);
    return r + WideEncoding::from_word(sign(x), static_cast<unsigned>(this->sign_position()));
  }
  Bits from_encoding(const WideEncoding& e) const {
    const auto mw = static_cast<unsigned>(this->mw()), ew = static_cast<unsigned>(this->ew());
    const std::uint64_t exponent = e.word_at(mw) << (64 - ew) >> (64 - ew);
    const S fraction = S(convert_significand<S>(e) << static_cast<unsigned>(bits_of<S> - this->mw())) >> 2;
    const std::uint64_t sign = e.bit(ew + mw);
    return {exponent | sign << 63, exponent == 0 ? fraction : S(fraction | hidden_bit())};
  }

 private:
  static std::uint64_t field(const Bits& x) { return x.sign_and_exponent << 1 >> 1; }
  /// Whether a number that is not finite is a NaN. Apart from the rest, so that this is inlined.
  [[gnu::noinline]] static bool has_payload(const Bits& x) { return x.significand != hidden_bit(); }
  /// The exponent field, negated for a negative number.
  static Exponent signed_field(const Bits& x) {
    const Exponent mask = static_cast<Exponent>(x.sign_and_exponent) >> 63;
    return (static_cast<Exponent>(field(x)) ^ mask) - mask;
  }
  /// The order of two numbers of the same signed field; both zeros have the same.
  std::strong_ordering order_in_field(const Bits& x, const Bits& y) const {
    if (sign(x) != sign(y)) {  // then they are subnormal
      if (is_zero(x) && is_zero(y)) return std::strong_ordering::equal;
      return sign(x) ? std::strong_ordering::less : std::strong_ordering::greater;
    }
    return sign(x) ? y.significand <=> x.significand : x.significand <=> y.significand;
  }
  std::uint64_t infinity_field() const { return (std::uint64_t{1} << this->ew()) - 1; }
  static S hidden_bit() { return swflt::power_of_two<S>(bits_of<S> - 2); }
};

template <class L>
inline constexpr bool is_wide_layout = false;
template <class S, class Widths>
inline constexpr bool is_wide_layout<WideLayout<S, Widths>> = true;

}  // namespace quarv::swflt
