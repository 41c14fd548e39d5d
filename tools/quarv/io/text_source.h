#pragma once

#include <memory>
#include <string>

namespace quarv::cli {

/// Text that arrives bit by bit: typed, piped or from a file.
class TextSource {
 public:
  virtual ~TextSource() = default;

  /// Waits for more text and appends it to `text`; false at the end. `idle` says that no command has been
  /// begun, which decides how the user is asked. Throws FileError.
  virtual bool read(std::string& text, bool idle) = 0;

  /// Someone types the text and sees the responses.
  virtual bool interactive() const noexcept { return false; }
};

/// The file of that path. "-" is standard input, with line editing when it and standard output are a
/// terminal.
std::unique_ptr<TextSource> open_text_source(const std::string& path);

}  // namespace quarv::cli
