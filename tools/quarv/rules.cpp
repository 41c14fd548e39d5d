#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "commands.h"
#include "io/command_line.h"
#include "io/ordered_work.h"
#include "io/output.h"
#include "io/process.h"
#include "rules/mine/corpus.h"
#include "rules/rule_catalogue.h"
#include "rules/rule_checker.h"
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

/// How often each rule is applied when scripts are simplified.
int count_uses(const std::vector<std::string>& paths) {
  const Corpus corpus(paths);
  std::map<std::string, std::pair<std::uint64_t, std::size_t>> uses;  // and in how many scripts
  std::size_t num_read = 0;
  OrderedWork<std::optional<ScriptCount>> work(
      corpus.size(),
      [&](std::size_t, std::optional<ScriptCount> count) {
        if (!count) return;
        ++num_read;
        for (const auto& [name, n] : count->uses) {
          uses[name].first += n;
          ++uses[name].second;
        }
      },
      [] {});
  work.run(std::max(1U, std::thread::hardware_concurrency()),
           [&] { return [&](std::size_t i) { return corpus.count(i, {}, true); }; });
  if (num_read == 0) {
    say("quarv: error: there is no script that can be read\n");
    return failure;
  }
  std::vector<rules::Rule> all = all_rules_and(std::vector<std::string>());
  std::ranges::stable_sort(all, [&](const rules::Rule& a, const rules::Rule& b) {
    return uses[a.name].first > uses[b.name].first;
  });
  Output output("-");
  std::size_t num_unused = 0;
  for (const rules::Rule& rule : all) {
    const auto [n, scripts] = uses[rule.name];
    num_unused += n == 0 ? 1 : 0;
    output.stream() << fmt::format("{:>9} {:>6}  {}\n", n, scripts, named_text(rule));
  }
  output.stream() << fmt::format("uses, scripts, rule; {} scripts; {} of {} rules were never applied\n",
                                 num_read, num_unused, all.size());
  output.commit();
  return success;
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
  list_command
      .option("--count", *paths,
              "All rules, with how often they are applied to the scripts of these files, folders and "
              "archives, and in "
              "how many")
      .type("PATH");
  list_command.callback([extended, paths, &status] {
    if (!paths->empty()) {
      status = count_uses(*paths);
      return;
    }
    list(*extended);
    status = success;
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
