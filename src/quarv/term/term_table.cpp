#include <utility>

#include <quarv/term/term_table.h>

namespace quarv {

void TermTable::grow() {
  const Slots old = std::exchange(slots_, Slots(std::size_t{2} << log_size_));
  const unsigned old_log_size = log_size_++;
  const std::size_t old_size = std::size_t{1} << old_log_size;
  // The fragment holds the bits of the larger table's home below the region; see the class comment.
  const std::size_t region = old_size >> region_bits;
  const bool from_fragment = longest_distance_ < region && log_size_ <= region_bits + fragment_bits;
  const unsigned unused_fragment_bits = region_bits + fragment_bits - log_size_;
  longest_distance_ = 0;

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
