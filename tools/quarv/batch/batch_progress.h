#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "io/progress_bar.h"

namespace quarv::cli {

/// Tells on standard error how far a batch has come: by a bar on a terminal, by a line now and then
/// elsewhere.
class BatchProgress {
 public:
  explicit BatchProgress(std::size_t total) : total_(total), bar_(total) {}

  /// One more file is done. Files that need not be done again are not counted in the rate.
  void add(bool failed, bool skipped);

  /// Shows the state, if it is time to do so.
  void show();

  void clear() const { bar_.clear(); }

 private:
  using Clock = std::chrono::steady_clock;

  std::string rate() const;

  std::size_t total_;
  std::size_t done_ = 0;
  std::size_t failed_ = 0;
  std::size_t skipped_ = 0;
  ProgressBar bar_;
  Clock::time_point start_ = Clock::now();
  Clock::time_point shown_ = start_;
};

}  // namespace quarv::cli
