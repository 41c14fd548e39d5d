#include <utility>

#include <quarv/util/checkpoint.h>

namespace quarv {

constinit thread_local Checkpoint* Checkpoint::current_ = nullptr;

Checkpoint::Checkpoint(std::function<void()> look)
    : look_(std::move(look)), outer_(std::exchange(current_, this)) {}

Checkpoint::~Checkpoint() {
  current_ = outer_;
}

void Checkpoint::step() {
  if (++steps_ % steps_between_looks == 0) look_();
}

}  // namespace quarv
