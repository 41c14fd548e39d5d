#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "commands.h"
#include "ordered_work.h"
#include "output.h"
#include "rule_catalogue.h"
#include "rule_checker.h"

namespace quarv::cli {

namespace {

struct Arguments {
  std::string file;
  std::string solver = "z3";
  unsigned jobs = std::max(1u, std::thread::hardware_concurrency());
  double timeout = 2;
  std::size_t max_width = largest_width;
};

constexpr const char* explanation =
    R"(For each rule the solver is asked whether the pattern's conditions can hold while pattern and result differ: in all
instances of widths 1 to 4, in some of larger widths. Of rules that multiply, large widths may stay undecided.

Exit status: 0 when nothing was refuted and widths 1 to 4 are decided; 1 otherwise, or when the solver fails. Of the
standard rules, those that are known not to hold for all values (quarv rules list) must be refuted, and no others.)";

/// Checks rules side by side and reports them in order.
class Check {
 public:
  Check(const Arguments& arguments, std::vector<rules::Rule> all)
      : arguments_(arguments), rules_(std::move(all)), output_("-") {}

  int run();

 private:
  void report(std::size_t i, const RuleVerdict& verdict);
  bool is_known(std::size_t i) const {
    return arguments_.file.empty() && known_counterexample(i + 1) != nullptr;
  }

  const Arguments& arguments_;
  std::vector<rules::Rule> rules_;
  std::size_t num_proved_ = 0;
  std::size_t num_refuted_ = 0;
  bool as_expected_ = true;
  Output output_;
};

int Check::run() {
  OrderedWork<RuleVerdict> work(
      rules_.size(), [this](std::size_t i, const RuleVerdict& verdict) { report(i, verdict); },
      [this] { output_.stream().flush(); });
  work.run(arguments_.jobs, [this] {
    const std::chrono::milliseconds limit(static_cast<long>(arguments_.timeout * 1000));
    return [this, checker = std::make_unique<RuleChecker>(arguments_.solver, limit)](std::size_t i) {
      return checker->check(rules_[i], arguments_.max_width);
    };
  });
  output_.stream() << fmt::format("{} rules: {} proved, {} refuted, {} undecided\n", rules_.size(),
                                  num_proved_, num_refuted_, rules_.size() - num_proved_ - num_refuted_);
  output_.commit();
  return as_expected_ ? success : failure;
}

void Check::report(std::size_t i, const RuleVerdict& verdict) {
  std::string text;
  bool expected = !is_known(i) || arguments_.max_width < small_width;
  if (verdict.refuted()) {
    ++num_refuted_;
    expected = is_known(i);
    text = fmt::format("refuted{}: {}", is_known(i) ? ", as is known" : "", verdict.counterexample);
  } else if (!verdict.undecided.empty() && verdict.proved.empty()) {
    expected = false;
    text = fmt::format("undecided for widths {}", list_of_widths(verdict.undecided));
  } else {
    ++num_proved_;
    text = verdict.applicable ? "proved for widths " + list_of_widths(verdict.proved) : "never applicable";
    if (!verdict.undecided.empty()) text += "; undecided from " + list_of_widths(verdict.undecided) + " on";
    if (!expected) text += "; a counterexample was expected";
  }
  as_expected_ = as_expected_ && expected;
  output_.stream() << fmt::format("{:>3} {}\n      {}\n", i + 1, rules_[i].text, text);
}

}  // namespace

void add_rules_check(CLI::App& rules, int& status) {
  CLI::App& command = *rules.add_subcommand("check", "Let an SMT solver say whether rules hold");
  const auto arguments = std::make_shared<Arguments>();
  command.add_option("FILE", arguments->file, "Rules of your own; without it, the standard rules")
      ->type_name("");
  command.add_option("--solver", arguments->solver, "z3, cvc5, or a command that reads SMT-LIB 2")
      ->capture_default_str();
  command.add_option("-j,--jobs", arguments->jobs, "How many solvers run side by side")
      ->check(CLI::Range(1, 256).description(""))
      ->type_name("N")
      ->capture_default_str();
  command.add_option("--timeout", arguments->timeout, "For each query at widths above 4, in seconds")
      ->check(CLI::Range(0.001, 1e6).description(""))
      ->type_name("S")
      ->capture_default_str();
  command.add_option("--max-width", arguments->max_width, "The largest width to try")
      ->check(CLI::Range(std::size_t{1}, largest_width).description(""))
      ->type_name("W")
      ->capture_default_str();
  command.footer(explanation);
  command.callback([arguments, &status] {
    Check check(*arguments, arguments->file.empty() ? standard_rules() : rules_of_file(arguments->file));
    status = check.run();
  });
}

}  // namespace quarv::cli
