/// The exception flags of IEEE 754 (section 7) for the software floating point.
#pragma once

#include <cstdint>

#include <quarv/export.h>

namespace quarv::swflt {

/// The five exceptions of IEEE 754, as bits of `float_exception_flags`.
enum exception_flag : std::uint8_t {
  /// The rounded result is not the exact one.
  flag_inexact = 1,
  /// The exact result is not zero, below the smallest normal number (before rounding), and the rounded one is
  /// inexact.
  flag_underflow = 2,
  /// The result, rounded as if the exponent were unbounded, is above the largest finite number.
  flag_overflow = 4,
  /// A finite number other than zero was divided by zero.
  flag_divide_by_zero = 8,
  /// An operand was a signalling NaN; or the operation has no value: ∞ − ∞, 0 · ∞, 0 / 0, ∞ / ∞, the root of
  /// a negative
  /// number, an ordering comparison with a NaN, a conversion to an integer of a value that it cannot hold.
  flag_invalid = 16,
};

/// The exceptions raised in this thread since it last stored 0. Operations only set bits.
QUARV_API extern constinit thread_local std::uint8_t float_exception_flags;

inline void raise(unsigned flags) {
  float_exception_flags = static_cast<std::uint8_t>(float_exception_flags | flags);
}

}  // namespace quarv::swflt
