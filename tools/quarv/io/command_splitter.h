#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quarv::cli {

/// Cuts a stream of text into commands, so that each can run as soon as it is complete.
class CommandSplitter {
 public:
  /// A command's text, and where it begins in the stream, counted from 1.
  struct Piece {
    std::string text;
    std::size_t line = 1;
    std::size_t column = 1;
  };

  /// Adds text to the end of what is waiting.
  void add(std::string_view text);

  /// Takes the first complete command: text in balanced parentheses, or whatever else stands outside of
  /// parentheses up to the next one or the end of the line. False when there is none.
  bool next(Piece& piece);

  /// Takes what is left at the end of the input; false when that is nothing but blanks and comments.
  bool rest(Piece& piece);

  /// No command has been begun.
  bool idle() const noexcept { return start_ == none; }

 private:
  enum class State { outside, inside, string, quoted_symbol, comment };
  static constexpr std::size_t none = static_cast<std::size_t>(-1);

  Piece take(std::size_t end);
  void advance(char c);

  std::string waiting_;
  std::size_t position_ = 0;  // of the next character to look at
  std::size_t start_ = none;  // of the command that has been begun
  std::size_t depth_ = 0;
  State state_ = State::outside;
  State before_comment_ = State::outside;
  std::size_t line_ = 1, column_ = 1;
  std::size_t start_line_ = 1, start_column_ = 1;
};

}  // namespace quarv::cli
