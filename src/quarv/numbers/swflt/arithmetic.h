/// The operations of IEEE 754 (section 5.4.1) on encodings: decode, compute exactly, round once.
///
/// A significand takes three bits below its last one and one above its first one: an encoding type of W bits
/// serves precisions up to W − 4.
#pragma once

#include <utility>

#include <quarv/numbers/swflt/rounding.h>

namespace quarv::swflt {

template <class L>
typename L::Bits invalid_operation(const L& f) {
  raise(flag_invalid);
  return f.default_nan();
}

/// The result of an operation with a NaN among its operands, which are given without their signs.
template <class L, class... M>
typename L::Bits propagate_nan(const L& f, const M&... magnitudes) {
  if ((f.is_signalling(magnitudes) || ...)) raise(flag_invalid);
  return f.default_nan();
}

template <class L>
[[gnu::noinline]] typename L::Bits add_not_finite(const L& f, const typename L::Bits& a,
                                                  const typename L::Bits& b) {
  const typename L::Bits ma = f.magnitude(a), mb = f.magnitude(b);
  if (f.is_nan(ma) || f.is_nan(mb)) return propagate_nan(f, ma, mb);
  if (f.is_finite(ma)) return b;
  if (f.is_finite(mb) || f.sign(a) == f.sign(b)) return a;
  return invalid_operation(f);
}

/// a + b. An exact zero that is the sum of opposite numbers is negative only when rounding toward negative.
template <class L>
typename L::Bits add(const L& f, rounding_mode mode, const typename L::Bits& a, const typename L::Bits& b) {
  using S = typename L::Bits;
  const S ma = f.magnitude(a), mb = f.magnitude(b);
  const bool swap = ma < mb;
  const S high = swap ? mb : ma, low = swap ? ma : mb;
  if (!f.is_finite(high)) [[unlikely]]
    return add_not_finite(f, a, b);
  const bool sign = swap ? f.sign(b) : f.sign(a);
  const bool subtract = f.sign(a) != f.sign(b);
  const typename L::Exponent offset = f.offset(high);
  const typename L::Exponent distance = offset - f.offset(low);
  const S x = f.significand(high) << 3;
  const S y = shift_right_jam(S(f.significand(low) << 3), shift_count(distance));
  const S sum = subtract ? S(x - y) : S(x + y);
  if (is_zero(sum)) return f.zero(subtract ? mode == round_toward_negative : sign);
  return round_to_format(f, mode, sign, typename L::Exponent(offset - 3), sum);
}

template <class L>
[[gnu::noinline]] typename L::Bits multiply_special(const L& f, bool sign, const typename L::Bits& ma,
                                                    const typename L::Bits& mb) {
  if (f.is_nan(ma) || f.is_nan(mb)) return propagate_nan(f, ma, mb);
  const bool zero = is_zero(ma) || is_zero(mb);
  if (f.is_finite(ma) && f.is_finite(mb)) return f.zero(sign);
  return zero ? invalid_operation(f) : f.with_sign(f.infinity(), sign);
}

/// a · b.
template <class L>
typename L::Bits multiply(const L& f, rounding_mode mode, const typename L::Bits& a,
                          const typename L::Bits& b) {
  const typename L::Bits ma = f.magnitude(a), mb = f.magnitude(b);
  const bool sign = f.sign(a) != f.sign(b);
  if (!f.is_finite(ma) || !f.is_finite(mb) || is_zero(ma) || is_zero(mb)) [[unlikely]] {
    return multiply_special(f, sign, ma, mb);
  }
  const auto exact = product(f.significand(ma), f.significand(mb));
  const typename L::Exponent exponent = f.offset(ma) + f.offset(mb) + f.least_exponent() + exact.scale;
  return round_to_format(f, mode, sign, exponent, exact.significand);
}

template <class L>
[[gnu::noinline]] typename L::Bits divide_special(const L& f, bool sign, const typename L::Bits& ma,
                                                  const typename L::Bits& mb) {
  if (f.is_nan(ma) || f.is_nan(mb)) return propagate_nan(f, ma, mb);
  if (!f.is_finite(ma)) return f.is_finite(mb) ? f.with_sign(ma, sign) : invalid_operation(f);
  if (!f.is_finite(mb)) return f.zero(sign);
  if (!is_zero(mb)) return f.zero(sign);
  if (is_zero(ma)) return invalid_operation(f);
  raise(flag_divide_by_zero);
  return f.with_sign(f.infinity(), sign);
}

/// a / b.
template <class L>
typename L::Bits divide(const L& f, rounding_mode mode, const typename L::Bits& a,
                        const typename L::Bits& b) {
  const typename L::Bits ma = f.magnitude(a), mb = f.magnitude(b);
  const bool sign = f.sign(a) != f.sign(b);
  if (!f.is_finite(ma) || !f.is_finite(mb) || is_zero(ma) || is_zero(mb)) [[unlikely]] {
    return divide_special(f, sign, ma, mb);
  }
  const auto exact = quotient(f.significand(ma), f.significand(mb), f.precision());
  const typename L::Exponent exponent = f.offset(ma) - f.offset(mb) - f.least_exponent() + exact.scale;
  return round_to_format(f, mode, sign, exponent, exact.significand);
}

/// √a; √−0 is −0.
template <class L>
typename L::Bits square_root(const L& f, rounding_mode mode, const typename L::Bits& a) {
  using Exponent = typename L::Exponent;
  const typename L::Bits ma = f.magnitude(a);
  if (f.is_nan(ma)) return propagate_nan(f, ma);
  if (is_zero(ma)) return a;
  if (f.sign(a)) return invalid_operation(f);
  if (!f.is_finite(ma)) return a;
  const Exponent exponent = f.offset(ma) + f.least_exponent();
  const Exponent half = exponent >> 1;  // rounds down
  const unsigned odd = exponent != half * 2;
  const auto exact = square_root(f.significand(ma), odd, f.precision());
  return round_to_format(f, mode, false, Exponent(half - f.least_exponent() + exact.scale),
                         exact.significand);
}

}  // namespace quarv::swflt
