#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "rules/mine/rule_text.h"
#include "rules/rule_evaluator.h"

namespace quarv::cli {

/// Makes rules for all widths of a term and a smaller one that was equal to it at its widths.
///
/// Integers of the result become sums and differences of integers of the pattern that have these values; then
/// all that holds of the sample's numbers and can be said in the rule language is stated as conditions; and
/// of these, the ones without which the rule still holds, by the reference evaluator, are left out, the
/// narrowest first.
class Generalizer {
 public:
  /// The text of a rule that holds for whatever was tried; nothing when none was found.
  std::optional<std::string> generalize(const Sample& sample, const SmallTerm& result);

 private:
  std::optional<std::string> generalize(const Sample& sample, const SmallTerm& result, ConstantNames names,
                                        bool by_value);
  std::optional<std::string> with_conditions(const Sample& sample, const PatternText& pattern,
                                             const std::vector<std::string>& bindings,
                                             const std::string& result, std::vector<std::string> stated);
  bool holds(const std::string& text, const SmallTerm& sample, bool thoroughly);

  RuleEvaluator evaluator_;
};

}  // namespace quarv::cli
