#include "solver/generalized_terms.h"

#include <algorithm>
#include <deque>
#include <map>
#include <unordered_set>

#include <quarv/term/operators.h>

namespace quarv::cli {

namespace {

constexpr int within_quantifier = -1;

bool is_chain(SymbolTag::tag tag) {
  return operator_row(tag).chain == Chain::right;
}

}  // namespace

/// The distance of each sub-term from the nearest of the terms, up to `depth`.
GeneralizedTerms::Distances GeneralizedTerms::distances(std::span<const Term* const> terms, int depth) const {
  Distances best;
  std::deque<const Term*> pending;
  for (const Term* t : terms) {
    best[t] = 0;
    pending.push_back(t);
  }
  while (!pending.empty()) {
    const Term* const t = pending.front();
    pending.pop_front();
    const int distance = best[t];
    if (distance >= depth) continue;
    const bool bound = distance == within_quantifier || manager_.is_quantifier(t->symbol);
    for (const Term* arg : manager_.args_of(t)) {
      const bool link = arg->symbol == t->symbol && is_chain(manager_.get_tag(t->symbol));
      const int next = bound ? within_quantifier : distance + (link ? 0 : 1);
      const auto [known, inserted] = best.try_emplace(arg, next);
      if (!inserted && known->second <= next) continue;
      known->second = next;
      link ? pending.push_front(arg) : pending.push_back(arg);
    }
  }
  return best;
}

const Term* GeneralizedTerms::constant_for(const Term* t) {
  const Term*& constant = constants_[t];
  if (constant == nullptr) {
    constant =
        manager_.make_term(manager_.fresh_fun("quarv." + std::to_string(t->id), {}, manager_.type_of(t)));
  }
  return constant;
}

const Term* GeneralizedTerms::rebuilt(const Term* root, const Distances& distances, int depth,
                                      std::unordered_map<const Term*, const Term*>& done) {
  std::vector<const Term*> pending{root};
  std::vector<const Term*> args;
  while (!pending.empty()) {
    const Term* const t = pending.back();
    const TermManager::Args old_args = manager_.args_of(t);
    if (done.contains(t) || old_args.empty()) {
      done.try_emplace(t, t);
      pending.pop_back();
      continue;
    }
    if (distances.at(t) >= depth) {
      done[t] = constant_for(t);
      pending.pop_back();
      continue;
    }
    const std::size_t known = pending.size();
    for (const Term* arg : old_args) {
      if (!done.contains(arg)) pending.push_back(arg);
    }
    if (pending.size() != known) continue;
    pending.pop_back();
    args.clear();
    for (const Term* arg : old_args) args.push_back(done[arg]);
    done[t] = std::ranges::equal(args, old_args) ? t : manager_.do_make_term(t->symbol, args);
  }
  return done[root];
}

std::vector<const Term*> GeneralizedTerms::generalize(std::span<const Term* const> terms, int depth) {
  const Distances nearest = distances(terms, depth);
  std::unordered_map<const Term*, const Term*> done;
  std::vector<const Term*> results;
  for (const Term* t : terms) results.push_back(rebuilt(t, nearest, depth, done));
  return results;
}

std::vector<const Symbol*> free_symbols(const TermManager& manager, std::span<const Term* const> terms) {
  using Variables = std::map<std::size_t, const Symbol*>;  // by the terms' ids, so that their order is fixed
  std::unordered_map<const Term*, Variables> variables;    // that are free in a term, where there are any
  std::unordered_set<const Term*> done;
  std::unordered_set<const Symbol*> known_symbols;
  std::vector<const Symbol*> found;
  const auto add = [&](const Symbol* s) {
    if (known_symbols.insert(s).second) found.push_back(s);
  };
  std::vector<const Term*> pending(terms.rbegin(), terms.rend());
  while (!pending.empty()) {
    const Term* const t = pending.back();
    if (done.contains(t)) {
      pending.pop_back();
      continue;
    }
    const std::size_t known = pending.size();
    for (const Term* arg : manager.args_of(t)) {
      if (!done.contains(arg)) pending.push_back(arg);
    }
    if (pending.size() != known) continue;
    pending.pop_back();
    done.insert(t);
    Variables free;
    for (const Term* arg : manager.args_of(t)) {
      const auto inner = variables.find(arg);
      if (inner != variables.end()) free.insert(inner->second.begin(), inner->second.end());
    }
    if (manager.is_bound_variable(t->symbol)) {
      free.emplace(t->id, t->symbol);
    } else if (manager.is_quantifier(t->symbol)) {
      for (const Term* v : manager.quantifier_variables(t->symbol)) free.erase(v->id);
    } else if (!manager.is_interpreted(t->symbol)) {
      add(t->symbol);
    }
    if (!free.empty()) variables.emplace(t, std::move(free));
  }
  for (const Term* t : terms) {
    const auto free = variables.find(t);
    if (free == variables.end()) continue;
    for (const auto& [id, symbol] : free->second) add(symbol);
  }
  return found;
}

}  // namespace quarv::cli
