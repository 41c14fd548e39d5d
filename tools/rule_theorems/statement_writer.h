#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <quarv/rules/language/rule_language.h>

namespace rule_theorems {

/// What a rule says, for Coq, in the words of proofs/Bv.v.
struct Statement {
  std::string text;    ///< the definitions
  std::string digest;  ///< of `text`, which quotes the rule
};

/// `number` counts from 1 in the rule's file.
///
/// `applies_N` takes the rule's terms and integers: the pattern is well-sorted and the conditions hold.
/// `rule_N`, of the same: if the rule applies, the result is well-sorted and equal to the pattern. `holds_N`:
/// so it is for all terms of all widths and all integers. `holds_N_where`: so it is for those that meet one
/// more condition. `never_N`: none meet the conditions. Conditions that say nothing of values (what is a
/// numeral, which term is older) are left out, so that what is stated is rather more than the rule needs.
Statement statement(const quarv::rules::Rule& rule, std::size_t number);

}  // namespace rule_theorems
