#include "rules/coq/coq_prover.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <system_error>

#include <fmt/core.h>

#include "rule_theorems/statement_writer.h"
#include "rules/coq/coq_library.h"

extern char** environ;

namespace quarv::cli {

namespace fs = std::filesystem;

namespace {

/// Exit status of a shell that does not find a program.
constexpr int not_found = 127;

/// Compiles a file of the folder, with what Coq says in a file beside it. Returns the exit status.
int run_coqc(const fs::path& folder, const std::string& name) {
  std::string script =
      "ulimit -t 60; cd \"$0\" && exec coqc -q -Q . Quarv \"$1.v\" > \"$1.log\" 2>&1 < /dev/null";
  std::string shell = "/bin/sh", option = "-c", where = folder.string(), what = name;
  std::array<char*, 6> arguments = {shell.data(), option.data(), script.data(),
                                    where.data(), what.data(),   nullptr};
  pid_t process = -1;
  if (posix_spawn(&process, shell.c_str(), nullptr, nullptr, arguments.data(), environ) != 0)
    return not_found;
  int status = 0;
  while (waitpid(process, &status, 0) < 0) {
    if (errno != EINTR) return not_found;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

std::string contents(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace

CoqProver::CoqProver() {
  std::string pattern = (fs::temp_directory_path() / "quarv-coq-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) {
    throw CoqFault(fmt::format("no temporary folder: {}", std::generic_category().message(errno)));
  }
  folder_ = pattern;
  try {
    for (const CoqFile& file : coq_library()) {
      std::ofstream(folder_ / fmt::format("{}.v", file.name)) << file.text;
      const int status = run_coqc(folder_, std::string(file.name));
      if (status == not_found) throw CoqFault("Coq is not installed: there is no program coqc");
      if (status != 0) throw CoqFault(fmt::format("Coq does not accept the lemmas of {}.v", file.name));
    }
  } catch (...) {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
    throw;
  }
}

CoqProver::~CoqProver() {
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

bool CoqProver::compile(const std::string& name, const std::string& text) const {
  std::ofstream(folder_ / (name + ".v")) << text;
  return run_coqc(folder_, name) == 0;
}

bool CoqProver::proves(const rules::Rule& rule, std::size_t number) const {
  if (!rules::is_in_qf_bv(rule)) return false;
  const std::string statement = fmt::format("Statement{}", number);
  const std::string theorem = fmt::format("Theorem{}", number);
  // The statement is a file of its own: in it the names of lemmas mean nothing.
  return compile(statement,
                 "From Coq Require Import ZArith Bool.\nFrom Quarv Require Import Bv.\n"
                 "Local Open Scope Z_scope.\n" +
                     rule_theorems::statement(rule, number).text) &&
         compile(theorem,
                 fmt::format("From Coq Require Import ZArith Bool Lia.\n"
                             "From Quarv Require Import Bv Lemmas Tactics {}.\n"
                             "Theorem proof : holds_{}.\nProof. rule. Qed.\nPrint Assumptions proof.\n",
                             statement, number)) &&
         contents(folder_ / (theorem + ".log")) == "Closed under the global context\n";
}

}  // namespace quarv::cli
