/// \file
/// Memory in large pages for what grows with the input.
///
/// Terms and the tables over them are visited in no order; with the system's usual pages nearly every such
/// visit misses the processor's table of pages as well as its caches.
#pragma once

#include <cstddef>
#include <vector>

#include <quarv/export.h>

namespace quarv {

/// Uninitialised storage, to be given back to `free_block`. When it takes two megabytes or more, it comes
/// from the system and goes back there, and the system is asked to use large pages for it. \throws
/// std::bad_alloc
QUARV_API void* allocate_block(std::size_t bytes);

/// Gives back a block of so many bytes; null is no block.
QUARV_API void free_block(void* block, std::size_t bytes) noexcept;

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
  void deallocate(T* block, std::size_t n) noexcept { free_block(block, n * sizeof(T)); }

  bool operator==(const BlockAllocator&) const = default;
};

/// A vector that may become large.
template <class T>
using LargeVector = std::vector<T, BlockAllocator<T>>;

}  // namespace quarv
