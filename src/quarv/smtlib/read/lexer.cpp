#include <quarv/smtlib/read/lexer.h>

namespace quarv::smtlib {

using characters::in_symbol;
using characters::is_bit;
using characters::is_digit;
using characters::is_hex;

Token Lexer::error(const char* where, std::string_view message) noexcept {
  next_ = where;
  return {TokenKind::error, where, message};
}

Token Lexer::number(const char* start) noexcept {
  const char* p = skip(start, is_digit);
  if (*start == '0' && p != start + 1) return error(start, "a number must not have leading zeros");
  TokenKind kind = TokenKind::numeral;
  if (p != end_ && *p == '.') {
    const char* fraction = p + 1;
    p = skip(fraction, is_digit);
    if (p == fraction) return error(start, "a decimal needs digits after its point");
    kind = TokenKind::decimal;
  }
  if (p != end_ && is_symbol_char(*p)) return error(start, "a symbol must not begin with a digit");
  next_ = p;
  return {kind, start, view(start, p)};
}

Token Lexer::other(const char* start) noexcept {
  switch (*start) {
    case ':': {
      const char* p = skip(start + 1, in_symbol);
      if (p == start + 1) return error(start, "a keyword needs a name after its colon");
      next_ = p;
      return {TokenKind::keyword, start, view(start, p)};
    }
    case '|': {
      const char* p = start + 1;
      while (p != end_ && *p != '|' && *p != '\\' && *p != '\0') ++p;
      if (p == end_) return error(start, "quoted symbol is not terminated");
      if (*p == '\0') return error(p, "a quoted symbol must not contain a NUL byte");
      if (*p == '\\') return error(p, "a quoted symbol must not contain a backslash");
      next_ = p + 1;
      return {TokenKind::symbol, start, view(start + 1, p)};
    }
    case '"': {
      const char* p = start + 1;
      for (;; ++p) {
        if (p == end_) return error(start, "string literal is not terminated");
        if (*p != '"') continue;
        if (p + 1 == end_ || p[1] != '"') break;
        ++p;  // "" within a string is one quotation mark
      }
      next_ = p + 1;
      return {TokenKind::string, start, view(start, next_)};
    }
    case '#': {
      const bool hex = start + 1 != end_ && start[1] == 'x';
      if (!hex && (start + 1 == end_ || start[1] != 'b')) return error(start, "expected #b or #x");
      const char* digits = start + 2;
      const char* p = skip(digits, hex ? is_hex : is_bit);
      if (p != end_ && is_symbol_char(*p)) {
        return error(start, hex ? "not a hexadecimal digit in a literal" : "not a binary digit in a literal");
      }
      if (p == digits) return error(start, "a bit-vector literal needs digits");
      next_ = p;
      return {hex ? TokenKind::hexadecimal : TokenKind::binary, start, view(digits, p)};
    }
    default:
      return error(start, "unexpected character");
  }
}

}  // namespace quarv::smtlib
