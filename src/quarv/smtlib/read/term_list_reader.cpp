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
    if (keeps_text) keep_text(script, written);
  }
  next();
  expect_right("a list of terms");
  script.commands.push_back(c);
}

/// The input so far has terms of sort Real, or may have them.
bool Reader::has_reals() {
  const std::string_view read(input_.data(), static_cast<std::size_t>(lexer_.position() - input_.data()));
  Lexer lexer(read.substr(reals_searched_));
  reals_searched_ = read.size();
  for (Token t = lexer.next(); !has_reals_ && t.kind != TokenKind::end && t.kind != TokenKind::error;
       t = lexer.next()) {
    has_reals_ = t.kind == TokenKind::decimal || t.text == "Real" || t.text == "to_real" || t.text == "/";
  }
  return has_reals_;
}

/// Whether a term that is named, whose text begins at `start` and ends with the last token, may have been
/// written as a Real though it is of sort Int, as 2.0 and (to_real i) are.
bool Reader::is_perhaps_real(const char* start, const Term* t) {
  constexpr int most_tokens = 1000;  // names may be given within each other
  if (manager_.type_of(t) != manager_.int_type) return false;
  Lexer lexer(std::string_view(start, static_cast<std::size_t>(lexer_.position() - start)));
  for (int i = 0; i < most_tokens; ++i) {
    const Token token = lexer.next();
    if (token.kind == TokenKind::end) return false;
    if (token.kind == TokenKind::decimal) return true;
    if (token.kind != TokenKind::symbol) continue;
    const TermNames::Name* name = names_.find(lookup_text(token));
    if (token.text == "to_real" || token.text == "/") return true;
    if (name != nullptr && name->meaning.perhaps_real) return true;
  }
  return true;
}

/// The script's last term is to be printed as `text`. Notes the names of sub-terms in it. A name's sort may
/// become another one: an integer-typed term that was written as a Real is named as an integer in the output,
/// and does not fit everywhere any more; then the text is not used.
void Reader::keep_text(Script& script, std::string_view text) {
  script.term_texts.resize(script.terms.size());
  script.term_texts.back() = text;
  Lexer lexer(text);
  for (Token t = lexer.next(); t.kind != TokenKind::end; t = lexer.next()) {
    if (t.kind != TokenKind::symbol) continue;
    const TermMeaning meaning = meaning_of(t);
    if (meaning.kind != TermMeaning::value || !manager_.is_annotation(meaning.term->symbol)) continue;
    if (meaning.perhaps_real && text[0] == '(' && has_reals()) {
      script.term_texts.back() = {};
    }
    script.mentioned.insert(meaning.term);
  }
}

}  // namespace quarv::smtlib
