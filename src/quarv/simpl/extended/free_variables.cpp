#include <algorithm>
#include <functional>
#include <iterator>

#include <quarv/simpl/extended/free_variables.h>
#include <quarv/util/checkpoint.h>

namespace quarv::termsimpl::extended {

std::optional<std::size_t> BoundVariables::place_of(const Term* t) const {
  if (list_.size() > few) {
    const std::size_t* place = places_.find(t);
    return place == nullptr ? std::nullopt : std::optional(*place);
  }
  const auto found = std::find(list_.begin(), list_.end(), t);
  return found == list_.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - list_.begin()));
}

void FreeVariables::follow(const TermManager& m) {
  if (num_releases_ == m.num_releases()) return;
  num_releases_ = m.num_releases();
  entries_ = {};
  sets_.assign(1, {});
}

std::uint32_t FreeVariables::number_of(std::vector<const Term*> set) {
  if (set.empty()) return 0;
  if (set.size() > most) return many;
  sets_.push_back(std::move(set));
  return static_cast<std::uint32_t>(sets_.size() - 1);
}

std::uint32_t FreeVariables::without(std::uint32_t set, std::span<const Term* const> bound) {
  if (set == many || set == 0) return set;
  std::vector<const Term*> sorted(bound.begin(), bound.end());
  std::sort(sorted.begin(), sorted.end(), std::less<>());
  std::vector<const Term*> rest;
  std::set_difference(sets_[set].begin(), sets_[set].end(), sorted.begin(), sorted.end(),
                      std::back_inserter(rest), std::less<>());
  return rest.size() == sets_[set].size() ? set : number_of(std::move(rest));
}

/// What is known of a term whose arguments are known. Most terms have the variables of one of their
/// arguments, and share its set.
FreeVariables::Entry FreeVariables::joined(const TermManager& m, const Term* t) {
  Entry entry{0, m.is_quantifier(t->symbol)};
  if (m.is_bound_variable(t->symbol)) return {number_of({t}), false};
  for (const Term* arg : m.args_of(t)) {
    const Entry& a = *entries_.find(arg);
    entry.has_quantifier |= a.has_quantifier;
    if (a.set == entry.set || a.set == 0 || entry.set == many) continue;
    if (entry.set == 0 || a.set == many) {
      entry.set = a.set;
      continue;
    }
    const std::vector<const Term*>& x = sets_[entry.set];
    const std::vector<const Term*>& y = sets_[a.set];
    std::vector<const Term*> both;
    std::set_union(x.begin(), x.end(), y.begin(), y.end(), std::back_inserter(both), std::less<>());
    if (both.size() == x.size()) continue;
    entry.set = both.size() == y.size() ? a.set : number_of(std::move(both));
  }
  if (m.is_quantifier(t->symbol)) entry.set = without(entry.set, m.quantifier_variables(t->symbol));
  return entry;
}

const FreeVariables::Entry& FreeVariables::known(const TermManager& m, const Term* root) {
  if (const Entry* entry = entries_.find(root)) return *entry;
  pending_.assign(1, root);
  while (!pending_.empty()) {
    Checkpoint::pass();
    const Term* t = pending_.back();
    const std::size_t before = pending_.size();
    if (!entries_.contains(t)) {
      for (const Term* arg : m.args_of(t)) {
        if (!entries_.contains(arg)) pending_.push_back(arg);
      }
      if (pending_.size() != before) continue;
      const Entry entry = joined(m, t);
      entries_[t] = entry;
    }
    pending_.pop_back();
  }
  return *entries_.find(root);
}

/// Looks for variables in a term with many of them. Most occur near their quantifier, so that the search goes
/// down level by level. Below a quantifier that binds one of them again they are taken to occur. False when
/// the term is too large.
bool FreeVariables::search(TermManager& m, const BoundVariables& variables, const Term* root,
                           std::vector<bool>& occurs) const {
  constexpr std::size_t small = 256;
  constexpr std::size_t most_visited = 1 << 16;
  constexpr std::size_t cost = 32;  // of a look-up among the terms seen, in steps from term to term
  hsh::HashSet<const Term*> seen;
  std::vector<const Term*> met{root};
  std::size_t visited = 0;
  std::size_t missing = occurs.size();
  bool is_complete = true;
  for (; visited < met.size() && missing > 0; ++visited) {
    if (visited == most_visited || (visited == small && !m.may_visit())) {
      is_complete = false;
      break;
    }
    const Entry& entry = *entries_.find(met[visited]);
    if (entry.set != many) {
      for (const Term* v : sets_[entry.set]) {
        const std::optional<std::size_t> place = variables.place_of(v);
        if (!place || occurs[*place]) continue;
        occurs[*place] = true;
        --missing;
      }
      continue;
    }
    for (const Term* arg : m.args_of(met[visited])) {
      if (seen.insert(arg)) met.push_back(arg);
    }
  }
  m.count_visits(cost * visited);
  return is_complete;
}

std::vector<const Term*> FreeVariables::among(TermManager& m, const BoundVariables& variables,
                                              const Term* t) {
  const std::uint32_t set = known(m, t).set;
  std::vector<const Term*> used;
  if (set != many) {
    std::vector<std::size_t> places;
    for (const Term* v : sets_[set]) {
      if (const auto place = variables.place_of(v)) places.push_back(*place);
    }
    std::sort(places.begin(), places.end());
    for (std::size_t i : places) used.push_back(variables.list()[i]);
    return used;
  }
  std::vector<bool> occurs(variables.list().size());
  if (!search(m, variables, t, occurs)) return variables.list();
  for (std::size_t i = 0; i < occurs.size(); ++i) {
    if (occurs[i]) used.push_back(variables.list()[i]);
  }
  return used;
}

bool FreeVariables::any_may_occur(TermManager& m, const BoundVariables& variables, const Term* t) {
  const std::uint32_t set = known(m, t).set;
  return set == many ||
         std::ranges::any_of(sets_[set], [&variables](const Term* v) { return variables.contains(v); });
}

bool FreeVariables::may_occur(TermManager& m, const Term* variable, const Term* t) {
  const std::uint32_t set = known(m, t).set;
  if (set != many) return std::binary_search(sets_[set].begin(), sets_[set].end(), variable, std::less<>());
  const std::vector<const Term*> alone{variable};
  std::vector<bool> occurs(1);
  return !search(m, BoundVariables(alone), t, occurs) || occurs[0];
}

}  // namespace quarv::termsimpl::extended
