#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <quarv/export.h>
#include <quarv/rules/language/rule_language.h>

namespace quarv::rules {

/// A rule has no more orders than this; the parser rejects it otherwise.
inline constexpr std::size_t max_orders = 64;

/// The rules that an unordered rule stands for, each matched as it is written: operands of commutative
/// operators change places, and nested applications of one associative operator are grouped in all ways. The
/// first is the rule as it is written; of those that say the same only the first is kept. A rule that is not
/// unordered stands for itself. Throws RuleError when there are more than `max_orders`.
QUARV_API std::vector<Rule> orders_of(const Rule& rule);

/// The pattern of a rule as the language writes it.
QUARV_API std::string pattern_in_order(const Rule& rule);

}  // namespace quarv::rules
