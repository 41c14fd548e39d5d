#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "expression.h"
#include <quarv/term/term_manager.h>

namespace quarv::fuzz {

/// Appends the terms and their sub-terms to the expressions and returns where the terms stand. Annotations
/// are left out. \throws std::out_of_range for quantifiers and other terms that have no expression
std::vector<std::size_t> translate(TermManager& manager, std::span<const Term* const> terms, Sorts& sorts,
                                   Expressions& expressions);

}  // namespace quarv::fuzz
