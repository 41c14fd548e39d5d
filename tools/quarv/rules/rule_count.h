#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <quarv/session/session.h>

namespace quarv::cli {

/// What a rule does when scripts are simplified.
struct RuleCount {
  std::uint64_t uses = 0;   ///< how often it is applied
  std::size_t scripts = 0;  ///< in how many scripts
  std::uint64_t tries = 0;  ///< how often it is matched against a term
  std::int64_t saved = 0;   ///< how many more distinct terms are left without this rule
  bool is_on = true;        ///< rules that do not hold for all values are not applied

  /// Tries for each term that is saved; those that save nothing cost more than all others.
  double cost() const;
};

struct RuleCounts {
  std::vector<RuleCount> rules;  ///< in the order of the session's
  std::size_t num_scripts = 0;   ///< that could be read
  bool complete = true;          ///< false: a signal came before all was known of what the rules save
};

/// Simplifies scripts, and simplifies them again without each of the rules that was applied to them. `text`
/// gives the text of a script, and may throw; it is called from several threads. The caller notes signals.
RuleCounts count_rules(std::size_t num_scripts, const std::function<std::string(std::size_t)>& text,
                       const SessionOptions& options, unsigned jobs);

}  // namespace quarv::cli
