#include "rules/own_rules.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include <fmt/core.h>

#include "batch/sha256.h"
#include "io/command_line.h"
#include "io/ordered_work.h"
#include "io/process.h"
#include "rules/check_cache.h"
#include "rules/order/added_rules.h"
#include "rules/order/loop_search.h"
#include "rules/rule_catalogue.h"
#include "rules/rule_checker.h"
#include <quarv/util/input_error.h>
#include <quarv/util/source_excerpt.h>

namespace quarv::cli {

namespace {

using rules::Rule;
using Kind = RuleFinding::Kind;

/// For a query at larger widths: rules should not keep a simplification waiting.
constexpr std::chrono::milliseconds usual_limit{2000};

struct OwnRule {
  std::size_t file;
  Rule rule;
};

/// The program of that name that would be run, with what changes when it is another one.
std::optional<std::string> identity_of(const std::string& program) {
  const char* const variable = std::getenv("PATH");
  std::string_view rest = variable != nullptr ? variable : "";
  while (!rest.empty()) {
    const std::string_view folder = rest.substr(0, rest.find(':'));
    rest.remove_prefix(std::min(rest.size(), folder.size() + 1));
    const std::string path = (folder.empty() ? "." : std::string(folder)) + '/' + program;
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || access(path.c_str(), X_OK) != 0) {
      continue;
    }
    return fmt::format("{} {} {} {}.{}", program, path, status.st_size, status.st_mtim.tv_sec,
                       status.st_mtim.tv_nsec);
  }
  return std::nullopt;
}

/// All that decides what is found.
std::string key_of(const std::vector<RuleFile>& files, const std::string& solver) {
  Sha256 key;
  key.add(fmt::format("{} {}\n{}\n", QUARV_VERSION, usual_limit.count(), solver));
  for (const Rule& rule : all_rules_and(std::vector<std::string>())) key.add(rule.text + '\n');
  for (const RuleFile& file : files) key.add(fmt::format("{}\n{}", file.text.size(), file.text));
  return key.digest();
}

/// Asks a solver about rules.
class OwnRulesCheck {
 public:
  OwnRulesCheck(std::vector<OwnRule> rules, std::string solver)
      : rules_(std::move(rules)), solver_(std::move(solver)) {}

  std::vector<RuleFinding> run() {
    SolverProcess solver(solver_);
    solver.test(std::chrono::seconds(10));
    OrderedWork<RuleVerdict> work(
        rules_.size(), [this](std::size_t i, const RuleVerdict& verdict) { judge(i, verdict); }, [] {});
    work.run(std::max(1U, std::thread::hardware_concurrency()), [this] {
      return [this, checker = std::make_unique<RuleChecker>(solver_, usual_limit)](std::size_t i) {
        return checker->check(rules_[i].rule, std::nullopt);
      };
    });
    const bool any_refuted = std::ranges::count(findings_, Kind::refuted, &RuleFinding::kind) != 0;
    if (!any_refuted) order(solver);
    return std::move(findings_);
  }

 private:
  void add(std::size_t i, Kind kind, std::string text) {
    const Rule& rule = rules_[i].rule;
    findings_.push_back({rules_[i].file, rule.line, rule.column, kind, std::move(text)});
  }

  void judge(std::size_t i, const RuleVerdict& verdict) {
    const Rule& rule = rules_[i].rule;
    const bool small_ones_decided = verdict.undecided.empty() || verdict.undecided.front() > small_width;
    if (verdict.refuted()) {
      add(i, Kind::refuted, verdict.counterexample);
    } else if (!small_ones_decided) {
      add(i, Kind::unproved,
          "undecided for " + list_of_instances(rule, verdict.undecided) + verdict.why_undecided());
    } else if (verdict.proved.empty() && contradiction(rule).empty()) {
      add(i, Kind::unproved, "nothing was found that it applies to");
    }
  }

  void order(SolverProcess& solver) {
    constexpr int patience = 15;
    std::vector<Rule> all;
    for (const OwnRule& own : rules_) all.push_back(own.rule);
    const ReductionOrder order = order_of_added(all, true, solver, patience * usual_limit);
    if (!order.decided) return add(0, Kind::unordered, "the solver found no answer for these rules");
    for (std::size_t i = 0; i < all.size(); ++i) {
      if (order.rules[i].kind != RuleOrder::Kind::none) continue;
      const std::string loop = loop_through(all, i, true);
      add(i, Kind::unordered,
          loop.empty() ? "there is no order in which it makes terms smaller" : "it loops on " + loop);
    }
  }

  std::vector<OwnRule> rules_;
  std::string solver_;
  std::vector<RuleFinding> findings_;
};

void report(const RuleFinding& finding, const RuleFile& file) {
  const auto& [number, line, column, kind, text] = finding;
  if (kind == Kind::refuted) {
    throw InputError(file.name, line, column,
                     "the rule does not hold: " + text + " (--trust-rules applies it all the same)",
                     source_excerpt(file.text, SourcePlace{line, column}));
  }
  const std::string place = file.name.empty() ? "" : fmt::format("{}:{}:{}: ", file.name, line, column);
  say("{}warning: {}: {}\n", place,
      kind == Kind::unproved ? "the rule is not proved" : "applying the rule may not end", text);
}

}  // namespace

void add_trust_option(const CommandLine& command, bool& trusted) {
  command.flag("--trust-rules", trusted,
               "Apply rules of your own without asking a solver whether they hold and come to an end");
}

void check_own_rules(const std::vector<RuleFile>& files, bool trusted) {
  if (trusted || files.empty()) return;
  all_rules_and(files);  // throws where a text is no rule, or a name is taken
  std::vector<OwnRule> all;
  for (std::size_t i = 0; i < files.size(); ++i) {
    for (Rule& rule : rules::parse_rules(files[i].text)) all.push_back({i, std::move(rule)});
  }
  if (all.empty()) return;
  std::string why = "neither z3 nor cvc5 is installed";
  for (const char* solver : {"z3", "cvc5"}) {
    const std::optional<std::string> identity = identity_of(solver);
    if (!identity) continue;
    const CheckCache cache(key_of(files, *identity));
    std::optional<std::vector<RuleFinding>> findings = cache.find();
    try {
      if (!findings) {
        findings = OwnRulesCheck(all, solver).run();
        cache.keep(*findings);
      }
    } catch (const SolverError& e) {
      why = e.what();
      continue;
    }
    for (const RuleFinding& f : *findings) {
      if (f.file < files.size()) report(f, files[f.file]);
    }
    return;
  }
  say("quarv: warning: rules of your own are applied unchecked: {}\n", why);
}

}  // namespace quarv::cli
