/// The comparisons of IEEE 754 (section 5.11) on encodings.
#pragma once

#include <quarv/numbers/swflt/exception_flags.h>
#include <quarv/numbers/swflt/layout.h>

namespace quarv::swflt {

/// Whether a and b are equal; zeros are, a NaN is not equal to anything. A signalling NaN raises invalid.
template <class L>
bool equal(const L& f, const typename L::Bits& a, const typename L::Bits& b) {
  const typename L::Bits ma = f.magnitude(a), mb = f.magnitude(b);
  if (f.is_nan(ma) || f.is_nan(mb)) {
    if (f.is_signalling(ma) || f.is_signalling(mb)) raise(flag_invalid);
    return false;
  }
  return a == b || (is_zero(ma) && is_zero(mb));
}

/// a < b, or a <= b if `or_equal`. A NaN is not ordered and raises invalid.
template <bool or_equal, class L>
bool ordered(const L& f, const typename L::Bits& a, const typename L::Bits& b) {
  const typename L::Bits ma = f.magnitude(a), mb = f.magnitude(b);
  if (f.is_nan(ma) || f.is_nan(mb)) {
    raise(flag_invalid);
    return false;
  }
  if (a == b || (is_zero(ma) && is_zero(mb))) return or_equal;
  const bool negative = f.sign(a);
  return negative != f.sign(b) ? negative : (ma < mb) != negative;
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
