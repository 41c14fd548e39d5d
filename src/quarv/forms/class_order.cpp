#include <algorithm>

#include <quarv/forms/class_order.h>

namespace quarv::forms {

bool ClassOrder::sort(std::span<const ClassId> classes, std::span<const FormId> chosen,
                      const FormGraph& graph) {
  const std::size_t n = graph.num_classes();
  ring_ = static_cast<ClassId>(n);
  label_.assign(n + 1, 0);
  before_.assign(n + 1, ring_);
  after_.assign(n + 1, ring_);
  asked_.assign(n, 0);
  question_ = 0;
  std::vector<std::uint8_t> state(n);  // 1: on the stack, 2: done
  std::vector<ClassId> stack;
  for (ClassId start : classes) {
    if (state[start] == 0) stack.push_back(start);
    while (!stack.empty()) {
      const ClassId c = stack.back();
      if (state[c] != 0) {
        stack.pop_back();
        if (state[c] == 2) continue;
        state[c] = 2;
        const ClassId last = before_[ring_];
        before_[c] = last;
        after_[c] = ring_;
        after_[last] = c;
        before_[ring_] = c;
        continue;
      }
      state[c] = 1;
      if (chosen[c] == none) return false;
      for (ClassId child : graph.children(graph.form(chosen[c]))) {
        child = graph.find(child);
        if (state[child] == 1) return false;
        if (state[child] == 0) stack.push_back(child);
      }
    }
  }
  renumber();
  return true;
}

void ClassOrder::renumber() {
  std::uint64_t label = 0;
  for (ClassId c = after_[ring_]; c != ring_; c = after_[c]) label_[c] = label += gap;
}

std::vector<ClassId> ClassOrder::ascending() const {
  std::vector<ClassId> all;
  for (ClassId c = after_[ring_]; c != ring_; c = after_[c]) all.push_back(c);
  return all;
}

bool ClassOrder::can_follow(ClassId c, std::span<const ClassId> children, std::span<const FormId> chosen,
                            const FormGraph& graph) {
  mover_ = c;
  moved_.clear();
  ++question_;
  const auto visit = [&](ClassId d) {
    d = graph.find(d);
    if (label_[d] > label_[c] && asked_[d] != question_) {
      asked_[d] = question_;
      moved_.push_back(d);
    }
    return d != c;
  };
  for (ClassId d : children) {
    if (!visit(d)) return false;
  }
  for (std::size_t next = 0; next < moved_.size(); ++next) {
    if (moved_.size() > most_moved) return false;
    for (ClassId d : graph.children(graph.form(chosen[moved_[next]]))) {
      if (!visit(d)) return false;
    }
  }
  return true;
}

void ClassOrder::follow() {
  if (moved_.empty()) return;
  std::sort(moved_.begin(), moved_.end(), [this](ClassId a, ClassId b) { return label_[a] < label_[b]; });
  for (ClassId d : moved_) {
    after_[before_[d]] = after_[d];
    before_[after_[d]] = before_[d];
  }
  ClassId last = before_[mover_];
  const std::uint64_t from = last == ring_ ? 0 : label_[last];
  const std::uint64_t step = (label_[mover_] - from) / (moved_.size() + 1);
  std::uint64_t label = from;
  for (ClassId d : moved_) {
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
