#pragma once

#include <cstddef>
#include <span>
#include <string>

#include <quarv/rules/language/rule_language.h>

namespace quarv::cli {

/// Applies rules to terms of the pattern of one of them; returns such a term, in SMT-LIB, if rewriting came
/// back to where it had been or did not come to an end within its budget, and nothing otherwise. \param own
/// rules of a user's, which are added to the standard and the extended ones
std::string loop_through(std::span<const rules::Rule> rules, std::size_t i, bool own);

/// Why a standard rule for which there is no order cannot be applied without end; null where that is not
/// known.
const char* why_it_ends(std::string_view name);

}  // namespace quarv::cli
