#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "rules/mine/small_term.h"
#include <quarv/term/term_manager.h>

namespace quarv::cli {

/// A small term that stands in scripts, with variables for what lies deeper.
struct Sample {
  SmallTerm term;
  bool constants_fixed = false;      ///< the constants that have names are these numbers, not any
  std::uint64_t uses = 0;            ///< occurrences of which no part but the root is used elsewhere
  std::vector<std::uint32_t> files;  ///< where it occurs, in ascending order
};

/// By `key_of` of their terms, and whether the constants are fixed.
using Samples = std::map<std::string, Sample>;

/// Cuts the terms of a script into small ones: all that have up to `most_operators` operators of the rule
/// language. Widths are brought down as far as the shape of a term stays what it is, so that like terms
/// become one.
Samples collect(const TermManager& manager, std::span<const Term* const> terms, std::uint32_t file,
                std::size_t most_operators);

/// Adds what was found in another file, a later one.
void merge(Samples& all, Samples&& more);

/// Of samples that differ in numbers only, and alike in how these are related, the ones that are used most;
/// the smallest first, and among those of one size the ones used most.
std::vector<Sample> representatives(const Samples& all);

}  // namespace quarv::cli
