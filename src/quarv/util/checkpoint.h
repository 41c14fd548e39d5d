#pragma once

#include <functional>

#include <quarv/export.h>

namespace quarv {

/// Lets a caller hear of the world while the library works for long, and stop it.
///
/// While the object lives, work of its thread calls `look` now and then, from places where nothing is half
/// done: between the steps of simplifying, reading and writing. What `look` throws passes through the call
/// under way, which then has built some terms that are not needed and changed nothing else. `look` is
/// called very often; it should find out quickly whether it is time to look again, and must not use the
/// library. Without an object the cost is one test of a pointer for each step.
class QUARV_API Checkpoint {
 public:
  explicit Checkpoint(std::function<void()> look);
  ~Checkpoint();
  Checkpoint(const Checkpoint&) = delete;
  Checkpoint& operator=(const Checkpoint&) = delete;

  /// For the library: a place where it can be stopped.
  static void pass() {
    if (current_ != nullptr) [[unlikely]]
      current_->step();
  }

 private:
  static constexpr unsigned steps_between_looks = 64;

  void step();

  // Read at every step: at a place that is known when the library is loaded, and without asking whether it
  // has to be initialised.
  static constinit thread_local Checkpoint* current_ __attribute__((tls_model("initial-exec")));

  std::function<void()> look_;
  Checkpoint* outer_;
  unsigned steps_ = 0;
};

}  // namespace quarv
