#include <cstdint>
#include <cstdlib>
#include <new>
#include <sys/mman.h>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <quarv/util/large_pages.h>

namespace quarv {

namespace {

#ifdef __wasm__
constexpr std::size_t large_page = std::size_t{64} << 10;  // the only one there is
#else
constexpr std::size_t large_page = std::size_t{2} << 20;
#endif

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__)

/// Storage of whole large pages, straight from the system: a C library that looks for aligned storage among
/// what was freed finds little that fits (glibc before 2.38 next to nothing), so that what is allocated and
/// freed again and again would take more and more. Null when there is no memory.
void* map_pages(std::size_t bytes) noexcept {
  const std::size_t wider = bytes + large_page;
  if (wider < bytes) return nullptr;
  void* const mapped = mmap(nullptr, wider, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) return nullptr;
  char* const start = static_cast<char*>(mapped);
  const std::size_t before = -reinterpret_cast<std::uintptr_t>(start) % large_page;
  if (before != 0) munmap(start, before);
  munmap(start + before + bytes, large_page - before);
  return start + before;
}

void unmap_pages(void* block, std::size_t bytes) noexcept {
  munmap(block, bytes);
}

#else

void* map_pages(std::size_t bytes) noexcept {
  return std::aligned_alloc(large_page, bytes);
}

void unmap_pages(void* block, std::size_t) noexcept {
  std::free(block);
}

#endif

constexpr std::size_t whole_pages(std::size_t bytes) {
  return (bytes + large_page - 1) / large_page * large_page;
}

}  // namespace

void* allocate_block(std::size_t bytes) {
  if (bytes < large_page) {
    if (void* const block = std::malloc(bytes)) return block;
    throw std::bad_alloc();
  }
  const std::size_t rounded = whole_pages(bytes);
  void* const block = rounded < bytes ? nullptr : map_pages(rounded);
  if (block == nullptr) throw std::bad_alloc();
#ifdef MADV_HUGEPAGE
  madvise(block, rounded, MADV_HUGEPAGE);  // where the system refuses, all is as usual
#endif
  return block;
}

void free_block(void* block, std::size_t bytes) noexcept {
  if (bytes < large_page) {
    std::free(block);
  } else if (block != nullptr) {
    unmap_pages(block, whole_pages(bytes));
  }
}

void give_back_freed() noexcept {
#ifdef __GLIBC__
  malloc_trim(0);
#endif
}

}  // namespace quarv
