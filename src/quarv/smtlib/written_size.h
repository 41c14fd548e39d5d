#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <quarv/export.h>

namespace quarv::smtlib {

/// Number of distinct sub-terms of a script's formulas and definitions as they are written: the same term
/// counts once, wherever it stands, and names of definitions and `let` stand for what they name. Texts before
/// and after simplification are counted alike. Commands that are not understood count as nothing where
/// `lenient`. Throws InputError.
QUARV_API std::size_t written_size(std::string_view text, const std::string& file, bool lenient = false);

}  // namespace quarv::smtlib
