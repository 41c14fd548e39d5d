/// \file
/// Checking what simplifiers do: arrays, and equalities of what is compared as a whole.
#include <algorithm>
#include <unordered_set>

#include "replay/replay_checker.h"

namespace quarv::cli {

/// Longer chains of writes, deeper nested arrays and more comparisons than this are left undecided: all that
/// is checked must end within reasonable time.
constexpr std::size_t most_writes = 2000;
constexpr std::size_t deepest = 64;
constexpr std::size_t most_comparisons = 100'000;

FoldingChecker::Contents FoldingChecker::contents(TermName array) const {
  Contents c;
  for (;; array = trace_.term(array).args[0]) {
    const Expression& e = trace_.term(array);
    if (e.kind != Expression::operation || e.op != "store" || e.args.size() != 3) break;
    c.writes.emplace_back(e.args[1], e.args[2]);
    c.complete = c.writes.size() <= most_writes;
    if (!c.complete) break;
  }
  c.base = array;
  return c;
}

/// One text for indices that are known to be equal: a term, a sum, or any encoding of NaN.
const std::string& FoldingChecker::index_key(TermName t) const {
  const auto [known, inserted] = index_keys_.try_emplace(t);
  std::string& key = known->second;
  if (!inserted) return key;
  const Expression& e = trace_.term(t);
  if (is_nan(e)) return key = "NaN";
  if (!is_arithmetic(e.sort)) return key = '=' + std::to_string(t);
  const Sum sum = sum_of({{t, 1}});
  key = sum.constant.get_str();
  for (const auto& [term, c] : sum.coefficients) key += '+' + c.get_str() + '*' + std::to_string(term);
  return key;
}

/// Without writes that an outer one to the same index hides, and without those that change nothing.
FoldingChecker::Contents FoldingChecker::reduced(const Contents& c) const {
  Contents result;
  result.base = c.base;
  std::unordered_set<std::string> written;
  for (const auto& write : c.writes) {
    if (written.insert(index_key(write.first)).second) result.writes.push_back(write);
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
  if (before.base != result.base || !before.complete || !result.complete) return false;
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

bool FoldingChecker::is_nan(const Expression& e) const {
  const TraceSort& sort = trace_.sort(e.sort);
  if (e.kind != Expression::value || sort.kind != TraceSort::floating_point) return false;
  const mpz_class& bits = e.number.get_num();
  const mpz_class significand = (mpz_class(1) << (sort.significand - 1)) - 1;
  const mpz_class exponent = ((mpz_class(1) << sort.width) - 1) << (sort.significand - 1);
  return (bits & exponent) == exponent && (bits & significand) != 0;
}

/// A number for each value that a literal may have, the same one for all that are equal.
std::optional<mpq_class> FoldingChecker::index_value(TermName t) const {
  if (const auto value = truth(t)) return mpq_class(*value ? 1 : 0);
  const Expression& e = trace_.term(t);
  if (e.kind != Expression::value) return std::nullopt;
  return is_nan(e) ? mpq_class(-1) : e.number;  // encodings are not negative
}

FoldingChecker::Comparison FoldingChecker::compare(TermName a, TermName b) const {
  if (a == b) return Comparison::equal;
  if (trace_.sort_of(a).kind != TraceSort::array) return compare_values(a, b);
  if (trace_.term(a).sort != trace_.term(b).sort || trace_.sort_of(a).depth > deepest ||
      ++num_compared_ > most_comparisons) {
    return Comparison::unknown;
  }
  // Parts that arrays share would be compared as often as they occur.
  const auto known = compared_.find({a, b});
  if (known != compared_.end()) return known->second;
  const Comparison result = compare_arrays(a, b);
  compared_.emplace(std::pair(a, b), result);
  return result;
}

FoldingChecker::Comparison FoldingChecker::compare_values(TermName a, TermName b) const {
  const auto x = index_value(a);
  const auto y = index_value(b);
  const bool comparable = trace_.term(a).sort == trace_.term(b).sort ||
                          (is_arithmetic(trace_.term(a).sort) && is_arithmetic(trace_.term(b).sort));
  if (!x || !y || !comparable) return Comparison::unknown;
  return *x == *y ? Comparison::equal : Comparison::different;
}

/// Arrays that are written to only at literal indices. Calls itself as deep as sorts are nested.
FoldingChecker::Comparison FoldingChecker::compare_arrays(TermName a, TermName b) const {
  std::map<mpq_class, TermName> of[2];
  TermName elsewhere[2];
  const std::size_t index_sort = trace_.sort_of(a).args[0];
  for (int side : {0, 1}) {
    const Contents c = contents(side == 0 ? a : b);
    const Expression& base = trace_.term(c.base);
    if (!c.complete || base.kind != Expression::operation || base.op != "const" || base.args.size() != 1)
      return Comparison::unknown;
    elsewhere[side] = base.args[0];
    for (const auto& [index, element] : c.writes) {
      const auto value = index_value(index);
      if (!value) return Comparison::unknown;
      of[side].emplace(*value, element);  // the outermost write counts
    }
  }
  const auto at = [&](int side, const mpq_class& index) {
    const auto written = of[side].find(index);
    return written != of[side].end() ? written->second : elsewhere[side];
  };
  std::map<mpq_class, TermName> indices = of[0];
  indices.insert(of[1].begin(), of[1].end());
  bool all_equal = true;
  for (const auto& [index, element] : indices) {
    const Comparison c = compare(at(0, index), at(1, index));
    if (c == Comparison::different) return c;
    all_equal = all_equal && c == Comparison::equal;
  }
  const auto values = cardinality(index_sort);
  if (values && indices.size() >= *values) return all_equal ? Comparison::equal : Comparison::unknown;
  const Comparison c = compare(elsewhere[0], elsewhere[1]);
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
    return compare(a, b) == (*value ? Comparison::equal : Comparison::different);
  }
  // Constant arrays are equal where their elements are; the result of that equality is known.
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
