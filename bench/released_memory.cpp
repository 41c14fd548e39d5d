// Is memory after a release that of before? A million terms are built and simplified after a mark, and given
// back, again and again; what is in use afterwards is printed, as the manager counts it and as the system
// does.
//
//     released_memory [ROUNDS]
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

#include <quarv/smtlib.h>

namespace {

/// Kibibytes.
long resident() {
  long total = 0, pages = 0;
  std::ifstream("/proc/self/statm") >> total >> pages;
  return pages * (sysconf(_SC_PAGESIZE) / 1024);
}

/// Sums and products of words with constants, of which rules make others.
void build(quarv::Session& session) {
  quarv::TermManager& m = session.manager();
  const std::size_t before = m.num_terms();
  const quarv::DataType* word = m.get_bv_type(64);
  std::vector<const quarv::Term*> variables;
  for (int i = 0; i < 500; ++i) variables.push_back(session.constant("v" + std::to_string(i), word));
  for (unsigned long k = 1; m.num_terms() - before < 1'000'000; ++k) {
    const quarv::Term* constant = m.make_bv_number(quarv::QNumber(k * 1'000'003), 64);
    const quarv::Term* sum = m.make_bv_sub(variables[k % 500], constant);
    const quarv::Term* product = m.make_bv_mul(sum, variables[k * 7 % 499]);
    session.simplify(m.make_bv_ule(product, constant));
  }
}

void print(int round, quarv::Session& session, double seconds) {
  const quarv::TermMemory bytes = session.manager().memory();
  std::printf("%6d %9zu %12zu %12zu %12zu %14ld %9.2f\n", round, session.manager().num_terms(),
              bytes.terms / 1024, bytes.tables / 1024, bytes.total() / 1024, resident(), seconds);
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 100;
  quarv::Session session({.eager = false});
  std::printf("%6s %9s %12s %12s %12s %14s %9s\n", "round", "terms", "terms KiB", "tables KiB", "total KiB",
              "resident KiB", "s");
  print(0, session, 0);
  for (int round = 1; round <= rounds; ++round) {
    const auto start = std::chrono::steady_clock::now();
    const quarv::Session::Mark mark = session.mark();
    build(session);
    if (round == 1) print(round, session, 0);
    session.release(mark);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    if (round == 1 || round % 10 == 0) print(round, session, seconds.count());
  }
}
