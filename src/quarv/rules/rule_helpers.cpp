#include <bit>
#include <limits>

#include <gmpxx.h>

#include <quarv/numbers/bv_number.h>
#include <quarv/rules/rule_helpers.h>
#include <quarv/term/operators.h>

namespace quarv::rules {

bool has_sort(const TermManager* mgr, const Term* t, SortKind kind) {
  const DataType* type = mgr->type_of(t);
  switch (kind) {
    case SortKind::boolean:
      return type == mgr->bool_type;
    case SortKind::integer:
      return type == mgr->int_type;
    case SortKind::real:
    case SortKind::number:
      return mgr->is_arithmetic_type(type);
    case SortKind::rounding_mode:
      return type == mgr->rounding_mode_type;
    case SortKind::bit_vector:
      return mgr->is_bv_type(type);
    case SortKind::floating_point:
      return mgr->is_fp_type(type);
    case SortKind::array:
      return mgr->is_array_type(type);
    case SortKind::open:
      break;
  }
  return true;
}

namespace {

QNumber power(std::size_t n) {
  QNumber result;
  BVNumber::pow2(n, &result);
  return result;
}

/// The exponent all ones, and nothing else.
QNumber infinity(std::size_t exponent_width, std::size_t significand_width) {
  QNumber bits;
  BVNumber::bit_left_shift(power(exponent_width) - QNumber(1), significand_width, &bits);
  return bits;
}

}  // namespace

bool is_constant(const TermManager* mgr, const Term* t, NamedConstant constant) {
  switch (constant) {
    case NamedConstant::true_value:
      return t == mgr->true_term;
    case NamedConstant::false_value:
      return t == mgr->false_term;
    case NamedConstant::nearest_even:
      return mgr->is_fprounding_even(t->symbol);
    case NamedConstant::nearest_away:
      return mgr->is_fprounding_away(t->symbol);
    case NamedConstant::toward_positive:
      return mgr->is_fprounding_plus_inf(t->symbol);
    case NamedConstant::toward_negative:
      return mgr->is_fprounding_minus_inf(t->symbol);
    case NamedConstant::toward_zero:
      return mgr->is_fprounding_zero(t->symbol);
    default:
      break;
  }
  const QNumber* bits = mgr->get_number(t->symbol);
  const DataType* type = mgr->type_of(t);
  if (bits == nullptr) return false;
  std::size_t ew, mw;
  if (!mgr->get_format_from_type(type, &ew, &mw)) return false;
  const QNumber sign = power(ew + mw);
  switch (constant) {
    case NamedConstant::plus_zero:
      return *bits == QNumber(std::int64_t{0});
    case NamedConstant::minus_zero:
      return *bits == sign;
    case NamedConstant::plus_infinity:
      return *bits == infinity(ew, mw);
    case NamedConstant::minus_infinity:
      return *bits == sign + infinity(ew, mw);
    default:
      return (*bits >= sign ? *bits - sign : *bits) > infinity(ew, mw);
  }
}

const Term* make_constant(TermManager* mgr, NamedConstant constant, const Term* like) {
  switch (constant) {
    case NamedConstant::true_value:
    case NamedConstant::false_value:
      return mgr->make_bool(constant == NamedConstant::true_value);
    case NamedConstant::nearest_even:
      return mgr->make_rounding_even();
    case NamedConstant::nearest_away:
      return mgr->make_rounding_away();
    case NamedConstant::toward_positive:
      return mgr->make_rounding_plus_inf();
    case NamedConstant::toward_negative:
      return mgr->make_rounding_minus_inf();
    case NamedConstant::toward_zero:
      return mgr->make_rounding_zero();
    default:
      break;
  }
  std::size_t ew, mw;
  if (!mgr->get_format_from_type(mgr->type_of(like), &ew, &mw)) return nullptr;
  QNumber bits(std::int64_t{0});
  if (constant == NamedConstant::nan) {
    bits = infinity(ew, mw) + power(mw - 1);
  } else if (constant == NamedConstant::plus_infinity || constant == NamedConstant::minus_infinity) {
    bits = infinity(ew, mw);
  }
  if (constant == NamedConstant::minus_infinity || constant == NamedConstant::minus_zero) {
    bits += power(ew + mw);  // the sign
  }
  return mgr->make_fp_bits_number(bits, ew, mw);
}

bool is_named_operation(const TermManager* mgr, const Term* t, std::string_view name) {
  return mgr->get_tag(t->symbol) == SymbolTag::OPAQUE && name == t->symbol->name;
}

const Term* make_named_operation(TermManager* mgr, std::string_view name,
                                 std::initializer_list<const Term*> args) {
  for (const OperatorRow& row : opaque_operators()) {
    if (row.smtlib == name) return mgr->make_operation(row, {}, TermManager::Args(args.begin(), args.size()));
  }
  return nullptr;
}

bool is_all_ones(const TermManager* mgr, const Term* t) {
  const QNumber* value = mgr->get_number(t->symbol);
  std::size_t width;
  if (value == nullptr || !get_width(mgr, t, &width)) return false;
  if (value->is_small())
    return width < 64 && static_cast<std::uint64_t>(value->small_num()) == (std::uint64_t{1} << width) - 1;
  // A value in range has all bits set exactly when it has as many set bits as the width.
  return mpz_popcount(value->big_num()) == width;
}

bool is_power_of_two(const TermManager* mgr, const Term* t, std::size_t* n) {
  const QNumber* value = mgr->get_number(t->symbol);
  if (value == nullptr) return false;
  if (value->is_small()) {
    const auto word = static_cast<std::uint64_t>(value->small_num());
    if (!std::has_single_bit(word)) return false;
    *n = static_cast<std::size_t>(std::countr_zero(word));
    return true;
  }
  const mpz_srcptr big = value->big_num();
  if (mpz_sgn(big) <= 0 || mpn_popcount(mpz_limbs_read(big), mpz_size(big)) != 1) return false;
  *n = mpz_scan1(big, 0);
  return true;
}

bool sum_fits(const TermManager* mgr, const Term* a, const Term* b, std::size_t width) {
  const QNumber* x = mgr->get_number(a->symbol);
  const QNumber* y = mgr->get_number(b->symbol);
  if (x == nullptr || y == nullptr) return false;
  const QNumber sum = *x + *y;
  if (sum.is_small()) return width >= 63 || sum.small_num() < (std::int64_t{1} << width);
  return mpz_sizeinbase(sum.big_num(), 2) <= width;
}

bool get_conjunction(const QNumber& a, const QNumber& b, QNumber* out) {
  if (!a.is_integer() || !b.is_integer() || a.sign() < 0 || b.sign() < 0) return false;
  BVNumber::bit_op(a, b, BVNumber::bit_and_l, mpz_and, out);
  return true;
}

bool get_power(std::uint64_t exponent, QNumber* out) {
  if (exponent > most_exponent) return false;
  BVNumber::pow2(exponent, out);
  return true;
}

QNumber to_number(std::uint64_t value) {
  if (value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
    return static_cast<std::int64_t>(value);
  return QNumber(mpz_class(static_cast<std::uint64_t>(value)), mpz_class(1));
}

const Term* make_constant(TermManager* mgr, std::int64_t value, std::size_t width) {
  QNumber number;
  BVNumber::residue(QNumber(value), width, &number);
  return mgr->make_bv_number(number, width);
}

}  // namespace quarv::rules
