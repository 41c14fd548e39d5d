#include <string>

#include <quarv/smtlib/read/reader.h>

// Commands that are not understood and pass through as they were written. What they declare is foreign:
// whatever mentions it passes through as well. They may mention all that is declared, so names keep their
// meanings.

namespace quarv::smtlib {

/// When commands may pass through, this costs no more than an exception: there may be many of them.
void Reader::not_understood(const char* where, const std::string& message) {
  if (options_.lenient && !expression_) throw Foreign();
  try {
    fail(where, message);
  } catch (const InputError& e) {
    throw NotUnderstood(file_, e.line(), e.column(), e.message(), e.excerpt());
  }
}

void Reader::pass_through(Script& script, const Place& place) {
  begin_again(place);
  expect_symbol("a command");
  skip_rest();
  const std::string_view text(place.start, static_cast<std::size_t>(lexer_.position() - place.start));
  Command c;
  c.kind = Command::Kind::foreign;
  c.text = keep_text_ ? keep(text) : text;
  script.commands.push_back(c);
  note_names_in(script, c.text);
  bind_declared_in(c.text);
}

/// Names that look like the printer's own may not become others'; those that annotations gave must go on
/// being given.
void Reader::note_names_in(Script& script, std::string_view text) {
  Lexer lexer(text);
  for (Token t = lexer.next(); t.kind != TokenKind::end; t = lexer.next()) {
    if (t.kind != TokenKind::symbol) continue;
    note_name(t.text);
    const TermMeaning meaning = meaning_of(t);
    if (meaning.kind == TermMeaning::value && manager_.is_annotation(meaning.term->symbol)) {
      script.mentioned.insert(meaning.term);
    }
  }
}

void Reader::bind_foreign(const Token& name) {
  if (name.kind != TokenKind::symbol || is_reserved(name)) return;
  TermNames::Name& entry = names_.enter(lookup_text(name));
  TermMeaning meaning = entry.meaning;
  if (meaning.kind == TermMeaning::builtin && meaning.op->reserved) return;
  if (meaning.term == manager_.true_term || meaning.term == manager_.false_term) return;
  meaning.kind = TermMeaning::foreign;
  meaning.word = Word::none;
  names_.bind(entry, meaning);
}

void Reader::bind_foreign_sort(const Token& name) {
  if (name.kind == TokenKind::symbol) sorts_.bind(sorts_.enter(name.text), {.kind = SortMeaning::foreign});
}

/// The first names of the lists in a list whose parenthesis has been read: of "(f ((x Int)) Int) (g ()
/// Int))".
void Reader::bind_heads(Lexer& list, bool sorts) {
  TokenKind before = TokenKind::symbol;
  for (std::size_t depth = 1; depth != 0;) {
    const Token t = list.next();
    const bool is_head = depth == 2 && before == TokenKind::left_parenthesis;
    if (is_head && sorts) bind_foreign_sort(t);
    if (is_head && !sorts) bind_foreign(t);
    if (t.kind == TokenKind::left_parenthesis) ++depth;
    if (t.kind == TokenKind::right_parenthesis) --depth;
    before = t.kind;
  }
}

/// Binds what a command declares, as far as its form shows it. Of datatypes all names are taken for those of
/// constructors and selectors: too many foreign names leave more as it was, and are never wrong.
void Reader::bind_declared_in(std::string_view text) {
  Lexer lexer(text);
  lexer.next();
  const std::string_view word = lexer.next().text;
  const bool datatypes = word.starts_with("declare-datatype") || word.starts_with("declare-codatatype");
  const bool sorts = datatypes || word.find("-sort") != std::string_view::npos;
  if (datatypes || word.starts_with("declare-") || word.starts_with("define-")) {
    const Token first = lexer.next();
    if (first.kind == TokenKind::left_parenthesis) {
      bind_heads(lexer, sorts);
    } else if (sorts) {
      bind_foreign_sort(first);
    } else {
      bind_foreign(first);
    }
  }
  bool is_name = false;
  for (Token t = lexer.next(); t.kind != TokenKind::end; t = lexer.next()) {
    if (is_name || datatypes) bind_foreign(t);
    is_name = t.kind == TokenKind::keyword && t.text == ":named";
  }
}

}  // namespace quarv::smtlib
