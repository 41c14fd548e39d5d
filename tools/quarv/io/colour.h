#pragma once

#include <string>

namespace quarv::cli {

/// Whether standard output is to be coloured, by the value of --color: "auto" at a terminal that can, unless
/// the environment has NO_COLOR; "always"; "never".
bool wants_colour(const std::string& when);

}  // namespace quarv::cli
