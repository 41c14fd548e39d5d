#pragma once

#include <cstddef>
#include <cstdint>

#include <quarv/numbers/q_number.h>
#include <quarv/term/term.h>
#include <quarv/util/large_pages.h>
#include <quarv/util/memory_account.h>

namespace quarv {

/// The interning table of numeric constants, by value and type: open addressing over the constants' terms,
/// linear probing, a power of two of slots. A value held small and the same value held big are one constant.
///
/// A slot keeps the hash beside the term, so that neither a probe that meets other constants nor a growing
/// table loads a term, its symbol and its value.
class NumberTable {
 public:
  /// Its memory is charged to `account`, which must outlive the table.
  explicit NumberTable(MemoryAccount& account) : account_(&account) {}

  struct Probe {
    std::size_t index;
    std::uint64_t hash;
    const Term* found;  // null when absent
  };

  /// `value_of(symbol)` is the number that a constant's symbol stands for.
  template <class ValueOf>
  Probe find(const QNumber& value, const DataType* type, ValueOf&& value_of) {
    if (4 * (count_ + 1) > 3 * slots_.size()) grow();
    const std::uint64_t h = hash(value, type);
    std::size_t i = h & (slots_.size() - 1);
    for (; slots_[i].term != nullptr; i = (i + 1) & (slots_.size() - 1)) {
      if (slots_[i].hash != h) continue;
      const Symbol* s = slots_[i].term->symbol;
      if (s->get_output_type() == type && *value_of(s) == value) return {i, h, slots_[i].term};
    }
    return {i, h, nullptr};
  }

  /// Enters a constant at the place that `find` gave; no other call may come between the two.
  void insert(const Probe& probe, const Term* t) noexcept {
    slots_[probe.index] = {probe.hash, t};
    ++count_;
  }

  /// Removes the constant `t` of that value and type, which is in the table.
  void remove(const Term* t, const QNumber& value, const DataType* type) noexcept {
    const std::size_t mask = slots_.size() - 1;
    std::size_t gap = hash(value, type) & mask;
    while (slots_[gap].term != t) gap = (gap + 1) & mask;
    for (std::size_t i = (gap + 1) & mask; slots_[i].term != nullptr; i = (i + 1) & mask) {
      if (((i - slots_[i].hash) & mask) < ((i - gap) & mask)) continue;
      slots_[gap] = slots_[i];
      gap = i;
    }
    slots_[gap] = {};
    --count_;
  }

  /// Makes the table as small as it was when it had `size` slots, if few of them are in use now.
  void shrink(std::size_t size) noexcept {
    if (slots_.size() <= size || 8 * count_ > slots_.size() || 4 * count_ > 3 * size) return;
    try {
      rebuild(size);
    } catch (const std::bad_alloc&) {
      return;  // then it stays large
    }
  }

  std::size_t size() const noexcept { return count_; }
  std::size_t num_slots() const noexcept { return slots_.size(); }
  std::size_t bytes() const noexcept { return slots_.size() * sizeof(Slot); }

 private:
  struct Slot {
    std::uint64_t hash = 0;
    const Term* term = nullptr;  // null when the slot is free
  };

  static std::uint64_t hash(const QNumber& value, const DataType* type) {
    constexpr std::uint64_t k = 0x9E3779B97F4A7C15u;
    const std::uint64_t h = (value.hash() ^ (reinterpret_cast<std::uint64_t>(type) >> 4)) * k;
    return h ^ (h >> 29);
  }

  void grow() { rebuild(slots_.empty() ? 256 : 2 * slots_.size()); }

  void rebuild(std::size_t size) {
    MemoryAccount::Charge charge(account_, size * sizeof(Slot));
    LargeVector<Slot> others(size);
    charge.keep();
    for (const Slot& slot : slots_) {
      if (slot.term == nullptr) continue;
      std::size_t i = slot.hash & (others.size() - 1);
      while (others[i].term != nullptr) i = (i + 1) & (others.size() - 1);
      others[i] = slot;
    }
    account_->give_back(bytes());
    slots_.swap(others);
  }

  MemoryAccount* account_;
  LargeVector<Slot> slots_;
  std::size_t count_ = 0;
};

}  // namespace quarv
