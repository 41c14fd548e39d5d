#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <new>
#include <string>
#include <string_view>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <gmp.h>

#include "commands.h"
#include "output.h"
#include "process.h"
#include <quarv/smtlib/error.h>

namespace {

constexpr const char* examples = R"(Examples:
  quarv simplify query.smt2                 print the simplified script
  quarv simplify query.smt2 -o small.smt2   write it to a file, as a whole or not at all
  quarv simplify - --stats < query.smt2     read standard input; say what was done
  quarv simplify query.smt2 -o small.smt2 --trace steps && quarv replay steps
                                            check every step that was made
  quarv explain query.smt2 --assert 2       show how the second assertion is simplified
  quarv batch queries -j 8 --out small --resume
                                            simplify all scripts of a folder
  quarv report small/results.jsonl -o small.html
                                            show what became of them
  quarv repl                                simplify terms as they are typed
  quarv certify query.smt2                  let z3 prove that the output means the same
  quarv rules check my.rules                let z3 say whether rules hold

Exit status: 0 when all went well, 1 for faults of the input, of files and of memory, 2 for a wrong command line.)";

// GMP ends the process when memory is short. An exception lets destructors remove what is half-written; GMP
// is built with unwind tables wherever the platform's ABI demands them, as Debian's do.
void* allocate(std::size_t size) {
  if (void* const block = std::malloc(size)) return block;
  throw std::bad_alloc();
}

void* reallocate(void* block, std::size_t, std::size_t size) {
  if (void* const moved = std::realloc(block, size)) return moved;
  throw std::bad_alloc();
}

void release(void* block, std::size_t) {
  std::free(block);
}

/// Writes one line on standard error; needs no memory.
int fail(const char* prefix, const char* message) {
  std::fputs(prefix, stderr);
  std::fputs(message, stderr);
  std::fputc('\n', stderr);
  return quarv::cli::failure;
}

bool main_has_begun = false;

/// Where an exception cannot be caught, lack of memory still ends with its message: while objects are
/// constructed before `main` begins. So this is installed before any of them. At that time there may be no
/// memory for an exception either, as the C++ library's reserve is one of those objects.
[[noreturn]] void end_uncaught() noexcept {
  bool out_of_memory = !main_has_begun;
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
  void (*add)(CLI::App& program, int& status);
};

constexpr Command commands[] = {{"simplify", quarv::cli::add_simplify}, {"explain", quarv::cli::add_explain},
                                {"batch", quarv::cli::add_batch},       {"report", quarv::cli::add_report},
                                {"repl", quarv::cli::add_repl},         {"certify", quarv::cli::add_certify},
                                {"replay", quarv::cli::add_replay},     {"rules", quarv::cli::add_rules}};

/// Adds the command that is wanted. The others' options take longer to describe than many a script to
/// simplify; they are needed only when the first argument is no command.
void add_commands(CLI::App& program, std::string_view wanted, int& status) {
  const Command* const known = std::ranges::find(commands, wanted, &Command::name);
  if (known != std::end(commands)) return known->add(program, status);
  for (const Command& command : commands) command.add(program, status);
}

int print(std::string_view text) {
  quarv::cli::Output output("-");
  output.stream() << text;
  output.commit();
  return quarv::cli::success;
}

int run(int argc, char** argv) {
  CLI::App program("Simplifies SMT-LIB 2 scripts without changing what they mean.", "quarv");
  program.set_version_flag("--version", "quarv " QUARV_VERSION);
  program.footer(examples);
  program.require_subcommand(1);
  int status = quarv::cli::success;
  add_commands(program, argc > 1 ? argv[1] : "", status);
  try {
    program.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    return print(program.help());
  } catch (const CLI::CallForVersion& e) {
    return print(e.what() + std::string("\n"));
  } catch (const CLI::ParseError& e) {
    quarv::cli::say("quarv: {} (quarv --help tells more)\n", e.what());
    return quarv::cli::usage_error;
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  main_has_begun = true;
  mp_set_memory_functions(allocate, reallocate, release);
  quarv::cli::prepare_process();
  try {
    return run(argc, argv);
  } catch (const quarv::cli::ClosedPipe& e) {
    quarv::cli::end_by_closed_pipe();
    return fail("quarv: error: ", e.what());
  } catch (const quarv::smtlib::Error& e) {
    return fail("", e.what());
  } catch (const std::bad_alloc&) {
    return fail("quarv: error: ", "out of memory");
  } catch (const std::exception& e) {
    return fail("quarv: error: ", e.what());
  }
}
