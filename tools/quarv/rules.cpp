#include <algorithm>
#include <csignal>
#include <functional>
#include <memory>
#include <numeric>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fmt/core.h>

#include "batch/input_set.h"
#include "batch/script_source.h"
#include "commands.h"
#include "io/command_line.h"
#include "io/input.h"
#include "io/noted_signals.h"
#include "io/output.h"
#include "io/process.h"
#include "rules/own_rules.h"
#include "rules/rule_catalogue.h"
#include "rules/rule_checker.h"
#include "rules/rule_count.h"
#include <quarv/rules/queries/rule_in_words.h>

namespace quarv::cli {

namespace {

/// What `quarv rules check` last said.
std::string soundness(const rules::Rule& rule) {
  constexpr const char* solvers = "z3 4.8.12 or cvc5 1.0.3, November 2026";
  if (const char* const reason = known_counterexample(rule.name)) {
    return fmt::format("no: {} ({}); quarv simplify does not apply it there", reason, solvers);
  }
  if (const std::string both = contradiction(rule); !both.empty()) {
    return fmt::format("yes: it never applies, {} exclude each other", both);
  }
  if (!has_widths(rule)) {
    return fmt::format("yes: proved for {} ({})", list_of_instances(rule, {}), solvers);
  }
  return fmt::format("yes: proved for widths 1 to 5 and larger ones up to {} ({})", proved_up_to(rule.name),
                     solvers);
}

char mark(const rules::Rule& rule, const RuleProof& proof) {
  if (known_counterexample(rule.name) != nullptr) return '!';
  switch (proof.extent) {
    case RuleProof::Extent::all_widths:
      return '*';
    case RuleProof::Extent::all_values:
      return '+';
    case RuleProof::Extent::formats:
      return 'f';
    case RuleProof::Extent::partial:
      break;
  }
  return ' ';
}

using RuleFiles = std::vector<RuleFile>;

RuleFiles read_all(const std::vector<std::string>& paths) {
  RuleFiles files;
  for (const std::string& path : paths) {
    const Input file(path);
    files.push_back({file.name(), std::string(file.text())});
  }
  return files;
}

/// Where a user's own rules stand among all rules, from 0: from `first` to before `end`.
struct OwnPlaces {
  std::size_t first, end;

  explicit OwnPlaces(const std::vector<rules::Rule>& all)
      : first(standard_rules().size()), end(all.size() - extended_rules().size()) {}
  bool contain(std::size_t i) const { return first <= i && i < end; }
};

/// The standard rules or the extended ones, and a user's own behind them.
void list(bool extended, const RuleFiles& files) {
  const std::vector<rules::Rule> all = all_rules_and(files);
  const OwnPlaces own(all);
  Output output("-");
  const auto line = [&](std::size_t i, const std::string& number, char marked) {
    output.stream() << fmt::format("{:>3} {} {:<9} {}\n", number, marked, SymbolTag::name(all[i].applicant()),
                                   named_text(all[i]));
  };
  const std::size_t first = extended ? own.end : 0;
  const std::size_t end = extended ? all.size() : own.first;
  for (std::size_t i = first; i < end; ++i) {
    line(i, extended ? "" : std::to_string(i + 1), mark(all[i], proof_of(all[i], i - first + 1, extended)));
  }
  for (std::size_t i = own.first; i < own.end; ++i) line(i, std::to_string(i + 1), '?');
  output.stream() << (extended
                          ? "* proved for all widths; + without widths, proved for all values; f proved for "
                            "some formats: see quarv rules show RULE\n"
                          : "* proved for all widths; ! does not hold for all values: see quarv rules show "
                            "RULE\n");
  if (!files.empty()) output.stream() << "? a rule of your own: see quarv rules check FILE\n";
  output.commit();
}

/// In which order rules are listed with their counts.
std::vector<std::size_t> ranking(const std::vector<RuleCount>& counts, const std::string& by) {
  std::vector<std::size_t> places(counts.size());
  std::iota(places.begin(), places.end(), std::size_t{0});
  std::ranges::stable_sort(places, [&](std::size_t i, std::size_t k) {
    const RuleCount &a = counts[i], &b = counts[k];
    if (by == "saved") return a.saved > b.saved;
    if (by == "cost" && a.cost() != b.cost()) return a.cost() > b.cost();
    if (by == "cost") return a.tries > b.tries;
    return a.uses > b.uses;
  });
  return places;
}

/// What each rule does when scripts are simplified.
int count_uses(const std::vector<std::string>& paths, const std::string& by, const RuleFiles& files) {
  check_own_rules(files, false);
  const std::vector<BatchInput> inputs = find_inputs(paths, {});
  SessionOptions options;
  options.extended = true;
  options.extra_rules = files;
  const auto text = [&inputs](std::size_t i) { return std::string(find_script(inputs[i].name)); };
  const RuleCounts counts =
      count_rules(inputs.size(), text, options, std::max(1U, std::thread::hardware_concurrency()));
  if (counts.num_scripts == 0 && NotedSignals::received() == 0) {
    say("quarv: error: there is no script that can be read\n");
    return failure;
  }
  const std::vector<rules::Rule> all = all_rules_and(files);
  Output output("-");
  for (const std::size_t i : ranking(counts.rules, by)) {
    const RuleCount& rule = counts.rules[i];
    output.stream() << fmt::format(
        "{:>9} {:>6} {:>9} {:>7} {:>9}  {}\n", rule.uses, rule.scripts, rule.tries,
        counts.complete ? std::to_string(rule.saved) : "?",
        counts.complete && rule.saved > 0 ? fmt::format("{:.1f}", rule.cost()) : "-", named_text(all[i]));
  }
  output.stream() << fmt::format(
      "uses, scripts, tries, terms saved, tries for each of them, rule; {} scripts; {} of {} rules were "
      "never "
      "applied\n",
      counts.num_scripts, std::ranges::count(counts.rules, 0U, &RuleCount::uses), counts.rules.size());
  output.commit();
  if (NotedSignals::received() == 0) return success;
  say("quarv: interrupted; what was counted until then is written\n");
  return failure;
}

int show(const std::string& name_or_number, const RuleFiles& files) {
  const std::vector<rules::Rule> all = all_rules_and(files);
  const std::optional<std::size_t> found = find_rule(all, name_or_number);
  if (!found) {
    say("quarv: {}\n", no_such_rule(all, name_or_number));
    return usage_error;
  }
  const rules::Rule& rule = all[*found];
  const std::size_t number = *found + 1;
  Output output("-");
  const auto line = [&output](const char* name, const std::string& value) {
    output.stream() << fmt::format("{:<10} {}\n", name, value);
  };
  const OwnPlaces own(all);
  const bool is_extended = *found >= own.end;
  line("number", is_extended ? "none: an extended rule" : std::to_string(number));
  line("name", rule.name.empty() ? "none" : rule.name);
  line("applicant", std::string(SymbolTag::name(rule.applicant())));
  line("text", rule.text);
  if (own.contain(*found)) {
    line("sound", "a rule of your own: see quarv rules check FILE");
  } else {
    line("class", class_name(rule));
    line("sound", soundness(rule));
    line("proof", proof_of(rule, is_extended ? number - own.end : number, is_extended).text);
  }
  line("reads", in_words(rule));
  output.commit();
  return success;
}

using Paths = std::shared_ptr<std::vector<std::string>>;

/// Before the subcommand and behind it.
void add_rules_option(const CommandLine& command, const std::function<void(const std::string&)>& use) {
  command.option("--rules", use, "Of list and show: your own rules as well; may be repeated")
      .type("FILE.rules")
      .one_at_a_time();
}

void add_rules_option(const CommandLine& command, const Paths& files) {
  add_rules_option(command, [files](const std::string& file) { files->push_back(file); });
}

CommandLine add_list(const CommandLine& command, const Paths& files, int& status) {
  const CommandLine list_command =
      command.subcommand("list", "All standard rules: number, operator, name and text");
  list_command.footer(
      "Examples:\n  quarv rules list\n  quarv rules list | grep bvmul\n  quarv rules list --extended\n"
      "  quarv rules list --rules my.rules          your own as well, with their numbers\n"
      "  quarv rules list --count queries           which of them are of use there");
  const auto extended = std::make_shared<bool>(false);
  list_command.flag("--extended", *extended, "The extended rules instead, which have names alone");
  const auto paths = std::make_shared<std::vector<std::string>>();
  const auto by = std::make_shared<std::string>("uses");
  list_command
      .option("--count", *paths,
              "All rules, with what they do to the scripts of these files, folders and archives: how often "
              "they are applied, in how many scripts, how often they are tried, how many terms they save")
      .type("PATH");
  list_command
      .option("--by", *by,
              "With --count: the rules that are applied most first, those that save most, or "
              "those that cost most for what they save")
      .type("uses|saved|cost")
      .one_of({"uses", "saved", "cost"})
      .shows_default();
  add_rules_option(list_command, files);
  list_command.callback([extended, paths, by, files, &status] {
    if (paths->empty()) {
      list(*extended, read_all(*files));
      status = success;
      return;
    }
    {
      const NotedSignals signals;
      status = count_uses(*paths, *by, read_all(*files));
    }
    if (const int signal = NotedSignals::received(); signal != 0) std::raise(signal);
  });
  return list_command;
}

CommandLine add_show(const CommandLine& command, const Paths& files, int& status) {
  const CommandLine show_command = command.subcommand("show", "Print everything that is known about a rule");
  show_command.footer(
      "Examples:\n  quarv rules show bvmul-one\n  quarv rules show 36\n"
      "  quarv rules show my-name --rules my.rules");
  const auto rule = std::make_shared<std::string>();
  show_command.option("RULE", *rule, "Name of the rule, or its number, from 1").type("").required();
  add_rules_option(show_command, files);
  show_command.callback([rule, files, &status] { status = show(*rule, read_all(*files)); });
  return show_command;
}

}  // namespace

void add_rules(const CommandLine& program, int& status) {
  const CommandLine command = program.subcommand("rules", "Show and check rewrite rules");
  command.requires_subcommand();
  command.footer(
      "Examples:\n"
      "  quarv rules list                           print the standard rules\n"
      "  quarv rules show bvmul-one                 print everything about one rule\n"
      "  quarv rules check my.rules                 let z3 check whether rules hold");
  const auto files = std::make_shared<std::vector<std::string>>();
  const CommandLine list_command = add_list(command, files, status);
  const CommandLine show_command = add_show(command, files, status);
  add_rules_option(command, [files, list_command, show_command](const std::string& file) {
    const bool is_of_use = list_command.is_named() || show_command.is_named();
    if (!is_of_use) refuse_value("--rules", "it is an option of list and show: see quarv help rules");
    files->push_back(file);
  });
  add_rules_check(command, status);
  add_rules_mine(command, status);
}

}  // namespace quarv::cli
