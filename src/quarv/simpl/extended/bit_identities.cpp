#include <array>
#include <optional>
#include <utility>

#include <quarv/numbers/bv_number.h>
#include <quarv/simpl/extended/bit_slices.h>
#include <quarv/simpl/extended/families.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

namespace {

bool is_not(const TermManager& m, const Term* t) {
  return has_tag(m, t, SymbolTag::BV_NOT);
}

bool is_neg(const TermManager& m, const Term* t) {
  return has_tag(m, t, SymbolTag::BV_NEG);
}

bool is_bit_complement(const TermManager& m, const Term* a, const Term* b) {
  return (is_not(m, a) && a->args[0] == b) || (is_not(m, b) && b->args[0] == a);
}

bool is_all_ones(const TermManager& m, const Term* t) {
  const QNumber* value = m.get_number(t);
  return value != nullptr && mpz_popcount(value->num().get_mpz_t()) == width_of(m, t);
}

bool is_one(const TermManager& m, const Term* t) {
  const QNumber* value = m.get_number(t);
  return value != nullptr && *value == QNumber(1);
}

/// ~-t is t - 1, and -~t is t + 1; ~(~t + u) is t - u, and ~(t - 1) is -t; the negative of a difference is
/// the difference the other way round.
const Term* negation(TermManager& m, SymbolTag::tag tag, const Term* t) {
  const std::size_t width = width_of(m, t);
  if (tag == SymbolTag::BV_NOT) {
    if (is_neg(m, t)) return m.make_bv_add(all_ones(m, width), t->args[0]);
    if (!has_tag(m, t, SymbolTag::BV_ADD)) return nullptr;
    for (std::size_t i = 0; i < 2; ++i) {
      if (is_value(m, t->args[i]) && is_all_ones(m, t->args[i])) return m.make_bv_neg(t->args[1 - i]);
      if (is_not(m, t->args[i])) return m.make_bv_sub(t->args[i]->args[0], t->args[1 - i]);
    }
    return nullptr;
  }
  if (is_not(m, t)) return m.make_bv_add(m.make_bv_number(1, width), t->args[0]);
  if (has_tag(m, t, SymbolTag::BV_SUB)) return m.make_bv_sub(t->args[1], t->args[0]);
  if (!has_tag(m, t, SymbolTag::BV_ADD)) return nullptr;
  for (std::size_t i = 0; i < 2; ++i) {
    if (!is_neg(m, t->args[i])) continue;
    const Term* other = m.make_bv_neg(t->args[1 - i]);
    return m.make_bv_add(t->args[i]->args[0], other);
  }
  return nullptr;
}

/// A term with a constant factor.
struct Multiple {
  const Term* factor;
  const Term* term;
};

Multiple multiple_of(TermManager& m, const Term* t) {
  const std::size_t width = width_of(m, t);
  if (is_neg(m, t)) return {all_ones(m, width), t->args[0]};
  if (has_tag(m, t, SymbolTag::BV_MUL)) {
    for (std::size_t i = 0; i < 2; ++i) {
      if (is_value(m, t->args[i])) return {t->args[i], t->args[1 - i]};
    }
  }
  return {m.make_bv_number(1, width), t};
}

/// Whether a term is an operation on two others, in whichever order.
bool is_operation(const TermManager& m, const Term* t, SymbolTag::tag tag, const Term* a, const Term* b) {
  return has_tag(m, t, tag) && ((t->args[0] == a && t->args[1] == b) || (t->args[0] == b && t->args[1] == a));
}

/// The term of which this is twice as much; null where it is not written so.
const Term* half_of(const TermManager& m, const Term* t) {
  const bool is_shift = has_tag(m, t, SymbolTag::BV_LSL);
  if (!is_shift && !has_tag(m, t, SymbolTag::BV_MUL)) return nullptr;
  const QNumber by(is_shift ? 1 : 2);
  for (std::size_t i = is_shift ? 1 : 0; i < 2; ++i) {
    const QNumber* number = m.get_number(t->args[i]);
    if (number != nullptr && *number == by) return t->args[1 - i];
  }
  return nullptr;
}

/// (a & b) + (a | b) is a + b, (a & b) + (a ^ b) is a | b, and 2 * (a & b) + (a ^ b) is a + b: common bits
/// count twice in a sum.
const Term* sum_of_parts(TermManager& m, const Term* common, const Term* others) {
  if (const Term* carry = half_of(m, common); carry != nullptr && has_tag(m, carry, SymbolTag::BV_AND)) {
    const auto [a, b] = std::pair(carry->args[0], carry->args[1]);
    return is_operation(m, others, SymbolTag::BV_XOR, a, b) ? m.make_bv_add(a, b) : nullptr;
  }
  if (!has_tag(m, common, SymbolTag::BV_AND)) return nullptr;
  const Term* a = common->args[0];
  const Term* b = common->args[1];
  if (is_operation(m, others, SymbolTag::BV_OR, a, b)) return m.make_bv_add(a, b);
  return is_operation(m, others, SymbolTag::BV_XOR, a, b) ? m.make_bv_or(a, b) : nullptr;
}

/// Bits without some of them: (a | b) - (a & b) is a ^ b, (a | b) - a is b & ~a, a - (a & b) is a & ~b,
/// (a + b) - (a | b) is a & b, and so on.
const Term* difference_of_parts(TermManager& m, const Term* all, const Term* part) {
  const auto without = [&m](const Term* t, const Term* u) { return m.make_bv_and(t, m.make_bv_not(u)); };
  if (has_tag(m, part, SymbolTag::BV_AND) && (part->args[0] == all || part->args[1] == all)) {
    return without(all, part->args[part->args[0] == all ? 1 : 0]);
  }
  const bool is_union = has_tag(m, all, SymbolTag::BV_OR);
  if (!is_union && !has_tag(m, all, SymbolTag::BV_ADD)) return nullptr;
  const Term* a = all->args[0];
  const Term* b = all->args[1];
  if (is_union) {
    if (part == a) return without(b, a);
    if (part == b) return without(a, b);
    if (is_operation(m, part, SymbolTag::BV_AND, a, b)) return m.make_bv_xor(a, b);
    return is_operation(m, part, SymbolTag::BV_XOR, a, b) ? m.make_bv_and(a, b) : nullptr;
  }
  if (is_operation(m, part, SymbolTag::BV_OR, a, b)) return m.make_bv_and(a, b);
  return is_operation(m, part, SymbolTag::BV_AND, a, b) ? m.make_bv_or(a, b) : nullptr;
}

/// A shift to the left and back, by as many bits, copies the sign of what is left.
const Term* shifted_back(TermManager& m, const Term* t, const Term* amount) {
  const QNumber* bits = m.get_number(amount);
  const std::size_t width = width_of(m, t);
  if (bits == nullptr || bits->sign() <= 0 || *bits >= QNumber(static_cast<std::int64_t>(width)))
    return nullptr;
  const std::size_t n = bits->num().get_ui();
  if (has_tag(m, t, SymbolTag::BV_LSL) && t->args[1] == amount) {
    return m.make_bv_sign_extend(n, m.make_bv_extract(width - n - 1, 0, t->args[0]));
  }
  if (!has_tag(m, t, SymbolTag::BV_CONCAT) || !is_zero(m, t->args[1])) return nullptr;
  return width_of(m, t->args[1]) == n ? m.make_bv_sign_extend(n, t->args[0]) : nullptr;
}

const Term* sum(TermManager& m, Args args) {
  for (std::size_t i = 0; i < 2; ++i) {
    if (is_one(m, args[i]) && is_not(m, args[1 - i])) return m.make_bv_neg(args[1 - i]->args[0]);
  }
  if (is_neg(m, args[0]) && is_neg(m, args[1])) {
    return m.make_bv_neg(m.make_bv_add(args[0]->args[0], args[1]->args[0]));
  }
  for (std::size_t i = 0; i < 2; ++i) {
    const Term* other = args[1 - i];
    if (const Term* t = sum_of_parts(m, args[i], other)) return t;
    if (!is_neg(m, args[i])) continue;
    if (const Term* t = difference_of_parts(m, other, args[i]->args[0])) return t;
  }
  const auto is_product = [&m](const Term* t) { return has_tag(m, t, SymbolTag::BV_MUL); };
  if (!is_product(args[0]) && !is_product(args[1])) return nullptr;
  const Multiple a = multiple_of(m, args[0]);
  const Multiple b = multiple_of(m, args[1]);
  if (a.term != b.term || is_value(m, a.term)) return nullptr;
  const Term* factor = m.make_bv_add(a.factor, b.factor);
  return m.make_bv_mul(factor, a.term);
}

/// Complements go outwards.
const Term* exclusive(TermManager& m, Args args) {
  if (is_not(m, args[0]) && is_not(m, args[1])) return m.make_bv_xor(args[0]->args[0], args[1]->args[0]);
  for (std::size_t i = 0; i < 2; ++i) {
    const Term* a = args[i];
    const Term* b = args[1 - i];
    if (is_not(m, a) && !is_value(m, b) && a->args[0] != b) {
      return m.make_bv_not(m.make_bv_xor(a->args[0], b));
    }
    if (!is_value(m, a) || !has_tag(m, b, SymbolTag::BV_XOR)) continue;
    for (std::size_t k = 0; k < 2; ++k) {
      if (!is_value(m, b->args[k])) continue;
      const Term* constant = m.make_bv_xor(a, b->args[k]);
      return m.make_bv_xor(constant, b->args[1 - k]);
    }
  }
  return nullptr;
}

/// (bvor (bvand a b) (bvand a (bvnot b))) is a, and so for the dual.
const Term* resolvent(const TermManager& m, SymbolTag::tag dual, const Term* a, const Term* b) {
  if (!has_tag(m, a, dual) || !has_tag(m, b, dual)) return nullptr;
  for (std::size_t i = 0; i < 2; ++i) {
    for (std::size_t k = 0; k < 2; ++k) {
      if (a->args[i] == b->args[k] && is_bit_complement(m, a->args[1 - i], b->args[1 - k])) return a->args[i];
    }
  }
  return nullptr;
}

const Term* lattice(TermManager& m, SymbolTag::tag tag, Args args) {
  const SymbolTag::tag dual = tag == SymbolTag::BV_AND ? SymbolTag::BV_OR : SymbolTag::BV_AND;
  if (const Term* t = resolvent(m, dual, args[0], args[1])) return t;
  if (!is_not(m, args[0]) || !is_not(m, args[1])) return nullptr;
  return m.make_bv_not(m.make_operation(dual, {args[0]->args[0], args[1]->args[0]}));
}

/// A term that is not greater than `bound`, as unsigned numbers, whatever its operands are.
bool is_at_most(const TermManager& m, const Term* t, const Term* bound) {
  const Args args = m.args_of(t);
  switch (m.get_tag(t->symbol)) {
    case SymbolTag::BV_AND:
      return args[0] == bound || args[1] == bound;
    case SymbolTag::BV_LSR:
    case SymbolTag::BV_UREM:
      return args[0] == bound;
    case SymbolTag::BV_UDIV:
      return args[0] == bound && is_value(m, args[1]) && !m.get_number(args[1])->is_zero();
    default:
      break;
  }
  return has_tag(m, bound, SymbolTag::BV_OR) && (bound->args[0] == t || bound->args[1] == t);
}

/// The least or the greatest signed number.
bool is_extreme(const TermManager& m, const Term* t, bool greatest) {
  const QNumber* value = m.get_number(t);
  if (value == nullptr) return false;
  const std::size_t width = width_of(m, t);
  if (BVNumber::bit(*value, width - 1) == greatest) return false;
  std::size_t exponent = 0;
  if (!greatest && value->is_small()) return is_power_of_two(m, t, &exponent);
  for (std::size_t i = 0; i + 1 < width; ++i) {
    if (BVNumber::bit(*value, i) != greatest) return false;
  }
  return true;
}

/// Comparisons with extremes, of complements, and of a term with a part of its bits.
const Term* comparison(TermManager& m, SymbolTag::tag tag, const Term* a, const Term* b) {
  const bool is_strict = tag == SymbolTag::BV_ULT || tag == SymbolTag::BV_SLT;
  const bool is_signed = tag == SymbolTag::BV_SLT || tag == SymbolTag::BV_SLE;
  if (is_not(m, a) && is_not(m, b)) return m.make_operation(tag, {b->args[0], a->args[0]});
  if (!is_signed) {
    if (is_strict && is_at_most(m, b, a)) return m.false_term;
    return !is_strict && is_at_most(m, a, b) ? m.true_term : nullptr;
  }
  const bool touches = is_strict ? is_extreme(m, a, false) || is_extreme(m, b, true)
                                 : is_extreme(m, b, false) || is_extreme(m, a, true);
  if (!touches || width_of(m, a) < 2) return nullptr;
  const Term* equal = m.make_equal(a, b);
  return is_strict ? m.make_not(equal) : equal;
}

}  // namespace

const Term* simplify_bit_identity(TermManager& m, const Symbol* s, Args args) {
  const SymbolTag::tag tag = m.get_tag(s);
  switch (tag) {
    case SymbolTag::BV_NOT:
    case SymbolTag::BV_NEG:
      return negation(m, tag, args[0]);
    case SymbolTag::BV_ADD:
      return sum(m, args);
    case SymbolTag::BV_SUB:
      return difference_of_parts(m, args[0], args[1]);
    case SymbolTag::BV_ASR:
      return shifted_back(m, args[0], args[1]);
    case SymbolTag::BV_MUL:
      for (std::size_t i = 0; i < 2; ++i) {
        if (is_value(m, args[i]) && !is_value(m, args[1 - i]) && is_all_ones(m, args[i])) {
          return m.make_bv_neg(args[1 - i]);
        }
      }
      return nullptr;
    case SymbolTag::BV_SREM:
      return is_zero(m, args[1]) ? args[0] : nullptr;
    case SymbolTag::BV_SDIV:
      return is_value(m, args[1]) && is_all_ones(m, args[1]) ? m.make_bv_neg(args[0]) : nullptr;
    case SymbolTag::BV_XOR:
      return exclusive(m, args);
    case SymbolTag::BV_AND:
    case SymbolTag::BV_OR:
      return lattice(m, tag, args);
    case SymbolTag::BV_COMP:
      return args[0] == args[1] ? m.make_bv_number(1, 1) : nullptr;
    case SymbolTag::BV_ULT:
    case SymbolTag::BV_ULE:
    case SymbolTag::BV_SLT:
    case SymbolTag::BV_SLE:
      return comparison(m, tag, args[0], args[1]);
    default:
      return nullptr;
  }
}

}  // namespace quarv::termsimpl::extended
