#include <cstdlib>
#include <new>
#include <support/allocation_counter.h>

#include <gmp.h>

namespace {

long allocations = 0;

void* counting_malloc(std::size_t size) {
  ++allocations;
  return std::malloc(size);
}

void* counting_realloc(void* block, std::size_t, std::size_t size) {
  ++allocations;
  return std::realloc(block, size);
}

void counting_free(void* block, std::size_t) {
  std::free(block);
}

}  // namespace

void* operator new(std::size_t size) {
  if (void* const block = counting_malloc(size == 0 ? 1 : size)) return block;
  throw std::bad_alloc();
}

void operator delete(void* block) noexcept {
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}

namespace quarv {

long allocation_count() {
  return allocations;
}

CountGmpAllocations::CountGmpAllocations() {
  mp_set_memory_functions(counting_malloc, counting_realloc, counting_free);
}

CountGmpAllocations::~CountGmpAllocations() {
  mp_set_memory_functions(nullptr, nullptr, nullptr);
}

}  // namespace quarv
