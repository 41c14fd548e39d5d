#include "repl/dialogue_context.h"

#include <algorithm>
#include <array>

namespace quarv::cli {

namespace {

using smtlib::Command;

bool begins_with_one_of(std::string_view text, auto heads) {
  return std::ranges::any_of(heads, [text](std::string_view head) { return text.starts_with(head); });
}

bool declares(const Command& command, std::string_view text) {
  constexpr std::array<std::string_view, 3> heads = {"(declare-sort ", "(define-sort ",
                                                     "(set-option :global-declarations "};
  switch (command.kind) {
    case Command::Kind::declare:
    case Command::Kind::define:
    case Command::Kind::define_function:
      return true;
    case Command::Kind::other:
      return begins_with_one_of(command.text, heads);
    default:
      return text.find(":named") != std::string_view::npos;
  }
}

}  // namespace

void DialogueContext::push(std::size_t levels) {
  for (; levels != 0; --levels) {
    levels_.push_back(text_.size());
    text_ += "(push 1)\n";  // or no name could be declared anew
  }
}

void DialogueContext::pop(std::size_t levels) {
  levels = std::min(levels, levels_.size());
  if (levels == 0) return;
  text_.resize(levels_[levels_.size() - levels]);
  levels_.resize(levels_.size() - levels);
}

void DialogueContext::add(const Command& command, const std::string& text, bool global) {
  switch (command.kind) {
    case Command::Kind::push:
      return global ? void(text_ += text + '\n') : push(command.levels);
    case Command::Kind::pop:
      return global ? void(text_ += text + '\n') : pop(command.levels);
    case Command::Kind::reset:
      *this = {};
      return;
    case Command::Kind::reset_assertions:
      if (global) return;
      text_.clear();
      levels_.clear();
      return;
    case Command::Kind::other:
      if (command.text.starts_with("(set-logic ")) logic_ = text + '\n';
      break;
    default:
      break;
  }
  if (declares(command, text)) text_ += text + '\n';
}

}  // namespace quarv::cli
