#pragma once

#include <chrono>
#include <string>
#include <sys/types.h>

#include "file_descriptor.h"

namespace quarv::cli {

/// An SMT solver that reads commands from its standard input and answers on its standard output.
class SolverProcess {
 public:
  enum class Answer { sat, unsat, unknown };

  /// "z3", "cvc5", or a shell command. Nothing runs before the first query.
  explicit SolverProcess(std::string solver) : solver_(std::move(solver)) {}
  ~SolverProcess() { stop(); }
  SolverProcess(const SolverProcess&) = delete;
  SolverProcess& operator=(const SolverProcess&) = delete;

  /// Forgets all earlier queries and answers whether `commands`, declarations and assertions of the logic
  /// QF_BV, can be satisfied. When it takes longer than `limit`, the process is replaced and the answer is
  /// unknown. Throws std::runtime_error when the solver cannot be run or says something else.
  Answer check(const std::string& commands, std::chrono::milliseconds limit);

  /// The value of a term in the model of the last query, which was satisfiable, as the solver writes it.
  std::string value(const std::string& term);

 private:
  void start();
  void stop() noexcept;
  bool send(const std::string& text, std::chrono::steady_clock::time_point deadline);
  bool receive(std::string& answer, std::chrono::steady_clock::time_point deadline);
  [[noreturn]] void fail(const std::string& reason);

  std::string solver_;
  pid_t process_ = -1;
  FileDescriptor to_;
  FileDescriptor from_;
  std::string received_;  // text not yet taken
};

}  // namespace quarv::cli
