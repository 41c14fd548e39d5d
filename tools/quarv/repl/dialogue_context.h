#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <quarv/smtlib/script.h>

namespace quarv::cli {

/// A script that declares and defines what is in force in a dialogue.
class DialogueContext {
 public:
  /// A command that has been answered, and its text. `global`: declarations outlive their levels.
  void add(const smtlib::Command& command, const std::string& text, bool global);

  std::string script() const { return logic_ + text_; }

 private:
  void push(std::size_t levels);
  void pop(std::size_t levels);

  std::string logic_;
  std::string text_;
  std::vector<std::size_t> levels_;  // how much text there was before each
};

}  // namespace quarv::cli
