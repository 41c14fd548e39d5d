#pragma once

#include <string>

#include "batch/input_set.h"
#include "batch/results.h"
#include "batch/worker_pool.h"
#include "io/compression.h"
#include <quarv/smtlib/simplify_script.h>

namespace quarv::cli {

/// What is to be done with every file.
struct FileTaskOptions {
  smtlib::SimplifyOptions simplify;
  std::string output_folder;  ///< empty: nothing is written
  Compression compression = Compression::none;
};

/// Where the simplified script goes.
std::string output_path(const BatchInput& input, const FileTaskOptions& options);

/// One file's work, to be done in a process of its own: the script is read, simplified and written, and
/// `log` gets a row of results. `bytes` are the file's, if they have been read already. When the script
/// has the digest `known_digest`, and its output is there, nothing is done but saying so.
void do_file(const BatchInput& input, const std::string* bytes, const std::string& known_digest,
             const FileTaskOptions& options, TaskLog& log);

/// The row of a file that was given to a process that ended so; nothing when it need not have been done.
std::optional<Row> row_of(const BatchInput& input, const Ending& ending, const BatchLimits& limits);

/// The row of a file that no process was given.
Row unreadable_row(const BatchInput& input, const std::string& message);

/// The script's digest in a row; empty if it was not read.
std::string digest_in(const Row& row);

}  // namespace quarv::cli
