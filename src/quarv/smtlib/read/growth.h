#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include <quarv/term/term_manager.h>

namespace quarv::smtlib {

/// Estimates how much text the terms of a command add to a script whose shared terms are written once.
class GrowthMeter {
 public:
  explicit GrowthMeter(const TermManager& manager) : manager_(&manager) {}

  /// Bytes, roughly, of what is in `terms` but was not there before term number `first`.
  std::size_t added_bytes(std::span<const Term* const> terms, std::uint64_t first) const;

  /// The terms with numbers from `first` up to `last` have been built, but are not used.
  void abandon(std::uint64_t first, std::uint64_t last) {
    if (first != last) abandoned_.emplace_back(first, last);
  }
  /// Terms from number `first` on have been released.
  void forget_from(std::uint64_t first) noexcept {
    while (!abandoned_.empty() && abandoned_.back().second > first) abandoned_.pop_back();
  }

 private:
  bool is_abandoned(std::uint64_t id) const noexcept;

  const TermManager* manager_;
  std::vector<std::pair<std::uint64_t, std::uint64_t>> abandoned_;  // in ascending order
};

}  // namespace quarv::smtlib
