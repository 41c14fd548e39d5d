#include "explain/current_terms.h"

#include <algorithm>
#include <utility>

namespace quarv::cli {

CurrentTerms::Entry& CurrentTerms::entry(Id id) {
  if (id >= entries_.size()) entries_.resize(std::max<std::size_t>(terms_.size(), id + 1), Entry{.next = 0});
  Entry& e = entries_[id];
  if (e.round != round_) e = {.next = id, .round = round_};
  return e;
}

void CurrentTerms::begin(Id root) {
  ++round_;
  root_ = root;
  size_ = 0;
  use(root, 1);
  use_arguments();
}

CurrentTerms::Id CurrentTerms::now(Id id) const {
  while (id < entries_.size() && entries_[id].round == round_ && entries_[id].next != id) {
    id = entries_[id].next;
  }
  return id;
}

/// Of what is new in the formula the arguments are still to be counted.
void CurrentTerms::use(Id id, std::uint32_t times) {
  Entry& e = entry(id);
  if (e.num_uses == 0) {
    ++size_;
    pending_.push_back(id);
  }
  e.num_uses += times;
}

void CurrentTerms::use_arguments() {
  while (!pending_.empty()) {
    const Id id = pending_.back();
    pending_.pop_back();
    for (TermName arg : terms_.term(id).args) use(now(static_cast<Id>(arg)), 1);
  }
}

void CurrentTerms::leave_arguments(Id id) {
  pending_.push_back(id);
  while (!pending_.empty()) {
    const Id left = pending_.back();
    pending_.pop_back();
    --size_;
    for (TermName arg : terms_.term(left).args) {
      const Id used = now(static_cast<Id>(arg));
      if (Entry& e = entry(used); e.num_uses != 0 && --e.num_uses == 0) pending_.push_back(used);
    }
  }
}

void CurrentTerms::become(Id before, Id after) {
  const std::uint32_t num_uses = std::exchange(entry(before).num_uses, 0);
  entry(before).next = after;
  if (num_uses == 0) return;
  use(after, num_uses);
  use_arguments();
  leave_arguments(before);
}

}  // namespace quarv::cli
