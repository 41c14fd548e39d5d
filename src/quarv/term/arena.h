#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>
#include <utility>

#include <quarv/util/large_pages.h>

namespace quarv {

/// Bump allocation in growing chunks; everything is released at once with the arena. Blocks are 8-byte
/// aligned.
class Arena {
 public:
  Arena() = default;
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;
  ~Arena() {
    while (chunks_ != nullptr) std::free(std::exchange(chunks_, chunks_->next));
  }

  /// Uninitialised storage of `bytes` bytes. \throws std::bad_alloc
  void* allocate(std::size_t bytes) {
    reserve(bytes);
    void* result = next_;
    next_ += rounded(bytes);
    return result;
  }

  /// Makes sure that blocks of `bytes` bytes together, each a multiple of 8, can be allocated without an
  /// exception. \throws std::bad_alloc
  void reserve(std::size_t bytes) {
    if (rounded(bytes) > static_cast<std::size_t>(end_ - next_)) [[unlikely]] {
      add_chunk(rounded(bytes));
    }
  }

 private:
  static constexpr std::size_t first_chunk = 16 << 10;
  static constexpr std::size_t largest_chunk = 4 << 20;

  struct Chunk {
    Chunk* next;
  };

  static constexpr std::size_t rounded(std::size_t bytes) noexcept { return (bytes + 7) & ~std::size_t{7}; }

  void add_chunk(std::size_t bytes) {
    const std::size_t size = sizeof(Chunk) + (bytes > chunk_size_ ? bytes : chunk_size_);
    char* chunk = static_cast<char*>(allocate_block(size));
    chunks_ = ::new (chunk) Chunk{chunks_};
    next_ = chunk + sizeof(Chunk);
    end_ = chunk + size;
    if (chunk_size_ < largest_chunk) chunk_size_ *= 2;
  }

  char* next_ = nullptr;
  char* end_ = nullptr;
  std::size_t chunk_size_ = first_chunk;
  Chunk* chunks_ = nullptr;
};

}  // namespace quarv
