/// \file
/// Checking what simplifiers do: floating point.
#include <array>
#include <map>

#include "replay/plain_float.h"
#include "replay/replay_checker.h"

namespace quarv::cli {

namespace {

std::optional<Rounding> rounding_named(const std::string& name) {
  static const std::map<std::string, Rounding> modes = {{"RNE", Rounding::to_even},
                                                        {"RNA", Rounding::to_away},
                                                        {"RTP", Rounding::up},
                                                        {"RTN", Rounding::down},
                                                        {"RTZ", Rounding::to_zero}};
  const auto mode = modes.find(name);
  return mode != modes.end() ? std::optional(mode->second) : std::nullopt;
}

FloatFormat format_of(const TraceSort& sort) {
  return {sort.width, sort.significand};
}

bool is_small_float(const TraceSort& sort) {
  return sort.kind == TraceSort::floating_point && sort.width >= 2 && sort.significand >= 2 &&
         sort.width <= PlainFloat::largest_exponent;
}

std::optional<bool> classify(const std::string& op, const PlainFloat& x, FloatFormat f) {
  const bool finite = x.kind == PlainFloat::finite;
  const bool normal =
      finite && abs(x.value) >= PlainFloat::decode(mpz_class(1) << (f.significand - 1), f).value;
  if (op == "fp.isNaN") return x.kind == PlainFloat::nan;
  if (op == "fp.isInfinite") return x.kind == PlainFloat::infinite;
  if (op == "fp.isZero") return x.is_zero();
  if (op == "fp.isNormal") return normal;
  if (op == "fp.isSubnormal") return finite && !normal && !x.is_zero();
  if (op == "fp.isNegative") return x.kind != PlainFloat::nan && x.negative;
  if (op == "fp.isPositive") return x.kind != PlainFloat::nan && !x.negative;
  return std::nullopt;
}

std::optional<bool> related(const std::string& op, const PlainFloat& a, const PlainFloat& b) {
  const std::optional<int> order = PlainFloat::compare(a, b);
  if (op == "fp.eq") return order && *order == 0;
  if (op == "fp.lt") return order && *order < 0;
  if (op == "fp.leq") return order && *order <= 0;
  return std::nullopt;
}

/// Exact results, to be rounded.
std::optional<PlainFloat> rounded_operation(const std::string& op, Rounding mode, FloatFormat f,
                                            const PlainFloat& a, const PlainFloat* b) {
  if (b == nullptr) return op == "fp.sqrt" ? std::optional(PlainFloat::root(a, f)) : std::nullopt;
  if (op == "fp.add") return PlainFloat::sum(a, *b, mode);
  if (op == "fp.sub") return PlainFloat::sum(a, b->negated(), mode);
  if (op == "fp.mul") return PlainFloat::product(a, *b);
  if (op == "fp.div") return PlainFloat::quotient(a, *b);
  return std::nullopt;
}

/// Results that are arguments but for the sign. Which of two zeros of opposite sign is the smaller one is
/// left open by the standard.
std::optional<PlainFloat> exact_operation(const std::string& op, const PlainFloat& a, const PlainFloat* b) {
  if (b == nullptr) {
    if (op == "fp.neg") return a.negated();
    if (op == "fp.abs") return a.negative ? a.negated() : a;
    return std::nullopt;
  }
  if (op != "fp.min" && op != "fp.max") return std::nullopt;
  const std::optional<int> order = PlainFloat::compare(a, *b);
  if (!order) return a.kind == PlainFloat::nan ? *b : a;
  if (*order == 0 && a.negative != b->negative) return std::nullopt;
  return (*order < 0) == (op == "fp.min") ? a : *b;
}

}  // namespace

std::optional<PlainFloat> FoldingChecker::float_value(TermName t) const {
  const Expression& e = trace_.term(t);
  const TraceSort& sort = trace_.sort(e.sort);
  if (e.kind != Expression::value || !is_small_float(sort)) return std::nullopt;
  return PlainFloat::decode(e.number.get_num(), format_of(sort));
}

/// Whether `after` is the literal for `x`, rounded. Every NaN is as good as another.
bool FoldingChecker::is_float(TermName after, const PlainFloat& x, Rounding mode) const {
  const std::optional<PlainFloat> result = float_value(after);
  if (!result) return false;
  if (x.kind == PlainFloat::nan) return result->kind == PlainFloat::nan;
  return x.encode(format_of(trace_.sort_of(after)), mode) == trace_.term(after).number.get_num();
}

/// The arguments exchanged, or an operation on literals.
bool FoldingChecker::check_float(const Expression& e, TermName after) const {
  std::optional<Rounding> mode;
  std::size_t first = 0;
  if (!e.args.empty() && trace_.term(e.args[0]).kind == Expression::operation) {
    mode = rounding_named(trace_.term(e.args[0]).op);
    first = mode ? 1 : 0;
  }
  const std::size_t num_operands = e.args.size() - first;
  if (num_operands == 0 || num_operands > 2) return false;
  const auto a = float_value(e.args[first]);
  if (!a) return check_float_conversion(e, mode, first, after);
  const TraceSort& operand = trace_.sort_of(e.args[first]);
  const FloatFormat format = format_of(operand);
  std::optional<PlainFloat> b;
  if (num_operands == 2) {
    b = float_value(e.args[first + 1]);
    if (!b || format_of(trace_.sort_of(e.args[first + 1])) != format) return false;
  }
  if (const auto value = truth(after)) {
    return !mode && value == (b ? related(e.op, *a, *b) : classify(e.op, *a, format));
  }
  if (e.op == "to_fp") return mode && !b && e.indices.size() == 2 && is_float(after, *a, *mode);
  if (!e.indices.empty() || trace_.sort_of(after).kind == TraceSort::bit_vector) {
    return check_float_to_bits(e, *a, mode, after);
  }
  if (format_of(trace_.sort_of(after)) != format) return false;
  const PlainFloat* const second = b ? &*b : nullptr;
  const auto exact =
      mode ? rounded_operation(e.op, *mode, format, *a, second) : exact_operation(e.op, *a, second);
  return exact && is_float(after, *exact, mode.value_or(Rounding::to_even));
}

/// From bit-vectors: integers, or encodings.
bool FoldingChecker::check_float_conversion(const Expression& e, std::optional<Rounding> mode,
                                            std::size_t first, TermName after) const {
  const auto source = bits(e.args[first]);
  const TraceSort& sort = trace_.sort_of(after);
  if (!source || e.args.size() != first + 1 || !is_small_float(sort)) return false;
  const std::size_t width = trace_.sort_of(e.args[first]).width;
  PlainFloat x;
  if (!mode) {
    if (e.op != "to_fp" || width != format_of(sort).width()) return false;
    x = PlainFloat::decode(*source, format_of(sort));
  } else {
    const bool is_signed = e.op == "to_fp";
    if (!is_signed && e.op != "to_fp_unsigned") return false;
    const bool wraps = is_signed && mpz_tstbit(source->get_mpz_t(), width - 1) != 0;
    x.value = wraps ? mpz_class(*source - (mpz_class(1) << width)) : *source;
    x.negative = x.value < 0;
  }
  return is_float(after, x, mode.value_or(Rounding::to_even));
}

/// To bit-vectors. The standard leaves open what does not fit, and which encoding NaN has.
bool FoldingChecker::check_float_to_bits(const Expression& e, const PlainFloat& x,
                                         std::optional<Rounding> mode, TermName after) const {
  const auto result = bits(after);
  if (!result || x.kind == PlainFloat::nan) return false;
  if (e.op == "fp.to_ieee_bv") return e.indices.empty() && !mode && *result == trace_.term(e.args[0]).number;
  const bool is_signed = e.op == "fp.to_sbv";
  if ((!is_signed && e.op != "fp.to_ubv") || !mode || x.kind != PlainFloat::finite) return false;
  const std::size_t width = trace_.sort_of(after).width;
  const mpz_class integer = rounded_to_integer(x.value, x.negative, *mode);
  const mpz_class bound = mpz_class(1) << (is_signed ? width - 1 : width);
  if (integer >= bound || integer < (is_signed ? mpz_class(-bound) : mpz_class(0))) return false;
  return *result == (integer < 0 ? mpz_class(integer + (mpz_class(1) << width)) : integer);
}

}  // namespace quarv::cli
