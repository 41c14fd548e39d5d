// Normalisation of bit-vector terms: large DAGs, deep terms, and what the rule index saves.

#include <cstdint>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

struct Layer {
  Layer() {
    termsimpl::register_standard_simplifications(&mgr, &simplifier);
    mgr.set_simplifier(&simplifier);
  }

  const Term* variable(int i) { return mgr.make_constant("v" + std::to_string(i), mgr.get_bv_type(32)); }

  TermManager mgr;
  StdTermSimplifier simplifier;
};

/// Operators as they occur in the verification conditions of programs.
constexpr SymbolTag::tag operators[] = {
    SymbolTag::BV_ADD, SymbolTag::BV_ADD, SymbolTag::BV_SUB, SymbolTag::BV_MUL, SymbolTag::BV_AND,
    SymbolTag::BV_OR,  SymbolTag::BV_XOR, SymbolTag::BV_LSL, SymbolTag::BV_LSR, SymbolTag::BV_UDIV};

/// A DAG of `size` random operations over earlier terms and numerals, closed by a balanced tree of sums, so
/// that all of them are below one root.
const Term* random_dag(Layer& layer, std::size_t size) {
  std::mt19937_64 random(1);
  std::vector<const Term*> terms;
  for (int i = 0; i < 100; ++i) terms.push_back(layer.variable(i));
  const auto pick = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
  const auto operand = [&] {
    if (pick(5) == 0) return layer.mgr.make_bv_number(static_cast<int>(pick(256)), 32);
    return terms[terms.size() - 1 - pick(std::min<std::size_t>(terms.size(), 1000))];
  };
  for (std::size_t i = 0; i < size / 2; ++i) {
    const Term* a = operand();
    const Term* b = operand();
    terms.push_back(
        layer.mgr.make_term(layer.mgr.make_bv_symbol(operators[pick(std::size(operators))], 32), {a, b}));
  }
  while (terms.size() > 1) {
    std::vector<const Term*> sums;
    for (std::size_t i = 0; i + 1 < terms.size(); i += 2)
      sums.push_back(layer.mgr.make_bv_udiv(terms[i], terms[i + 1]));
    if (terms.size() % 2 != 0) sums.push_back(terms.back());
    terms.swap(sums);
  }
  return terms[0];
}

/// A term `depth` operations deep.
const Term* deep_term(Layer& layer, std::size_t depth) {
  const Term* t = layer.variable(0);
  for (std::size_t i = 0; i < depth; ++i) {
    const Term* v = layer.variable(1 + static_cast<int>(i % 7));
    switch (i % 4) {
      case 0:
        t = layer.mgr.make_bv_sub(t, v);
        break;
      case 1:
        t = layer.mgr.make_bv_xor(t, v);
        break;
      case 2:
        t = layer.mgr.make_bv_not(t);
        break;
      default:
        t = layer.mgr.make_bv_urem(t, v);
        break;
    }
  }
  return t;
}

/// Resident memory in bytes.
double resident() {
  std::ifstream statm("/proc/self/statm");
  double total = 0, pages = 0;
  statm >> total >> pages;
  return pages * 4096;
}

void normalize(benchmark::State& state, const Term* (*make)(Layer&, std::size_t)) {
  const auto size = static_cast<std::size_t>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    auto layer = std::make_unique<Layer>();
    const Term* t = make(*layer, size);
    const double before = resident();
    const std::size_t terms_before = layer->mgr.num_terms();
    state.ResumeTiming();
    benchmark::DoNotOptimize(layer->simplifier.normalizer.normalize(&layer->mgr, t));
    state.PauseTiming();
    const auto& statistics = layer->simplifier.normalizer.statistics();
    const double visited = static_cast<double>(statistics.visited);
    state.counters["visited"] = visited;
    state.counters["new_terms"] = static_cast<double>(layer->mgr.num_terms() - terms_before);
    state.counters["applied/term"] = static_cast<double>(statistics.applied) / visited;
    state.counters["attempts/term"] = static_cast<double>(statistics.attempts) / visited;
    state.counters["bytes/term"] = (resident() - before) / visited;
    state.counters["budget_spent"] = static_cast<double>(statistics.budget_spent);
    layer.reset();
    state.ResumeTiming();
  }
}

void random_dag_bench(benchmark::State& state) {
  normalize(state, random_dag);
}
void deep_term_bench(benchmark::State& state) {
  normalize(state, deep_term);
}
BENCHMARK(random_dag_bench)->RangeMultiplier(10)->Range(10000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(deep_term_bench)->RangeMultiplier(10)->Range(10000, 1000000)->Unit(benchmark::kMillisecond);

/// Tries rules on all terms of a normalised DAG, where none applies: all rules of the operator, or what the
/// index gives.
void attempts(benchmark::State& state, bool indexed) {
  Layer layer;
  TermNormalizer& normalizer = layer.simplifier.normalizer;
  const Term* root = normalizer.normalize(&layer.mgr, random_dag(layer, 100000));
  std::vector<const Term*> terms{root};
  std::vector<bool> seen(layer.mgr.num_terms());
  for (std::size_t i = 0; i < terms.size(); ++i) {
    for (const Term* child : layer.mgr.args_of(terms[i])) {
      if (!seen[child->id]) terms.push_back(child);
      seen[child->id] = true;
    }
  }
  std::vector<rules::RuleIndex::Entry> entries;
  for (std::size_t i = 0; i < normalizer.num_rules(); ++i) {
    auto& rule = normalizer.get_rule(i);
    entries.push_back({static_cast<std::uint32_t>(i), rule.get_applicant(),
                       indexed ? rule.get_child_shapes() : rules::ChildShapes{}});
  }
  rules::RuleIndex index;
  index.build(entries);
  std::uint64_t calls = 0;
  for (auto _ : state) {
    for (const Term* t : terms) {
      const auto args = layer.mgr.args_of(t);
      const auto tag = [&](std::size_t i) {
        return i < args.size() ? layer.mgr.get_tag(args[i]->symbol) : SymbolTag::UF;
      };
      const Term* out = nullptr;
      for (const std::uint32_t i : index.candidates(layer.mgr.get_tag(t->symbol), tag(0), tag(1))) {
        benchmark::DoNotOptimize(normalizer.get_rule(i)(&layer.mgr, t, &out));
        ++calls;
      }
    }
  }
  const double tried = static_cast<double>(state.iterations()) * static_cast<double>(terms.size());
  state.counters["attempts/term"] = static_cast<double>(calls) / tried;
  state.SetItemsProcessed(static_cast<std::int64_t>(tried));
}

void attempts_with_index(benchmark::State& state) {
  attempts(state, true);
}
void attempts_without_index(benchmark::State& state) {
  attempts(state, false);
}
BENCHMARK(attempts_with_index);
BENCHMARK(attempts_without_index);

}  // namespace
}  // namespace quarv

BENCHMARK_MAIN();
