#pragma once

#include <cstdlib>
#include <filesystem>

namespace quarv {

/// The folder of real scripts: the variable QUARV_CORPUS, by default a place beside the tree, and where that
/// is not there, the few that are part of the tree.
inline std::filesystem::path corpus_folder() {
  const char* given = std::getenv("QUARV_CORPUS");
  if (given != nullptr && *given != '\0') return given;
  const std::filesystem::path source = QUARV_SOURCE_DIR;
  const std::filesystem::path beside = source.parent_path() / "shared" / "corpus";
  return std::filesystem::exists(beside) ? beside : source / "tests" / "data" / "corpus";
}

}  // namespace quarv
