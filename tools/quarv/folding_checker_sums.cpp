/// \file
/// Checking what simplifiers do: linear arithmetic and arrays.
#include <algorithm>
#include <functional>

#include "replay_checker.h"

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
  Sum sum;
  std::map<TermName, mpq_class, std::greater<>> pending;
  for (const auto& [t, c] : summands) pending[t] += c;
  while (!pending.empty()) {
    const auto [t, c] = *pending.begin();
    pending.erase(pending.begin());
    if (c == 0) continue;
    const Expression& e = trace_.term(t);
    const bool binary = e.kind == Expression::operation && e.args.size() == 2;
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

// Arrays.

FoldingChecker::Contents FoldingChecker::contents(TermName array) const {
  Contents c;
  for (;; array = trace_.term(array).args[0]) {
    const Expression& e = trace_.term(array);
    if (e.kind != Expression::operation || e.op != "store" || e.args.size() != 3) break;
    c.writes.emplace_back(e.args[1], e.args[2]);
  }
  c.base = array;
  return c;
}

/// Without writes that an outer one to the same index hides, and without those that change nothing.
FoldingChecker::Contents FoldingChecker::reduced(const Contents& c) const {
  Contents result;
  result.base = c.base;
  const auto same_index = [&](TermName index) {
    return [this, index](const auto& write) { return are_equal(write.first, index); };
  };
  for (const auto& write : c.writes) {
    if (std::none_of(result.writes.begin(), result.writes.end(), same_index(write.first)))
      result.writes.push_back(write);
  }
  const Expression& base = trace_.term(c.base);
  const bool constant = base.kind == Expression::operation && base.op == "const" && base.args.size() == 1;
  for (; !result.writes.empty(); result.writes.pop_back()) {
    const auto [index, element] = result.writes.back();
    const Expression& e = trace_.term(element);
    const bool read = e.kind == Expression::operation && e.op == "select" && e.args.size() == 2 &&
                      e.args[0] == c.base && are_equal(e.args[1], index);
    if (!read && !(constant && base.args[0] == element)) break;
  }
  return result;
}

bool FoldingChecker::check_store(const Expression& e, TermName after) const {
  if (e.op == "select") {
    if (e.args.size() != 2) return false;
    const Expression& array = trace_.term(e.args[0]);
    return array.kind == Expression::operation && array.op == "const" && array.args.size() == 1 &&
           array.args[0] == after;
  }
  if (e.args.size() != 3) return false;
  // What is written is what is there.
  const Expression& element = trace_.term(e.args[2]);
  if (after == e.args[0] && element.op == "select" && element.kind == Expression::operation &&
      element.args.size() == 2 && element.args[0] == after && are_equal(element.args[1], e.args[1])) {
    return true;
  }
  Contents before = contents(e.args[0]);
  before.writes.insert(before.writes.begin(), {e.args[1], e.args[2]});
  Contents result = contents(after);
  constexpr std::size_t longest = 2000;
  if (before.base != result.base || before.writes.size() > longest) return false;
  before = reduced(before);
  result = reduced(result);
  return std::equal(before.writes.begin(), before.writes.end(), result.writes.begin(), result.writes.end(),
                    [&](const auto& a, const auto& b) {
                      return are_equal(a.first, b.first) && are_equal(a.second, b.second);
                    });
}

/// How many values a sort has, if that is known and not too large a number to be of interest.
std::optional<mpz_class> FoldingChecker::cardinality(std::size_t sort) const {
  const TraceSort& s = trace_.sort(sort);
  if (s.kind == TraceSort::boolean) return mpz_class(2);
  if (s.kind == TraceSort::bit_vector && s.width < 64) return mpz_class(1) << s.width;
  return std::nullopt;
}

FoldingChecker::Comparison FoldingChecker::compare(TermName a, TermName b, int depth) const {
  constexpr int deepest = 64;
  if (a == b) return Comparison::equal;
  const Expression& x = trace_.term(a);
  const Expression& y = trace_.term(b);
  if (truth(a) && truth(b)) return *truth(a) == *truth(b) ? Comparison::equal : Comparison::different;
  const TraceSort& sort = trace_.sort(x.sort);
  if (x.kind == Expression::value && y.kind == Expression::value && x.sort == y.sort) {
    if (x.number == y.number) return Comparison::equal;
    if (sort.kind != TraceSort::floating_point) return Comparison::different;
    const auto is_nan = [&](const Expression& e) {
      const mpz_class bits = e.number.get_num();
      const mpz_class significand = (mpz_class(1) << (sort.significand - 1)) - 1;
      const mpz_class exponent = ((mpz_class(1) << sort.width) - 1) << (sort.significand - 1);
      return (bits & exponent) == exponent && (bits & significand) != 0;
    };
    return is_nan(x) && is_nan(y) ? Comparison::equal : Comparison::different;
  }
  if (sort.kind == TraceSort::array && x.sort == y.sort && depth < deepest)
    return compare_arrays(a, b, depth + 1);
  return Comparison::unknown;
}

/// Arrays that are written to only at literal indices.
FoldingChecker::Comparison FoldingChecker::compare_arrays(TermName a, TermName b, int depth) const {
  std::map<TermName, TermName> of[2];
  TermName elsewhere[2];
  const std::size_t index_sort = trace_.sort_of(a).args[0];
  for (int side : {0, 1}) {
    const Contents c = contents(side == 0 ? a : b);
    const Expression& base = trace_.term(c.base);
    if (base.kind != Expression::operation || base.op != "const" || base.args.size() != 1)
      return Comparison::unknown;
    elsewhere[side] = base.args[0];
    for (const auto& [index, element] : c.writes) {
      if (trace_.term(index).kind != Expression::value && !truth(index)) return Comparison::unknown;
      of[side].emplace(index, element);  // the outermost write counts
    }
  }
  const auto at = [&](int side, TermName index) {
    const auto written = of[side].find(index);
    return written != of[side].end() ? written->second : elsewhere[side];
  };
  std::map<TermName, TermName> indices = of[0];
  indices.insert(of[1].begin(), of[1].end());
  bool all_equal = true;
  for (const auto& [index, element] : indices) {
    const Comparison c = compare(at(0, index), at(1, index), depth);
    if (c == Comparison::different) return c;
    all_equal = all_equal && c == Comparison::equal;
  }
  const auto values = cardinality(index_sort);
  if (values && indices.size() >= *values) return all_equal ? Comparison::equal : Comparison::unknown;
  const Comparison c = compare(elsewhere[0], elsewhere[1], depth);
  const TraceSort::Kind kind = trace_.sort(index_sort).kind;
  const bool left_out = values || kind == TraceSort::integer || kind == TraceSort::real ||
                        (kind == TraceSort::bit_vector && indices.size() < (std::size_t{1} << 40));
  if (c == Comparison::different && left_out) return c;
  return all_equal && c == Comparison::equal ? Comparison::equal : Comparison::unknown;
}

/// Equalities of what is neither Boolean nor a number of arithmetic.
bool FoldingChecker::check_equality(const Expression& e, TermName after) const {
  TermName a = e.args[0], b = e.args[1];
  if (trace_.term(a).sort != trace_.term(b).sort) return false;
  if (const auto value = truth(after)) {
    return compare(a, b, 0) == (*value ? Comparison::equal : Comparison::different);
  }
  // Constant arrays are equal where their elements are; what became of that equality is known.
  const auto is_constant = [&](TermName t) {
    const Expression& c = trace_.term(t);
    return c.kind == Expression::operation && c.op == "const" && c.args.size() == 1;
  };
  while (a != b && is_constant(a) && is_constant(b)) {
    a = trace_.term(a).args[0];
    b = trace_.term(b).args[0];
  }
  Expression equality;
  equality.op = "=";
  equality.args = {a, b};
  return a != e.args[0] && (known_.find(equality) == after || known_.find_plain(equality) == after);
}

}  // namespace quarv::cli
