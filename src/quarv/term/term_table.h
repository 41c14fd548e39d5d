#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include <quarv/export.h>
#include <quarv/term/term.h>
#include <quarv/util/large_pages.h>
#include <quarv/util/memory_account.h>

namespace quarv {

/// The interning table of applications: open addressing over term pointers, linear probing, a power of two of
/// slots.
///
/// The home of a term is given by the top bits of its hash. A slot is one word: the term's address in the low
/// 48 bits and above it a fragment of the hash, namely the 16 bits after its top 10. A probe looks at a
/// term's memory only when the fragments agree. A zero slot is free; terms are never removed.
///
/// When the table doubles, the fragment and the slot's position together give the home in the larger table,
/// as long as no term lies further from its home than one of the 1024 regions that the top 10 bits select.
/// Both tables are then walked in order and no term is loaded. Otherwise the hash is computed anew.
///
/// The hash mixes addresses, so that nothing has to be loaded to compute it. Nothing ever walks the table in
/// slot order to produce a result, hence results do not depend on where the system places memory.
class QUARV_API TermTable {
 public:
  using Args = std::span<const Term* const>;

  /// Its memory is charged to `account`, if any, which must outlive the table.
  explicit TermTable(MemoryAccount* account = nullptr)
      : account_(account), slots_(new_slots(initial_log_size)) {}

  /// A place in the table: where the term is, or where it has to be inserted.
  struct Probe {
    std::size_t index;
    std::uint64_t hash;
    const Term* found;  // null when absent
  };

  Probe find(const Symbol* symbol, Args args) {
    if (count_ >= limit()) grow();
    const std::uint64_t h = hash(symbol, args);
    const std::uint64_t wanted = fragment(h);
    std::size_t i = home(h);
    for (; slots_[i] != 0; i = next(i)) {
      if ((slots_[i] & fragment_mask) != wanted) continue;
      const Term* t = term_of(slots_[i]);
      if (t->symbol == symbol && same_args(t, args)) return {i, h, t};
    }
    return {i, h, nullptr};
  }

  /// Enters a term at the place that `find` gave; no other call may come between the two.
  void insert(const Probe& probe, const Term* t) noexcept {
    put(probe.index, home(probe.hash), fragment(probe.hash) | reinterpret_cast<std::uint64_t>(t));
    ++count_;
  }

  /// Makes room for `n` terms, so that the table does not grow on the way there. Only an empty table is
  /// moved.
  void reserve(std::size_t n) {
    if (count_ != 0 || n <= limit()) return;
    unsigned log_size = log_size_;
    while ((std::size_t{3} << log_size) / 4 < n) ++log_size;
    replace_slots(log_size);
  }

  /// Removes the term that stands in the table, whose memory is still there.
  void remove(const Term* t) noexcept;
  /// Removes the `num_removed` terms from the id `first` on, without being told which they are, when they are
  /// a good part of the table, and makes it as small as it was when its size was `log_size`; false when there
  /// are too few of them, or no memory.
  bool remove_from(std::uint64_t first, std::size_t num_removed, unsigned log_size) noexcept;

  /// The binary logarithm of the number of slots.
  unsigned log_size() const noexcept { return log_size_; }
  std::size_t bytes() const noexcept { return slots_.size() * sizeof(std::uint64_t); }

  /// Number of terms.
  std::size_t size() const noexcept { return count_; }

 private:
  static constexpr unsigned initial_log_size = 10;
  static constexpr unsigned region_bits = 10;
  static constexpr unsigned fragment_bits = 16;
  static constexpr std::uint64_t fragment_mask = ~std::uint64_t{0} << 48;

  using Slots = LargeVector<std::uint64_t>;

  static const Term* term_of(std::uint64_t slot) noexcept {
    return reinterpret_cast<const Term*>(slot & ~fragment_mask);
  }

  static std::uint64_t hash(const Symbol* symbol, Args args) noexcept {
    constexpr std::uint64_t k = 0x9E3779B97F4A7C15u;  // 2^64 divided by the golden ratio
    std::uint64_t h = reinterpret_cast<std::uint64_t>(symbol) * k;
    for (const Term* a : args) h = ((h ^ (h >> 29)) + reinterpret_cast<std::uint64_t>(a)) * k;
    return (h ^ (h >> 32)) * k;
  }

  static std::uint64_t fragment(std::uint64_t h) noexcept { return h << region_bits & fragment_mask; }

  static bool same_args(const Term* t, Args args) noexcept {
    for (std::size_t i = 0; i < args.size(); ++i) {
      if (t->args[i] != args[i]) return false;
    }
    return true;
  }

  std::size_t home(std::uint64_t h) const noexcept { return h >> (64 - log_size_); }
  std::size_t mask() const noexcept { return (std::size_t{1} << log_size_) - 1; }
  std::size_t next(std::size_t i) const noexcept { return (i + 1) & mask(); }
  std::size_t limit() const noexcept { return (std::size_t{3} << log_size_) / 4; }

  void put(std::size_t index, std::size_t home_index, std::uint64_t slot) noexcept {
    const std::size_t distance = (index - home_index) & mask();
    if (distance > longest_distance_) longest_distance_ = distance;
    slots_[index] = slot;
  }

  void grow();
  Slots new_slots(unsigned log_size);
  Slots replace_slots(unsigned log_size);

  MemoryAccount* account_;
  Slots slots_;
  unsigned log_size_ = initial_log_size;
  std::size_t count_ = 0;
  std::size_t longest_distance_ = 0;
};

}  // namespace quarv
