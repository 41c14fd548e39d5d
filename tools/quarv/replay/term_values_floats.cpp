/// \file
/// Values of floating-point numbers: words that are their encodings, of NaN always the same one. What only
/// looks at the encoding is understood, and what an operator makes of some constants; otherwise the operators
/// stand for anything.
#include <algorithm>

#include "replay/term_values.h"

namespace quarv::cli {

using Bits = Words::Bits;
using Word = Words::Word;

namespace {

mpz_class encoded_infinity(const TraceSort& format) {
  return ((mpz_class(1) << format.width) - 1) << (format.significand - 1);
}

/// The one NaN that stands for all.
mpz_class encoded_nan(const TraceSort& format) {
  return encoded_infinity(format) + 1;
}

}  // namespace

bool TermValues::is_float(const Expression& e) const {
  return terms_.sort(e.sort).kind == TraceSort::floating_point && is_word(e);
}

/// The parts of a word of this format; of the bits from the fraction's lowest one on.
TermValues::Encoding TermValues::encoding(const TraceSort& format, Word w) {
  const Bits& bits = words_.bits(w);
  const auto exponent = bits.begin() + static_cast<std::ptrdiff_t>(format.significand - 1);
  const Bit some_fraction = graph_.disjunction(Bits(bits.begin(), exponent));
  const Bit ones = graph_.conjunction(Bits(exponent, bits.end() - 1));
  const Bit some_exponent = graph_.disjunction(Bits(exponent, bits.end() - 1));
  Encoding e;
  e.sign = bits.back();
  e.nan = graph_.both(ones, some_fraction);
  e.infinite = graph_.both(ones, some_fraction ^ 1U);
  e.zero = graph_.both(some_exponent ^ 1U, some_fraction ^ 1U);
  e.subnormal = graph_.both(some_exponent ^ 1U, some_fraction);
  e.normal = graph_.both(some_exponent, ones ^ 1U);
  return e;
}

/// The word with the one NaN instead of any other.
TermValues::Word TermValues::float_word(const TraceSort& format, const Bits& bits) {
  const Bit nan = encoding(format, words_.word(bits)).nan;
  return words_.choice(nan, words_.constant(encoded_nan(format), bits.size()), words_.word(bits));
}

/// The same for a constant.
TermValues::Word TermValues::float_constant(const TraceSort& format, mpz_class encoded) {
  const mpz_class infinity = encoded_infinity(format);
  const mpz_class fraction = (mpz_class(1) << (format.significand - 1)) - 1;
  if ((encoded & infinity) == infinity && (encoded & fraction) != 0) encoded = encoded_nan(format);
  return words_.constant(encoded, format.width + format.significand);
}

TermValues::Word TermValues::negated_float(const TraceSort& format, Word a, Bit if_so) {
  Bits bits = words_.bits(a);
  bits.back() = graph_.parity(bits.back(), graph_.both(if_so, encoding(format, a).nan ^ 1U));
  return words_.word(std::move(bits));
}

TermValues::Word TermValues::magnitude(Word a) {
  Bits bits = words_.bits(a);
  bits.back() = BitGraph::no;
  return words_.word(std::move(bits));
}

/// Floating-point numbers that are the encoding of another one, or almost; a difference is a sum.
std::optional<TermValues::Value> TermValues::float_value(const Expression& e) {
  if (const auto known = evaluated(e)) return known;
  const TraceSort& format = terms_.sort(e.sort);
  const std::size_t n = e.args.size();
  const bool of_words =
      std::ranges::all_of(e.args, [this](TermName t) { return is_word(static_cast<Id>(t)); });
  if (n == 1 && of_words && e.op == "to_fp") return float_word(format, words_.bits(argument(e, 0)));
  if (n == 2 && e.op == "to_fp" && is_float(terms_.term(static_cast<Id>(e.args[1]))))
    return converted_float(e);
  if (n == 1 && e.op == "fp.neg") return negated_float(format, argument(e, 0), BitGraph::yes);
  if (n == 1 && e.op == "fp.abs") return magnitude(argument(e, 0));
  if (e.op == "fp.min" || e.op == "fp.max") return extremum(e, format);
  if (const auto known = float_with_constant(e, format)) return known;
  if (e.op == "fp.roundToIntegral") return rounded_float(e, format);
  if (n == 2 && e.op.starts_with("to_fp")) return float_of_number(e, format);
  if (n == 4 && e.op == "fp.fma") return commuted_float(e, e.op, argument(e, 1), argument(e, 2));
  if (n == 3 && (e.op == "fp.mul" || e.op == "fp.div")) return scaled_float(e);
  if (n != 3 || (e.op != "fp.add" && e.op != "fp.sub")) return std::nullopt;
  Word b = argument(e, 2);
  if (e.op == "fp.sub") b = negated_float(format, b, BitGraph::yes);
  return commuted_float(e, "fp.add", argument(e, 1), b);
}

/// What is converted to a format that has all its values is what it was: to convert it further is to convert
/// what it was, and how that is rounded does not matter where nothing is.
TermValues::Value TermValues::converted_float(const Expression& e) {
  Float a{argument(e, 1), terms_.term(static_cast<Id>(e.args[1])).sort};
  for (auto known = exact_.find(a); known != exact_.end(); known = exact_.find(a)) a = known->second;
  if (a.second == e.sort) return a.first;
  const TraceSort &source = terms_.sort(a.second), &target = terms_.sort(e.sort);
  const bool is_exact = target.width >= source.width && target.significand >= source.significand;
  Expression conversion = e;
  conversion.args.clear();
  Thing t;
  t.op = operator_key(conversion) + " from " + std::to_string(a.second);
  if (!is_exact) t.args.emplace_back(argument(e, 0), is_word(static_cast<Id>(e.args[0])));
  t.args.emplace_back(a.first, true);
  const Word result = converted(source, a.first, target, application(std::move(t), e), is_exact);
  if (is_exact) exact_.emplace(Float(result, e.sort), a);
  return result;
}

/// What is no number, infinite or zero stays that, and the sign stays. Where nothing is rounded, nothing else
/// becomes infinite or zero.
TermValues::Word TermValues::converted(const TraceSort& source, Word a, const TraceSort& target, Word rounded,
                                       bool is_exact) {
  const Encoding x = encoding(source, a), y = encoding(target, rounded);
  const auto constant = [&](const mpz_class& n) { return words_.constant(n, words_.width(rounded)); };
  const Bit impossible = is_exact ? graph_.either(y.nan, graph_.either(y.infinite, y.zero)) : y.nan;
  Word result = words_.choice(impossible, constant(1), rounded);
  result = words_.choice(x.zero, constant(0),
                         words_.choice(x.infinite, constant(encoded_infinity(target)), result));
  Bits bits = words_.bits(result);
  bits.back() = x.sign;
  return words_.choice(x.nan, constant(encoded_nan(target)), words_.word(std::move(bits)));
}

/// What is made of an integer, a bit-vector or a fraction is a number.
TermValues::Value TermValues::float_of_number(const Expression& e, const TraceSort& format) {
  const Word any = application(e);
  return words_.choice(encoding(format, any).nan, words_.constant(0, words_.width(any)), any);
}

/// Of two factors, or of what is divided and by what, only whether the signs differ counts.
TermValues::Value TermValues::scaled_float(const Expression& e) {
  const TraceSort& format = terms_.sort(e.sort);
  const Word a = argument(e, 1), b = argument(e, 2);
  const Encoding x = encoding(format, a), y = encoding(format, b);
  const Bit numbers = graph_.both(x.nan ^ 1U, y.nan ^ 1U);
  Word first = magnitude(a), second = magnitude(b);
  if (e.op == "fp.mul" && second < first) std::swap(first, second);
  Thing t;
  t.op = operator_key(e);
  t.args = {{argument(e, 0), is_word(static_cast<Id>(e.args[0]))},
            {first, true},
            {second, true},
            {truth(graph_.both(numbers, graph_.parity(x.sign, y.sign))), true}};
  return application(std::move(t), e);
}

/// Nothing is done with NaN, and multiplying or dividing by 1 or -1 is exact.
std::optional<TermValues::Value> TermValues::float_with_constant(const Expression& e,
                                                                 const TraceSort& format) {
  if (!e.op.starts_with("fp.")) return std::nullopt;
  const mpz_class one = ((mpz_class(1) << (format.width - 1)) - 1) << (format.significand - 1);
  const mpz_class sign = mpz_class(1) << (format.width + format.significand - 1);
  for (std::size_t i = 0; i < e.args.size(); ++i) {
    const Id arg = static_cast<Id>(e.args[i]);
    if (!is_float(terms_.term(arg))) continue;
    const auto value = words_.number(argument(e, i));
    if (!value) continue;
    const Word constant = argument(e, i);
    if (encoding(format, constant).nan == BitGraph::yes) return constant;
    const bool scales = e.args.size() == 3 && (e.op == "fp.mul" || (e.op == "fp.div" && i == 2));
    if (!scales || (*value != one && *value != one + sign)) continue;
    return negated_float(format, argument(e, 3 - i), *value == one ? BitGraph::no : BitGraph::yes);
  }
  return std::nullopt;
}

/// An operator of a rounding mode, two numbers whose order does not matter, and maybe a third one.
TermValues::Value TermValues::commuted_float(const Expression& e, const std::string& op, Word a, Word b) {
  Expression commutative = e;
  commutative.op = op;
  Thing t;
  t.op = operator_key(commutative);
  t.args = {
      {argument(e, 0), is_word(static_cast<Id>(e.args[0]))}, {std::min(a, b), true}, {std::max(a, b), true}};
  if (e.args.size() == 4) t.args.emplace_back(argument(e, 3), true);
  return application(std::move(t), e);
}

/// What is an integer already, infinite or no number stays. Where the largest number is an integer, others do
/// not become infinite.
TermValues::Value TermValues::rounded_float(const Expression& e, const TraceSort& format) {
  const Word a = argument(e, 1);
  if (integral_.contains(a)) return a;
  const Encoding x = encoding(format, a);
  Thing t;
  t.op = operator_key(e);
  t.args = {{argument(e, 0), is_word(static_cast<Id>(e.args[0]))}, {a, true}};
  Word rounded = application(std::move(t), e);
  const bool stays_finite = format.width > 64 || (std::size_t{1} << (format.width - 1)) >= format.significand;
  const Encoding y = encoding(format, rounded);
  const Word zero = words_.constant(0, words_.width(a));
  rounded = words_.choice(stays_finite ? graph_.either(y.nan, y.infinite) : y.nan, zero, rounded);
  Bits bits = words_.bits(rounded);
  bits.back() = words_.bits(a).back();  // the sign stays
  rounded = words_.word(std::move(bits));
  return *integral_.insert(words_.choice(graph_.either(x.nan, graph_.either(x.infinite, x.zero)), a, rounded))
              .first;
}

/// The smaller or the larger of two numbers; which of two zeros it is is open, of a number and NaN it is the
/// number.
TermValues::Value TermValues::extremum(const Expression& e, const TraceSort& format) {
  const Word a = argument(e, 0), b = argument(e, 1);
  const Encoding x = encoding(format, a), y = encoding(format, b);
  const Bit is_first = e.op == "fp.min" ? float_less(format, a, b, false) : float_less(format, b, a, false);
  const Bit is_open = graph_.both(graph_.both(x.zero, y.zero), words_.equal(a, b) ^ 1U);
  Thing t;
  t.op = operator_key(e);
  t.args = {{a, true}, {b, true}};
  const Word zero = is_open == BitGraph::no ? a : application(std::move(t), e);
  const Word of_numbers = words_.choice(is_open, zero, words_.choice(is_first, a, b));
  return words_.choice(x.nan, b, words_.choice(y.nan, a, of_numbers));
}

/// Encodings of negative numbers are in the opposite order. Both zeros are equal.
BitGraph::Bit TermValues::float_less(const TraceSort& format, Word a, Word b, bool or_equal) {
  const Encoding x = encoding(format, a), y = encoding(format, b);
  const Bit numbers = graph_.both(x.nan ^ 1U, y.nan ^ 1U), zeros = graph_.both(x.zero, y.zero);
  const Bit up = words_.less(a, b, or_equal, false), down = words_.less(b, a, or_equal, false);
  const Bit by_sign =
      graph_.choice(x.sign, graph_.choice(y.sign, down, BitGraph::yes), graph_.both(y.sign ^ 1U, up));
  return graph_.both(numbers, graph_.choice(zeros, or_equal ? BitGraph::yes : BitGraph::no, by_sign));
}

std::optional<BitGraph::Bit> TermValues::float_truth(const Expression& e) {
  const TraceSort& format = terms_.sort_of(static_cast<Id>(e.args[0]));
  const Word a = argument(e, 0);
  const Encoding x = encoding(format, a);
  if (e.args.size() == 1) {
    if (e.op == "fp.isNaN") return x.nan;
    if (e.op == "fp.isInfinite") return x.infinite;
    if (e.op == "fp.isZero") return x.zero;
    if (e.op == "fp.isSubnormal") return x.subnormal;
    if (e.op == "fp.isNormal") return x.normal;
    if (e.op == "fp.isNegative") return graph_.both(x.nan ^ 1U, x.sign);
    if (e.op == "fp.isPositive") return graph_.both(x.nan ^ 1U, x.sign ^ 1U);
    return std::nullopt;
  }
  if (e.args.size() != 2) return std::nullopt;
  const Word b = argument(e, 1);
  if (e.op == "fp.lt" || e.op == "fp.leq") return float_less(format, a, b, e.op == "fp.leq");
  if (e.op != "fp.eq") return std::nullopt;
  const Encoding y = encoding(format, b);
  const Bit numbers = graph_.both(x.nan ^ 1U, y.nan ^ 1U), zeros = graph_.both(x.zero, y.zero);
  return graph_.both(numbers, graph_.either(zeros, words_.equal(a, b)));
}

}  // namespace quarv::cli
