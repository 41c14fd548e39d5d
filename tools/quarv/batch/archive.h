#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

struct archive;

namespace quarv::cli {

/// An archive that is damaged. `what()` is one line.
class ArchiveError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A file in an archive that `DecompressionLimit` does not admit. The next one can be read.
class MemberTooLarge : public ArchiveError {
 public:
  using ArchiveError::ArchiveError;
};

/// The name says that it is a tar archive, compressed or not: ".tar", ".tar.gz", ".tgz", ".tar.xz", ...
bool is_archive_name(std::string_view name);

/// The regular files in a tar archive, one after the other.
class ArchiveReader {
 public:
  /// Throws ArchiveError for what is not a tar archive.
  explicit ArchiveReader(const std::string& path);

  /// Goes to the next file; false at the end. Throws ArchiveError when the archive is damaged.
  bool next(std::string& name);

  /// The bytes of the current file. Throws ArchiveError, MemberTooLarge among them.
  std::string contents();

  struct Free {
    void operator()(archive* a) const;
  };

 private:
  [[noreturn]] void fail() const;

  std::string path_;
  std::string member_;  // the current file
  std::unique_ptr<archive, Free> archive_;
};

}  // namespace quarv::cli
