#pragma once

#include <cstdlib>
#include <filesystem>

namespace quarv {

/// The folder of real scripts: the variable QUARV_CORPUS, by default a place beside the tree. It is not part
/// of the project and may not be there.
inline std::filesystem::path corpus_folder() {
  const char* given = std::getenv("QUARV_CORPUS");
  if (given != nullptr && *given != '\0') return given;
  return std::filesystem::path(QUARV_SOURCE_DIR).parent_path() / "shared" / "corpus";
}

}  // namespace quarv
