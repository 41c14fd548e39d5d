#include "batch/script_source.h"

#include <filesystem>

#include "batch/archive.h"
#include "batch/input_set.h"
#include "io/compression.h"
#include "io/file_error.h"

namespace quarv::cli {

namespace fs = std::filesystem;

ScriptSource::ScriptSource(const std::string& name, const std::string& path, const std::string* bytes) {
  if (bytes == nullptr) {
    text_ = file_.emplace(path).text();
    return;
  }
  unpacked_ = decompressed(*bytes, name);
  text_ = unpacked_ ? *unpacked_ : *bytes;
}

std::string find_script(const std::string& name) {
  std::error_code error;
  fs::path archive = name;
  while (!fs::exists(archive, error) && archive.has_relative_path()) archive = archive.parent_path();
  if (archive == name || !fs::is_regular_file(archive, error)) {
    return std::string(ScriptSource(name, name, nullptr).text());
  }
  for (const BatchInput& input : find_inputs({archive.string()}, {})) {
    if (input.name != name) continue;
    ArchiveReader reader(input.path);
    std::string member;
    for (std::size_t i = 0; reader.next(member); ++i) {
      if (i != input.member) continue;
      const std::string bytes = reader.contents();
      return std::string(ScriptSource(name, input.path, &bytes).text());
    }
  }
  throw FileError("read", name, "the archive does not hold it");
}

}  // namespace quarv::cli
