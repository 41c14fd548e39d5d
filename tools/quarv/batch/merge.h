#pragma once

#include <string>
#include <vector>

#include "batch/results.h"

namespace quarv::cli {

/// Results of several shares joined, and what is missing from them.
struct MergedResults {
  Results results;                   ///< as if one run had done everything
  std::vector<std::string> missing;  ///< sentences
};

/// Joins result files. Of a file that several of them know, one is taken in which it is done. Throws
/// FileError and ResultsError, the latter when the files are not of the same version, options and limits.
MergedResults merge_results(const std::vector<std::string>& paths);

}  // namespace quarv::cli
