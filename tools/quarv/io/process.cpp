#include "io/process.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace quarv::cli {

namespace {

bool closed_pipe_is_an_error = false;

/// A closed standard file is replaced by one that fails whenever it is used, as a closed one does.
void occupy_standard_files() {
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(fd, F_GETFD) != -1 || errno != EBADF) continue;
    // The lowest free number is this one, as those below it have been looked at.
    if (open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY) != fd) std::_Exit(1);
  }
}

}  // namespace

void prepare_process() {
  occupy_standard_files();
  // Writing fails then, and what is half-written is removed on the way out.
  closed_pipe_is_an_error = std::signal(SIGPIPE, SIG_IGN) == SIG_IGN;
  std::signal(SIGXFSZ, SIG_IGN);
}

void end_by_closed_pipe() {
  if (closed_pipe_is_an_error) return;
  std::signal(SIGPIPE, SIG_DFL);
  std::raise(SIGPIPE);
}

}  // namespace quarv::cli
