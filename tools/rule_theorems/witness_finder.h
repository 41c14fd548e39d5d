#pragma once

#include <cstddef>
#include <string>

#include <quarv/rules/language/rule_language.h>

namespace rule_theorems {

/// A theorem for Coq: the rule of that number applies to some small term, so that its statement is not true
/// for want of cases. Empty if none is found.
std::string witness(const quarv::rules::Rule& rule, std::size_t number);

}  // namespace rule_theorems
