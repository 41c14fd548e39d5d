#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace quarv::smtlib {

enum class TokenKind : std::uint8_t {
  end,
  left_parenthesis,
  right_parenthesis,
  symbol,   // text without |quotes|
  keyword,  // text with its colon
  numeral,
  decimal,
  hexadecimal,  // text without "#x"
  binary,       // text without "#b"
  string,       // text with its quotes
  error         // text says what is wrong
};

struct Token {
  TokenKind kind;
  const char* start;  // where the token begins in the input
  std::string_view text;
};

/// What each byte may be part of.
namespace characters {

enum class Class : std::uint8_t { invalid, blank, symbol, digit, left, right, special };
enum Flag : std::uint8_t { in_symbol = 1, is_digit = 2, is_hex = 4, is_bit = 8, is_blank = 16 };
struct CharInfo {
  Class cls = Class::invalid;
  std::uint8_t flags = 0;
};

constexpr std::array<CharInfo, 256> make_table() {
  std::array<CharInfo, 256> t{};
  const auto add = [&t](std::string_view chars, Class cls, int flags) {
    for (char c : chars) {
      t[static_cast<unsigned char>(c)].cls = cls;
      t[static_cast<unsigned char>(c)].flags |= static_cast<std::uint8_t>(flags);
    }
  };
  add("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ~!@$%^&*_-+=<>.?/", Class::symbol, in_symbol);
  add("0123456789", Class::digit, in_symbol | is_digit | is_hex);
  for (char c : std::string_view("abcdefABCDEF")) t[static_cast<unsigned char>(c)].flags |= is_hex;
  for (char c : std::string_view("01")) t[static_cast<unsigned char>(c)].flags |= is_bit;
  add(" \t\r\n", Class::blank, is_blank);
  add("(", Class::left, 0);
  add(")", Class::right, 0);
  add(";|\":#", Class::special, 0);
  return t;
}
inline constexpr std::array<CharInfo, 256> table = make_table();

}  // namespace characters

/// Splits SMT-LIB text into tokens. It looks at each byte once and copies nothing; tokens are views of the
/// input.
class Lexer {
 public:
  Lexer() = default;
  explicit Lexer(std::string_view input) : next_(input.data()), end_(input.data() + input.size()) {}

  /// The next token. Past the end, and after an error, it stays where it is.
  Token next() noexcept {
    skip_blanks();
    const char* start = next_;
    if (start == end_) return {TokenKind::end, start, {}};
    switch (class_of(*start)) {
      case Class::symbol:
        next_ = skip(start + 1, characters::in_symbol);
        return {TokenKind::symbol, start, view(start, next_)};
      case Class::left:
        ++next_;
        return {TokenKind::left_parenthesis, start, view(start, next_)};
      case Class::right:
        ++next_;
        return {TokenKind::right_parenthesis, start, view(start, next_)};
      case Class::digit:
        return number(start);
      default:
        return other(start);
    }
  }

  /// Where the next token's search begins.
  const char* position() const noexcept { return next_; }

  /// True when `c` may occur in a simple symbol.
  static bool is_symbol_char(char c) noexcept { return (flags_of(c) & characters::in_symbol) != 0; }

 private:
  using Class = characters::Class;
  static std::uint8_t flags_of(char c) noexcept {
    return characters::table[static_cast<unsigned char>(c)].flags;
  }
  static Class class_of(char c) noexcept { return characters::table[static_cast<unsigned char>(c)].cls; }
  static std::string_view view(const char* from, const char* to) noexcept {
    return {from, static_cast<std::size_t>(to - from)};
  }

  const char* skip(const char* p, std::uint8_t flag) const noexcept {
    while (p != end_ && (flags_of(*p) & flag) != 0) ++p;
    return p;
  }

  void skip_blanks() noexcept {
    for (;;) {
      next_ = skip(next_, characters::is_blank);
      if (next_ == end_ || *next_ != ';') return;
      while (next_ != end_ && *next_ != '\n' && *next_ != '\r') ++next_;
    }
  }

  Token number(const char* start) noexcept;
  Token other(const char* start) noexcept;
  Token error(const char* where, std::string_view message) noexcept;

  const char* next_ = nullptr;
  const char* end_ = nullptr;
};

}  // namespace quarv::smtlib
