#include "io/text_source.h"

#include <cstdio>
#include <cstdlib>
#include <editline/readline.h>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>
#include <utility>

#include "io/compression.h"
#include "io/file_descriptor.h"
#include "io/file_error.h"

namespace quarv::cli {

namespace {

class FileSource : public TextSource {
 public:
  FileSource(FileDescriptor file, std::string name) : file_(std::move(file)), name_(std::move(name)) {}

  bool read(std::string& text, bool) override {
    if (!begun_) return begin(text);
    return read_part(text);
  }

 private:
  /// Compressed text is read as a whole.
  bool begin(std::string& text) {
    begun_ = true;
    std::string bytes;
    if (read_part(bytes) && (is_compressed(bytes) || compression_of(name_) != Compression::none)) {
      while (read_part(bytes)) {
      }
    }
    text += decompressed(bytes, name_).value_or(bytes);
    return !bytes.empty();
  }

  /// False at the end.
  bool read_part(std::string& text) {
    char buffer[1 << 14];
    ssize_t n;
    do n = ::read(file_.get(), buffer, sizeof buffer);
    while (n < 0 && errno == EINTR);
    if (n < 0) throw FileError("read", name_);
    text.append(buffer, static_cast<std::size_t>(n));
    return n != 0;
  }

  FileDescriptor file_;
  std::string name_;
  bool begun_ = false;
};

/// Where lines are remembered from one dialogue to the next; empty when there is no place for it. Made when
/// it is not there.
std::string history_file() {
  namespace fs = std::filesystem;
  const char* const state = std::getenv("XDG_STATE_HOME");
  const char* const home = std::getenv("HOME");
  fs::path folder;
  if (state != nullptr && *state == '/') {
    folder = state;
  } else if (home != nullptr && *home == '/') {
    folder = fs::path(home) / ".local" / "state";
  } else {
    return {};
  }
  folder /= "quarv";
  std::error_code error;
  fs::create_directories(folder, error);
  std::string file = folder / "history";
  const FileDescriptor created(open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  return created ? file : std::string();
}

class Terminal : public TextSource {
 public:
  Terminal() : history_(history_file()) {
    constexpr int most_lines = 1000;
    rl_initialize();
    using_history();
    stifle_history(most_lines);
    if (!history_.empty()) read_history(history_.c_str());
  }
  /// A dialogue that cannot be remembered is none the worse.
  ~Terminal() override {
    if (!history_.empty()) write_history(history_.c_str());
  }

  bool read(std::string& text, bool idle) override {
    const std::unique_ptr<char, decltype(&std::free)> line(readline(idle ? "quarv> " : "   ... "), std::free);
    if (!line) {
      std::fputc('\n', stdout);
      return false;
    }
    if (*line != 0) add_history(line.get());
    text += line.get();
    text += '\n';
    return true;
  }

  bool interactive() const noexcept override { return true; }

 private:
  std::string history_;
};

}  // namespace

std::unique_ptr<TextSource> open_text_source(const std::string& path) {
  if (path != "-") {
    FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) throw FileError("read", path);
    return std::make_unique<FileSource>(std::move(file), path);
  }
  if (isatty(STDIN_FILENO) && isatty(STDOUT_FILENO)) return std::make_unique<Terminal>();
  return std::make_unique<FileSource>(FileDescriptor(dup(STDIN_FILENO)), "standard input");
}

}  // namespace quarv::cli
