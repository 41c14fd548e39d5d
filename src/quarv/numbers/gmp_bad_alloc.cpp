#include <cstdlib>
#include <mutex>
#include <new>

#include <gmp.h>

#include <quarv/numbers/gmp_bad_alloc.h>

namespace quarv {

namespace {

struct Functions {
  void* (*allocate)(std::size_t);
  void* (*reallocate)(void*, std::size_t, std::size_t);
  void (*release)(void*, std::size_t);
};

Functions functions_in_force() {
  Functions result{};
  mp_get_memory_functions(&result.allocate, &result.reallocate, &result.release);
  return result;
}

/// GMP's own, known before ours are in force.
Functions gmp_functions{};

// How many objects a thread has. At a place that is known when the library is loaded: each call of the C
// interface counts here.
constinit thread_local unsigned num_objects __attribute__((tls_model("initial-exec"))) = 0;

// As GMP's own functions, which rely on malloc too, but for what they do when it fails. Exceptions pass
// through GMP because it is built with unwind tables wherever the platform's ABI demands them.
void* allocate(std::size_t size) {
  if (void* const block = std::malloc(size)) return block;
  if (num_objects == 0) return gmp_functions.allocate(size);
  throw std::bad_alloc();
}

void* reallocate(void* block, std::size_t old_size, std::size_t size) {
  if (void* const moved = std::realloc(block, size)) return moved;
  if (num_objects == 0) return gmp_functions.reallocate(block, old_size, size);
  throw std::bad_alloc();
}

void release(void* block, std::size_t) {
  std::free(block);
}

bool are_ours_in_force() {
  return functions_in_force().allocate == allocate;
}

/// Takes the place of GMP's own functions, not of a host's.
void install() {
  static std::mutex one_at_a_time;
  const std::lock_guard lock(one_at_a_time);
  const Functions now = functions_in_force();
  if (now.allocate == allocate) return;
  if (gmp_functions.allocate == nullptr) {
    mp_set_memory_functions(nullptr, nullptr, nullptr);
    gmp_functions = functions_in_force();
    mp_set_memory_functions(now.allocate, now.reallocate, now.release);
  }
  if (now.allocate == gmp_functions.allocate) mp_set_memory_functions(allocate, reallocate, release);
}

/// GMP may stay when this library is unloaded.
struct LeavesWithTheLibrary {
  ~LeavesWithTheLibrary() {
    if (are_ours_in_force()) mp_set_memory_functions(nullptr, nullptr, nullptr);
  }
};
const LeavesWithTheLibrary leaves;

}  // namespace

GmpBadAlloc::GmpBadAlloc() noexcept {
  ++num_objects;
  if (!are_ours_in_force()) install();
}

GmpBadAlloc::~GmpBadAlloc() {
  --num_objects;
}

}  // namespace quarv
