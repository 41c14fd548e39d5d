#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/core.h>

#include "command_words.h"
#include "commands.h"
#include "io/command_line.h"
#include "io/output.h"
#include "io/process.h"
#include <quarv/numbers/gmp_bad_alloc.h>
#include <quarv/util/input_error.h>

namespace {

constexpr const char* examples = R"(Examples:
  quarv simplify query.smt2                 print the simplified script
  quarv simplify query.smt2 -o small.smt2   write it to a file, atomically
  quarv simplify - --stats < query.smt2     read standard input; print statistics
  quarv simplify query.smt2 -o small.smt2 --trace steps && quarv replay steps
                                            check every step that was made
  quarv explain query.smt2 --assert 2       show how the second assertion is simplified
  quarv batch queries -j 8 --out small --resume
                                            simplify all scripts of a folder
  quarv report small/results.jsonl -o small.html
                                            show the results
  quarv repl                                simplify terms as they are typed
  quarv certify query.smt2                  let z3 prove that the output means the same
  quarv rules check my.rules                let z3 check whether rules hold

Exit status: 0 on success, 1 for errors in the input, for errors of files and of memory, 2 for usage errors.)";

/// Writes one line on standard error; needs no memory.
int fail(const char* prefix, const char* message) {
  std::fputs(prefix, stderr);
  std::fputs(message, stderr);
  std::fputc('\n', stderr);
  return quarv::cli::failure;
}

/// Where an exception cannot be caught, lack of memory still ends with its message: while objects are
/// constructed before `main` begins. So this is installed before any of them. There may be no memory for an
/// exception either, as the C++ library's reserve is one of those objects: then there is none.
[[noreturn]] void end_uncaught() noexcept {
  bool out_of_memory = true;
  try {
    if (std::current_exception()) throw;
  } catch (const std::bad_alloc&) {
    out_of_memory = true;
  } catch (...) {
    out_of_memory = false;
  }
  if (out_of_memory) std::_Exit(fail("quarv: error: ", "out of memory"));
  std::abort();
}

[[gnu::constructor(101)]] void install_end_uncaught() {
  std::set_terminate(end_uncaught);
}

struct Command {
  std::string_view name;
  void (*add)(const quarv::cli::CommandLine& program, int& status);
};

constexpr Command commands[] = {{"simplify", quarv::cli::add_simplify}, {"explain", quarv::cli::add_explain},
                                {"batch", quarv::cli::add_batch},       {"report", quarv::cli::add_report},
                                {"repl", quarv::cli::add_repl},         {"certify", quarv::cli::add_certify},
                                {"replay", quarv::cli::add_replay},     {"rules", quarv::cli::add_rules}};

constexpr const char* version_text = "quarv " QUARV_VERSION;

/// The commands that tell of the program itself.
struct OwnCommands {
  std::optional<quarv::cli::CommandLine> help;
  std::optional<quarv::cli::CommandLine> version;
  std::vector<std::string> topic;  // of help

  void add(const quarv::cli::CommandLine& program) {
    help = program.subcommand("help", "Print the help of a command");
    help->option("COMMAND", topic, "The command; print an overview if omitted").type("");
    help->footer("Examples:\n  quarv help\n  quarv help rules check     same as quarv rules check --help");
    version = program.subcommand("version", "Print the version");
    version->footer("Examples:\n  quarv version              same as quarv --version");
  }
};

/// Adds the command that is wanted. The others' options take longer to describe than many a script to
/// simplify; they are needed only when the first argument is not a command.
void add_commands(const quarv::cli::CommandLine& program, std::string_view wanted, int& status,
                  OwnCommands& own) {
  const Command* const known = std::ranges::find(commands, wanted, &Command::name);
  if (known != std::end(commands)) return known->add(program, status);
  for (const Command& command : commands) command.add(program, status);
  own.add(program);
}

int print(std::string_view text) {
  quarv::cli::Output output("-");
  output.stream() << text;
  output.commit();
  return quarv::cli::success;
}

int refuse(std::string_view reason) {
  quarv::cli::say("quarv: {}\n", reason);
  return quarv::cli::usage_error;
}

int print_help(const quarv::cli::CommandLine& program, const std::vector<std::string>& topic) {
  std::vector<const char*> words;
  words.reserve(topic.size());
  for (const std::string& word : topic) words.push_back(word.c_str());
  const quarv::cli::CommandWords command(program, words);
  return command.rest().empty() ? print(command.help()) : refuse(command.unknown());
}

int run(int argc, char** argv) {
  quarv::cli::Program program("Simplifies SMT-LIB 2 scripts without changing what they mean.", "quarv",
                              version_text);
  program.footer(examples);
  program.requires_subcommand();
  int status = quarv::cli::success;
  OwnCommands own;
  const std::vector<const char*> words(argv + std::min(argc, 1), argv + argc);
  add_commands(program, words.empty() ? "" : words.front(), status, own);
  const quarv::cli::CommandWords command(program, words);
  if (const std::string error = command.error(); !error.empty()) return refuse(error);
  using quarv::cli::Reading;
  const Reading reading = program.read(argc, argv);
  if (reading.kind == Reading::help) return print(program.help());
  if (reading.kind == Reading::version) return print(std::string(version_text) + '\n');
  if (reading.kind == Reading::error) {
    return refuse(fmt::format("{} (see {} --help)", reading.reason, command.path()));
  }
  if (own.version && own.version->is_named()) return print(std::string(version_text) + '\n');
  if (own.help && own.help->is_named()) {
    program.clear();  // or its help would be that of the command `help`
    return print_help(program, own.topic);
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  // An exception lets destructors remove what is half-written.
  const quarv::GmpBadAlloc gmp;
  quarv::cli::prepare_process();
  try {
    return run(argc, argv);
  } catch (const quarv::cli::ClosedPipe& e) {
    quarv::cli::end_by_closed_pipe();
    return fail("quarv: error: ", e.what());
  } catch (const quarv::InputError& e) {
    const int status = fail("", e.what());
    std::fputs(e.excerpt().c_str(), stderr);
    return status;
  } catch (const std::bad_alloc&) {
    return fail("quarv: error: ", "out of memory");
  } catch (const std::exception& e) {
    return fail("quarv: error: ", e.what());
  }
}
