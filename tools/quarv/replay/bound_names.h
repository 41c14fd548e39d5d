#pragma once

#include "replay/term_closure.h"
#include "replay/trace_terms.h"

namespace quarv::cli {

/// Merges each quantified formula with the one that has other variables in place of its own, the same for all
/// formulas that quantify as deep: so that those which differ in the names of bound variables alone are equal
/// when the closure has been closed.
void merge_renamed(TraceTerms& terms, TermClosure& closure);

}  // namespace quarv::cli
