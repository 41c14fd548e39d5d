#include <algorithm>
#include <csignal>
#include <memory>
#include <numeric>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "batch/input_set.h"
#include "batch/script_source.h"
#include "commands.h"
#include "io/command_line.h"
#include "io/noted_signals.h"
#include "io/output.h"
#include "io/process.h"
#include "rules/rule_catalogue.h"
#include "rules/rule_checker.h"
#include "rules/rule_count.h"
#include <quarv/rules/rule_in_words.h>

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

void list(bool extended) {
  Output output("-");
  std::size_t number = 0;
  for (const rules::Rule& rule : extended ? extended_rules() : standard_rules()) {
    ++number;
    output.stream() << fmt::format("{:>3} {} {:<9} {}\n", extended ? "" : std::to_string(number),
                                   mark(rule, proof_of(rule, number, extended)),
                                   SymbolTag::name(rule.applicant()), named_text(rule));
  }
  output.stream() << (extended
                          ? "* proved for all widths; + without widths, proved for all values; f proved for "
                            "some formats: see quarv rules show RULE\n"
                          : "* proved for all widths; ! does not hold for all values: see quarv rules show "
                            "RULE\n");
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
int count_uses(const std::vector<std::string>& paths, const std::string& by) {
  const std::vector<BatchInput> inputs = find_inputs(paths, {});
  SessionOptions options;
  options.extended = true;
  const auto text = [&inputs](std::size_t i) { return std::string(find_script(inputs[i].name)); };
  const RuleCounts counts =
      count_rules(inputs.size(), text, options, std::max(1U, std::thread::hardware_concurrency()));
  if (counts.num_scripts == 0 && NotedSignals::received() == 0) {
    say("quarv: error: there is no script that can be read\n");
    return failure;
  }
  const std::vector<rules::Rule> all = all_rules_and(std::vector<std::string>());
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

int show(const std::string& name_or_number) {
  const std::vector<rules::Rule> all = all_rules_and(std::vector<std::string>());
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
  const std::size_t num_standard = standard_rules().size();
  const bool is_standard = number <= num_standard;
  line("number", is_standard ? std::to_string(number) : "none: an extended rule");
  line("name", rule.name);
  line("applicant", std::string(SymbolTag::name(rule.applicant())));
  line("text", rule.text);
  line("class", class_name(rule));
  line("sound", soundness(rule));
  line("proof", proof_of(rule, is_standard ? number : number - num_standard, !is_standard).text);
  line("reads", in_words(rule));
  output.commit();
  return success;
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
  const CommandLine list_command =
      command.subcommand("list", "All standard rules: number, operator, name and text");
  list_command.footer(
      "Examples:\n  quarv rules list\n  quarv rules list | grep bvmul\n  quarv rules list --extended\n"
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
  list_command.callback([extended, paths, by, &status] {
    if (paths->empty()) {
      list(*extended);
      status = success;
      return;
    }
    {
      const NotedSignals signals;
      status = count_uses(*paths, *by);
    }
    if (const int signal = NotedSignals::received(); signal != 0) std::raise(signal);
  });
  const CommandLine show_command =
      command.subcommand("show", "Print everything that is known about a standard rule");
  show_command.footer("Examples:\n  quarv rules show bvmul-one\n  quarv rules show 36");
  const auto rule = std::make_shared<std::string>();
  show_command.option("RULE", *rule, "Name of the rule, or its number, from 1").type("").required();
  show_command.callback([rule, &status] { status = show(*rule); });
  add_rules_check(command, status);
  add_rules_mine(command, status);
}

}  // namespace quarv::cli
