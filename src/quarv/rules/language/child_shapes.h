#pragma once

#include <quarv/rules/language/rule_language.h>
#include <quarv/rules/language/term_shape.h>

namespace quarv::rules {

/// What a rule asks of the root's first two arguments, and of what is below them.
ChildShapes child_shapes(const Rule& rule);

}  // namespace quarv::rules
