#pragma once

#include <cstddef>
#include <cstdint>

#include <quarv/numbers/q_number.h>
#include <quarv/term/term.h>
#include <quarv/util/large_pages.h>

namespace quarv {

/// The interning table of numeric constants, by value and type: open addressing over the constants' terms,
/// linear probing, a power of two of slots. A value held small and the same value held big are one constant.
///
/// A slot keeps the hash beside the term, so that neither a probe that meets other constants nor a growing
/// table loads a term, its symbol and its value.
class NumberTable {
 public:
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

  void grow() {
    LargeVector<Slot> larger(slots_.empty() ? 256 : 2 * slots_.size());
    for (const Slot& slot : slots_) {
      if (slot.term == nullptr) continue;
      std::size_t i = slot.hash & (larger.size() - 1);
      while (larger[i].term != nullptr) i = (i + 1) & (larger.size() - 1);
      larger[i] = slot;
    }
    slots_.swap(larger);
  }

  LargeVector<Slot> slots_;
  std::size_t count_ = 0;
};

}  // namespace quarv
