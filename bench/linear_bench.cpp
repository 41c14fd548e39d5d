// Normalising sums of many monomials, and atoms of the size that real files have.
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

namespace {

using namespace quarv;

struct Manager {
  Manager() {
    termsimpl::register_standard_simplifications(&mgr, &simplifier);
    mgr.set_simplifier(&simplifier);
  }

  const Term* times(long c, const Term* t) {
    const Term* const numeral = mgr.make_number(QNumber(c));
    return mgr.make_times(numeral, t);
  }

  /// c1 * x1, c2 * x2, ..., shuffled.
  std::vector<const Term*> summands(long n) {
    std::vector<const Term*> result;
    for (long i = 0; i < n; ++i) {
      std::string name = "x";
      name += std::to_string(i);
      result.push_back(times(1 + i % 7, mgr.make_constant(name, mgr.int_type)));
    }
    std::shuffle(result.begin(), result.end(), std::mt19937_64(1));
    return result;
  }

  TermManager mgr;
  StdTermSimplifier simplifier;
};

const Term* left_nested(TermManager& mgr, std::vector<const Term*> summands) {
  const Term* sum = summands[0];
  for (std::size_t i = 1; i < summands.size(); ++i) {
    sum = mgr.do_make_term(mgr.int_plus_symbol, {sum, summands[i]});
  }
  return sum;
}

const Term* right_nested(TermManager& mgr, std::vector<const Term*> summands) {
  const Term* sum = summands[0];
  for (std::size_t i = 1; i < summands.size(); ++i) {
    sum = mgr.do_make_term(mgr.int_plus_symbol, {summands[i], sum});
  }
  return sum;
}

const Term* balanced(TermManager& mgr, std::vector<const Term*> summands) {
  while (summands.size() > 1) {
    std::vector<const Term*> sums;
    for (std::size_t i = 0; i + 1 < summands.size(); i += 2) {
      sums.push_back(mgr.make_plus(summands[i], summands[i + 1]));
    }
    if (summands.size() % 2 != 0) sums.push_back(summands.back());
    summands.swap(sums);
  }
  return summands[0];
}

template <const Term* (*shape)(TermManager&, std::vector<const Term*>)>
void sum_atom(benchmark::State& state) {
  Manager m;
  const Term* const sum = shape(m.mgr, m.summands(state.range(0)));
  const Term* const zero = m.mgr.make_number(QNumber());
  for (auto _ : state) benchmark::DoNotOptimize(m.mgr.make_leq(sum, zero));
  state.SetComplexityN(state.range(0));
}
BENCHMARK(sum_atom<left_nested>)->RangeMultiplier(10)->Range(10, 1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(sum_atom<right_nested>)->RangeMultiplier(10)->Range(10, 1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(sum_atom<balanced>)->RangeMultiplier(10)->Range(10, 1000000)->Unit(benchmark::kMicrosecond);

/// x1 = x0 + x0, x2 = x1 + x1, ...: as many paths as 2^levels.
void doubling_atom(benchmark::State& state) {
  Manager m;
  const Term* sum = m.mgr.make_plus(m.mgr.make_constant("x", m.mgr.int_type), m.mgr.make_number(QNumber(1)));
  for (long level = 0; level < state.range(0); ++level) sum = m.mgr.make_plus(sum, sum);
  const Term* const zero = m.mgr.make_number(QNumber());
  for (auto _ : state) benchmark::DoNotOptimize(m.mgr.make_leq(sum, zero));
}
BENCHMARK(doubling_atom)->Arg(20)->Arg(200)->Arg(2000)->Unit(benchmark::kMicrosecond);

/// x - y <= c, the atom of difference logic.
void difference_atom(benchmark::State& state) {
  Manager m;
  const Term* const x = m.mgr.make_constant("x", m.mgr.int_type);
  const Term* const y = m.mgr.make_constant("y", m.mgr.int_type);
  const Term* const difference = m.mgr.make_plus(x, m.times(-1, y));
  const Term* const bound = m.mgr.make_number(QNumber(17));
  for (auto _ : state) benchmark::DoNotOptimize(m.mgr.make_leq(difference, bound));
}
BENCHMARK(difference_atom);

/// f(2 + x)
void application(benchmark::State& state) {
  Manager m;
  const Symbol* const f = m.mgr.declare_fun("f", {m.mgr.int_type}, m.mgr.int_type);
  const Term* const x = m.mgr.make_constant("x", m.mgr.int_type);
  const Term* const sum = m.mgr.make_plus(m.mgr.make_number(QNumber(2)), x);
  for (auto _ : state) benchmark::DoNotOptimize(m.mgr.make_term(f, {sum}));
}
BENCHMARK(application);

}  // namespace

BENCHMARK_MAIN();
