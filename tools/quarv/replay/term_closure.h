#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <gmpxx.h>

#include "replay/bit_proof.h"
#include "replay/trace_terms.h"

namespace quarv::cli {

/// What follows from equalities between terms: by congruence, by the laws of operators whose arguments may be
/// reordered, and by linear arithmetic. So that the first of a chain of steps is tied to the last.
class TermClosure {
 public:
  using Id = TraceTerms::Id;

  explicit TermClosure(const TraceTerms& terms) : terms_(terms) {}

  /// Both are equal.
  void merge(Id a, Id b);
  /// Finds what follows. Gives up after some rounds: what it says is true all the same.
  void close();
  bool are_equal(Id a, Id b) { return find(a) == find(b); }
  /// Also what follows only from many equalities between truth values together. After `close`.
  bool are_shown_equal(Id a, Id b);

 private:
  /// A linear combination of classes.
  struct Sum {
    std::map<Id, mpq_class> coefficients;
    mpq_class constant;
  };

  /// A class of Boolean terms or its negation.
  struct Literal {
    Id of;
    bool negated;
    auto operator<=>(const Literal&) const = default;
  };

  /// Bits of a term from `low` on, or so many zeros.
  struct Slice {
    std::optional<Id> of;
    std::size_t low, width;
  };

  Id find(Id id);
  bool close_once();
  void note(const std::string& signature, Id id);
  std::string head(const Expression& e) const;
  void note_application(Id id);
  void note_chain(Id id);
  void note_concatenation(Id id);
  void note_sum(Id id);
  void note_comparison(Id id);
  void note_integer_comparison(Id id, Sum& difference);
  static void scale(Sum& sum, const mpq_class& factor);

  // term_closure_slices.cpp
  std::vector<Slice> slices_of(Id id) const;
  void note_slices(Id id);
  static std::size_t width_of(const std::vector<Slice>& slices);

  // term_closure_booleans.cpp
  void find_truth_values();
  void find_conditions_of_bits();
  std::optional<std::pair<Id, bool>> compared_bit(Id id) const;
  void negate(Id a, Id b);
  Literal literal(Id id, bool negated = false);
  void equate(Id id, bool negated, const Literal& literal);
  void note_literal(const std::string& signature, Id id, bool negated);
  void note_boolean(Id id);
  void note_conjunction(Id id);
  void note_equivalence(Id id);
  void note_choice(Id id);
  void note_bit(Id id);
  void note_condition(Id id, const Literal& condition);
  bool add(Id id, const mpq_class& factor, Sum& sum, std::size_t& budget);
  bool is_arithmetic(Id id) const;
  static std::string text(const Sum& sum);

  // term_closure_proofs.cpp
  bool is_boolean(Id id) const;
  void find_connectives();
  BitGraph::Bit bit_of(Id id);
  BitGraph::Bit structure(const Expression& e);
  bool have_equal_truth_values(Id a, Id b);

  const TraceTerms& terms_;
  std::vector<Id> parents_;
  std::unordered_map<std::string, Id> noted_;
  std::unordered_map<std::string, std::pair<Id, bool>> noted_literals_;
  std::unordered_map<Id, Id> negations_;                    // by class; in both directions
  std::optional<Id> true_, false_;                          // once they have occurred
  std::unordered_map<Id, std::pair<Id, bool>> conditions_;  // by class of a bit: where it is 1
  bool changed_ = false;

  BitGraph graph_;
  BitProof proof_{graph_};
  std::unordered_map<Id, std::vector<Id>> connectives_;  // by class
  std::size_t num_connected_ = 0;
  std::unordered_map<Id, BitGraph::Bit> bits_;  // by class, for the present proof
  std::vector<Id> pending_;
};

}  // namespace quarv::cli
