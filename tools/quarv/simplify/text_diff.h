#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

namespace quarv::cli {

/// Prints how `after` differs from `before`, line by line, in the unified format that `patch` reads; nothing
/// when they are the same. `name` is that of the file. Time grows as sorting does, whatever has changed.
void print_diff(const std::string& name, std::string_view before, std::string_view after, bool colour,
                std::ostream& out);

}  // namespace quarv::cli
