#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include <quarv/smtlib/read/reader.h>

// The commands that ask about terms. A solver repeats those terms in what it answers, and whoever asked looks
// for them there: literals of `check-sat-assuming` and terms of `get-value` keep their text. So the names in
// them must keep their meanings, also those that were given by `:named` to what was simplified away.

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

/// The script's last term is to be printed as `text`. Notes the names of sub-terms in it. A name's sort may
/// become another one: an integer-typed term that was written as a Real is named as an integer in the output,
/// and does not fit everywhere any more.
void Reader::keep_text(Script& script, std::string_view text) {
  script.term_texts.resize(script.terms.size());
  script.term_texts.back() = text;
  Lexer lexer(text);
  for (Token t = lexer.next(); t.kind != TokenKind::end; t = lexer.next()) {
    if (t.kind != TokenKind::symbol) continue;
    const TermMeaning meaning = meaning_of(t);
    if (meaning.kind != TermMeaning::value || !manager_.is_annotation(meaning.term->symbol)) continue;
    if (manager_.type_of(meaning.term) == manager_.int_type && text[0] == '(' && has_reals()) {
      script.term_texts.back() = {};
    }
    const auto [entry, is_new] = script.mentioned.try_emplace(meaning.term, nullptr);
    if (is_new) entry->second = finished(meaning.term);
  }
}

namespace {

std::string_view name_given_by(const TermManager& m, const Term* t) {
  if (!m.is_annotation(t->symbol)) return {};
  for (const Attribute& a : m.annotation_attributes(t->symbol)) {
    if (a.keyword == ":named") return a.text;
  }
  return {};
}

/// The names that are given where a command is printed: those within assertions and definitions.
std::unordered_set<std::string_view> names_given(const TermManager& m, const Script& script,
                                                 const Command& c) {
  using Kind = Command::Kind;
  std::unordered_set<std::string_view> names;
  if (c.kind != Kind::assertion && c.kind != Kind::define && c.kind != Kind::define_function) return names;
  const auto terms = script.terms_of(c);
  std::vector<const Term*> pending(terms.begin(), terms.end());
  std::unordered_set<const Term*> seen(terms.begin(), terms.end());
  while (!pending.empty()) {
    const Term* t = pending.back();
    pending.pop_back();
    if (const std::string_view name = name_given_by(m, t); !name.empty()) names.insert(name);
    auto args = m.args_of(t);
    if (m.is_annotation(t->symbol)) args = args.first(1);  // a pattern gives none
    for (const Term* a : args) {
      if (seen.insert(a).second) pending.push_back(a);
    }
  }
  return names;
}

}  // namespace

/// Names that texts speak of, of terms that were simplified away, become definitions behind the commands that
/// gave them.
void Reader::define_lost_names(Script& script) {
  std::vector<std::pair<std::size_t, Command>> definitions;  // behind which command
  std::unordered_set<std::string_view> given;
  std::size_t command = script.commands.size();
  for (const Script::NamedTerm& n : script.named) {
    const auto mentioned = script.mentioned.find(n.term);
    if (mentioned == script.mentioned.end()) continue;
    if (command != n.command) given = names_given(manager_, script, script.commands[n.command]);
    command = n.command;
    const std::string_view name = name_given_by(manager_, n.term);
    if (given.contains(name)) continue;
    const DataType* sort = manager_.type_of(n.term);
    Command c;
    c.kind = Command::Kind::define;
    c.text = keep("(define-fun " + std::string(name) + " () " + text_of(sort) + ' ');
    c.name = c.text.substr(std::string_view("(define-fun ").size(), name.size());
    c.suffix = ")";
    add_term(script, c, mentioned->second, sort);
    definitions.emplace_back(n.command, c);
  }
  script.named.clear();
  script.mentioned.clear();
  if (definitions.empty()) return;
  std::vector<Command> commands;
  commands.reserve(script.commands.size() + definitions.size());
  auto next = definitions.begin();
  for (std::size_t i = 0; i < script.commands.size(); ++i) {
    commands.push_back(script.commands[i]);
    for (; next != definitions.end() && next->first == i; ++next) commands.push_back(next->second);
  }
  script.commands = std::move(commands);
}

}  // namespace quarv::smtlib
