/// The one rounding that ends every operation.
#pragma once

#include <cstdint>

#include <quarv/numbers/swflt/exception_flags.h>
#include <quarv/numbers/swflt/layout.h>
#include <quarv/numbers/swflt/rounding_mode.h>
#include <quarv/numbers/swflt/wide_layout.h>

namespace quarv::swflt {

/// Whether rounding goes to the neighbour that is farther from zero, whatever is lost.
inline bool rounds_away(rounding_mode mode, bool sign) {
  return mode == (sign ? round_toward_negative : round_toward_positive);
}

/// Whether a magnitude is incremented of which `tail` (see `shift_out`) was lost and the last bit kept is
/// `odd`.
inline bool round_increment(rounding_mode mode, bool sign, bool odd, unsigned tail) {
  return mode == round_nearest_even ? tail + odd > 2 : rounds_away(mode, sign) && tail != 0;
}

/// Rounds off the low `count` bits of `s`, which is not 0. Returns whether one of them was set. count must be
/// 2 at least, and less than the bits of a fixed-size `s`.
template <class S>
bool round_off(S& s, BitCount count, rounding_mode mode, bool sign) {
  const unsigned tail = shift_out(s, count);
  s = s + S(static_cast<std::uint64_t>(round_increment(mode, sign, low_word(s) & 1, tail)));
  return tail != 0;
}

/// For words the increment is the carry out of the bits lost: they, plus half of their range, less one if
/// that is to give way to an even number; or plus all of the range but one.
template <std::integral S>
bool round_off(S& s, BitCount count, rounding_mode mode, bool sign) {
  const S range = S(1) << count, lost = s & (range - 1);
  s >>= count;
  S carry = lost;
  if (mode == round_nearest_even) {
    carry += (range >> 1) - 1 + (s & 1);
  } else if (rounds_away(mode, sign)) {
    carry += range - 1;
  }
  s += carry >> count;
  return lost != 0;
}

/// Rounds off the low `count` bits of a normalized significand, or of a smaller one, where they are: they
/// become 0. `count` must be from 2 to 127. A carry out of the significand goes to `offset`.
template <class S>
bool round_off_in_place(S& s, std::int64_t& offset, BitCount count, rounding_mode mode, bool sign) {
  const uint128 ulp = uint128{1} << count, low = low_double_word(s);
  uint128 increment = 0;
  if (mode == round_nearest_even) {
    increment = (ulp >> 1) - 1 + ((low & ulp) != 0);
  } else if (rounds_away(mode, sign)) {
    increment = ulp - 1;
  }
  const uint128 sum = low + increment;
  const bool carry = set_low_double_word(s, sum & (0 - ulp), sum < increment);
  if (carry) [[unlikely]] {
    s = power_of_two<S>(bits_of<S> - 1);
    ++offset;
  }
  return (low & (ulp - 1)) != 0;
}

/// What a value above the largest finite one becomes.
template <class L>
[[gnu::noinline]] typename L::Bits overflow(const L& f, rounding_mode mode, bool sign) {
  raise(flag_overflow | flag_inexact);
  const bool infinite = mode == round_nearest_even || rounds_away(mode, sign);
  return f.with_sign(infinite ? f.infinity() : f.largest_finite(), sign);
}

/// Brings a significand of a number below the least normal one to the exponent of the least subnormal one.
template <class S>
void denormalize(S& significand, BitCount distance, BitCount lost) {
  significand = shift_right_jam(significand, distance);
  if (trailing_zeros(significand) < lost) raise(flag_underflow);
}

/// The encoding of ±significand · 2^(exponent + f.least_exponent()), rounded. The significand is not 0, and
/// jammed only if it has at least two bits more than the precision. Its type holds four bits more than the
/// precision.
template <class L, class S>
typename L::Bits round_to_format(const L& f, rounding_mode mode, bool sign, typename L::Exponent exponent,
                                 S significand) {
  using Exponent = typename L::Exponent;
  exponent -= make_exponent<Exponent>(normalize(significand, f.precision() + 2));
  if constexpr (is_wide_layout<L> && !std::same_as<S, typename L::Significand>) {
    using Kept = typename L::Significand;
    exponent += static_cast<Exponent>(bits_of<S>) - static_cast<Exponent>(bits_of<Kept>);
    return round_to_format(f, mode, sign, exponent, leading_part<Kept>(significand));
  }
  // The significand's first `precision` bits are the ones kept, the others, two at least, are lost.
  const BitCount lost = bit_length_of_normalized(significand) - f.precision();
  Exponent offset = exponent + make_exponent<Exponent>(lost);
  if (offset < 0) [[unlikely]] {
    denormalize(significand, shift_count(Exponent(-offset)), lost);
    offset = 0;
  } else if (offset > f.infinity_offset()) [[unlikely]] {
    return overflow(f, mode, sign);
  }
  bool inexact = false;
  if constexpr (is_wide_layout<L>) {
    inexact = round_off_in_place(significand, offset, lost, mode, sign);
  } else {
    inexact = round_off(significand, lost, mode, sign);
  }
  const auto magnitude = f.encode(offset, convert_significand<typename L::Significand>(significand));
  if (!f.is_finite(magnitude)) [[unlikely]]
    return overflow(f, mode, sign);
  raise(inexact * flag_inexact);
  return f.with_sign(magnitude, sign);
}

}  // namespace quarv::swflt
