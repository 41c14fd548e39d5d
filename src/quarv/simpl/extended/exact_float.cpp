#include <quarv/numbers/bv_number.h>
#include <quarv/simpl/extended/exact_float.h>

namespace quarv::termsimpl::extended {

namespace {

using Format = IEEEFloat::format;

QNumber power_of_two(std::int64_t n) {
  QNumber power;
  BVNumber::pow2(static_cast<std::size_t>(n < 0 ? -n : n), &power);
  if (n >= 0) return power;
  QNumber reciprocal(1);
  reciprocal /= power;
  return reciprocal;
}

QNumber magnitude(const QNumber& x) {
  return x.sign() < 0 ? x.neg() : x;
}

IEEEFloat::rounding_mode mode_of(Rounding mode) {
  switch (mode) {
    case Rounding::up:
      return IEEEFloat::round_toward_positive;
    case Rounding::down:
      return IEEEFloat::round_toward_negative;
    case Rounding::to_zero:
      return IEEEFloat::round_toward_zero;
    default:
      return IEEEFloat::round_nearest_even;
  }
}

/// The value of a finite number; of an infinity, what would follow the largest number.
QNumber value_or_limit(const IEEEFloat& x) {
  if (!x.is_inf()) return exact_value(x);
  const std::int64_t bias = (std::int64_t{1} << (x.get_format().ew - 1)) - 1;
  const QNumber limit = power_of_two(bias + 1);
  return x.get_sign() ? limit.neg() : limit;
}

/// The nearer one of the numbers next to x, of two the one with the larger magnitude.
IEEEFloat nearest_away(const QNumber& x, Format f) {
  const bool negative = x.sign() < 0;
  const IEEEFloat inner = IEEEFloat::from_number(x, f, IEEEFloat::round_toward_zero);
  const IEEEFloat outer = IEEEFloat::from_number(
      x, f, negative ? IEEEFloat::round_toward_negative : IEEEFloat::round_toward_positive);
  const QNumber to_inner = magnitude(x - exact_value(inner));
  const QNumber to_outer = magnitude(value_or_limit(outer) - x);
  return to_inner < to_outer ? inner : outer;
}

IEEEFloat zero(Format f, bool negative) {
  IEEEFloat x = IEEEFloat::from_bits(QNumber(), f);
  x.set_sign(negative);
  return x;
}

/// The sign of an exact sum that is zero, of summands with these signs.
bool zero_sum_is_negative(bool a, bool b, Rounding mode) {
  return a == b ? a : mode == Rounding::down;
}

/// Zeros, or nothing special: none of the operands is infinite or NaN.
bool is_finite(const IEEEFloat& x) {
  return !x.is_nan() && !x.is_inf();
}

}  // namespace

std::optional<Rounding> rounding_of(const TermManager& m, const Term* t) {
  if (m.is_fprounding_even(t->symbol)) return Rounding::to_even;
  if (m.is_fprounding_away(t->symbol)) return Rounding::to_away;
  if (m.is_fprounding_plus_inf(t->symbol)) return Rounding::up;
  if (m.is_fprounding_minus_inf(t->symbol)) return Rounding::down;
  if (m.is_fprounding_zero(t->symbol)) return Rounding::to_zero;
  return std::nullopt;
}

bool has_exact_arithmetic(Format f) {
  constexpr std::size_t widest_exponent = 16;
  constexpr std::size_t widest_significand = 4096;
  return f.ew >= 2 && f.ew <= widest_exponent && f.mw <= widest_significand;
}

std::optional<IEEEFloat> float_of(const TermManager& m, const Term* t) {
  const QNumber* bits = m.get_number(t);
  Format f{};
  if (bits == nullptr || !m.is_fp_type(m.type_of(t)) || !m.get_format_from_type(m.type_of(t), &f.ew, &f.mw)) {
    return std::nullopt;
  }
  if (!has_exact_arithmetic(f)) return std::nullopt;
  return IEEEFloat::from_bits(*bits, f);
}

QNumber exact_value(const IEEEFloat& x) {
  const Format f = x.get_format();
  QNumber bits = x.get_bits();
  if (x.get_sign()) bits -= power_of_two(static_cast<std::int64_t>(f.ew + f.mw));
  QNumber exponent, significand;
  bits.divmod(power_of_two(static_cast<std::int64_t>(f.mw)), exponent, significand);
  const std::int64_t bias = (std::int64_t{1} << (f.ew - 1)) - 1;
  const bool subnormal = exponent.is_zero();
  if (!subnormal) significand += power_of_two(static_cast<std::int64_t>(f.mw));
  const std::int64_t unit =
      (subnormal ? 1 : exponent.demoted().small_num()) - bias - static_cast<std::int64_t>(f.mw);
  const QNumber value = significand * power_of_two(unit);
  return x.get_sign() ? value.neg() : value;
}

IEEEFloat rounded(const QNumber& x, Format f, Rounding mode, bool zero_is_negative) {
  if (x.is_zero()) return zero(f, zero_is_negative);
  IEEEFloat result =
      mode == Rounding::to_away ? nearest_away(x, f) : IEEEFloat::from_number(x, f, mode_of(mode));
  if (result.is_zero()) result.set_sign(x.sign() < 0);
  return result;
}

QNumber rounded_to_integer(const QNumber& x, Rounding mode) {
  if (x.is_integer()) return x;
  const QNumber below = x.floor();
  const QNumber above = below + QNumber(1);
  const bool negative = x.sign() < 0;
  switch (mode) {
    case Rounding::up:
      return above;
    case Rounding::down:
      return below;
    case Rounding::to_zero:
      return negative ? above : below;
    default:
      break;
  }
  const QNumber to_below = x - below;
  const QNumber half(1, 2);
  if (!(to_below == half)) return to_below < half ? below : above;
  if (mode == Rounding::to_away) return negative ? below : above;
  QNumber quotient, rest;
  below.divmod(QNumber(2), quotient, rest);
  return rest.is_zero() ? below : above;
}

IEEEFloat infinity(Format f, bool negative) {
  QNumber bits = power_of_two(static_cast<std::int64_t>(f.ew)) - QNumber(1);
  bits *= power_of_two(static_cast<std::int64_t>(f.mw));
  IEEEFloat x = IEEEFloat::from_bits(bits, f);
  x.set_sign(negative);
  return x;
}

std::optional<IEEEFloat> sum(const IEEEFloat& a, const IEEEFloat& b, Rounding mode) {
  if (a.is_nan() || b.is_nan()) return std::nullopt;
  if (a.is_inf()) return b.is_inf() && a.get_sign() != b.get_sign() ? std::nullopt : std::optional(a);
  if (b.is_inf()) return b;
  return rounded(exact_value(a) + exact_value(b), a.get_format(), mode,
                 zero_sum_is_negative(a.get_sign(), b.get_sign(), mode));
}

std::optional<IEEEFloat> product(const IEEEFloat& a, const IEEEFloat& b, Rounding mode) {
  if (a.is_nan() || b.is_nan()) return std::nullopt;
  const bool negative = a.get_sign() != b.get_sign();
  if (a.is_inf() || b.is_inf()) {
    return a.is_zero() || b.is_zero() ? std::nullopt : std::optional(infinity(a.get_format(), negative));
  }
  return rounded(exact_value(a) * exact_value(b), a.get_format(), mode, negative);
}

std::optional<IEEEFloat> quotient(const IEEEFloat& a, const IEEEFloat& b, Rounding mode) {
  if (a.is_nan() || b.is_nan()) return std::nullopt;
  const Format f = a.get_format();
  const bool negative = a.get_sign() != b.get_sign();
  if (a.is_inf()) return b.is_inf() ? std::nullopt : std::optional(infinity(f, negative));
  if (b.is_inf()) return zero(f, negative);
  if (b.is_zero()) return a.is_zero() ? std::nullopt : std::optional(infinity(f, negative));
  QNumber exact = exact_value(a);
  exact /= exact_value(b);
  return rounded(exact, f, mode, negative);
}

std::optional<IEEEFloat> fused(const IEEEFloat& a, const IEEEFloat& b, const IEEEFloat& c, Rounding mode) {
  const bool negative = a.get_sign() != b.get_sign();
  if (!is_finite(a) || !is_finite(b)) {
    const auto infinite = product(a, b, mode);
    return infinite ? sum(*infinite, c, mode) : std::nullopt;
  }
  if (c.is_nan()) return std::nullopt;
  if (c.is_inf()) return c;
  return rounded(exact_value(a) * exact_value(b) + exact_value(c), a.get_format(), mode,
                 zero_sum_is_negative(negative, c.get_sign(), mode));
}

std::optional<IEEEFloat> remainder(const IEEEFloat& a, const IEEEFloat& b) {
  if (!is_finite(a) || b.is_nan() || b.is_zero()) return std::nullopt;
  if (b.is_inf()) return a;
  const QNumber x = exact_value(a);
  const QNumber y = exact_value(b);
  QNumber ratio = x;
  ratio /= y;
  return rounded(x - y * rounded_to_integer(ratio, Rounding::to_even), a.get_format(), Rounding::to_even,
                 a.get_sign());
}

}  // namespace quarv::termsimpl::extended
