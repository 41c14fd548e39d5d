#pragma once

#include <span>
#include <string>

#include <quarv/export.h>
#include <quarv/term/term_manager.h>

namespace quarv::smtlib {

/// A script of logic ALL that declares the sorts and functions of some formulas and asserts the formulas.
/// \throws SortError for a term that is not Boolean, a null one and one of another manager
QUARV_API std::string script_text(const TermManager& manager, std::span<const Term* const> assertions);

}  // namespace quarv::smtlib
