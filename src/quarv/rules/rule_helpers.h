#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>

#include <quarv/numbers/q_number.h>
#include <quarv/rules/language/rule_language.h>
#include <quarv/term/term_manager.h>

/// What compiled and interpreted rules have in common: the tests and constructions that the words of the rule
/// language stand for.
namespace quarv::rules {

/// Stores the width of a bit-vector term; false for a term of another type.
inline bool get_width(const TermManager* mgr, const Term* t, std::size_t* width) {
  const DataType* type = t->symbol->get_output_type();
  if (!mgr->is_bv_type(type)) return false;
  *width = mgr->get_width_from_type(type->get_component(1));
  return true;
}

/// The width of a term that is known to be a bit-vector.
inline std::size_t width_of(const TermManager* mgr, const Term* t) {
  return mgr->get_width_from_type(t->symbol->get_output_type());
}

inline bool is_number(const TermManager* mgr, const Term* t) {
  return mgr->get_number(t->symbol) != nullptr;
}

/// True for a numeral of that value.
inline bool has_value(const TermManager* mgr, const Term* t, std::int64_t value) {
  const QNumber* number = mgr->get_number(t->symbol);
  return number != nullptr && *number == QNumber(value);
}

/// True for a term of such a sort. An integer stands where a real number may.
bool has_sort(const TermManager* mgr, const Term* t, SortKind kind);

/// True for the constant of that name.
bool is_constant(const TermManager* mgr, const Term* t, NamedConstant constant);

/// The constant of that name; of the floating-point sort of `like`, if it is one of such a sort.
const Term* make_constant(TermManager* mgr, NamedConstant constant, const Term* like);

/// True for an application of the operator that SMT-LIB calls so and that has no tag.
bool is_named_operation(const TermManager* mgr, const Term* t, std::string_view name);
const Term* make_named_operation(TermManager* mgr, std::string_view name,
                                 std::initializer_list<const Term*> args);

/// True for the bit-vector numeral 2^w - 1, w being its width.
bool is_all_ones(const TermManager* mgr, const Term* t);

/// True for a numeral 2^n; stores n.
bool is_power_of_two(const TermManager* mgr, const Term* t, std::size_t* n);

/// True when a and b are numerals whose exact sum is below 2^width.
bool sum_fits(const TermManager* mgr, const Term* a, const Term* b, std::size_t width);

/// The bits that two integers from 0 on have in common; false for other numbers.
bool get_conjunction(const QNumber& a, const QNumber& b, QNumber* out);

/// 2^exponent; false for exponents above `most_exponent`.
bool get_power(std::uint64_t exponent, QNumber* out);

/// A machine integer as a number, to be compared with numerals.
QNumber to_number(std::uint64_t value);

/// The bit-vector constant of that width whose value is `value` modulo 2^width; -1 is all ones.
const Term* make_constant(TermManager* mgr, std::int64_t value, std::size_t width);

}  // namespace quarv::rules
