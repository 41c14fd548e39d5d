#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <quarv/rules/language/rule_language.h>

namespace rulec {

/// The header that defines the rules' classes. `set` is the rule file's name without extension.
std::string class_header(std::string_view set, const std::vector<quarv::rules::Rule>& rules);

/// The source of the function that registers them.
std::string registration(std::string_view set, const std::vector<quarv::rules::Rule>& rules);

}  // namespace rulec
