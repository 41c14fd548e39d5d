/// Conversions between floating-point encodings, integers and rationals (IEEE 754, sections 5.3.1, 5.4.1
/// and 5.8).
#pragma once

#include <quarv/numbers/swflt/arithmetic.h>

namespace quarv::swflt {

/// The magnitude significand · 2^exponent.
template <class S, class E>
struct Magnitude {
  S significand;
  E exponent;
};

/// What the magnitude `m`, which is finite, stands for, with a significand of another type that is wide
/// enough.
template <class S, class E, class L>
Magnitude<S, E> decode(const L& f, const typename L::Bits& m) {
  const typename L::Exponent offset = f.offset(m);
  return {convert_significand<S>(f.significand(m, offset)),
          E(offset + f.least_exponent() - make_exponent<typename L::Exponent>(f.guard_bits()))};
}

/// Rounds ±magnitude, which is not 0, to the format. Its significand must be exact, or jammed with at least
/// two bits more than the precision; its type holds as many bits as the precision.
template <class L, class S, class E>
typename L::Bits encode(const L& f, rounding_mode mode, bool sign, const Magnitude<S, E>& magnitude) {
  return round_to_format(f, mode, sign, typename L::Exponent(magnitude.exponent - f.least_exponent()),
                         magnitude.significand);
}

/// The encoding `a` of the format `from`, converted to the format `to`, through a significand of type S and
/// an exponent of type E that fit both.
template <class S, class E, class From, class To>
typename To::Bits convert(const From& from, const To& to, rounding_mode mode, const typename From::Bits& a) {
  const auto& m = from.magnitude(a);
  const bool sign = from.sign(a);
  if (from.is_nan(m)) {
    if (from.is_signalling(m)) raise(flag_invalid);
    return to.default_nan();
  }
  if (!from.is_finite(m)) return to.with_sign(to.infinity(), sign);
  if (from.is_zero(m)) return to.zero(sign);
  return encode(to, mode, sign, decode<S, E>(from, m));
}

/// A magnitude of which the low `fraction_bits` are below the point, rounded to an integer.
/// \param inexact is set if it was not one.
template <class S>
S round_to_integer(rounding_mode mode, bool sign, S significand, BitCount fraction_bits, bool& inexact) {
  if (fraction_bits == 0 || is_zero(significand)) return significand;
  const unsigned tail = shift_out(significand, fraction_bits);
  const bool up = round_increment(mode, sign, low_word(significand) & 1, tail);
  inexact = tail != 0;
  return significand + S(static_cast<std::uint64_t>(up));
}

/// `a` rounded to an integral value of its format; an infinity stays, zeros keep the sign of `a`.
template <class L>
typename L::Bits round_to_integral(const L& f, rounding_mode mode, const typename L::Bits& a) {
  using Exponent = typename L::Exponent;
  const auto& m = f.magnitude(a);
  const bool sign = f.sign(a);
  if (f.is_nan(m)) return propagate_nan(f, m);
  if (!f.is_finite(m)) return a;
  const Exponent offset = f.offset(m);
  const Exponent exponent = offset + f.least_exponent();
  if (exponent >= 0) return a;
  const BitCount fraction_bits = shift_count(Exponent(make_exponent<Exponent>(f.guard_bits()) - exponent));
  bool inexact = false;
  const typename L::Significand integer =
      round_to_integer<typename L::Significand>(mode, sign, f.significand(m, offset), fraction_bits, inexact);
  if (inexact) raise(flag_inexact);
  if (is_zero(integer)) return f.zero(sign);
  return round_to_format(f, mode, sign, Exponent(-f.least_exponent()), integer);
}

}  // namespace quarv::swflt
