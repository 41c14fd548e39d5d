#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "io/input.h"

namespace quarv::cli {

/// A script in memory, uncompressed.
class ScriptSource {
 public:
  /// Reads the file at `path`, unless `bytes` are what it holds. `name` is that by which results call it.
  /// Throws FileError.
  ScriptSource(const std::string& name, const std::string& path, const std::string* bytes);

  std::string_view text() const noexcept { return text_; }

 private:
  std::optional<Input> file_;
  std::optional<std::string> unpacked_;
  std::string_view text_;
};

/// The script that results call so, be it a file or in an archive. Throws FileError and ArchiveError.
std::string find_script(const std::string& name);

}  // namespace quarv::cli
