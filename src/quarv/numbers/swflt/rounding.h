/// The one rounding that ends every operation.
#pragma once

#include <cstdint>

#include <quarv/numbers/swflt/exception_flags.h>
#include <quarv/numbers/swflt/layout.h>
#include <quarv/numbers/swflt/rounding_mode.h>

namespace quarv::swflt {

/// Eight bits for each mode and sign: bit 4·odd + tail tells whether a magnitude is incremented whose last
/// bit kept is `odd` and whose bits lost are `tail` (see `shift_out`). Ties to even increments for 3, 6 and
/// 7, rounding away from zero whenever the tail is not 0.
inline unsigned increment_table(rounding_mode mode, bool sign) {
  constexpr std::uint64_t nearest = 0xc8, away = 0xee;
  constexpr std::uint64_t table = nearest | nearest << 8 | away << 32 | away << 56;
  return static_cast<unsigned>(table >> (16 * static_cast<unsigned>(mode) + 8 * sign)) & 0xff;
}

inline unsigned round_increment(rounding_mode mode, bool sign, unsigned odd, unsigned tail) {
  return increment_table(mode, sign) >> (4 * odd + tail) & 1;
}

/// What a value above the largest finite one becomes.
template <class L>
typename L::Bits overflow(const L& f, rounding_mode mode, bool sign) {
  raise(flag_overflow | flag_inexact);
  return f.with_sign(increment_table(mode, sign) != 0 ? f.infinity() : f.largest_finite(), sign);
}

/// The encoding of ±significand · 2^(exponent + f.least_exponent()), rounded. The significand is not 0, and
/// jammed only if it has at least two bits more than the precision. Its type holds as many bits as f's
/// precision.
template <class L, class S>
typename L::Bits round_to_format(const L& f, rounding_mode mode, bool sign,
                                 const typename L::Exponent& exponent, S significand) {
  using Exponent = typename L::Exponent;
  Exponent offset = exponent + make_exponent<Exponent>(bit_length(significand));
  offset -= make_exponent<Exponent>(f.precision());
  const bool tiny = offset < 0;
  if (tiny) offset = 0;
  unsigned tail = 0;
  if (const Exponent drop = offset - exponent; drop > 0) {
    tail = shift_out(significand, shift_count(drop));
  } else {
    significand <<= shift_count(Exponent(-drop));
  }
  if (offset > f.infinity_offset()) [[unlikely]]
    return overflow(f, mode, sign);
  significand += round_increment(mode, sign, low_word(significand) & 1, tail);
  const typename L::Bits magnitude = f.encode(offset, convert_significand<typename L::Bits>(significand));
  if (!f.is_finite(magnitude)) [[unlikely]]
    return overflow(f, mode, sign);
  const unsigned inexact = tail != 0;
  raise(inexact * flag_inexact | (inexact & tiny) * flag_underflow);
  return f.with_sign(magnitude, sign);
}

}  // namespace quarv::swflt
