#include <charconv>
#include <string_view>

#include <quarv/numbers/bv_number.h>
#include <quarv/simpl/extended/exact_float.h>
#include <quarv/simpl/extended/families.h>
#include <quarv/simpl/extended/values.h>
#include <quarv/simpl/fp/folding.h>

namespace quarv::termsimpl::extended {

namespace {

using Format = IEEEFloat::format;

const Term* nan_of(TermManager& m, Format f) {
  QNumber bits;
  BVNumber::pow2(f.ew + 1, &bits);
  bits -= QNumber(1);
  BVNumber::bit_left_shift(bits, f.mw - 1, &bits);
  return m.make_fp_bits_number(bits, f.ew, f.mw);
}

/// The literal of a result, of NaN where there is none.
const Term* literal(TermManager& m, const std::optional<IEEEFloat>& x, Format f) {
  return x ? fp::make_literal(&m, *x) : nan_of(m, f);
}

/// The operations that round.
const Term* fold_arithmetic(TermManager& m, SymbolTag::tag tag, Args args, Rounding mode) {
  const auto a = float_of(m, args[1]);
  const auto b = args.size() > 2 ? float_of(m, args[2]) : std::nullopt;
  if (!a || (args.size() > 2 && !b)) return nullptr;
  const Format f = a->get_format();
  switch (tag) {
    case SymbolTag::FP_ADD:
      return literal(m, sum(*a, *b, mode), f);
    case SymbolTag::FP_SUB: {
      IEEEFloat minus = *b;
      minus.self_neg();
      return literal(m, sum(*a, minus, mode), f);
    }
    case SymbolTag::FP_MUL:
      return literal(m, product(*a, *b, mode), f);
    case SymbolTag::FP_DIV:
      return literal(m, quotient(*a, *b, mode), f);
    default:
      return nullptr;
  }
}

/// A root is never half-way between two numbers of its format: its square would have too many digits.
const Term* fold_root_to_nearest(TermManager& m, Args args) {
  return float_of(m, args[1]) ? m.make_fp_sqrt(m.make_rounding_even(), args[1]) : nullptr;
}

/// A root that is a number of its format, infinite or NaN, is the same under all modes.
const Term* fold_exact_root(TermManager& m, Args args) {
  const Term* nearest = fold_root_to_nearest(m, args);
  const auto root = nearest == nullptr ? std::nullopt : float_of(m, nearest);
  if (!root || root->is_nan() || root->is_inf()) return root ? nearest : nullptr;
  const QNumber value = exact_value(*root);
  return value * value == exact_value(*float_of(m, args[1])) ? nearest : nullptr;
}

/// Rounding to an integral value, which keeps the sign of a zero. An integer that is no number of the format
/// is left alone: narrow formats have such.
const Term* fold_to_integral(TermManager& m, Args args, Rounding mode) {
  const auto x = float_of(m, args[1]);
  if (!x) return nullptr;
  if (x->is_nan() || x->is_inf()) return literal(m, x->is_nan() ? std::nullopt : x, x->get_format());
  const QNumber integer = rounded_to_integer(exact_value(*x), mode);
  const IEEEFloat result = rounded(integer, x->get_format(), Rounding::to_zero, x->get_sign());
  return exact_value(result) == integer ? fp::make_literal(&m, result) : nullptr;
}

/// From another format, or from an integer.
const Term* fold_to_float(TermManager& m, const Symbol* s, Args args, Rounding mode) {
  Format f{};
  if (!m.get_format_from_type(s->get_output_type(), &f.ew, &f.mw) || !has_exact_arithmetic(f)) return nullptr;
  if (m.get_tag(s) == SymbolTag::FP_CAST) {
    const auto x = float_of(m, args[1]);
    if (!x) return nullptr;
    if (x->is_nan()) return nan_of(m, f);
    if (x->is_inf()) return fp::make_literal(&m, infinity(f, x->get_sign()));
    return fp::make_literal(&m, rounded(exact_value(*x), f, mode, x->get_sign()));
  }
  const QNumber* bits = m.get_number(args[1]);
  if (bits == nullptr) return nullptr;
  QNumber value = *bits;
  const std::size_t width = m.get_width_from_type(m.type_of(args[1]));
  if (m.get_tag(s) == SymbolTag::FP_FROM_SBV) BVNumber::signed_value(*bits, width, &value);
  return fp::make_literal(&m, rounded(value, f, mode, false));
}

/// To a bit-vector, which must hold the integer: what happens otherwise is open.
const Term* fold_to_bits(TermManager& m, const Symbol* s, Args args, Rounding mode) {
  const auto x = float_of(m, args[1]);
  if (!x || x->is_nan() || x->is_inf()) return nullptr;
  const std::size_t width = m.get_width_from_type(s->get_output_type());
  const bool is_signed = m.is_fp_to_sbv(s);
  const QNumber integer = rounded_to_integer(exact_value(*x), mode);
  QNumber bits, end;
  BVNumber::pow2(is_signed ? width - 1 : width, &end);
  if (integer >= end || integer < (is_signed ? end.neg() : QNumber())) return nullptr;
  BVNumber::twos_complement(integer, width, &bits);
  return m.make_bv_number(bits, width);
}

/// "(_ to_fp 8 24)" on a rational.
const Term* fold_rational_to_float(TermManager& m, const Symbol* s, Args args, Rounding mode) {
  const QNumber* value = m.get_number(args[1]);
  Format f{};
  if (value == nullptr || !m.is_arithmetic_type(m.type_of(args[1]))) return nullptr;
  if (!m.get_format_from_type(s->get_output_type(), &f.ew, &f.mw) || !has_exact_arithmetic(f)) return nullptr;
  return fp::make_literal(&m, rounded(*value, f, mode, false));
}

const Term* fold_fused(TermManager& m, Args args, Rounding mode) {
  const auto a = float_of(m, args[1]);
  const auto b = float_of(m, args[2]);
  const auto c = float_of(m, args[3]);
  return a && b && c ? literal(m, fused(*a, *b, *c, mode), a->get_format()) : nullptr;
}

const Term* fold_remainder(TermManager& m, Args args) {
  const auto a = float_of(m, args[0]);
  const auto b = float_of(m, args[1]);
  return a && b ? literal(m, remainder(*a, *b), a->get_format()) : nullptr;
}

const Term* fold_to_rational(TermManager& m, Args args) {
  const auto x = float_of(m, args[0]);
  return x && !x->is_nan() && !x->is_inf() ? m.make_number(exact_value(*x)) : nullptr;
}

/// Whether the sort has fewer values than that.
bool has_fewer_values(const TermManager& m, const DataType* sort, std::size_t than) {
  constexpr std::size_t most_bits = 32;
  if (sort == m.bool_type) return than > 2;
  if (sort == m.rounding_mode_type) return than > 5;
  if (!m.is_bv_type(sort) || m.get_width_from_type(sort) >= most_bits) return false;
  return than > std::size_t{1} << m.get_width_from_type(sort);
}

/// `distinct` of many arguments.
const Term* simplify_distinct(TermManager& m, Args args) {
  if (has_fewer_values(m, m.type_of(args[0]), args.size())) return m.false_term;
  hsh::HashSet<const Term*> seen;
  bool all_values = true;
  for (const Term* t : args) {
    if (!seen.insert(t)) return m.false_term;
    all_values = all_values && is_value(m, t) && !is_nan(m, t);
  }
  return all_values ? m.true_term : nullptr;
}

/// An operation with a rounding mode, under this one.
const Term* fold_rounded(TermManager& m, const Symbol* s, Args args, Rounding mode) {
  switch (const SymbolTag::tag tag = m.get_tag(s)) {
    case SymbolTag::OPAQUE:
      return fold_rational_to_float(m, s, args, mode);
    case SymbolTag::FP_FMA:
      return fold_fused(m, args, mode);
    case SymbolTag::FP_ROUND_TO_INT:
      return fold_to_integral(m, args, mode);
    case SymbolTag::FP_SQRT:
      return fold_root_to_nearest(m, args);
    case SymbolTag::FP_CAST:
    case SymbolTag::FP_FROM_SBV:
    case SymbolTag::FP_FROM_UBV:
      return fold_to_float(m, s, args, mode);
    case SymbolTag::FP_TO_BV:
      return fold_to_bits(m, s, args, mode);
    default:
      return fold_arithmetic(m, tag, args, mode);
  }
}

/// The operations that the standard simplifiers fold, under the modes that they know.
bool is_folded_by_others(const TermManager& m, const Symbol* s, Rounding mode) {
  const SymbolTag::tag tag = m.get_tag(s);
  return mode != Rounding::to_away && tag != SymbolTag::OPAQUE && tag != SymbolTag::FP_FMA &&
         tag != SymbolTag::FP_ROUND_TO_INT;
}

/// What the operation gives under every mode, for a mode that is not known. All modes give one of the two
/// numbers next to the exact result, which are those that rounding down and up give; where these are one, as
/// they also are for an infinite result and for NaN, it is that of all. A sum of opposite numbers, whose sign
/// depends on the mode, is negative for one of the two only.
const Term* fold_under_all_modes(TermManager& m, const Symbol* s, Args args) {
  for (const Term* t : args.subspan(1)) {
    if (m.get_number(t) == nullptr) return nullptr;
  }
  if (m.get_tag(s) == SymbolTag::FP_SQRT) return fold_exact_root(m, args);
  const Term* down = fold_rounded(m, s, args, Rounding::down);
  return down != nullptr && down == fold_rounded(m, s, args, Rounding::up) ? down : nullptr;
}

const Term* fold_with_mode(TermManager& m, const Symbol* s, Args args) {
  if (args.size() < 2 || m.type_of(args[0]) != m.rounding_mode_type) return nullptr;
  const auto mode = rounding_of(m, args[0]);
  if (!mode) return fold_under_all_modes(m, s, args);
  return is_folded_by_others(m, s, *mode) ? nullptr : fold_rounded(m, s, args, *mode);
}

}  // namespace

const Term* fold_float(TermManager& m, const Symbol* s, Args args) {
  return m.get_tag(s) == SymbolTag::FP_REM ? fold_remainder(m, args) : fold_with_mode(m, s, args);
}

const Term* simplify_named(TermManager& m, const Symbol* s, Args args) {
  const std::string_view name = s->name;
  if (name == "fp.to_real") return fold_to_rational(m, args);
  if (name == "distinct") return simplify_distinct(m, args);
  return name.starts_with("(_ to_fp ") && args.size() == 2 ? fold_with_mode(m, s, args) : nullptr;
}

}  // namespace quarv::termsimpl::extended
