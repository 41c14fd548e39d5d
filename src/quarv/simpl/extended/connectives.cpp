#include <algorithm>
#include <array>
#include <optional>
#include <utility>
#include <vector>

#include <quarv/simpl/extended/equalities.h>
#include <quarv/simpl/extended/facts.h>
#include <quarv/simpl/extended/families.h>
#include <quarv/simpl/extended/relations.h>
#include <quarv/simpl/extended/values.h>
#include <quarv/util/checkpoint.h>
#include <quarv/util/hash_map.h>

namespace quarv::termsimpl::extended {

namespace {

/// A conjunction, or a disjunction; what is said of conjunctions holds for disjunctions with true and false
/// exchanged.
struct Lattice {
  TermManager& m;
  const Symbol* symbol;
  const Symbol* dual;
  const Term* neutral;

  bool is_conjunction() const { return symbol == m.and_symbol; }
  const Term* join(const Term* a, const Term* b) const {
    return is_conjunction() ? m.make_and(a, b) : m.make_or(a, b);
  }
};

/// The operands of one side, of which the last may be the rest of a long chain.
class Operands {
 public:
  static constexpr std::size_t most = 12;

  Operands(const Lattice& l, const Term* side) {
    while (side->symbol == l.symbol && size_ + 2 <= list_.size()) {
      // Chains lean to one side.
      const bool left_is_chain = side->args[0]->symbol == l.symbol && side->args[1]->symbol != l.symbol;
      list_[size_++] = side->args[left_is_chain ? 1 : 0];
      side = side->args[left_is_chain ? 0 : 1];
    }
    list_[size_++] = side;
  }
  const Term** begin() { return list_.data(); }
  const Term** end() { return list_.data() + size_; }
  std::size_t size() const { return size_; }

 private:
  std::array<const Term*, most> list_;
  std::size_t size_ = 0;
};

const Term* joined(const Lattice& l, const Term* a, Operands& others) {
  for (std::size_t i = others.size(); i-- > 0;) a = l.join(others.begin()[i], a);
  return a;
}

/// Each operand of one side where those of the other side hold.
bool reduce(const Lattice& l, const Term* assumed, Operands& operands) {
  Facts facts(l.m);
  facts.assume(assumed, l.is_conjunction());
  bool any = false;
  for (const Term*& t : operands) {
    const Term* reduced = facts.applied_to(t);
    any |= reduced != t;
    t = reduced;
  }
  return any;
}

/// A formula and how it counts.
struct Literal {
  const Term* atom;
  bool positive;

  Literal(const TermManager& m, const Term* t, bool holds) : atom(t), positive(holds) {
    for (; atom->symbol == m.not_symbol; atom = atom->args[0]) positive = !positive;
  }
  bool operator==(const Literal&) const = default;
  bool is_opposite(const Literal& other) const { return atom == other.atom && positive != other.positive; }
  const Term* term(TermManager& m) const { return positive ? atom : m.make_not(atom); }
};

/// The bound that an operand of a conjunction sets where it holds, or one of a disjunction where it does not.
std::optional<Bound> bound_of(const Lattice& l, const Term* t) {
  const Literal literal(l.m, t, l.is_conjunction());
  return Bound::of(l.m, literal.atom, literal.positive);
}

/// (and (<= x 3) (<= 3 x)) is (= x 3); null unless the two are such a pair.
const Term* meeting_bounds(const Lattice& l, const Term* a, const Term* b) {
  const auto x = bound_of(l, a);
  const auto y = x ? bound_of(l, b) : std::nullopt;
  if (!y || x->term != y->term || x->kind != y->kind || x->is_upper == y->is_upper) return nullptr;
  if (!(x->value == y->value) || x->is_strict || y->is_strict) return nullptr;
  const Term* equal = l.m.make_equal(x->term, x->literal(l.m));
  return l.is_conjunction() ? equal : l.m.make_not(equal);
}

/// (and (<= x 3) (distinct x 3)) is (<= x 2), of integers and bit-vectors; null unless the two are such a
/// pair.
const Term* tightened_bound(const Lattice& l, const Term* a, const Term* b) {
  TermManager& m = l.m;
  const Literal equation(m, b, l.is_conjunction());
  if (equation.positive || !has_tag(m, equation.atom, SymbolTag::EQ)) return nullptr;
  const std::size_t at = m.get_number(equation.atom->args[0]) != nullptr ? 1 : 0;
  const Term* value = equation.atom->args[1 - at];
  const auto x = m.get_number(value) != nullptr ? bound_of(l, a) : std::nullopt;
  if (!x || x->kind == Bound::rational || x->term != equation.atom->args[at]) return nullptr;
  if (!(x->value_of(m, value) == x->value)) return nullptr;
  const Term* lower = x->is_upper ? x->term : value;
  const Term* upper = x->is_upper ? value : x->term;
  const Term* below = x->kind == Bound::integer       ? m.make_not(m.make_leq(upper, lower))
                      : x->kind == Bound::bits_signed ? m.make_bv_slt(lower, upper)
                                                      : m.make_bv_ult(lower, upper);
  return l.is_conjunction() ? below : m.make_not(below);
}

/// The operands of the dual connective, also where it is written as a negation: (not (and u v)) is a
/// disjunction.
std::optional<std::array<Literal, 2>> dual_operands(const Lattice& l, const Term* t) {
  const bool holds = t->symbol != l.m.not_symbol;
  const Term* inner = holds ? t : t->args[0];
  if (inner->symbol != (holds ? l.dual : l.symbol)) return std::nullopt;
  return std::array{Literal(l.m, inner->args[0], holds), Literal(l.m, inner->args[1], holds)};
}

/// (and (or u v) (or u (not v))) is u, and (and (or u v) (or (not u) (not v))) says that u and v differ.
const Term* resolved(const Lattice& l, const Term* a, const Term* b) {
  const auto x = dual_operands(l, a);
  const auto y = x ? dual_operands(l, b) : std::nullopt;
  if (!y) return nullptr;
  for (std::size_t i = 0; i < 2; ++i) {
    for (std::size_t j = 0; j < 2; ++j) {
      if (!(*x)[1 - i].is_opposite((*y)[1 - j])) continue;
      if ((*x)[i] == (*y)[j]) return (*x)[i].term(l.m);
      if (i == 1 || !(*x)[i].is_opposite((*y)[j])) continue;
      const Term* same = l.m.make_iff((*x)[0].atom, (*x)[1].atom);
      const bool equal = ((*x)[0].positive == (*x)[1].positive) != l.is_conjunction();
      return equal ? same : l.m.make_not(same);
    }
  }
  return nullptr;
}

/// What the operands of the dual connective say, or the formula alone where it is none.
class Clause {
 public:
  Clause(const Lattice& l, const Term* t) {
    const bool holds = t->symbol != l.m.not_symbol;
    const Term* inner = holds ? t : t->args[0];
    const Symbol* symbol = holds ? l.dual : l.symbol;
    if (inner->symbol != symbol) {
      push(Literal(l.m, t, true));
      return;
    }
    Operands operands({l.m, symbol, nullptr, nullptr}, inner);
    for (const Term* part : operands) push(Literal(l.m, part, holds));
  }
  std::size_t size() const { return size_; }
  const Literal& operator[](std::size_t i) const { return *literals_[i]; }

  /// The place of the one literal here whose opposite is in the other clause, which has all others here;
  /// `size()` where there is no such literal.
  std::size_t clash_with(const Clause& other) const {
    std::size_t clash = size_;
    for (std::size_t i = 0; i < size_; ++i) {
      bool known = false;
      bool opposite = false;
      for (std::size_t k = 0; k < other.size_ && !known; ++k) {
        known = (*this)[i] == other[k];
        opposite |= (*this)[i].is_opposite(other[k]);
      }
      if (known) continue;
      if (!opposite || clash != size_) return size_;
      clash = i;
    }
    return clash;
  }

  /// Every literal here is the opposite of one there.
  bool contradicts(const Clause& other) const {
    for (std::size_t i = 0; i < size_; ++i) {
      std::size_t k = 0;
      while (k < other.size_ && !other[k].is_opposite((*this)[i])) ++k;
      if (k == other.size_) return false;
    }
    return true;
  }

 private:
  void push(const Literal& literal) { literals_[size_++].emplace(literal); }

  std::array<std::optional<Literal>, Operands::most> literals_;
  std::size_t size_ = 0;
};

/// (and (or u v w) (or u v (not w))) is (or u v); in (and (or u v) (or u (not v) w)) the second is (or u w).
const Term* resolved_clauses(const Lattice& l, const Term* a, const Term* b) {
  const auto is_clause = [&l](const Term* t) {
    return t->symbol == l.dual || (t->symbol == l.m.not_symbol && t->args[0]->symbol == l.symbol);
  };
  if (!is_clause(a) || !is_clause(b)) return nullptr;
  const Clause x(l, a);
  const Clause y(l, b);
  const bool a_is_shorter = x.size() <= y.size();
  const Clause& few = a_is_shorter ? x : y;
  const Clause& many = a_is_shorter ? y : x;
  const std::size_t clash = few.clash_with(many);
  if (clash == few.size()) return nullptr;
  const Lattice dual{l.m, l.dual, l.symbol, nullptr};
  const Term* rest = nullptr;
  for (std::size_t i = many.size(); i-- > 0;) {
    if (many[i].is_opposite(few[clash])) continue;
    const Term* t = many[i].term(l.m);
    rest = rest == nullptr ? t : dual.join(t, rest);
  }
  const bool all_but_one = many.clash_with(few) != many.size();
  return all_but_one ? rest : l.join(a_is_shorter ? a : b, rest);
}

/// (and (or u v) (or u v w)) is (or u v): all operands of one are among those of the other.
const Term* absorbed(const Lattice& l, const Term* a, const Term* b) {
  if (a->symbol != l.dual || b->symbol != l.dual) return nullptr;
  const Lattice dual{l.m, l.dual, l.symbol, nullptr};
  Operands x(dual, a);
  Operands y(dual, b);
  const bool a_is_shorter = x.size() <= y.size();
  Operands& few = a_is_shorter ? x : y;
  Operands& many = a_is_shorter ? y : x;
  const bool all = std::all_of(few.begin(), few.end(), [&many](const Term* t) {
    return std::find(many.begin(), many.end(), t) != many.end();
  });
  return all ? (a_is_shorter ? a : b) : nullptr;
}

const Term* combined(const Lattice& l, const Term* a, const Term* b) {
  if (const Term* t = absorbed(l, a, b)) return t;
  if (const Term* t = resolved(l, a, b)) return t;
  if (const Term* t = resolved_clauses(l, a, b)) return t;
  if (const Term* t = meeting_bounds(l, a, b)) return t;
  if (const Term* t = tightened_bound(l, a, b)) return t;
  if (const Term* t = tightened_bound(l, b, a)) return t;
  if (const Term* t = joined_comparisons(l.m, a, b, l.is_conjunction())) return t;
  if (const Term* t = joined_congruences(l.m, a, b, l.is_conjunction())) return t;
  return l.is_conjunction() ? joined_classes(l.m, a, b) : nullptr;
}

/// The standard simplifiers decide these.
bool is_plain(const TermManager& m, Args args) {
  return args[0] == args[1] || is_value(m, args[0]) || is_value(m, args[1]) ||
         are_complementary(m, args[0], args[1]);
}

/// What the operands of a conjunction say where it holds, those of a disjunction where it does not: literals,
/// also those of operands that say several at once.
class Said {
 public:
  struct Item {
    Literal literal;
    const Term** operand;  // null for what an operand says beside others
  };

  Said(const Lattice& l, Operands& left, Operands& right) : l_(l) {
    for (Operands* side : {&left, &right}) {
      for (const Term*& t : *side) add(t);
    }
  }
  auto begin() { return items_.begin(); }
  auto end() { return items_.begin() + static_cast<std::ptrdiff_t>(size_); }

 private:
  void add(const Term*& t) {
    const Literal literal(l_.m, t, l_.is_conjunction());
    const Symbol* several = literal.positive ? l_.m.and_symbol : l_.m.or_symbol;
    if (literal.atom->symbol != several) return push({literal, &t});
    Operands inner({l_.m, several, nullptr, nullptr}, literal.atom);
    for (const Term* part : inner) push({Literal(l_.m, part, literal.positive), nullptr});
  }
  void push(const Item& item) {
    if (size_ < items_.size()) items_[size_++].emplace(item);
  }

  const Lattice& l_;
  std::array<std::optional<Item>, 32> items_;
  std::size_t size_ = 0;
};

/// Of two truth values, or two single bits, one of which may be said to be the opposite of the other; or of
/// two terms.
bool is_equation(const TermManager& m, const Literal& literal) {
  if (literal.atom->symbol == m.iff_symbol) return true;
  if (!has_tag(m, literal.atom, SymbolTag::EQ)) return false;
  const DataType* sort = m.type_of(literal.atom->args[0]);
  return literal.positive || (m.is_bv_type(sort) && m.get_width_from_type(sort) == 1);
}

/// Equations among the operands that follow from others are taken out: (and (= x y) (= y z) (= x z)). Null
/// where there is none.
const Term* without_implied_equations(const Lattice& l, Operands& left, Operands& right) {
  Said said(l, left, right);
  const auto num_equations =
      std::count_if(said.begin(), said.end(), [&l](const auto& x) { return is_equation(l.m, x->literal); });
  if (num_equations < 2) return nullptr;
  const Term* absorbing = l.is_conjunction() ? l.m.false_term : l.m.true_term;
  Equalities known;
  bool any = false;
  // What is said beside other things stays, so that it comes first.
  for (const bool may_go : {false, true}) {
    for (const auto& x : said) {
      const auto [literal, operand] = *x;
      if (!is_equation(l.m, literal) || (operand != nullptr) != may_go) continue;
      const auto outcome = known.assume(literal.atom->args[0], literal.atom->args[1], !literal.positive);
      if (outcome == Equalities::Outcome::contradiction) return absorbing;
      if (outcome != Equalities::Outcome::known || !may_go) continue;
      *operand = l.neutral;
      any = true;
    }
  }
  for (const auto& x : said) {
    const Literal& literal = x->literal;
    const bool differs = !literal.positive && has_tag(l.m, literal.atom, SymbolTag::EQ);
    if (differs && known.are_equal(literal.atom->args[0], literal.atom->args[1])) return absorbing;
  }
  if (!any) return nullptr;
  const Term* rest = joined(l, l.neutral, right);
  return joined(l, rest, left);
}

const Term* simplify_lattice(const Lattice& l, Args args) {
  if (is_plain(l.m, args)) return nullptr;
  Operands left(l, args[0]);
  Operands right(l, args[1]);
  if (reduce(l, args[0], right)) return joined(l, args[0], right);
  if (reduce(l, args[1], left)) return joined(l, args[1], left);
  for (const Term*& a : left) {
    for (const Term*& b : right) {
      const Term* t = combined(l, a, b);
      if (t == nullptr) continue;
      a = t;
      b = l.neutral;
      const Term* rest = joined(l, l.neutral, right);
      return joined(l, rest, left);
    }
  }
  return without_implied_equations(l, left, right);
}

}  // namespace

const Term* simplify_and(TermManager& m, const Symbol* /*s*/, Args args) {
  return simplify_lattice({m, m.and_symbol, m.or_symbol, m.true_term}, args);
}

const Term* simplify_or(TermManager& m, const Symbol* /*s*/, Args args) {
  return simplify_lattice({m, m.or_symbol, m.and_symbol, m.false_term}, args);
}

namespace {

/// Whether a negation goes inside: there is one already.
bool takes_negation(const TermManager& m, const Term* t) {
  return (t->symbol == m.and_symbol || t->symbol == m.or_symbol) &&
         (t->args[0]->symbol == m.not_symbol || t->args[1]->symbol == m.not_symbol);
}

const Term* dual(TermManager& m, const Term* t, const Term* a, const Term* b) {
  return t->symbol == m.and_symbol ? m.make_or(a, b) : m.make_and(a, b);
}

/// The negation of a chain of thousands of links, of which each takes it.
const Term* negated_chain(TermManager& m, const Term* root) {
  hsh::HashMap<const Term*, const Term*> negated;
  std::vector<const Term*> pending{root};
  while (!pending.empty()) {
    Checkpoint::pass();
    const Term* t = pending.back();
    const std::size_t before = pending.size();
    if (!negated.contains(t)) {
      const bool inside = takes_negation(m, t);
      // The first argument is negated first: it stands on top.
      for (std::size_t i = inside ? 2 : 0; i-- > 0;) {
        if (!negated.contains(t->args[i])) pending.push_back(t->args[i]);
      }
      if (pending.size() != before) continue;
      const Term* result =
          inside ? dual(m, t, *negated.find(t->args[0]), *negated.find(t->args[1])) : m.make_not(t);
      negated[t] = result;
    }
    pending.pop_back();
  }
  return *negated.find(root);
}

}  // namespace

/// A negation goes inside where there is one already: (not (or (not u) v)) is (and u (not v)).
const Term* simplify_not(TermManager& m, const Symbol* /*s*/, Args args) {
  const Term* t = args[0];
  if (!takes_negation(m, t)) return nullptr;
  if (takes_negation(m, t->args[0]) || takes_negation(m, t->args[1])) return negated_chain(m, t);
  const Term* a = m.make_not(t->args[0]);
  const Term* b = m.make_not(t->args[1]);
  return dual(m, t, a, b);
}

namespace {

/// One is what the negation of the other becomes when it goes inside: (and u (not v)) and (or (not u) v).
bool are_opposite(TermManager& m, const Term* a, const Term* b) {
  if (a->symbol == m.or_symbol) std::swap(a, b);
  if (a->symbol != m.and_symbol || b->symbol != m.or_symbol) return false;
  const Clause all({m, m.or_symbol, m.and_symbol, m.false_term}, a);
  const Clause any({m, m.and_symbol, m.or_symbol, m.true_term}, b);
  return all.contradicts(any) && any.contradicts(all);
}

}  // namespace

/// Negations are taken out, and what stands on both sides cancels.
const Term* simplify_iff(TermManager& m, const Symbol* /*s*/, Args args) {
  for (int i = 0; i < 2; ++i) {
    const Term* a = args[i];
    const Term* b = args[1 - i];
    if (a->symbol == m.not_symbol && !is_value(m, b)) return m.make_not(m.make_iff(a->args[0], b));
    if (b->symbol != m.iff_symbol) continue;
    if (b->args[0] == a) return b->args[1];
    if (b->args[1] == a) return b->args[0];
  }
  return are_opposite(m, args[0], args[1]) ? m.false_term : nullptr;
}

}  // namespace quarv::termsimpl::extended
