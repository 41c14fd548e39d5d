#pragma once

namespace quarv::cli {

class CommandLine;

/// The program's exit status.
enum ExitStatus : int { success = 0, failure = 1, usage_error = 2 };

// Each adds one subcommand; when the command line names it, it runs and leaves its exit status in `status`.

void add_simplify(const CommandLine& program, int& status);
void add_explain(const CommandLine& program, int& status);
void add_repl(const CommandLine& program, int& status);
void add_certify(const CommandLine& program, int& status);
void add_batch(const CommandLine& program, int& status);
void add_report(const CommandLine& program, int& status);
void add_replay(const CommandLine& program, int& status);
void add_rules(const CommandLine& program, int& status);
/// Subcommands of `rules`.
void add_rules_check(const CommandLine& rules, int& status);
void add_rules_mine(const CommandLine& rules, int& status);

}  // namespace quarv::cli
