#include <cstdio>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

#include <fmt/format.h>

#include "commands.h"
#include "io/command_line.h"
#include "io/input.h"
#include "io/output.h"
#include "io/process.h"
#include "simplify/simplify_arguments.h"
#include "simplify/simplify_text.h"
#include <quarv/smtlib/simplify_script.h>

namespace quarv::cli {

namespace {

constexpr const char* footer = R"(Examples:
  quarv simplify query.smt2                  print the simplified script
  quarv simplify query.smt2 -o small.smt2    write it to a file, as a whole or not at all
  quarv simplify - --stats < query.smt2      read standard input; say what was done
  quarv simplify query.smt2 --rules my.rules
                                             apply rules of your own, too
  quarv simplify query.smt2 -o small.smt2 --trace steps
                                             write down every step for quarv replay)";

struct Arguments {
  std::string input = "-";
  std::string output = "-";
  std::string trace;  // empty: none
  std::string stats;  // empty, "text" or "json"
  SimplifyArguments how;
};

void simplify(const Arguments& arguments) {
  smtlib::SimplifyOptions options = read_options(arguments.how);
  const Input input(arguments.input);
  Output output(arguments.output);
  std::optional<Output> trace;
  if (!arguments.trace.empty()) options.trace = &trace.emplace(arguments.trace).stream();
  std::optional<Statistics> statistics;
  std::ostringstream simplified;  // with statistics, which look at it
  if (arguments.stats.empty()) {
    smtlib::simplify_script(input.text(), input.name(), output.stream(), options);
  } else {
    statistics = simplify_text(input.text(), input.name(), simplified, options);
    output.stream() << simplified.view();
  }
  if (trace) trace->commit();
  output.commit();
  if (!statistics) return;
  measure_texts(input.text(), simplified.view(), input.name(), *statistics);
  fmt::print(stderr, "{}", arguments.stats == "json" ? as_json(*statistics) : as_text(*statistics));
}

}  // namespace

void add_simplify(const CommandLine& program, int& status) {
  const CommandLine command = program.subcommand("simplify", "Print a script with its terms simplified");
  command.footer(footer);
  const auto arguments = std::make_shared<Arguments>();
  command.option("FILE", arguments->input, "SMT-LIB 2 script; - is standard input").type("").shows_default();
  command.option("-o,--output", arguments->output, "Where to write; - is standard output")
      .type("FILE")
      .shows_default();
  command
      .flag("--stats{text}", arguments->stats,
            "Print on standard error what was done and what it took; --stats=json: for programs")
      .one_of({"text", "json"});
  command
      .option("--trace", arguments->trace,
              "Write down every step by which the input was simplified, one JSON object a line; - is "
              "standard output (with -o). Further rounds over the output are not traced")
      .type("FILE");
  add_simplify_options(command, arguments->how);
  command.callback([arguments, &status] {
    if (!arguments->trace.empty() && Output::is_same(arguments->trace, arguments->output)) {
      refuse_value("--trace", "the script and its trace cannot be written to the same place");
    }
    if (!arguments->trace.empty() && arguments->input != "-" &&
        Output::is_same(arguments->trace, arguments->input)) {
      refuse_value("--trace", "it would replace the script");
    }
    try {
      simplify(*arguments);
      status = success;
    } catch (const UnknownRule& e) {
      say("quarv: {} (see quarv rules list)\n", e.what());
      status = usage_error;
    }
  });
}

}  // namespace quarv::cli
