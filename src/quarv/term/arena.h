#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <vector>

namespace quarv {

/// Bump allocation in growing chunks; everything is released at once with the arena. Blocks are 8-byte
/// aligned.
class Arena {
 public:
  Arena() = default;
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;

  /// Uninitialised storage of `bytes` bytes; throws std::bad_alloc.
  void* allocate(std::size_t bytes) {
    bytes = (bytes + 7) & ~std::size_t{7};
    if (bytes > static_cast<std::size_t>(end_ - next_)) add_chunk(bytes);
    void* result = next_;
    next_ += bytes;
    return result;
  }

 private:
  static constexpr std::size_t first_chunk = 16 << 10;
  static constexpr std::size_t largest_chunk = 1 << 20;

  void add_chunk(std::size_t bytes) {
    const std::size_t size = bytes > chunk_size_ ? bytes : chunk_size_;
    chunks_.reserve(chunks_.size() + 1);
    char* chunk = static_cast<char*>(std::malloc(size));
    if (chunk == nullptr) throw std::bad_alloc();
    chunks_.emplace_back(chunk);
    next_ = chunk;
    end_ = chunk + size;
    if (chunk_size_ < largest_chunk) chunk_size_ *= 2;
  }

  struct Free {
    void operator()(char* p) const noexcept { std::free(p); }
  };

  char* next_ = nullptr;
  char* end_ = nullptr;
  std::size_t chunk_size_ = first_chunk;
  std::vector<std::unique_ptr<char, Free>> chunks_;
};

}  // namespace quarv
