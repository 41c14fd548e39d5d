#pragma once

#include <span>
#include <vector>

#include <quarv/forms/form_graph.h>
#include <quarv/util/large_pages.h>

namespace quarv::forms {

/// For each class a form such that no term contains itself when every class is written so: `wanted`, or the
/// first form where that is `none`, as far as that does not go round in a circle; some other form else.
/// `none` for a class that has no finite term. By class; those that stand for others count. Linear in the
/// forms.
LargeVector<FormId> grounded(const FormGraph& graph, std::span<const FormId> wanted);

}  // namespace quarv::forms
