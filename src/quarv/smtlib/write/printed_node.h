#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <quarv/term/term_manager.h>

namespace quarv::smtlib {

/// A term in the form in which its place needs it: as it is, or, for an integer-typed term where a Real is
/// needed, as a Real. The two forms are different texts.
class Node {
 public:
  Node() = default;
  Node(const Term* term, bool as_real) : bits_(reinterpret_cast<std::uintptr_t>(term) | (as_real ? 1 : 0)) {}

  const Term* term() const noexcept { return reinterpret_cast<const Term*>(bits_ & ~std::uintptr_t{1}); }
  bool as_real() const noexcept { return (bits_ & 1) != 0; }
  bool operator==(const Node&) const = default;

 private:
  std::uintptr_t bits_ = 0;
};

/// The node for `term` where the sort `wanted` is needed.
inline Node node_for(const TermManager& m, const Term* term, const DataType* wanted) {
  return Node(term, wanted == m.rat_type && m.type_of(term) == m.int_type);
}

/// A linear combination of integer-typed terms divided by a positive integer: what the floor of a rational
/// sum is printed as, so that integer problems stay integer.
struct IntegerQuotient {
  struct Summand {
    const Term* monomial;  // null: the constant
    QNumber coefficient;   // an integer
  };
  std::vector<Summand> summands;  // in ascending order of id, the constant last
  QNumber divisor;
};

/// Recognises `floor(q)` as such a quotient. Gives up on rational parts and on long sums.
bool as_integer_quotient(const TermManager& m, const Term* floor, IntegerQuotient& out);

/// The nodes that occur directly in a node's own text, in the order of its arguments; chains are not yet
/// flattened.
void printed_children(const TermManager& m, Node node, std::vector<Node>& out);

/// What a multiple is a multiple of, any other node itself. Names are given to that alone: a difference is
/// easier to read, and easier for solvers, than a sum with a named negation.
Node without_coefficient(const TermManager& m, Node node);

/// The body of a quantifier below the annotations that stand directly under it.
const Term* annotated_body(const TermManager& m, const Term* quantifier) noexcept;

/// The number of nodes that a term's text has without names, or `limit` when it has more.
std::size_t tree_size(const TermManager& m, Node root, std::size_t limit);

/// As `printed_children`, without coefficients. Annotations have their body only, and quantifiers the body
/// below their annotations: what patterns share with other text is not named.
void planned_children(const TermManager& m, Node node, std::vector<Node>& out);

/// The operators whose chains are printed flat.
inline bool is_flat(SymbolTag::tag tag) noexcept {
  return tag == SymbolTag::AND || tag == SymbolTag::OR || tag == SymbolTag::PLUS;
}

/// A product with a numeral.
inline bool is_multiple(const TermManager& m, const Term* t) noexcept {
  return m.get_tag(t->symbol) == SymbolTag::TIMES && m.get_number(t->args[0]) != nullptr;
}

/// The term that a summand is a multiple of.
inline const Term* monomial_of(const TermManager& m, const Term* t) noexcept {
  return is_multiple(m, t) ? t->args[1] : t;
}

/// An integer-typed operation that, where a Real is needed, is printed with its parts as Reals.
inline bool pushes_real_down(SymbolTag::tag tag) noexcept {
  return tag == SymbolTag::TERM_ITE || tag == SymbolTag::PLUS || tag == SymbolTag::TIMES;
}

}  // namespace quarv::smtlib
