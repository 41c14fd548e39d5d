#pragma once

#include <string_view>

namespace quarv {

/// What a file holds behind the byte order mark with which some editors begin it.
inline std::string_view without_byte_order_mark(std::string_view file) noexcept {
  constexpr std::string_view mark = "\xEF\xBB\xBF";
  return file.substr(file.starts_with(mark) ? mark.size() : 0);
}

}  // namespace quarv
