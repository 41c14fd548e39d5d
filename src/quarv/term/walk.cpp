#include <algorithm>

#include <quarv/term/walk.h>

namespace quarv {

bool TermSet::insert(const Term* t) {
  if (many_.empty()) {
    if (few_.size() < most_few) return few_.insert(t);
    std::uint64_t largest = t->id;
    for (const Term* f : few_) largest = std::max(largest, f->id);
    many_.resize(largest + 1);
    for (const Term* f : few_) many_[f->id] = true;
  }
  if (t->id >= many_.size()) many_.resize(std::max<std::size_t>(t->id + 1, 2 * many_.size()));
  const bool is_new = !many_[t->id];
  many_[t->id] = true;
  return is_new;
}

bool TermSet::contains(const Term* t) const {
  return many_.empty() ? few_.contains(t) : t->id < many_.size() && many_[t->id];
}

std::vector<const Term*> free_constants(const TermManager& m, std::span<const Term* const> roots) {
  std::vector<const Term*> result;
  visit_post_order(m, roots, [&](const Term* t) {
    const bool is_declared = m.get_tag(t->symbol) == SymbolTag::UF && !m.is_bound_variable(t->symbol);
    if (is_declared && m.arity(t) == 0) result.push_back(t);
  });
  std::ranges::sort(result, Term_lt());
  return result;
}

std::vector<const Term*> free_constants(const TermManager& m, const Term* root) {
  return free_constants(m, {&root, 1});
}

std::vector<const Symbol*> free_functions(const TermManager& m, std::span<const Term* const> roots) {
  std::vector<const Symbol*> result;
  hsh::HashSet<const Symbol*> seen;
  visit_post_order(m, roots, [&](const Term* t) {
    if (m.get_tag(t->symbol) != SymbolTag::UF || m.arity(t) == 0) return;
    if (seen.insert(t->symbol)) result.push_back(t->symbol);
  });
  return result;
}

std::vector<const Symbol*> free_functions(const TermManager& m, const Term* root) {
  return free_functions(m, {&root, 1});
}

std::size_t size(const TermManager& m, const Term* t) {
  std::size_t count = 0;
  visit_post_order(m, t, [&count](const Term*) { ++count; });
  return count;
}

namespace {

/// The number that `combine` makes of those of a term's arguments.
template <class Combine>
std::uint64_t folded(const TermManager& m, const Term* root, Combine&& combine) {
  hsh::HashMap<const Term*, std::uint64_t> values;
  std::uint64_t last = 0;
  visit_post_order(m, root, [&](const Term* t) {
    std::uint64_t sum = 0;
    for (const Term* a : m.args_of(t)) sum = combine(sum, *values.find(a));
    last = sum == ~std::uint64_t{0} ? sum : sum + 1;
    values[t] = last;
  });
  return last;
}

}  // namespace

std::uint64_t tree_size(const TermManager& m, const Term* t) {
  return folded(m, t, [](std::uint64_t a, std::uint64_t b) {
    std::uint64_t sum;
    return __builtin_add_overflow(a, b, &sum) ? ~std::uint64_t{0} : sum;
  });
}

std::size_t depth(const TermManager& m, const Term* t) {
  return folded(m, t, [](std::uint64_t a, std::uint64_t b) { return std::max(a, b); });
}

}  // namespace quarv
