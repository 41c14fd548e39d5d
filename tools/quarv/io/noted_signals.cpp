#include "io/noted_signals.h"

#include <cstddef>
#include <iterator>

namespace quarv::cli {

namespace {

volatile std::sig_atomic_t last_signal = 0;

extern "C" void note_signal(int signal) {
  last_signal = signal;
}

}  // namespace

NotedSignals::NotedSignals() {
  last_signal = 0;
  struct sigaction action = {};
  action.sa_handler = note_signal;
  for (std::size_t i = 0; i < std::size(signals); ++i) {
    sigaction(signals[i], nullptr, &before_[i]);
    if (before_[i].sa_handler != SIG_IGN) sigaction(signals[i], &action, nullptr);
  }
}

NotedSignals::~NotedSignals() {
  for (std::size_t i = 0; i < std::size(signals); ++i) sigaction(signals[i], &before_[i], nullptr);
}

int NotedSignals::received() noexcept {
  return last_signal;
}

}  // namespace quarv::cli
