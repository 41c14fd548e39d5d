#include "command_words.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <system_error>

#include <fmt/core.h>

namespace quarv::cli {

namespace {

/// How many letters to leave out, to put in, to replace, or to exchange with their neighbours make one word
/// of the other.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> before_last, last(b.size() + 1), row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) last[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      row[j] = std::min({replaced, last[j] + 1, row[j - 1] + 1});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        row[j] = std::min(row[j], before_last[j - 2] + 1);
      }
    }
    before_last = last;
    last = row;
  }
  return last[b.size()];
}

bool is_option(std::string_view word) {
  return word.starts_with('-') && word != "-";
}

}  // namespace

std::string_view nearest_word(std::string_view word, const std::vector<std::string>& known) {
  std::string_view nearest;
  std::size_t least = word.size();
  for (const std::string& candidate : known) {
    const std::size_t d = candidate.starts_with(word) ? 0 : distance(word, candidate);
    if (d < least && 3 * d <= std::max(word.size(), candidate.size())) {
      least = d;
      nearest = candidate;
    }
  }
  return nearest;
}

CommandWords::CommandWords(const CommandLine& program, std::span<const char* const> words)
    : command_(program), rest_(words), path_(program.name()) {
  while (!rest_.empty()) {
    const std::vector<CommandLine> known = command_.subcommands();
    const auto named = std::ranges::find(known, rest_.front(), &CommandLine::name);
    if (named == known.end()) return;
    command_ = *named;
    path_above_ = path_;
    path_ += ' ' + command_.name();
    rest_ = rest_.subspan(1);
  }
}

std::string CommandWords::error() const {
  if (!command_.needs_subcommand()) return "";
  if (rest_.empty()) return fmt::format("a command is missing ({} --help lists them)", path_);
  return is_option(rest_.front()) ? "" : unknown();
}

std::string CommandWords::unknown() const {
  const std::string word = rest_.front();
  const std::string text = fmt::format("there is no command {} {}", path_, word);
  if (path_above_.empty()) {
    std::error_code error;
    if (std::filesystem::is_directory(word, error)) {
      return text + fmt::format("; to simplify what is in a folder: quarv batch {}", word);
    }
    if (word == "-" || word.ends_with(".smt2") || std::filesystem::exists(word, error)) {
      return text + fmt::format("; to simplify a script: quarv simplify {}", word);
    }
  }
  std::vector<std::string> names;
  for (const CommandLine& command : command_.subcommands()) names.push_back(command.name());
  if (const std::string_view nearest = nearest_word(word, names); !nearest.empty()) {
    return text + fmt::format("; the nearest one is {} {}", path_, nearest);
  }
  return text + fmt::format(" ({} --help lists all)", path_);
}

std::string CommandWords::help() const {
  return command_.help(path_above_);
}

}  // namespace quarv::cli
