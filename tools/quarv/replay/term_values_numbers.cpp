/// \file
/// Values of numbers: polynomials, and comparisons of them.
#include <algorithm>

#include "replay/term_values.h"

namespace quarv::cli {

namespace {

constexpr std::size_t most_summands = 64, most_factors = 32, longest_sum = 200;
// A product of more stays one: squares of squares of a number would take all memory.
constexpr std::size_t most_bits = std::size_t{1} << 20;
const std::string natural_key = "natural number";

mpz_class floor_of(const mpq_class& q) {
  mpz_class z;
  mpz_fdiv_q(z.get_mpz_t(), q.get_num_mpz_t(), q.get_den_mpz_t());
  return z;
}

std::size_t num_bits(const mpq_class& q) {
  return mpz_sizeinbase(q.get_num_mpz_t(), 2) + mpz_sizeinbase(q.get_den_mpz_t(), 2);
}

}  // namespace

bool TermValues::is_number(const Expression& e) const {
  const TraceSort::Kind kind = terms_.sort(e.sort).kind;
  return kind == TraceSort::integer || kind == TraceSort::real;
}

TermValues::Sum TermValues::sum_of(Value v) const {
  const Thing& t = at(v);
  if (t.kind != Thing::sum) return {{{v, 1}}, 0};
  Sum current;
  current.constant = t.polynomial.constant;
  for (const auto& [part, c] : t.polynomial.coefficients) {
    const Value now = found(part);
    if (now == part || at(now).kind != Thing::sum) {
      add(current, {{{now, 1}}, 0}, c);
    } else {
      add(current, at(now).polynomial, c);
    }
  }
  return current;
}

void TermValues::add(Sum& sum, const Sum& other, const mpq_class& factor) {
  sum.constant += factor * other.constant;
  for (const auto& [part, c] : other.coefficients) {
    mpq_class& known = sum.coefficients[part];
    known += factor * c;
    if (known == 0) sum.coefficients.erase(part);
  }
}

std::string TermValues::text(const Sum& sum) {
  std::string text = sum.constant.get_str(32);
  for (const auto& [part, c] : sum.coefficients) text += '+' + c.get_str(32) + '*' + std::to_string(part);
  return text;
}

bool TermValues::is_integral(const Sum& sum) const {
  return sum.constant.get_den() == 1 && std::ranges::all_of(sum.coefficients, [this](const auto& c) {
           return c.second.get_den() == 1 && at(c.first).is_integer;
         });
}

TermValues::Value TermValues::number(const Sum& sum) {
  if (sum.constant == 0 && sum.coefficients.size() == 1 && sum.coefficients.begin()->second == 1) {
    return sum.coefficients.begin()->first;
  }
  Thing t;
  t.kind = Thing::sum;
  t.is_number = true;
  t.is_integer = is_integral(sum);
  t.polynomial = sum;
  return thing(std::move(t), "sum " + text(sum));
}

std::optional<TermValues::Value> TermValues::number(const Expression& e) {
  const std::size_t n = e.args.size();
  const auto arg = [&](std::size_t i) { return sum_of(argument(e, i)); };
  const bool of_numbers =
      std::ranges::all_of(e.args, [this](TermName t) { return is_number(terms_.term(static_cast<Id>(t))); });
  if (!of_numbers) {
    if (n != 1 || !is_word(static_cast<Id>(e.args[0]))) return std::nullopt;
    if (e.op == "bv2nat") return natural(argument(e, 0), false);
    if (e.op == "sbv_to_int") return natural(argument(e, 0), true);
    return std::nullopt;
  }
  if (e.op == "+") {
    Sum sum;
    for (std::size_t i = 0; i < n; ++i) add(sum, arg(i), 1);
    if (sum.coefficients.size() > longest_sum) return std::nullopt;
    return number(sum);
  }
  if (e.op == "-") {
    Sum sum;
    for (std::size_t i = 0; i < n; ++i) add(sum, arg(i), i == 0 && n > 1 ? 1 : -1);
    if (sum.coefficients.size() > longest_sum) return std::nullopt;
    return number(sum);
  }
  if (e.op == "to_real" && n == 1) return argument(e, 0);
  if (e.op == "to_int" && n == 1) return floor(arg(0));
  if (e.op == "abs" && n == 1) {
    const Sum x = arg(0);
    Sum negated;
    add(negated, x, -1);
    return choice(compare(negated, false), number(x), number(negated));
  }
  if (e.op == "*" && n == 2) return product(arg(0), arg(1));
  const bool divides = n == 2 && arg(1).coefficients.empty() && arg(1).constant != 0;
  if (!divides) return std::nullopt;
  const mpq_class divisor = arg(1).constant;
  Sum scaled;
  if (e.op == "/") {
    add(scaled, arg(0), 1 / divisor);
    return number(scaled);
  }
  if ((e.op != "div" && e.op != "mod") || divisor.get_den() != 1) return std::nullopt;
  add(scaled, arg(0), 1 / abs(divisor));
  Sum quotient;  // by the divisor's absolute value
  add(quotient, sum_of(floor(scaled)), 1);
  if (e.op == "div") return sgn(divisor) > 0 ? number(quotient) : product(quotient, Sum{{}, -1});
  Sum rest = arg(0);
  add(rest, quotient, -abs(divisor));
  return number(rest);
}

TermValues::Value TermValues::product(const Sum& a, const Sum& b) {
  Sum sum;
  const auto size = [](const Sum& s) { return s.coefficients.size() + (s.constant != 0 ? 1 : 0); };
  const auto bits = [](const Sum& s) {
    std::size_t most = num_bits(s.constant);
    for (const auto& [x, c] : s.coefficients) most = std::max(most, num_bits(c));
    return most;
  };
  const bool few = size(a) * size(b) <= most_summands || a.coefficients.empty() || b.coefficients.empty();
  const bool small = few && bits(a) + bits(b) <= most_bits;
  if (!small) {
    add(sum, {{{factors(number(a), number(b)), 1}}, 0}, 1);
    return number(sum);
  }
  add(sum, a, b.constant);
  add(sum, {b.coefficients, 0}, a.constant);
  for (const auto& [x, c] : a.coefficients) {
    for (const auto& [y, d] : b.coefficients) add(sum, {{{factors(x, y), 1}}, 0}, c * d);
  }
  return number(sum);
}

/// Two things multiplied, neither of them a sum, unless they are large.
TermValues::Value TermValues::factors(Value a, Value b) {
  Thing t;
  t.kind = Thing::product;
  t.is_number = true;
  t.is_integer = at(a).is_integer && at(b).is_integer;
  for (const Value side : {a, b}) {
    if (at(side).kind == Thing::product && at(side).args.size() < most_factors) {
      t.args.insert(t.args.end(), at(side).args.begin(), at(side).args.end());
    } else {
      t.args.emplace_back(side, false);
    }
  }
  std::ranges::sort(t.args);
  std::string key = "product";
  for (const auto& [factor, is_word] : t.args) key += ' ' + std::to_string(factor);
  return thing(std::move(t), key);
}

/// The integer part of (n + floor(s)) / m is that of (n + s) / m, for integers n and m.
void TermValues::open_floor(Sum& sum) const {
  mpz_class divisor = 1;
  for (const auto& [part, c] : sum.coefficients) divisor = lcm(divisor, c.get_den());
  divisor = lcm(divisor, sum.constant.get_den());
  const auto is_integer = [this](const auto& c) { return at(c.first).is_integer; };
  if (divisor == 1 || !std::ranges::all_of(sum.coefficients, is_integer)) return;
  for (const auto& [part, c] : sum.coefficients) {
    const Thing& t = at(part);
    if (t.op != floor_key || c * divisor != 1) continue;
    const Sum inner = sum_of(found(t.args[0].first));
    const mpq_class factor = c;
    sum.coefficients.erase(part);
    add(sum, inner, factor);
    return;
  }
}

/// The integer part without what is an integer anyway.
TermValues::Value TermValues::floor(Sum sum) {
  open_floor(sum);
  for (const auto& [part, c] : sum.coefficients) {
    const Thing& t = at(part);
    if (t.kind != Thing::choice || (t.is_integer && c.get_den() == 1) || budget_ < t.cases.size()) continue;
    budget_ -= t.cases.size();
    std::vector<Case> cases = t.cases;
    for (auto& [leaf, condition] : cases) {
      Sum there = sum;
      there.coefficients.erase(part);
      add(there, sum_of(found(leaf)), c);
      leaf = floor(std::move(there));
    }
    return choice(std::move(cases));
  }
  Sum whole, rest;
  for (const auto& [part, c] : sum.coefficients) {
    if (at(part).is_integer && c.get_den() == 1) whole.coefficients[part] = c;
  }
  add(sum, whole, -1);
  if (const auto part = floor_of_remainder(sum)) {
    whole.constant = *part;
    return number(whole);
  }
  for (const auto& [part, c] : sum.coefficients) {
    const mpz_class times = at(part).is_integer ? floor_of(c) : mpz_class(0);
    if (times != 0) whole.coefficients[part] = times;
    if (c != times) rest.coefficients[part] = c - times;
  }
  whole.constant = floor_of(sum.constant);
  rest.constant = sum.constant - whole.constant;
  if (rest.coefficients.empty()) return number(whole);
  Thing t;
  t.op = floor_key;
  t.is_number = t.is_integer = true;
  t.args.emplace_back(number(rest), false);
  const Value v = thing(std::move(t), "floor " + text(rest));
  add(whole, sum_of(v), 1);
  return number(whole);
}

// Bit-vectors as numbers, and back.

/// The sign bit counts negatively.
TermValues::Value TermValues::natural(Word w, bool is_signed) {
  Bits bits = words_.bits(w);
  Sum sum;
  if (is_signed) {
    while (bits.size() > 1 && bits[bits.size() - 2] == bits.back()) bits.pop_back();
    const Value sign = natural(words_.word({bits.back()}), false);
    bits.pop_back();
    add(sum, sum_of(sign), mpq_class(-(mpz_class(1) << bits.size())));
  }
  while (!bits.empty() && bits.back() == BitGraph::no) bits.pop_back();
  if (bits.empty()) return number(sum);
  const Word rest = words_.word(std::move(bits));
  if (const auto value = words_.number(rest)) {
    sum.constant += *value;
    return number(sum);
  }
  Thing t;
  t.op = natural_key;
  t.is_number = t.is_integer = true;
  t.args.emplace_back(rest, true);
  add(sum, {{{thing(std::move(t), natural_key + ' ' + std::to_string(rest)), 1}}, 0}, 1);
  return number(sum);
}

/// The word that a natural number of bits is.
std::optional<TermValues::Word> TermValues::word_of_natural(Value v) {
  const Thing& t = at(v);
  if (t.kind != Thing::application || t.op != natural_key) return std::nullopt;
  return words_.current(t.args[0].first);
}

/// A choice between integers modulo 2^width. Choices in sums in choices are not followed far.
std::optional<TermValues::Word> TermValues::word_of_choice(Value v, std::size_t width, std::size_t depth) {
  constexpr std::size_t deepest = 8;
  if (at(v).kind != Thing::choice || depth == deepest) return std::nullopt;
  const std::vector<Case> cases = at(v).cases;
  if (budget_ < cases.size()) return std::nullopt;
  budget_ -= cases.size();
  std::optional<Word> all;
  for (const auto& [leaf, condition] : cases) {
    const auto word = word_of(found(leaf), width, depth + 1);
    if (!word) return std::nullopt;
    all = all ? words_.choice(condition, *word, *all) : *word;
  }
  return all;
}

/// An integer modulo 2^width. Of integers that are not understood a bit may be anything, but always the same.
std::optional<TermValues::Word> TermValues::word_of(Value v, std::size_t width, std::size_t depth) {
  const Sum sum = sum_of(v);
  if (!is_integral(sum)) return std::nullopt;
  std::vector<std::pair<Word, mpz_class>> summands;
  for (const auto& [part, c] : sum.coefficients) {
    Bits bits;
    if (const auto word = word_of_natural(part)) {
      bits = words_.bits(*word);
      bits.resize(width, BitGraph::no);
    } else if (const auto chosen = word_of_choice(part, width, depth)) {
      bits = words_.bits(*chosen);
    }
    while (bits.size() < width) {
      const std::string key = "bit " + std::to_string(bits.size()) + ' ' + std::to_string(part);
      const auto [known, is_new] = known_bits_.try_emplace(key, 0);
      if (is_new) known->second = graph_.variable();
      bits.push_back(known->second);
    }
    summands.emplace_back(words_.word(std::move(bits)), c.get_num());
  }
  return words_.combination(summands, sum.constant.get_num(), width);
}

}  // namespace quarv::cli
