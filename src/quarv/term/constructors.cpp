#include <array>

#include <quarv/term/given.h>
#include <quarv/term/operators.h>
#include <quarv/term/term_manager.h>

namespace quarv {

namespace {

template <class T, class... More>
std::array<T, 1 + sizeof...(More)> list(T first, More... more) {
  return {first, more...};
}

}  // namespace

const Term* TermManager::make_not(const Term* a) {
  check_type("not", a, 1, bool_type);
  return simplified(not_symbol, list(a));
}

const Term* TermManager::make_and(const Term* a, const Term* b) {
  return make_term(and_symbol, list(a, b));
}
const Term* TermManager::make_or(const Term* a, const Term* b) {
  return make_term(or_symbol, list(a, b));
}
const Term* TermManager::make_iff(const Term* a, const Term* b) {
  return make_term(iff_symbol, list(a, b));
}

const Term* TermManager::make_equal(const Term* a, const Term* b) {
  const DataType* type = common_type("=", a, b, 2);
  return simplified(type == bool_type ? iff_symbol : make_equal_symbol(type), list(a, b));
}

const Term* TermManager::make_ite(const Term* condition, const Term* then_branch, const Term* else_branch) {
  check_type("ite", condition, 1, bool_type);
  const DataType* type = common_type("ite", then_branch, else_branch, 3);
  return simplified(make_ite_symbol(type), list(condition, then_branch, else_branch));
}

// Arithmetic: the operator over the integers when both arguments are integers, else over the rationals.

const Term* TermManager::make_plus(const Term* a, const Term* b) {
  const bool integer = is_integer(a) && is_integer(b);
  return make_term(integer ? int_plus_symbol : rat_plus_symbol, list(a, b));
}

const Term* TermManager::make_times(const Term* a, const Term* b) {
  const bool integer = is_integer(a) && is_integer(b);
  return make_term(integer ? int_times_symbol : rat_times_symbol, list(a, b));
}

const Term* TermManager::make_leq(const Term* a, const Term* b) {
  const bool integer = is_integer(a) && is_integer(b);
  return make_term(integer ? int_leq_symbol : rat_leq_symbol, list(a, b));
}

const Term* TermManager::make_floor(const Term* a) {
  return make_term(floor_symbol, list(a));
}

const Term* TermManager::make_int_mod_congr(const QNumber& modulus, const Term* a, const Term* b) {
  check_type("divisible", a, 1, int_type);
  check_type("divisible", b, 2, int_type);
  return simplified(make_int_mod_congr_symbol(modulus), list(a, b));
}

// Bit-vectors.
// ---------------------------------------------------------------------------------------------------------------

const Term* TermManager::make_bv_unary(SymbolTag::tag tag, const Term* a) {
  if (a == nullptr || !is_bv_type(type_of(a))) [[unlikely]]
    checked_bv_width(SymbolTag::name(tag), a, 1);
  return simplified(make_bv_symbol(tag, type_of(a)->params_[0]), list(a));
}

const Term* TermManager::make_bv_binary(SymbolTag::tag tag, const Term* a, const Term* b) {
  // What an operator is called is looked up when it is to be told.
  const bool fit = a != nullptr && b != nullptr && type_of(a) == type_of(b) && is_bv_type(type_of(a));
  if (!fit) [[unlikely]] {
    checked_bv_width(SymbolTag::name(tag), a, 1);
    check_type(SymbolTag::name(tag), b, 2, type_of(a));
  }
  return simplified(make_bv_symbol(tag, type_of(a)->params_[0]), list(a, b));
}

const Term* TermManager::make_bv_concat(const Term* high, const Term* low) {
  const std::size_t high_width = checked_bv_width("concat", high, 1);
  const std::size_t low_width = checked_bv_width("concat", low, 2);
  return simplified(make_bv_concat_symbol(high_width, low_width), list(high, low));
}

const Term* TermManager::make_bv_extract(std::size_t high, std::size_t low, const Term* a) {
  const std::size_t width = checked_bv_width("extract", a, 1);
  return simplified(make_bv_extract_symbol(high, low, width), list(a));
}

const Term* TermManager::make_bv_rotate_left(std::size_t amount, const Term* a) {
  const std::size_t width = checked_bv_width("rotate_left", a, 1);
  return simplified(make_bv_rotate_left_symbol(amount, width), list(a));
}

const Term* TermManager::make_bv_rotate_right(std::size_t amount, const Term* a) {
  const std::size_t width = checked_bv_width("rotate_right", a, 1);
  return simplified(make_bv_rotate_right_symbol(amount, width), list(a));
}

const Term* TermManager::make_bv_zero_extend(std::size_t bits, const Term* a) {
  const std::size_t width = checked_bv_width("zero_extend", a, 1);
  return simplified(make_bv_zero_extend_symbol(bits, width), list(a));
}

const Term* TermManager::make_bv_sign_extend(std::size_t bits, const Term* a) {
  const std::size_t width = checked_bv_width("sign_extend", a, 1);
  return simplified(make_bv_sign_extend_symbol(bits, width), list(a));
}

const Term* TermManager::make_int_from_ubv(const Term* a) {
  return make_bv_unary(SymbolTag::INT_FROM_UBV, a);
}
const Term* TermManager::make_int_from_sbv(const Term* a) {
  return make_bv_unary(SymbolTag::INT_FROM_SBV, a);
}

const Term* TermManager::make_int_to_bv(std::size_t width, const Term* a) {
  check_type("int_to_bv", a, 1, int_type);
  return simplified(make_bv_symbol(SymbolTag::INT_TO_BV, width), list(a));
}

// Arrays.
// --------------------------------------------------------------------------------------------------------------------

const Term* TermManager::make_array_read(const Term* array, const Term* index) {
  check_array("select", array);
  return make_term(make_array_read_symbol(type_of(array)), list(array, index));
}

const Term* TermManager::make_array_write(const Term* array, const Term* index, const Term* element) {
  check_array("store", array);
  return make_term(make_array_write_symbol(type_of(array)), list(array, index, element));
}

const Term* TermManager::make_array_const(const DataType* array_type, const Term* element) {
  check_given(*this, "const", array_type);
  return make_term(make_array_const_symbol(array_type), list(element));
}

// Floating point.
// ------------------------------------------------------------------------------------------------------------

const Term* TermManager::make_fp_unary(SymbolTag::tag tag, const Term* a) {
  return make_operation(tag, {a});
}

const Term* TermManager::make_fp_binary(SymbolTag::tag tag, const Term* a, const Term* b) {
  return make_operation(tag, {a, b});
}

const Term* TermManager::make_fp_rounded(SymbolTag::tag tag, const Term* rounding, const Term* a,
                                         const Term* b) {
  return b == nullptr ? make_operation(tag, {rounding, a}) : make_operation(tag, {rounding, a, b});
}

const Term* TermManager::make_fp_cast(std::size_t ew, std::size_t mw, const Term* rounding, const Term* a) {
  return make_operation(operator_row(SymbolTag::FP_CAST), list(ew, mw), list(rounding, a));
}

const Term* TermManager::make_fp_from_sbv(std::size_t ew, std::size_t mw, const Term* rounding,
                                          const Term* bits) {
  return make_operation(operator_row(SymbolTag::FP_FROM_SBV), list(ew, mw), list(rounding, bits));
}

const Term* TermManager::make_fp_from_ubv(std::size_t ew, std::size_t mw, const Term* rounding,
                                          const Term* bits) {
  return make_operation(operator_row(SymbolTag::FP_FROM_UBV), list(ew, mw), list(rounding, bits));
}

const Term* TermManager::make_fp_from_ieeebv(std::size_t ew, std::size_t mw, const Term* bits) {
  return make_operation(operator_row(SymbolTag::FP_FROM_IEEEBV), list(ew, mw), list(bits));
}

const Term* TermManager::make_fp_to_ubv(std::size_t width, const Term* rounding, const Term* a) {
  std::size_t ew, mw;
  checked_format("fp.to_ubv", a, 2, &ew, &mw);
  return make_term(make_fp_to_ubv_symbol(ew, mw, width), list(rounding, a));
}

const Term* TermManager::make_fp_to_sbv(std::size_t width, const Term* rounding, const Term* a) {
  std::size_t ew, mw;
  checked_format("fp.to_sbv", a, 2, &ew, &mw);
  return make_term(make_fp_to_sbv_symbol(ew, mw, width), list(rounding, a));
}

}  // namespace quarv
