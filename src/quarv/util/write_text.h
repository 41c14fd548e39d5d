#pragma once

#include <ostream>
#include <string_view>

namespace quarv {

/// Writes the text as `out << text` does, but for lack of memory: of std::bad_alloc, which growing strings
/// throw, a stream makes an error of its own that nobody may ask for, and the text would be cut short.
inline void write_text(std::ostream& out, std::string_view text) {
  const std::ostream::sentry ready(out);
  const auto size = static_cast<std::streamsize>(text.size());
  if (!ready || out.rdbuf()->sputn(text.data(), size) != size) out.setstate(std::ios::badbit);
}

}  // namespace quarv
