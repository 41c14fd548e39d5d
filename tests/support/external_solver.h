/// \file
/// Runs an SMT solver on a script.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace quarv {

/// True when the shell finds the program.
inline bool has_program(const std::string& name) {
  return std::system(("command -v '" + name + "' > /dev/null 2>&1").c_str()) == 0;
}

/// The lines that `command` prints when it reads `script` from its standard input.
inline std::vector<std::string> solver_output(const std::string& command, const std::string& script) {
  const std::filesystem::path file =
      std::filesystem::temp_directory_path() / ("quarv_test_" + std::to_string(getpid()) + ".smt2");
  std::ofstream(file) << script;
  std::vector<std::string> lines;
  if (std::FILE* const pipe = popen((command + " < '" + file.string() + "'").c_str(), "r")) {
    std::string line;
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
      if (c == '\n') {
        lines.push_back(line);
        line.clear();
      } else {
        line += static_cast<char>(c);
      }
    }
    if (!line.empty()) lines.push_back(line);
    pclose(pipe);
  }
  std::filesystem::remove(file);
  return lines;
}

}  // namespace quarv
