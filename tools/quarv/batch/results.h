#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

#include "io/file_descriptor.h"
#include "io/input.h"

namespace quarv::cli {

/// A file that holds no results of a batch. `what()` is one line.
class ResultsError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What may be spent on one file; 0: as much as it takes.
struct BatchLimits {
  double seconds = 0;
  std::uint64_t bytes = 0;
  bool operator==(const BatchLimits&) const = default;
};

/// What holds for all results in a file.
struct ResultsHeader {
  std::string version;
  std::string options;  ///< a JSON object: how files were simplified
  BatchLimits limits;
  std::size_t share = 1;
  std::size_t shares = 1;
  std::size_t inputs = 0;  ///< in all shares together
};

/// The result of one file: a line that holds a JSON object, and its "status".
struct Row {
  std::string status;
  std::string line;
};

/// The status of a file that has not been done.
inline constexpr std::string_view pending_status = "pending";

/// The results of a batch, finished or not.
struct Results {
  ResultsHeader header;
  std::map<std::string, Row> rows;  ///< by the file's name
};

/// JSON lines: the header, and a row for each file, in the order of names. Of several rows for a file in the
/// text the last one counts; so results can be added at its end.
std::string as_text(const Results& results);

Row pending_row(const std::string& name);

/// Throws ResultsError. A last line that is not complete is left out.
Results read_results(const Input& input);

/// A results file to which rows are added as work progresses. It is locked meanwhile.
class Journal {
 public:
  /// Replaces the file by `results`. Throws FileError, also when another journal has it.
  Journal(const std::string& path, const Results& results);

  /// Adds a row. What has been added outlives the process, however that ends.
  void add(const Row& row);

  /// Replaces all by `results`.
  void replace(const Results& results);

 private:
  std::string path_;
  FileDescriptor file_;
};

}  // namespace quarv::cli
