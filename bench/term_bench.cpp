// Building terms: new ones and ones that are already interned, plain and through the standard simplifiers,
// and numerals. Each iteration of a benchmark builds a batch of terms; `items_per_second` counts terms.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

namespace {

using quarv::QNumber;
using quarv::StdTermSimplifier;
using quarv::Term;
using quarv::TermManager;

using Terms = std::vector<const Term*>;

constexpr std::size_t batch = 1 << 20;

enum Mode { plain, simplified };

/// A manager with variables, and pairs of indices of variables in random order.
class Session {
 public:
  Session(Mode mode, std::size_t num_variables, const char* sort) {
    if (mode == simplified) {
      quarv::termsimpl::register_standard_simplifications(&manager, &simplifier);
      manager.set_simplifier(&simplifier);
    }
    const quarv::DataType* type = sort == std::string("Bool")  ? manager.bool_type
                                  : sort == std::string("Int") ? manager.int_type
                                                               : manager.get_bv_type(32);
    for (std::size_t i = 0; i < num_variables; ++i) {
      variables.push_back(manager.make_constant("x" + std::to_string(i), type));
    }
  }

  StdTermSimplifier simplifier;
  TermManager manager;
  Terms variables;
};

/// All pairs i < j of a size, so that `batch` of them are distinct under commutativity, in random order.
const std::vector<std::pair<unsigned, unsigned>>& pairs() {
  static const auto result = [] {
    std::vector<std::pair<unsigned, unsigned>> all;
    for (unsigned j = 1; all.size() < batch; ++j) {
      for (unsigned i = 0; i < j && all.size() < batch; ++i) all.emplace_back(i, j);
    }
    std::shuffle(all.begin(), all.end(), std::mt19937_64(1));
    return all;
  }();
  return result;
}

constexpr std::size_t num_variables = 1500;

const Term* make_and(TermManager& m, const Term* a, const Term* b) {
  return m.make_and(a, b);
}
const Term* make_bv_add(TermManager& m, const Term* a, const Term* b) {
  return m.make_bv_add(a, b);
}
const Term* make_equal(TermManager& m, const Term* a, const Term* b) {
  return m.make_equal(a, b);
}
const Term* make_plus(TermManager& m, const Term* a, const Term* b) {
  return m.make_plus(a, b);
}
const Term* do_make_term(TermManager& m, const Term* a, const Term* b) {
  return m.do_make_term(m.and_symbol, {a, b});
}

using Make = const Term* (*)(TermManager&, const Term*, const Term*);

void build(Session& session, Make make, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const auto [a, b] = pairs()[i];
    benchmark::DoNotOptimize(make(session.manager, session.variables[a], session.variables[b]));
  }
}

/// Terms that are not there yet, growth of arena and table included.
void New(benchmark::State& state, Make make, Mode mode, const char* sort) {
  const auto count = static_cast<std::size_t>(state.range(0));
  pairs();
  for (auto _ : state) {
    state.PauseTiming();
    auto session = std::make_unique<Session>(mode, num_variables, sort);
    state.ResumeTiming();
    build(*session, make, count);
    state.PauseTiming();
    session.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// The same terms again.
void Interned(benchmark::State& state, Make make, Mode mode, const char* sort) {
  const auto count = static_cast<std::size_t>(state.range(0));
  Session session(mode, num_variables, sort);
  build(session, make, count);
  for (auto _ : state) build(session, make, count);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// One chain, each term the argument of the next: memory is touched in order, as a reader does.
void NewChain(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto session = std::make_unique<Session>(plain, 1, "Bool");
    state.ResumeTiming();
    const Term* t = session->variables[0];
    for (std::size_t i = 0; i < batch; ++i) t = session->manager.make_not(t);
    benchmark::DoNotOptimize(t);
    state.PauseTiming();
    session.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(batch));
}

void NewNumerals(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto manager = std::make_unique<TermManager>();
    state.ResumeTiming();
    for (long i = 0; i < state.range(0); ++i)
      benchmark::DoNotOptimize(manager->make_bv_number(QNumber(i), 32));
    state.PauseTiming();
    manager.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void InternedNumerals(benchmark::State& state) {
  TermManager manager;
  const auto all = [&] {
    for (long i = 0; i < state.range(0); ++i)
      benchmark::DoNotOptimize(manager.make_bv_number(QNumber(i), 32));
  };
  all();
  for (auto _ : state) all();
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void InternedBigNumerals(benchmark::State& state) {
  TermManager manager;
  const QNumber base = QNumber::parse("340282366920938463463374607431768211456");
  std::vector<QNumber> values;
  for (long i = 0; i < state.range(0); ++i) values.push_back(base + QNumber(i));
  const auto all = [&] {
    for (const QNumber& v : values) benchmark::DoNotOptimize(manager.make_number(v));
  };
  all();
  for (auto _ : state) all();
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void NewManager(benchmark::State& state) {
  for (auto _ : state) {
    TermManager manager;
    benchmark::DoNotOptimize(manager.true_term);
  }
}

void StandardRegistration(benchmark::State& state) {
  TermManager manager;
  for (auto _ : state) {
    StdTermSimplifier simplifier;
    quarv::termsimpl::register_standard_simplifications(&manager, &simplifier);
    benchmark::DoNotOptimize(simplifier.normalizer.num_rules());
  }
}

constexpr std::int64_t small_batch = 1 << 14;
constexpr std::int64_t large_batch = batch;

struct Case {
  const char* name;
  Make make;
  Mode mode;
  const char* sort;
};

constexpr Case cases[] = {
    {"do_make_term", do_make_term, plain, "Bool"},           {"and/plain", make_and, plain, "Bool"},
    {"and/simplified", make_and, simplified, "Bool"},        {"bvadd/plain", make_bv_add, plain, "BitVec"},
    {"bvadd/simplified", make_bv_add, simplified, "BitVec"}, {"=/plain", make_equal, plain, "BitVec"},
    {"=/simplified", make_equal, simplified, "BitVec"},      {"+/plain", make_plus, plain, "Int"},
    {"+/simplified", make_plus, simplified, "Int"},
};

}  // namespace

int main(int argc, char** argv) {
  for (const Case& c : cases) {
    const std::string name(c.name);
    benchmark::RegisterBenchmark(("new/" + name).c_str(), New, c.make, c.mode, c.sort)
        ->Arg(small_batch)
        ->Arg(large_batch)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark(("interned/" + name).c_str(), Interned, c.make, c.mode, c.sort)
        ->Arg(small_batch)
        ->Arg(large_batch)
        ->Unit(benchmark::kMillisecond);
  }
  benchmark::RegisterBenchmark("new/chain of not", NewChain)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("new/numerals", NewNumerals)
      ->Arg(small_batch)
      ->Arg(large_batch)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("interned/numerals", InternedNumerals)
      ->Arg(small_batch)
      ->Arg(large_batch)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("interned/big numerals", InternedBigNumerals)
      ->Arg(small_batch)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("manager", NewManager)->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark("registration", StandardRegistration)->Unit(benchmark::kMicrosecond);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
