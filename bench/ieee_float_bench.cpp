// Floating-point operations against MPFR, with the same rounding, exponent range and subnormal numbers, and
// against the host's own as the limit. One iteration is one operation on operands of which every eighth is
// subnormal or huge.

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include <benchmark/benchmark.h>
#include <gmpxx.h>
#include <mpfr.h>

#include <quarv/numbers/ieee_float.h>

namespace {

using quarv::IEEEFloat;
using quarv::QNumber;

constexpr std::size_t num_operands = 1024;

/// Random encodings of a format: positive for square roots, exponents mostly near that of 1.
std::vector<mpz_class> operands(IEEEFloat::format f, bool positive, unsigned seed) {
  std::mt19937_64 engine(seed);
  const std::uint64_t bias = (std::uint64_t{1} << (f.ew - 1)) - 1;
  std::vector<mpz_class> result(num_operands);
  for (mpz_class& bits : result) {
    std::uint64_t field = bias - 8 + engine() % 16;
    if (engine() % 8 == 0) field = engine() % 2 == 0 ? 0 : 2 * bias - 1;
    mpz_class significand;
    for (std::size_t i = 0; i < f.mw; i += 64) significand = (significand << 64) + mpz_class(engine());
    significand >>= (f.mw + 63) / 64 * 64 - f.mw;
    const std::uint64_t sign = positive ? 0 : engine() % 2;
    bits = (mpz_class(sign << f.ew | field) << f.mw) + significand;
  }
  return result;
}

std::vector<IEEEFloat> numbers(IEEEFloat::format f, bool positive, unsigned seed) {
  std::vector<IEEEFloat> result;
  for (const mpz_class& bits : operands(f, positive, seed)) {
    result.push_back(IEEEFloat::from_bits(QNumber::from_integer(bits.get_mpz_t()), f));
  }
  return result;
}

/// MPFR's numbers of a format; its exponent range is set to that of the format.
class MpfrNumbers {
 public:
  MpfrNumbers(IEEEFloat::format f, bool positive, unsigned seed)
      : values_(std::make_unique<mpfr_t[]>(num_operands)) {
    const long bias = (1L << (f.ew - 1)) - 1;
    mpfr_set_emin(2 - bias - static_cast<long>(f.mw));
    mpfr_set_emax(bias + 1);
    const std::vector<mpz_class> encodings = operands(f, positive, seed);
    for (std::size_t i = 0; i < num_operands; ++i) {
      const mpz_class hidden = mpz_class(1) << f.mw;
      mpz_class significand = encodings[i] & (hidden - 1);
      const long field = mpz_class((encodings[i] >> f.mw) & ((1L << f.ew) - 1)).get_si();
      if (field != 0) significand += hidden;
      if (mpz_tstbit(encodings[i].get_mpz_t(), f.ew + f.mw)) significand = -significand;
      mpfr_init2(values_[i], static_cast<mpfr_prec_t>(f.mw + 1));
      const long exponent = (field == 0 ? 1 : field) - bias - static_cast<long>(f.mw);
      mpfr_set_z_2exp(values_[i], significand.get_mpz_t(), exponent, MPFR_RNDN);
    }
  }
  MpfrNumbers(const MpfrNumbers&) = delete;
  MpfrNumbers& operator=(const MpfrNumbers&) = delete;
  ~MpfrNumbers() {
    for (std::size_t i = 0; i < num_operands; ++i) mpfr_clear(values_[i]);
  }
  mpfr_srcptr operator[](std::size_t i) const { return values_[i]; }

 private:
  std::unique_ptr<mpfr_t[]> values_;
};

/// What precedes each operation below: IEEEFloat's operators work in place, on a copy of the left operand.
struct Copy {
  static constexpr const char* name = "copy";
  static void apply(IEEEFloat&, const IEEEFloat&) {}
  static int apply(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr) { return mpfr_set(r, x, MPFR_RNDN); }
  template <class Real>
  static Real apply(Real x, Real) {
    return x;
  }
};
struct Add {
  static constexpr const char* name = "add";
  static void apply(IEEEFloat& x, const IEEEFloat& y) { x += y; }
  static int apply(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr y) { return mpfr_add(r, x, y, MPFR_RNDN); }
  template <class Real>
  static Real apply(Real x, Real y) {
    return x + y;
  }
};
struct Mul {
  static constexpr const char* name = "mul";
  static void apply(IEEEFloat& x, const IEEEFloat& y) { x *= y; }
  static int apply(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr y) { return mpfr_mul(r, x, y, MPFR_RNDN); }
  template <class Real>
  static Real apply(Real x, Real y) {
    return x * y;
  }
};
struct Div {
  static constexpr const char* name = "div";
  static void apply(IEEEFloat& x, const IEEEFloat& y) { x /= y; }
  static int apply(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr y) { return mpfr_div(r, x, y, MPFR_RNDN); }
  template <class Real>
  static Real apply(Real x, Real y) {
    return x / y;
  }
};
struct Sqrt {
  static constexpr const char* name = "sqrt";
  static void apply(IEEEFloat& x, const IEEEFloat&) { x.sqrt(); }
  static int apply(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr) { return mpfr_sqrt(r, x, MPFR_RNDN); }
  template <class Real>
  static Real apply(Real x, Real) {
    return std::sqrt(x);
  }
};
struct Round {
  static constexpr const char* name = "round";
  static void apply(IEEEFloat& x, const IEEEFloat&) { x = round(x); }
  static int apply(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr) { return mpfr_rint(r, x, MPFR_RNDN); }
  template <class Real>
  static Real apply(Real x, Real) {
    return std::nearbyint(x);
  }
};
/// To a format with as many exponent bits and ten significand bits fewer.
struct Convert {
  static constexpr const char* name = "convert";
  static void apply(IEEEFloat& x, const IEEEFloat&) {
    x.set_format({x.get_format().ew, x.get_format().mw - 10});
  }
  static int apply(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr) { return mpfr_set(r, x, MPFR_RNDN); }
};
struct Less {
  static constexpr const char* name = "less";
  static bool apply(const IEEEFloat& x, const IEEEFloat& y) { return x < y; }
  static bool apply(mpfr_srcptr x, mpfr_srcptr y) { return mpfr_less_p(x, y) != 0; }
  template <class Real>
  static bool apply(Real x, Real y) {
    return x < y;
  }
};

template <class Operation>
constexpr bool is_comparison = std::is_same_v<Operation, Less>;
template <class Operation>
constexpr bool is_conversion = std::is_same_v<Operation, Convert>;
template <class Operation>
constexpr bool takes_positive = std::is_same_v<Operation, Sqrt>;

template <class Operation>
void run_software(benchmark::State& state, IEEEFloat::format f) {
  const std::vector<IEEEFloat> a = numbers(f, takes_positive<Operation>, 1), b = numbers(f, false, 2);
  IEEEFloat result = a[0];
  std::size_t i = 0;
  for (auto _ : state) {
    if constexpr (is_comparison<Operation>) {
      benchmark::DoNotOptimize(Operation::apply(a[i], b[i]));
    } else {
      result = a[i];
      Operation::apply(result, b[i]);
      benchmark::DoNotOptimize(result);
    }
    i = (i + 1) % num_operands;
  }
}

template <class Operation>
void run_mpfr(benchmark::State& state, IEEEFloat::format f) {
  const MpfrNumbers a(f, takes_positive<Operation>, 1), b(f, false, 2);
  mpfr_t result;
  mpfr_init2(result, static_cast<mpfr_prec_t>(f.mw + 1 - (is_conversion<Operation> ? 10 : 0)));
  std::size_t i = 0;
  for (auto _ : state) {
    if constexpr (is_comparison<Operation>) {
      benchmark::DoNotOptimize(Operation::apply(a[i], b[i]));
    } else {
      const int ternary = mpfr_check_range(result, Operation::apply(result, a[i], b[i]), MPFR_RNDN);
      mpfr_subnormalize(result, ternary, MPFR_RNDN);
      benchmark::DoNotOptimize(result);
    }
    i = (i + 1) % num_operands;
  }
  mpfr_clear(result);
}

template <class Operation, class Real, class Word>
void run_host(benchmark::State& state, IEEEFloat::format f) {
  std::vector<Real> a, b;
  for (const mpz_class& bits : operands(f, takes_positive<Operation>, 1)) {
    a.push_back(std::bit_cast<Real>(static_cast<Word>(bits.get_ui())));
  }
  for (const mpz_class& bits : operands(f, false, 2)) {
    b.push_back(std::bit_cast<Real>(static_cast<Word>(bits.get_ui())));
  }
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(Operation::apply(a[i], b[i]));
    i = (i + 1) % num_operands;
  }
}

template <class Operation>
void register_operation() {
  struct NamedFormat {
    const char* name;
    IEEEFloat::format format;
  };
  static constexpr NamedFormat formats[] = {
      {"binary32", {8, 23}}, {"binary64", {11, 52}}, {"binary128", {15, 112}}, {"15_113", {15, 113}},
      {"15_180", {15, 180}}, {"11_200", {11, 200}},  {"15_240", {15, 240}},    {"15_256", {15, 256}}};
  for (const NamedFormat& f : formats) {
    const std::string name = std::string(Operation::name) + '/' + f.name;
    benchmark::RegisterBenchmark((name + "/quarv").c_str(), run_software<Operation>, f.format);
    benchmark::RegisterBenchmark((name + "/mpfr").c_str(), run_mpfr<Operation>, f.format);
    if constexpr (!is_conversion<Operation>) {
      if (f.format.mw == 23) {
        benchmark::RegisterBenchmark((name + "/host").c_str(), run_host<Operation, float, std::uint32_t>,
                                     f.format);
      } else if (f.format.mw == 52) {
        benchmark::RegisterBenchmark((name + "/host").c_str(), run_host<Operation, double, std::uint64_t>,
                                     f.format);
      }
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  register_operation<Copy>();
  register_operation<Add>();
  register_operation<Mul>();
  register_operation<Div>();
  register_operation<Sqrt>();
  register_operation<Round>();
  register_operation<Convert>();
  register_operation<Less>();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
