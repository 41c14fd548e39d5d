#include <array>

#include <quarv/simpl/extended/exact_float.h>
#include <quarv/simpl/extended/families.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

namespace {

using Tag = SymbolTag::tag;

bool is_negation(const TermManager& m, const Term* t) {
  return has_tag(m, t, SymbolTag::FP_NEG);
}

bool is_infinity(const TermManager& m, const Term* t, bool negative) {
  const auto x = float_of(m, t);
  return x && x->is_inf() && x->get_sign() == negative;
}

/// The operand without negations and absolute values.
const Term* magnitude_of(const TermManager& m, const Term* t) {
  while (is_negation(m, t) || has_tag(m, t, SymbolTag::FP_ABS)) t = t->args[0];
  return t;
}

/// Classes that both signs have.
const Term* classify_magnitude(TermManager& m, const Symbol* s, const Term* t) {
  const Term* inner = magnitude_of(m, t);
  return inner == t ? nullptr : m.make_term_unchecked(s, Args(&inner, 1));
}

/// The sign of a negation is the other one; an absolute value is positive, or NaN, which has no sign.
const Term* classify_sign(TermManager& m, const Term* t, bool negative) {
  if (is_negation(m, t)) return negative ? m.make_fp_ispos(t->args[0]) : m.make_fp_isneg(t->args[0]);
  if (!has_tag(m, t, SymbolTag::FP_ABS)) return nullptr;
  return negative ? m.false_term : m.make_not(m.make_fp_isnan(t->args[0]));
}

const Term* compare(TermManager& m, const Symbol* s, const Term* a, const Term* b) {
  const Tag tag = m.get_tag(s);
  if (is_nan(m, a) || is_nan(m, b)) return m.false_term;
  if (is_negation(m, a) && is_negation(m, b)) {
    return m.make_term_unchecked(s, std::array{b->args[0], a->args[0]});
  }
  if (tag == SymbolTag::FP_LT && (a == b || is_infinity(m, a, false) || is_infinity(m, b, true))) {
    return m.false_term;
  }
  if (tag != SymbolTag::FP_LE) return nullptr;
  if (is_infinity(m, a, true)) return m.make_not(m.make_fp_isnan(b));
  return is_infinity(m, b, false) ? m.make_not(m.make_fp_isnan(a)) : nullptr;
}

/// Operations on two negated operands, and sums with one.
const Term* operate(TermManager& m, const Symbol* s, Args args) {
  const auto [mode, a, b] = std::array{args[0], args[1], args[2]};
  if (is_nan(m, a)) return a;
  if (is_nan(m, b)) return b;
  switch (m.get_tag(s)) {
    case SymbolTag::FP_ADD:
      if (is_negation(m, b)) return m.make_fp_sub(mode, a, b->args[0]);
      return is_negation(m, a) ? m.make_fp_sub(mode, b, a->args[0]) : nullptr;
    case SymbolTag::FP_SUB:
      return is_negation(m, b) ? m.make_fp_add(mode, a, b->args[0]) : nullptr;
    default:
      if (!is_negation(m, a) || !is_negation(m, b)) return nullptr;
      return m.make_term_unchecked(s, std::array{mode, a->args[0], b->args[0]});
  }
}

}  // namespace

const Term* simplify_float(TermManager& m, const Symbol* s, Args args) {
  const Term* t = args[0];
  switch (m.get_tag(s)) {
    case SymbolTag::FP_NEG:
      return is_negation(m, t) ? t->args[0] : nullptr;
    case SymbolTag::FP_ABS: {
      const Term* inner = magnitude_of(m, t);
      return inner == t ? nullptr : m.make_fp_abs(inner);
    }
    case SymbolTag::FP_ISNAN:
    case SymbolTag::FP_ISINF:
    case SymbolTag::FP_ISZERO:
    case SymbolTag::FP_ISSUBNORMAL:
    case SymbolTag::FP_ISNORMAL:
      return classify_magnitude(m, s, t);
    case SymbolTag::FP_ISNEG:
      return classify_sign(m, t, true);
    case SymbolTag::FP_ISPOS:
      return classify_sign(m, t, false);
    case SymbolTag::FP_EQ:
    case SymbolTag::FP_LT:
    case SymbolTag::FP_LE:
      return compare(m, s, args[0], args[1]);
    case SymbolTag::FP_MIN:
    case SymbolTag::FP_MAX:
      if (args[0] == args[1] || is_nan(m, args[1])) return args[0];
      return is_nan(m, args[0]) ? args[1] : nullptr;
    case SymbolTag::FP_ADD:
    case SymbolTag::FP_SUB:
    case SymbolTag::FP_MUL:
    case SymbolTag::FP_DIV:
      return operate(m, s, args);
    case SymbolTag::FP_CAST:
      // To its own format: every value is there already.
      return m.type_of(args[1]) == s->get_output_type() ? args[1] : nullptr;
    default:
      return nullptr;
  }
}

}  // namespace quarv::termsimpl::extended
