#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "rules/mine/collector.h"

namespace quarv::cli {

/// The operators of these words, by which terms are enumerated: on bit-vectors of one width, and comparisons
/// of such. Throws std::invalid_argument, with a message, for any other word.
std::vector<const rules::OperatorWord*> enumerable_operators(std::span<const std::string> words);

/// All terms of one up to `most_operators` operators, comparisons at the root alone, over variables and the
/// constants 0, 1 and all ones of a width: small terms first, and of those that differ in the names of
/// variables only one. Throws std::invalid_argument when there are too many.
std::vector<Sample> enumerate_terms(std::span<const rules::OperatorWord* const> operators,
                                    std::size_t most_operators, std::size_t width);

}  // namespace quarv::cli
