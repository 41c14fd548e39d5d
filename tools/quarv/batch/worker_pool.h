#pragma once

#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

#include "batch/results.h"
#include "io/file_descriptor.h"

namespace quarv::cli {

/// Where a worker process leaves lines for the process that started it. A line is there as soon as it is
/// added, whatever becomes of the worker.
class TaskLog {
 public:
  explicit TaskLog(int file) : file_(file) {}

  /// Throws FileError.
  void add(std::string_view line);

 private:
  int file_;
};

/// How a worker process ended.
struct Ending {
  enum class Kind : std::uint8_t { exited, killed, time_limit };

  std::size_t task;
  Kind kind;
  int code;            ///< the exit status or the signal
  std::string log;     ///< lines
  std::string errors;  ///< the beginning of what it wrote on standard error
  double seconds;
  std::uint64_t peak_memory;  ///< bytes, resident
};

/// Runs each task in a process of its own, a few side by side: what happens to one of them, be it that it
/// crashes or runs into a limit, happens to none of the others, and all memory that a task used is gone after
/// it. The processes are copies of this one, which is cheap as long as this one is small.
class WorkerPool {
 public:
  /// Until its end this object handles the signals that interrupt the program.
  WorkerPool(unsigned jobs, const BatchLimits& limits);
  ~WorkerPool() {
    end_all();
    release_signals();
  }
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  bool is_full() const noexcept { return num_running_ == slots_.size(); }
  bool is_idle() const noexcept { return num_running_ == 0; }

  /// Starts a process that calls `work`. The pool must not be full.
  void start(std::size_t task, const std::function<void(TaskLog&)>& work);

  /// Waits until a process has ended, or for `patience`.
  std::optional<Ending> wait(std::chrono::milliseconds patience);

  /// Ends all processes.
  void end_all() noexcept;

  /// Handles signals no longer: one that has come again meanwhile ends the program at once.
  void release_signals() noexcept;

  /// The signal by which the user wants to end the program, or 0.
  int interrupted() const noexcept { return interrupted_; }

 private:
  using Clock = std::chrono::steady_clock;

  struct Slot {
    pid_t process = -1;  // -1: free
    std::size_t task = 0;
    Clock::time_point started;
    bool timed_out = false;
    FileDescriptor log;
    FileDescriptor errors;
  };

  [[noreturn]] void run(Slot& slot, const std::function<void(TaskLog&)>& work, pid_t parent) const;
  std::optional<Ending> reap();
  void enforce_time_limit();
  Clock::time_point next_deadline() const;

  BatchLimits limits_;
  std::vector<Slot> slots_;
  std::size_t num_running_ = 0;
  int interrupted_ = 0;
  sigset_t awaited_;
  sigset_t old_mask_;
};

}  // namespace quarv::cli
