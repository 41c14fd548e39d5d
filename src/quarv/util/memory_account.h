#pragma once

#include <cstddef>
#include <limits>
#include <new>

#include <quarv/export.h>

namespace quarv {

/// Thrown instead of allocating what would exceed a limit on memory. What was there before can be used as
/// before, and what is given back can be used again.
class QUARV_API MemoryLimitReached : public std::bad_alloc {
 public:
  const char* what() const noexcept override;
};

/// What several containers have allocated together, in bytes, and how much they may.
class QUARV_API MemoryAccount {
 public:
  static constexpr std::size_t no_limit = std::numeric_limits<std::size_t>::max();

  /// To be called before allocating. \throws MemoryLimitReached
  void charge(std::size_t bytes) {
    if (used_ > limit_ || bytes > limit_ - used_) refuse();
    used_ += bytes;
  }
  /// To be called when memory was freed, or could not be had.
  void give_back(std::size_t bytes) noexcept { used_ -= bytes; }

  std::size_t used() const noexcept { return used_; }
  std::size_t limit() const noexcept { return limit_; }
  void set_limit(std::size_t bytes) noexcept { limit_ = bytes; }

  /// A charge that is given back unless the memory was had.
  class Charge {
   public:
    /// \throws MemoryLimitReached. Without an account nothing is charged.
    Charge(MemoryAccount* account, std::size_t bytes) : account_(account), bytes_(bytes) {
      if (account_ != nullptr) account_->charge(bytes_);
    }
    ~Charge() {
      if (account_ != nullptr) account_->give_back(bytes_);
    }
    Charge(const Charge&) = delete;
    Charge& operator=(const Charge&) = delete;

    void keep() noexcept { account_ = nullptr; }

   private:
    MemoryAccount* account_;
    std::size_t bytes_;
  };

 private:
  [[noreturn]] static void refuse();

  std::size_t used_ = 0;
  std::size_t limit_ = no_limit;
};

}  // namespace quarv
