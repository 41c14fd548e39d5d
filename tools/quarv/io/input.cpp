#include "io/input.h"

#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "io/compression.h"
#include "io/file_descriptor.h"
#include "io/file_error.h"

namespace quarv::cli {

namespace {

struct stat status_of(int fd, const std::string& name) {
  struct stat status;
  if (fstat(fd, &status) != 0) throw FileError("read", name);
  return status;
}

bool same_contents(const struct stat& a, const struct stat& b) {
  return a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
         a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

}  // namespace

Input::Input(const std::string& path) : name_(path == "-" ? "<stdin>" : path) {
  const FileDescriptor file(path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) throw FileError("read", name_);
  const struct stat before = status_of(file.get(), name_);
  const bool regular = S_ISREG(before.st_mode);
  read_all(file.get(), regular ? static_cast<std::size_t>(before.st_size) : 0);
  if (regular && !same_contents(before, status_of(file.get(), name_))) {
    throw FileError("read", name_, "it changed while being read");
  }
  unpacked_ = decompressed({bytes_.get(), size_}, name_);
  if (unpacked_) bytes_.reset();
}

void Input::read_all(int fd, std::size_t expected_size) {
  // One byte more than expected lets a file be read without growing the buffer at its end.
  std::size_t capacity = expected_size + 1;
  if (capacity < std::size_t{1} << 16) capacity = std::size_t{1} << 16;
  bytes_ = std::make_unique_for_overwrite<char[]>(capacity);
  for (;;) {
    const ssize_t n = read(fd, bytes_.get() + size_, capacity - size_);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) throw FileError("read", name_);
    if (n == 0) return;
    size_ += static_cast<std::size_t>(n);
    if (size_ == capacity) {
      auto larger = std::make_unique_for_overwrite<char[]>(2 * capacity);
      std::memcpy(larger.get(), bytes_.get(), size_);
      bytes_ = std::move(larger);
      capacity *= 2;
    }
  }
}

}  // namespace quarv::cli
