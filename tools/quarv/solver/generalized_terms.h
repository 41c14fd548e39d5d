#pragma once

#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include <quarv/term/term_manager.h>

namespace quarv::cli {

/// Replaces what lies deep within terms by constants, the same term everywhere by the same constant. When
/// terms with such constants are equal for all values, so are the terms themselves; and they are small.
///
/// Chains of one associative operator count as one level. Nothing is replaced within quantifiers that remain,
/// where a sub-term may not have one value. Numbers and symbols stay.
class GeneralizedTerms {
 public:
  /// The manager must have no simplifier while this works.
  explicit GeneralizedTerms(TermManager& manager) : manager_(manager) {}

  /// Sub-terms at a distance of `depth` or more from each of the terms are replaced.
  std::vector<const Term*> generalize(std::span<const Term* const> terms, int depth);

 private:
  using Distances = std::unordered_map<const Term*, int>;

  Distances distances(std::span<const Term* const> terms, int depth) const;
  const Term* rebuilt(const Term* root, const Distances& distances, int depth,
                      std::unordered_map<const Term*, const Term*>& done);
  const Term* constant_for(const Term* t);

  TermManager& manager_;
  std::unordered_map<const Term*, const Term*> constants_;
};

/// The declared symbols and the variables that are free in terms, in the order of their first occurrence.
std::vector<const Symbol*> free_symbols(const TermManager& manager, std::span<const Term* const> terms);

}  // namespace quarv::cli
