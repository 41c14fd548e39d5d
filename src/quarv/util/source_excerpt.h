#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <quarv/export.h>

namespace quarv {

/// A place in a text. Lines and columns count from 1, columns in bytes.
struct SourcePlace {
  std::size_t line;
  std::size_t column;

  /// "line:column".
  std::string to_string() const { return std::to_string(line) + ':' + std::to_string(column); }
};

/// Where the byte with number `offset` is; the size of the text is the place behind its last byte.
QUARV_API SourcePlace place_in(std::string_view text, std::size_t offset) noexcept;

/// The line around a place, and below it a caret under what stands there; both indented and ended by a
/// newline. Of a long line only the surroundings are shown. What a terminal would not show as characters side
/// by side is replaced: a tab by a blank, control characters and bytes that are not UTF-8 by U+FFFD.
/// Empty for a blank line, which shows nothing.
QUARV_API std::string source_excerpt(std::string_view text, std::size_t offset);

/// Likewise; empty when the text has no such place.
QUARV_API std::string source_excerpt(std::string_view text, SourcePlace place);

}  // namespace quarv
