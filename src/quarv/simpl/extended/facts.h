#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include <quarv/numbers/q_number.h>
#include <quarv/term/term_manager.h>

namespace quarv::termsimpl::extended {

/// A comparison with a constant: `term <= value` or, for a lower bound, `value <= term`.
struct Bound {
  enum Kind : std::uint8_t { rational, integer, bits_unsigned, bits_signed };
  const Term* term = nullptr;
  QNumber value;
  bool is_upper = true;
  bool is_strict = false;  ///< never for integers and bit-vectors
  Kind kind = rational;

  bool is_of_bits() const { return kind == bits_unsigned || kind == bits_signed; }

  /// The bound that an atom, or its negation, sets.
  static std::optional<Bound> of(const TermManager& m, const Term* atom, bool holds);
  /// What this says of another bound: true, false, or nothing.
  std::optional<bool> decides(const Bound& other) const;
  /// Whether the term cannot have a value: a literal of its sort.
  bool excludes(const TermManager& m, const Term* literal) const;
  /// What a literal of the term's sort stands for in this order.
  QNumber value_of(const TermManager& m, const Term* literal) const;
  /// The bound's value as a literal.
  const Term* literal(TermManager& m) const;
};

/// What is known to hold at some place in a formula: truth values of terms, values of terms, bounds. Holds a
/// few facts only.
class Facts {
 public:
  explicit Facts(TermManager& m) : m_(m) {}

  /// Assumes that a formula is true, or false, with the formulas that this makes true or false.
  void assume(const Term* formula, bool holds);

  /// A term that is equal to `t` wherever the facts hold. A bounded part of `t` is looked at.
  const Term* applied_to(const Term* t);

 private:
  struct Fact {
    const Term* term;
    const Term* stands_for;
  };
  static constexpr std::size_t most_facts = 24;
  static constexpr std::size_t most_bounds = 8;
  static constexpr int deepest = 5;
  static constexpr int most_nodes = 64;

  void add(const Term* t, const Term* stands_for);
  void add_value(const Term* term, const Term* value_of_term);
  void add_bound(const Term* atom, bool holds);
  const Term* known(const Term* t) const;
  bool is_excluded(const Term* equation) const;
  const Term* applied(const Term* t, int depth);

  TermManager& m_;
  std::array<Fact, most_facts> facts_;
  std::size_t num_facts_ = 0;
  std::array<Bound, most_bounds> bounds_;
  std::size_t num_bounds_ = 0;
  std::uint64_t filter_ = 0;  // a bit for the id of each term that is known
  int nodes_left_ = 0;
};

}  // namespace quarv::termsimpl::extended
