#include "explain/derivation_text.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <ostream>
#include <sstream>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/trace.h>

namespace quarv::cli {

namespace {

void print(std::size_t number, const Derivation::Step& step, std::string_view before, std::string_view after,
           std::ostream& out) {
  const std::string head = fmt::format("{}. ", number);
  const std::string indent(head.size(), ' ');
  out << head << title_of(step) << '\n'
      << indent << "  " << before << '\n'
      << indent << "= " << after << '\n';
}

/// What was done in the steps of a derivation.
class StepCounts {
 public:
  void add(const Derivation::Step& step, std::int64_t saved) {
    const std::string name = step.kind == Derivation::Step::rule ? "rule " + step.rule_label : title_of(step);
    Count& count = counts_.try_emplace(name, Count{name}).first->second;
    ++count.steps;
    count.saved += saved;
  }

  void print(std::size_t num_steps, std::ostream& out) const {
    std::vector<Count> sorted;
    for (const auto& [name, count] : counts_) sorted.push_back(count);
    std::ranges::stable_sort(sorted, [](const Count& a, const Count& b) {
      return std::tuple(a.saved, a.steps) > std::tuple(b.saved, b.steps);
    });
    out << fmt::format("{:<50}{:>8}{:>14}\n", fmt::format("{} steps", num_steps), "times", "terms saved");
    for (const Count& c : sorted) out << fmt::format("  {:<48}{:>8}{:>14}\n", c.name, c.steps, c.saved);
  }

 private:
  struct Count {
    std::string name;
    std::size_t steps = 0;
    std::int64_t saved = 0;
  };
  std::map<std::string, Count> counts_;
};

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

std::size_t print_derivation(const TraceTerms& terms, Derivation& derivation, TermText& text,
                             const ShownSteps& shown, std::ostream& out) {
  constexpr std::size_t few_steps = 5;  // that need not be counted
  out << "  " << text.text(derivation.current()) << '\n';
  if (derivation.current() == derivation.result()) {
    out << "is left as it is\n";
    return 0;
  }
  Derivation::Step step;
  StepCounts counts;
  std::size_t num_steps = 0;
  std::size_t num_shown = 0;
  std::size_t size = in_post_order(terms, derivation.current()).size();
  bool more = true;
  while (num_shown < shown.most && (more = derivation.next(step))) {
    const std::size_t size_before = std::exchange(size, in_post_order(terms, derivation.current()).size());
    const std::string before = text.text_at(step.root, step.before, step.before);
    const std::string after = text.text_at(step.root, step.before, step.after);
    if (before == after) continue;
    counts.add(step, static_cast<std::int64_t>(size_before) - static_cast<std::int64_t>(size));
    if (!shown.shows(++num_steps, step)) continue;
    print(num_steps, step, before, after, out);
    ++num_shown;
    if (shown.only != 0) break;
  }
  if (derivation.current() != derivation.result()) {
    out << (more ? "further steps lead to\n" : "the reader, or the limit on growth, leads to\n");
  } else {
    out << "result\n";
  }
  out << "  " << text.text(derivation.result()) << '\n';
  if (num_steps > few_steps && shown.only == 0) counts.print(num_steps, out);
  return num_shown;
}

void explain_term(const std::string& context, const std::string& term, const SessionOptions& options,
                  const Marks& marks, std::ostream& out) {
  constexpr std::size_t length = 300;
  SessionOptions as_written = options;
  as_written.simplify = false;
  const std::string simplified = trace_of_term(context, term, options);
  const std::string written = trace_of_term(context, term, as_written);
  TraceTerms terms;
  TermText text(terms, length, marks);
  Derivation derivation(terms, written, simplified);
  derivation.begin(1);
  print_derivation(terms, derivation, text, {}, out);
}

}  // namespace quarv::cli
