#include <cstdlib>
#include <mutex>
#include <new>

#include <gmp.h>

#include <quarv/numbers/gmp_bad_alloc.h>

namespace quarv {

namespace {

// As GMP's own functions, which rely on malloc too, but for what they do when it fails. Exceptions pass
// through GMP because it is built with unwind tables wherever the platform's ABI demands them.
void* allocate(std::size_t size) {
  if (void* const block = std::malloc(size)) return block;
  throw std::bad_alloc();
}

void* reallocate(void* block, std::size_t, std::size_t size) {
  if (void* const moved = std::realloc(block, size)) return moved;
  throw std::bad_alloc();
}

void release(void* block, std::size_t) {
  std::free(block);
}

using Allocate = void* (*)(std::size_t);

Allocate current_allocate() {
  Allocate result = nullptr;
  mp_get_memory_functions(&result, nullptr, nullptr);
  return result;
}

// Whether GMP's own functions are in force.
bool are_gmp_functions_in_force() {
  void* (*allocate_now)(std::size_t);
  void* (*reallocate_now)(void*, std::size_t, std::size_t);
  void (*release_now)(void*, std::size_t);
  mp_get_memory_functions(&allocate_now, &reallocate_now, &release_now);
  static const Allocate gmp_allocate = [] {
    mp_set_memory_functions(nullptr, nullptr, nullptr);
    return current_allocate();
  }();
  mp_set_memory_functions(allocate_now, reallocate_now, release_now);
  return allocate_now == gmp_allocate;
}

}  // namespace

namespace {

// GMP has its functions for the process, and here several threads may be at work.
std::mutex in_force;
std::size_t num_users = 0;

}  // namespace

GmpBadAlloc::GmpBadAlloc() noexcept {
  const std::lock_guard lock(in_force);
  installed_ = num_users != 0 || are_gmp_functions_in_force();
  if (installed_ && num_users++ == 0) mp_set_memory_functions(allocate, reallocate, release);
}

GmpBadAlloc::~GmpBadAlloc() {
  if (!installed_) return;
  const std::lock_guard lock(in_force);
  if (--num_users == 0) mp_set_memory_functions(nullptr, nullptr, nullptr);
}

}  // namespace quarv
