#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <quarv/rules/language/rule_language.h>

namespace quarv::rules {

/// `text` in quotation marks, for messages.
std::string quoted(std::string_view text);

/// Cuts the text of one rule into tokens, one token ahead.
class RuleLexer {
 public:
  enum class Token : std::uint8_t { name, number, sign, end };

  /// Begins at `offset`; columns count from the beginning of `text`.
  RuleLexer(std::string_view text, std::size_t line, std::size_t offset = 0)
      : text_(text), line_(line), end_(offset) {
    advance();
  }

  Token token() const { return token_; }
  std::string_view token_text() const { return text_.substr(begin_, end_ - begin_); }
  bool at(std::string_view sign) const { return token_ != Token::name && token_text() == sign; }
  bool at_word(std::string_view word) const { return token_ == Token::name && token_text() == word; }

  /// Offset of the current token, and of the end of the one before.
  std::size_t offset() const { return begin_; }
  std::size_t previous_end() const { return previous_end_; }
  std::size_t column() const { return begin_ + 1; }
  std::string_view slice(std::size_t from, std::size_t to) const { return text_.substr(from, to - from); }

  void advance();

  /// Passes over `sign` when it is the current token.
  bool accept(std::string_view sign);

  /// Passes over `sign`, which must be the current token.
  void expect(std::string_view sign);

  /// The number under the cursor, which moves behind it.
  std::int64_t take_number();

  [[noreturn]] void fail(const std::string& reason) const { fail(column(), reason); }
  [[noreturn]] void fail(std::size_t column, const std::string& reason) const {
    throw RuleError(line_, column, reason);
  }

  /// How the current token is called in a message.
  std::string found() const;

 private:
  std::string_view text_;
  std::size_t line_;
  Token token_ = Token::end;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::size_t previous_end_ = 0;
};

}  // namespace quarv::rules
