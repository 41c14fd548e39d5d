#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "batch/file_task.h"
#include "batch/input_set.h"
#include "batch/results.h"

namespace quarv::cli {

struct BatchOptions {
  FileTaskOptions task;
  ResultsHeader header;  ///< without the number of inputs
  unsigned jobs = 1;
  std::string results;  ///< a file, or what Output writes directly
  bool resume = false;
};

/// Does all files of a batch and returns their results. Throws what stops everything: FileError for results
/// that cannot be written.
Results run_batch(const std::vector<BatchInput>& inputs, const BatchOptions& options);

}  // namespace quarv::cli
