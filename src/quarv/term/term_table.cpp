#include <utility>

#include <quarv/term/term_table.h>

namespace quarv {

TermTable::Slots TermTable::new_slots(unsigned log_size) {
  const std::size_t size = std::size_t{1} << log_size;
  MemoryAccount::Charge charge(account_, size * sizeof(std::uint64_t));
  Slots slots(size);
  charge.keep();
  return slots;
}

/// Continues with empty slots; returns those there were.
TermTable::Slots TermTable::replace_slots(unsigned log_size) {
  Slots old = std::exchange(slots_, new_slots(log_size));
  if (account_ != nullptr) account_->give_back(old.size() * sizeof(std::uint64_t));
  log_size_ = log_size;
  longest_distance_ = 0;
  return old;
}

/// Linear probing needs no gap between a term and its home: what stands after the gap moves up.
void TermTable::remove(const Term* t) noexcept {
  const auto home_of = [this](const Term* u) {
    return home(hash(u->symbol, Args(u->args, u->symbol->arity_)));
  };
  std::size_t gap = home_of(t);
  while (term_of(slots_[gap]) != t) gap = next(gap);
  for (std::size_t i = next(gap); slots_[i] != 0; i = next(i)) {
    const std::size_t distance = (i - home_of(term_of(slots_[i]))) & mask();
    if (distance < ((i - gap) & mask())) continue;
    slots_[gap] = slots_[i];
    gap = i;
  }
  slots_[gap] = 0;
  --count_;
}

bool TermTable::remove_from(std::uint64_t first, std::size_t num_removed, unsigned log_size) noexcept {
  if (num_removed < slots_.size() / 8) return false;
  try {
    const Slots old = replace_slots(log_size);
    for (const std::uint64_t slot : old) {
      if (slot == 0 || term_of(slot)->id >= first) continue;
      const Term* t = term_of(slot);
      const std::size_t home_index = home(hash(t->symbol, Args(t->args, t->symbol->arity_)));
      std::size_t i = home_index;
      while (slots_[i] != 0) i = next(i);
      put(i, home_index, slot);
    }
    count_ -= num_removed;
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

void TermTable::grow() {
  const unsigned old_log_size = log_size_;
  const std::size_t longest = longest_distance_;
  const Slots old = replace_slots(log_size_ + 1);
  const std::size_t old_size = std::size_t{1} << old_log_size;
  // The fragment holds the bits of the larger table's home below the region; see the class comment.
  const std::size_t region = old_size >> region_bits;
  const bool from_fragment = longest < region && log_size_ <= region_bits + fragment_bits;
  const unsigned unused_fragment_bits = region_bits + fragment_bits - log_size_;

  for (std::size_t i = 0; i < old_size; ++i) {
    const std::uint64_t slot = old[i];
    if (slot == 0) continue;
    std::size_t home_index;
    if (from_fragment) {
      const std::size_t below = slot >> 48 >> unused_fragment_bits;
      std::size_t region_start = i & ~(region - 1);
      if ((below >> 1) > i - region_start) region_start -= region;  // pushed over from the region before
      home_index = (region_start * 2 + below) & mask();
    } else {
      const Term* t = term_of(slot);
      home_index = home(hash(t->symbol, Args(t->args, t->symbol->arity_)));
    }
    std::size_t j = home_index;
    while (slots_[j] != 0) j = next(j);
    put(j, home_index, slot);
  }
}

}  // namespace quarv
