#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quarv::cli {

/// Bytes of a script.
struct TextRange {
  std::size_t begin = 0;
  std::size_t end = 0;
};

/// The innermost term within an assertion that covers a place, counted from 1, columns in bytes; of an
/// operator, an index or a sort, the term that it belongs to. None where no assertion is. `text` is a script
/// without errors. Nothing recurses.
std::optional<TextRange> term_at(std::string_view text, std::size_t line, std::size_t column);

}  // namespace quarv::cli
