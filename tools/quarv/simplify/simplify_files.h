#pragma once

#include <string>
#include <vector>

#include <quarv/smtlib/simplify_script.h>

namespace quarv::cli {

/// What is done with each of several scripts; without any of these, the simplified scripts are printed one
/// after the other.
struct FileActions {
  bool check = false;     ///< name it if simplification would change it, print nothing
  bool diff = false;      ///< print what simplification changes; with `check` name the file, too
  bool colour = false;    ///< of the diff
  bool in_place = false;  ///< write it where it was read from, if it has changed; print nothing
};

/// Simplifies scripts file by file. One with an error is reported, and the others are done all the same.
/// Returns the exit status: whether there was no error, and nothing to name. Throws UnknownRule, InputError
/// for rule files, and FileError when standard output cannot be written.
int simplify_files(const std::vector<std::string>& paths, const FileActions& actions,
                   const smtlib::SimplifyOptions& options);

}  // namespace quarv::cli
