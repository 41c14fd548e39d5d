#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

#include "simplify/statistics.h"
#include <quarv/smtlib/simplify_script.h>

namespace quarv::cli {

/// Simplifies a script and counts what is done, which costs little. The statistics lack what `measure_texts`
/// finds out. Throws what smtlib::simplify_script throws.
Statistics simplify_text(std::string_view text, const std::string& name, std::ostream& out,
                         smtlib::SimplifyOptions options);

/// Reads input and output as they are written: how large they are, and how long it takes to read the input,
/// shows what simplification does. Completes what simplify_text has returned.
void measure_texts(std::string_view text, std::string_view simplified, const std::string& name,
                   Statistics& statistics);

}  // namespace quarv::cli
