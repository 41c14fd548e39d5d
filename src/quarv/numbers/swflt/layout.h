/// Where the parts of a floating-point encoding are, for each integer type that holds encodings; wide ones
/// are kept in parts, see wide_layout.h.
#pragma once

#include <concepts>
#include <cstdint>
#include <limits>

#include <gmpxx.h>

#include <quarv/numbers/swflt/significand.h>

namespace quarv::swflt {

/// Exponent and significand widths that are known when compiling: the same code, with shifts by constants.
template <unsigned EW, unsigned MW>
struct StaticWidths {
  static constexpr unsigned ew() { return EW; }
  static constexpr unsigned mw() { return MW; }
};

/// Widths that are known when running.
struct DynamicWidths {
  BitCount ew_, mw_;
  constexpr BitCount ew() const { return ew_; }
  constexpr BitCount mw() const { return mw_; }
};

/// Exponents up to this width stay within 64 bits, also for sums of three.
inline constexpr BitCount max_word_exponent_width = 60;

/// A shift count from an exponent that is not negative; what does not fit becomes a count beyond every
/// significand.
inline BitCount shift_count(std::int64_t e) {
  return static_cast<BitCount>(e);
}
inline BitCount shift_count(const mpz_class& e) {
  return e.fits_slong_p() ? static_cast<BitCount>(e.get_si()) : std::numeric_limits<BitCount>::max();
}

inline std::int64_t power_of_two(std::int64_t /*type*/, BitCount n) {
  return std::int64_t{1} << n;
}
inline mpz_class power_of_two(const mpz_class& /*type*/, BitCount n) {
  return mpz_class(1) << n;
}

template <class Exponent>
Exponent make_exponent(BitCount n) {
  return Exponent(static_cast<std::int64_t>(n));
}

/// What a format has whatever holds its numbers. Exponents are of type `E`.
///
/// A finite value is significand · 2^(offset + least_exponent()), where offset = max(exponent field, 1) − 1
/// and the significand has the hidden bit if the exponent field is not 0.
template <class E, class Widths>
struct FormatParameters : Widths {
  using Exponent = E;

  constexpr FormatParameters() = default;
  explicit constexpr FormatParameters(Widths widths) : Widths(widths) {}

  BitCount precision() const { return this->mw() + 1; }
  BitCount sign_position() const { return this->ew() + this->mw(); }

  /// The exponent of the least subnormal number.
  Exponent least_exponent() const {
    return make_exponent<E>(2) - swflt::power_of_two<E>(this->ew() - 1) - make_exponent<E>(this->mw());
  }
  /// The offset of infinity's exponent field, one more than the last that finite numbers have.
  Exponent infinity_offset() const { return swflt::power_of_two<E>(this->ew()) - make_exponent<E>(2); }
};

/// A format, as fields of an integer `B`: sign, biased exponent and stored significand, from the top down.
///
/// The field that holds a value whose significand is below 2^(mw + 1) is (offset << mw) + significand: the
/// hidden bit becomes the increment of the exponent field, which stays 0 for subnormal numbers.
template <class B, class E, class Widths>
struct Layout : FormatParameters<E, Widths> {
  using Bits = B;
  using Significand = B;
  using Exponent = E;
  using FormatParameters<E, Widths>::FormatParameters;
  using FormatParameters<E, Widths>::infinity_offset;
  using FormatParameters<E, Widths>::sign_position;

  /// The bits of `significand` below the last one of the format.
  static constexpr BitCount guard_bits() { return 0; }
  /// The distance by which the significand of a normal number is shifted to be normalized.
  BitCount normalizing_shift() const { return is_unbounded<B> ? 0 : bits_of<B> - this->precision(); }

  Bits infinity() const { return at_exponent_field(infinity_offset() + Exponent(1)); }
  Bits largest_finite() const { return infinity() - Bits(1); }
  /// The one NaN that operations give: positive, quiet, no payload.
  Bits default_nan() const { return infinity() | bit(this->mw() - 1); }
  Bits zero(bool sign) const { return sign ? bit(sign_position()) : Bits(0); }

  bool sign(const Bits& bits) const { return test_bit(bits, sign_position()); }
  Bits with_sign(const Bits& magnitude, bool sign) const {
    if constexpr (std::integral<B>) return magnitude | Bits(sign) << sign_position();
    return sign ? magnitude | bit(sign_position()) : magnitude;
  }
  Bits negated(const Bits& bits) const { return bits ^ bit(sign_position()); }
  Bits magnitude(const Bits& bits) const { return bits & ones(sign_position()); }

  // The following take a magnitude, that is an encoding without its sign.
  bool is_finite(const Bits& m) const { return m < infinity(); }
  bool is_nan(const Bits& m) const { return !is_finite(m) && m != infinity(); }
  bool is_infinite(const Bits& m) const { return m == infinity(); }
  bool is_zero(const Bits& m) const { return swflt::is_zero(m); }
  bool is_signalling(const Bits& m) const { return is_nan(m) && !test_bit(m, this->mw() - 1); }
  bool is_subnormal(const Bits& m) const { return !swflt::is_zero(m) && exponent_field(m) == 0; }
  bool is_normal(const Bits& m) const {
    const Bits least = bit(this->mw());
    if constexpr (std::integral<Bits>) return m - least < infinity() - least;
    return is_finite(m) && exponent_field(m) != 0;
  }

  /// The exponent field; zero and subnormal numbers have 0.
  Exponent exponent_field(const Bits& m) const { return to_exponent(m >> this->mw()); }

  Exponent offset(const Bits& m) const {
    const Exponent field = exponent_field(m);
    return field - Exponent(field > 0);
  }
  /// What `encode` makes the magnitude of, with the offset of `m`.
  Bits significand(const Bits& m, const Exponent& offset) const { return m - at_exponent_field(offset); }

  /// Whether a magnitude is less than another.
  bool is_less(const Bits& x, const Bits& y) const { return swflt::is_less(x, y); }

  /// The magnitude of significand · 2^(offset + least_exponent()), where the significand is below 2^(mw + 1),
  /// and not below 2^mw unless the offset is 0.
  Bits encode(const Exponent& offset, const Bits& significand) const {
    return at_exponent_field(offset) + significand;
  }

 private:
  static Bits bit(BitCount position) { return swflt::power_of_two<Bits>(position); }
  static Bits ones(BitCount count) { return bit(count) - Bits(1); }
  static Exponent to_exponent(const Bits& field) {
    if constexpr (std::same_as<B, E>) {
      return field;
    } else if constexpr (is_unbounded<B>) {
      return field.get_si();
    } else {
      return static_cast<Exponent>(field);
    }
  }
  /// The magnitude with this exponent field and a stored significand of 0.
  Bits at_exponent_field(const Exponent& field) const {
    if constexpr (std::same_as<B, E>) {
      return field << this->mw();
    } else if constexpr (is_unbounded<B>) {
      return Bits(static_cast<std::int64_t>(field)) << this->mw();
    } else {
      return Bits(static_cast<std::uint64_t>(field)) << this->mw();
    }
  }
};

}  // namespace quarv::swflt
