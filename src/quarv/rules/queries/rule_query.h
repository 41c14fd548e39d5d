#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <quarv/export.h>
#include <quarv/rules/language/rule_language.h>
#include <quarv/rules/queries/rule_instance.h>

namespace quarv::rules {

/// An instance of a rule in the terms of SMT-LIB 2; of rules on bit-vectors alone, in the logic QF_BV.
struct RuleQuery {
  struct Variable {
    std::string name;    ///< in the rule
    std::string symbol;  ///< in the query: the rule's name need not be free in SMT-LIB
    std::size_t width;   ///< of a bit-vector
    std::string sort;    ///< in SMT-LIB
  };
  std::vector<Variable> variables;
  std::string conditions;  ///< on the variables' values
  std::string pattern;
  std::string result;  ///< empty when the result has no sort, or another one than the pattern
};

/// Writes an instance as a query; `suffix` ends the variables' symbols. Terms that the rule wants to
/// be the same are one variable. Being a numeral or not, and the order of terms, say nothing about values.
QUARV_API RuleQuery make_query(const Rule& rule, const RuleInstance& instance, std::string_view suffix = ".");

/// Declarations of the query's variables. Uninterpreted sorts are declared apart, since instances share them.
QUARV_API std::string declarations(const RuleQuery& query);

/// Declarations of the sorts that instances of the rule may have, "" for most rules.
QUARV_API std::string sort_declarations(const Rule& rule);

/// "The conditions hold and pattern and result differ"; without a result, the conditions alone. The rule
/// holds for the instance when this cannot be satisfied.
QUARV_API std::string refutation(const RuleQuery& query);

}  // namespace quarv::rules
