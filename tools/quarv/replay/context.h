#pragma once

#include <cstddef>

#include "replay/trace_terms.h"

namespace quarv::cli {

/// The same formula or choice, in which each operand says what it says where the others decide nothing yet:
/// in `(and (= x 3) (p x))` 3 stands for x, and in `(ite c (p c) a)` true for c. One level deep. Takes what
/// it looks at from the effort that is left; large terms stay as they are.
TraceTerms::Id in_context(TraceTerms& terms, TraceTerms::Id id, std::size_t& effort_left);

}  // namespace quarv::cli
