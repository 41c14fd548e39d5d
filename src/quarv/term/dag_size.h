#pragma once

#include <cstddef>
#include <span>

#include <quarv/export.h>
#include <quarv/term/term_manager.h>

namespace quarv {

/// Number of distinct sub-terms of `terms`, themselves included. \throws SortError for a null term and one
/// of another manager
QUARV_API std::size_t dag_size(const TermManager& manager, std::span<const Term* const> terms);

}  // namespace quarv
