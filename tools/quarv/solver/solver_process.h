#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/types.h>

#include "io/file_descriptor.h"

namespace quarv::cli {

/// The solver cannot be run, ended before it had answered, or gave an unexpected answer.
class SolverError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// An SMT solver that reads commands from its standard input and replies on its standard output.
class SolverProcess {
 public:
  enum class Answer { sat, unsat, unknown };

  /// "z3", "cvc5", or a shell command. Nothing runs before the first query.
  explicit SolverProcess(std::string solver) : solver_(std::move(solver)) {}
  ~SolverProcess() { stop(); }
  SolverProcess(const SolverProcess&) = delete;
  SolverProcess& operator=(const SolverProcess&) = delete;

  /// Asks what cannot be satisfied and then what can: a solver must know both before anything it says is
  /// believed. Throws SolverError.
  void test(std::chrono::milliseconds limit);

  /// Forgets all earlier queries and returns whether `commands`, declarations and assertions of the
  /// logic, can be satisfied. When it takes longer than `limit`, the process is replaced and the answer is
  /// unknown. Throws SolverError when the solver cannot be run or says something else.
  Answer check(const std::string& commands, std::chrono::milliseconds limit, const char* logic = "QF_BV");

  /// Forgets all earlier commands, gives the solver a script of which one command replies, and returns what
  /// it says: a word, or an error message in parentheses. Nothing when that takes longer than `limit`. After
  /// anything but an answer to `check-sat` the process is replaced. Throws SolverError, also for more answers
  /// than one.
  std::optional<std::string> run(const std::string& script, std::chrono::milliseconds limit);

  /// The solver's answer to one more command; nothing when it takes too long, or did so before. Throws
  /// SolverError.
  std::optional<std::string> ask(const std::string& command);

  /// The value of a term in the model of the last query, which was satisfiable, as the solver writes it.
  std::string value(const std::string& term);

 private:
  void start();
  void stop() noexcept;
  /// How far the answer has been read that is being received.
  struct Progress {
    std::size_t length = 0;
    std::size_t depth = 0;  // of parentheses
    char quote = 0;         // the one that is open
  };

  bool send(const std::string& text, std::chrono::steady_clock::time_point deadline);
  bool receive(std::string& answer, std::chrono::steady_clock::time_point deadline);
  bool is_answer_complete();
  void expect_mark(const std::string& answer, const std::string& mark,
                   std::chrono::steady_clock::time_point deadline);
  [[noreturn]] void fail(const std::string& reason);

  std::string solver_;
  pid_t process_ = -1;
  FileDescriptor to_;
  FileDescriptor from_;
  std::string received_;  // text not yet taken
  Progress progress_;
  std::uint64_t num_scripts_ = 0;
};

}  // namespace quarv::cli
