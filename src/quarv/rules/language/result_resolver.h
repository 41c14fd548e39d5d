#pragma once

#include <cstddef>
#include <vector>

#include <quarv/rules/language/rule_language.h>
#include <quarv/rules/language/rule_sorts.h>

namespace quarv::rules {

/// The result of a rule as it is read, before it is put into building order.
struct ResultTree {
  ResultNode node;  ///< without arguments and width
  std::vector<ResultTree> children;
  std::size_t column = 0;
};

/// Fills `rule->result` from `tree`: finds the sorts, which must fit, and for every constant the operand
/// whose width it takes, and orders the nodes so that whatever a node needs is built before it, otherwise
/// from left to right. Throws RuleError.
void resolve_result(ResultTree tree, SortInference* sorts, Rule* rule);

}  // namespace quarv::rules
