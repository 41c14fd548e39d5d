/// \file
/// Values of floating-point numbers: words that are their encodings, of NaN always the same one. What only
/// looks at the encoding is understood; the other operators stand for anything.
#include <algorithm>

#include "replay/term_values.h"

namespace quarv::cli {

using Bits = Words::Bits;
using Word = Words::Word;

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
  mpz_class encoded = ((mpz_class(1) << format.width) - 1) << (format.significand - 1);
  mpz_setbit(encoded.get_mpz_t(), 0);
  return words_.choice(nan, words_.constant(encoded, bits.size()), words_.word(bits));
}

/// Floating-point numbers that are the encoding of another one, or almost; a difference is a sum.
std::optional<TermValues::Value> TermValues::float_value(const Expression& e) {
  const TraceSort& format = terms_.sort(e.sort);
  const std::size_t n = e.args.size();
  const bool of_words =
      std::ranges::all_of(e.args, [this](TermName t) { return is_word(static_cast<Id>(t)); });
  if (n == 1 && of_words && e.op == "to_fp") return float_word(format, words_.bits(argument(e, 0)));
  if (n == 1 && (e.op == "fp.neg" || e.op == "fp.abs")) {
    Bits bits = words_.bits(argument(e, 0));
    bits.back() = e.op == "fp.abs" ? BitGraph::no : bits.back() ^ 1U;
    return float_word(format, bits);
  }
  if (n != 3 || (e.op != "fp.add" && e.op != "fp.sub" && e.op != "fp.mul")) return std::nullopt;
  Expression sum = e;
  Word b = argument(e, 2);
  if (e.op == "fp.sub") {
    sum.op = "fp.add";
    Bits bits = words_.bits(b);
    bits.back() ^= 1U;
    b = float_word(format, bits);
  }
  const Word a = argument(e, 1);
  Thing t;
  t.op = operator_key(sum);
  t.args = {
      {argument(e, 0), is_word(static_cast<Id>(e.args[0]))}, {std::min(a, b), true}, {std::max(a, b), true}};
  return application(std::move(t), e);
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
  if (e.args.size() != 2 || (e.op != "fp.eq" && e.op != "fp.lt" && e.op != "fp.leq")) return std::nullopt;
  const Word b = argument(e, 1);
  const Encoding y = encoding(format, b);
  const Bit numbers = graph_.both(x.nan ^ 1U, y.nan ^ 1U), zeros = graph_.both(x.zero, y.zero);
  if (e.op == "fp.eq") return graph_.both(numbers, graph_.either(zeros, words_.equal(a, b)));
  // Encodings of negative numbers are in the opposite order. Both zeros are equal.
  const bool or_equal = e.op == "fp.leq";
  const Bit up = words_.less(a, b, or_equal, false), down = words_.less(b, a, or_equal, false);
  const Bit by_sign =
      graph_.choice(x.sign, graph_.choice(y.sign, down, BitGraph::yes), graph_.both(y.sign ^ 1U, up));
  return graph_.both(numbers, graph_.choice(zeros, or_equal ? BitGraph::yes : BitGraph::no, by_sign));
}

}  // namespace quarv::cli
