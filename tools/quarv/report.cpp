#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <fmt/core.h>

#include "batch/results.h"
#include "commands.h"
#include "io/command_line.h"
#include "io/input.h"
#include "io/output.h"
#include "io/process.h"
#include "io/waiting_note.h"
#include "report/page.h"
#include "report/report_data.h"
#include "simplify/simplify_arguments.h"

namespace quarv::cli {

namespace {

constexpr const char* footer = R"(Examples:
  quarv report query.smt2 -o query.html      show how a script is simplified
  quarv report small/results.jsonl -o batch.html
                                             show the results of a batch)";

struct Arguments {
  std::string input;
  std::string output = "-";
  std::size_t examples = 8;
  SimplifyArguments how;
};

/// Text of JSON that can stand in a script element: no tag can begin in it.
void write_json(std::string_view json, std::ostream& out) {
  for (std::size_t tag; (tag = json.find('<')) != std::string_view::npos; json.remove_prefix(tag + 1)) {
    out << json.substr(0, tag) << "\\u003c";
  }
  out << json;
}

void report(const Arguments& arguments) {
  constexpr std::string_view results_begin = "{\"results\":";
  constexpr std::string_view data_mark = "REPORT_DATA", terms_mark = "REPORT_TERMS\n";
  const smtlib::SimplifyOptions options = read_options(arguments.how);
  const Input input(arguments.input);
  Output output(arguments.output);
  std::optional<WaitingNote> note("looking at " + input.name());
  const ReportText text =
      input.text().starts_with(results_begin)
          ? batch_report(input.name(), read_results(input), options.extra_rules, arguments.examples)
          : script_report(input.text(), input.name(), options, arguments.examples);
  note.reset();
  const std::string_view page = report_page();
  const std::size_t data_place = page.find(data_mark), terms_place = page.find(terms_mark);
  const std::size_t behind_data = data_place + data_mark.size();
  output.stream() << page.substr(0, data_place);
  write_json(text.data, output.stream());
  output.stream() << page.substr(behind_data, terms_place - behind_data);
  for (const std::string& part : text.terms) {  // numbers
    output.stream() << "<script type=\"application/json\" class=\"terms\">" << part << "</script>\n";
  }
  output.stream() << page.substr(terms_place + terms_mark.size());
  output.commit();
}

}  // namespace

void add_report(const CommandLine& program, int& status) {
  const CommandLine command = program.subcommand(
      "report", "Show what simplification does to a script, or what a batch did, as a page for a browser");
  command.footer(footer);
  const auto arguments = std::make_shared<Arguments>();
  command.option("FILE", arguments->input, "SMT-LIB 2 script, or results of quarv batch").type("").required();
  command.option("-o,--output", arguments->output, "Where to write; - is standard output")
      .type("FILE.html")
      .shows_default();
  command.option("--examples", arguments->examples, "Show this many of the largest reductions step by step")
      .type("N")
      .shows_default();
  add_step_options(command, arguments->how);
  command.callback([arguments, &status] {
    if (arguments->input != "-" && Output::is_same(arguments->input, arguments->output)) {
      refuse_value("--output", "the page would replace what it shows");
    }
    try {
      report(*arguments);
      status = success;
    } catch (const UnknownRule& e) {
      say("quarv: {} (see quarv rules list)\n", e.what());
      status = usage_error;
    }
  });
}

}  // namespace quarv::cli
