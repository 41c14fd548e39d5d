#pragma once

#include <span>
#include <string>
#include <string_view>

#include <quarv/export.h>

namespace quarv {

/// Of some names the one that is most like `name`: the fewest characters have to be added, taken away or
/// replaced. The first of several; empty where none is near enough to be meant.
QUARV_API std::string nearest_name(std::string_view name, std::span<const std::string> names);

}  // namespace quarv
