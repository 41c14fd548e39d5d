#include "report/examples.h"

#include <algorithm>
#include <set>
#include <utility>

#include "explain/derivation.h"
#include "explain/term_text.h"
#include "report/term_graph.h"

namespace quarv::cli {

namespace {

constexpr std::size_t text_length = 300;      // characters of a term
constexpr std::size_t most_steps = 40;        // of an example
constexpr std::size_t largest_graph = 40;     // terms that can be looked at
constexpr std::size_t largest_term = 5000;    // each step visits the whole assertion
constexpr std::size_t most_visits = 5000000;  // of terms, to measure all assertions
constexpr Marks marks = {"\x01", "\x02"};

struct Candidate {
  std::size_t assertion;
  std::size_t before;
  std::size_t after;
  std::size_t reduction() const { return before - after; }
};

class ExampleMaker {
 public:
  ExampleMaker(std::string_view text, const std::string& name, smtlib::SimplifyOptions options)
      : name_(name), text_(terms_, text_length, marks) {
    simplified_ = trace_of(text, name, options);
    options.simplify = false;
    written_ = trace_of(text, name, options);
  }

  std::vector<Example> make(std::size_t count) {
    std::vector<Candidate> chosen = candidates();
    std::stable_sort(chosen.begin(), chosen.end(), by_reduction);
    chosen.resize(std::min(chosen.size(), count));
    std::sort(chosen.begin(), chosen.end(),
              [](const Candidate& a, const Candidate& b) { return a.assertion < b.assertion; });
    Derivation derivation(terms_, written_, simplified_);
    std::vector<std::pair<Candidate, Example>> examples;
    examples.reserve(chosen.size());
    for (const Candidate& c : chosen) examples.emplace_back(c, example(derivation, c));
    std::stable_sort(examples.begin(), examples.end(),
                     [](const auto& a, const auto& b) { return by_reduction(a.first, b.first); });
    std::vector<Example> result;
    result.reserve(examples.size());
    for (auto& [candidate, e] : examples) result.push_back(std::move(e));
    return result;
  }

 private:
  using Id = TraceTerms::Id;

  static bool by_reduction(const Candidate& a, const Candidate& b) { return a.reduction() > b.reduction(); }

  std::size_t size(Id id) const { return in_post_order(terms_, id).size(); }

  /// Those that shrink, and are not too large.
  std::vector<Candidate> candidates() {
    std::vector<Candidate> found;
    std::set<std::pair<Id, Id>> known;
    std::size_t visits = 0;
    Derivation derivation(terms_, written_, simplified_);
    for (std::size_t i = 1; i <= derivation.num_assertions() && visits < most_visits; ++i) {
      derivation.begin(i);
      if (!known.emplace(derivation.current(), derivation.result()).second) continue;
      const Candidate c = {i, size(derivation.current()), size(derivation.result())};
      visits += c.before + c.after;
      if (c.after < c.before && c.before <= largest_term) found.push_back(c);
    }
    return found;
  }

  Example example(Derivation& derivation, const Candidate& candidate) {
    derivation.begin(candidate.assertion);
    Example e;
    e.file = name_;
    e.assertion = candidate.assertion;
    e.terms_before = candidate.before;
    e.terms_after = candidate.after;
    if (candidate.before <= largest_graph) e.graphs = graphs(derivation.current(), derivation.result(), 0);
    text_.show_current(&derivation.parts());
    std::pair<std::size_t, std::size_t> best = {0, 0};  // terms fewer, terms before
    for (Derivation::Step step; e.steps.size() < most_steps && derivation.next(step);) {
      e.steps.push_back({title_of(step), step.rule_label, text_.text_at(step.path, step.before),
                         text_.text_at(step.path, step.after)});
      if (candidate.before <= largest_graph) continue;
      const std::size_t before = size(step.before);
      const std::size_t after = size(step.after);
      const std::pair score = {before - std::min(before, after), before};
      if (score <= best || before > largest_graph || after > largest_graph) continue;
      best = score;
      e.graphs = graphs(step.before, step.after, e.steps.size());
    }
    Derivation::Step further;
    e.more = derivation.next(further) || derivation.current() != derivation.result();
    text_.show_current(nullptr);
    e.result = text_.text(derivation.result());
    return e;
  }

  Example::Graphs graphs(Id before, Id after, std::size_t step) const {
    return {term_graph(terms_, text_, before), term_graph(terms_, text_, after), step};
  }

  std::string name_;
  TraceTerms terms_;
  TermText text_;
  std::string written_;
  std::string simplified_;
};

}  // namespace

std::vector<Example> largest_reductions(std::string_view text, const std::string& name,
                                        const smtlib::SimplifyOptions& options, std::size_t count) {
  return ExampleMaker(text, name, options).make(count);
}

}  // namespace quarv::cli
