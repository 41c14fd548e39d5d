#include "replay/bound_names.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <vector>

namespace quarv::cli {

namespace {

using Id = TraceTerms::Id;

/// The term with other variables, which occur nowhere in it; nothing where a quantifier within it binds one
/// of those that are replaced.
std::optional<Id> renamed(TraceTerms& terms, Id root, std::unordered_map<Id, Id> changed) {
  const auto variables = changed;
  for (const Id id : in_post_order(terms, root)) {
    const Expression& e = terms.term(id);
    if (std::ranges::any_of(e.variables,
                            [&](TermName v) { return variables.contains(static_cast<Id>(v)); })) {
      return std::nullopt;
    }
    if (!changed.contains(id)) terms.change(id, changed);
  }
  const auto result = changed.find(root);
  return result == changed.end() ? root : result->second;
}

}  // namespace

void merge_renamed(TraceTerms& terms, TermClosure& closure) {
  constexpr std::size_t most_new = 100'000, most_formulas = 1000;
  std::size_t num_formulas = 0;
  const std::size_t most = terms.size() + most_new;
  std::vector<std::size_t> depths;  // of quantifiers in each other
  for (Id id = 0; id < terms.size() && terms.size() < most; ++id) {
    const Expression e = terms.term(id);
    std::size_t depth = 0;
    for (const TermName arg : e.args) depth = std::max(depth, depths[arg]);
    if (!e.variables.empty()) ++depth;
    depths.push_back(depth);
    if (e.variables.empty() || e.args.size() != 1 || terms.is_own_variable(static_cast<Id>(e.variables[0])))
      continue;
    std::vector<Id> variables;
    std::unordered_map<Id, Id> changed;
    for (const TermName v : e.variables) {
      variables.push_back(terms.own_variable(terms.term(static_cast<Id>(v)).sort, depth, variables.size()));
      changed.emplace(static_cast<Id>(v), variables.back());
    }
    // A quantifier that binds a variable twice is none that a script can have.
    if (changed.size() != e.variables.size()) continue;
    if (++num_formulas > most_formulas) return;
    if (const auto body = renamed(terms, static_cast<Id>(e.args[0]), changed)) {
      closure.merge(id, terms.with_args(id, {*body}, variables));
    }
  }
}

}  // namespace quarv::cli
