#include "io/output.h"

#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include <climits>

namespace quarv::cli {

namespace {

// The temporary files to remove when a signal ends the program: no command writes more files at a time.
constexpr std::size_t most_pending = 4;
char pending[most_pending][PATH_MAX];
constexpr int fatal_signals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGXCPU};

char* free_pending() {
  for (char* const name : pending) {
    if (name[0] == 0) return name;
  }
  throw std::logic_error("more files are written than can be removed");
}

sigset_t fatal_set() {
  sigset_t set;
  sigemptyset(&set);
  for (int signal : fatal_signals) sigaddset(&set, signal);
  return set;
}

extern "C" void remove_pending(int fatal) {
  for (const char* const name : pending) {
    if (name[0] != 0) unlink(name);
  }
  std::signal(fatal, SIG_DFL);
  raise(fatal);  // it is held back until the handler ends, and ends the program then
}

void watch_signals() {
  struct sigaction action = {};
  action.sa_handler = remove_pending;
  // Signals often come in pairs: a second one must not end the program before the file is removed.
  action.sa_mask = fatal_set();
  for (int signal : fatal_signals) {
    struct sigaction old;
    sigaction(signal, nullptr, &old);
    if (old.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
  }
}

/// While it lives, fatal signals wait: none comes between the making of a file and the note to remove it.
class SignalsHeld {
 public:
  SignalsHeld() {
    const sigset_t held = fatal_set();
    pthread_sigmask(SIG_BLOCK, &held, &before_);
  }
  ~SignalsHeld() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;

 private:
  sigset_t before_;
};

/// The file that a path leads to, links followed.
std::string resolved(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), std::free);
  return real ? std::string(real.get()) : path;
}

/// The beginning of a temporary file's name. The base name is cut so that the whole is not too long for the
/// file system.
std::string temporary_beside(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::size_t base = slash == std::string::npos ? 0 : slash + 1;
  return path.substr(0, base) + '.' + path.substr(base, NAME_MAX - 8);
}

/// The open file that a path stands for; -1 if it is none. A path of that kind leads to a file only as long
/// as that keeps its name, and to its beginning instead of the place where writing goes on.
int open_file(const std::string& path) {
  if (path == "-" || path == "/dev/stdout") return STDOUT_FILENO;
  if (path == "/dev/stderr") return STDERR_FILENO;
  for (const std::string_view folder : {"/dev/fd/", "/proc/self/fd/"}) {
    if (!path.starts_with(folder)) continue;
    int fd = -1;
    const char* const end = path.data() + path.size();
    const auto [rest, error] = std::from_chars(path.data() + folder.size(), end, fd);
    if (error == std::errc() && rest == end) return fd;
  }
  return -1;
}

mode_t default_mode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

Output::Output(const std::string& path, TemporaryName temporary_name)
    : name_(path == "-" ? "standard output" : path),
      temporary_name_(temporary_name),
      compression_(compression_of(path)),
      buffer_(std::size_t{1} << 16),
      stream_(this) {
  stream_.exceptions(std::ios::badbit);
  setp(buffer_.data(), buffer_.data() + buffer_.size());
  if (const int fd = open_file(path); fd >= 0) {
    file_ = FileDescriptor(dup(fd));
  } else if (!is_direct(path)) {
    if (access(path.c_str(), W_OK) != 0 && errno != ENOENT) throw FileError("write", name_);
    target_ = resolved(path);
    return;
  } else {
    file_ = FileDescriptor(open(path.c_str(), O_WRONLY | O_CLOEXEC));
  }
  if (!file_) throw FileError("write", name_);
}

bool Output::is_same(const std::string& path, const std::string& other) {
  if (open_file(path) >= 0 || open_file(other) >= 0) return open_file(path) == open_file(other);
  // What does not exist yet is made absolute, or a relative path would stay one.
  namespace fs = std::filesystem;
  std::error_code error;
  return fs::weakly_canonical(fs::absolute(path, error), error) ==
         fs::weakly_canonical(fs::absolute(other, error), error);
}

bool Output::is_direct(const std::string& path) {
  struct stat status;
  return open_file(path) >= 0 || (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode));
}

Output::~Output() {
  discard();
}

void Output::discard() noexcept {
  if (temporary_.empty()) return;
  unlink(temporary_.c_str());
  forget_temporary();
}

void Output::forget_temporary() noexcept {
  temporary_.clear();
  pending_[0] = 0;
}

std::string Output::fixed_temporary(const std::string& path) {
  return temporary_beside(path) + ".new";
}

void Output::create_temporary() {
  const bool fixed = temporary_name_ == TemporaryName::fixed;
  std::string name = fixed ? fixed_temporary(target_) : temporary_beside(target_) + ".XXXXXX";
  if (name.size() >= PATH_MAX) throw FileError("write", name_, ENAMETOOLONG);
  const SignalsHeld held;
  char* const note = free_pending();
  FileDescriptor file(fixed ? open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)
                            : mkostemp(name.data(), O_CLOEXEC));
  if (!file) throw FileError("write", name_);
  std::strcpy(note, name.c_str());
  pending_ = note;
  watch_signals();
  temporary_ = std::move(name);
  file_ = std::move(file);

  struct stat old;
  const bool replaces = stat(target_.c_str(), &old) == 0;
  // Only root can give a file away; for others the new file is theirs, like any file that they write.
  if (replaces && (old.st_uid != geteuid() || old.st_gid != getegid()) &&
      fchown(file_.get(), old.st_uid, old.st_gid) != 0 && errno != EPERM) {
    throw FileError("write", name_);
  }
  if (fchmod(file_.get(), replaces ? old.st_mode & 07777 : default_mode()) != 0) {
    throw FileError("write", name_);
  }
}

void Output::write_all(const char* text, std::size_t size) {
  if (!file_) create_temporary();
  while (size != 0) {
    const ssize_t n = ::write(file_.get(), text, size);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && errno == EPIPE) throw ClosedPipe("write", name_);
    if (n < 0) throw FileError("write", name_);
    text += n;
    size -= static_cast<std::size_t>(n);
  }
}

void Output::put(const char* text, std::size_t size) {
  if (compression_ == Compression::none) {
    write_all(text, size);
  } else {
    to_compress_.append(text, size);
  }
}

void Output::flush_buffer() {
  const auto size = static_cast<std::size_t>(pptr() - pbase());
  // What cannot be written is not tried again.
  setp(buffer_.data(), buffer_.data() + buffer_.size());
  put(buffer_.data(), size);
}

Output::int_type Output::overflow(int_type c) {
  flush_buffer();
  if (!traits_type::eq_int_type(c, traits_type::eof())) sputc(traits_type::to_char_type(c));
  return traits_type::not_eof(c);
}

int Output::sync() {
  flush_buffer();
  return 0;
}

std::streamsize Output::xsputn(const char* text, std::streamsize size) {
  const auto n = static_cast<std::size_t>(size);
  if (n < buffer_.size()) return std::streambuf::xsputn(text, size);
  flush_buffer();
  put(text, n);
  return size;
}

void Output::commit() {
  flush_buffer();
  if (compression_ != Compression::none) {
    const std::string bytes = compressed(to_compress_, compression_, name_);
    write_all(bytes.data(), bytes.size());
  }
  if (temporary_.empty()) {
    // What a device or a pipe still holds back may fail when it is closed.
    if (close(file_.release()) != 0) throw FileError("write", name_);
    return;
  }
  if (fsync(file_.get()) != 0 || close(file_.release()) != 0 ||
      rename(temporary_.c_str(), target_.c_str()) != 0) {
    throw FileError("write", name_);
  }
  forget_temporary();
}

}  // namespace quarv::cli
