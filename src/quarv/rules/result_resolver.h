#pragma once

#include <cstddef>
#include <vector>

#include <quarv/rules/rule_language.h>

namespace quarv::rules {

/// The result of a rule as it is read, before it is put into building order.
struct ResultTree {
  ResultNode node;  ///< without arguments and width
  std::vector<ResultTree> children;
  std::size_t column = 0;
};

/// Fills `rule->result` from `tree`: checks that truth values and bit-vectors stand where they may, finds for
/// every constant the operand whose width it takes, and orders the nodes so that whatever a node needs is
/// built before it, otherwise from left to right. Throws RuleError.
void resolve_result(const ResultTree& tree, Rule* rule);

}  // namespace quarv::rules
