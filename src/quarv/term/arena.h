#pragma once

#include <cstddef>
#include <new>
#include <utility>

#include <quarv/util/large_pages.h>
#include <quarv/util/memory_account.h>

namespace quarv {

/// Bump allocation in growing chunks; everything is released at once with the arena, or what was allocated
/// since a mark. Blocks are 8-byte aligned.
class Arena {
  struct alignas(8) Chunk {
    Chunk* older;
    std::size_t size;  // with this header
    char* end;         // of what is in use; of the newest chunk `next_` says it

    char* begin() noexcept { return reinterpret_cast<char*>(this + 1); }
  };

 public:
  Arena() = default;
  /// Chunks are charged to `account`, which must outlive the arena.
  explicit Arena(MemoryAccount& account) : account_(&account) {}
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;
  ~Arena() {
    if (spare_ != nullptr) free_block(spare_, spare_->size);
    while (chunks_ != nullptr) {
      Chunk* const chunk = std::exchange(chunks_, chunks_->older);
      free_block(chunk, chunk->size);
    }
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

  /// What is allocated at some time.
  class Mark {
    friend class Arena;
    Chunk* chunk = nullptr;
    char* next = nullptr;
    char* end = nullptr;
    std::size_t chunk_size = 0;
  };
  Mark mark() const noexcept {
    Mark m;
    m.chunk = chunks_, m.next = next_, m.end = end_, m.chunk_size = chunk_size_;
    return m;
  }

  /// Gives back what was allocated since the mark; later marks are not to be used any more. One chunk is kept
  /// for the next time.
  void release(const Mark& m) noexcept {
    while (chunks_ != m.chunk) {
      Chunk* gone = std::exchange(chunks_, chunks_->older);
      if (spare_ == nullptr || spare_->size < gone->size) std::swap(spare_, gone);
      if (gone != nullptr) free_chunk(gone);
    }
    next_ = m.next;
    end_ = m.end;
    chunk_size_ = m.chunk_size;
  }

  /// Bytes of all chunks.
  std::size_t bytes() const noexcept { return bytes_; }

  /// Calls `visit` for each block that was allocated since the mark, with its address; it returns the block's
  /// size.
  template <class Visit>
  void for_each_block_since(const Mark& m, Visit&& visit) {
    char* end = next_;
    for (Chunk* c = chunks_; c != nullptr; c = c->older) {
      for (char* p = c == m.chunk ? m.next : c->begin(); p != end;) p += rounded(visit(p));
      if (c == m.chunk) return;
      end = c->older == nullptr ? nullptr : c->older->end;
    }
  }

 private:
  static constexpr std::size_t first_chunk = 16 << 10;
  static constexpr std::size_t largest_chunk = 4 << 20;

  static constexpr std::size_t rounded(std::size_t bytes) noexcept { return (bytes + 7) & ~std::size_t{7}; }

  void free_chunk(Chunk* chunk) noexcept {
    if (account_ != nullptr) account_->give_back(chunk->size);
    bytes_ -= chunk->size;
    free_block(chunk, chunk->size);
  }

  Chunk* new_chunk(std::size_t size) {
    if (spare_ != nullptr && spare_->size >= size) return std::exchange(spare_, nullptr);
    MemoryAccount::Charge charge(account_, size);
    auto* chunk = static_cast<Chunk*>(allocate_block(size));
    charge.keep();
    chunk->size = size;
    bytes_ += size;
    return chunk;
  }

#if defined(__GNUC__)
  [[gnu::noinline, gnu::cold]]
#endif
  void
  add_chunk(std::size_t bytes) {
    Chunk* const chunk = new_chunk(sizeof(Chunk) + (bytes > chunk_size_ ? bytes : chunk_size_));
    if (chunks_ != nullptr) chunks_->end = next_;
    chunk->older = chunks_;
    chunks_ = chunk;
    next_ = chunk->begin();
    end_ = reinterpret_cast<char*>(chunk) + chunk->size;
    if (chunk_size_ < largest_chunk) chunk_size_ *= 2;
  }

  char* next_ = nullptr;
  char* end_ = nullptr;
  std::size_t chunk_size_ = first_chunk;
  Chunk* chunks_ = nullptr;
  Chunk* spare_ = nullptr;  // of what was released
  std::size_t bytes_ = 0;
  MemoryAccount* account_ = nullptr;
};

}  // namespace quarv
