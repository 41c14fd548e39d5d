#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <fmt/core.h>

#include "commands.h"
#include "io/colour.h"
#include "io/command_line.h"
#include "io/input.h"
#include "io/output.h"
#include "io/process.h"
#include "io/waiting_note.h"
#include "simplify/simplify_arguments.h"
#include "simplify/simplify_files.h"
#include "simplify/simplify_text.h"
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/simplify_script.h>

namespace quarv::cli {

namespace {

constexpr const char* footer = R"(Examples:
  quarv simplify query.smt2                  print the simplified script
  quarv simplify query.smt2 -o small.smt2    write it to a file, as a whole or not at all
  quarv simplify - --stats < query.smt2      read standard input; say what was done
  quarv simplify --diff query.smt2           show what it changes
  quarv simplify -i *.smt2                   replace the scripts that it changes
  quarv simplify --check *.smt2              name the scripts that it would change
  quarv simplify --lenient query.smt2        leave what is not understood as it is
  quarv simplify query.smt2 --rules my.rules
                                             apply rules of your own, too
  quarv simplify query.smt2 -o small.smt2 --trace steps
                                             write down every step for quarv replay)";

struct Arguments {
  std::vector<std::string> inputs;  // none: standard input
  std::string output = "-";
  std::string trace;  // empty: none
  std::string stats;  // empty, "text" or "json"
  FileActions actions;
  std::string colour = "auto";
  SimplifyArguments how;

  bool file_by_file() const { return actions.check || actions.diff || actions.in_place || inputs.size() > 1; }
};

int simplify(const Arguments& arguments) {
  smtlib::SimplifyOptions options = read_options(arguments.how);
  if (arguments.file_by_file()) return simplify_files(arguments.inputs, arguments.actions, options);
  const Input input(arguments.inputs.front());
  Output output(arguments.output);
  std::optional<Output> trace;
  if (!arguments.trace.empty()) options.trace = &trace.emplace(arguments.trace).stream();
  std::optional<Statistics> statistics;
  std::ostringstream simplified;  // with statistics, which look at it
  if (arguments.stats.empty()) {
    const WaitingNote note("simplifying " + input.name());
    smtlib::simplify_script(input.text(), input.name(), output.stream(), options);
  } else {
    const WaitingNote note("simplifying " + input.name());
    statistics = simplify_text(input.text(), input.name(), simplified, options);
    output.stream() << simplified.view();
  }
  if (trace) trace->commit();
  output.commit();
  if (!statistics) return success;
  measure_texts(input.text(), simplified.view(), input.name(), *statistics);
  fmt::print(stderr, "{}", arguments.stats == "json" ? as_json(*statistics) : as_text(*statistics));
  return success;
}

/// Refuses what does not go together.
void check_arguments(const Arguments& arguments) {
  const std::string& trace = arguments.trace;
  if (arguments.file_by_file()) {
    const char* const reason = "it is for a single script that is printed";
    if (arguments.output != "-") refuse_value("--output", reason);
    if (!trace.empty()) refuse_value("--trace", reason);
    if (!arguments.stats.empty()) refuse_value("--stats", reason);
  }
  if (arguments.actions.in_place && std::ranges::count(arguments.inputs, "-") != 0) {
    refuse_value("--in-place", "standard input cannot be replaced");
  }
  if (trace.empty()) return;
  if (Output::is_same(trace, arguments.output)) {
    refuse_value("--trace", "the script and its trace cannot be written to the same place");
  }
  if (arguments.inputs.front() != "-" && Output::is_same(trace, arguments.inputs.front())) {
    refuse_value("--trace", "it would replace the script");
  }
}

}  // namespace

void add_simplify(const CommandLine& program, int& status) {
  const CommandLine command = program.subcommand("simplify", "Print a script with its terms simplified");
  command.footer(footer);
  const auto arguments = std::make_shared<Arguments>();
  command
      .option("FILE", arguments->inputs,
              "SMT-LIB 2 scripts, printed one after the other; -, the default, is standard input")
      .type("");
  command.option("-o,--output", arguments->output, "Where to write; - is standard output")
      .type("FILE")
      .shows_default();
  const Option check = command.flag(
      "--check", arguments->actions.check,
      "Print nothing; name the files that simplification would change on standard error, and exit with "
      "1 if there are any");
  const Option diff =
      command.flag("--diff", arguments->actions.diff, "Print what simplification changes, as a unified diff");
  command
      .flag("-i,--in-place", arguments->actions.in_place,
            "Print nothing; replace each file that simplification changes, compressed as it was, as a whole "
            "or not at all")
      .excludes(check)
      .excludes(diff);
  command.option("--color", arguments->colour, "Colour the diff; auto: at a terminal")
      .type("auto|always|never")
      .one_of({"auto", "always", "never"})
      .shows_default();
  command
      .flag("--stats{text}", arguments->stats,
            "Print on standard error what was done and what it took; --stats=json: for programs")
      .one_of({"text", "json"});
  command
      .option("--trace", arguments->trace,
              "Write down every step by which the input was simplified, one JSON object a line; - is "
              "standard output (with -o)")
      .type("FILE");
  add_simplify_options(command, arguments->how);
  add_lenient_option(command, arguments->how.lenient);
  add_width_option(command, arguments->how.width);
  command.callback([arguments, &status] {
    if (arguments->inputs.empty()) arguments->inputs.emplace_back("-");
    check_arguments(*arguments);
    arguments->actions.colour = wants_colour(arguments->colour);
    try {
      status = simplify(*arguments);
    } catch (const smtlib::NotUnderstood& e) {
      say("{} ({})\n{}", e.what(), lenient_hint, e.excerpt());
      status = failure;
    } catch (const UnknownRule& e) {
      say("quarv: {} (see quarv rules list)\n", e.what());
      status = usage_error;
    }
  });
}

}  // namespace quarv::cli
