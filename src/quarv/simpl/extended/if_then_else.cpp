#include <array>

#include <quarv/simpl/extended/facts.h>
#include <quarv/simpl/extended/families.h>
#include <quarv/simpl/extended/relations.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

namespace {

/// An if-then-else between formulas of which one is true, false, the condition, or the negation of the other.
const Term* boolean_ite(TermManager& m, const Term* c, const Term* a, const Term* b) {
  if (a == m.true_term || a == c) return m.make_or(c, b);
  if (b == m.false_term || b == c) return m.make_and(c, a);
  if (are_complementary(m, a, b)) return m.make_iff(c, a);
  if (a == m.false_term) return m.make_and(m.make_not(c), b);
  if (b == m.true_term) return m.make_or(m.make_not(c), a);
  return nullptr;
}

/// (ite (= a b) a b) is b, (ite (= a b) b a) is a.
const Term* ite_of_equal_terms(const TermManager& m, const Term* c, const Term* a, const Term* b) {
  if (!has_tag(m, c, SymbolTag::EQ)) return nullptr;
  const bool same = (c->args[0] == a && c->args[1] == b) || (c->args[0] == b && c->args[1] == a);
  return same ? b : nullptr;
}

/// An absolute value is written in one way: (ite (<= 0 i) i (- i)).
const Term* absolute_value(TermManager& m, const Term* c, const Term* a, const Term* b) {
  if (!has_tag(m, c, SymbolTag::LEQ) || c->args[0] != b || !is_zero(m, c->args[1])) return nullptr;
  if (!has_tag(m, a, SymbolTag::TIMES) || a->args[1] != b) return nullptr;
  const QNumber* factor = m.get_number(a->args[0]);
  if (factor == nullptr || !(*factor == QNumber(-1))) return nullptr;
  return m.make_ite(m.make_leq(c->args[1], b), b, a);
}

/// A branch that is an if-then-else with a branch of the outer one.
const Term* merged_conditions(TermManager& m, const Term* c, const Term* a, const Term* b) {
  for (const std::size_t same : {1, 2}) {
    if (is_ite(m, b) && b->args[same] == a) {
      const Term* inner = same == 1 ? b->args[0] : m.make_not(b->args[0]);
      const Term* either = m.make_or(c, inner);
      return m.make_ite(either, a, b->args[3 - same]);
    }
    if (is_ite(m, a) && a->args[same] == b) {
      const Term* inner = same == 2 ? a->args[0] : m.make_not(a->args[0]);
      const Term* both = m.make_and(c, inner);
      return m.make_ite(both, a->args[3 - same], b);
    }
  }
  return nullptr;
}

}  // namespace

const Term* simplify_ite(TermManager& m, const Symbol* /*s*/, Args args) {
  const Term* c = args[0];
  const Term* a = args[1];
  const Term* b = args[2];
  if (c == m.true_term || c == m.false_term || a == b) return nullptr;  // the standard simplifiers decide
  if (c->symbol == m.not_symbol) return m.make_ite(c->args[0], b, a);
  if (m.type_of(a) == m.bool_type) {
    if (const Term* t = boolean_ite(m, c, a, b)) return t;
  }
  if (const Term* t = ite_of_equal_terms(m, c, a, b)) return t;
  if (const Term* t = absolute_value(m, c, a, b)) return t;
  Facts holds(m);
  holds.assume(c, true);
  const Term* then_branch = holds.applied_to(a);
  Facts fails(m);
  fails.assume(c, false);
  const Term* else_branch = fails.applied_to(b);
  if (then_branch != a || else_branch != b) return m.make_ite(c, then_branch, else_branch);
  return merged_conditions(m, c, a, b);
}

namespace {

/// What one comparison says of another of the same terms: true, false, or null.
const Term* decided_by(TermManager& m, const Term* known, const Term* atom) {
  if (joined_comparisons(m, known, m.make_not(atom), true) == m.false_term) return m.true_term;
  return joined_comparisons(m, known, atom, true) == m.false_term ? m.false_term : nullptr;
}

}  // namespace

/// Compared with one of its branches, an if-then-else says no more than its condition, or nothing, where the
/// condition decides the other branch: (<= (ite (<= i j) i j) i) is true.
const Term* compare_with_branch(TermManager& m, const Symbol* s, Args args) {
  for (std::size_t at = 0; at < 2; ++at) {
    const Term* ite = args[at];
    const Term* other = args[1 - at];
    if (!is_ite(m, ite) || (ite->args[1] != other && ite->args[2] != other)) continue;
    std::array<const Term*, 2> truth{};
    for (std::size_t branch = 1; branch <= 2; ++branch) {
      std::array<const Term*, 2> sides{other, other};
      sides[at] = ite->args[branch];
      Facts facts(m);
      facts.assume(ite->args[0], branch == 1);
      const Term* atom = m.make_term_unchecked(s, sides);
      const Term* known = facts.applied_to(atom);
      if (!is_value(m, known))
        known = decided_by(m, branch == 1 ? ite->args[0] : m.make_not(ite->args[0]), atom);
      if (known == nullptr) return nullptr;
      truth[branch - 1] = known;
    }
    return m.make_ite(ite->args[0], truth[0], truth[1]);
  }
  return nullptr;
}

// Constants through if-then-else.
// ---------------------------------------------------------------------------------------------------------

namespace {

/// Whether all leaves of a tree of if-then-elses are values; there may be only a few.
bool has_value_leaves(const TermManager& m, const Term* tree, int& most) {
  while (is_ite(m, tree)) {
    if (--most < 0) return false;
    if (!has_value_leaves(m, tree->args[1], most)) return false;
    tree = tree->args[2];
  }
  return is_value(m, tree);
}

/// The operator on constants, if it folds.
const Term* folded(TermManager& m, const Symbol* s, Args args) {
  const Term* t = m.make_term_unchecked(s, args);
  return is_value(m, t) ? t : nullptr;
}

/// The operator, applied to each leaf of the tree at argument `at`; null unless it folds everywhere. Its
/// depth is bounded by the number of leaves.
const Term* lifted(TermManager& m, const Symbol* s, std::array<const Term*, 4>& args, std::size_t n,
                   std::size_t at) {
  const Term* tree = args[at];
  if (!is_ite(m, tree)) return folded(m, s, Args(args.data(), n));
  std::array<const Term*, 2> branches{};
  for (std::size_t i = 0; i < 2; ++i) {
    args[at] = tree->args[i + 1];
    branches[i] = lifted(m, s, args, n, at);
    if (branches[i] == nullptr) break;
  }
  args[at] = tree;
  return branches[1] == nullptr ? nullptr : m.make_ite(tree->args[0], branches[0], branches[1]);
}

/// Two if-then-elses with one condition, between values.
const Term* lifted_pair(TermManager& m, const Symbol* s, Args args, const Term* x, const Term* y) {
  if (x->args[0] != y->args[0]) return nullptr;
  std::array<const Term*, 2> branches{};
  for (std::size_t branch = 1; branch <= 2; ++branch) {
    std::array<const Term*, 4> leaves;
    for (std::size_t i = 0; i < args.size(); ++i) {
      leaves[i] = is_ite(m, args[i]) ? args[i]->args[branch] : args[i];
      if (!is_value(m, leaves[i])) return nullptr;
    }
    branches[branch - 1] = folded(m, s, Args(leaves.data(), args.size()));
    if (branches[branch - 1] == nullptr) return nullptr;
  }
  return m.make_ite(x->args[0], branches[0], branches[1]);
}

}  // namespace

const Term* lift_values(TermManager& m, const Symbol* s, Args args) {
  constexpr int most_leaves = 8;
  const Term* first = nullptr;
  const Term* second = nullptr;
  std::size_t at = 0;
  if (args.size() > 4) return nullptr;
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (is_ite(m, args[i])) {
      if (second != nullptr) return nullptr;
      (first == nullptr ? first : second) = args[i];
      if (second == nullptr) at = i;
    } else if (!is_value(m, args[i])) {
      return nullptr;
    }
  }
  if (first == nullptr) return nullptr;
  if (second != nullptr) return lifted_pair(m, s, args, first, second);
  int leaves = most_leaves;
  if (!has_value_leaves(m, first, leaves)) return nullptr;
  std::array<const Term*, 4> copy;
  std::copy(args.begin(), args.end(), copy.begin());
  return lifted(m, s, copy, args.size(), at);
}

}  // namespace quarv::termsimpl::extended
