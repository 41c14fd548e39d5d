#pragma once

#include <quarv/forms/form_graph.h>

namespace quarv::forms {

/// Where a conjunction says of several terms that each differs from each, writes down the form that says so
/// at once: with (and (distinct a b) (distinct a c) (distinct b c) p) also (and (distinct a b c) p). Likewise
/// for disjunctions that say the opposite: (or (= a b) (= a c) (= b c)) is (not (distinct a b c)).
///
/// Looks at a bounded part of large graphs. Whether anything was written down: then classes may have become
/// equal that are not known to be.
bool add_cliques(FormGraph& graph, const DataType* bool_sort);

}  // namespace quarv::forms
