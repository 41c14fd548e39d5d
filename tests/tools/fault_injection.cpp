/// \file
/// A library to be loaded before all others (LD_PRELOAD). It makes calls to the system fail as the
/// environment says:
///   FAIL_ALLOCATION=N  the N-th allocation, counted from 1, fails; with FAIL_ALL also all later ones
///   COUNT_FILE=PATH    the number of allocations is written there at the end
///   CHANGE_FILE=PATH   after the first read from any file this one is cut short
///   SHORT_TRANSFERS    reads and writes transfer at most 100 bytes, and every other one is interrupted
///   FAIL_CALL=NAME     every call of `write` (but to standard error), `fsync`, `rename` or `close` fails
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
}

namespace {

long allocations = 0;

/// Counts an allocation and answers whether it may succeed.
bool allow() {
  static const char* const text = std::getenv("FAIL_ALLOCATION");
  static const long failing = text == nullptr ? 0 : std::atol(text);
  static const bool all = std::getenv("FAIL_ALL") != nullptr;
  ++allocations;
  if (failing == 0 || allocations < failing || (allocations > failing && !all)) return true;
  errno = ENOMEM;
  return false;
}

bool fails(const char* call) {
  static const char* const failing = std::getenv("FAIL_CALL");
  if (failing == nullptr || std::strcmp(failing, call) != 0) return false;
  errno = EIO;
  return true;
}

/// The system's own function.
template <class Function>
Function next(const char* name, Function) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

/// Shortens a transfer; false when it is to be interrupted.
bool shorten(std::size_t* size) {
  static const bool active = std::getenv("SHORT_TRANSFERS") != nullptr;
  static bool interrupt = false;
  if (!active) return true;
  if (*size > 100) *size = 100;
  interrupt = !interrupt;
  errno = EINTR;
  return !interrupt;
}

[[gnu::destructor]] void write_count() {
  const char* const path = std::getenv("COUNT_FILE");
  if (path == nullptr) return;
  if (std::FILE* const file = std::fopen(path, "w")) {
    std::fprintf(file, "%ld\n", allocations);
    std::fclose(file);
  }
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
  return allow() ? __libc_malloc(size) : nullptr;
}

void* calloc(std::size_t count, std::size_t size) {
  return allow() ? __libc_calloc(count, size) : nullptr;
}

void* realloc(void* block, std::size_t size) {
  return allow() ? __libc_realloc(block, size) : nullptr;
}

ssize_t read(int fd, void* buffer, std::size_t size) {
  static const auto system_read = next("read", &read);
  if (!shorten(&size)) return -1;
  const ssize_t result = system_read(fd, buffer, size);
  static const char* changed = std::getenv("CHANGE_FILE");
  if (changed != nullptr && truncate(changed, 10) == 0) changed = nullptr;
  return result;
}

ssize_t write(int fd, const void* buffer, std::size_t size) {
  static const auto system_write = next("write", &write);
  if (!shorten(&size) || (fd != STDERR_FILENO && fails("write"))) return -1;
  return system_write(fd, buffer, size);
}

int fsync(int fd) {
  static const auto system_fsync = next("fsync", &fsync);
  return fails("fsync") ? -1 : system_fsync(fd);
}

int close(int fd) {
  static const auto system_close = next("close", &close);
  const int result = system_close(fd);
  return fails("close") ? -1 : result;
}

int rename(const char* from, const char* to) noexcept {
  static const auto system_rename = next("rename", &rename);
  return fails("rename") ? -1 : system_rename(from, to);
}

}  // extern "C"
