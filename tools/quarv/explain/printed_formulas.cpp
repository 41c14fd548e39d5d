#include "explain/printed_formulas.h"

#include <cstddef>
#include <sstream>
#include <utility>

#include <quarv/session/session.h>
#include <quarv/smtlib/read/lexer.h>
#include <quarv/smtlib/read/reader.h>

namespace quarv::cli {

namespace {

using smtlib::Command;
using smtlib::Lexer;
using smtlib::Token;
using smtlib::TokenKind;

/// What is asserted or assumed by a command, or only mentioned there: a literal that is assumed.
struct Part {
  std::string text;
  bool is_formula;
};

/// The terms of `(assert t)`, which are at depth 1, or of `(check-sat-assuming (t ...))`, at depth 2.
std::vector<std::string> terms_of(std::string_view command, std::size_t depth_of_terms) {
  std::vector<std::string> terms;
  Lexer lexer(command);
  std::size_t depth = 0;
  bool is_head = true;  // the word that the command begins with
  for (Token t = lexer.next(); t.kind != TokenKind::end; t = lexer.next()) {
    if (t.kind == TokenKind::right_parenthesis && depth-- <= depth_of_terms) continue;
    if (depth == depth_of_terms && t.kind != TokenKind::right_parenthesis && !is_head) terms.emplace_back();
    if (depth >= depth_of_terms && !is_head) {
      std::string& term = terms.back();
      if (!term.empty() && term.back() != '(' && t.kind != TokenKind::right_parenthesis) term += ' ';
      term.append(t.start, static_cast<std::size_t>(lexer.position() - t.start));
    }
    if (t.kind == TokenKind::left_parenthesis) ++depth;
    if (t.kind == TokenKind::symbol) is_head = false;
  }
  return terms;
}

std::vector<Part> parts_of(std::string_view text, const std::string& name, SessionOptions options) {
  options.simplify = false;
  Session session(options);
  std::vector<Part> parts;
  smtlib::Reader(session).read_in_place(text, name, [&parts](const smtlib::Script& script) {
    if (script.commands.empty()) return;
    const Command& c = script.commands.back();
    const bool assumes = c.kind == Command::Kind::check_sat_assuming;
    if (!assumes && c.kind != Command::Kind::assertion) return;
    std::size_t i = 0;
    for (std::string& term : terms_of(script.places.back(), assumes ? 2 : 1)) {
      parts.push_back({std::move(term), script.text_of(c, i++).empty()});
    }
  });
  return parts;
}

}  // namespace

std::vector<PrintedFormula> printed_formulas(std::string_view text, const std::string& name,
                                             smtlib::SimplifyOptions options) {
  options.width = 0;
  std::ostringstream out;
  simplify_script(text, name, out, options);
  const std::vector<Part> written = parts_of(text, name, options);
  const std::vector<Part> printed = parts_of(out.view(), name, options);
  std::vector<PrintedFormula> formulas;
  for (std::size_t i = 0; i < written.size() && i < printed.size(); ++i) {
    if (written[i].is_formula) formulas.push_back({written[i].text, printed[i].text});
  }
  return formulas;
}

}  // namespace quarv::cli
