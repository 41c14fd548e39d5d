#include "io/text_source.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <editline/readline.h>
#include <fcntl.h>
#include <filesystem>
#include <set>
#include <string_view>
#include <unistd.h>
#include <utility>

#include "io/compression.h"
#include "io/file_descriptor.h"
#include "io/file_error.h"
#include <quarv/smtlib/read/lexer.h>
#include <quarv/term/operators.h>

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

/// What Tab completes: commands, operators, and names that have been typed.
class CompletedWords {
 public:
  CompletedWords() {
    for (const std::string_view word : {"assert",        "check-sat",   "check-sat-assuming",
                                        "declare-const", "declare-fun", "declare-sort",
                                        "define-const",  "define-fun",  "define-sort",
                                        "exit",          "exists",      "explain",
                                        "forall",        "get-value",   "help",
                                        "let",           "pop",         "push",
                                        "reset",         "rule",        "set-logic",
                                        "simplify",      "why-not"}) {
      words_.emplace(word);
    }
    for (const auto& operators : {tagged_operators(), opaque_operators()}) {
      for (const OperatorRow& row : operators) {
        if (row.smtlib.size() > 1) words_.emplace(row.smtlib);
        if (!row.synonym.empty()) words_.emplace(row.synonym);
      }
    }
  }

  void note(std::string_view line) {
    smtlib::Lexer lexer(line);
    for (smtlib::Token t = lexer.next();
         t.kind != smtlib::TokenKind::end && t.kind != smtlib::TokenKind::error; t = lexer.next()) {
      if (t.kind == smtlib::TokenKind::symbol && *t.start != '|') words_.emplace(t.text);
    }
  }

  /// The word in that place among those that begin so, to be freed; null behind the last.
  char* find(std::string_view beginning, std::size_t place) const {
    auto word = words_.lower_bound(beginning);
    for (; place != 0 && word != words_.end(); --place) ++word;
    return word != words_.end() && word->starts_with(beginning) ? strdup(word->c_str()) : nullptr;
  }

 private:
  std::set<std::string, std::less<>> words_;
};

class Terminal : public TextSource {
 public:
  Terminal() : history_(history_file()) {
    constexpr int most_lines = 1000;
    rl_initialize();
    using_history();
    stifle_history(most_lines);
    // The library calls functions without anything of one's own.
    rl_attempted_completion_function = [](const char* beginning, int, int) {
      rl_attempted_completion_over = 1;  // no names of files
      return rl_completion_matches(beginning, [](const char* text, int place) {
        return words().find(text, static_cast<std::size_t>(place_of(place)));
      });
    };
    rl_completer_word_break_characters = word_breaks;
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
    words().note(line.get());
    text += line.get();
    text += '\n';
    return true;
  }

  bool interactive() const noexcept override { return true; }

 private:
  static CompletedWords& words() {
    static CompletedWords all;
    return all;
  }
  /// How many words of one beginning have been asked for: 0 asks for the first.
  static int place_of(int state) {
    static int place = 0;
    return place = state == 0 ? 0 : place + 1;
  }

  static inline char word_breaks[] = " \t\n()\"";
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
