#include <algorithm>

#include <quarv/forms/class_order.h>

namespace quarv::forms {

bool ClassOrder::sort(std::span<const CandidateId> chosen) {
  const std::size_t n = candidates_.num_places();
  ring_ = static_cast<Place>(n);
  label_.assign(n + 1, 0);
  before_.assign(n + 1, ring_);
  after_.assign(n + 1, ring_);
  asked_.assign(n, 0);
  question_ = 0;
  LargeVector<std::uint8_t> state(n);  // 1: on the stack, 2: done
  LargeVector<Place> stack;
  for (Place start = 0; start < n; ++start) {
    if (state[start] == 0) stack.push_back(start);
    while (!stack.empty()) {
      const Place p = stack.back();
      if (state[p] != 0) {
        stack.pop_back();
        if (state[p] == 2) continue;
        state[p] = 2;
        const Place last = before_[ring_];
        before_[p] = last;
        after_[p] = ring_;
        after_[last] = p;
        before_[ring_] = p;
        continue;
      }
      state[p] = 1;
      for (Place part : candidates_.parts(chosen[p])) {
        if (state[part] == 1) return false;
        if (state[part] == 0) stack.push_back(part);
      }
    }
  }
  renumber();
  return true;
}

void ClassOrder::renumber() {
  std::uint64_t label = 0;
  for (Place c = after_[ring_]; c != ring_; c = after_[c]) label_[c] = label += gap;
}

LargeVector<Place> ClassOrder::ascending() const {
  LargeVector<Place> all;
  all.reserve(candidates_.num_places());
  for (Place p = after_[ring_]; p != ring_; p = after_[p]) all.push_back(p);
  return all;
}

bool ClassOrder::can_follow(Place p, std::span<const Place> parts, std::span<const CandidateId> chosen) {
  mover_ = p;
  moved_.clear();
  ++question_;
  const auto visit = [&](Place part) {
    if (label_[part] > label_[p] && asked_[part] != question_) {
      asked_[part] = question_;
      moved_.push_back(part);
    }
    return part != p;
  };
  for (Place part : parts) {
    if (!visit(part)) return false;
  }
  for (std::size_t next = 0; next < moved_.size(); ++next) {
    if (moved_.size() > most_moved) return false;
    for (Place part : candidates_.parts(chosen[moved_[next]])) {
      if (!visit(part)) return false;
    }
  }
  return true;
}

void ClassOrder::follow() {
  if (moved_.empty()) return;
  std::sort(moved_.begin(), moved_.end(), [this](Place a, Place b) { return label_[a] < label_[b]; });
  for (Place d : moved_) {
    after_[before_[d]] = after_[d];
    before_[after_[d]] = before_[d];
  }
  Place last = before_[mover_];
  const std::uint64_t from = last == ring_ ? 0 : label_[last];
  const std::uint64_t step = (label_[mover_] - from) / (moved_.size() + 1);
  std::uint64_t label = from;
  for (Place d : moved_) {
    label_[d] = label += step;
    before_[d] = last;
    after_[last] = d;
    last = d;
  }
  after_[last] = mover_;
  before_[mover_] = last;
  if (step == 0) renumber();
}

}  // namespace quarv::forms
