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

#include <fmt/core.h>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/trace.h>

namespace quarv::cli {

namespace {

using Count = ShownDerivation::Count;

/// What was done in the steps of a derivation.
class StepCounts {
 public:
  void add(const Derivation::Step& step, std::int64_t saved) {
    const std::string name = step.kind == Derivation::Step::rule ? "rule " + step.rule_label : title_of(step);
    Count& count = counts_.try_emplace(name, Count{name}).first->second;
    ++count.steps;
    count.saved += saved;
  }

  /// What saved most comes first.
  std::vector<Count> sorted() const {
    std::vector<Count> sorted;
    for (const auto& [name, count] : counts_) sorted.push_back(count);
    std::ranges::stable_sort(sorted, [](const Count& a, const Count& b) {
      return std::tuple(a.saved, a.steps) > std::tuple(b.saved, b.steps);
    });
    return sorted;
  }

 private:
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

ShownDerivation follow(Derivation& derivation, TermText& text, const ShownSteps& shown) {
  ShownDerivation result;
  text.give_names();
  const TraceTerms::Id start = derivation.current();
  result.before = text.text(start);
  text.show_current(&derivation.parts());
  Derivation::Step step;
  StepCounts counts;
  std::size_t size = derivation.size();
  for (bool more = derivation.next(step); more;) {
    const bool counted = text.differ(step.before, step.after);
    if (counted && shown.shows(++result.num_steps, step) && result.steps.size() < shown.most) {
      std::string before = text.text(step.before);
      std::string after = text.text(step.after);
      std::string whole_before = text.text_at(step.path, step.before);
      std::string whole_after = text.text_at(step.path, step.after);
      result.steps.push_back({result.num_steps, step.kind, step.rule_label, step.label, std::move(before),
                              std::move(after), std::move(whole_before), std::move(whole_after)});
    }
    const Derivation::Step made = step;
    more = derivation.next(step);
    const std::size_t size_before = std::exchange(size, derivation.size());
    if (counted) counts.add(made, static_cast<std::int64_t>(size_before) - static_cast<std::int64_t>(size));
  }
  text.show_current(nullptr);
  const TraceTerms::Id end = derivation.result();
  result.after = text.text(end);
  if (end != start) {
    const bool filtered = shown.only != 0 || !shown.rule.empty();
    result.ending = derivation.current() != end                           ? ShownDerivation::untold
                    : !filtered && result.steps.size() < result.num_steps ? ShownDerivation::cut_short
                                                                          : ShownDerivation::complete;
  }
  result.counts = counts.sorted();
  result.names = text.take_names();
  return result;
}

namespace {

void print_counts(const ShownDerivation& derivation, std::ostream& out) {
  out << fmt::format("{:<50}{:>8}{:>14}\n", fmt::format("{} steps", derivation.num_steps), "times",
                     "terms saved");
  for (const Count& c : derivation.counts) {
    out << fmt::format("  {:<48}{:>8}{:>14}\n", c.name, c.steps, c.saved);
  }
}

/// The form that was chosen, where that is another one than was shown.
void print_form(const ShownDerivation& derivation, std::ostream& out) {
  if (derivation.printed.empty() || derivation.printed == derivation.after) return;
  if (derivation.prints_anew) {
    out << "and is printed as\n  " << derivation.printed << '\n';
  } else if (derivation.ending != ShownDerivation::unchanged) {
    out << "but is printed as it was written\n";
  }
}

void print_names(const ShownDerivation& derivation, std::ostream& out) {
  if (derivation.names.empty()) return;
  out << "where\n";
  for (const TermText::Name& n : derivation.names) out << fmt::format("  {:<4} {}\n", n.name, n.text);
}

}  // namespace

void print(const ShownDerivation& derivation, bool with_counts, std::ostream& out) {
  constexpr std::size_t few_steps = 5;  // that need not be counted
  out << "  " << derivation.before << '\n';
  if (derivation.ending == ShownDerivation::unchanged) {
    if (!derivation.prints_anew) out << "is left as it is\n";
    print_form(derivation, out);
    print_names(derivation, out);
    return;
  }
  out << "becomes\n  " << derivation.after << '\n';
  print_form(derivation, out);
  if (with_counts && derivation.num_steps > few_steps) print_counts(derivation, out);
  for (const ShownDerivation::ShownStep& step : derivation.steps) {
    const std::string head = fmt::format("{}. ", step.number);
    const std::string indent(head.size(), ' ');
    out << head << title_of({.kind = step.kind, .rule_label = step.rule_label, .label = step.label}) << '\n'
        << indent << "  " << step.whole_before << '\n'
        << indent << "= " << step.whole_after << '\n';
  }
  if (derivation.ending == ShownDerivation::cut_short && !derivation.steps.empty()) {
    const std::size_t further = derivation.num_steps - derivation.steps.size();
    out << fmt::format("{} further step{}\n", further, further == 1 ? "" : "s");
  }
  if (derivation.ending == ShownDerivation::untold)
    out << "the reader, or the limit on growth, does the rest\n";
  print_names(derivation, out);
}

Json as_json(const ShownDerivation& derivation) {
  static constexpr const char* kinds[] = {"simplifier", "rule", "definition", "reordering"};
  static constexpr const char* endings[] = {"unchanged", "complete", "cut short", "untold"};
  Json json = {{"before", derivation.before}, {"steps", Json::array()}};
  for (const ShownDerivation::ShownStep& step : derivation.steps) {
    Json one = {{"step", step.number}, {"kind", kinds[step.kind]}};
    const bool is_rule = step.kind == Derivation::Step::rule;
    one["name"] = is_rule ? step.rule_label : step.label;
    if (is_rule) one["text"] = step.label;
    one["before"] = step.before;
    one["after"] = step.after;
    one["whole_before"] = step.whole_before;
    one["whole_after"] = step.whole_after;
    json["steps"].push_back(std::move(one));
  }
  json["after"] = derivation.after;
  if (!derivation.printed.empty()) json["printed"] = derivation.printed;
  json["ending"] = endings[derivation.ending];
  Json& counts = json["counts"] = Json::array();
  for (const Count& c : derivation.counts) {
    counts.push_back({{"name", c.name}, {"times", c.steps}, {"terms_saved", c.saved}});
  }
  if (!derivation.names.empty()) {
    Json& names = json["names"] = Json::object();
    for (const TermText::Name& n : derivation.names) names[n.name] = n.text;
  }
  return json;
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
  print(follow(derivation, text, {}), true, out);
}

}  // namespace quarv::cli
