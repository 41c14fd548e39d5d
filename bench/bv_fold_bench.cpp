// Folding of bit-vector operators on literals, beside the same applications handed to Z3_simplify. Three rows
// an operator and width: the results are literals that exist already, the results are new to the manager, and
// z3. The ratios at the end compare rows of this run.
#include <cstddef>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <gmpxx.h>

#ifdef QUARV_HAVE_Z3
#include <z3.h>
#endif

#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

namespace {

using quarv::StdTermSimplifier;
using quarv::Symbol;
using quarv::SymbolTag;
using quarv::Term;
using quarv::TermManager;

constexpr std::size_t pair_count = 512;

enum class Operator { add, mul, udiv, concat, extract, shift };

constexpr struct {
  Operator op;
  const char* name;
} operators[] = {{Operator::add, "add"},       {Operator::mul, "mul"},         {Operator::udiv, "udiv"},
                 {Operator::concat, "concat"}, {Operator::extract, "extract"}, {Operator::shift, "shift"}};

constexpr std::size_t widths[] = {8, 32, 64, 128, 1024};

struct Pair {
  mpz_class a;
  mpz_class b;
};

/// Operands of the width; divisors are half as long, so that quotients are not trivial, amounts of shifts
/// below the width.
std::vector<Pair> pairs(Operator op, std::size_t width) {
  gmp_randclass random(gmp_randinit_default);
  random.seed(11);
  std::vector<Pair> result;
  for (std::size_t i = 0; i < pair_count; ++i) {
    Pair pair{random.get_z_bits(width), random.get_z_bits(width)};
    if (op == Operator::udiv) pair.b >>= width / 2;
    if (op == Operator::shift) pair.b %= width;
    result.push_back(pair);
  }
  return result;
}

/// A manager with the operands of an operator.
class Quarv {
 public:
  Quarv(Operator op, std::size_t width, const std::vector<Pair>& pairs) : symbol_(symbol(op, width)) {
    quarv::termsimpl::register_standard_simplifications(&mgr_, &simplifier_);
    mgr_.set_simplifier(&simplifier_);
    const std::size_t arity = mgr_.arity(symbol_);
    for (const Pair& pair : pairs) {
      args_.push_back({literal(pair.a, width)});
      if (arity == 2) args_.back().push_back(literal(pair.b, width));
    }
  }

  const Term* fold(std::size_t i) { return mgr_.make_term(symbol_, args_[i]); }

 private:
  const Symbol* symbol(Operator op, std::size_t width) {
    switch (op) {
      case Operator::add:
        return mgr_.make_bv_symbol(SymbolTag::BV_ADD, width);
      case Operator::mul:
        return mgr_.make_bv_symbol(SymbolTag::BV_MUL, width);
      case Operator::udiv:
        return mgr_.make_bv_symbol(SymbolTag::BV_UDIV, width);
      case Operator::concat:
        return mgr_.make_bv_concat_symbol(width, width);
      case Operator::extract:
        return mgr_.make_bv_extract_symbol(3 * width / 4, width / 4, width);
      case Operator::shift:
        return mgr_.make_bv_symbol(SymbolTag::BV_LSL, width);
    }
    return nullptr;
  }

  const Term* literal(const mpz_class& value, std::size_t width) {
    return mgr_.make_bv_number(quarv::QNumber::from_integer(value.get_mpz_t()), width);
  }

  StdTermSimplifier simplifier_;
  TermManager mgr_;
  const Symbol* symbol_;
  std::vector<std::vector<const Term*>> args_;
};

void fold_known(benchmark::State& state, Operator op, std::size_t width) {
  Quarv quarv(op, width, pairs(op, width));
  for (std::size_t i = 0; i < pair_count; ++i) quarv.fold(i);
  for (auto _ : state) {
    for (std::size_t i = 0; i < pair_count; ++i) benchmark::DoNotOptimize(quarv.fold(i));
  }
  state.SetItemsProcessed(static_cast<long>(state.iterations() * pair_count));
}

void fold_new(benchmark::State& state, Operator op, std::size_t width) {
  const std::vector<Pair> operands = pairs(op, width);
  for (auto _ : state) {
    state.PauseTiming();
    auto quarv = std::make_unique<Quarv>(op, width, operands);
    state.ResumeTiming();
    for (std::size_t i = 0; i < pair_count; ++i) benchmark::DoNotOptimize(quarv->fold(i));
    state.PauseTiming();
    quarv.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(static_cast<long>(state.iterations() * pair_count));
}

#ifdef QUARV_HAVE_Z3

/// A context with the applications of an operator.
class Z3 {
 public:
  Z3(Operator op, std::size_t width, const std::vector<Pair>& pairs) {
    Z3_config config = Z3_mk_config();
    context_ = Z3_mk_context_rc(config);
    Z3_del_config(config);
    const Z3_sort sort = Z3_mk_bv_sort(context_, static_cast<unsigned>(width));
    for (const Pair& pair : pairs) {
      const Z3_ast a = Z3_mk_numeral(context_, pair.a.get_str().c_str(), sort);
      Z3_inc_ref(context_, a);
      const Z3_ast b = Z3_mk_numeral(context_, pair.b.get_str().c_str(), sort);
      Z3_inc_ref(context_, b);
      applications_.push_back(apply(op, static_cast<unsigned>(width), a, b));
      Z3_inc_ref(context_, applications_.back());
    }
  }
  ~Z3() { Z3_del_context(context_); }
  Z3(const Z3&) = delete;
  Z3& operator=(const Z3&) = delete;

  Z3_ast fold(std::size_t i) { return Z3_simplify(context_, applications_[i]); }

 private:
  Z3_ast apply(Operator op, unsigned width, Z3_ast a, Z3_ast b) {
    switch (op) {
      case Operator::add:
        return Z3_mk_bvadd(context_, a, b);
      case Operator::mul:
        return Z3_mk_bvmul(context_, a, b);
      case Operator::udiv:
        return Z3_mk_bvudiv(context_, a, b);
      case Operator::concat:
        return Z3_mk_concat(context_, a, b);
      case Operator::extract:
        return Z3_mk_extract(context_, 3 * width / 4, width / 4, a);
      case Operator::shift:
        return Z3_mk_bvshl(context_, a, b);
    }
    return nullptr;
  }

  Z3_context context_;
  std::vector<Z3_ast> applications_;
};

void fold_z3(benchmark::State& state, Operator op, std::size_t width) {
  Z3 z3(op, width, pairs(op, width));
  for (auto _ : state) {
    for (std::size_t i = 0; i < pair_count; ++i) benchmark::DoNotOptimize(z3.fold(i));
  }
  state.SetItemsProcessed(static_cast<long>(state.iterations() * pair_count));
}

#endif

/// Prints the usual table, and at the end how many times as long z3 takes.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      names_.push_back(run.run_name.function_name);
      times_[names_.back()] = run.GetAdjustedCPUTime();
    }
  }

  void Finalize() override {
    std::printf("\n%-14s %18s %18s\n", "z3 / quarv", "existing result", "new result");
    for (const std::string& name : names_) {
      const std::size_t slash = name.rfind('/');
      if (name.substr(slash) != "/z3") continue;
      const std::string fold = name.substr(0, slash);
      std::printf("%-14s %17.1fx %17.1fx\n", fold.c_str(), times_[name] / times_[fold + "/existing"],
                  times_[name] / times_[fold + "/new"]);
    }
  }

 private:
  std::vector<std::string> names_;  // in the order of the runs
  std::map<std::string, double> times_;
};

}  // namespace

int main(int argc, char** argv) {
  for (const auto& [op, op_name] : operators) {
    for (const std::size_t width : widths) {
      const std::string name = std::string(op_name) + "/" + std::to_string(width);
      benchmark::RegisterBenchmark((name + "/existing").c_str(), fold_known, op, width);
      benchmark::RegisterBenchmark((name + "/new").c_str(), fold_new, op, width);
#ifdef QUARV_HAVE_Z3
      benchmark::RegisterBenchmark((name + "/z3").c_str(), fold_z3, op, width);
#endif
    }
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
