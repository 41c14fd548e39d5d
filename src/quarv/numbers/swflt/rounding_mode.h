/// \file
/// The rounding directions of the software floating point.
#pragma once

#include <cstdint>

namespace quarv::swflt {

/// The rounding-direction attributes of IEEE 754 (section 4.3) for binary formats, without ties to away.
enum rounding_mode : std::uint32_t {
  round_nearest_even = 0,
  round_toward_zero = 1,
  round_toward_positive = 2,
  round_toward_negative = 3,
};

}  // namespace quarv::swflt
