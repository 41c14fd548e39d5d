#pragma once

#include <string>
#include <string_view>

namespace quarv::cli {

/// A digest of what a script says: scripts that differ only in the names that they declare, in logic, options
/// and information, in declarations that are not used, in assertions that are `true`, and in layout have the
/// same. Scripts with the same digest have the same commands on the same formulas, up to renaming.
std::string formula_digest(std::string_view script);

}  // namespace quarv::cli
