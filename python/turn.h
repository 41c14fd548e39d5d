#pragma once

#include <chrono>
#include <pybind11/pybind11.h>

#include <quarv/numbers/gmp_bad_alloc.h>
#include <quarv/util/checkpoint.h>

/// Python's threads and signals. The library does one thing at a time, whatever the manager: all of its
/// numbers are computed in the same scratch space.
namespace quarv::python {

namespace py = pybind11;

/// The right to use the library; every function that does holds one. A thread waits for it until the call of
/// another thread has ended, and lets others run meanwhile. Nested calls of one thread share it.
class Turn {
 public:
  /// \throws py::error_already_set when a signal's handler throws while this thread waits, and
  /// std::runtime_error when such a handler, run in the midst of a call, calls the library itself
  Turn();
  ~Turn();
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  GmpBadAlloc gmp_;  // which becomes a MemoryError
};

/// Likewise for a destructor, which must not throw. It may run whenever Python collects garbage.
class LastTurn {
 public:
  LastTurn() noexcept;
  ~LastTurn();
  LastTurn(const LastTurn&) = delete;
  LastTurn& operator=(const LastTurn&) = delete;
};

/// Asks now and then whether a signal has come, and runs its handler in Python.
class SignalWatch {
 public:
  /// What a handler throws is left to Python's error indicator; this stops the work.
  struct Interrupted {};

  void operator()();

 private:
  std::chrono::steady_clock::time_point next_ = std::chrono::steady_clock::now() + interval;
  static constexpr std::chrono::milliseconds interval{50};
};

/// What `work` returns, which may take long: meanwhile other threads of Python run, and signals are heard.
/// The caller holds a turn. `work` must not touch what belongs to Python.
template <class Work>
auto at_length(const Work& work) {
  try {
    const Checkpoint checkpoint{SignalWatch()};
    const py::gil_scoped_release others_run;
    return work();
  } catch (const SignalWatch::Interrupted&) {
    throw py::error_already_set();
  }
}

}  // namespace quarv::python
