#pragma once

#include <csignal>

namespace quarv::cli {

/// While it lives, the signals that end programs are noted and do nothing else: long work looks whether there
/// was one, and ends in good order.
class NotedSignals {
 public:
  NotedSignals();
  ~NotedSignals();
  NotedSignals(const NotedSignals&) = delete;
  NotedSignals& operator=(const NotedSignals&) = delete;

  /// The last one, or 0.
  static int received() noexcept;

 private:
  static constexpr int signals[] = {SIGINT, SIGTERM, SIGHUP};
  struct sigaction before_[3];
};

}  // namespace quarv::cli
