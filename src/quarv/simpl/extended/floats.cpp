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

bool is_from_integer(const TermManager& m, const Term* t) {
  return has_tag(m, t, SymbolTag::FP_FROM_SBV) || has_tag(m, t, SymbolTag::FP_FROM_UBV);
}

/// Classes that both signs have.
const Term* classify_magnitude(TermManager& m, const Symbol* s, const Term* t) {
  const Term* inner = magnitude_of(m, t);
  return inner == t ? nullptr : m.make_term_unchecked(s, Args(&inner, 1));
}

/// The format of the float that a term is.
IEEEFloat::format format_of(const TermManager& m, const Term* t) {
  IEEEFloat::format f{};
  m.get_format_from_type(m.type_of(t), &f.ew, &f.mw);
  return f;
}

/// Whether the largest finite number is an integer, so that no other one is rounded to an infinity. Narrow
/// formats have fractions up to there.
bool rounds_to_finite_integers(const IEEEFloat::format& f) {
  constexpr std::size_t largest_shift = 63;
  return f.ew > largest_shift || (std::size_t{1} << (f.ew - 1)) > f.mw;
}

/// Rounding makes no NaN of a float, and to an integral value no infinity where there is room for it. What is
/// converted from an integer is never NaN.
const Term* classify_rounded(TermManager& m, const Symbol* s, const Term* t) {
  const bool nan = m.get_tag(s) == SymbolTag::FP_ISNAN;
  if (nan && is_from_integer(m, t)) return m.false_term;
  const bool to_integer = has_tag(m, t, SymbolTag::FP_ROUND_TO_INT);
  if (nan && (to_integer || has_tag(m, t, SymbolTag::FP_CAST))) return m.make_fp_isnan(t->args[1]);
  if (to_integer && rounds_to_finite_integers(format_of(m, t))) return m.make_fp_isinf(t->args[1]);
  return classify_magnitude(m, s, t);
}

/// The sign of a negation is the other one; an absolute value is positive, or NaN, which has no sign.
/// Rounding leaves signs as they are.
const Term* classify_sign(TermManager& m, const Term* t, bool negative) {
  if (has_tag(m, t, SymbolTag::FP_ROUND_TO_INT) || has_tag(m, t, SymbolTag::FP_CAST)) {
    return negative ? m.make_fp_isneg(t->args[1]) : m.make_fp_ispos(t->args[1]);
  }
  if (is_negation(m, t)) return negative ? m.make_fp_ispos(t->args[0]) : m.make_fp_isneg(t->args[0]);
  if (!has_tag(m, t, SymbolTag::FP_ABS)) return nullptr;
  return negative ? m.false_term : m.make_not(m.make_fp_isnan(t->args[0]));
}

const Term* compare(TermManager& m, const Symbol* s, const Term* a, const Term* b) {
  const Tag tag = m.get_tag(s);
  // A number is equal to itself, unless it is NaN.
  if (a == b && tag != SymbolTag::FP_LT) return m.make_not(m.make_fp_isnan(a));
  if (is_nan(m, a) || is_nan(m, b)) return m.false_term;
  if (is_negation(m, a) && is_negation(m, b)) {
    return m.make_term_unchecked(s, std::array{b->args[0], a->args[0]});
  }
  if (tag == SymbolTag::FP_LT && (a == b || is_infinity(m, a, false) || is_infinity(m, b, true))) {
    return m.false_term;
  }
  if (tag == SymbolTag::FP_LT && has_tag(m, a, SymbolTag::FP_ABS)) {
    const auto bound = float_of(m, b);
    if (bound && (bound->is_zero() || bound->get_sign())) return m.false_term;
  }
  if (tag != SymbolTag::FP_LE) return nullptr;
  if (is_infinity(m, a, true)) return m.make_not(m.make_fp_isnan(b));
  return is_infinity(m, b, false) ? m.make_not(m.make_fp_isnan(a)) : nullptr;
}

/// NaN has many encodings, of which results of operations have one.
const Term* computed_nan(TermManager& m, const Term* nan) {
  const IEEEFloat::format f = format_of(m, nan);
  const mpz_class exponent = (mpz_class(1) << f.ew) - 1;
  const mpz_class quiet = mpz_class(1) << (f.mw - 1);
  return m.make_fp_bits_number(QNumber(mpz_class((exponent << f.mw) + quiet), mpz_class(1)), f.ew, f.mw);
}

/// A product with 1 or -1, or a quotient by it, needs no rounding.
const Term* unit_factor(TermManager& m, const Term* t, const Term* factor) {
  if (float_of(m, t)) return nullptr;  // a NaN might keep an encoding of its own
  const auto x = float_of(m, factor);
  if (!x || x->is_nan() || x->is_inf() || !has_exact_arithmetic(x->get_format())) return nullptr;
  const QNumber value = exact_value(*x);
  if (value == QNumber(1)) return t;
  return value == QNumber(-1) ? m.make_fp_neg(t) : nullptr;
}

/// A conversion to a wider format and back.
const Term* restored(const TermManager& m, const Symbol* s, const Term* wide) {
  if (!has_tag(m, wide, SymbolTag::FP_CAST)) return nullptr;
  const Term* t = wide->args[1];
  if (m.type_of(t) != s->get_output_type()) return nullptr;
  const IEEEFloat::format inner = format_of(m, t);
  const IEEEFloat::format outer = format_of(m, wide);
  return outer.ew >= inner.ew && outer.mw >= inner.mw ? t : nullptr;
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
      if (const Term* t = unit_factor(m, a, b)) return t;
      if (m.get_tag(s) == SymbolTag::FP_MUL) {
        if (const Term* t = unit_factor(m, b, a)) return t;
      }
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
      return classify_rounded(m, s, t);
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
      return m.type_of(args[1]) == s->get_output_type() ? args[1] : restored(m, s, args[1]);
    case SymbolTag::FP_ROUND_TO_INT:
      return has_tag(m, args[1], SymbolTag::FP_ROUND_TO_INT) ? args[1] : nullptr;
    case SymbolTag::FP_FMA:  // factors in one order
      if (args[1]->id <= args[2]->id) return nullptr;
      return m.make_term_unchecked(s, std::array{args[0], args[2], args[1], args[3]});
    case SymbolTag::FP_SQRT:
      return is_nan(m, args[1]) ? computed_nan(m, args[1]) : nullptr;
    default:
      return nullptr;
  }
}

}  // namespace quarv::termsimpl::extended
