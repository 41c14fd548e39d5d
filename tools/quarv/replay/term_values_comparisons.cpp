/// \file
/// Values of comparisons of numbers.
#include <algorithm>
#include <bit>

#include "replay/term_values.h"

namespace quarv::cli {

namespace {

constexpr std::size_t most_words = 8, most_width = 300;
constexpr unsigned long largest_modulus = 16;  // of residues that are looked into

}  // namespace

/// Case by case of one of the choices: what `says` says of the sum there.
template <class Says>
std::optional<BitGraph::Bit> TermValues::in_cases(const Sum& d, Says says) {
  for (const auto& [part, c] : d.coefficients) {
    const Thing& t = at(part);
    if (t.kind != Thing::choice || budget_ < t.cases.size()) continue;
    budget_ -= t.cases.size();
    std::vector<Bit> any;
    for (const auto& [leaf, condition] : t.cases) {
      Sum there = d;
      add(there, {{{part, 1}}, 0}, -c);
      add(there, sum_of(found(leaf)), c);
      any.push_back(graph_.both(condition, says(std::move(there))));
    }
    return graph_.disjunction(std::move(any));
  }
  return std::nullopt;
}

/// Nothing but products in which each factor has a partner, with coefficients of this sign.
bool TermValues::is_sum_of_squares(const Sum& d, int sign) const {
  return std::ranges::all_of(d.coefficients, [&](const auto& c) {
    const Thing& t = at(c.first);
    if (t.kind != Thing::product || sgn(c.second) != sign || t.args.size() % 2 != 0) return false;
    for (std::size_t i = 0; i < t.args.size(); i += 2) {
      if (t.args[i] != t.args[i + 1]) return false;  // they are sorted
    }
    return true;
  });
}

/// Squares are not negative, and their sum is 0 where all of them are.
std::optional<BitGraph::Bit> TermValues::compare_squares(const Sum& d, bool equality) {
  const int sign = sgn(d.coefficients.begin()->second);
  if (!is_sum_of_squares(d, sign)) return std::nullopt;
  if (sgn(d.constant) == sign) return equality || sign > 0 ? BitGraph::no : BitGraph::yes;
  if (d.constant != 0 || (equality && d.coefficients.size() == 1)) return std::nullopt;
  if (!equality && sign < 0) return BitGraph::yes;
  std::vector<Bit> any;
  for (const auto& [part, c] : d.coefficients) any.push_back(compare({{{part, 1}}, 0}, true) ^ 1U);
  return graph_.disjunction(std::move(any)) ^ 1U;
}

/// The square of a sum, times a number, was multiplied out: x*x + 4*x*y + 4*y*y.
std::optional<BitGraph::Bit> TermValues::compare_square_of_sum(const Sum& d, bool equality) {
  const auto is_square_of = [this](Value part) -> std::optional<Value> {
    const Thing& t = at(part);
    if (t.kind != Thing::product || t.args.size() != 2 || t.args[0] != t.args[1]) return std::nullopt;
    return t.args[0].first;
  };
  for (const auto& [part, c] : d.coefficients) {
    const auto x = is_square_of(part);
    if (!x) continue;
    Sum root{{{*x, 1}}, 0};
    for (const auto& [other, k] : d.coefficients) {
      const Thing& t = at(other);
      const bool mixed = t.kind == Thing::product && t.args.size() == 2 && t.args[0] != t.args[1];
      const bool with_x = mixed && (t.args[0].first == *x || t.args[1].first == *x);
      if (with_x) add(root, {{{t.args[t.args[0].first == *x ? 1 : 0].first, 1}}, 0}, k / (2 * c));
      if (other == *x) root.constant = k / (2 * c);
    }
    Sum rest = d;
    add(rest, sum_of(product(root, root)), -c);
    if (!rest.coefficients.empty()) return std::nullopt;
    const int sign = sgn(c);
    if (sgn(rest.constant) == sign) return equality || sign > 0 ? BitGraph::no : BitGraph::yes;
    if (rest.constant != 0) return std::nullopt;
    return !equality && sign < 0 ? BitGraph::yes : compare(std::move(root), true);
  }
  return std::nullopt;
}

/// Whether the sum is 0, or at most 0.
BitGraph::Bit TermValues::compare(Sum d, bool equality) {
  if (d.coefficients.empty()) {
    return (equality ? d.constant == 0 : d.constant <= 0) ? BitGraph::yes : BitGraph::no;
  }
  spend(d.coefficients.size());
  // Coprime integers as coefficients.
  mpz_class multiple = 1, divisor = 0;
  for (const auto& [part, c] : d.coefficients) multiple = lcm(multiple, c.get_den());
  for (const auto& [part, c] : d.coefficients) divisor = gcd(divisor, mpz_class(c * multiple));
  mpq_class scale(multiple, divisor);
  scale.canonicalize();
  if (equality && d.coefficients.begin()->second < 0) scale = -scale;
  Sum scaled;
  add(scaled, d, scale);
  const bool integer =
      std::ranges::all_of(scaled.coefficients, [this](const auto& c) { return at(c.first).is_integer; });
  if (integer && equality && scaled.constant.get_den() != 1) return BitGraph::no;
  if (integer) {
    mpz_class ceiling;
    mpz_cdiv_q(ceiling.get_mpz_t(), scaled.constant.get_num_mpz_t(), scaled.constant.get_den_mpz_t());
    scaled.constant = ceiling;
  }
  if (const auto bit = compare_words(scaled, equality)) return *bit;
  if (const auto bit = compare_remainder(scaled, equality)) return *bit;
  if (const auto bit = compare_squares(scaled, equality)) return *bit;
  if (const auto bit = compare_square_of_sum(scaled, equality)) return *bit;
  const auto by_cases = in_cases(scaled, [&](Sum there) { return compare(std::move(there), equality); });
  if (by_cases) return *by_cases;
  return compare_form(std::move(scaled), equality, integer);
}

/// Natural numbers of bits are compared as such: what is added on one side with what is on the other.
std::optional<BitGraph::Bit> TermValues::compare_words(const Sum& d, bool equality) {
  if (d.coefficients.size() > most_words || d.constant.get_den() != 1) return std::nullopt;
  std::vector<std::pair<Word, mpz_class>> sides[2];
  mpz_class largest[2];
  for (const auto& [part, c] : d.coefficients) {
    const auto word = word_of_natural(part);
    if (!word || words_.width(*word) > most_width || mpz_sizeinbase(c.get_num_mpz_t(), 2) > most_width) {
      return std::nullopt;
    }
    const int side = sgn(c) > 0 ? 0 : 1;
    sides[side].emplace_back(*word, abs(c.get_num()));
    largest[side] += abs(c.get_num()) << words_.width(*word);
  }
  mpz_class constants[2];
  constants[sgn(d.constant) > 0 ? 0 : 1] = abs(d.constant.get_num());
  const mpz_class bound = std::max<mpz_class>(largest[0] + constants[0], largest[1] + constants[1]);
  const std::size_t width = mpz_sizeinbase(bound.get_mpz_t(), 2);
  if (width > 2 * most_width) return std::nullopt;
  Word words[2];
  for (const int side : {0, 1}) {
    for (auto& [word, c] : sides[side]) word = words_.extended(word, width, false);
    words[side] = words_.combination(sides[side], constants[side], width);
  }
  return equality ? words_.equal(words[0], words[1]) : words_.less(words[0], words[1], true, false);
}

/// A multiple of the integer part of a sum, and the rest of another sum, as a fractional part: nothing where
/// more is left than a constant.
std::optional<TermValues::Remainder> TermValues::remainder(Sum rest, const mpq_class& times, Sum of) {
  add(rest, of, times);
  if (!rest.coefficients.empty()) return std::nullopt;
  return Remainder{std::move(of), -times, rest.constant};
}

/// The sum as the fractional part of another one, if it is that. The integer part of (t + m) / n is that of
/// (floor(t) + m) / n, for integers n and m.
std::optional<TermValues::Remainder> TermValues::remainder(const Sum& sum) const {
  for (const auto& [part, times] : sum.coefficients) {
    if (at(part).op != floor_key) continue;
    const Sum of = floor_argument(part);
    Sum rest = sum;
    rest.coefficients.erase(part);
    if (auto r = remainder(rest, times, of)) return r;
    for (const auto& [inner, c] : rest.coefficients) {
      const mpq_class n = -times / c;
      if (at(inner).op != floor_key || n.get_den() != 1 || n <= 1) continue;
      Sum m;
      add(m, of, n);
      add(m, floor_argument(inner), -1);
      if (!is_integral(m)) continue;
      Sum nested{{{inner, 1 / n}}, 0};
      add(nested, m, 1 / n);
      if (auto r = remainder(rest, times, std::move(nested))) return r;
    }
  }
  return std::nullopt;
}

/// A fractional part is at least 0 and less than 1; that of a sum of integers with the denominator n is less
/// by 1/n.
TermValues::RemainderRange TermValues::range(const Remainder& r) const {
  mpz_class divisor = r.sum.constant.get_den();
  for (const auto& [part, c] : r.sum.coefficients) divisor = lcm(divisor, c.get_den());
  const bool of_integers =
      std::ranges::all_of(r.sum.coefficients, [this](const auto& c) { return at(c.first).is_integer; });
  if (!of_integers) divisor = 0;
  const mpq_class largest = divisor == 0 ? mpq_class(1) : mpq_class(1) - mpq_class(mpz_class(1), divisor);
  const mpq_class ends[] = {r.constant, r.constant + r.factor * largest};
  const auto [low, high] = std::minmax(ends[0], ends[1]);
  return {low, high, divisor == 0 && r.factor < 0, divisor == 0 && r.factor > 0, divisor};
}

/// The integer part of a remainder, where it is the same for all of them.
std::optional<mpz_class> TermValues::floor_of_remainder(const Sum& sum) const {
  const auto r = remainder(sum);
  if (!r) return std::nullopt;
  const RemainderRange in = range(*r);
  mpz_class first, last;
  mpz_fdiv_q(first.get_mpz_t(), in.low.get_num_mpz_t(), in.low.get_den_mpz_t());
  mpz_fdiv_q(last.get_mpz_t(), in.high.get_num_mpz_t(), in.high.get_den_mpz_t());
  if (in.is_below_high && in.high.get_den() == 1) --last;
  return first == last ? std::optional(first) : std::nullopt;
}

/// Which remainder it is says whether a sum is congruent to a number.
std::optional<BitGraph::Bit> TermValues::compare_remainder(const Sum& d, bool equality) {
  const auto r = remainder(d);
  if (!r) return std::nullopt;
  const RemainderRange in = range(*r);
  if (in.high < 0 || (in.high == 0 && (in.is_below_high || !equality)))
    return equality ? BitGraph::no : BitGraph::yes;
  if (in.low > 0 || (in.low == 0 && in.is_above_low)) return BitGraph::no;
  const mpz_class& divisor = in.divisor;
  if (divisor == 0 || (!equality && divisor > largest_modulus)) return std::nullopt;
  Sum scaled;  // its residue is the fractional part times the divisor
  add(scaled, r->sum, mpq_class(divisor));
  const auto is = [&](const mpq_class& residue) {
    Sum rest = scaled;
    rest.constant -= residue;
    return rest.constant.get_den() == 1 ? congruent(rest, divisor) : BitGraph::no;
  };
  const mpq_class zero_at = -r->constant * divisor / r->factor;
  if (equality) return is(zero_at);
  std::vector<Bit> any;
  for (mpz_class k = 0; k < divisor; ++k) {
    if (r->factor > 0 ? k <= zero_at : k >= zero_at) any.push_back(is(mpq_class(k)));
  }
  return graph_.disjunction(std::move(any));
}

/// A bound of the sum without its constant, of which the first coefficient is positive.
BitGraph::Bit TermValues::compare_form(Sum d, bool equality, bool integer) {
  Atom says;
  says.kind = equality ? Atom::equal_to : Atom::at_most;
  says.is_integer = integer;
  bool negated = false;
  says.bound = -d.constant;
  if (!equality && d.coefficients.begin()->second < 0) {
    Sum opposite;
    add(opposite, d, -1);
    d = std::move(opposite);
    says.bound = -d.constant;
    // An integer is not smaller than the bound unless it is at most one less.
    says.kind = integer ? Atom::at_most : Atom::at_least;
    negated = integer;
    if (integer) says.bound -= 1;
  }
  d.constant = 0;
  const std::string form = text(d);
  const auto [known, is_new] = forms_.try_emplace(form, forms_.size());
  if (is_new) form_sums_.push_back(d);
  says.form = known->second;
  const std::string key = std::to_string(says.kind) + ' ' + says.bound.get_str(32) + ' ' + form;
  return atom(std::move(says), key) ^ (negated ? 1U : 0U);
}

namespace {

/// The smallest prime factor of a number greater than 1.
unsigned long smallest_factor(unsigned long n) {
  unsigned long p = 2;
  while (n % p != 0) ++p;
  return p;
}

}  // namespace

/// Whether the sum is a multiple of the modulus: that does not depend on its sign. Of small moduli the powers
/// of primes decide, and of those the digits of residues, so that what is said of one integer by several
/// moduli belongs together.
BitGraph::Bit TermValues::congruent(const Sum& d, const mpz_class& modulus) {
  const auto by_cases = in_cases(d, [&](const Sum& there) { return congruent(there, modulus); });
  if (by_cases) return *by_cases;
  unsigned long prime = 0;
  if (modulus > 1 && modulus <= largest_modulus && is_integral(d)) {
    const unsigned long n = modulus.get_ui();
    prime = smallest_factor(n);
    unsigned long power = prime;
    while (n % (power * prime) == 0) power *= prime;
    if (power != n) return graph_.both(congruent(d, mpz_class(power)), congruent(d, mpz_class(n / power)));
  }
  Sum chosen;
  std::string form;
  for (const int sign : {1, -1}) {
    Sum reduced;
    add(reduced, d, sign);
    const auto reduce = [&](mpq_class& c, bool integer) {
      if (c.get_den() == 1 && integer) mpz_fdiv_r(c.get_num_mpz_t(), c.get_num_mpz_t(), modulus.get_mpz_t());
    };
    reduce(reduced.constant, true);
    for (auto& [part, c] : reduced.coefficients) reduce(c, at(part).is_integer);
    std::erase_if(reduced.coefficients, [](const auto& c) { return c.second == 0; });
    if (reduced.coefficients.empty()) return reduced.constant == 0 ? BitGraph::yes : BitGraph::no;
    const std::string own = text({reduced.coefficients, 0});
    if (form.empty() || own < form || (own == form && reduced.constant < chosen.constant)) {
      form = own;
      chosen = std::move(reduced);
    }
  }
  if (prime != 0) {
    const unsigned long n = modulus.get_ui(), constant = chosen.constant.get_num().get_ui();
    const Bit before = n == prime ? BitGraph::yes : congruent(d, modulus / prime);
    const std::string residue = "residue " + std::to_string(n) + ' ' + form;
    return graph_.both(before, has_digit(residue, prime, (n - constant) % n / (n / prime)));
  }
  const std::string key = "multiple of " + modulus.get_str(32) + ' ' + text(chosen);
  const auto [known, is_new] = known_bits_.try_emplace(key, 0);
  if (is_new) known->second = graph_.variable();
  return graph_.find(known->second);
}

/// Whether the last digit to the base of an integer's residue, of which this is the text, is this one: a
/// word, which is the greatest digit where it is none.
TermValues::Bit TermValues::has_digit(const std::string& residue, unsigned long base, unsigned long digit) {
  const auto [known, is_new] = known_words_.try_emplace(residue, 0);
  if (is_new) known->second = words_.variable(static_cast<std::size_t>(std::bit_width(base - 1)));
  const Word w = words_.current(known->second);
  const auto is = [&](unsigned long k) {
    return words_.equal(w, words_.constant(mpz_class(k), words_.width(w)));
  };
  if (digit + 1 < base) return is(digit);
  std::vector<Bit> others;
  for (unsigned long k = 0; k < digit; ++k) others.push_back(is(k));
  return graph_.disjunction(std::move(others)) ^ 1U;
}

}  // namespace quarv::cli
