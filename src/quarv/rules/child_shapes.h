#pragma once

#include <quarv/rules/rule_index.h>
#include <quarv/rules/rule_language.h>

namespace quarv::rules {

/// What a rule asks of the root's first two arguments, and of what is below them.
ChildShapes child_shapes(const Rule& rule);

}  // namespace quarv::rules
