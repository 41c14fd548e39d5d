#include "io/text_source.h"

#include <cstdio>
#include <cstdlib>
#include <editline/readline.h>
#include <fcntl.h>
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

class Terminal : public TextSource {
 public:
  Terminal() {
    rl_initialize();
    using_history();
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
