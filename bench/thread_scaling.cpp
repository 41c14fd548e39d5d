// Do threads with sessions of their own get in each other's way? Each simplifies and prints scripts; with one
// thread and with several. Beside the elapsed time, which says something only on an idle machine, it prints
// the processor time of a round, and how often a thread had to wait: locks and shared cache lines show there
// on a busy machine as well.
//
//     thread_scaling [ROUNDS [REPETITIONS]]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

#include <quarv/smtlib.h>

namespace {

/// Something of every theory, with numbers of one word and of several.
std::string script() {
  std::string text =
      "(declare-const x (_ BitVec 64))(declare-const y (_ BitVec 200))(declare-const i Int)(declare-const r "
      "Real)"
      "(declare-const f Float64)(declare-fun g (Int) Int)(declare-const a (Array Int (_ BitVec 64)))\n";
  for (int k = 1; k <= 300; ++k) {
    const std::string m = std::to_string(k * 1'000'003);
    text += "(assert (bvult (bvmul (bvadd x (_ bv" + m + " 64)) (bvnot x)) (bvurem (_ bv" + m +
            " 64) (bvneg x))))\n";
    text += "(assert (= (bvadd y (_ bv" + m + "987654321987654321 200)) (bvshl y (_ bv3 200))))\n";
    text += "(assert (<= (+ (* " + m + " i) (* 3 (g (+ i " + m + ")))) (mod " + m + " 7)))\n";
    text += "(assert (< (* (/ 7.0 " + m + ".0) r) (+ r (/ " + m + ".0 9.0))))\n";
    text += "(assert (fp.leq (fp.mul RNE ((_ to_fp 11 53) RNE (/ " + m + ".0 7.0)) f) (fp.add RNE f f)))\n";
    text += "(assert (= (select (store a i (bvneg x)) (+ i " + m + ")) (bvnot (bvnot x))))\n";
  }
  return text;
}

struct Used {
  double processor = 0;  // seconds
  long waits = 0;
};

Used rounds(const std::string& text, int n) {
  timespec before{}, after{};
  rusage start{}, end{};
  getrusage(RUSAGE_THREAD, &start);
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &before);
  for (int i = 0; i < n; ++i) {
    std::ostringstream out;
    quarv::smtlib::simplify_script(text, "in.smt2", out, {});
  }
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &after);
  getrusage(RUSAGE_THREAD, &end);
  constexpr double nano = 1e-9;
  return {static_cast<double>(after.tv_sec - before.tv_sec) +
              nano * static_cast<double>(after.tv_nsec - before.tv_nsec),
          end.ru_nvcsw - start.ru_nvcsw};
}

}  // namespace

int main(int argc, char** argv) {
  const int n = argc > 1 ? std::atoi(argv[1]) : 20;
  const int repetitions = argc > 2 ? std::atoi(argv[2]) : 5;
  const std::string text = script();
  std::printf("%8s %14s %14s %14s %8s\n", "threads", "elapsed s", "processor s", "to one thread", "waits");
  double alone = 0;
  for (const std::size_t num_threads : {1, 2, 4, 16}) {
    double elapsed = std::numeric_limits<double>::max();
    double processor = elapsed;  // of a thread
    long waits = std::numeric_limits<long>::max();
    for (int k = 0; k < repetitions; ++k) {
      std::vector<Used> used(num_threads);
      std::vector<std::thread> threads;
      const auto start = std::chrono::steady_clock::now();
      for (Used& u : used) threads.emplace_back([&u, &text, n] { u = rounds(text, n); });
      for (std::thread& t : threads) t.join();
      elapsed =
          std::min(elapsed, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
      double all = 0;
      long all_waits = 0;
      for (const Used& u : used) all += u.processor, all_waits += u.waits;
      processor = std::min(processor, all / static_cast<double>(num_threads));
      waits = std::min(waits, all_waits);
    }
    if (num_threads == 1) alone = processor;
    std::printf("%8zu %14.3f %14.3f %14.2f %8ld\n", num_threads, elapsed, processor, processor / alone,
                waits);
  }
}
