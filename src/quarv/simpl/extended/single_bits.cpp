#include <array>
#include <cstdint>
#include <optional>

#include <quarv/numbers/bv_number.h>
#include <quarv/simpl/extended/bit_slices.h>
#include <quarv/simpl/extended/families.h>
#include <quarv/simpl/extended/known_bits.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

namespace {

using Table = std::uint32_t;

/// What a formula over single bits makes of each combination of up to five of them. Lowest bits of sums and
/// products depend on lowest bits alone.
class TruthTable {
 public:
  explicit TruthTable(const TermManager& m) : m_(m) {}

  /// The table of a bit of a term; none where it depends on too many bits.
  std::optional<Table> of(const Term* t, std::size_t bit) { return of(t->symbol, m_.args_of(t), t, bit); }
  /// The same for an application that has not been built.
  std::optional<Table> of(const Symbol* s, Args args) { return of(s, args, nullptr, 0); }

  std::size_t size() const { return size_; }
  const BitPart& operator[](std::size_t i) const { return inputs_[i]; }
  static Table table_of_input(std::size_t i) {
    constexpr std::array<Table, most_inputs> tables{0xaaaaaaaa, 0xcccccccc, 0xf0f0f0f0, 0xff00ff00,
                                                    0xffff0000};
    return tables[i];
  }
  std::size_t num_operators() const { return num_operators_; }

 private:
  static constexpr std::size_t most_inputs = 5;
  static constexpr int most_visits = 32;

  std::optional<Table> of(const Symbol* s, Args args, const Term* t, std::size_t bit);
  std::optional<Table> input(const Term* t, std::size_t bit);

  const TermManager& m_;
  std::array<BitPart, most_inputs> inputs_;
  std::size_t size_ = 0;
  std::size_t num_operators_ = 0;
  int visits_left_ = most_visits;
};

std::optional<Table> TruthTable::input(const Term* t, std::size_t bit) {
  if (t == nullptr) return std::nullopt;
  const BitPart part{t, bit, bit};
  for (std::size_t i = 0; i < size_; ++i) {
    if (inputs_[i] == part) return table_of_input(i);
  }
  if (size_ == most_inputs) return std::nullopt;
  inputs_[size_] = part;
  return table_of_input(size_++);
}

/// The number of visits bounds the depth.
std::optional<Table> TruthTable::of(const Symbol* s, Args args, const Term* t, std::size_t bit) {
  if (--visits_left_ < 0) return std::nullopt;
  std::size_t offset = 0;
  const SymbolTag::tag tag = m_.get_tag(s);
  switch (tag) {
    case SymbolTag::CONSTANT:
      return BVNumber::bit(*m_.get_number(s), bit) ? ~Table{0} : 0;
    case SymbolTag::BV_CONCAT: {
      const std::size_t width = width_of(m_, args[1]);
      return bit < width ? of(args[1], bit) : of(args[0], bit - width);
    }
    case SymbolTag::BV_SELECT:
      m_.is_bv_extract(s, nullptr, &offset, nullptr);
      return of(args[0], bit + offset);
    case SymbolTag::BV_ZEXT:
      return bit < width_of(m_, args[0]) ? of(args[0], bit) : 0;
    case SymbolTag::BV_SEXT:
      return of(args[0], std::min(bit, width_of(m_, args[0]) - 1));
    case SymbolTag::BV_NOT: {
      ++num_operators_;
      const auto a = of(args[0], bit);
      return a ? std::optional(~*a) : std::nullopt;
    }
    case SymbolTag::BV_AND:
    case SymbolTag::BV_OR:
    case SymbolTag::BV_XOR: {
      ++num_operators_;
      const auto a = of(args[0], bit);
      const auto b = a ? of(args[1], bit) : std::nullopt;
      if (!b) return std::nullopt;
      if (tag == SymbolTag::BV_XOR) return *a ^ *b;
      return tag == SymbolTag::BV_AND ? *a & *b : *a | *b;
    }
    case SymbolTag::BV_ADD:
    case SymbolTag::BV_SUB:
    case SymbolTag::BV_MUL: {
      if (bit != 0) return input(t, bit);
      num_operators_ += 2;  // more than a complement, which may be all that is left
      const auto a = of(args[0], 0);
      const auto b = a ? of(args[1], 0) : std::nullopt;
      if (!b) return std::nullopt;
      return tag == SymbolTag::BV_MUL ? *a & *b : *a ^ *b;
    }
    case SymbolTag::BV_NEG:
      if (bit != 0) return input(t, bit);
      num_operators_ += 2;
      return of(args[0], 0);
    default:
      return input(t, bit);
  }
}

/// A difference, also where it is written as a sum.
struct Difference {
  const Term* minuend;
  const Term* subtrahend;
};

std::optional<Difference> difference_of(TermManager& m, const Term* t) {
  if (has_tag(m, t, SymbolTag::BV_SUB)) return Difference{t->args[0], t->args[1]};
  if (!has_tag(m, t, SymbolTag::BV_ADD)) return std::nullopt;
  for (std::size_t i = 0; i < 2; ++i) {
    const Term* x = t->args[1 - i];
    if (has_tag(m, t->args[i], SymbolTag::BV_NEG)) return Difference{x, t->args[i]->args[0]};
    if (is_value(m, t->args[i])) return Difference{x, m.make_bv_neg(t->args[i])};
  }
  return std::nullopt;
}

const Term* bit_if(TermManager& m, const Term* condition, bool positive) {
  const Term* one = m.make_bv_number(1, 1);
  const Term* zero = m.make_bv_number(0, 1);
  return positive ? m.make_ite(condition, one, zero) : m.make_ite(condition, zero, one);
}

/// The formulas by which processors tell from the highest bits x, y, d of two words and their difference
/// which is smaller: as signed numbers, x ^ y & x ^ d makes the sign of d wrong; as unsigned numbers there is
/// a borrow.
const Term* compared_by_signs(TermManager& m, TruthTable& formula, Table table) {
  const std::size_t num_inputs = formula.size();
  for (std::size_t i = 0; i < num_inputs; ++i) {
    const BitPart sign = formula[i];
    if (sign.high + 1 != width_of(m, sign.term)) continue;
    const auto difference = difference_of(m, sign.term);
    if (!difference) continue;
    const auto [a, b] = *difference;
    const auto x = formula.of(a, sign.high);
    const auto y = x ? formula.of(b, sign.high) : std::nullopt;
    if (!y) continue;
    const Table d = TruthTable::table_of_input(i);
    const Table less = d ^ ((*x ^ *y) & (*x ^ d));
    const Table borrow = (~*x & *y) | ((~*x | *y) & d);
    if (table == less || table == ~less) return bit_if(m, m.make_bv_slt(a, b), table == less);
    if (table == borrow || table == ~borrow) return bit_if(m, m.make_bv_ult(a, b), table == borrow);
  }
  return nullptr;
}

/// The carry out of a sum: the sum is smaller than an operand.
const Term* carry_of_sum(TermManager& m, TruthTable& formula, Table table) {
  const std::size_t num_inputs = formula.size();
  for (std::size_t i = 0; i < num_inputs; ++i) {
    const BitPart sign = formula[i];
    if (sign.high + 1 != width_of(m, sign.term) || !has_tag(m, sign.term, SymbolTag::BV_ADD)) continue;
    const auto x = formula.of(sign.term->args[0], sign.high);
    const auto y = x ? formula.of(sign.term->args[1], sign.high) : std::nullopt;
    if (!y) continue;
    const Table d = TruthTable::table_of_input(i);
    const Table carry = (*x & *y) | ((*x | *y) & ~d);
    if (table != carry && table != ~carry) continue;
    return bit_if(m, m.make_bv_ult(sign.term, sign.term->args[0]), table == carry);
  }
  return nullptr;
}

const Term* by_truth_table(TermManager& m, const Symbol* s, Args args) {
  TruthTable formula(m);
  std::optional<Table> table;
  if (m.get_tag(s) == SymbolTag::BV_SELECT) {
    std::size_t bit = 0;
    m.is_bv_extract(s, nullptr, &bit, nullptr);
    table = formula.of(args[0], bit);
  } else {
    table = formula.of(s, args);
  }
  if (!table || formula.num_operators() == 0) return nullptr;
  if (*table == 0 || *table == ~Table{0}) return m.make_bv_number(*table == 0 ? 0 : 1, 1);
  for (std::size_t i = 0; i < formula.size(); ++i) {
    if (*table == TruthTable::table_of_input(i)) return BitSlices::cut(m, formula[i]);
    if (*table == ~TruthTable::table_of_input(i) && formula.num_operators() > 1) {
      return m.make_bv_not(BitSlices::cut(m, formula[i]));
    }
  }
  if (formula.num_operators() < 2) return nullptr;
  if (const Term* t = compared_by_signs(m, formula, *table)) return t;
  return carry_of_sum(m, formula, *table);
}

// Bits that say whether a formula holds.
// ---------------------------------------------------------------------------------------------------------

/// (ite c #b1 #b0), (ite c #b0 #b1), (bvcomp a b).
bool is_condition(const TermManager& m, const Term* t) {
  if (has_tag(m, t, SymbolTag::BV_COMP)) return true;
  return has_tag(m, t, SymbolTag::TERM_ITE) && is_value(m, t->args[1]) && is_value(m, t->args[2]);
}

const Term* condition_of(TermManager& m, const Term* t) {
  if (has_tag(m, t, SymbolTag::BV_COMP)) return m.make_equal(t->args[0], t->args[1]);
  return m.get_number(t->args[1])->is_zero() ? m.make_not(t->args[0]) : t->args[0];
}

const Term* connected(TermManager& m, SymbolTag::tag tag, const Term* a, const Term* b) {
  if (tag == SymbolTag::BV_AND) return m.make_and(a, b);
  return tag == SymbolTag::BV_OR ? m.make_or(a, b) : m.make_not(m.make_iff(a, b));
}

bool is_connective(SymbolTag::tag tag) {
  return tag == SymbolTag::BV_AND || tag == SymbolTag::BV_OR || tag == SymbolTag::BV_XOR;
}

constexpr int deepest = 6;

bool has_condition(const TermManager& m, const Term* t, int depth) {
  if (is_condition(m, t)) return true;
  const SymbolTag::tag tag = m.get_tag(t->symbol);
  if (depth == 0) return false;
  if (tag == SymbolTag::BV_NOT) return has_condition(m, t->args[0], depth - 1);
  return is_connective(tag) &&
         (has_condition(m, t->args[0], depth - 1) || has_condition(m, t->args[1], depth - 1));
}

bool is_lattice(SymbolTag::tag tag) {
  return tag == SymbolTag::BV_AND || tag == SymbolTag::BV_OR;
}

/// Whether a bit is made of others by a few conjunctions, disjunctions and complements.
bool is_small_formula(const TermManager& m, const Term* t, int depth, int& most) {
  const SymbolTag::tag tag = m.get_tag(t->symbol);
  if (!is_lattice(tag) && tag != SymbolTag::BV_NOT) return true;
  if (depth == 0 || --most < 0) return false;
  return is_small_formula(m, t->args[0], depth - 1, most) &&
         (tag == SymbolTag::BV_NOT || is_small_formula(m, t->args[1], depth - 1, most));
}

/// The formula that says that a bit is 1: of the conditions that it is made of, or, where it `is_small`, of
/// all bits.
const Term* formula_of(TermManager& m, const Term* t, int depth, bool is_small) {
  if (is_condition(m, t)) return condition_of(m, t);
  const SymbolTag::tag tag = m.get_tag(t->symbol);
  if (depth > 0 && tag == SymbolTag::BV_NOT)
    return m.make_not(formula_of(m, t->args[0], depth - 1, is_small));
  const bool opens = is_small ? is_lattice(tag) : is_connective(tag) && has_condition(m, t, depth);
  if (depth == 0 || !opens) return m.make_equal(t, m.make_bv_number(1, 1));
  const Term* a = formula_of(m, t->args[0], depth - 1, is_small);
  const Term* b = formula_of(m, t->args[1], depth - 1, is_small);
  return connected(m, tag, a, b);
}

/// The sign of a difference of two words of the same known sign, which cannot overflow, compares them.
const Term* sign_of_difference(TermManager& m, const Term* t) {
  std::size_t high = 0;
  if (!m.is_bv_extract(t->symbol, &high, nullptr, nullptr)) return nullptr;
  const Term* d = t->args[0];
  if (high + 1 != width_of(m, d) || high >= KnownBits::most_bits) return nullptr;
  const auto difference = difference_of(m, d);
  if (!difference) return nullptr;
  const auto a = KnownBits::of(m, difference->minuend);
  const auto b = KnownBits::of(m, difference->subtrahend);
  if (!a || !b) return nullptr;
  const bool same_sign = (((a->zeros & b->zeros) | (a->ones & b->ones)) >> high & 1) != 0;
  return same_sign ? m.make_bv_ult(difference->minuend, difference->subtrahend) : nullptr;
}

}  // namespace

const Term* simplify_single_bit(TermManager& m, const Symbol* s, Args args) {
  const SymbolTag::tag tag = m.get_tag(s);
  const bool connective = is_connective(tag);
  if (!connective && tag != SymbolTag::BV_NOT && tag != SymbolTag::BV_SELECT) return nullptr;
  if (m.get_width_from_type(s->get_output_type()) != 1) return nullptr;
  if (connective && is_condition(m, args[0]) && is_condition(m, args[1])) {
    const Term* a = condition_of(m, args[0]);
    const Term* b = condition_of(m, args[1]);
    return bit_if(m, connected(m, tag, a, b), true);
  }
  return by_truth_table(m, s, args);
}

const Term* simplify_bit_equation(TermManager& m, const Term* t, const Term* value) {
  if (width_of(m, t) != 1) return nullptr;
  const SymbolTag::tag tag = m.get_tag(t->symbol);
  const Term* formula = nullptr;
  if (tag == SymbolTag::BV_COMP || (is_connective(tag) && has_condition(m, t, deepest))) {
    formula = formula_of(m, t, deepest, false);
  } else if (int most = 16; is_lattice(tag) && is_small_formula(m, t, deepest, most)) {
    formula = formula_of(m, t, deepest, true);
  } else if (tag == SymbolTag::BV_XOR) {
    formula = m.make_not(m.make_equal(t->args[0], t->args[1]));
  } else if (tag == SymbolTag::BV_SELECT) {
    formula = sign_of_difference(m, t);
  }
  if (!m.get_number(value)->is_zero()) return formula;
  // What is not 0 is 1.
  return m.make_not(formula != nullptr ? formula : m.make_equal(t, m.make_bv_number(1, 1)));
}

}  // namespace quarv::termsimpl::extended
