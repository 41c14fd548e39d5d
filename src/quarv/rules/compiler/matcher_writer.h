#pragma once

#include <string>
#include <string_view>

#include <quarv/rules/language/rule_language.h>

namespace rulec {

/// What precedes the matchers in a source file. `set` is the rule file's name without extension.
std::string matcher_prologue(std::string_view set);

/// The `operator()` of a rule's class: straight-line code that tests everything before it builds anything.
std::string matcher(const quarv::rules::Rule& rule);

}  // namespace rulec
