/// \file
/// Values of truth values and bit-vectors.
#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>

#include "reference/operations.h"
#include "replay/term_values.h"

namespace quarv::cli {

namespace {

std::size_t index(const Expression& e, std::size_t i) {
  std::size_t number = 0;
  std::from_chars(e.indices[i].data(), e.indices[i].data() + e.indices[i].size(), number);
  return number;
}

bool has_fewer_values(const TraceSort& sort, std::size_t num) {
  constexpr std::size_t most_bits = 32;
  switch (sort.kind) {
    case TraceSort::boolean:
      return num > 2;
    case TraceSort::rounding_mode:
      return num > std::size(reference::rounding_mode_names);
    case TraceSort::bit_vector:
      return sort.width < most_bits && num > std::size_t{1} << sort.width;
    default:
      return false;
  }
}

}  // namespace

std::optional<TermValues::Value> TermValues::truth(const Expression& e) {
  const auto all_boolean = [&] {
    return std::ranges::all_of(
        e.args, [this](TermName t) { return terms_.sort_of(static_cast<Id>(t)).kind == TraceSort::boolean; });
  };
  if (e.op == "=" || e.op == "distinct") return truth(equation(e));
  if (!e.variables.empty()) return quantified(e);
  if ((e.op == "not" || e.op == "and" || e.op == "or") && all_boolean()) {
    std::vector<Bit> parts;
    for (std::size_t i = 0; i < e.args.size(); ++i) parts.push_back(bit(argument(e, i)));
    if (e.op == "not") return truth(parts[0] ^ 1U);
    return truth(e.op == "and" ? graph_.conjunction(std::move(parts)) : graph_.disjunction(std::move(parts)));
  }
  const Expression& first = terms_.term(static_cast<Id>(e.args[0]));
  if (is_float(first)) {
    const auto known = float_truth(e);
    return known ? std::optional(truth(*known)) : std::nullopt;
  }
  if (e.args.size() != 2) return std::nullopt;
  const Value a = argument(e, 0), b = argument(e, 1);
  if (is_number(first)) {
    Sum difference = sum_of(a);
    add(difference, sum_of(b), -1);
    if (e.op == "<=") return truth(compare(std::move(difference), false));
    if (e.op == "divisible" && e.indices.size() == 1) {
      mpz_class modulus;
      if (modulus.set_str(e.indices[0], 10) != 0 || modulus <= 0) return std::nullopt;
      return truth(congruent(std::move(difference), modulus));
    }
    return std::nullopt;
  }
  if (!is_word(first)) return std::nullopt;
  if (e.op == "bvult" || e.op == "bvule") return truth(words_.less(a, b, e.op == "bvule", false));
  if (e.op == "bvslt" || e.op == "bvsle") return truth(words_.less(a, b, e.op == "bvsle", true));
  return std::nullopt;
}

BitGraph::Bit TermValues::equation(const Expression& e) {
  const Id first = static_cast<Id>(e.args[0]);
  const TraceSort& sort = terms_.sort_of(first);
  if (e.op == "distinct" && has_fewer_values(sort, e.args.size())) return BitGraph::no;
  std::vector<Bit> all;
  for (std::size_t i = 0; i < e.args.size(); ++i) {
    for (std::size_t k = i + 1; k < e.args.size(); ++k) {
      if (e.op == "=" && k > i + 1) break;
      const Value a = argument(e, i), b = argument(e, k);
      const Bit same = sort.kind == TraceSort::array ? equal_arrays(a, b, terms_.term(first))
                                                     : equal({a, is_word(first)}, {b, is_word(first)});
      all.push_back(e.op == "=" ? same : same ^ 1U);
    }
  }
  return graph_.conjunction(std::move(all));
}

std::optional<TermValues::Value> TermValues::bit_vector(const Expression& e) {
  const std::size_t n = e.args.size();
  if (e.op == "int2bv" && n == 1) return word_of(argument(e, 0), width(e));
  if (!std::ranges::all_of(e.args, [this](TermName t) { return is_word(static_cast<Id>(t)); }))
    return std::nullopt;
  if (n == 1) return unary(e, argument(e, 0));
  // Quotients of wide words are not looked into, but of choices between constants.
  constexpr std::array divisions = {"bvudiv", "bvurem", "bvsdiv", "bvsrem"};
  if (std::ranges::find(divisions, e.op) != divisions.end()) {
    if (const auto known = evaluated(e)) return known;
  }
  return n == 2 ? binary(e, argument(e, 0), argument(e, 1)) : std::nullopt;
}

std::optional<TermValues::Value> TermValues::unary(const Expression& e, Word a) {
  const std::size_t w = words_.width(a);
  if (e.op == "bvnot") return words_.complement(a);
  if (e.op == "bvneg") return words_.subtract(words_.constant(0, w), a);
  if (e.op == "zero_extend" || e.op == "sign_extend")
    return words_.extended(a, width(e), e.op == "sign_extend");
  if (e.op == "extract") return words_.part(a, index(e, 1), width(e));
  if (e.op == "rotate_left" || e.op == "rotate_right") {
    Bits bits = words_.bits(a);
    const std::size_t by = index(e, 0) % w;
    const std::size_t down = e.op == "rotate_right" ? by : (w - by) % w;
    std::rotate(bits.begin(), bits.begin() + static_cast<std::ptrdiff_t>(down), bits.end());
    return words_.word(std::move(bits));
  }
  return std::nullopt;
}

std::optional<TermValues::Value> TermValues::binary(const Expression& e, Word a, Word b) {
  const std::string& op = e.op;
  if (op == "bvadd") return words_.add(a, b);
  if (op == "bvsub") return words_.subtract(a, b);
  if (op == "bvmul") return words_.multiply(a, b);
  if (op == "bvudiv") return words_.divide(a, b).first;
  if (op == "bvurem") return words_.divide(a, b).second;
  if (op == "bvsdiv" || op == "bvsrem") return divided(op == "bvsdiv", a, b);
  if (op == "bvshl") return words_.shift(a, b, Words::Shift::left);
  if (op == "bvlshr") return words_.shift(a, b, Words::Shift::right);
  if (op == "bvashr") return words_.shift(a, b, Words::Shift::signed_right);
  if (op == "bvcomp") return truth(words_.equal(a, b));
  if (op != "concat" && op != "bvand" && op != "bvor" && op != "bvxor") return std::nullopt;
  Bits bits = words_.bits(op == "concat" ? b : a);
  if (op == "concat") {
    bits.insert(bits.end(), words_.bits(a).begin(), words_.bits(a).end());
    return words_.word(std::move(bits));
  }
  for (std::size_t i = 0; i < bits.size(); ++i) {
    const Bit other = words_.bits(b)[i];
    bits[i] = op == "bvand"  ? graph_.both(bits[i], other)
              : op == "bvor" ? graph_.either(bits[i], other)
                             : graph_.parity(bits[i], other);
  }
  return words_.word(std::move(bits));
}

/// The quotient of signed numbers is rounded towards zero; the remainder has the dividend's sign.
TermValues::Word TermValues::divided(bool quotient, Word a, Word b) {
  const Word zero = words_.constant(0, words_.width(a));
  const Bit negative_a = words_.bits(a).back(), negative_b = words_.bits(b).back();
  const Word x = words_.choice(negative_a, words_.subtract(zero, a), a);
  const Word y = words_.choice(negative_b, words_.subtract(zero, b), b);
  const auto result = words_.divide(x, y);
  const Word r = quotient ? result.first : result.second;
  return words_.choice(quotient ? graph_.parity(negative_a, negative_b) : negative_a,
                       words_.subtract(zero, r), r);
}

}  // namespace quarv::cli
