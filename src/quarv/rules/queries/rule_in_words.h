#pragma once

#include <string>

#include <quarv/export.h>
#include <quarv/rules/language/rule_language.h>

namespace quarv::rules {

/// The rule as a person would say it: "t + c becomes c + t if c is a constant and t is not a constant."
QUARV_API std::string in_words(const Rule& rule);

}  // namespace quarv::rules
