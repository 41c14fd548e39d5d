#pragma once

#include <cstddef>
#include <cstdint>

namespace quarv {

/// A state of a manager to which `TermManager::release` returns.
class TermMark {
 public:
  bool operator==(const TermMark&) const = default;

 private:
  friend class TermManager;
  std::size_t depth_ = 0;     // how many marks were in force before
  std::uint64_t number_ = 0;  // of the mark, from 1; 0 for none
};

/// What a manager has allocated, in bytes, by what it is for.
struct TermMemory {
  std::size_t terms = 0;    ///< applications and constants
  std::size_t symbols = 0;  ///< declared functions, operators, numbers' symbols, names
  std::size_t tables = 0;   ///< by which terms are found again
  std::size_t numbers = 0;  ///< values of numeric constants

  std::size_t total() const noexcept { return terms + symbols + tables + numbers; }
};

}  // namespace quarv
