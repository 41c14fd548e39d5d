#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include <quarv/rules/language/rule_language.h>

namespace quarv::cli {

/// The most general term that one rule matches as a whole and another one in a part.
struct RuleOverlap {
  rules::Rule
      pattern;  ///< the term is its pattern, its conditions are those of both; the result means nothing
  std::vector<std::size_t> path;  ///< which arguments lead from the root to the part
};

/// Unifies the part of the pattern of `outer` at a position, which must be an application, with the pattern
/// of `inner`. Variables are renamed. Nothing when no term has both shapes. What else the conditions demand,
/// of widths, indices, numerals and ages, is not looked at.
std::optional<RuleOverlap> overlap_of(const rules::Rule& outer, std::size_t position,
                                      const rules::Rule& inner);

}  // namespace quarv::cli
