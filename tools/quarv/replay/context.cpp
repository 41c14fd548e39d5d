#include "replay/context.h"

#include <algorithm>
#include <optional>
#include <unordered_set>
#include <utility>

namespace quarv::cli {

namespace {

using Id = TraceTerms::Id;

constexpr std::size_t most_in_context = 24, most_terms_in_context = 300;

/// What a condition says: that one term is another.
struct Fact {
  Id term, value;
};

bool is_literal(const Expression& e) {
  return e.kind == Expression::value;
}

/// A term that cannot be taken apart stands for what replaces it.
bool is_constant(const Expression& e) {
  return e.kind == Expression::function && e.args.empty();
}

bool is_number(const TraceTerms& terms, Id id) {
  const TraceSort::Kind kind = terms.sort_of(id).kind;
  return kind == TraceSort::integer || kind == TraceSort::real;
}

/// What follows if the condition holds, or if it does not.
std::optional<Fact> fact(TraceTerms& terms, Id condition, bool holds) {
  while (terms.term(condition).is("not", 1)) {
    condition = static_cast<Id>(terms.term(condition).args[0]);
    holds = !holds;
  }
  const Expression& e = terms.term(condition);
  if (holds && e.is("=", 2)) {
    for (const std::size_t i : {0, 1}) {
      const Id x = static_cast<Id>(e.args[i]), value = static_cast<Id>(e.args[1 - i]);
      const bool fits = terms.term(x).sort == terms.term(value).sort || is_number(terms, x);
      if (fits && is_constant(terms.term(x)) && is_literal(terms.term(value))) return Fact{x, value};
    }
  }
  const bool is_truth_value = e.kind == Expression::operation && e.args.empty();
  return is_truth_value ? std::nullopt : std::optional(Fact{condition, terms.truth(holds, e.sort)});
}

/// Where a quantifier within binds what the fact speaks of, nothing is known of it.
void put(TraceTerms& terms, const std::optional<Fact>& f, Id& in) {
  if (f && in != f->term && !binds_part_of(terms, in, f->term)) in = terms.replaced(in, f->term, f->value);
}

/// The operands of a chain in their order.
std::vector<Id> operands(const TraceTerms& terms, Id root, const std::string& op) {
  std::vector<Id> all, open{root};
  while (!open.empty()) {
    const Id id = open.back();
    open.pop_back();
    const Expression& e = terms.term(id);
    const bool fits = all.size() + open.size() + e.args.size() <= most_in_context;
    if (e.kind == Expression::operation && e.op == op && fits) {
      for (auto arg = e.args.rbegin(); arg != e.args.rend(); ++arg) open.push_back(static_cast<Id>(*arg));
    } else {
      all.push_back(id);
    }
  }
  return all;
}

bool is_small(const TraceTerms& terms, Id root) {
  std::vector<Id> met{root};
  std::unordered_set<Id> seen{root};
  for (std::size_t i = 0; i < met.size(); ++i) {
    if (met.size() > most_terms_in_context) return false;
    for (const TermName arg : terms.term(met[i]).args) {
      if (seen.insert(static_cast<Id>(arg)).second) met.push_back(static_cast<Id>(arg));
    }
  }
  return true;
}

}  // namespace

Id in_context(TraceTerms& terms, Id id) {
  if (!is_small(terms, id)) return id;
  const Expression e = terms.term(id);
  if (e.is("ite", 3)) {
    std::vector<Id> args(e.args.begin(), e.args.end());
    put(terms, fact(terms, args[0], true), args[1]);
    put(terms, fact(terms, args[0], false), args[2]);
    return terms.with_args(id, args);
  }
  if (e.kind != Expression::operation || (e.op != "and" && e.op != "or")) return id;
  std::vector<Id> all = operands(terms, id, e.op);
  for (std::size_t i = 0; i < all.size(); ++i) {
    const auto known = fact(terms, all[i], e.op == "and");
    for (std::size_t k = 0; k < all.size(); ++k) {
      if (k != i) put(terms, known, all[k]);
    }
  }
  return terms.with_args(id, all);
}

}  // namespace quarv::cli
