// QNumber beside GMP's mpq_class and FLINT's fmpq, on the same numbers. Read the figures as ratios within one
// run.
#include <cstddef>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <gmpxx.h>

#ifdef QUARV_HAVE_FLINT
#include <flint/fmpq.h>
#endif

#include <quarv/numbers/q_number.h>

namespace {

using quarv::QNumber;

constexpr std::size_t sample_count = 512;

/// The kinds of numbers: integers of some bits, and fractions of numerators and denominators of some bits.
enum class Kind { small_integer, small_fraction, word_fraction, big_integer, big_fraction };

std::vector<mpq_class> samples(Kind kind) {
  gmp_randclass random(gmp_randinit_default);
  random.seed(7);
  std::vector<mpq_class> result;
  for (std::size_t i = 0; i < sample_count; ++i) {
    const auto bits = [&](unsigned long n) -> mpz_class { return random.get_z_bits(n) + 1; };
    mpz_class num;
    mpz_class den = 1;
    switch (kind) {
      case Kind::small_integer:
        num = bits(20);
        break;
      case Kind::small_fraction:
        num = bits(9);
        den = bits(9);
        break;
      case Kind::word_fraction:
        num = bits(30);
        den = bits(30);
        break;
      case Kind::big_integer:
        num = bits(256);
        break;
      case Kind::big_fraction:
        num = bits(256);
        den = bits(256);
        break;
    }
    if (random.get_z_bits(1) != 0) num = -num;
    result.emplace_back(num, den);
    result.back().canonicalize();
  }
  return result;
}

/// One of the libraries: its number type, and how it computes into a number that already exists.
struct Quarv {
  using Number = QNumber;
  static Number make(const mpq_class& x) {
    return QNumber(x.get_num_mpz_t(), x.get_den_mpz_t(), false).demoted();
  }
  static void add(Number& z, const Number& x, const Number& y) { z = x + y; }
  static void mul(Number& z, const Number& x, const Number& y) { z = x * y; }
  static void add_to(Number& z, const Number& x) { z += x; }
  static bool less(const Number& x, const Number& y) { return x < y; }
};

struct Gmp {
  using Number = mpq_class;
  static Number make(const mpq_class& x) { return x; }
  static void add(Number& z, const Number& x, const Number& y) { z = x + y; }
  static void mul(Number& z, const Number& x, const Number& y) { z = x * y; }
  static void add_to(Number& z, const Number& x) { z += x; }
  static bool less(const Number& x, const Number& y) { return x < y; }
};

#ifdef QUARV_HAVE_FLINT
struct Flint {
  class Number {
   public:
    Number() { fmpq_init(value); }
    Number(const Number& other) : Number() { fmpq_set(value, other.value); }
    Number& operator=(const Number& other) {
      fmpq_set(value, other.value);
      return *this;
    }
    ~Number() { fmpq_clear(value); }
    fmpq_t value;
  };
  static Number make(const mpq_class& x) {
    Number result;
    fmpq_set_mpq(result.value, x.get_mpq_t());
    return result;
  }
  static void add(Number& z, const Number& x, const Number& y) { fmpq_add(z.value, x.value, y.value); }
  static void mul(Number& z, const Number& x, const Number& y) { fmpq_mul(z.value, x.value, y.value); }
  static void add_to(Number& z, const Number& x) { fmpq_add(z.value, z.value, x.value); }
  static bool less(const Number& x, const Number& y) { return fmpq_cmp(x.value, y.value) < 0; }
};
#endif

template <class Library>
std::vector<typename Library::Number> numbers(Kind kind) {
  std::vector<typename Library::Number> result;
  for (const mpq_class& x : samples(kind)) result.push_back(Library::make(x));
  return result;
}

/// Time of one operation on each two neighbours.
template <class Library, Kind kind, class Operation>
void run(benchmark::State& state, Operation operation) {
  const auto values = numbers<Library>(kind);
  typename Library::Number result;
  for (auto _ : state) {
    for (std::size_t i = 0; i + 1 < sample_count; ++i) {
      operation(result, values[i], values[i + 1]);
      benchmark::DoNotOptimize(result);
    }
  }
  const double operations = static_cast<double>(state.iterations()) * (sample_count - 1);
  state.counters["op"] =
      benchmark::Counter(operations, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

template <class Library, Kind kind>
void add(benchmark::State& state) {
  run<Library, kind>(state, [](auto& z, const auto& x, const auto& y) { Library::add(z, x, y); });
}

template <class Library, Kind kind>
void mul(benchmark::State& state) {
  run<Library, kind>(state, [](auto& z, const auto& x, const auto& y) { Library::mul(z, x, y); });
}

template <class Library, Kind kind>
void less(benchmark::State& state) {
  run<Library, kind>(state, [](auto&, const auto& x, const auto& y) {
    bool result = Library::less(x, y);
    benchmark::DoNotOptimize(result);
  });
}

/// Sums of integers in place, as a coefficient is accumulated.
template <class Library, Kind kind>
void accumulate(benchmark::State& state) {
  run<Library, kind>(state, [](auto& z, const auto& x, const auto&) { Library::add_to(z, x); });
}

template <class Library>
void register_library(const std::string& name) {
  const auto add_one = [&](const std::string& what, void (*function)(benchmark::State&)) {
    benchmark::RegisterBenchmark((what + "/" + name).c_str(), function);
  };
  add_one("add/small_integer", add<Library, Kind::small_integer>);
  add_one("add/small_fraction", add<Library, Kind::small_fraction>);
  add_one("add/word_fraction", add<Library, Kind::word_fraction>);
  add_one("add/big_integer", add<Library, Kind::big_integer>);
  add_one("add/big_fraction", add<Library, Kind::big_fraction>);
  add_one("mul/small_integer", mul<Library, Kind::small_integer>);
  add_one("mul/small_fraction", mul<Library, Kind::small_fraction>);
  add_one("mul/word_fraction", mul<Library, Kind::word_fraction>);
  add_one("mul/big_integer", mul<Library, Kind::big_integer>);
  add_one("mul/big_fraction", mul<Library, Kind::big_fraction>);
  add_one("less/small_integer", less<Library, Kind::small_integer>);
  add_one("less/small_fraction", less<Library, Kind::small_fraction>);
  add_one("less/word_fraction", less<Library, Kind::word_fraction>);
  add_one("less/big_integer", less<Library, Kind::big_integer>);
  add_one("less/big_fraction", less<Library, Kind::big_fraction>);
  add_one("accumulate/small_integer", accumulate<Library, Kind::small_integer>);
  add_one("accumulate/big_integer", accumulate<Library, Kind::big_integer>);
}

}  // namespace

int main(int argc, char** argv) {
  register_library<Quarv>("quarv");
  register_library<Gmp>("mpq_class");
#ifdef QUARV_HAVE_FLINT
  register_library<Flint>("fmpq");
#endif
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
