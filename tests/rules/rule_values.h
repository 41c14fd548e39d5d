#pragma once

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

#include "reference/library_terms.h"
#include "reference/random.h"
#include "rule_candidates.h"

namespace quarv {

/// Whether two terms over the variables of `candidates` have the same values under some random assignments,
/// with least and greatest numbers among them.
inline bool agree(const TermManager& manager, const Term* before, const Term* after,
                  const RuleCandidates& candidates, std::mt19937_64& random_bits) {
  constexpr std::size_t num_assignments = 12;
  reference::TermEvaluation evaluate(manager, num_assignments);
  for (const auto& [variable, width] : candidates.variables()) {
    const mpz_class power = mpz_class(1) << width;
    std::vector<mpz_class> values = {0, 1, power - 1, power / 2};
    reference::Random random(random_bits());
    while (values.size() < num_assignments) values.push_back(random.natural(width));
    std::shuffle(values.begin(), values.end(), random_bits);
    reference::Column column;
    for (const mpz_class& value : values) {
      if (width < 64) {
        column.words.push_back(value.get_ui());
      } else {
        column.values.push_back({value, nullptr});
      }
    }
    evaluate.set(variable, std::move(column));
  }
  return evaluate.equal(before, after);
}

}  // namespace quarv
