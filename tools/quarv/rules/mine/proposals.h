#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "rules/mine/collector.h"

namespace quarv::cli {

/// A rule that holds for whatever was tried, made of a sample.
struct Proposal {
  std::size_t sample = 0;       ///< its number
  std::string rule;             ///< text
  std::size_t size_before = 0;  ///< nodes of the sample as it is simplified without the rule
  std::size_t size_after = 0;   ///< nodes of what takes its place
};

/// Numbers of samples that have the same ingredients, and share a pool.
std::vector<std::vector<std::size_t>> groups_of(std::span<const Sample> samples, std::size_t first,
                                                std::size_t last);

/// Proposes rules for the samples of a group, at most one for each; `found` are rules that there are already
/// beside the program's own.
std::vector<Proposal> propose(std::span<const Sample> samples, const std::vector<std::size_t>& group,
                              const std::vector<std::string>& found);

}  // namespace quarv::cli
