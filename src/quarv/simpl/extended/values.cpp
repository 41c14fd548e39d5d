#include <utility>

#include <quarv/numbers/bv_number.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

namespace {

/// A term as a base and a constant that is added to it; the base is null for a constant alone.
struct Offset {
  const Term* base;
  const QNumber* constant;  // null for 0
};

Offset offset_of(const TermManager& m, const Term* t) {
  if (const QNumber* value = m.get_number(t)) return {nullptr, value};
  if (!has_tag(m, t, SymbolTag::PLUS) && !has_tag(m, t, SymbolTag::BV_ADD)) return {t, nullptr};
  if (const QNumber* value = m.get_number(t->args[0])) return {t->args[1], value};
  if (const QNumber* value = m.get_number(t->args[1])) return {t->args[0], value};
  return {t, nullptr};
}

bool is_zero(const QNumber* constant) {
  return constant == nullptr || constant->is_zero();
}

}  // namespace

bool is_nan(const TermManager& m, const Term* t) {
  const QNumber* bits = m.get_number(t);
  std::size_t ew = 0;
  std::size_t mw = 0;
  if (bits == nullptr || !m.is_fp_type(m.type_of(t)) || !m.get_format_from_type(m.type_of(t), &ew, &mw)) {
    return false;
  }
  // Without the sign, above the encoding of infinity.
  QNumber infinity, sign;
  BVNumber::pow2(ew, &infinity);
  BVNumber::bit_left_shift(infinity - QNumber(1), mw, &infinity);
  BVNumber::pow2(ew + mw, &sign);
  return (*bits >= sign ? *bits - sign : *bits) > infinity;
}

bool are_distinct(const TermManager& m, const Term* a, const Term* b) {
  if (are_distinct_values(m, a, b)) return true;
  const DataType* type = m.type_of(a);
  if (!m.is_arithmetic_type(type) && !m.is_bv_type(type)) return false;
  const Offset x = offset_of(m, a);
  const Offset y = offset_of(m, b);
  if (x.base != y.base || x.base == nullptr) return false;
  if (is_zero(x.constant) || is_zero(y.constant)) return is_zero(x.constant) != is_zero(y.constant);
  return !(*x.constant == *y.constant);
}

}  // namespace quarv::termsimpl::extended
