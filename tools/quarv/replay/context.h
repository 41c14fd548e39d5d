#pragma once

#include "replay/trace_terms.h"

namespace quarv::cli {

/// The same formula or choice, in which each operand says what it says where the others decide nothing yet:
/// in `(and (= x 3) (p x))` 3 stands for x, and in `(ite c (p c) a)` true for c. One level deep; large terms
/// stay as they are.
TraceTerms::Id in_context(TraceTerms& terms, TraceTerms::Id id);

}  // namespace quarv::cli
