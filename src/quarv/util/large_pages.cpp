#include <cstdlib>
#include <new>
#include <sys/mman.h>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <quarv/util/large_pages.h>

namespace quarv {

void* allocate_block(std::size_t bytes) {
  constexpr std::size_t page = std::size_t{2} << 20;
  if (bytes < page) {
    if (void* const block = std::malloc(bytes)) return block;
    throw std::bad_alloc();
  }
  const std::size_t rounded = (bytes + page - 1) / page * page;
  void* const block = rounded < bytes ? nullptr : std::aligned_alloc(page, rounded);
  if (block == nullptr) throw std::bad_alloc();
#ifdef MADV_HUGEPAGE
  madvise(block, rounded, MADV_HUGEPAGE);  // where the system refuses, all is as usual
#endif
  return block;
}

void give_back_freed() noexcept {
#ifdef __GLIBC__
  malloc_trim(0);
#endif
}

}  // namespace quarv
