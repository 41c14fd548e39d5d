// Would `quarv batch` gain from threads? Simplifies each of the files once: in threads that take the next
// file when they are done with one, and in a process for each file, as many at a time. Of the repetitions the
// fastest counts; processor time says more than elapsed time on a busy machine.
//
//     threads_or_processes REPETITIONS FILE...
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <quarv/smtlib.h>

namespace {

using Texts = std::vector<std::string>;

void simplify(const std::string& text) {
  try {
    std::ostringstream out;
    quarv::smtlib::simplify_script(text, "in.smt2", out, {});
  } catch (const std::exception&) {  // what is not a script costs what it costs
  }
}

void in_threads(const Texts& texts, std::size_t jobs) {
  std::atomic<std::size_t> next = 0;
  const auto work = [&texts, &next] {
    for (std::size_t i = next++; i < texts.size(); i = next++) simplify(texts[i]);
  };
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < jobs; ++i) threads.emplace_back(work);
  for (std::thread& t : threads) t.join();
}

void in_processes(const Texts& texts, std::size_t jobs) {
  std::size_t running = 0;
  for (const std::string& text : texts) {
    if (running == jobs) {
      wait(nullptr);
    } else {
      ++running;
    }
    if (fork() == 0) {
      simplify(text);
      _exit(0);
    }
  }
  while (wait(nullptr) > 0) {
  }
}

double processor_seconds() {
  double seconds = 0;
  for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage used{};
    getrusage(who, &used);
    for (const timeval& t : {used.ru_utime, used.ru_stime}) {
      seconds += static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
    }
  }
  return seconds;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  const int repetitions = std::atoi(argv[1]);
  Texts texts;
  for (int i = 2; i < argc; ++i) {
    std::ifstream file(argv[i]);
    texts.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  std::printf("%zu files\n%-12s %6s %12s %12s\n", texts.size(), "in", "jobs", "elapsed s", "processor s");
  struct Way {
    const char* name;
    void (*run)(const Texts&, std::size_t);
    std::size_t jobs;
    double elapsed = std::numeric_limits<double>::max();
    double processor = std::numeric_limits<double>::max();
  };
  Way ways[] = {{"threads", in_threads, 1},
                {"processes", in_processes, 1},
                {"threads", in_threads, 2},
                {"processes", in_processes, 2}};
  for (int k = 0; k < repetitions; ++k) {
    for (Way& way : ways) {  // in turn, so that what else the machine does meets them all
      const double before = processor_seconds();
      const auto start = std::chrono::steady_clock::now();
      way.run(texts, way.jobs);
      way.elapsed = std::min(way.elapsed,
                             std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
      way.processor = std::min(way.processor, processor_seconds() - before);
    }
  }
  for (const Way& way : ways)
    std::printf("%-12s %6zu %12.3f %12.3f\n", way.name, way.jobs, way.elapsed, way.processor);
}
