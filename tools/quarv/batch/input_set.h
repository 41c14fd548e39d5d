#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace quarv::cli {

/// One script of a batch.
struct BatchInput {
  /// As the results call it: its path, or its archive's path and the path therein. Results are Unicode: bytes
  /// of a path that is not, are written like "\\xff".
  std::string name;
  std::string path;    ///< of the file to open
  std::string output;  ///< where it goes below the output folder; the script's name, not compressed
  std::optional<std::size_t> member;  ///< of the archive at `path`: counts from 0
  std::string error;                  ///< why it cannot even be looked for; empty if it can
};

/// Two inputs would have the same output, or something would be written in place of an input.
class InputConflict : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Where a batch writes; each may be empty.
struct BatchOutputs {
  std::string folder;
  std::string suffix;   ///< of the files in the folder, after those of the scripts
  std::string results;  ///< a file
};

/// Finds the scripts that files, folders and archives hold, in the order of their names. Of folders, with all
/// that is below them, the files are taken whose names end in .smt2, .gz, .xz, .zst or as archives' do; of
/// archives likewise. What cannot be read, and a path where there is no script at all, is an input with an
/// error. Nothing below the output folder is an input. Throws InputConflict.
std::vector<BatchInput> find_inputs(const std::vector<std::string>& paths, const BatchOutputs& outputs);

/// Whether input `name` belongs to share `share` of `shares`, from 1. That depends on the name alone: the
/// first 64 bits of its SHA-256 digest, modulo the number of shares.
bool is_in_share(const std::string& name, std::size_t share, std::size_t shares);

}  // namespace quarv::cli
