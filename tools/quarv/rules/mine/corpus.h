#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "batch/input_set.h"
#include "rules/mine/collector.h"
#include <quarv/session/user_rules.h>

namespace quarv::cli {

/// What rules do to one script.
struct ScriptCount {
  std::size_t terms = 0;                      ///< that are left
  std::map<std::string, std::uint64_t> uses;  ///< by name or number: how often each rule was applied
};

/// Scripts to be simplified again and again.
class Corpus {
 public:
  explicit Corpus(const std::vector<std::string>& paths) : inputs_(find_inputs(paths, {})) {}

  std::size_t size() const noexcept { return inputs_.size(); }
  const std::string& name(std::size_t i) const { return inputs_[i].name; }
  /// Of all texts, and of what they are called.
  std::string digest() const;

  /// The small terms that simplification with these rules in addition leaves in a script; nothing when it
  /// cannot be read. All members from here on may be called from several threads at once.
  std::optional<Samples> samples(std::size_t i, std::size_t most_operators,
                                 const std::vector<RuleFile>& rules) const;

  /// Simplifies a script with rules in addition; nothing when it cannot be read.
  std::optional<ScriptCount> count(std::size_t i, const std::vector<RuleFile>& rules, bool with_uses) const;

 private:
  std::vector<BatchInput> inputs_;
};

}  // namespace quarv::cli
