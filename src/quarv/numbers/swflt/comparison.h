/// The comparisons of IEEE 754 (section 5.11) on encodings.
#pragma once

#include <quarv/numbers/swflt/exception_flags.h>
#include <quarv/numbers/swflt/layout.h>
#include <quarv/numbers/swflt/wide_layout.h>

namespace quarv::swflt {

/// A key in the order of the values of encodings that are not NaN; both zeros have the same.
template <class L>
typename L::Bits order_key(const L& f, const typename L::Bits& encoding, const typename L::Bits& magnitude) {
  using Bits = typename L::Bits;
  if constexpr (is_unbounded<Bits>) {
    return f.sign(encoding) ? Bits(-magnitude) : magnitude;
  } else {
    // Magnitudes leave the top bit free.
    return add_signed(power_of_two<Bits>(bits_of<Bits> - 1), magnitude, f.sign(encoding));
  }
}

/// Whether a and b are equal; zeros are, a NaN is not equal to anything. A signalling NaN raises invalid.
template <class L>
bool equal(const L& f, const typename L::Bits& a, const typename L::Bits& b) {
  const auto &ma = f.magnitude(a), &mb = f.magnitude(b);
  if (f.is_nan(ma) || f.is_nan(mb)) [[unlikely]] {
    if (f.is_signalling(ma) || f.is_signalling(mb)) raise(flag_invalid);
    return false;
  }
  if constexpr (is_wide_layout<L>) {
    return f.equal(a, b);
  } else {
    return order_key(f, a, ma) == order_key(f, b, mb);
  }
}

/// a < b, or a <= b if `or_equal`. A NaN is not ordered and raises invalid.
template <bool or_equal, class L>
bool ordered(const L& f, const typename L::Bits& a, const typename L::Bits& b) {
  const auto &ma = f.magnitude(a), &mb = f.magnitude(b);
  if (f.is_nan(ma) || f.is_nan(mb)) [[unlikely]] {
    raise(flag_invalid);
    return false;
  }
  if constexpr (is_wide_layout<L>) {
    return f.template ordered<or_equal>(a, b);
  } else {
    const typename L::Bits ka = order_key(f, a, ma), kb = order_key(f, b, mb);
    return or_equal ? ka <= kb : ka < kb;
  }
}

template <class L>
bool less(const L& f, const typename L::Bits& a, const typename L::Bits& b) {
  return ordered<false>(f, a, b);
}

template <class L>
bool less_or_equal(const L& f, const typename L::Bits& a, const typename L::Bits& b) {
  return ordered<true>(f, a, b);
}

}  // namespace quarv::swflt
