#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "commands.h"
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

/// How far the check is, on a terminal.
class ProgressBar {
 public:
  explicit ProgressBar(std::size_t total) : total_(total), shown_(isatty(STDERR_FILENO) == 1) {}
  ~ProgressBar() { clear(); }

  void show(std::size_t done) const {
    constexpr std::size_t length = 40;
    if (!shown_) return;
    const std::size_t filled = total_ == 0 ? length : done * length / total_;
    fmt::print(stderr, "\r[{:<{}}] {}/{}", std::string(filled, '#'), length, done, total_);
    std::fflush(stderr);
  }
  void clear() const {
    if (shown_) fmt::print(stderr, "\r\033[K");
  }

 private:
  std::size_t total_;
  bool shown_;
};

/// Checks rules side by side and reports them in order.
class Check {
 public:
  Check(const Arguments& arguments, std::vector<rules::Rule> all)
      : arguments_(arguments),
        rules_(std::move(all)),
        verdicts_(rules_.size()),
        bar_(rules_.size()),
        output_("-") {}

  int run();

 private:
  void work();
  void report_finished();
  void report(std::size_t i);
  bool is_known(std::size_t i) const {
    return arguments_.file.empty() && known_counterexample(i + 1) != nullptr;
  }

  const Arguments& arguments_;
  std::vector<rules::Rule> rules_;
  std::atomic<std::size_t> next_ = 0;
  std::mutex mutex_;  // guards all that follows
  std::vector<std::optional<RuleVerdict>> verdicts_;
  std::exception_ptr fault_;
  std::size_t num_done_ = 0;
  std::size_t num_reported_ = 0;
  std::size_t num_proved_ = 0;
  std::size_t num_refuted_ = 0;
  bool as_expected_ = true;
  ProgressBar bar_;
  Output output_;
};

int Check::run() {
  bar_.show(0);
  std::vector<std::jthread> workers;
  for (unsigned i = 1; i < std::min<std::size_t>(arguments_.jobs, rules_.size()); ++i) {
    workers.emplace_back([this] { work(); });
  }
  work();
  workers.clear();
  if (fault_) std::rethrow_exception(fault_);
  bar_.clear();
  output_.stream() << fmt::format("{} rules: {} proved, {} refuted, {} undecided\n", rules_.size(),
                                  num_proved_, num_refuted_, rules_.size() - num_proved_ - num_refuted_);
  output_.commit();
  return as_expected_ ? success : failure;
}

void Check::work() {
  try {
    RuleChecker checker(arguments_.solver,
                        std::chrono::milliseconds(static_cast<long>(arguments_.timeout * 1000)));
    for (std::size_t i; (i = next_++) < rules_.size();) {
      RuleVerdict verdict = checker.check(rules_[i], arguments_.max_width);
      const std::lock_guard lock(mutex_);
      verdicts_[i] = std::move(verdict);
      ++num_done_;
      report_finished();
    }
  } catch (...) {
    const std::lock_guard lock(mutex_);
    if (!fault_) fault_ = std::current_exception();
    next_ = rules_.size();
  }
}

void Check::report_finished() {
  if (verdicts_[num_reported_]) bar_.clear();
  while (num_reported_ < rules_.size() && verdicts_[num_reported_]) report(num_reported_++);
  output_.stream().flush();
  bar_.show(num_done_);
}

void Check::report(std::size_t i) {
  const RuleVerdict& verdict = *verdicts_[i];
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
