#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <quarv/smtlib/simplify_script.h>

namespace quarv::cli {

/// A formula of a script, and what `quarv simplify` prints in its place.
struct PrintedFormula {
  std::string written;  ///< on one line, without comments, like the other
  std::string printed;
};

/// The formulas that a trace of the script counts as its assertions, in that order. Throws InputError.
std::vector<PrintedFormula> printed_formulas(std::string_view text, const std::string& name,
                                             smtlib::SimplifyOptions options);

}  // namespace quarv::cli
