#include <string>

#include <quarv/smtlib/read/reader.h>

// The commands that ask about terms. A solver repeats those terms in its response, where the user looks
// for them: literals of `check-sat-assuming` and terms of `get-value` keep their text. So the names in
// them must keep their meanings.

namespace quarv::smtlib {

/// A symbol or the negation of one comes next.
bool Reader::is_literal_ahead() const {
  Lexer ahead = lexer_;
  const Token first = ahead.next();
  if (first.kind != TokenKind::left_parenthesis) return first.kind == TokenKind::symbol;
  const Token negation = ahead.next();
  return is_word(negation, "not") && ahead.next().kind == TokenKind::symbol &&
         ahead.next().kind == TokenKind::right_parenthesis;
}

void Reader::term_list(Script& script, Command::Kind kind, std::string_view text) {
  Command c;
  c.kind = kind;
  c.text = text;
  c.suffix = "))";
  expect_left("a list of terms");
  for (;;) {
    Lexer ahead = lexer_;
    const Token t = ahead.next();
    if (t.kind == TokenKind::right_parenthesis) break;
    const bool keeps_text = kind == Command::Kind::get_value || is_literal_ahead();
    const Term* term = keeps_text ? read_unsimplified_term() : read_term();
    const std::string_view written = keeps_text ? one_line(t.start) : std::string_view{};
    if (kind == Command::Kind::check_sat_assuming) check_sort(t.start, term, manager_.bool_type);
    const FormClass form = last_form_;
    if (!keeps_text) term = finished(term);
    add_term(script, c, term, manager_.type_of(term), form);
    if (keeps_text) forget_solver_words_from(t.start);
    if (keeps_text) keep_text(script, script.terms.size() - 1, written);
  }
  next();
  expect_right("a list of terms");
  script.commands.push_back(c);
}

/// The script's term with this number is to be printed as `text`. Notes the names of sub-terms in it.
void Reader::keep_text(Script& script, std::size_t term, std::string_view text) {
  script.term_texts.resize(script.terms.size());
  script.term_texts[term] = text;
  Lexer lexer(text);
  for (Token t = lexer.next(); t.kind != TokenKind::end; t = lexer.next()) {
    if (t.kind != TokenKind::symbol) continue;
    const TermMeaning meaning = meaning_of(t);
    if (meaning.kind != TermMeaning::value || !manager_.is_annotation(meaning.term->symbol)) continue;
    script.mentioned.insert(meaning.term);
  }
}

}  // namespace quarv::smtlib
