#pragma once

#include <string>

#include "batch/results.h"

namespace quarv::cli {

/// How a batch went, as a table, and its failures with their messages.
std::string summary_of(const Results& results);

/// The files that became the same formula, up to the names that they declare: a paragraph for each such
/// formula.
std::string duplicates_in(const Results& results);

/// True when every file has been simplified.
bool all_well(const Results& results);

}  // namespace quarv::cli
