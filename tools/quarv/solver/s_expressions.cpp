#include "solver/s_expressions.h"

#include <quarv/smtlib/read/lexer.h>
#include <quarv/util/byte_order_mark.h>

namespace quarv::cli {

using smtlib::Lexer;
using smtlib::Token;
using smtlib::TokenKind;

namespace {

bool is_last(const Token& t) {
  return t.kind == TokenKind::end || t.kind == TokenKind::error;
}

std::string_view verbatim(const Token& t, const Lexer& lexer) {
  return {t.start, static_cast<std::size_t>(lexer.position() - t.start)};
}

}  // namespace

std::vector<std::string_view> split(std::string_view text) {
  std::vector<std::string_view> parts;
  Lexer lexer(without_byte_order_mark(text));
  std::size_t depth = 0;
  const char* start = nullptr;
  for (Token t = lexer.next(); !is_last(t); t = lexer.next()) {
    if (depth == 0) start = t.start;
    if (t.kind == TokenKind::left_parenthesis) ++depth;
    if (t.kind == TokenKind::right_parenthesis && depth > 0) --depth;
    if (depth == 0) parts.emplace_back(start, static_cast<std::size_t>(lexer.position() - start));
  }
  return parts;
}

std::vector<std::string_view> items(std::string_view expression) {
  if (!expression.starts_with('(')) return {expression};
  return split(expression.substr(1, expression.size() - 2));
}

std::string_view head(std::string_view expression) {
  Lexer lexer(expression);
  lexer.next();
  const Token t = lexer.next();
  return t.kind == TokenKind::symbol ? t.text : std::string_view();
}

std::string_view unquoted(std::string_view symbol) {
  return symbol.starts_with('|') ? symbol.substr(1, symbol.size() - 2) : symbol;
}

bool same_tokens(std::string_view a, std::string_view b) {
  Lexer first(a), second(b);
  for (;;) {
    const Token s = first.next();
    const Token t = second.next();
    if (s.kind != t.kind || s.text != t.text) return false;
    if (is_last(s)) return true;
  }
}

void for_each_symbol(std::string_view text, const std::function<void(std::string_view)>& visit) {
  Lexer lexer(text);
  for (Token t = lexer.next(); !is_last(t); t = lexer.next()) {
    if (t.kind == TokenKind::symbol) visit(t.text);
  }
}

std::string one_line(std::string_view text, std::size_t limit) {
  std::string line;
  Lexer lexer(text);
  for (Token t = lexer.next(); !is_last(t); t = lexer.next()) {
    if (line.size() >= limit) return line + " ...";
    if (!line.empty() && line.back() != '(' && t.kind != TokenKind::right_parenthesis) line += ' ';
    line += verbatim(t, lexer);
  }
  return line;
}

}  // namespace quarv::cli
