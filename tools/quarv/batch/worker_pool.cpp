#include "batch/worker_pool.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "io/file_error.h"

namespace quarv::cli {

namespace {

constexpr int interruptions[] = {SIGINT, SIGTERM, SIGHUP};

FileDescriptor memory_file(const char* name) {
  FileDescriptor file(memfd_create(name, MFD_CLOEXEC));
  if (!file) throw FileError("create", "a file in memory");
  return file;
}

/// Empties the file.
std::string take_contents(int file, std::size_t limit) {
  std::string text;
  char buffer[4096];
  for (ssize_t n; text.size() < limit; text.append(buffer, static_cast<std::size_t>(n))) {
    n = pread(file, buffer, sizeof buffer, static_cast<off_t>(text.size()));
    if (n <= 0) break;
  }
  if (ftruncate(file, 0) != 0 || lseek(file, 0, SEEK_SET) != 0) throw FileError("empty", "a file in memory");
  return text;
}

void limit_memory(std::uint64_t bytes) {
  if (bytes == 0) return;
  rlimit limit = {};
  getrlimit(RLIMIT_AS, &limit);
  limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, bytes);
  setrlimit(RLIMIT_AS, &limit);
}

}  // namespace

void TaskLog::add(std::string_view line) {
  std::string text(line);
  text += '\n';
  // A file in memory takes all at once.
  if (write(file_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw FileError("write", "a result");
  }
}

WorkerPool::WorkerPool(unsigned jobs, const BatchLimits& limits) : limits_(limits), slots_(jobs) {
  for (Slot& slot : slots_) {
    slot.log = memory_file("quarv-task");
    slot.errors = memory_file("quarv-errors");
  }
  std::signal(SIGCHLD, SIG_DFL);
  sigemptyset(&awaited_);
  sigaddset(&awaited_, SIGCHLD);
  for (int signal : interruptions) {
    struct sigaction action;
    sigaction(signal, nullptr, &action);
    if (action.sa_handler != SIG_IGN) sigaddset(&awaited_, signal);
  }
  sigprocmask(SIG_BLOCK, &awaited_, &old_mask_);
}

void WorkerPool::end_all() noexcept {
  for (Slot& slot : slots_) {
    if (slot.process < 0) continue;
    kill(slot.process, SIGKILL);
    while (waitpid(slot.process, nullptr, 0) < 0 && errno == EINTR) {
    }
    slot.process = -1;
  }
}

void WorkerPool::release_signals() noexcept {
  sigprocmask(SIG_SETMASK, &old_mask_, nullptr);
}

void WorkerPool::start(std::size_t task, const std::function<void(TaskLog&)>& work) {
  Slot& slot = *std::find_if(slots_.begin(), slots_.end(), [](const Slot& s) { return s.process < 0; });
  slot.task = task;
  slot.timed_out = false;
  slot.started = Clock::now();
  const pid_t parent = getpid();
  slot.process = fork();
  if (slot.process < 0) throw std::system_error(errno, std::generic_category(), "cannot start a process");
  if (slot.process == 0) run(slot, work, parent);
  ++num_running_;
}

void WorkerPool::run(Slot& slot, const std::function<void(TaskLog&)>& work, pid_t parent) const {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);  // it ended before it could take this process along
  // A key that interrupts reaches all processes of the terminal. It is for the first one to end the others.
  for (int signal : interruptions) std::signal(signal, SIG_IGN);
  sigprocmask(SIG_SETMASK, &old_mask_, nullptr);
  dup2(slot.errors.get(), STDERR_FILENO);
  limit_memory(limits_.bytes);
  int status = 0;
  try {
    TaskLog log(slot.log.get());
    work(log);
  } catch (const std::exception& e) {
    std::fputs(e.what(), stderr);
    status = 1;
  }
  std::fflush(stderr);
  _exit(status);  // without the exit handlers that the first process has registered
}

std::optional<Ending> WorkerPool::reap() {
  constexpr std::size_t most_errors = 4096;
  for (Slot& slot : slots_) {
    int status;
    rusage usage;
    if (slot.process < 0 || wait4(slot.process, &status, WNOHANG, &usage) != slot.process) continue;
    slot.process = -1;
    --num_running_;
    const bool exited = WIFEXITED(status);
    Ending ending;
    ending.task = slot.task;
    ending.kind = exited ? Ending::Kind::exited : Ending::Kind::killed;
    if (!exited && slot.timed_out) ending.kind = Ending::Kind::time_limit;
    ending.code = exited ? WEXITSTATUS(status) : WTERMSIG(status);
    ending.log = take_contents(slot.log.get(), std::string::npos);
    ending.errors = take_contents(slot.errors.get(), most_errors);
    ending.seconds = std::chrono::duration<double>(Clock::now() - slot.started).count();
    ending.peak_memory = static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
    return ending;
  }
  return std::nullopt;
}

void WorkerPool::enforce_time_limit() {
  if (limits_.seconds == 0) return;
  const Clock::time_point now = Clock::now();
  for (Slot& slot : slots_) {
    if (slot.process < 0 || slot.timed_out) continue;
    if (std::chrono::duration<double>(now - slot.started).count() < limits_.seconds) continue;
    slot.timed_out = true;
    kill(slot.process, SIGKILL);
  }
}

WorkerPool::Clock::time_point WorkerPool::next_deadline() const {
  Clock::time_point next = Clock::time_point::max();
  if (limits_.seconds == 0) return next;
  const auto limit =
      std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(limits_.seconds));
  for (const Slot& slot : slots_) {
    if (slot.process >= 0 && !slot.timed_out) next = std::min(next, slot.started + limit);
  }
  return next;
}

std::optional<Ending> WorkerPool::wait(std::chrono::milliseconds patience) {
  const Clock::time_point end = Clock::now() + patience;
  for (;;) {
    if (std::optional<Ending> ending = reap()) return ending;
    enforce_time_limit();
    const Clock::time_point now = Clock::now();
    if (now >= end || interrupted_ != 0) return std::nullopt;
    const auto pause = std::chrono::duration_cast<std::chrono::nanoseconds>(
        std::max(std::min(end, next_deadline()) - now, Clock::duration(std::chrono::milliseconds(1))));
    constexpr std::int64_t second = 1'000'000'000;
    const timespec time = {static_cast<time_t>(pause.count() / second),
                           static_cast<long>(pause.count() % second)};
    const int signal = sigtimedwait(&awaited_, nullptr, &time);
    if (signal > 0 && signal != SIGCHLD) interrupted_ = signal;
  }
}

}  // namespace quarv::cli
