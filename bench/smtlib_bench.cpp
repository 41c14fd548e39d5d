// Reading and printing SMT-LIB, in bytes a second. Reading builds the terms, with the simplifiers on.

#include <cstdint>
#include <sstream>
#include <string>

#include <benchmark/benchmark.h>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/simplify_script.h>

namespace quarv::smtlib {
namespace {

/// A small generator of numbers: the same inputs on every machine.
class Random {
 public:
  std::uint64_t below(std::uint64_t n) {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    return (state_ >> 33) % n;
  }

 private:
  std::uint64_t state_ = 1;
};

/// A straight-line program over 32-bit words, one definition an operation.
std::string bit_vector_program(int operations) {
  static constexpr const char* names[] = {"bvadd", "bvmul", "bvand", "bvor",
                                          "bvxor", "bvsub", "bvshl", "bvlshr"};
  Random random;
  std::string text = "(set-logic QF_BV)\n";
  for (int i = 0; i < 8; ++i) text += "(declare-const t" + std::to_string(i) + " (_ BitVec 32))\n";
  for (int i = 8; i < operations; ++i) {
    const std::string a = "t" + std::to_string(i - 1 - static_cast<int>(random.below(8)));
    const std::string b = "t" + std::to_string(random.below(static_cast<std::uint64_t>(i)));
    text += "(define-fun t" + std::to_string(i) + " () (_ BitVec 32) (" + names[random.below(8)] + ' ' + a +
            ' ' + b + "))\n";
  }
  return text + "(assert (= t0 t" + std::to_string(operations - 1) + "))\n";
}

/// Linear constraints over integers, four summands each.
std::string linear_constraints(int constraints) {
  Random random;
  std::string text = "(set-logic QF_LIA)\n";
  for (int i = 0; i < 1000; ++i) text += "(declare-const x" + std::to_string(i) + " Int)\n";
  for (int i = 0; i < constraints; ++i) {
    text += "(assert (<= (+";
    for (int k = 0; k < 4; ++k) {
      text +=
          " (* " + std::to_string(random.below(100) + 1) + " x" + std::to_string(random.below(1000)) + ')';
    }
    text += ") " + std::to_string(random.below(1000)) + "))\n";
  }
  return text;
}

using Generate = std::string (*)(int);

void read(benchmark::State& state, Generate generate, bool rules) {
  const std::string text = generate(static_cast<int>(state.range(0)));
  SimplifyOptions options = SimplifyOptions::normal_form();
  options.rules = rules;
  for (auto _ : state) {
    Session session(options);
    benchmark::DoNotOptimize(Reader(session).read_in_place(text, "bench.smt2"));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void write(benchmark::State& state, Generate generate) {
  const std::string text = generate(static_cast<int>(state.range(0)));
  Session session;
  const Script script = Reader(session).read_in_place(text, "bench.smt2");
  std::size_t bytes = 0;
  for (auto _ : state) {
    std::ostringstream out;
    bytes += print(session.manager(), script, out).bytes;
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
}

BENCHMARK_CAPTURE(read, bit_vectors_simplifiers, bit_vector_program, false)->Arg(1000)->Arg(100'000);
BENCHMARK_CAPTURE(read, bit_vectors_rules, bit_vector_program, true)->Arg(1000)->Arg(100'000);
BENCHMARK_CAPTURE(read, linear, linear_constraints, false)->Arg(1000)->Arg(100'000);
BENCHMARK_CAPTURE(write, bit_vectors, bit_vector_program)->Arg(1000)->Arg(100'000);
BENCHMARK_CAPTURE(write, linear, linear_constraints)->Arg(1000)->Arg(100'000);

}  // namespace
}  // namespace quarv::smtlib

BENCHMARK_MAIN();
