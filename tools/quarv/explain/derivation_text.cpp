#include "explain/derivation_text.h"

#include <ostream>
#include <sstream>

#include <fmt/format.h>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/trace.h>

namespace quarv::cli {

namespace {

void print(std::size_t number, const Derivation::Step& step, TermText& text, std::ostream& out) {
  const std::string head = fmt::format("{}. ", number);
  const std::string indent(head.size(), ' ');
  out << head << title_of(step) << '\n'
      << indent << "  " << text.text_at(step.root, step.before, step.before) << '\n'
      << indent << "= " << text.text_at(step.root, step.before, step.after) << '\n';
}

/// The trace of a script that asserts the term, of whatever sort it is.
std::string trace_of_term(const std::string& context, const std::string& term,
                          const SessionOptions& options) {
  Session session(options);
  std::ostringstream out;
  smtlib::Trace trace(session.manager(), session.simplifier().normalizer, out);
  session.simplifier().set_observer(&trace);
  smtlib::Reader reader(session);
  reader.read_in_place(context, "");
  const Term* const t = reader.term(term, "");
  session.simplifier().set_observer(nullptr);
  smtlib::Script script;
  script.terms = {t};
  script.sorts = {session.manager().type_of(t)};
  smtlib::Command assertion;
  assertion.kind = smtlib::Command::Kind::assertion;
  assertion.num_terms = 1;
  script.commands = {assertion};
  trace.command_read(script);
  trace.finish();
  return std::move(out).str();
}

}  // namespace

void print_derivation(Derivation& derivation, TermText& text, std::size_t most_steps, std::ostream& out) {
  out << "  " << text.text(derivation.current()) << '\n';
  if (derivation.current() == derivation.result()) {
    out << "is left as it is\n";
    return;
  }
  Derivation::Step step;
  std::size_t num_steps = 0;
  bool more = true;
  while (num_steps < most_steps && (more = derivation.next(step))) print(++num_steps, step, text, out);
  if (derivation.current() != derivation.result()) {
    out << (more ? "further steps lead to\n" : "the reader, or the limit on growth, leads to\n");
  } else {
    out << "result\n";
  }
  out << "  " << text.text(derivation.result()) << '\n';
}

void explain_term(const std::string& context, const std::string& term, const SessionOptions& options,
                  const Marks& marks, std::ostream& out) {
  constexpr std::size_t length = 300;
  constexpr std::size_t most_steps = 100;
  SessionOptions as_written = options;
  as_written.simplify = false;
  const std::string simplified = trace_of_term(context, term, options);
  const std::string written = trace_of_term(context, term, as_written);
  TraceTerms terms;
  TermText text(terms, length, marks);
  Derivation derivation(terms, written, simplified);
  derivation.begin(1);
  print_derivation(derivation, text, most_steps, out);
}

}  // namespace quarv::cli
