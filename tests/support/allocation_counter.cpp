#include <cstdlib>
#include <new>
#include <support/allocation_counter.h>

#include <climits>
#include <gmp.h>

// The linker's option --wrap renames references to NAME to __wrap_NAME, and __real_NAME to NAME. Unlike a
// second definition of `malloc` this works together with the sanitizers' own.
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_realloc(void* block, std::size_t size);
}

namespace {

// Of each thread its own.
constinit thread_local long allocations = 0;
constinit thread_local long may_succeed = LONG_MAX;
constinit thread_local bool fails_once = false;

/// Counts an allocation and answers whether it may succeed.
bool allow() {
  ++allocations;
  if (may_succeed == LONG_MAX) return true;
  if (may_succeed == 0) {
    if (fails_once) may_succeed = LONG_MAX;
    return false;
  }
  --may_succeed;
  return true;
}

// GMP's own functions end the process.
void* gmp_malloc_or_throw(std::size_t size) {
  if (void* const block = __wrap_malloc(size)) return block;
  throw std::bad_alloc();
}

void* gmp_realloc_or_throw(void* block, std::size_t, std::size_t size) {
  if (void* const moved = __wrap_realloc(block, size)) return moved;
  throw std::bad_alloc();
}

void* gmp_malloc(std::size_t size) {
  ++allocations;
  return __real_malloc(size);
}

void* gmp_realloc(void* block, std::size_t, std::size_t size) {
  ++allocations;
  return __real_realloc(block, size);
}

void gmp_free(void* block, std::size_t) {
  std::free(block);
}

}  // namespace

void* __wrap_malloc(std::size_t size) {
  return allow() ? __real_malloc(size) : nullptr;
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
  return allow() ? __real_calloc(count, size) : nullptr;
}

void* __wrap_realloc(void* block, std::size_t size) {
  return allow() ? __real_realloc(block, size) : nullptr;
}

void* operator new(std::size_t size) {
  if (void* const block = __wrap_malloc(size == 0 ? 1 : size)) return block;
  throw std::bad_alloc();
}

// Replaced too, as what it allocates (std::stable_sort's buffer) is given to the operator delete below.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return __wrap_malloc(size == 0 ? 1 : size);
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
  mp_set_memory_functions(gmp_malloc, gmp_realloc, gmp_free);
}

CountGmpAllocations::~CountGmpAllocations() {
  mp_set_memory_functions(nullptr, nullptr, nullptr);
}

ThrowingGmp::ThrowingGmp() {
  mp_set_memory_functions(gmp_malloc_or_throw, gmp_realloc_or_throw, gmp_free);
}

ThrowingGmp::~ThrowingGmp() {
  mp_set_memory_functions(nullptr, nullptr, nullptr);
}

FailAllocations::FailAllocations(long successes, Extent extent) {
  may_succeed = successes;
  fails_once = extent == one;
}

FailAllocations::~FailAllocations() {
  may_succeed = LONG_MAX;
}

}  // namespace quarv
