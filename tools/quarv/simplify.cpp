#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "commands.h"
#include "input.h"
#include "output.h"
#include "statistics.h"
#include <quarv/smtlib/simplify_script.h>

namespace quarv::cli {

namespace {

struct Arguments {
  std::string input = "-";
  std::string output = "-";
  std::string trace;  // empty: none
  std::string stats;  // empty, "text" or "json"
  bool no_rules = false;
  bool standard = false;
  std::string sharing = "auto";
  std::vector<std::string> rule_files;
  std::vector<std::string> disabled_rules;
};

smtlib::Sharing sharing_named(const std::string& name) {
  if (name == "let") return smtlib::Sharing::let;
  return name == "none" ? smtlib::Sharing::none : smtlib::Sharing::automatic;
}

/// Reads the input once more as it was written: what it holds, and how long that takes, shows what
/// simplification does.
void measure_plain(const Input& input, Statistics& statistics) {
  smtlib::SimplifyOptions options;
  options.simplify = false;
  smtlib::Session session(options);
  const auto start = std::chrono::steady_clock::now();
  const smtlib::Script script = session.read(input.text(), input.name());
  statistics.read_seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  statistics.terms_before = smtlib::dag_size(session.manager(), script.terms);
}

void simplify(const Arguments& arguments) {
  const bool stats = !arguments.stats.empty();
  Statistics statistics;
  smtlib::SimplifyOptions options;
  options.rules = !arguments.no_rules;
  options.standard = arguments.standard;
  options.sharing = sharing_named(arguments.sharing);
  options.disabled_rules = arguments.disabled_rules;
  for (const std::string& name : arguments.rule_files) {
    const Input file(name);
    options.extra_rules.push_back({file.name(), std::string(file.text())});
  }
  if (stats) options.observer = &statistics.counts;

  const Input input(arguments.input);
  Output output(arguments.output);
  std::optional<Output> trace;
  if (!arguments.trace.empty()) options.trace = &trace.emplace(arguments.trace).stream();
  const smtlib::SimplifyReport report =
      smtlib::simplify_script(input.text(), input.name(), output.stream(), options);
  if (trace) trace->commit();
  output.commit();
  if (!stats) return;

  statistics.peak_memory = peak_memory();
  measure_plain(input, statistics);
  statistics.terms_after = report.terms_after;
  statistics.rounds = report.rounds;
  statistics.simplify_seconds = std::max(0.0, report.read_seconds - statistics.read_seconds);
  statistics.print_seconds = report.print_seconds;
  fmt::print(stderr, "{}", arguments.stats == "json" ? as_json(statistics) : as_text(statistics));
}

}  // namespace

void add_simplify(CLI::App& program, int& status) {
  CLI::App& command = *program.add_subcommand("simplify", "Print a script with its terms simplified");
  const auto arguments = std::make_shared<Arguments>();
  command.add_option("FILE", arguments->input, "SMT-LIB 2 script; - is standard input")
      ->type_name("")
      ->capture_default_str();
  command.add_option("-o,--output", arguments->output, "Where to write; - is standard output")
      ->type_name("FILE")
      ->capture_default_str();
  command
      .add_flag("--stats{text}", arguments->stats,
                "Print on standard error what was done and what it took; --stats=json: for programs")
      ->check(CLI::IsMember({"text", "json"}).description(""));
  command
      .add_option("--trace", arguments->trace,
                  "Write down every step by which the input was simplified, one JSON object a line; - is "
                  "standard output (with -o). Further rounds over the output are not traced")
      ->type_name("FILE");
  CLI::Option* const no_rules =
      command.add_flag("--no-rules", arguments->no_rules, "Simplify operators, but apply no rewrite rule");
  command
      .add_option("--rules", arguments->rule_files,
                  "Rules of your own, to be tried after the standard ones; may be repeated. It is for you to "
                  "know that they hold: quarv rules check tells")
      ->type_name("FILE.rules")
      ->allow_extra_args(false)
      ->excludes(no_rules);
  command
      .add_option("--disable-rule", arguments->disabled_rules,
                  "Do not apply this rule, given by number (quarv rules list) or text; may be repeated")
      ->type_name("N|TEXT")
      ->allow_extra_args(false);
  command.add_flag("--standard", arguments->standard,
                   "The layer as it is, not restricted to what the SMT-LIB standard warrants");
  command
      .add_option(
          "--share", arguments->sharing,
          "How sub-terms that occur repeatedly are written: define-fun and let, let alone, or repeated")
      ->type_name("auto|let|none")
      ->check(CLI::IsMember({"auto", "let", "none"}).description(""))
      ->capture_default_str();
  command.callback([arguments, &status] {
    if (arguments->trace == arguments->output) {
      throw CLI::ValidationError("--trace", "the script and its trace cannot be written to the same place");
    }
    try {
      simplify(*arguments);
      status = success;
    } catch (const smtlib::UnknownRule& e) {
      fmt::print(stderr, "quarv: {} (quarv rules list tells more)\n", e.what());
      status = usage_error;
    }
  });
}

}  // namespace quarv::cli
