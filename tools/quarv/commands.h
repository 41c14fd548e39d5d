#pragma once

namespace CLI {
class App;
}

namespace quarv::cli {

/// What the program answers to the shell.
enum ExitStatus : int { success = 0, failure = 1, usage_error = 2 };

// Each adds one subcommand; when the command line names it, it runs and leaves its answer in `status`.

void add_simplify(CLI::App& program, int& status);
void add_explain(CLI::App& program, int& status);
void add_repl(CLI::App& program, int& status);
void add_certify(CLI::App& program, int& status);
void add_batch(CLI::App& program, int& status);
void add_report(CLI::App& program, int& status);
void add_replay(CLI::App& program, int& status);
void add_rules(CLI::App& program, int& status);
/// A subcommand of `rules`.
void add_rules_check(CLI::App& rules, int& status);

}  // namespace quarv::cli
