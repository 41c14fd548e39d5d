// Reads a script through z3's C interface, simplifies each assertion, prints it. What each phase took goes to
// standard error as it ends, one JSON object a line, in the form of `quarv simplify --stats=json`.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>
#include <z3.h>

namespace {

using Clock = std::chrono::steady_clock;

void fail(Z3_context context, Z3_error_code code) {
  std::fprintf(stderr, "z3_driver: %s\n", Z3_get_error_msg(context, code));
  std::_Exit(1);
}

/// Ends a phase: reports it, and gives the time at which the next one starts.
Clock::time_point report(const char* phase, Clock::time_point start) {
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  std::fprintf(stderr, "{\"seconds\":{\"%s\":%.6f}}\n", phase, seconds);
  return Clock::now();
}

/// Number of distinct sub-terms.
std::size_t dag_size(Z3_context context, const std::vector<Z3_ast>& roots) {
  std::vector<bool> seen;
  std::vector<Z3_ast> pending;
  std::size_t count = 0;
  const auto visit = [&](Z3_ast t) {
    const unsigned id = Z3_get_ast_id(context, t);
    if (id >= seen.size()) seen.resize(2 * static_cast<std::size_t>(id) + 1);
    if (seen[id]) return;
    seen[id] = true;
    ++count;
    pending.push_back(t);
  };
  for (Z3_ast t : roots) visit(t);
  while (!pending.empty()) {
    const Z3_ast t = pending.back();
    pending.pop_back();
    if (!Z3_is_app(context, t)) continue;
    const Z3_app application = Z3_to_app(context, t);
    for (unsigned i = 0; i < Z3_get_app_num_args(context, application); ++i) {
      visit(Z3_get_app_arg(context, application, i));
    }
  }
  return count;
}

std::vector<Z3_ast> read(Z3_context context, const char* file) {
  const Z3_ast_vector assertions =
      Z3_parse_smtlib2_file(context, file, 0, nullptr, nullptr, 0, nullptr, nullptr);
  Z3_ast_vector_inc_ref(context, assertions);  // never released: the process ends soon
  std::vector<Z3_ast> terms;
  for (unsigned i = 0; i < Z3_ast_vector_size(context, assertions); ++i) {
    terms.push_back(Z3_ast_vector_get(context, assertions, i));
  }
  return terms;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
    std::puts(Z3_get_full_version());
    return 0;
  }
  if (argc != 2) {
    std::fputs("usage: z3_driver FILE.smt2\n", stderr);
    return 2;
  }
  const Z3_config configuration = Z3_mk_config();
  const Z3_context context = Z3_mk_context_rc(configuration);
  Z3_set_error_handler(context, fail);
  Z3_set_ast_print_mode(context, Z3_PRINT_SMTLIB2_COMPLIANT);

  Clock::time_point start = Clock::now();
  std::vector<Z3_ast> terms = read(context, argv[1]);
  start = report("read", start);
  std::fprintf(stderr, "{\"terms\":{\"before\":%zu}}\n", dag_size(context, terms));

  start = Clock::now();
  for (Z3_ast& t : terms) {
    t = Z3_simplify(context, t);
    Z3_inc_ref(context, t);
  }
  start = report("simplify", start);
  std::fprintf(stderr, "{\"terms\":{\"after\":%zu}}\n", dag_size(context, terms));

  start = Clock::now();
  for (Z3_ast t : terms) std::puts(Z3_ast_to_string(context, t));
  std::fflush(stdout);
  report("print", start);
  std::_Exit(0);  // taking everything down is no part of the work
}
