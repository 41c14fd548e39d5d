/// \file
/// What is known of the variables of truth functions: applications to equal arguments are equal, bounds of
/// one sum exclude or imply each other, and equal numbers can be exchanged.
#include <algorithm>
#include <functional>
#include <iterator>

#include "replay/term_values.h"

namespace quarv::cli {

namespace {

constexpr int most_rounds = 6;
constexpr std::size_t most_lemmas = 2000, most_lemma_nodes = 20'000, most_variables = 400, most_pairs = 40;
constexpr std::size_t nearest = 4000, most_lemma_cases = 100, longest_equation = 4;

/// A set of numbers between two bounds, or all but one.
struct Range {
  std::optional<mpq_class> low, high;
  bool low_is_in = true, high_is_in = true;
  bool is_hole = false;  ///< all but `low`

  bool is_point() const { return !is_hole && low && high && *low == *high && low_is_in && high_is_in; }
  bool contains(const mpq_class& x) const {
    if (is_hole) return x != *low;
    return (!low || *low < x || (low_is_in && *low == x)) &&
           (!high || x < *high || (high_is_in && *high == x));
  }
};

/// What two ranges have in common; a hole inside a range is not cut out.
Range common(const Range& a, const Range& b) {
  if (a.is_hole) return b;
  if (b.is_hole) return a;
  Range both = a;
  if (b.low && (!both.low || *both.low < *b.low || (*both.low == *b.low && !b.low_is_in))) {
    both.low = b.low;
    both.low_is_in = b.low_is_in;
  }
  if (b.high && (!both.high || *b.high < *both.high || (*both.high == *b.high && !b.high_is_in))) {
    both.high = b.high;
    both.high_is_in = b.high_is_in;
  }
  return both;
}

bool is_empty(const Range& r) {
  if (r.is_hole || !r.low || !r.high) return false;
  return *r.high < *r.low || (*r.low == *r.high && !(r.low_is_in && r.high_is_in));
}

bool exclude_each_other(const Range& a, const Range& b) {
  if (a.is_hole && b.is_hole) return false;
  if (a.is_hole) return b.is_point() && !a.contains(*b.low);
  if (b.is_hole) return a.is_point() && !b.contains(*a.low);
  return is_empty(common(a, b));
}

}  // namespace

/// Looks for lemmas, and again at what they speak of, until they suffice or there are no more.
bool TermValues::holds(Bit goal) {
  if (proof_.holds(goal, {}, most_lemma_nodes)) return true;
  LemmaList list;
  std::vector<Bit> roots{goal};
  std::size_t tried = 0;
  for (int round = 1; round <= most_rounds && lemmas_left_ > 0; ++round) {
    const std::size_t before = list.lemmas.size();
    std::vector<BitGraph::Node> variables;
    for (const BitGraph::Node n : nearest_nodes(graph_, roots, nearest)) {
      if (graph_.kind(n) == BitGraph::Kind::variable && variables.size() < most_variables)
        variables.push_back(n);
    }
    std::ranges::sort(variables);
    add_lemmas(variables, list);
    const std::size_t num_new = list.lemmas.size() - before;
    lemmas_left_ -= std::min(lemmas_left_, num_new);
    num_lemmas_ += num_new;
    for (std::size_t i = before; i < list.lemmas.size(); ++i) {
      roots.insert(roots.end(), list.lemmas[i].begin(), list.lemmas[i].end());
    }
    const bool is_last = num_new == 0 || round == most_rounds || list.lemmas.size() >= most_lemmas;
    if ((is_last || round % 2 == 1) && list.lemmas.size() > tried) {
      if (proof_.holds(goal, list.lemmas, most_lemma_nodes)) return true;
      tried = list.lemmas.size();
    }
    if (is_last) break;
  }
  return false;
}

void TermValues::add_lemmas(const std::vector<BitGraph::Node>& variables, LemmaList& list) {
  std::map<std::string, std::vector<BitGraph::Node>> groups;
  std::vector<BitGraph::Node> equations;
  for (const BitGraph::Node n : variables) {
    const auto part = application_bits_.find(n);
    if (part != application_bits_.end()) {
      const auto& [number, bit] = part->second;
      groups[std::to_string(bit) + ' ' + applications_[number].op].push_back(n);
    }
    const auto known = atoms_.find(n);
    if (known == atoms_.end()) continue;
    const Atom& says = known->second;
    if (says.kind == Atom::equality) {
      for (const Value side : {says.a, says.b}) groups["of " + std::to_string(side)].push_back(n);
      if (list.done.emplace(n, n).second) add_congruence(n, list);
      continue;
    }
    groups["form " + std::to_string(says.form)].push_back(n);
    if (says.kind == Atom::equal_to && form_sums_[says.form].coefficients.size() <= longest_equation) {
      equations.push_back(n);
    }
    if (list.done.emplace(n, n).second) {
      add_exchanges(n, list);
      add_factors(n, list);
    }
  }
  for (const auto& [key, group] : groups) {
    const std::size_t n = std::min(group.size(), most_pairs);
    for (std::size_t i = 0; i < n; ++i) {
      for (std::size_t k = i + 1; k < n; ++k) {
        if (key.starts_with("form ")) {
          add_bounds(group, i, k, list);
        } else if (list.done_pairs.emplace(group[i], group[k]).second) {
          key.starts_with("of ") ? add_transitivity(group[i], group[k], list)
                                 : add_congruence(group[i], group[k], list);
        }
      }
    }
  }
  for (const BitGraph::Node e : equations) {
    for (const BitGraph::Node n : variables) {
      if (list.lemmas.size() >= most_lemmas) return;
      if (n != e && atoms_.contains(n) && list.done.emplace(e, n).second) add_substitution(e, n, list);
    }
  }
}

/// Whether all arguments of two applications of one operator are equal.
BitGraph::Bit TermValues::equal_arguments(const Thing& a, const Thing& b) {
  std::vector<Bit> all;
  budget_ = most_lemma_cases;
  if (a.kind != Thing::application || b.kind != Thing::application || a.op != b.op ||
      a.args.size() != b.args.size()) {
    return BitGraph::no;
  }
  for (std::size_t i = 0; i < a.args.size(); ++i) {
    if (a.args[i].second != b.args[i].second) return BitGraph::no;
    Value x = current(a.args[i].first, a.args[i].second), y = current(b.args[i].first, b.args[i].second);
    if (a.args[i].second) {
      // Words that are natural numbers are as wide as they need to be.
      const std::size_t width = std::max(words_.width(x), words_.width(y));
      x = words_.extended(x, width, false);
      y = words_.extended(y, width, false);
    }
    all.push_back(equal({x, a.args[i].second}, {y, b.args[i].second}));
    if (all.back() == BitGraph::no) return BitGraph::no;
  }
  return graph_.conjunction(std::move(all));
}

/// An equality of two applications follows from that of their arguments.
void TermValues::add_congruence(BitGraph::Node equality, LemmaList& list) {
  const Atom says = atoms_.at(equality);
  const Bit same = equal_arguments(at(says.a), at(says.b));
  if (same != BitGraph::no) list.lemmas.push_back({same ^ 1U, 2 * equality});
}

/// Bits of words that are applications to equal arguments.
void TermValues::add_congruence(BitGraph::Node a, BitGraph::Node b, LemmaList& list) {
  const Thing& x = applications_[application_bits_.at(a).first];
  const Thing& y = applications_[application_bits_.at(b).first];
  if (x.args.empty()) return;
  const Bit same = equal_arguments(x, y);
  if (same != BitGraph::no) list.lemmas.push_back({same ^ 1U, graph_.same(2 * a, 2 * b)});
}

/// u = v and u = w imply v = w.
void TermValues::add_transitivity(BitGraph::Node a, BitGraph::Node b, LemmaList& list) {
  const Atom x = atoms_.at(a), y = atoms_.at(b);
  const Value shared = x.a == y.a || x.a == y.b ? x.a : x.b;
  const Value v = x.a == shared ? x.b : x.a, w = y.a == shared ? y.b : y.a;
  budget_ = most_lemma_cases;
  list.lemmas.push_back({2 * a ^ 1U, 2 * b ^ 1U, equal(found(v), found(w))});
}

/// What the comparison says is at most 0, or 0.
TermValues::Sum TermValues::compared_sum(const Atom& says) const {
  Sum d;
  add(d, form_sums_[says.form], says.kind == Atom::at_least ? -1 : 1);
  d.constant = says.kind == Atom::at_least ? says.bound : mpq_class(-says.bound);
  return d;
}

/// Under a condition the comparison says the same as another one.
void TermValues::add_equivalence(Bit condition, BitGraph::Node a, Sum other, LemmaList& list) {
  budget_ = most_lemma_cases;
  const Bit b = compare(std::move(other), atoms_.at(a).kind == Atom::equal_to);
  list.lemmas.push_back({condition ^ 1U, 2 * a ^ 1U, b});
  list.lemmas.push_back({condition ^ 1U, 2 * a, b ^ 1U});
}

/// In a sum applications to equal arguments can be exchanged, so that they cancel each other.
void TermValues::add_exchanges(BitGraph::Node a, LemmaList& list) {
  const Sum d = compared_sum(atoms_.at(a));
  std::size_t num = 0;
  for (const auto& [u, c] : d.coefficients) {
    for (const auto& [v, e] : d.coefficients) {
      if (sgn(c) <= 0 || sgn(e) >= 0 || num >= most_pairs) continue;
      const Bit same = equal_arguments(at(u), at(v));
      if (same == BitGraph::no) continue;
      ++num;
      Sum other = d;
      const mpq_class times = c;
      add(other, {{{u, 1}}, 0}, -times);
      add(other, {{{v, 1}}, 0}, times);
      add_equivalence(same, a, std::move(other), list);
    }
  }
}

/// A sum of products with common factors is 0 where one of these is, or what is left of it.
void TermValues::add_factors(BitGraph::Node equation, LemmaList& list) {
  const Atom says = atoms_.at(equation);
  const Sum d = compared_sum(says);
  if (says.kind != Atom::equal_to || d.constant != 0) return;
  const auto factors_of = [this](Value part) {
    return at(part).kind == Thing::product ? at(part).args : std::vector<Argument>{{part, false}};
  };
  std::vector<Argument> common = factors_of(d.coefficients.begin()->first);
  for (const auto& [part, c] : d.coefficients) {
    const std::vector<Argument> here = factors_of(part);
    std::vector<Argument> both;
    std::ranges::set_intersection(common, here, std::back_inserter(both));
    common = std::move(both);
  }
  if (common.empty() || (d.coefficients.size() == 1 && common.size() == 1)) return;
  Sum rest;
  for (const auto& [part, c] : d.coefficients) {
    const std::vector<Argument> here = factors_of(part);
    std::vector<Argument> left;
    std::ranges::set_difference(here, common, std::back_inserter(left));
    Sum product{{}, 1};
    for (const Argument& factor : left) product = sum_of(this->product(product, {{{factor.first, 1}}, 0}));
    add(rest, product, c);
  }
  budget_ = most_lemma_cases;
  std::vector<Bit> none{compare(std::move(rest), true) ^ 1U};
  for (const Argument& factor : common) none.push_back(compare({{{factor.first, 1}}, 0}, true) ^ 1U);
  const Bit any = graph_.conjunction(std::move(none)) ^ 1U;
  list.lemmas.push_back({2 * equation ^ 1U, any});
  list.lemmas.push_back({2 * equation, any ^ 1U});
}

/// An equation solved for one of its parts, in another comparison.
void TermValues::add_substitution(BitGraph::Node equation, BitGraph::Node a, LemmaList& list) {
  const Atom& says = atoms_.at(a);
  if (says.kind == Atom::equality) return;
  const Sum zero = compared_sum(atoms_.at(equation)), d = compared_sum(says);
  for (const auto& [part, c] : zero.coefficients) {
    const auto there = d.coefficients.find(part);
    if (there == d.coefficients.end()) continue;
    Sum other = d;
    add(other, zero, -there->second / c);
    add_equivalence(2 * equation, a, std::move(other), list);
  }
}

/// Bounds of one sum.
void TermValues::add_bounds(const std::vector<BitGraph::Node>& group, std::size_t i, std::size_t k,
                            LemmaList& list) {
  if (!list.done_pairs.emplace(group[i], group[k]).second) return;
  const auto range = [this](BitGraph::Node n, bool negated) {
    const Atom& says = atoms_.at(n);
    Range r;
    if (says.kind == Atom::equal_to) {
      r.low = r.high = says.bound;
      r.is_hole = negated;
    } else if ((says.kind == Atom::at_most) != negated) {
      r.high = says.bound;
      r.high_is_in = !negated;
    } else if (negated && says.is_integer) {
      r.low = says.bound + 1;
    } else {
      r.low = says.bound;
      r.low_is_in = !negated;
    }
    return r;
  };
  for (const unsigned signs : {0U, 1U, 2U, 3U}) {
    const Bit a = 2 * group[i] ^ (signs & 1U), b = 2 * group[k] ^ (signs >> 1);
    const Range x = range(group[i], (signs & 1U) != 0), y = range(group[k], signs >> 1 != 0);
    if (exclude_each_other(x, y)) list.lemmas.push_back({a ^ 1U, b ^ 1U});
    if (x.is_hole || y.is_hole || !common(x, y).is_point()) continue;
    Sum d = form_sums_[atoms_.at(group[i]).form];
    d.constant = -*common(x, y).low;
    list.lemmas.push_back({a ^ 1U, b ^ 1U, compare(std::move(d), true)});
  }
  add_step_of_bound(group[i], group[k], list);
  add_step_of_bound(group[k], group[i], list);
}

/// An integer that is at most 3 is 3, or at most 2.
void TermValues::add_step_of_bound(BitGraph::Node equation, BitGraph::Node bound, LemmaList& list) {
  const Atom equal = atoms_.at(equation), most = atoms_.at(bound);
  if (equal.kind != Atom::equal_to || most.kind != Atom::at_most || !most.is_integer) return;
  if (most.bound != equal.bound && most.bound != equal.bound - 1) return;
  Sum above = form_sums_[equal.form];
  above.constant = -equal.bound;
  Sum below = above;
  below.constant += 1;
  const Bit at_most = compare(std::move(above), false), less = compare(std::move(below), false);
  list.lemmas.push_back({at_most ^ 1U, 2 * equation, less});
}

}  // namespace quarv::cli
