#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>

#include <fmt/core.h>

#include "commands.h"
#include "io/command_line.h"
#include "io/file_error.h"
#include "io/input.h"
#include "io/ordered_work.h"
#include "io/output.h"
#include "io/waiting_note.h"
#include "simplify/simplify_arguments.h"
#include "solver/certifier.h"
#include "solver/script_queries.h"
#include "solver/step_queries.h"

namespace quarv::cli {

namespace {

struct CertifyArguments {
  std::string input = "-";
  bool steps = false;
  std::string solver = "z3";
  unsigned jobs = std::max(1u, std::thread::hardware_concurrency());
  double timeout = 10;
  std::string keep;  // empty: nowhere
  bool quiet = false;
  SimplifyArguments how;
};

constexpr const char* explanation =
    R"(Examples:
  quarv certify query.smt2                   let z3 compare the terms before and after
  quarv certify query.smt2 --steps --quiet --solver cvc5
                                             let cvc5 prove each step; print what was not proved

The script is simplified, and a solver is asked whether any of its terms can differ from the one that replaces
it: both are taken from input and output as they are written. With --steps, the solver is asked about
each step of simplification instead, which makes many small queries: steps are numbered as in a trace (quarv
simplify --trace), which leaves out the steps of further rounds as well.

  proved       they are equal for all values
  refuted      they are not equal: values for which they differ are printed
  undecided    the solver ran out of time or memory, gave up, or found values for which they do not differ
  unsupported  the solver does not know something that occurs in the query
  failed       the solver ended before it had answered, or gave an unexpected answer

An output that the solver does not understand, though it understands the input, is refuted.

Exit status: 0 when nothing was refuted and no query failed; 1 otherwise, for errors in the input, and for a solver that
does not know that false is unsatisfiable and a constant is satisfiable.)";

std::unique_ptr<QuerySet> make_queries(const CertifyArguments& arguments, const Input& input,
                                       std::string& output) {
  const smtlib::SimplifyOptions options = read_options(arguments.how);
  if (arguments.steps) return std::make_unique<StepQueries>(input.text(), input.name(), options);
  std::ostringstream simplified;
  smtlib::simplify_script(input.text(), input.name(), simplified, options);
  output = std::move(simplified).str();
  return std::make_unique<ScriptQueries>(input.text(), output, input.name());
}

int certify(const CertifyArguments& arguments) {
  const Input input(arguments.input);
  std::string output;  // the queries refer to it
  std::optional<WaitingNote> note("simplifying " + input.name());
  const std::unique_ptr<QuerySet> queries = make_queries(arguments, input, output);
  note.reset();
  if (std::error_code error;
      !arguments.keep.empty() && !std::filesystem::create_directories(arguments.keep, error) && error) {
    throw FileError("create", arguments.keep, error.message());
  }

  Output report("-");
  std::array<std::size_t, Verdict::num_kinds> counts{};
  std::size_t num_same = 0;
  KnownVerdicts known;
  OrderedWork<Verdict> work(
      queries->size(),
      [&](std::size_t i, const Verdict& verdict) {
        ++counts[verdict.kind];
        num_same += queries->is_trivial(i);
        if (arguments.quiet && verdict.kind == Verdict::proved) return;
        report.stream() << queries->title(i) << ": " << name_of(verdict.kind);
        if (!verdict.detail.empty()) report.stream() << ": " << verdict.detail;
        report.stream() << '\n';
      },
      [&] { report.stream().flush(); });
  work.run(arguments.jobs, [&] {
    const std::chrono::milliseconds limit(static_cast<long>(arguments.timeout * 1000));
    return
        [certifier = std::make_unique<Certifier>(*queries, known, arguments.solver, limit, arguments.keep)](
            std::size_t i) { return certifier->verdict_on(i); };
  });
  report.stream() << fmt::format("{} {}: {} proved", queries->size(),
                                 arguments.steps ? "steps" : "pairs of terms", counts[Verdict::proved]);
  if (num_same != 0) report.stream() << fmt::format(" ({} the same text)", num_same);
  report.stream() << fmt::format(", {} refuted, {} undecided, {} unsupported", counts[Verdict::refuted],
                                 counts[Verdict::undecided], counts[Verdict::unsupported]);
  if (counts[Verdict::failed] != 0) report.stream() << fmt::format(", {} failed", counts[Verdict::failed]);
  report.stream() << '\n';
  report.commit();
  return counts[Verdict::refuted] + counts[Verdict::failed] == 0 ? success : failure;
}

}  // namespace

void add_certify(const CommandLine& program, int& status) {
  const CommandLine command =
      program.subcommand("certify", "Let an SMT solver prove that nothing changed its meaning");
  const auto arguments = std::make_shared<CertifyArguments>();
  command.option("FILE", arguments->input, "SMT-LIB 2 script; - is standard input").type("").shows_default();
  command.flag("--steps", arguments->steps, "Prove each step of simplification instead of each term");
  command.option("--solver", arguments->solver, "z3, cvc5, or a command that reads SMT-LIB 2")
      .shows_default();
  command.option("-j,--jobs", arguments->jobs, "How many solvers run side by side")
      .between(1, 256)
      .type("N")
      .shows_default();
  command.option("--timeout", arguments->timeout, "For each query, in seconds")
      .between(0.001, 1e6)
      .type("S")
      .shows_default();
  command.option("--keep", arguments->keep, "Leave each query there, as a script of its own").type("DIR");
  command.flag("-q,--quiet", arguments->quiet, "Do not print what was proved");
  add_simplify_options(command, arguments->how);
  command.footer(explanation);
  command.callback([arguments, &status] {
    try {
      status = certify(*arguments);
    } catch (const UnknownRule& e) {
      fmt::print(stderr, "quarv: {} (see quarv rules list)\n", e.what());
      status = usage_error;
    }
  });
}

}  // namespace quarv::cli
