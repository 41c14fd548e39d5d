#include "turn.h"

#include <mutex>
#include <stdexcept>

namespace quarv::python {

namespace {

struct Library {
  std::recursive_timed_mutex mutex;
  bool handles_signals = false;  // in the midst of a call; guarded by the mutex
};

/// Never destroyed: Python may let go of terms after everything else.
Library& library() {
  static auto* const library = new Library;
  return *library;
}

}  // namespace

// Whoever waits for the library lets go of Python's lock, so whoever has the library gets that lock back.

Turn::Turn() {
  constexpr std::chrono::milliseconds patience{100};
  Library& l = library();
  bool mine = l.mutex.try_lock();
  while (!mine) {
    {
      const py::gil_scoped_release others_run;
      mine = l.mutex.try_lock_for(patience);
    }
    if (!mine && PyErr_CheckSignals() != 0) throw py::error_already_set();
  }
  if (l.handles_signals) {
    l.mutex.unlock();
    throw std::runtime_error("quarv was called by a signal handler during another call of quarv");
  }
}

Turn::~Turn() {
  library().mutex.unlock();
}

LastTurn::LastTurn() noexcept {
  Library& l = library();
  if (l.mutex.try_lock()) return;
  const py::gil_scoped_release others_run;
  l.mutex.lock();
}

LastTurn::~LastTurn() {
  library().mutex.unlock();
}

void SignalWatch::operator()() {
  const auto now = std::chrono::steady_clock::now();
  if (now < next_) return;
  const py::gil_scoped_acquire python;
  library().handles_signals = true;
  const bool stop = PyErr_CheckSignals() != 0;
  library().handles_signals = false;
  if (stop) throw Interrupted{};
  next_ = std::chrono::steady_clock::now() + interval;
}

}  // namespace quarv::python
