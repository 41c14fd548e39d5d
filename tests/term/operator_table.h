/// \file
/// One row for each operator: its symbol, its signature, its parameters and its constructor.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include <quarv/term/term_manager.h>

namespace quarv {

struct OperatorSample {
  using Terms = std::vector<const Term*>;

  SymbolTag::tag tag;
  std::function<const Symbol*()> symbol;
  std::vector<const DataType*> argument_types;
  const DataType* result;
  std::vector<std::size_t> params;  // in the order of the recogniser
  std::function<const Term*(const Terms&)> make;
};

/// Every operator of a manager with a constructor of its own, over a few types.
class OperatorTable {
 public:
  explicit OperatorTable(TermManager& manager) : m(manager) {
    add_core();
    add_arithmetic();
    add_bit_vectors();
    add_indexed_bit_vectors();
    add_arrays();
    add_floats();
    add_float_conversions();
  }

  const std::vector<OperatorSample>& rows() const { return rows_; }

  /// A declared constant of each argument type, different ones for different positions.
  OperatorSample::Terms variables(const OperatorSample& row) const {
    OperatorSample::Terms result;
    for (std::size_t i = 0; i < row.argument_types.size(); ++i) {
      result.push_back(m.make_constant("v" + std::to_string(i), row.argument_types[i]));
    }
    return result;
  }

 private:
  using Terms = OperatorSample::Terms;
  using Types = std::vector<const DataType*>;
  using Unary = const Term* (TermManager::*)(const Term*);
  using Binary = const Term* (TermManager::*)(const Term*, const Term*);
  using Ternary = const Term* (TermManager::*)(const Term*, const Term*, const Term*);
  using Indexed = const Term* (TermManager::*)(std::size_t, const Term*);
  using IndexedRounded = const Term* (TermManager::*)(std::size_t, const Term*, const Term*);
  using FormatRounded = const Term* (TermManager::*)(std::size_t, std::size_t, const Term*, const Term*);

  void add(SymbolTag::tag tag, std::function<const Symbol*()> symbol, Types types, const DataType* result,
           std::vector<std::size_t> params, std::function<const Term*(const Terms&)> make) {
    rows_.push_back({tag, std::move(symbol), std::move(types), result, std::move(params), std::move(make)});
  }
  void add_fixed(SymbolTag::tag tag, const Symbol* symbol, Types types, const DataType* result,
                 std::function<const Term*(const Terms&)> make) {
    add(
        tag, [symbol] { return symbol; }, std::move(types), result, {}, std::move(make));
  }

  auto calls(Unary f) {
    return [this, f](const Terms& a) { return (m.*f)(a[0]); };
  }
  auto calls(Binary f) {
    return [this, f](const Terms& a) { return (m.*f)(a[0], a[1]); };
  }
  auto calls(Ternary f) {
    return [this, f](const Terms& a) { return (m.*f)(a[0], a[1], a[2]); };
  }

  void add_core() {
    const DataType* b = m.bool_type;
    add_fixed(SymbolTag::NOT, m.not_symbol, {b}, b, calls(&TermManager::make_not));
    add_fixed(SymbolTag::AND, m.and_symbol, {b, b}, b, calls(&TermManager::make_and));
    add_fixed(SymbolTag::OR, m.or_symbol, {b, b}, b, calls(&TermManager::make_or));
    add_fixed(SymbolTag::IFF, m.iff_symbol, {b, b}, b, calls(&TermManager::make_iff));
    for (const DataType* t : {m.int_type, m.rat_type, m.get_bv_type(8), m.get_fp_type(5, 10),
                              m.rounding_mode_type, m.get_array_type(m.int_type, b), m.declare_sort("U")}) {
      add(
          SymbolTag::EQ, [this, t] { return m.make_equal_symbol(t); }, {t, t}, b, {},
          calls(&TermManager::make_equal));
      add(
          SymbolTag::TERM_ITE, [this, t] { return m.make_ite_symbol(t); }, {b, t, t}, t, {},
          calls(&TermManager::make_ite));
    }
    add(
        SymbolTag::TERM_ITE, [this, b] { return m.make_ite_symbol(b); }, {b, b, b}, b, {},
        calls(&TermManager::make_ite));
  }

  void add_arithmetic() {
    const DataType* i = m.int_type;
    const DataType* r = m.rat_type;
    add_fixed(SymbolTag::PLUS, m.int_plus_symbol, {i, i}, i, calls(&TermManager::make_plus));
    add_fixed(SymbolTag::PLUS, m.rat_plus_symbol, {r, r}, r, calls(&TermManager::make_plus));
    add_fixed(SymbolTag::TIMES, m.int_times_symbol, {i, i}, i, calls(&TermManager::make_times));
    add_fixed(SymbolTag::TIMES, m.rat_times_symbol, {r, r}, r, calls(&TermManager::make_times));
    add_fixed(SymbolTag::LEQ, m.int_leq_symbol, {i, i}, m.bool_type, calls(&TermManager::make_leq));
    add_fixed(SymbolTag::LEQ, m.rat_leq_symbol, {r, r}, m.bool_type, calls(&TermManager::make_leq));
    add_fixed(SymbolTag::FLOOR, m.floor_symbol, {r}, i, calls(&TermManager::make_floor));
    add(
        SymbolTag::INT_MOD_CONGR, [this] { return m.make_int_mod_congr_symbol(7); }, {i, i}, m.bool_type, {},
        [this](const Terms& a) { return m.make_int_mod_congr(7, a[0], a[1]); });
  }

  void add_bv(SymbolTag::tag tag, std::size_t operands, const DataType* (*result)(TermManager&, std::size_t),
              std::function<const Term*(const Terms&)> make) {
    for (const std::size_t w : {1, 8, 64, 1000}) {
      add(
          tag, [this, tag, w] { return m.make_bv_symbol(tag, w); }, Types(operands, m.get_bv_type(w)),
          result(m, w), {w}, make);
    }
  }

  void add_bit_vectors() {
    using Tag = SymbolTag;
    const auto same = [](TermManager& mgr, std::size_t w) { return mgr.get_bv_type(w); };
    const auto boolean = [](TermManager& mgr, std::size_t) { return mgr.bool_type; };
    const auto bit = [](TermManager& mgr, std::size_t) { return mgr.get_bv_type(1); };
    const auto integer = [](TermManager& mgr, std::size_t) { return mgr.int_type; };
    add_bv(Tag::BV_NOT, 1, same, calls(&TermManager::make_bv_not));
    add_bv(Tag::BV_NEG, 1, same, calls(&TermManager::make_bv_neg));
    add_bv(Tag::BV_AND, 2, same, calls(&TermManager::make_bv_and));
    add_bv(Tag::BV_OR, 2, same, calls(&TermManager::make_bv_or));
    add_bv(Tag::BV_XOR, 2, same, calls(&TermManager::make_bv_xor));
    add_bv(Tag::BV_ADD, 2, same, calls(&TermManager::make_bv_add));
    add_bv(Tag::BV_SUB, 2, same, calls(&TermManager::make_bv_sub));
    add_bv(Tag::BV_MUL, 2, same, calls(&TermManager::make_bv_mul));
    add_bv(Tag::BV_UDIV, 2, same, calls(&TermManager::make_bv_udiv));
    add_bv(Tag::BV_SDIV, 2, same, calls(&TermManager::make_bv_sdiv));
    add_bv(Tag::BV_UREM, 2, same, calls(&TermManager::make_bv_urem));
    add_bv(Tag::BV_SREM, 2, same, calls(&TermManager::make_bv_srem));
    add_bv(Tag::BV_LSL, 2, same, calls(&TermManager::make_bv_lshl));
    add_bv(Tag::BV_LSR, 2, same, calls(&TermManager::make_bv_lshr));
    add_bv(Tag::BV_ASR, 2, same, calls(&TermManager::make_bv_ashr));
    add_bv(Tag::BV_ULT, 2, boolean, calls(&TermManager::make_bv_ult));
    add_bv(Tag::BV_ULE, 2, boolean, calls(&TermManager::make_bv_ule));
    add_bv(Tag::BV_SLT, 2, boolean, calls(&TermManager::make_bv_slt));
    add_bv(Tag::BV_SLE, 2, boolean, calls(&TermManager::make_bv_sle));
    add_bv(Tag::BV_COMP, 2, bit, calls(&TermManager::make_bv_comp));
    add_bv(Tag::INT_FROM_UBV, 1, integer, calls(&TermManager::make_int_from_ubv));
    add_bv(Tag::INT_FROM_SBV, 1, integer, calls(&TermManager::make_int_from_sbv));
  }

  void add_indexed(SymbolTag::tag tag, const Symbol* (TermManager::*symbol)(std::size_t, std::size_t),
                   Indexed make, std::size_t result_width) {
    add(
        tag, [this, symbol] { return (m.*symbol)(3, 8); }, {m.get_bv_type(8)}, m.get_bv_type(result_width),
        {3, 8}, [this, make](const Terms& a) { return (m.*make)(3, a[0]); });
  }

  void add_indexed_bit_vectors() {
    add(
        SymbolTag::BV_CONCAT, [this] { return m.make_bv_concat_symbol(5, 8); },
        {m.get_bv_type(5), m.get_bv_type(8)}, m.get_bv_type(13), {5, 8}, calls(&TermManager::make_bv_concat));
    add(
        SymbolTag::BV_SELECT, [this] { return m.make_bv_extract_symbol(6, 2, 8); }, {m.get_bv_type(8)},
        m.get_bv_type(5), {6, 2, 8}, [this](const Terms& a) { return m.make_bv_extract(6, 2, a[0]); });
    add_indexed(SymbolTag::BV_ROL, &TermManager::make_bv_rotate_left_symbol,
                &TermManager::make_bv_rotate_left, 8);
    add_indexed(SymbolTag::BV_ROR, &TermManager::make_bv_rotate_right_symbol,
                &TermManager::make_bv_rotate_right, 8);
    add_indexed(SymbolTag::BV_ZEXT, &TermManager::make_bv_zero_extend_symbol,
                &TermManager::make_bv_zero_extend, 11);
    add_indexed(SymbolTag::BV_SEXT, &TermManager::make_bv_sign_extend_symbol,
                &TermManager::make_bv_sign_extend, 11);
    add(
        SymbolTag::INT_TO_BV, [this] { return m.make_bv_symbol(SymbolTag::INT_TO_BV, 9); }, {m.int_type},
        m.get_bv_type(9), {9}, [this](const Terms& a) { return m.make_int_to_bv(9, a[0]); });
  }

  void add_arrays() {
    const DataType* index = m.get_bv_type(4);
    const DataType* element = m.rat_type;
    const DataType* array = m.get_array_type(index, element);
    add(
        SymbolTag::ARRAY_READ, [this, array] { return m.make_array_read_symbol(array); }, {array, index},
        element, {}, calls(&TermManager::make_array_read));
    add(
        SymbolTag::ARRAY_WRITE, [this, array] { return m.make_array_write_symbol(array); },
        {array, index, element}, array, {}, calls(&TermManager::make_array_write));
    add(
        SymbolTag::ARRAY_CONST, [this, array] { return m.make_array_const_symbol(array); }, {element}, array,
        {}, [this, array](const Terms& a) { return m.make_array_const(array, a[0]); });
  }

  void add_fp(SymbolTag::tag tag, Types types, const DataType* result,
              std::function<const Term*(const Terms&)> make) {
    add(
        tag, [this, tag] { return m.make_fp_symbol(tag, 5, 10); }, std::move(types), result, {5, 10},
        std::move(make));
  }

  void add_floats() {
    using Tag = SymbolTag;
    const DataType* f = m.get_fp_type(5, 10);
    const DataType* rm = m.rounding_mode_type;
    const DataType* b = m.bool_type;
    add_fp(Tag::FP_EQ, {f, f}, b, calls(&TermManager::make_fp_eq));
    add_fp(Tag::FP_LT, {f, f}, b, calls(&TermManager::make_fp_lt));
    add_fp(Tag::FP_LE, {f, f}, b, calls(&TermManager::make_fp_le));
    add_fp(Tag::FP_MIN, {f, f}, f, calls(&TermManager::make_fp_min));
    add_fp(Tag::FP_MAX, {f, f}, f, calls(&TermManager::make_fp_max));
    add_fp(Tag::FP_REM, {f, f}, f, calls(&TermManager::make_fp_rem));
    add_fp(Tag::FP_FMA, {rm, f, f, f}, f,
           [this](const Terms& a) { return m.make_fp_fma(a[0], a[1], a[2], a[3]); });
    add_fp(Tag::FP_NEG, {f}, f, calls(&TermManager::make_fp_neg));
    add_fp(Tag::FP_ABS, {f}, f, calls(&TermManager::make_fp_abs));
    add_fp(Tag::FP_ADD, {rm, f, f}, f, calls(&TermManager::make_fp_add));
    add_fp(Tag::FP_SUB, {rm, f, f}, f, calls(&TermManager::make_fp_sub));
    add_fp(Tag::FP_MUL, {rm, f, f}, f, calls(&TermManager::make_fp_mul));
    add_fp(Tag::FP_DIV, {rm, f, f}, f, calls(&TermManager::make_fp_div));
    add_fp(Tag::FP_SQRT, {rm, f}, f, calls(&TermManager::make_fp_sqrt));
    add_fp(Tag::FP_ROUND_TO_INT, {rm, f}, f, calls(&TermManager::make_fp_round_to_int));
    add_fp(Tag::FP_ISNAN, {f}, b, calls(&TermManager::make_fp_isnan));
    add_fp(Tag::FP_ISINF, {f}, b, calls(&TermManager::make_fp_isinf));
    add_fp(Tag::FP_ISZERO, {f}, b, calls(&TermManager::make_fp_iszero));
    add_fp(Tag::FP_ISSUBNORMAL, {f}, b, calls(&TermManager::make_fp_issubnormal));
    add_fp(Tag::FP_ISNORMAL, {f}, b, calls(&TermManager::make_fp_isnormal));
    add_fp(Tag::FP_ISNEG, {f}, b, calls(&TermManager::make_fp_isneg));
    add_fp(Tag::FP_ISPOS, {f}, b, calls(&TermManager::make_fp_ispos));
    add_fp(Tag::FP_AS_IEEEBV, {f}, m.get_bv_type(16), calls(&TermManager::make_fp_as_ieeebv));
    add_fp(Tag::FP_FROM_IEEEBV, {m.get_bv_type(16)}, f,
           [this](const Terms& a) { return m.make_fp_from_ieeebv(5, 10, a[0]); });
  }

  auto calls(FormatRounded f) {
    return [this, f](const Terms& a) { return (m.*f)(5, 10, a[0], a[1]); };
  }
  auto calls(IndexedRounded f) {
    return [this, f](const Terms& a) { return (m.*f)(33, a[0], a[1]); };
  }

  void add_float_conversions() {
    using Tag = SymbolTag;
    const DataType* f = m.get_fp_type(5, 10);
    const DataType* g = m.get_fp_type(8, 23);
    const DataType* v = m.get_bv_type(33);
    const DataType* rm = m.rounding_mode_type;
    add(
        Tag::FP_CAST, [this] { return m.make_fp_cast_symbol(8, 23, 5, 10); }, {rm, g}, f, {8, 23, 5, 10},
        calls(&TermManager::make_fp_cast));
    add(
        Tag::FP_FROM_SBV, [this] { return m.make_fp_from_sbv_symbol(33, 5, 10); }, {rm, v}, f, {33, 5, 10},
        calls(&TermManager::make_fp_from_sbv));
    add(
        Tag::FP_FROM_UBV, [this] { return m.make_fp_from_ubv_symbol(33, 5, 10); }, {rm, v}, f, {33, 5, 10},
        calls(&TermManager::make_fp_from_ubv));
    add(
        Tag::FP_TO_BV, [this] { return m.make_fp_to_ubv_symbol(8, 23, 33); }, {rm, g}, v, {8, 23, 33},
        calls(&TermManager::make_fp_to_ubv));
    add(
        Tag::FP_TO_BV, [this] { return m.make_fp_to_sbv_symbol(8, 23, 33); }, {rm, g}, v, {8, 23, 33},
        calls(&TermManager::make_fp_to_sbv));
  }

  TermManager& m;
  std::vector<OperatorSample> rows_;
};

}  // namespace quarv
