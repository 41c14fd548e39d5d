#pragma once

#include <quarv/numbers/bv_number.h>
#include <quarv/term/term_manager.h>

namespace quarv::termsimpl::extended {

/// A number, a literal, `true`, `false`, a rounding mode.
inline bool is_value(const TermManager& m, const Term* t) {
  return m.get_tag(t->symbol) == SymbolTag::CONSTANT;
}

/// The number or the bit-vector literal 0.
inline bool is_zero(const TermManager& m, const Term* t) {
  const QNumber* value = m.get_number(t);
  return value != nullptr && value->is_zero();
}

inline std::size_t width_of(const TermManager& m, const Term* t) {
  return m.get_width_from_type(m.type_of(t));
}

/// A literal that encodes NaN, which has many encodings and is one value.
bool is_nan(const TermManager& m, const Term* t);

/// The bit-vector of ones alone.
inline const Term* all_ones(TermManager& m, std::size_t width) {
  QNumber ones;
  BVNumber::pow2(width, &ones);
  return m.make_bv_number(ones - QNumber(1), width);
}

/// Two values of one sort that are not the same.
inline bool are_distinct_values(const TermManager& m, const Term* a, const Term* b) {
  return a != b && is_value(m, a) && is_value(m, b) && !(is_nan(m, a) && is_nan(m, b));
}

/// Two terms that differ under every interpretation, as far as a glance shows: values, and sums of the same
/// term with different constants.
bool are_distinct(const TermManager& m, const Term* a, const Term* b);

/// One of the two is the negation of the other.
inline bool are_complementary(const TermManager& m, const Term* a, const Term* b) {
  return (a->symbol == m.not_symbol && a->args[0] == b) || (b->symbol == m.not_symbol && b->args[0] == a);
}

inline bool has_tag(const TermManager& m, const Term* t, SymbolTag::tag tag) {
  return m.get_tag(t->symbol) == tag;
}

inline bool is_ite(const TermManager& m, const Term* t) {
  return has_tag(m, t, SymbolTag::TERM_ITE);
}

}  // namespace quarv::termsimpl::extended
