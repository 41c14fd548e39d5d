/// \file
/// A pool of memory blocks of one size, carved out of geometrically growing chunks.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <utility>

namespace quarv {

/// A pool of blocks of `BlockSize` bytes. The second parameter asks for a pool that several threads may
/// share; only the unshared pool exists, because every pool belongs to one container on one thread.
template <std::size_t BlockSize, bool Shared>
class MemoryPool;

/// The unshared pool. Blocks are aligned to a word of 64 bits and carry no header.
///
/// Blocks come from chunks obtained with `malloc`; each chunk starts with a link to the chunk before it. A
/// block that is given back goes to the front of the free list and is the next one handed out; its memory
/// returns to `malloc` only when the pool is destroyed.
template <std::size_t BlockSize>
class MemoryPool<BlockSize, false> {
  static_assert(BlockSize >= sizeof(std::uint64_t) && BlockSize % sizeof(std::uint64_t) == 0,
                "a free block holds the link to the next one");

 public:
  /// \param first_chunk_size  blocks in the first chunk, at least 1
  /// \param growth_factor     size of a chunk over the size of the one before it, at least 1
  /// \param max_chunk_size    most blocks that a later chunk may hold; 0 means no limit
  explicit MemoryPool(unsigned first_chunk_size = 16, float growth_factor = 2.0F,
                      unsigned max_chunk_size = 8192) noexcept
      : next_chunk_size_(first_chunk_size), growth_factor_(growth_factor), max_chunk_size_(max_chunk_size) {
    assert(first_chunk_size > 0 && growth_factor >= 1.0F);
  }

  /// Takes over all blocks of `other`, which stays usable, without chunks, and continues with the chunk sizes
  /// where it stood.
  MemoryPool(MemoryPool&& other) noexcept
      : next_chunk_size_(other.next_chunk_size_),
        growth_factor_(other.growth_factor_),
        max_chunk_size_(other.max_chunk_size_),
        chunks_(std::exchange(other.chunks_, nullptr)),
        free_(std::exchange(other.free_, nullptr)) {}

  MemoryPool& operator=(MemoryPool&& other) noexcept {
    if (this != &other) {
      release_chunks();
      next_chunk_size_ = other.next_chunk_size_;
      growth_factor_ = other.growth_factor_;
      max_chunk_size_ = other.max_chunk_size_;
      chunks_ = std::exchange(other.chunks_, nullptr);
      free_ = std::exchange(other.free_, nullptr);
    }
    return *this;
  }

  MemoryPool(const MemoryPool&) = delete;
  MemoryPool& operator=(const MemoryPool&) = delete;

  /// Frees all chunks, whether or not their blocks were given back.
  ~MemoryPool() { release_chunks(); }

  /// A block of `BlockSize` bytes, uninitialised.
  /// \throws std::bad_alloc when a new chunk is needed and `malloc` fails; the pool is unchanged then
  [[nodiscard]] void* allocate() {
    if (free_ == nullptr) [[unlikely]] {
      add_chunk();
    }
    Link* block = free_;
    free_ = block->next;
    return block;
  }

  /// Gives a block of this pool back.
  void deallocate(void* block) noexcept { free_ = ::new (block) Link{free_}; }

  /// The number of blocks that the next chunk will hold.
  unsigned next_chunk_size() const noexcept { return next_chunk_size_; }

 private:
  struct alignas(std::uint64_t) Link {
    Link* next;
  };

#if defined(__GNUC__)
  [[gnu::noinline, gnu::cold]]
#endif
  void
  add_chunk() {
    const std::size_t count = next_chunk_size_;
    void* chunk = std::malloc(count * BlockSize + sizeof(Link));
    if (chunk == nullptr) throw std::bad_alloc();
    chunks_ = ::new (chunk) Link{chunks_};
    next_chunk_size_ = size_after(next_chunk_size_);

    // Threaded from the last block to the first, so that the free list runs in address order.
    std::byte* blocks = static_cast<std::byte*>(chunk) + sizeof(Link);
    for (std::size_t i = count; i-- > 0;) deallocate(blocks + i * BlockSize);
  }

  unsigned size_after(unsigned size) const noexcept {
    constexpr float kUnsignedEnd = 4294967296.0F;
    const float grown = static_cast<float>(size) * growth_factor_;
    // An unlimited pool stops growing where the next size would no longer be representable.
    const unsigned next = grown < kUnsignedEnd ? static_cast<unsigned>(grown) : size;
    return max_chunk_size_ != 0 && max_chunk_size_ < next ? max_chunk_size_ : next;
  }

  void release_chunks() noexcept {
    while (chunks_ != nullptr) std::free(std::exchange(chunks_, chunks_->next));
  }

  unsigned next_chunk_size_;
  float growth_factor_;
  unsigned max_chunk_size_;
  Link* chunks_ = nullptr;
  Link* free_ = nullptr;
};

}  // namespace quarv
