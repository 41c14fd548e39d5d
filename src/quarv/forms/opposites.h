#pragma once

#include <quarv/forms/form_graph.h>

namespace quarv::forms {

/// Where something is negated, writes down the form that says the opposite without a negation: with
/// (not (< a b)) also (>= a b), with (not (distinct a b)) also (= a b), and the other way round; with
/// (xor (not a) b) also (= a b).
///
/// Whether anything was written down: then classes may have become equal that are not known to be.
bool add_opposites(FormGraph& graph, const DataType* bool_sort);

/// The same of equations alone.
bool add_disequalities(FormGraph& graph, const DataType* bool_sort);

}  // namespace quarv::forms
