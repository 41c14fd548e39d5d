/// The operations of IEEE 754 (section 5.4.1) on encodings: decode, compute exactly, round once.
///
/// A significand takes three bits below its last one and one above its first one: a type of W bits serves
/// precisions up to W − 4.
#pragma once

#include <utility>

#include <quarv/numbers/swflt/rounding.h>
#include <quarv/numbers/swflt/wide_layout.h>

namespace quarv::swflt {

/// A number significand · 2^(exponent + least_exponent()) above 0, its significand normalized.
template <class L>
struct Unpacked {
  typename L::Significand significand;
  typename L::Exponent exponent;
};

/// The number of a magnitude that is finite and not 0.
template <class L>
Unpacked<L> unpack(const L& f, const typename L::Bits& m) {
  using Exponent = typename L::Exponent;
  const Exponent offset = f.offset(m);
  typename L::Significand significand = f.significand(m, offset);
  const BitCount shift = normalize(significand, 0) + f.guard_bits();
  return {significand, offset - make_exponent<Exponent>(shift)};
}

/// The same, for a normal one.
template <class L>
Unpacked<L> unpack_normal(const L& f, const typename L::Bits& m) {
  using Exponent = typename L::Exponent;
  const Exponent offset = f.exponent_field(m) - Exponent(1);
  const BitCount shift = f.normalizing_shift();
  return {f.significand(m, offset) << shift, offset - make_exponent<Exponent>(shift + f.guard_bits())};
}

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
  const auto &ma = f.magnitude(a), &mb = f.magnitude(b);
  if (f.is_nan(ma) || f.is_nan(mb)) return propagate_nan(f, ma, mb);
  if (f.is_finite(ma)) return b;
  if (f.is_finite(mb) || f.sign(a) == f.sign(b)) return a;
  return invalid_operation(f);
}

/// How far significands are shifted to have the bits below the last one that a sum takes.
template <class L>
inline constexpr unsigned sum_shift = is_wide_layout<L> ? 0 : 3;

/// a + b. An exact zero that is the sum of opposite numbers is negative only when rounding toward negative.
template <class L>
typename L::Bits add(const L& f, rounding_mode mode, const typename L::Bits& a, const typename L::Bits& b) {
  using S = typename L::Significand;
  using Exponent = typename L::Exponent;
  constexpr unsigned shift = sum_shift<L>;
  const bool swap = f.is_less(f.magnitude(a), f.magnitude(b));
  const auto &high = select(swap, b, a), &low = select(swap, a, b);
  const auto &mh = f.magnitude(high), &ml = f.magnitude(low);
  if (!f.is_finite(mh)) [[unlikely]]
    return add_not_finite(f, a, b);
  const bool sign = f.sign(high);
  const bool subtract = sign != f.sign(low);
  const Exponent offset = f.offset(mh), low_offset = f.offset(ml);
  const S x = f.significand(mh, offset) << shift;
  const S y = shift_right_jam(S(f.significand(ml, low_offset) << shift), shift_count(offset - low_offset));
  const S sum = add_signed(x, y, subtract);
  if (is_zero(sum)) return f.zero(subtract ? mode == round_toward_negative : sign);
  return round_to_format(f, mode, sign, Exponent(offset - make_exponent<Exponent>(f.guard_bits() + shift)),
                         sum);
}

/// ±a · b.
template <class L>
typename L::Bits multiply_finite(const L& f, rounding_mode mode, bool sign, const Unpacked<L>& a,
                                 const Unpacked<L>& b) {
  const auto exact = product(a.significand, b.significand);
  const typename L::Exponent exponent = a.exponent + b.exponent + f.least_exponent() + exact.scale;
  return round_to_format(f, mode, sign, exponent, exact.significand);
}

template <class L>
[[gnu::noinline]] typename L::Bits multiply_special(const L& f, rounding_mode mode, bool sign,
                                                    const typename L::Bits& ma, const typename L::Bits& mb) {
  if (f.is_nan(ma) || f.is_nan(mb)) return propagate_nan(f, ma, mb);
  const bool zero = f.is_zero(ma) || f.is_zero(mb);
  if (!f.is_finite(ma) || !f.is_finite(mb))
    return zero ? invalid_operation(f) : f.with_sign(f.infinity(), sign);
  if (zero) return f.zero(sign);
  return multiply_finite(f, mode, sign, unpack(f, ma), unpack(f, mb));
}

/// a · b.
template <class L>
typename L::Bits multiply(const L& f, rounding_mode mode, const typename L::Bits& a,
                          const typename L::Bits& b) {
  const auto &ma = f.magnitude(a), &mb = f.magnitude(b);
  const bool sign = f.sign(a) != f.sign(b);
  if (!f.is_normal(ma) || !f.is_normal(mb)) [[unlikely]]
    return multiply_special(f, mode, sign, ma, mb);
  return multiply_finite(f, mode, sign, unpack_normal(f, ma), unpack_normal(f, mb));
}

/// ±a / b.
template <class L>
typename L::Bits divide_finite(const L& f, rounding_mode mode, bool sign, const Unpacked<L>& a,
                               const Unpacked<L>& b) {
  const auto exact = quotient(a.significand, b.significand, f.precision());
  const typename L::Exponent exponent = a.exponent - b.exponent - f.least_exponent() + exact.scale;
  return round_to_format(f, mode, sign, exponent, exact.significand);
}

template <class L>
[[gnu::noinline]] typename L::Bits divide_special(const L& f, rounding_mode mode, bool sign,
                                                  const typename L::Bits& ma, const typename L::Bits& mb) {
  if (f.is_nan(ma) || f.is_nan(mb)) return propagate_nan(f, ma, mb);
  if (!f.is_finite(ma)) return f.is_finite(mb) ? f.with_sign(ma, sign) : invalid_operation(f);
  if (f.is_zero(ma) && f.is_zero(mb)) return invalid_operation(f);
  if (f.is_zero(ma) || !f.is_finite(mb)) return f.zero(sign);
  if (f.is_zero(mb)) {
    raise(flag_divide_by_zero);
    return f.with_sign(f.infinity(), sign);
  }
  return divide_finite(f, mode, sign, unpack(f, ma), unpack(f, mb));
}

/// a / b.
template <class L>
typename L::Bits divide(const L& f, rounding_mode mode, const typename L::Bits& a,
                        const typename L::Bits& b) {
  const auto &ma = f.magnitude(a), &mb = f.magnitude(b);
  const bool sign = f.sign(a) != f.sign(b);
  if (!f.is_normal(ma) || !f.is_normal(mb)) [[unlikely]]
    return divide_special(f, mode, sign, ma, mb);
  return divide_finite(f, mode, sign, unpack_normal(f, ma), unpack_normal(f, mb));
}

template <class L>
typename L::Bits square_root_finite(const L& f, rounding_mode mode, const Unpacked<L>& a) {
  using Exponent = typename L::Exponent;
  const Exponent exponent = a.exponent + f.least_exponent();
  const Exponent half = exponent >> 1;  // rounds down
  const unsigned odd = exponent != half * 2;
  const auto exact = square_root(a.significand, odd, f.precision());
  return round_to_format(f, mode, false, Exponent(half - f.least_exponent() + exact.scale),
                         exact.significand);
}

template <class L>
[[gnu::noinline]] typename L::Bits square_root_special(const L& f, rounding_mode mode,
                                                       const typename L::Bits& a) {
  const auto& ma = f.magnitude(a);
  if (f.is_nan(ma)) return propagate_nan(f, ma);
  if (f.is_zero(ma)) return a;
  if (f.sign(a)) return invalid_operation(f);
  if (!f.is_finite(ma)) return a;
  return square_root_finite(f, mode, unpack(f, ma));
}

/// √a; √−0 is −0.
template <class L>
typename L::Bits square_root(const L& f, rounding_mode mode, const typename L::Bits& a) {
  const auto& ma = f.magnitude(a);
  if (!f.is_normal(ma) || f.sign(a)) [[unlikely]]
    return square_root_special(f, mode, a);
  return square_root_finite(f, mode, unpack_normal(f, ma));
}

}  // namespace quarv::swflt
