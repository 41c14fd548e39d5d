/// \file
/// The conversion of a real number to a float. It has no tag: its symbols are opaque ones, which are called
/// as SMT-LIB writes the head, "(_ to_fp 8 24)".
#pragma once

#include <cstddef>

#include <quarv/export.h>

namespace quarv {

class Symbol;
class TermManager;

/// The symbol of the conversion to floats of so many bits of exponent and stored significand.
QUARV_API const Symbol* make_real_to_float_symbol(TermManager& manager, std::size_t exponent_width,
                                                  std::size_t significand_width);

/// Whether the symbol is such a conversion; stores the widths.
QUARV_API bool is_real_to_float(const TermManager& manager, const Symbol* symbol, std::size_t* exponent_width,
                                std::size_t* significand_width);

}  // namespace quarv
