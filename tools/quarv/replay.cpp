#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <fmt/core.h>

#include "commands.h"
#include "io/command_line.h"
#include "io/input.h"
#include "io/output.h"
#include "io/waiting_note.h"
#include "replay/bound_names.h"
#include "replay/read_terms.h"
#include "replay/replay_checker.h"
#include "replay/term_closure.h"
#include "replay/term_values.h"
#include "replay/unfolding.h"
#include "rules/own_rules.h"
#include "rules/rule_catalogue.h"
#include <quarv/rules/language/rule_orders.h>

namespace quarv::cli {

namespace {

constexpr const char* footer = R"(Examples:
  quarv simplify query.smt2 -o small.smt2 --trace steps && quarv replay steps
                                             check every step that was made
  quarv simplify query.smt2 -o small.smt2 --trace - | quarv replay -)";

struct Arguments {
  std::string input = "-";
  std::vector<std::string> rule_files;
  bool trust_rules = false;
  bool quiet = false;
};

/// What all parts of a trace have shown.
class Findings {
 public:
  void count(const std::string& kind, bool justified) {
    for (Counts* counts : {&all_, &by_kind_[kind]}) ++(justified ? counts->justified : counts->not_justified);
  }
  void refuse_line() { ++num_refused_; }
  void print(std::ostream& out) const {
    out << fmt::format("{} steps: {} justified, {} not justified", all_.justified + all_.not_justified,
                       all_.justified, all_.not_justified);
    if (num_refused_ != 0) out << fmt::format("; {} lines make no sense", num_refused_);
    if (is_exhausted()) out << "; the effort for proofs was used up";
    out << '\n';
    for (const auto& [kind, c] : by_kind_) {
      if (c.not_justified == 0) continue;
      out << fmt::format("  {}: {} justified, {} not justified\n", kind, c.justified, c.not_justified);
    }
  }
  /// Where the effort for proofs about whole terms is used up, only what is near counts.
  bool have_equal_values(TraceTerms::Id a, TraceTerms::Id b) {
    constexpr std::size_t most_attempts = 4, nearest = 40;
    if (values_->have_equal_values(a, b) || are_equal_apart(a, b)) return true;
    if (values_->are_equal(a, b) || have_equal_values_alone(a, b)) return true;
    if (!values_->is_exhausted() || num_attempts_ == most_attempts) return false;
    ++num_attempts_;
    values_ = TermValues::of_nearest_terms(terms, nearest);
    return values_->are_equal(a, b);
  }
  void learn(TraceTerms::Id a, TraceTerms::Id b) { values_->learn(a, b); }
  TermValues& values() { return *values_; }
  bool is_exhausted() const { return values_->is_exhausted(); }
  /// Ties what the terms consist of to the constants that it is found to be.
  void merge_constants(std::vector<TraceTerms::Id> pending) {
    std::unordered_map<std::string, TraceTerms::Id> constants;
    const auto key = [this](TraceTerms::Id id) {
      const auto name = values_->name_of_value(id);
      return name ? *name + ' ' + std::to_string(terms.term(id).sort) : std::string();
    };
    for (TraceTerms::Id id = 0, end = static_cast<TraceTerms::Id>(terms.size()); id < end; ++id) {
      const Expression& e = terms.term(id);
      if (e.kind != Expression::function && e.args.empty()) constants.emplace(key(id), id);
    }
    constants.erase(std::string());
    std::unordered_set<TraceTerms::Id> seen(pending.begin(), pending.end());
    bool is_new = false;
    while (!pending.empty()) {
      const TraceTerms::Id id = pending.back();
      pending.pop_back();
      for (const TermName arg : terms.term(id).args) {
        const auto inner = static_cast<TraceTerms::Id>(arg);
        if (seen.insert(inner).second) pending.push_back(inner);
      }
      const auto known = constants.find(key(id));
      if (known == constants.end() || closure.are_equal(id, known->second)) continue;
      closure.merge(id, known->second);
      is_new = true;
    }
    if (is_new) closure.close();
  }
  bool any_justified() const { return all_.justified != 0; }
  bool all_justified() const { return all_.not_justified + num_refused_ == 0; }

  TraceTerms terms;
  TermClosure closure{terms};  // of the steps that are justified

 private:
  std::unique_ptr<TermValues> values_ = std::make_unique<TermValues>(terms);
  std::size_t num_attempts_ = 0, num_attempts_apart_ = 0, num_attempts_alone_ = 0;
  std::size_t num_lemmas_apart_ = 0, num_lemmas_alone_ = 0;

  /// What they have in common may be anything, so that no long search is needed where it is much.
  bool are_equal_apart(TraceTerms::Id a, TraceTerms::Id b) {
    constexpr std::size_t most_attempts = 1000, most_lemmas = 20'000;
    return num_lemmas_apart_ < most_lemmas && num_attempts_apart_++ < most_attempts &&
           differ_in_nothing(a, b, 0, num_lemmas_apart_);
  }

  /// But for what they have in common, of which so many parts are looked at.
  bool differ_in_nothing(TraceTerms::Id a, TraceTerms::Id b, std::size_t most_shared,
                         std::size_t& num_lemmas) {
    const auto values = TermValues::of_differences(terms, a, b, most_shared);
    const bool equal = values->are_equal(a, b);
    num_lemmas += values->num_lemmas();
    return equal;
  }

  /// By what they say themselves, as what has been shown may have led to another way to say it. Details of
  /// what they have in common hide that they are equal whatever that is, so first they are left out; but
  /// facts may stand there that are needed.
  bool have_equal_values_alone(TraceTerms::Id a, TraceTerms::Id b) {
    constexpr std::size_t most_attempts = 200, most_lemmas = 60'000;
    constexpr std::size_t numbers_shared[] = {0, 8, 40, 200, ~std::size_t{0}};
    if (num_attempts_alone_ == most_attempts || num_lemmas_alone_ >= most_lemmas) return false;
    ++num_attempts_alone_;
    return std::ranges::any_of(numbers_shared, [&](std::size_t most_shared) {
      return differ_in_nothing(a, b, most_shared, num_lemmas_alone_);
    });
  }

  struct Counts {
    std::size_t justified = 0, not_justified = 0;
  };
  Counts all_;
  std::map<std::string, Counts> by_kind_;
  std::size_t num_refused_ = 0;
};

using RuleOrders = std::vector<std::vector<rules::Rule>>;

/// Checks the steps of one part of a trace.
class Replay {
 public:
  /// `orders` are the rules, each in all orders of its operands.
  Replay(const TracePart& part, const std::string& name, const RuleOrders& orders, Findings& findings)
      : trace_(part.text, name, part.lines_before), orders_(orders), findings_(findings) {}

  /// Prints a line for each step that is not justified, unless `quiet`. Throws TraceError for what does not
  /// begin as a trace; a line that makes no sense does not keep others from being checked.
  void run(bool quiet, std::ostream& out) {
    TraceStep step;
    for (;;) {
      try {
        if (!trace_.next(step)) return;
      } catch (const TraceError& e) {
        if (!trace_.has_begun()) throw;
        findings_.refuse_line();
        if (!quiet) fmt::print(stderr, "{}\n", e.what());
        continue;
      }
      for (; learned_ < trace_.names().size(); ++learned_) known_.learn(trace_.names()[learned_]);
      if (step.is_definition) {
        unfold(step);
      } else {
        check(step, quiet, out);
      }
    }
  }

  /// Checks the steps that say what definitions say, when all that follows from the others is known. Whether
  /// something new has been shown.
  bool check_unfolded(bool quiet, std::ostream& out) {
    const std::string kind = "definition";
    bool is_new = false;
    for (const Unfolded& u : unfolded_) {
      const bool known = u.instance && findings_.closure.are_shown_equal(u.before, u.after);
      const bool justified = known || (u.instance && findings_.have_equal_values(*u.instance, u.after));
      if (justified && !known) {
        findings_.closure.merge(u.before, u.after);
        is_new = true;
      }
      findings_.count(kind, justified);
      if (justified || quiet) continue;
      out << fmt::format("step {} of assertion {}: {}: not justified{}\n", u.number, u.assertion, kind,
                         u.instance ? "" : ": there is no such definition, or it cannot be used here");
    }
    return is_new;
  }

  /// What the script defines.
  const std::vector<Unfolding::Definition>& definitions() {
    for (; num_definitions_ < trace_.definitions().size(); ++num_definitions_) {
      unfolding_.add(trace_.definitions()[num_definitions_], names_);
    }
    return unfolding_.definitions();
  }

  /// What the assertions are in the end, among the terms of all parts.
  std::vector<TraceTerms::Id> assertions() {
    std::vector<TraceTerms::Id> ids;
    for (TermName t : trace_.assertions()) ids.push_back(names_(t));
    return ids;
  }

 private:
  /// A step that says what a definition says.
  struct Unfolded {
    std::uint64_t number, assertion;
    TraceTerms::Id before, after;
    std::optional<TraceTerms::Id> instance;  // of the definition
  };

  /// Whether what the definition says has become what the step says is clear only in the end.
  void unfold(const TraceStep& step) {
    definitions();
    const TraceTerms::Id before = names_(step.before), after = names_(step.after);
    std::vector<TraceTerms::Id> binds;
    for (TermName v : step.binds) binds.push_back(names_(v));
    const auto instance = unfolding_.instance(findings_.terms.term(before), binds);
    if (instance) {
      findings_.closure.merge(before, *instance);
      findings_.learn(before, *instance);
    }
    unfolded_.push_back({step.number, step.assertion, before, after, instance});
  }

  void check(const TraceStep& step, bool quiet, std::ostream& out) {
    std::string reason;
    const bool is_rule = step.rule != 0;
    const TraceTerms::Id before = names_(step.before), after = names_(step.after);
    const bool justified =
        is_rule ? check_rule(step, reason)
                : folding_.check(step.before, step.after) || findings_.have_equal_values(before, after);
    // Nothing is shown by what does not hold.
    if (!is_rule && justified) known_.learn(step.before, step.after);
    if (justified) {
      findings_.closure.merge(before, after);
      findings_.learn(before, after);
    }
    const std::string kind = is_rule ? "rule " + printable(step.rule_label, 60) : printable(step.label, 60);
    findings_.count(kind, justified);
    if (justified || quiet) return;
    if (reason.empty() && findings_.is_exhausted()) reason = "the effort for proofs was used up";
    out << fmt::format("step {} of assertion {}: {}: not justified{}\n", step.number, step.assertion, kind,
                       reason.empty() ? "" : ": " + reason);
  }

  bool check_rule(const TraceStep& step, std::string& reason) const {
    if (step.rule > orders_.size() || orders_[step.rule - 1].front().text != step.label) {
      reason = "there is no rule with this number and text";
      return false;
    }
    if (trace_.term(step.after).sort != step.before.sort) {
      reason = "the two terms have different sorts";
      return false;
    }
    const std::vector<rules::Rule>& orders = orders_[step.rule - 1];
    if (std::ranges::any_of(orders,
                            [&](const rules::Rule& rule) { return check_order(step, rule, reason); })) {
      return true;
    }
    if (orders.size() > 1) reason = "in no order of its operands does the rule lead to this term";
    return false;
  }

  bool check_order(const TraceStep& step, const rules::Rule& rule, std::string& reason) const {
    RuleMatch match(trace_, rule);
    if (const auto mismatch = match.mismatch(step.before, step.before_name)) {
      reason = fmt::format("{} at column {} of the rule", mismatch->reason, mismatch->column);
    } else if (!match.yields(step.after, known_)) {
      reason = "the rule yields another term";
    } else {
      reason = counterexample(rule, match);
    }
    return reason.empty();
  }

  /// Some standard rules do not hold for all values; those with an integer, only where it is not zero.
  static std::string counterexample(const rules::Rule& rule, const RuleMatch& match) {
    const char* const values = known_counterexample(rule.name);
    if (values == nullptr || !match.all_integers_are_zero()) return {};
    return fmt::format("the rule does not hold: {}", values);
  }

  TraceFile trace_;
  const RuleOrders& orders_;
  Findings& findings_;
  KnownTerms known_{trace_};
  FoldingChecker folding_{trace_, known_};
  TraceTerms::Names names_{findings_.terms, trace_};
  Unfolding unfolding_{findings_.terms};
  std::vector<Unfolded> unfolded_;
  std::size_t learned_ = 0;
  std::size_t num_definitions_ = 0;
};

bool is_decided(const TraceTerms& terms, TraceTerms::Id id) {
  const Expression& e = terms.term(id);
  return e.kind == Expression::operation && (e.op == "true" || e.op == "false");
}

/// How many assertions of the output are shown to be those of the input; says which ones are not. What a
/// reader decides by itself takes no steps: its value tells, also within an assertion that takes others. A
/// trace that has lost all its steps ties nothing that is not decided.
std::size_t num_linked(const std::vector<TraceTerms::Id>& written, const std::vector<TraceTerms::Id>& output,
                       Findings& findings, bool quiet, std::ostream& out) {
  std::size_t num = 0;
  std::vector<TraceTerms::Id> open;
  for (std::size_t i = 0; i < std::min(written.size(), output.size()); ++i) {
    if (!findings.closure.are_shown_equal(written[i], output[i]))
      open.insert(open.end(), {written[i], output[i]});
  }
  if (!open.empty() && findings.any_justified()) findings.merge_constants(open);
  for (std::size_t i = 0; i < std::min(written.size(), output.size()); ++i) {
    if (findings.closure.are_shown_equal(written[i], output[i]) ||
        ((findings.any_justified() || is_decided(findings.terms, output[i])) &&
         findings.have_equal_values(written[i], output[i]))) {
      ++num;
    } else if (!quiet) {
      out << fmt::format("assertion {}: not shown to be equal to the output's\n", i + 1);
    }
  }
  return num;
}

using Parts = std::vector<std::unique_ptr<Replay>>;

/// How many functions are shown to be defined alike in all parts; says which ones are not. What all parts say
/// of a function is what it is: none occurs in a definition before its own.
std::size_t num_alike(const Parts& parts, TermClosure& closure, bool quiet, std::ostream& out) {
  const auto& first = parts[0]->definitions();
  std::size_t num = 0;
  for (std::size_t i = 0; i < first.size(); ++i) {
    const bool alike = std::ranges::all_of(parts, [&](const auto& part) {
      const auto& own = part->definitions();
      return own.size() == first.size() && own[i].function == first[i].function &&
             own[i].parameters == first[i].parameters && closure.are_shown_equal(own[i].body, first[i].body);
    });
    num += alike ? 1 : 0;
    if (!alike && !quiet) {
      out << fmt::format("definition {}: not shown to be equal to the output's\n", i + 1);
    }
  }
  return num;
}

/// Finds what follows from all steps, and whether that shows what steps say of definitions.
void check_definitions(const Parts& parts, Findings& findings, bool quiet, std::ostream& out) {
  TermClosure& closure = findings.closure;
  for (const auto& part : parts) {
    part->definitions();
    part->assertions();
  }
  merge_renamed(findings.terms, closure);
  merge_read(findings.terms, findings.values(), closure);
  closure.close();
  bool is_new = false;
  for (const auto& part : parts) is_new = part->check_unfolded(quiet, out) || is_new;
  if (is_new) closure.close();
}

bool replay(const Input& input, const std::vector<rules::Rule>& all_rules, bool quiet, std::ostream& out) {
  constexpr std::size_t input_as_written = 1, fewest_parts = 4;
  const std::vector<TracePart> texts = parts_of_trace(input.text());
  Findings findings;
  RuleOrders orders;
  for (const rules::Rule& rule : all_rules) orders.push_back(rules::orders_of(rule));
  Parts parts;
  for (const TracePart& part : texts) {
    parts.push_back(std::make_unique<Replay>(part, input.name(), orders, findings));
    parts.back()->run(quiet, out);
  }
  check_definitions(parts, findings, quiet, out);
  if (parts.size() < fewest_parts || parts.size() % 2 != 0) {
    findings.print(out);
    // A trace of the library's has one part and no output.
    if (parts.size() == 1) return findings.all_justified();
    out << fmt::format("{} of {} parts: no assertion can be shown to be equal\n", parts.size(),
                       std::max(fewest_parts, parts.size() + 1));
    return false;
  }
  const auto written = parts[input_as_written]->assertions();
  const auto output = parts.back()->assertions();
  const std::size_t linked = num_linked(written, output, findings, quiet, out);
  const std::size_t defined = parts[0]->definitions().size();
  const std::size_t alike = num_alike(parts, findings.closure, quiet, out);
  findings.print(out);
  if (defined != 0) out << fmt::format("{} definitions: {} shown to be equal\n", defined, alike);
  out << fmt::format("{} assertions, {} in the output: {} shown to be equal\n", written.size(), output.size(),
                     linked);
  return linked == written.size() && linked == output.size() && alike == defined && findings.all_justified();
}

}  // namespace

void add_replay(const CommandLine& program, int& status) {
  const CommandLine command = program.subcommand(
      "replay",
      "Check the trace of a simplification: rules are matched by their text, foldings are evaluated, and "
      "what "
      "was justified must tie each assertion of the output to that of the input; the simplifiers are not "
      "involved. Exit status 0: every step is justified and every assertion shown to be equal");
  command.footer(footer);
  const auto arguments = std::make_shared<Arguments>();
  command.option("TRACE", arguments->input, "What quarv simplify --trace wrote; - is standard input")
      .type("")
      .shows_default();
  command.option("--rules", arguments->rule_files, "Rules in addition to the standard ones; may be repeated")
      .type("FILE.rules")
      .one_at_a_time();
  add_trust_option(command, arguments->trust_rules);
  command.flag("-q,--quiet", arguments->quiet, "Print only the summary");
  command.callback([arguments, &status] {
    const Input input(arguments->input);
    Output output("-");
    std::vector<RuleFile> files;
    for (const std::string& name : arguments->rule_files) {
      const Input file(name);
      files.push_back({file.name(), std::string(file.text())});
    }
    const std::vector<rules::Rule> rules = all_rules_and(files);
    check_own_rules(files, arguments->trust_rules);
    status = failure;
    bool shown = false;
    try {
      const WaitingNote note("checking " + input.name());
      shown = replay(input, rules, arguments->quiet, output.stream());
    } catch (const TraceError& e) {
      fmt::print(stderr, "{}\n", e.what());
      return;
    }
    output.commit();
    if (shown) status = success;
  });
}

}  // namespace quarv::cli
