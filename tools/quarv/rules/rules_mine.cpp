#include <algorithm>
#include <csignal>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fmt/core.h>

#include "commands.h"
#include "io/command_line.h"
#include "io/noted_signals.h"
#include "io/ordered_work.h"
#include "io/output.h"
#include "io/process.h"
#include "rules/coq/coq_prover.h"
#include "rules/mine/enumeration.h"
#include "rules/mine/miner.h"

namespace quarv::cli {

namespace {

constexpr const char* examples = R"(Examples:
  quarv rules mine queries -o mined.rules    find rules in the scripts of a folder
  quarv rules mine queries -o mined.rules --time-limit 600 --state mined.state
                                             stop after ten minutes; the same command goes on later
  quarv rules mine --operators bvand,bvor,bvnot --size 3 -o laws.rules
                                             find rules without scripts, among all terms of these operators
  quarv simplify x.smt2 --rules mined.rules  use them

Small terms that simplification leaves in the scripts are evaluated under many assignments; where a smaller term has the
same values, a rule is made for all widths, and tried again. What the rules that there are already do is left out. A
solver must prove what is left (see quarv rules check), and it must make the scripts smaller. With --coq, Coq tries to prove
the rules for all widths, which takes a minute more and up to a minute for each rule. The rules are written in
the order of what they save, each with a comment: how it is proved, how often it is applied, how many terms it saves.

Exit status: 0 when the work was done or the time was over, 1 when the solver failed or there was nothing to look at.)";

struct MineArguments {
  std::vector<std::string> paths;
  std::string operators;  // separated by commas; empty: those of the scripts
  std::optional<std::size_t> size, width;
  std::string output = "-";
  bool coq = false;
  MineOptions how;
};

void write(const MineReport& report, bool has_scripts, std::ostream& out) {
  if (has_scripts) {
    out << fmt::format(
        "# Found by quarv rules mine in {} scripts. With all of these rules {} terms become {}.\n",
        report.scripts - report.unreadable, report.terms_before, report.terms_after);
  } else {
    out << fmt::format("# Found by quarv rules mine among {} terms.\n", report.samples);
  }
  for (const MinedRule& rule : report.rules) {
    const std::string count = has_scripts ? fmt::format("used {} times in {} scripts; terms saved: {}",
                                                        rule.count.uses, rule.num_scripts, rule.count.saved)
                                          : fmt::format("smaller by {}", rule.count.saved);
    out << fmt::format("\n# {}; {}\n", rule.proof, count);
    if (rule.proved_by_coq) out << "# proved with Coq for all widths\n";
    out << fmt::format("{}: {}\n", rule.name, rule.rule);
  }
}

void summarize(const MineReport& r, bool has_scripts) {
  const std::string origin = has_scripts ? fmt::format(" of {} scripts", r.scripts - r.unreadable) : "";
  say("{} small terms{}: {} rules proposed, {} instances of others, {} proved, {} refuted, {} "
      "undecided, {} saved nothing, {} applied only without the others, {} kept\n",
      r.samples, origin, r.proposed, r.instances, r.proved, r.refuted, r.undecided, r.useless, r.unused,
      r.rules.size());
  say("seconds: {:.1f} collecting, {:.1f} searching, {:.1f} proving, {:.1f} counting\n", r.collect_seconds,
      r.search_seconds, r.prove_seconds, r.count_seconds);
}

/// Tries to prove the rules for all widths; those that are left when a signal comes are not.
void prove_with_coq(MineReport& report, const CoqProver& prover, unsigned jobs) {
  const NotedSignals signals;
  std::size_t proved = 0;
  OrderedWork<bool> work(
      report.rules.size(),
      [&](std::size_t i, bool holds) {
        report.rules[i].proved_by_coq = holds;
        proved += holds ? 1 : 0;
      },
      [] {});
  work.run(jobs, [&] {
    return [&](std::size_t i) {
      return NotedSignals::received() == 0 && prover.proves(rules::parse_rule(report.rules[i].rule), i);
    };
  });
  say("Coq: {} of {} rules proved for all widths\n", proved, report.rules.size());
  if (NotedSignals::received() == 0) return;
  report.signal = NotedSignals::received();
  if (report.ended_early.empty()) report.ended_early = "interrupted";
}

std::vector<std::string> words_of(const std::string& list) {
  std::vector<std::string> words{""};
  for (const char c : list) {
    if (c == ',') {
      words.emplace_back();
    } else if (c != ' ') {
      words.back() += c;
    }
  }
  return words;
}

/// All terms of the operators that were named.
std::vector<Sample> enumerated(const MineArguments& arguments) {
  constexpr std::size_t usual_size = 2, usual_width = 8;
  try {
    return enumerate_terms(enumerable_operators(words_of(arguments.operators)),
                           arguments.size.value_or(usual_size), arguments.width.value_or(usual_width));
  } catch (const std::invalid_argument& e) {
    refuse_value("--operators", e.what());
  }
}

int run(const MineArguments& arguments) {
  const bool has_scripts = arguments.operators.empty();
  std::vector<Sample> samples;
  std::optional<Corpus> corpus;
  if (has_scripts) {
    corpus.emplace(arguments.paths);
  } else {
    samples = enumerated(arguments);
  }
  std::optional<CoqProver> prover;
  if (arguments.coq) {
    try {
      prover.emplace();
    } catch (const CoqFault& e) {
      say("quarv: error: {}\n", e.what());
      return failure;
    }
  }
  Output output(arguments.output);
  MineReport report = mine(arguments.how, corpus ? &*corpus : nullptr, std::move(samples));
  if (has_scripts && report.ended_early.empty() && report.unreadable == report.scripts) {
    say("quarv: error: there is no script that can be read\n");
    return failure;
  }
  if (prover && report.signal == 0) prove_with_coq(report, *prover, arguments.how.jobs);
  write(report, has_scripts, output.stream());
  output.commit();
  summarize(report, has_scripts);
  if (report.ended_early.empty()) return success;
  say("quarv: {}; what was found until then is written{}\n", report.ended_early,
      arguments.how.state.empty() ? "" : ", and the same command goes on from " + arguments.how.state);
  if (report.signal != 0) std::raise(report.signal);
  return report.ended_early.starts_with("the time") ? success : failure;
}

}  // namespace

void add_rules_mine(const CommandLine& rules, int& status) {
  const CommandLine command = rules.subcommand("mine", "Find rules that make scripts smaller");
  const auto arguments = std::make_shared<MineArguments>();
  arguments->how.jobs = std::max(1u, std::thread::hardware_concurrency());
  command.footer(examples);
  command.option("PATH", arguments->paths, "Files, folders and archives").type("");
  command.option("-o,--output", arguments->output, "Where to write the rules; - is standard output")
      .type("FILE.rules")
      .shows_default();
  command
      .option("--operators", arguments->operators,
              "Instead of scripts: look at all terms of these operators, which are on bit-vectors of one "
              "width, or compare such")
      .type("OP,OP");
  command
      .option("--size", arguments->size,
              "The largest number of operators of a pattern; if omitted, 4, and 2 with --operators")
      .between(std::size_t{1}, std::size_t{6})
      .type("N");
  command
      .option(
          "--width", arguments->width,
          "With --operators: of how many bits the terms are; rules are made for all widths. If omitted, 8")
      .between(std::size_t{1}, std::size_t{64})
      .type("W");
  command.option("--solver", arguments->how.solver, "z3, cvc5, or a command that reads SMT-LIB 2")
      .shows_default();
  command.option("-j,--jobs", arguments->how.jobs, "How many threads, each with a solver, work side by side")
      .between(1U, 256U)
      .type("N")
      .shows_default();
  command.option("--timeout", arguments->how.timeout, "For each query at widths above 4, in seconds")
      .between(0.001, 1e6)
      .type("S")
      .shows_default();
  command
      .option("--time-limit", arguments->how.time_limit,
              "End after this time, in seconds; 0: when all is done")
      .not_negative()
      .type("S")
      .shows_default();
  command.flag("--coq", arguments->coq,
               "Also try to prove each rule for all widths, with Coq, and say so above it");
  command
      .option("--state", arguments->how.state,
              "Keep what is found out in this file, and go on from it if it is about the same scripts")
      .type("FILE");
  command.callback([arguments, &status] {
    if (!arguments->how.state.empty() && Output::is_same(arguments->how.state, arguments->output)) {
      refuse_value("--state", "the state and the rules would be written to one file");
    }
    if (arguments->operators.empty() == arguments->paths.empty()) {
      refuse_value("PATH", "name scripts to look at, or --operators");
    }
    if (arguments->width && arguments->operators.empty()) {
      refuse_value("--width", "goes with --operators; scripts have widths of their own");
    }
    arguments->how.most_operators = arguments->size.value_or(arguments->how.most_operators);
    status = run(*arguments);
  });
}

}  // namespace quarv::cli
