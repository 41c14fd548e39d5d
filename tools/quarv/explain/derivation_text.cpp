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

ShownDerivation follow(const TraceTerms& terms, Derivation& derivation, TermText& text,
                       const ShownSteps& shown) {
  ShownDerivation result;
  const TraceTerms::Id start = derivation.current();
  result.before = text.text(start);
  Derivation::Step step;
  StepCounts counts;
  std::size_t size = in_post_order(terms, start).size();
  bool more = true;
  while (result.steps.size() < shown.most && (more = derivation.next(step))) {
    const std::size_t size_before = std::exchange(size, in_post_order(terms, derivation.current()).size());
    std::string before = text.text_at(step.root, step.before, step.before);
    std::string after = text.text_at(step.root, step.before, step.after);
    if (before == after) continue;
    counts.add(step, static_cast<std::int64_t>(size_before) - static_cast<std::int64_t>(size));
    if (!shown.shows(++result.num_steps, step)) continue;
    result.steps.push_back({result.num_steps, step.kind, step.rule_label, step.label, text.text(step.before),
                            text.text(step.after), std::move(before), std::move(after)});
    if (shown.only != 0) break;
  }
  bool has_further = false;
  while (derivation.is_part() && more && (more = derivation.next(step))) has_further = true;
  const TraceTerms::Id end = derivation.result();
  result.after = text.text(end);
  if (end != start) {
    const bool is_complete = derivation.current() == end && !has_further;
    result.ending = is_complete           ? ShownDerivation::complete
                    : more || has_further ? ShownDerivation::cut_short
                                          : ShownDerivation::untold;
  }
  result.counts = counts.sorted();
  return result;
}

void print(const ShownDerivation& derivation, bool with_counts, std::ostream& out) {
  constexpr std::size_t few_steps = 5;  // that need not be counted
  out << "  " << derivation.before << '\n';
  if (derivation.ending == ShownDerivation::unchanged) {
    out << "is left as it is\n";
    return;
  }
  for (const ShownDerivation::ShownStep& step : derivation.steps) {
    const std::string head = fmt::format("{}. ", step.number);
    const std::string indent(head.size(), ' ');
    out << head << title_of({step.kind, step.rule_label, step.label, 0, 0, 0}) << '\n'
        << indent << "  " << step.whole_before << '\n'
        << indent << "= " << step.whole_after << '\n';
  }
  switch (derivation.ending) {
    case ShownDerivation::cut_short:
      out << "further steps lead to\n";
      break;
    case ShownDerivation::untold:
      out << "the reader, or the limit on growth, leads to\n";
      break;
    default:
      out << "result\n";
  }
  out << "  " << derivation.after << '\n';
  if (derivation.num_steps <= few_steps || !with_counts) return;
  out << fmt::format("{:<50}{:>8}{:>14}\n", fmt::format("{} steps", derivation.num_steps), "times",
                     "terms saved");
  for (const Count& c : derivation.counts) {
    out << fmt::format("  {:<48}{:>8}{:>14}\n", c.name, c.steps, c.saved);
  }
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
  json["ending"] = endings[derivation.ending];
  Json& counts = json["counts"] = Json::array();
  for (const Count& c : derivation.counts) {
    counts.push_back({{"name", c.name}, {"times", c.steps}, {"terms_saved", c.saved}});
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
  print(follow(terms, derivation, text, {}), true, out);
}

}  // namespace quarv::cli
