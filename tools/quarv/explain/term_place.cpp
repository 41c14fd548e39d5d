#include "explain/term_place.h"

#include <algorithm>
#include <vector>

#include <quarv/smtlib/read/lexer.h>

namespace quarv::cli {

namespace {

using smtlib::Lexer;
using smtlib::Token;
using smtlib::TokenKind;

/// Where the place is in the text; none behind the end of its line.
std::optional<std::size_t> offset_of(std::string_view text, std::size_t line, std::size_t column) {
  std::size_t start = 0;
  for (std::size_t i = 1; i < line; ++i) {
    start = text.find('\n', start) + 1;
    if (start == 0) return std::nullopt;
  }
  const std::size_t end = std::min(text.find('\n', start), text.size());
  if (column - 1 >= end - start) return std::nullopt;
  return start + column - 1;
}

/// What stands between two parentheses.
struct List {
  enum Kind : unsigned char {
    other,  ///< a command that asserts nothing, a sort, an index, an attribute's value: no term is in it
    assertion,
    application,
    let,
    bindings,  ///< those of a let
    binding,
    quantifier,
    annotation
  };
  Kind kind;
  bool is_term;
  std::size_t begin;
  std::size_t num_parts = 0;  ///< so far

  /// Whether the part that comes next is a term.
  bool expects_term() const {
    switch (kind) {
      case assertion:
      case binding:
      case annotation:
        return num_parts == 1;
      case application:
        return num_parts != 0;
      case let:
      case quantifier:
        return num_parts == 2;
      default:
        return false;
    }
  }
};

/// What a list is that comes next in `parent`, by what it begins with.
List::Kind kind_of(const List* parent, const Token& first) {
  const bool is_word = first.kind == TokenKind::symbol && *first.start != '|';
  if (parent == nullptr) return is_word && first.text == "assert" ? List::assertion : List::other;
  if (parent->kind == List::let && parent->num_parts == 1) return List::bindings;
  if (parent->kind == List::bindings) return List::binding;
  if (!parent->expects_term()) return List::other;
  if (!is_word) return List::application;
  if (first.text == "let") return List::let;
  if (first.text == "forall" || first.text == "exists") return List::quantifier;
  if (first.text == "!") return List::annotation;
  return first.text == "_" || first.text == "as" ? List::other : List::application;
}

}  // namespace

std::optional<TextRange> term_at(std::string_view text, std::size_t line, std::size_t column) {
  const std::optional<std::size_t> place = offset_of(text, line, column);
  if (!place) return std::nullopt;
  Lexer lexer(text);
  const auto offset = [&text](const char* position) {
    return static_cast<std::size_t>(position - text.data());
  };
  std::vector<List> open;
  std::optional<std::size_t> found;  // the number of the open list, once it is known
  const auto find_innermost = [&] {
    for (std::size_t i = open.size(); i-- > 0 && !found;) {
      if (open[i].is_term) found = i;
    }
  };
  for (Token t = lexer.next(); t.kind != TokenKind::end && t.kind != TokenKind::error; t = lexer.next()) {
    const std::size_t begin = offset(t.start);
    const std::size_t end = offset(lexer.position());
    if (!found && *place < begin) {  // between two tokens
      find_innermost();
      if (!found) return std::nullopt;
    }
    const bool is_here = !found && *place < end;
    List* const parent = open.empty() ? nullptr : &open.back();
    if (t.kind == TokenKind::left_parenthesis) {
      Lexer ahead = lexer;
      const List list{kind_of(parent, ahead.next()), parent != nullptr && parent->expects_term(), begin};
      if (parent != nullptr) ++parent->num_parts;
      open.push_back(list);
      if (is_here) find_innermost();
    } else if (t.kind == TokenKind::right_parenthesis) {
      if (is_here) find_innermost();
      if (open.empty()) return std::nullopt;
      if (found && *found + 1 == open.size()) return TextRange{open.back().begin, end};
      open.pop_back();
    } else {
      if (is_here && parent != nullptr && parent->expects_term()) return TextRange{begin, end};
      if (parent != nullptr) ++parent->num_parts;
      if (is_here) find_innermost();
    }
    if (is_here && !found) return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace quarv::cli
