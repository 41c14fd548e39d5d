/// \file
/// Memory in large pages for what grows with the input.
///
/// Terms and the tables over them are visited in no order; with the system's usual pages nearly every such
/// visit misses the processor's table of pages as well as its caches.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <vector>

#include <quarv/export.h>

namespace quarv {

/// Uninitialised storage, to be given back to `std::free`. When it takes two megabytes or more, the system is
/// asked to use large pages for it. \throws std::bad_alloc
QUARV_API void* allocate_block(std::size_t bytes);

/// Gives back to the system what has been freed and is held for further use, where the system's library can:
/// between the large and different works of one run.
QUARV_API void give_back_freed() noexcept;

/// The allocator of containers whose storage comes from `allocate_block`.
template <class T>
struct BlockAllocator {
  using value_type = T;

  BlockAllocator() = default;
  template <class U>
  BlockAllocator(const BlockAllocator<U>&) noexcept {}

  T* allocate(std::size_t n) { return static_cast<T*>(allocate_block(n * sizeof(T))); }
  void deallocate(T* block, std::size_t) noexcept { std::free(block); }

  bool operator==(const BlockAllocator&) const = default;
};

/// A vector that may become large.
template <class T>
using LargeVector = std::vector<T, BlockAllocator<T>>;

}  // namespace quarv
