#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <quarv/numbers/q_number.h>
#include <quarv/term/term.h>

namespace quarv {

/// The interning table of numeric constants, by value and type: open addressing over the constants' terms. A
/// value held small and the same value held big are one constant.
class NumberTable {
 public:
  struct Probe {
    std::size_t index;
    const Term* found;  // null when absent
  };

  /// `value_of(symbol)` is the number that a constant's symbol stands for.
  template <class ValueOf>
  Probe find(const QNumber& value, const DataType* type, ValueOf&& value_of) {
    if (4 * (count_ + 1) > 3 * slots_.size()) grow(value_of);
    std::size_t i = hash(value, type) & (slots_.size() - 1);
    for (; slots_[i] != nullptr; i = (i + 1) & (slots_.size() - 1)) {
      const Symbol* s = slots_[i]->symbol;
      if (s->get_output_type() == type && *value_of(s) == value) return {i, slots_[i]};
    }
    return {i, nullptr};
  }

  /// Enters a constant at the place that `find` gave; no other call may come between the two.
  void insert(const Probe& probe, const Term* t) noexcept {
    slots_[probe.index] = t;
    ++count_;
  }

 private:
  static std::size_t hash(const QNumber& value, const DataType* type) {
    constexpr std::uint64_t k = 0x9E3779B97F4A7C15u;
    const std::uint64_t h = (value.hash() ^ (reinterpret_cast<std::uint64_t>(type) >> 4)) * k;
    return h ^ (h >> 29);
  }

  template <class ValueOf>
  void grow(ValueOf&& value_of) {
    std::vector<const Term*> larger(slots_.empty() ? 256 : 2 * slots_.size());
    for (const Term* t : slots_) {
      if (t == nullptr) continue;
      std::size_t i = hash(*value_of(t->symbol), t->symbol->get_output_type()) & (larger.size() - 1);
      while (larger[i] != nullptr) i = (i + 1) & (larger.size() - 1);
      larger[i] = t;
    }
    slots_.swap(larger);
  }

  std::vector<const Term*> slots_;
  std::size_t count_ = 0;
};

}  // namespace quarv
