#include <quarv/numbers/bv_number.h>
#include <quarv/simpl/extended/bit_slices.h>
#include <quarv/simpl/extended/families.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

namespace {

bool is_conversion(const TermManager& m, const Term* t) {
  return has_tag(m, t, SymbolTag::INT_FROM_UBV) || has_tag(m, t, SymbolTag::INT_FROM_SBV);
}

/// Where the integers of a conversion lie: `least` to `end`, which is none of them.
struct NumberRange {
  QNumber least;
  QNumber end;
};

NumberRange range_of(const TermManager& m, const Term* t) {
  const std::size_t width = width_of(m, t->args[0]);
  NumberRange r;
  if (has_tag(m, t, SymbolTag::INT_FROM_UBV)) {
    BVNumber::pow2(width, &r.end);
  } else {
    BVNumber::pow2(width - 1, &r.end);
    r.least = r.end.neg();
  }
  return r;
}

/// The bit-vector that is converted to an integer in the range.
const Term* unconverted(TermManager& m, const QNumber& value, std::size_t width) {
  QNumber bits;
  BVNumber::twos_complement(value, width, &bits);
  return m.make_bv_number(bits, width);
}

const Term* at_most(TermManager& m, const Term* a, const Term* b, bool is_signed) {
  return is_signed ? m.make_bv_sle(a, b) : m.make_bv_ule(a, b);
}

}  // namespace

/// Leading zeros count nothing in an unsigned integer, nor do copies of the sign in a signed one.
const Term* simplify_to_integer(TermManager& m, const Symbol* s, Args args) {
  const Term* bits = args[0];
  const bool is_signed = m.get_tag(s) == SymbolTag::INT_FROM_SBV;
  if (is_signed && has_tag(m, bits, SymbolTag::BV_SEXT)) return m.make_int_from_sbv(bits->args[0]);
  if (has_tag(m, bits, SymbolTag::BV_ZEXT)) return m.make_int_from_ubv(bits->args[0]);
  if (!has_tag(m, bits, SymbolTag::BV_CONCAT)) return nullptr;
  const QNumber* leading = m.get_number(bits->args[0]);
  return leading != nullptr && leading->is_zero() ? m.make_int_from_ubv(bits->args[1]) : nullptr;
}

/// Of an integer that bits make, fewer bits are the lower ones of these.
const Term* simplify_to_bits(TermManager& m, const Symbol* s, Args args) {
  std::size_t width = 0;
  if (!is_conversion(m, args[0]) || !m.is_int_to_bv(s, &width)) return nullptr;
  const Term* bits = args[0]->args[0];
  return width < width_of(m, bits) ? m.make_bv_extract(width - 1, 0, bits) : nullptr;
}

const Term* compare_converted(TermManager& m, const Symbol* s, Args args) {
  const std::size_t at = is_conversion(m, args[0]) ? 0 : 1;
  const Term* t = args[at];
  if (!is_conversion(m, t)) return nullptr;
  const Term* other = args[1 - at];
  const bool is_equality = m.get_tag(s) == SymbolTag::EQ;
  const bool is_signed = has_tag(m, t, SymbolTag::INT_FROM_SBV);
  if (other->symbol == t->symbol) {
    const Term* x = args[0]->args[0];
    const Term* y = args[1]->args[0];
    return is_equality ? m.make_equal(x, y) : at_most(m, x, y, is_signed);
  }
  const QNumber* value = m.get_number(other);
  if (value == nullptr) return nullptr;
  const NumberRange range = range_of(m, t);
  const std::size_t width = width_of(m, t->args[0]);
  if (is_equality) {
    if (!value->is_integer() || *value < range.least || *value >= range.end) return m.false_term;
    return m.make_equal(t->args[0], unconverted(m, *value, width));
  }
  const QNumber whole = value->floor();
  if (at == 0) {  // t <= value
    if (whole < range.least) return m.false_term;
    if (whole >= range.end) return m.true_term;
    return at_most(m, t->args[0], unconverted(m, whole, width), is_signed);
  }
  const QNumber from = *value == whole ? whole : whole + QNumber(1);
  if (from >= range.end) return m.false_term;
  if (from <= range.least) return m.true_term;
  return at_most(m, unconverted(m, from, width), t->args[0], is_signed);
}

}  // namespace quarv::termsimpl::extended
