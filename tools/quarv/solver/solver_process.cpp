#include "solver/solver_process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

#include "solver/s_expressions.h"

extern char** environ;

namespace quarv::cli {

namespace {

using Clock = std::chrono::steady_clock;

std::vector<std::string> command_line(const std::string& solver) {
  if (solver == "z3") return {"z3", "-in"};
  if (solver == "cvc5") return {"cvc5", "--incremental", "--lang=smt2"};
  return {"/bin/sh", "-c", "exec " + solver};
}

/// Waits until the descriptor is ready; false when the time is over.
bool wait_for(int descriptor, short events, Clock::time_point deadline) {
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    pollfd entry = {descriptor, events, 0};
    const int ready = poll(&entry, 1, left > 0 ? static_cast<int>(left) + 1 : 0);
    if (ready > 0) return true;
    if (ready == 0) return false;
    if (errno != EINTR) throw std::system_error(errno, std::generic_category(), "cannot wait for the solver");
  }
}

/// More than any model that is asked for; less than what an endless answer may take of memory.
constexpr std::size_t longest_answer = std::size_t{1} << 26;

/// An answer within a message.
std::string excerpt(const std::string& answer) {
  constexpr std::size_t longest = 200;
  std::string text = answer.substr(0, longest);
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < ' ') c = ' ';
  }
  return answer.size() > longest ? text + " ..." : text;
}

}  // namespace

void SolverProcess::fail(const std::string& reason) {
  stop();
  throw SolverError("the solver " + solver_ + ' ' + reason);
}

void SolverProcess::start() {
  // Closed in every process that is started meanwhile, so that each solver sees the end of its input.
  std::array<int, 2> input{}, output{};
  if (pipe2(input.data(), O_CLOEXEC) != 0) fail("cannot be run: no pipe");
  FileDescriptor child_in(input[0]);
  to_ = FileDescriptor(input[1]);
  if (pipe2(output.data(), O_CLOEXEC) != 0) fail("cannot be run: no pipe");
  from_ = FileDescriptor(output[0]);
  FileDescriptor child_out(output[1]);
  fcntl(input[1], F_SETFL, O_NONBLOCK);

  std::vector<std::string> words = command_line(solver_);
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  const int error = posix_spawnp(&process_, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) {
    process_ = -1;
    fail("cannot be run: " + std::generic_category().message(error));
  }
}

void SolverProcess::stop() noexcept {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
  process_ = -1;
  to_ = FileDescriptor();
  from_ = FileDescriptor();
  received_.clear();
  progress_ = {};
}

bool SolverProcess::send(const std::string& text, Clock::time_point deadline) {
  for (std::size_t sent = 0; sent < text.size();) {
    if (!wait_for(to_.get(), POLLOUT, deadline)) return false;
    const ssize_t n = write(to_.get(), text.data() + sent, text.size() - sent);
    if (n > 0) {
      sent += static_cast<std::size_t>(n);
    } else if (errno == EPIPE) {
      return true;  // it has ended, perhaps with a message that is still to be received
    } else if (errno != EINTR && errno != EAGAIN) {
      fail("cannot be written to: " + std::generic_category().message(errno));
    }
  }
  return true;
}

/// Whether a word on a line has come, or a term with its parentheses closed.
bool SolverProcess::is_answer_complete() {
  auto& [length, depth, quote] = progress_;
  while (length < received_.size()) {
    const char c = received_[length++];
    if (quote != 0) {
      if (c == quote) quote = 0;
      continue;
    }
    if (c == '"' || c == '|') quote = c;
    if (c == '(') ++depth;
    if (c == ')' && depth > 0) --depth;
    if (c == '\n' && depth == 0) return true;
  }
  return false;
}

bool SolverProcess::receive(std::string& answer, Clock::time_point deadline) {
  while (!is_answer_complete()) {
    // One that never stops talking keeps its pipe ready.
    if (Clock::now() >= deadline || !wait_for(from_.get(), POLLIN, deadline)) return false;
    std::array<char, 4096> buffer;
    const ssize_t n = read(from_.get(), buffer.data(), buffer.size());
    if (n == 0) fail("ended before it had answered");
    if (n > 0) received_.append(buffer.data(), static_cast<std::size_t>(n));
    if (received_.size() > longest_answer) fail("gave too long an answer: " + excerpt(received_));
  }
  answer = received_.substr(0, progress_.length - 1);
  received_.erase(0, progress_.length);
  progress_ = {};
  return true;
}

std::optional<std::string> SolverProcess::run(const std::string& script, std::chrono::milliseconds limit) {
  if (process_ < 0) start();
  const Clock::time_point deadline = Clock::now() + limit;
  const std::string mark = "script " + std::to_string(++num_scripts_);
  std::string answer;
  if (!send("(reset)\n" + script + "(echo \"" + mark + "\")\n", deadline) || !receive(answer, deadline)) {
    stop();
    return std::nullopt;
  }
  if (answer == "sat" || answer == "unsat" || answer == "unknown") {
    expect_mark(answer, mark, deadline);
  } else {
    // After an error there may be more to come, which would be taken for an answer to the next script.
    stop();
  }
  return answer;
}

/// The next answer would otherwise be taken for one to the next script.
void SolverProcess::expect_mark(const std::string& answer, const std::string& mark,
                                Clock::time_point deadline) {
  // An answer that came in the last moment is one: only a solver that says no more at all is refused.
  constexpr std::chrono::seconds patience(10);
  deadline = std::max(deadline, Clock::now() + patience);
  std::string echoed;
  try {
    if (!receive(echoed, deadline)) fail("answered " + answer + " and then did not echo " + mark);
  } catch (const SolverError&) {
    if (answer == "sat") return;  // for doubts that is enough
    throw;
  }
  // Some put strings in quotes.
  if (echoed != mark && echoed != '"' + mark + '"')
    fail("answered " + excerpt(answer + ", " + echoed) + " to a single query");
}

std::optional<std::string> SolverProcess::ask(const std::string& command) {
  constexpr std::chrono::seconds limit(20);
  if (process_ < 0) return std::nullopt;
  const Clock::time_point deadline = Clock::now() + limit;
  std::string answer;
  if (send(command + '\n', deadline) && receive(answer, deadline)) return answer;
  stop();
  return std::nullopt;
}

void SolverProcess::test(std::chrono::milliseconds limit) {
  const auto expect = [&](const char* commands, Answer right, const std::string& fact) {
    const Answer answer = check(commands, limit);
    if (answer == Answer::unknown) fail("does not answer whether " + fact);
    if (answer != right) fail("does not know that " + fact);
  };
  expect("(assert false)\n", Answer::unsat, "false cannot be satisfied");
  expect("(declare-const x Bool)\n(assert x)\n", Answer::sat, "a constant can be true");
}

SolverProcess::Answer SolverProcess::check(const std::string& commands, std::chrono::milliseconds limit,
                                           const char* logic) {
  const std::optional<std::string> answer =
      run(std::string("(set-option :produce-models true)\n(set-logic ") + logic + ")\n" + commands +
              "(check-sat)\n",
          limit);
  if (!answer || answer == "unknown" || answer == "timeout") return Answer::unknown;
  if (answer == "sat") return Answer::sat;
  if (answer == "unsat") return Answer::unsat;
  fail("answered " + excerpt(*answer));
}

std::string SolverProcess::value(const std::string& term) {
  const std::optional<std::string> answer = ask("(get-value (" + term + "))");
  if (!answer) fail("gave no model");
  // "((term value))"
  const std::vector<std::string_view> pairs = items(*answer);
  const std::vector<std::string_view> pair = items(pairs.empty() ? std::string_view() : pairs[0]);
  if (pairs.size() != 1 || pair.size() != 2) fail("answered " + excerpt(*answer));
  return one_line(pair[1], answer->size());
}

}  // namespace quarv::cli
