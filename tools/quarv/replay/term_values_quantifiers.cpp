/// \file
/// Values of quantified formulas: what does not speak of the variables stands outside.
#include <algorithm>
#include <unordered_set>

#include "replay/term_values.h"

namespace quarv::cli {

namespace {

constexpr std::size_t most_conjuncts = 64, most_terms = 1000;

}  // namespace

/// Whether the term may speak of one of these variables; of a large one it is not looked up.
bool TermValues::may_contain(Id root, const std::vector<TermName>& variables) const {
  std::unordered_set<Id> seen{root};
  std::vector<Id> open{root};
  while (!open.empty()) {
    const Id id = open.back();
    open.pop_back();
    if (std::ranges::find(variables, TermName{id}) != variables.end() || seen.size() > most_terms)
      return true;
    for (const TermName arg : terms_.term(id).args) {
      if (seen.insert(static_cast<Id>(arg)).second) open.push_back(static_cast<Id>(arg));
    }
  }
  return false;
}

/// For all x, a or b(x) is a, or b(x) for all x; there is no empty sort. A negated conjunction is a
/// disjunction of negations.
std::optional<TermValues::Value> TermValues::quantified(const Expression& e) {
  if ((e.op != "forall" && e.op != "exists") || e.args.size() != 1) return std::nullopt;
  const bool for_all = e.op == "forall";
  std::vector<Bit> inside, outside;
  std::vector<std::pair<Id, bool>> open{{static_cast<Id>(e.args[0]), false}};  // and whether it is negated
  while (!open.empty()) {
    const auto [id, negated] = open.back();
    open.pop_back();
    const Expression& part = terms_.term(id);
    const std::size_t num = inside.size() + outside.size() + open.size() + part.args.size();
    // Of what has been shown to be equal to something else the arguments may not have been looked at.
    const bool is_known = std::ranges::none_of(
        part.args, [this](TermName arg) { return values_[static_cast<Id>(arg)] == unknown; });
    const bool opens = is_known && num <= most_conjuncts && part.kind == Expression::operation;
    if (opens && (part.is("not", 1) || part.op == (for_all != negated ? "or" : "and"))) {
      for (const TermName arg : part.args)
        open.emplace_back(static_cast<Id>(arg), negated != (part.op == "not"));
    } else {
      const Bit value = bit(current(values_[id], true));
      (may_contain(id, e.variables) ? inside : outside).push_back(negated ? value ^ 1U : value);
    }
  }
  const auto joined = [&](std::vector<Bit> bits) {
    return for_all ? graph_.disjunction(std::move(bits)) : graph_.conjunction(std::move(bits));
  };
  Bit body = joined(std::move(inside));
  if (body > BitGraph::yes) {
    Thing t;
    t.op = operator_key(e);
    t.args = {{truth(body), true}};
    body = bit(application(std::move(t), e));
  }
  outside.push_back(body);
  return truth(joined(std::move(outside)));
}

}  // namespace quarv::cli
