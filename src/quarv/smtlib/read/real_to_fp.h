#pragma once

#include <cstddef>

#include <quarv/numbers/q_number.h>
#include <quarv/term/term_manager.h>

namespace quarv::smtlib {

/// The literal of the format (`ew` exponent bits, `mw` stored significand bits) that `((_ to_fp ew mw+1)
/// rounding value)` stands for: `value`, rounded once. Null when `rounding` is not one of the constants
/// roundNearestTiesToEven, roundTowardZero, roundTowardPositive and roundTowardNegative.
const Term* fold_real_to_fp(TermManager& manager, const Term* rounding, const QNumber& value, std::size_t ew,
                            std::size_t mw);

}  // namespace quarv::smtlib
