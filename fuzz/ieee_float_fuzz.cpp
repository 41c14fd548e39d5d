/// \file
/// Fuzzes software floating point of any format. Results and exceptions are compared with exact rational
/// arithmetic, and where exponents are too wide for that, results with MPFR.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <gmpxx.h>

#include "byte_source.h"
#include "reference/floats.h"
#include "tests/support/mpfr_float.h"
#include <quarv/numbers/ieee_float.h>

namespace quarv::fuzz {

namespace {

using namespace reference;

constexpr std::size_t widest_exact_exponent = 15;

enum Operation {
  add,
  subtract,
  multiply,
  divide,
  square_root,
  integral,
  conversion,
  from_number,
  to_integer,
  comparison,
  num_operations
};

/// One operation and its operands.
struct Case {
  Operation operation;
  IEEEFloat::format format;
  IEEEFloat::format to;  ///< of conversions
  mpz_class a, b;        ///< encodings; of `from_number` the numerator and the denominator
  Rounding rounding;
  std::size_t width;  ///< of `to_integer`
};

[[noreturn]] void fail(const Case& c, const std::string& wanted, const std::string& found) {
  std::fprintf(stderr, "operation %d on (%zu, %zu) to (%zu, %zu), a = %s, b = %s, rounding %d, width %zu\n",
               c.operation, c.format.ew, c.format.mw, c.to.ew, c.to.mw, c.a.get_str().c_str(),
               c.b.get_str().c_str(), static_cast<int>(c.rounding), c.width);
  std::fprintf(stderr, "wanted %s, found %s\n", wanted.c_str(), found.c_str());
  std::abort();
}

std::string show(const FloatResult& x) {
  return x.bits.get_str() + " with exceptions " + std::to_string(x.exceptions);
}

IEEEFloat number(const mpz_class& bits, IEEEFloat::format f, Rounding rounding) {
  IEEEFloat result = IEEEFloat::from_bits(QNumber::from_integer(bits.get_mpz_t()), f);
  result.set_rounding_mode(static_cast<IEEEFloat::rounding_mode>(rounding));
  return result;
}

unsigned raised() {
  using namespace swflt;
  const unsigned flags = float_exception_flags;
  unsigned result = 0;
  if (flags & flag_inexact) result |= inexact;
  if (flags & flag_underflow) result |= underflow;
  if (flags & flag_overflow) result |= overflow;
  if (flags & flag_divide_by_zero) result |= divide_by_zero;
  if (flags & flag_invalid) result |= invalid;
  return result;
}

/// What is tested.
FloatResult computed(const Case& c) {
  swflt::float_exception_flags = 0;
  IEEEFloat x;
  if (c.operation == from_number) {
    x = IEEEFloat::from_number(QNumber(c.a, c.b), c.to, static_cast<IEEEFloat::rounding_mode>(c.rounding));
    return {x.get_bits().num(), raised()};
  }
  x = number(c.a, c.format, c.rounding);
  const IEEEFloat y = number(c.b, c.format, c.rounding);
  switch (c.operation) {
    case add:
      x += y;
      break;
    case subtract:
      x -= y;
      break;
    case multiply:
      x *= y;
      break;
    case divide:
      x /= y;
      break;
    case square_root:
      x.sqrt();
      break;
    case integral:
      x = round(x);
      break;
    case conversion:
      x.set_format(c.to);
      break;
    default:
      return {x.to_integer(c.width).num(), raised()};
  }
  return {x.get_bits().num(), raised()};
}

/// The result of `to_integer`: out of range one of the bounds, 0 for NaN.
FloatResult exact_integer(const Case& c, const FloatFormat& f) {
  if (f.is_nan(c.a)) return {0, invalid};
  const mpz_class least = c.width == 0 ? mpz_class(0) : mpz_class(-(mpz_class(1) << (c.width - 1)));
  const mpz_class most = (mpz_class(1) << c.width) - 1;
  if (f.is_infinite(c.a)) return {f.is_negative(c.a) ? least : most, invalid};
  const mpq_class value = f.value(c.a);
  const mpz_class result = rounded_integer(value, c.rounding);
  if (result < least) return {least, invalid};
  if (result > most) return {most, invalid};
  return {result, result == value ? 0 : unsigned{inexact}};
}

FloatResult exact(const Case& c) {
  const FloatFormat f(c.format.ew, c.format.mw), to(c.to.ew, c.to.mw);
  switch (c.operation) {
    case add:
      return f.add(c.a, c.b, c.rounding);
    case subtract:
      return f.subtract(c.a, c.b, c.rounding);
    case multiply:
      return f.multiply(c.a, c.b, c.rounding);
    case divide:
      return f.divide(c.a, c.b, c.rounding);
    case square_root:
      return f.square_root(c.a, c.rounding);
    case integral:
      return f.round_to_integral(c.a, c.rounding);
    case conversion:
      return to.convert(c.a, f, c.rounding);
    case from_number: {
      mpq_class value(c.a, c.b);
      value.canonicalize();
      return to.round(value, c.rounding);
    }
    default:
      return exact_integer(c, f);
  }
}

/// Predicates, comparisons and the sign, which round nothing.
void check_comparisons(const Case& c) {
  const FloatFormat f(c.format.ew, c.format.mw);
  const IEEEFloat x = number(c.a, c.format, c.rounding), y = number(c.b, c.format, c.rounding);
  const bool ordered = !f.is_nan(c.a) && !f.is_nan(c.b);
  const int order = f.compare(c.a, c.b);
  const bool classes = x.is_nan() == f.is_nan(c.a) && x.is_inf() == f.is_infinite(c.a) &&
                       x.is_zero() == f.is_zero(c.a) && x.is_subnormal() == f.is_subnormal(c.a) &&
                       x.is_normal() == f.is_normal(c.a) && x.get_sign() == f.is_negative(c.a);
  const bool relations = (x == y) == (ordered && order == 0) && (x < y) == (ordered && order < 0) &&
                         (x <= y) == (ordered && order <= 0) && x.identical(y) == (c.a == c.b);
  IEEEFloat opposite = x;
  opposite.self_neg();
  const bool negation = opposite.get_bits().num() == f.with_sign(!f.is_negative(c.a), f.magnitude(c.a));
  if (!classes || !relations || !negation || x.get_bits().num() != c.a) fail(c, "agreement", x.to_string());
}

mpz_class by_mpfr(const Case& c) {
  static constexpr mpfr_rnd_t modes[] = {MPFR_RNDN, MPFR_RNDZ, MPFR_RNDU, MPFR_RNDD};
  const mpfr_rnd_t mode = modes[static_cast<int>(c.rounding)];
  MpfrFloat x(c.format.ew, c.format.mw), y(c.format.ew, c.format.mw);
  x.decode(c.a);
  y.decode(c.b);
  const IEEEFloat::format result_format = c.operation == conversion ? c.to : c.format;
  MpfrFloat result(result_format.ew, result_format.mw);
  int ternary = 0;
  switch (c.operation) {
    case add:
      ternary = mpfr_add(result.get(), x.get(), y.get(), mode);
      break;
    case subtract:
      ternary = mpfr_sub(result.get(), x.get(), y.get(), mode);
      break;
    case multiply:
      ternary = mpfr_mul(result.get(), x.get(), y.get(), mode);
      break;
    case divide:
      ternary = mpfr_div(result.get(), x.get(), y.get(), mode);
      break;
    case square_root:
      ternary = mpfr_sqrt(result.get(), x.get(), mode);
      break;
    case integral:
      ternary = mpfr_rint(result.get(), x.get(), mode);
      break;
    default:
      ternary = mpfr_set(result.get(), x.get(), mode);
  }
  result.finish(ternary, mode);
  return result.is_nan() ? FloatFormat(result_format.ew, result_format.mw).nan() : result.encode();
}

IEEEFloat::format format(ByteSource& source) {
  static constexpr IEEEFloat::format common[] = {{5, 10}, {8, 23}, {11, 52}, {15, 112}, {8, 7}};
  if (source.one_in(3)) return common[source.below(std::size(common))];
  static constexpr std::size_t exponents[] = {1, 2, 3, 4, 5, 8, 11, 12, 15, 19, 30};
  const std::size_t ew = exponents[source.below(std::size(exponents))];
  return {ew, 1 + source.below(source.one_in(3) ? 256 : 66)};
}

/// An encoding, often one next to a border.
mpz_class encoding(ByteSource& source, IEEEFloat::format f) {
  const FloatFormat e(f.ew, f.mw);
  const bool negative = source.one_in(2);
  mpz_class magnitude;
  switch (source.below(6)) {
    case 0:
      magnitude = source.natural(2);
      break;
    case 1:
      magnitude = e.infinity(false) + 1 - source.natural(2);
      break;
    case 2:  // next to the least normal number, or to 1
      magnitude = (mpz_class(source.one_in(2) ? 1 : (1L << (f.ew - 1)) - 1) << f.mw) + 1 - source.natural(2);
      break;
    case 3:  // a number near 1 with a few bits
      magnitude = (mpz_class((1L << (f.ew - 1)) - 1) << f.mw) + (source.natural(16) << f.mw >> 13);
      break;
    default:
      magnitude = source.natural(f.ew + f.mw);
  }
  if (magnitude < 0 || (magnitude >> (f.ew + f.mw)) != 0) magnitude = e.nan();
  return e.with_sign(negative, magnitude);
}

Case decide(ByteSource& source) {
  Case c{};
  c.operation = static_cast<Operation>(source.below(num_operations));
  c.rounding = static_cast<Rounding>(source.below(4));
  c.format = format(source);
  c.to = c.operation == conversion || c.operation == from_number ? format(source) : c.format;
  c.width = c.operation == to_integer ? source.below(200) : 0;
  if (c.operation == from_number) {
    const bool negative = source.one_in(2);
    c.a = source.natural(8 + 8 * source.below(20)) << source.byte();
    if (negative) c.a = -c.a;
    c.b = (source.natural(8 * source.below(20)) << source.byte()) + 1;
  } else {
    c.a = encoding(source, c.format);
    c.b = encoding(source, c.format);
  }
  return c;
}

void run(const Case& c) {
  if (c.operation == comparison) return check_comparisons(c);
  const std::size_t widest = std::max(c.operation == from_number ? std::size_t{0} : c.format.ew, c.to.ew);
  const FloatResult found = computed(c);
  if (widest <= widest_exact_exponent || c.operation == from_number) {
    const FloatResult wanted = exact(c);
    if (found.bits != wanted.bits || found.exceptions != wanted.exceptions)
      fail(c, show(wanted), show(found));
  }
  // MPFR has no format with a single exponent bit.
  if (c.operation > conversion || std::min(c.format.ew, c.to.ew) < 2) return;
  const mpz_class wanted = by_mpfr(c);
  if (found.bits != wanted) fail(c, wanted.get_str() + " by MPFR", show(found));
}

}  // namespace
}  // namespace quarv::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quarv::fuzz::ByteSource source(data, size);
  while (!source.empty()) quarv::fuzz::run(quarv::fuzz::decide(source));
  return 0;
}
