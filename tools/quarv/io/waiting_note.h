#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>

#include "io/process.h"

namespace quarv::cli {

/// Says on standard error, if that is a terminal, what takes its time and for how long it has done so: from
/// the first second on until this object ends.
class WaitingNote {
 public:
  explicit WaitingNote(std::string what) : what_(std::move(what)) {
    if (isatty(STDERR_FILENO) == 1) thread_ = std::thread([this] { run(); });
  }
  ~WaitingNote() {
    if (!thread_.joinable()) return;
    {
      const std::lock_guard lock(mutex_);
      over_ = true;
    }
    ended_.notify_one();
    thread_.join();
  }
  WaitingNote(const WaitingNote&) = delete;
  WaitingNote& operator=(const WaitingNote&) = delete;

 private:
  void run() {
    std::unique_lock lock(mutex_);
    int seconds = 0;
    while (!ended_.wait_for(lock, std::chrono::seconds(1), [this] { return over_; })) {
      say("\r{}: {} s\033[K", what_, ++seconds);
      std::fflush(stderr);
    }
    if (seconds != 0) say("\r\033[K");
  }

  std::string what_;
  std::mutex mutex_;
  std::condition_variable ended_;
  bool over_ = false;
  std::thread thread_;
};

}  // namespace quarv::cli
