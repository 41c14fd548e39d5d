#pragma once

#include "replay/term_closure.h"
#include "replay/term_values.h"
#include "replay/trace_terms.h"

namespace quarv::cli {

/// What the reader of scripts makes of an operator by its definition, or of an operator on literals, is no
/// step: such terms are merged with others of their value.
void merge_read(const TraceTerms& terms, TermValues& values, TermClosure& closure);

}  // namespace quarv::cli
