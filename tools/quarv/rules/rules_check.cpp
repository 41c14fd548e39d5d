#include <algorithm>
#include <chrono>
#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <fmt/core.h>

#include "commands.h"
#include "io/command_line.h"
#include "io/noted_signals.h"
#include "io/ordered_work.h"
#include "io/output.h"
#include "io/process.h"
#include "io/waiting_note.h"
#include "rules/order/added_rules.h"
#include "rules/order/loop_search.h"
#include "rules/order/reduction_order.h"
#include "rules/overlap/overlap_report.h"
#include "rules/rule_catalogue.h"
#include "rules/rule_checker.h"
#include "rules/rule_evaluator.h"

namespace quarv::cli {

namespace {

struct CheckArguments {
  std::string file;
  std::string solver = "z3";
  unsigned jobs = std::max(1u, std::thread::hardware_concurrency());
  double timeout = 2;
  std::optional<std::size_t> max_width;
  std::uint64_t assignments = 0;
  bool extended = false;
  bool overlaps = false;
};

constexpr const char* explanation =
    R"(Examples:
  quarv rules check my.rules                 let z3 look for values for which a rule does not hold
  quarv rules check my.rules --solver cvc5 --max-width 8
  quarv rules check my.rules --assignments 10000000
                                             try them on numbers, too, without the solver
  quarv rules check my.rules --overlaps      which rules get in each other's way

For each rule the solver is asked whether the pattern's conditions can hold while pattern and result differ: in all
instances of widths 1 to 4, in some of larger widths, and around the widths that the rule itself names. For rules that
multiply, large widths may stay undecided. Rules without widths are checked at all sorts, on floating-point numbers in
a few formats. A rule is proved only where there is something that it applies to.

Applying rules ends if each makes terms smaller in some order. One Knuth-Bendix order is looked for in which as many as
can be go down; rules that only rearrange operands go by an order of their own, by age, or constants first. For each rule
that is neither a term is looked for that rewriting comes back to. Constructors, which fold constants, are no rules.

With --overlaps, terms are made to which one rule applies as a whole and another one as well, or in a part. Both ways are
simplified by all that simplify applies. Where they end in different terms, the smallest such term is shown. A rule that
is never applied to the terms of its own pattern is named, with what takes these terms first.

Exit status: 0 when nothing was refuted, widths 1 to 4 are decided, and each rule applied somewhere or has conditions
that exclude each other; 1 otherwise, or when the solver fails. Of the standard rules, those that are known not to hold
for all values (quarv rules list) must be refuted, and no others.)";

/// Beyond the first undecided width only those were tried that the rule itself names.
std::string undecided_beside(const RuleVerdict& verdict) {
  const std::size_t first = verdict.undecided.front();
  if (!verdict.proved.empty() && verdict.proved.back() > first) {
    return "; undecided for " + list_of_widths(verdict.undecided) + verdict.why_undecided();
  }
  return fmt::format("; undecided from {} on{}", first, verdict.why_undecided());
}

/// Checks rules side by side and prints them in order.
class Check {
 public:
  Check(const CheckArguments& arguments, std::vector<rules::Rule> all)
      : arguments_(arguments), rules_(std::move(all)), output_("-") {}

  int run();

 private:
  void print(std::size_t i, const RuleVerdict& verdict);
  void check_rules();
  void print_order();
  void print_all_overlaps();
  void print_summary();
  bool is_known(std::size_t i) const {
    return arguments_.file.empty() && known_counterexample(rules_[i].name) != nullptr;
  }
  std::size_t num_undecided() const {
    return num_checked_ - num_proved_ - num_refuted_ - num_never_applicable_;
  }

  const CheckArguments& arguments_;
  std::vector<rules::Rule> rules_;
  bool complete_ = true;
  std::size_t num_checked_ = 0;
  std::size_t num_proved_ = 0;
  std::size_t num_refuted_ = 0;
  std::size_t num_never_applicable_ = 0;
  bool as_expected_ = true;
  Output output_;
};

int Check::run() {
  try {
    check_rules();
    if (NotedSignals::received() == 0) print_order();
  } catch (const SolverError&) {
    // A terminal sends the signal to the solver, too.
    if (NotedSignals::received() == 0) throw;
  }
  if (NotedSignals::received() == 0 && arguments_.overlaps) print_all_overlaps();
  print_summary();
  output_.commit();
  if (NotedSignals::received() != 0) {
    say("quarv: interrupted; what was found until then is written\n");
    return failure;
  }
  return as_expected_ ? success : failure;
}

void Check::check_rules() {
  using Maybe = std::optional<RuleVerdict>;
  OrderedWork<Maybe> work(
      rules_.size(),
      [this](std::size_t i, const Maybe& verdict) {
        complete_ = complete_ && verdict;
        if (complete_) print(i, *verdict);
      },
      [this] { output_.stream().flush(); });
  work.run(arguments_.jobs, [this] {
    const std::chrono::milliseconds limit(static_cast<long>(arguments_.timeout * 1000));
    return [this, checker = std::make_unique<RuleChecker>(arguments_.solver, limit)](std::size_t i) {
      if (NotedSignals::received() != 0) return Maybe();
      RuleVerdict verdict = checker->check(rules_[i], arguments_.max_width);
      if (arguments_.assignments != 0 && !verdict.refuted()) {
        verdict.counterexample = counterexample_among(rules_[i], arguments_.assignments);
      }
      return Maybe(std::move(verdict));
    };
  });
}

void Check::print_summary() {
  output_.stream() << fmt::format("{} rules: {} proved, {} refuted, {} undecided", num_checked_, num_proved_,
                                  num_refuted_, num_undecided());
  if (num_never_applicable_ != 0) {
    output_.stream() << fmt::format(", {} never applicable", num_never_applicable_);
  }
  output_.stream() << '\n';
}

/// Where rules overlap, and which never fire, beside all that are applied together with them.
void Check::print_all_overlaps() {
  OverlapWork work;
  work.options.extended = true;
  work.jobs = arguments_.jobs;
  work.rules = standard_rules();
  std::size_t first = 0;
  if (!arguments_.file.empty()) {
    // By their texts alone: they may be named like the program's own, or be these.
    std::string text;
    for (const rules::Rule& rule : rules_) text += rule.text + '\n';
    work.options.extra_rules.push_back({arguments_.file, std::move(text)});
    work.lists_all = true;
  }
  if (arguments_.extended || !arguments_.file.empty()) {
    first = work.rules.size();
    work.rules.insert(work.rules.end(), rules_.begin(), rules_.end());
  }
  if (!arguments_.extended) {
    for (rules::Rule& rule : extended_rules()) work.rules.push_back(std::move(rule));
  }
  work.checked.resize(work.rules.size());
  std::fill_n(work.checked.begin() + static_cast<std::ptrdiff_t>(first), rules_.size(), true);
  print_overlaps(work, output_.stream());
}

/// Whether applying the rules comes to an end.
void Check::print_order() {
  if (rules_.empty()) return;
  SolverProcess solver(arguments_.solver);
  constexpr int patience = 30;
  const std::chrono::milliseconds limit(static_cast<long>(arguments_.timeout * 1000) * patience);
  const bool standard = !arguments_.extended && arguments_.file.empty();
  output_.stream().flush();
  std::optional<WaitingNote> note("looking for an order of the rules");
  const ReductionOrder order = standard ? find_order(rules_, solver, limit)
                                        : order_of_added(rules_, !arguments_.file.empty(), solver, limit);
  note.reset();
  if (!order.decided) {
    output_.stream() << "order: not known, the solver did not answer\n";
    return;
  }
  const auto count = [&order](RuleOrder::Kind kind) {
    return std::ranges::count(order.rules, kind, &RuleOrder::kind);
  };
  const auto none = count(RuleOrder::Kind::none);
  output_.stream() << fmt::format("order: {} go down, {} rearrange operands, {} without\n",
                                  count(RuleOrder::Kind::decreases), count(RuleOrder::Kind::rearranges),
                                  none);
  for (std::size_t i = 0; i < rules_.size(); ++i) {
    if (order.rules[i].kind != RuleOrder::Kind::none) continue;
    output_.stream() << fmt::format("{:>3} without an order: {}\n", i + 1, named_text(rules_[i]));
    const char* const reason = arguments_.file.empty() ? why_it_ends(rules_[i].name) : nullptr;
    const std::string loop = loop_through(rules_, i, !arguments_.file.empty());
    if (!loop.empty()) {
      output_.stream() << fmt::format("      loops: {}\n", loop);
    } else if (reason != nullptr) {
      output_.stream() << fmt::format("      ends all the same: {}\n", reason);
    } else {
      output_.stream() << "      no loop was found\n";
    }
  }
}

void Check::print(std::size_t i, const RuleVerdict& verdict) {
  std::string text;
  ++num_checked_;
  bool expected = !is_known(i) || arguments_.max_width.value_or(small_width) < small_width;
  const bool small_ones_decided = verdict.undecided.empty() || verdict.undecided.front() > small_width;
  if (verdict.refuted()) {
    ++num_refuted_;
    expected = is_known(i);
    text = fmt::format("refuted{}: {}", is_known(i) ? ", as is known" : "", verdict.counterexample);
  } else if (!small_ones_decided) {
    expected = false;
    text = "undecided for " + list_of_instances(rules_[i], verdict.undecided) + verdict.why_undecided();
  } else if (!verdict.proved.empty()) {
    ++num_proved_;
    text = "proved for " + list_of_instances(rules_[i], verdict.proved);
    if (!verdict.undecided.empty()) text += undecided_beside(verdict);
    if (!expected) text += "; a counterexample was expected";
  } else if (const std::string both = contradiction(rules_[i]); !both.empty()) {
    ++num_never_applicable_;
    text = "never applicable: " + both + " exclude each other";
  } else {
    expected = false;
    text = has_widths(rules_[i])
               ? "undecided: it applied at no width that was tried, " + list_of_widths(verdict.vacuous)
               : "undecided: it never applied, for " + list_of_instances(rules_[i], verdict.vacuous);
    if (!verdict.undecided.empty()) text += undecided_beside(verdict);
  }
  as_expected_ = as_expected_ && expected;
  output_.stream() << fmt::format("{:>3} {}\n      {}\n", i + 1, named_text(rules_[i]), text);
}

}  // namespace

void add_rules_check(const CommandLine& rules, int& status) {
  const CommandLine command = rules.subcommand("check", "Let an SMT solver check whether rules hold");
  const auto arguments = std::make_shared<CheckArguments>();
  command.option("FILE", arguments->file, "Rules of your own; the standard rules if omitted").type("");
  command.option("--solver", arguments->solver, "z3, cvc5, or a command that reads SMT-LIB 2")
      .shows_default();
  command.option("-j,--jobs", arguments->jobs, "How many solvers run side by side")
      .between(1, 256)
      .type("N")
      .shows_default();
  command.option("--timeout", arguments->timeout, "For each query at widths above 4, in seconds")
      .between(0.001, 1e6)
      .type("S")
      .shows_default();
  command
      .option("--max-width", arguments->max_width,
              fmt::format("The largest width to try; if omitted, {}, and larger ones that a rule names",
                          largest_width))
      .between(std::size_t{1}, std::size_t{1024})
      .type("W");
  command
      .option("--assignments", arguments->assignments,
              "Also try each rule under so many assignments with the reference evaluator")
      .type("N")
      .shows_default();
  command.flag("--extended", arguments->extended, "The extended rules instead of the standard ones");
  command.flag("--overlaps", arguments->overlaps,
               "Also look for terms to which two rules apply, and whether it matters which is first");
  command.footer(explanation);
  command.callback([arguments, &status] {
    if (arguments->extended && !arguments->file.empty()) refuse_value("--extended", "takes no file of rules");
    std::vector<rules::Rule> all = arguments->extended       ? extended_rules()
                                   : arguments->file.empty() ? standard_rules()
                                                             : rules_of_file(arguments->file);
    {
      const NotedSignals signals;
      status = Check(*arguments, std::move(all)).run();
    }
    // As every program ends by a signal.
    if (const int signal = NotedSignals::received(); signal != 0) std::raise(signal);
  });
}

}  // namespace quarv::cli
