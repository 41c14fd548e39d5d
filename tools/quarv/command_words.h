#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "io/command_line.h"

namespace quarv::cli {

/// The words at the beginning of a command line that name one of a program's commands, as "rules check" does.
class CommandWords {
 public:
  /// `words` may go on with what is not a command. All are referred to.
  CommandWords(const CommandLine& program, std::span<const char* const> words);

  /// As it is called: "quarv rules check".
  const std::string& path() const noexcept { return path_; }

  /// The words behind the command.
  std::span<const char* const> rest() const noexcept { return rest_; }

  /// Why they do not name what can be run: a command is unknown, or missing. Empty when they do; options that
  /// stand where a command should are not looked at.
  std::string error() const;

  /// Says that there is no command like the next word, and which one may have been meant.
  std::string unknown() const;

  /// The help of the command.
  std::string help() const;

 private:
  CommandLine command_;
  std::span<const char* const> rest_;
  std::string path_;
  std::string path_above_;
};

/// The one of `known` that someone may have meant who wrote `word`: what it begins, or what differs from it
/// in a letter out of three at most; the nearest, and of those the first. Empty when there is none.
std::string_view nearest_word(std::string_view word, const std::vector<std::string>& known);

}  // namespace quarv::cli
