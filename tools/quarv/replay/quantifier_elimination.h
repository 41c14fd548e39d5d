#pragma once

#include <map>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <gmpxx.h>

#include "replay/trace_terms.h"

namespace quarv::cli {

/// Takes away variables of quantifiers that decide nothing, or that an equation leaves one value, and calls
/// the others by their place: so that formulas that say the same are the same more often. By means that share
/// nothing with the simplifiers; there is no empty sort.
class QuantifierElimination {
 public:
  using Id = TraceTerms::Id;

  explicit QuantifierElimination(TraceTerms& terms) : terms_(terms) {}

  /// What says the same as the quantified formula `id`; nothing for other terms, for a formula that has been
  /// asked for, and when the effort for all of them is used up. Makes terms.
  std::optional<Id> simpler(Id id);

 private:
  /// A linear combination of terms that are none.
  struct Sum {
    std::map<Id, mpq_class> coefficients;
    mpq_class constant;
  };
  /// The only value of a variable for which something holds.
  struct OnePoint {
    Id variable, value;
  };
  /// A quantified formula: under `exists` all operands hold, under `forall` one of them.
  struct Formula {
    bool for_all;
    std::vector<Id> variables, operands;
  };

  /// `coefficient * variable + rest` is at most 0, or less than that.
  struct Bound {
    mpq_class coefficient;
    Sum rest;
    bool is_open = false;
  };

  bool is_quantifier(Id id) const;
  bool has_own_variables(Id quantifier) const;
  std::optional<Id> without_inner(Id id);
  Id eliminated(Id id);
  Formula opened(const Expression& quantifier);
  std::vector<Id> operands(Id root, bool of_or);
  Id negation(Id id);
  Id closed(const Formula& f, const Expression& quantifier);
  Id joined(const std::vector<Id>& operands, bool by_or, std::size_t sort);
  bool remove_one(Formula& f);
  bool remove_bounded(Formula& f);
  std::optional<Bound> bound(const Formula& f, Id operand, Id variable) const;
  Id between(const Formula& f, const Bound& low, const Bound& high, Id variable, std::size_t sort);
  bool is_decided(const Formula& f);
  bool is_unbounded(const Formula& f, Id part) const;
  bool are_constant_bounds(const Formula& f) const;
  bool takes_all_values(Id word, Id variable) const;
  bool is_solvable(const Formula& f, Id part) const;
  Id atom_of(Id literal) const;
  std::optional<OnePoint> one_point(const Formula& f, Id operand);
  std::optional<OnePoint> solved(const Formula& f, const Expression& equation);
  bool add(Id id, const mpq_class& factor, Sum& sum) const;
  std::optional<Sum> difference(const Expression& relation) const;
  bool is_single(const Sum& sum, Id variable) const;
  Id term(const Sum& sum, std::size_t sort);
  bool occurs(Id variable, Id in) const;
  Id renamed(Id id);

  TraceTerms& terms_;
  std::unordered_map<Id, Id> known_;
  std::unordered_set<Id> asked_;
  mutable std::size_t effort_left_ = 2'000'000;  // of terms looked at
};

}  // namespace quarv::cli
