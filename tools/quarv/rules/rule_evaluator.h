#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "reference/sorts.h"
#include <quarv/rules/language/rule_language.h>
#include <quarv/rules/queries/rule_instance.h>

namespace quarv::cli {

/// Tries rules on numbers with the reference evaluator, which has its own arithmetic.
class RuleEvaluator {
 public:
  struct Outcome {
    std::uint64_t applied = 0;  ///< assignments under which the conditions hold
    /// Of the first assignment under which pattern and result differ: "t1 = 3, t2 = 0: the pattern is 1, the
    /// result 0", or why the result has no value.
    std::optional<std::string> counterexample{};
  };

  /// Tries an instance under all assignments where these are no more than `most_assignments`, otherwise under
  /// so many: corners first, then what `seed` says.
  Outcome run(const rules::Rule& rule, const rules::RuleInstance& instance, std::size_t most_assignments,
              std::uint64_t seed = 0);

 private:
  reference::Sorts sorts_;
};

/// Tries a rule under at least so many assignments in which its conditions hold, if there are so many, at
/// small and large widths; what `Outcome::counterexample` says, or nothing.
std::string counterexample_among(const rules::Rule& rule, std::uint64_t assignments);

}  // namespace quarv::cli
