#include "rules/mine/proposals.h"

#include <map>
#include <optional>
#include <utility>

#include "rules/mine/generalizer.h"
#include "rules/mine/known_rules.h"
#include "rules/mine/pool.h"

namespace quarv::cli {

std::vector<std::vector<std::size_t>> groups_of(std::span<const Sample> samples, std::size_t first,
                                                std::size_t last) {
  std::map<Ingredients, std::vector<std::size_t>> groups;
  for (std::size_t i = first; i < last; ++i) groups[ingredients_of(samples[i])].push_back(i);
  std::vector<std::vector<std::size_t>> all;
  for (auto& [ingredients, group] : groups) all.push_back(std::move(group));
  return all;
}

std::vector<Proposal> propose(std::span<const Sample> samples, const std::vector<std::size_t>& group,
                              const std::vector<std::string>& found) {
  std::vector<Proposal> proposals;
  KnownRules known(found);
  Generalizer generalizer;
  std::optional<Pool> pool;  // made when it is needed
  for (const std::size_t i : group) {
    const Sample& sample = samples[i];
    const std::size_t before = known.simplified_size(sample);
    if (before < size_of(sample.term)) continue;
    if (!pool) pool.emplace(ingredients_of(sample));
    for (const SmallTerm& result : pool->equal_to(sample.term)) {
      const std::size_t after = known.simplified_size(sample, result);
      if (after >= before || folded_size(result) >= size_of(sample.term)) continue;
      if (auto rule = generalizer.generalize(sample, result)) {
        proposals.push_back({i, std::move(*rule), before, after});
        break;
      }
    }
  }
  return proposals;
}

}  // namespace quarv::cli
