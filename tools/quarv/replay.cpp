#include <algorithm>
#include <map>
#include <memory>
#include <ostream>
#include <string>

#include <fmt/format.h>

#include "commands.h"
#include "io/command_line.h"
#include "io/input.h"
#include "io/output.h"
#include "replay/replay_checker.h"
#include "rules/rule_catalogue.h"

namespace quarv::cli {

namespace {

constexpr const char* footer = R"(Examples:
  quarv simplify query.smt2 -o small.smt2 --trace steps && quarv replay steps
                                             check every step that was made
  quarv simplify query.smt2 -o small.smt2 --trace - | quarv replay -)";

struct Arguments {
  std::string input = "-";
  std::vector<std::string> rule_files;
  bool quiet = false;
};

struct Counts {
  std::size_t justified = 0, not_justified = 0;
};

/// Checks the steps of one trace.
class Replay {
 public:
  Replay(const Input& input, std::vector<rules::Rule> rules)
      : trace_(input.text(), input.name()), rules_(std::move(rules)) {}

  /// Prints a line for each step that is not justified, unless `quiet`. Throws TraceError for what does not
  /// begin as a trace; a line that makes no sense does not keep others from being checked.
  void run(bool quiet, std::ostream& out) {
    TraceStep step;
    for (;;) {
      try {
        if (!trace_.next(step)) return;
      } catch (const TraceError& e) {
        if (!trace_.has_begun()) throw;
        ++num_refused_;
        if (!quiet) fmt::print(stderr, "{}\n", e.what());
        continue;
      }
      for (; learned_ < trace_.names().size(); ++learned_) known_.learn(trace_.names()[learned_]);
      check(step, quiet, out);
    }
  }

  void print_summary(std::ostream& out) const {
    out << fmt::format("{} steps: {} justified, {} not justified", counts_.justified + counts_.not_justified,
                       counts_.justified, counts_.not_justified);
    if (num_refused_ != 0) out << fmt::format("; {} lines make no sense", num_refused_);
    out << '\n';
    for (const auto& [kind, c] : by_kind_) {
      if (c.not_justified == 0) continue;
      out << fmt::format("  {}: {} justified, {} not justified\n", kind, c.justified, c.not_justified);
    }
  }

  bool all_justified() const { return counts_.not_justified + num_refused_ == 0; }

 private:
  void check(const TraceStep& step, bool quiet, std::ostream& out) {
    std::string reason;
    const bool is_rule = step.rule != 0;
    const bool justified = is_rule ? check_rule(step, reason) : folding_.check(step.before, step.after);
    // Nothing is shown by what does not hold.
    if (!is_rule && justified) known_.learn(step.before, step.after);
    const std::string kind = is_rule ? "rule " + printable(step.rule_label, 60) : printable(step.label, 60);
    for (Counts* counts : {&counts_, &by_kind_[kind]}) {
      ++(justified ? counts->justified : counts->not_justified);
    }
    if (justified || quiet) return;
    out << fmt::format("step {} of assertion {}: {}: not justified{}\n", step.number, step.assertion, kind,
                       reason.empty() ? "" : ": " + reason);
  }

  bool check_rule(const TraceStep& step, std::string& reason) const {
    if (step.rule > rules_.size() || rules_[step.rule - 1].text != step.label) {
      reason = "there is no rule with this number and text";
      return false;
    }
    if (trace_.term(step.after).sort != step.before.sort) {
      reason = "the two terms have different sorts";
      return false;
    }
    RuleMatch match(trace_, rules_[step.rule - 1]);
    if (const auto mismatch = match.mismatch(step.before, step.before_name)) {
      reason = fmt::format("{} at column {} of the rule", mismatch->reason, mismatch->column);
    } else if (!match.yields(step.after, known_)) {
      reason = "the rule yields another term";
    } else {
      reason = counterexample(rules_[step.rule - 1], match);
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
  std::vector<rules::Rule> rules_;
  KnownTerms known_{trace_};
  FoldingChecker folding_{trace_, known_};
  std::size_t learned_ = 0;
  std::size_t num_refused_ = 0;
  Counts counts_;
  std::map<std::string, Counts> by_kind_;
};

}  // namespace

void add_replay(const CommandLine& program, int& status) {
  const CommandLine command = program.subcommand(
      "replay",
      "Check the trace of a simplification, step by step: rules are matched by their text, foldings are "
      "evaluated; the simplifiers are not involved. Exit status 0: every step is justified");
  command.footer(footer);
  const auto arguments = std::make_shared<Arguments>();
  command.option("TRACE", arguments->input, "What quarv simplify --trace wrote; - is standard input")
      .type("")
      .shows_default();
  command.option("--rules", arguments->rule_files, "Rules in addition to the standard ones; may be repeated")
      .type("FILE.rules")
      .one_at_a_time();
  command.flag("-q,--quiet", arguments->quiet, "Print only the summary");
  command.callback([arguments, &status] {
    const Input input(arguments->input);
    Output output("-");
    Replay replay(input, all_rules_and(arguments->rule_files));
    status = failure;
    try {
      replay.run(arguments->quiet, output.stream());
    } catch (const TraceError& e) {
      fmt::print(stderr, "{}\n", e.what());
      return;
    }
    replay.print_summary(output.stream());
    output.commit();
    if (replay.all_justified()) status = success;
  });
}

}  // namespace quarv::cli
