#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <unistd.h>

#include "io/process.h"

namespace quarv::cli {

/// Shows on standard error how far work has come, if that is a terminal.
class ProgressBar {
 public:
  explicit ProgressBar(std::size_t total) : total_(total), shown_(isatty(STDERR_FILENO) == 1) {}
  ~ProgressBar() { clear(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  bool shown() const noexcept { return shown_; }

  /// `note` stands behind the bar.
  void show(std::size_t done, const std::string& note = "") const {
    constexpr std::size_t length = 40;
    if (!shown_) return;
    const std::size_t filled = total_ == 0 ? length : done * length / total_;
    say("\r[{:<{}}] {}/{}{}\033[K", std::string(filled, '#'), length, done, total_, note);
    std::fflush(stderr);
  }
  void clear() const {
    if (shown_) say("\r\033[K");
  }

 private:
  std::size_t total_;
  bool shown_;
};

}  // namespace quarv::cli
