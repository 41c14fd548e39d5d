#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

/// A script, and what the program makes of it.
inline const std::string redundant_script = "(declare-const p Bool)\n(assert (and p true p))\n(check-sat)\n";
inline const std::string simplified_script = "(declare-const p Bool)\n(assert p)\n(check-sat)\n";

/// What a shell command returned.
struct Result {
  int status;
  std::string out;
  std::string err;
};

inline std::string contents(const fs::path& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

inline bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

inline std::size_t num_lines(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

/// Each test has a folder of its own, in which commands run; $quarv is the program.
class Program : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = (fs::temp_directory_path() / "quarv_program_XXXXXX").string();
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    root_ = name;
    fs::create_directory(root_ / "folder");
  }
  void TearDown() override { fs::remove_all(root_); }

  fs::path path(const std::string& name) const { return root_ / "folder" / name; }
  void write(const std::string& name, const std::string& text) const { std::ofstream(path(name)) << text; }
  std::string read(const std::string& name) const { return contents(path(name)); }
  std::size_t num_files() const {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(root_ / "folder"), fs::directory_iterator()));
  }

  /// Runs a shell command with `input` as its standard input.
  Result run(const std::string& command, const std::string& input = "") const {
    std::ofstream(root_ / "in") << input;
    std::ofstream(root_ / "script") << "cd folder\nquarv='" QUARV_PROGRAM "'\nexport XDG_CACHE_HOME='"
                                    << (root_ / "cache").string() << "'\n"
                                    << command << '\n';
    const int status = std::system(("cd '" + root_.string() + "' && bash script < in > out 2> err").c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contents(root_ / "out"), contents(root_ / "err")};
  }

 private:
  fs::path root_;
};
