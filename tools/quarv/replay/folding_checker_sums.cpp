/// \file
/// Checking what simplifiers do: linear arithmetic.
#include <algorithm>
#include <functional>

#include "replay/replay_checker.h"

namespace quarv::cli {

bool FoldingChecker::is_arithmetic(std::size_t sort) const {
  const TraceSort::Kind kind = trace_.sort(sort).kind;
  return kind == TraceSort::integer || kind == TraceSort::real;
}

// Sums.

/// The sum of multiples of terms. Each shared part is looked at once: a term is younger than its arguments,
/// so the youngest comes first, with its whole coefficient.
FoldingChecker::Sum FoldingChecker::sum_of(
    const std::vector<std::pair<TermName, mpq_class>>& summands) const {
  constexpr std::size_t most = 100'000;  // of what is looked at: larger parts stay as they are
  std::size_t num_seen = 0;
  Sum sum;
  std::map<TermName, mpq_class, std::greater<>> pending;
  for (const auto& [t, c] : summands) pending[t] += c;
  while (!pending.empty()) {
    const auto [t, c] = *pending.begin();
    pending.erase(pending.begin());
    if (c == 0) continue;
    const Expression& e = trace_.term(t);
    const bool binary = e.kind == Expression::operation && e.args.size() == 2 && ++num_seen < most;
    const auto factor = [&](std::size_t i) { return trace_.term(e.args[i]).kind == Expression::value; };
    if (e.kind == Expression::value) {
      sum.constant += c * e.number;
    } else if (binary && e.op == "+") {
      pending[e.args[0]] += c;
      pending[e.args[1]] += c;
    } else if (binary && e.op == "*" && factor(0)) {
      pending[e.args[1]] += c * trace_.term(e.args[0]).number;
    } else if (binary && e.op == "*" && factor(1)) {
      pending[e.args[0]] += c * trace_.term(e.args[1]).number;
    } else {
      sum.coefficients[t] = c;
    }
  }
  return sum;
}

/// Integer coefficients of integer terms.
bool FoldingChecker::is_integral(const Sum& s) const {
  return s.constant.get_den() == 1 &&
         std::all_of(s.coefficients.begin(), s.coefficients.end(),
                     [&](const auto& c) { return c.second.get_den() == 1 && is_integer(c.first); });
}

bool FoldingChecker::check_arithmetic(const Expression& e, TermName after) const {
  const std::size_t n = e.args.size();
  if (e.op == "to_int") return n == 1 && check_floor(e.args[0], after);
  if (n != 2) return false;
  if (e.op == "=" || e.op == "<=") return check_atom(e, after);
  if (e.op == "divisible") return check_congruence(e, after);
  if (e.op == "+") {
    const Sum difference = sum_of({{e.args[0], 1}, {e.args[1], 1}, {after, -1}});
    return difference.coefficients.empty() && difference.constant == 0;
  }
  if (e.op != "*") return false;
  for (std::size_t i : {0, 1}) {
    const Expression& factor = trace_.term(e.args[i]);
    if (factor.kind != Expression::value) continue;
    const Sum difference = sum_of({{e.args[1 - i], factor.number}, {after, -1}});
    return difference.coefficients.empty() && difference.constant == 0;
  }
  return false;
}

namespace {

/// The positive number that makes the coefficients coprime integers.
template <class Coefficients>
mpq_class scale_of(const Coefficients& coefficients) {
  mpz_class multiple = 1, divisor = 0;
  for (const auto& [t, c] : coefficients) multiple = lcm(multiple, c.get_den());
  for (const auto& [t, c] : coefficients)
    divisor = gcd(divisor, mpz_class(c.get_num() * (multiple / c.get_den())));
  mpq_class scale(multiple, divisor);
  scale.canonicalize();
  return scale;
}

mpz_class ceiling(const mpq_class& q) {
  mpz_class z;
  mpz_cdiv_q(z.get_mpz_t(), q.get_num_mpz_t(), q.get_den_mpz_t());
  return z;
}

}  // namespace

/// Comparisons of sums: the same one up to a factor, or, between integers, one with the same solutions.
bool FoldingChecker::check_atom(const Expression& e, TermName after) const {
  const bool equality = e.op == "=";
  Sum sum = sum_of({{e.args[0], 1}, {e.args[1], -1}});
  const auto value = truth(after);
  if (sum.coefficients.empty()) return value == (equality ? sum.constant == 0 : sum.constant <= 0);
  const auto normalize = [&](Sum& s) {
    const mpq_class scale = scale_of(s.coefficients);
    const mpq_class factor = equality && s.coefficients.begin()->second < 0 ? mpq_class(-scale) : scale;
    bool integers = true;
    for (auto& [t, c] : s.coefficients) {
      c *= factor;
      integers = integers && is_integer(t);
    }
    s.constant *= factor;
    if (integers && !equality) s.constant = ceiling(s.constant);
    return integers;
  };
  const bool integers = normalize(sum);
  if (value) return !*value && equality && integers && sum.constant.get_den() != 1;
  const Expression& result = trace_.term(after);
  if (result.kind != Expression::operation || result.op != e.op || result.args.size() != 2) return false;
  if (!is_arithmetic(trace_.term(result.args[0]).sort)) return false;
  Sum other = sum_of({{result.args[0], 1}, {result.args[1], -1}});
  if (other.coefficients.empty()) return false;
  normalize(other);
  return sum.coefficients == other.coefficients && sum.constant == other.constant;
}

/// Congruences of integers: both sides may be exchanged, and multiples of the modulus added.
bool FoldingChecker::check_congruence(const Expression& e, TermName after) const {
  mpz_class modulus;
  if (e.indices.size() != 1 || modulus.set_str(e.indices[0], 10) != 0 || modulus <= 0) return false;
  const auto is_multiple = [&](const Sum& s) {
    return s.coefficients.empty() && s.constant.get_den() == 1 && s.constant.get_num() % modulus == 0;
  };
  const Sum sum = sum_of({{e.args[0], 1}, {e.args[1], -1}});
  if (const auto value = truth(after)) return sum.coefficients.empty() && *value == is_multiple(sum);
  const Expression& result = trace_.term(after);
  if (result.kind != Expression::operation || result.op != e.op || result.indices != e.indices ||
      result.args.size() != 2) {
    return false;
  }
  for (int sign : {1, -1}) {
    if (is_multiple(
            sum_of({{e.args[0], 1}, {e.args[1], -1}, {result.args[0], -sign}, {result.args[1], sign}}))) {
      return true;
    }
  }
  return false;
}

/// floor(i + r) = i + floor(r) for an integer i.
bool FoldingChecker::check_floor(TermName argument, TermName after) const {
  const Sum difference = sum_of({{argument, 1}, {after, -1}});
  if (difference.coefficients.empty() && is_integral(sum_of({{after, 1}}))) {
    return sgn(difference.constant) >= 0 && cmp(difference.constant, 1) < 0;
  }
  const Sum result = sum_of({{after, 1}});
  for (const auto& [t, c] : result.coefficients) {
    const Expression& floor = trace_.term(t);
    if (c != 1 || floor.kind != Expression::operation || floor.op != "to_int" || floor.args.size() != 1)
      continue;
    const Sum integers = sum_of({{after, 1}, {t, -1}});
    const Sum rest = sum_of({{argument, 1}, {after, -1}, {t, 1}, {floor.args[0], -1}});
    if (is_integral(integers) && rest.coefficients.empty() && rest.constant == 0) return true;
  }
  return false;
}

}  // namespace quarv::cli
