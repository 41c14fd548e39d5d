#pragma once

#include <optional>
#include <span>
#include <string>

#include <quarv/rules/queries/rule_query.h>

namespace quarv::cli {

/// Whether the conditions of a rule's instance hold and pattern and result differ, by the reference
/// evaluator, when the query's variables have these values, in SMT-LIB. Nothing where that cannot be said:
/// for elements of uninterpreted sorts, and where the standard leaves values open.
std::optional<bool> is_counterexample(const rules::Rule& rule, const rules::RuleQuery& query,
                                      std::span<const std::string> values);

}  // namespace quarv::cli
