/// \file
/// SMT-LIB's operators as functions whose calls can be composed.
#pragma once

#include <atomic>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <string_view>
#include <vector>

#include <quarv/export.h>
#include <quarv/term/term_manager.h>

namespace quarv {

namespace smtlib {
struct OperatorDefinition;
}

/// The arguments of an operator, in braces. C++ evaluates what stands in braces from left to right, calls
/// among it too, whereas it leaves the order open in which it evaluates what stands in parentheses:
///
///     make_bv_add(mgr, {make_bv_not(mgr, {x}), make_bv_neg(mgr, {y})})
///
/// makes the same terms in the same order with every compiler.
class Arguments {
 public:
  Arguments(std::initializer_list<const Term*> list) : terms_(list.begin(), list.size()) {}
  Arguments(std::span<const Term* const> list) : terms_(list) {}
  Arguments(const std::vector<const Term*>& list) : terms_(list) {}

  operator std::span<const Term* const>() const noexcept { return terms_; }

 private:
  std::span<const Term* const> terms_;
};

/// An operator of SMT-LIB, applied to as many arguments as the standard allows, with the manager's
/// simplifier. Derived operators are built of others, as the standard defines them. \throws SortError for
/// arguments that do not fit, a wrong number of them, null pointers and terms of another manager, in the
/// words of the operator that was called; nothing is interned then
class QUARV_API ComposedOperator {
 public:
  constexpr explicit ComposedOperator(std::string_view name) noexcept : name_(name) {}
  ComposedOperator(const ComposedOperator&) = delete;
  ComposedOperator& operator=(const ComposedOperator&) = delete;

  const Term* operator()(TermManager& manager, Arguments args) const;

 protected:
  const Term* apply(TermManager& manager, std::span<const std::size_t> indices,
                    std::span<const Term* const> args) const;

 private:
  std::string_view name_;
  mutable std::atomic<const smtlib::OperatorDefinition*> found_{nullptr};
};

/// Likewise, for an operator with indices: `make_bv_extract(mgr, {7, 0}, {x})`.
class QUARV_API ComposedIndexedOperator : private ComposedOperator {
 public:
  using ComposedOperator::ComposedOperator;
  const Term* operator()(TermManager& manager, std::initializer_list<std::size_t> indices,
                         Arguments args) const {
    return apply(manager, {indices.begin(), indices.size()}, args);
  }
};

/// Booleans, equality, if-then-else. `and`, `or` and `xor` take any number; so does `=`, which compares
/// neighbours, `distinct`, which compares all, and `=>`, which is right-associative.
/// @{
inline constinit const ComposedOperator make_not{"not"};
inline constinit const ComposedOperator make_and{"and"};
inline constinit const ComposedOperator make_or{"or"};
inline constinit const ComposedOperator make_xor{"xor"};
inline constinit const ComposedOperator make_implies{"=>"};
inline constinit const ComposedOperator make_equal{"="};
inline constinit const ComposedOperator make_distinct{"distinct"};
inline constinit const ComposedOperator make_ite{"ite"};
/// @}

/// Numbers: Int and Real. `-` of one argument is the negation. Comparisons compare neighbours. The standard
/// leaves open what division by zero gives.
/// @{
inline constinit const ComposedOperator make_plus{"+"};
inline constinit const ComposedOperator make_minus{"-"};
inline constinit const ComposedOperator make_times{"*"};
inline constinit const ComposedOperator make_divide{"/"};
inline constinit const ComposedOperator make_int_div{"div"};
inline constinit const ComposedOperator make_int_mod{"mod"};
inline constinit const ComposedOperator make_abs{"abs"};
inline constinit const ComposedOperator make_leq{"<="};
inline constinit const ComposedOperator make_lt{"<"};
inline constinit const ComposedOperator make_geq{">="};
inline constinit const ComposedOperator make_gt{">"};
inline constinit const ComposedOperator make_floor{"to_int"};
inline constinit const ComposedOperator make_is_int{"is_int"};
/// @}

/// Bit-vectors of one width. Those that are associative take any number, and comparisons compare neighbours.
/// @{
inline constinit const ComposedOperator make_bv_not{"bvnot"};
inline constinit const ComposedOperator make_bv_neg{"bvneg"};
inline constinit const ComposedOperator make_bv_and{"bvand"};
inline constinit const ComposedOperator make_bv_or{"bvor"};
inline constinit const ComposedOperator make_bv_xor{"bvxor"};
inline constinit const ComposedOperator make_bv_nand{"bvnand"};
inline constinit const ComposedOperator make_bv_nor{"bvnor"};
inline constinit const ComposedOperator make_bv_xnor{"bvxnor"};
inline constinit const ComposedOperator make_bv_add{"bvadd"};
inline constinit const ComposedOperator make_bv_sub{"bvsub"};
inline constinit const ComposedOperator make_bv_mul{"bvmul"};
inline constinit const ComposedOperator make_bv_udiv{"bvudiv"};
inline constinit const ComposedOperator make_bv_sdiv{"bvsdiv"};
inline constinit const ComposedOperator make_bv_urem{"bvurem"};
inline constinit const ComposedOperator make_bv_srem{"bvsrem"};
inline constinit const ComposedOperator make_bv_smod{"bvsmod"};
inline constinit const ComposedOperator make_bv_lshl{"bvshl"};
inline constinit const ComposedOperator make_bv_lshr{"bvlshr"};
inline constinit const ComposedOperator make_bv_ashr{"bvashr"};
inline constinit const ComposedOperator make_bv_ult{"bvult"};
inline constinit const ComposedOperator make_bv_ule{"bvule"};
inline constinit const ComposedOperator make_bv_ugt{"bvugt"};
inline constinit const ComposedOperator make_bv_uge{"bvuge"};
inline constinit const ComposedOperator make_bv_slt{"bvslt"};
inline constinit const ComposedOperator make_bv_sle{"bvsle"};
inline constinit const ComposedOperator make_bv_sgt{"bvsgt"};
inline constinit const ComposedOperator make_bv_sge{"bvsge"};
inline constinit const ComposedOperator make_bv_comp{"bvcomp"};
inline constinit const ComposedOperator make_bv_redor{"bvredor"};
inline constinit const ComposedOperator make_bv_redand{"bvredand"};
inline constinit const ComposedOperator make_bv_concat{"concat"};
/// @}

/// Does an operation overflow? Of the negation, of unsigned and of signed operations.
/// @{
inline constinit const ComposedOperator make_bv_nego{"bvnego"};
inline constinit const ComposedOperator make_bv_uaddo{"bvuaddo"};
inline constinit const ComposedOperator make_bv_saddo{"bvsaddo"};
inline constinit const ComposedOperator make_bv_usubo{"bvusubo"};
inline constinit const ComposedOperator make_bv_ssubo{"bvssubo"};
inline constinit const ComposedOperator make_bv_umulo{"bvumulo"};
inline constinit const ComposedOperator make_bv_smulo{"bvsmulo"};
inline constinit const ComposedOperator make_bv_sdivo{"bvsdivo"};
/// @}

/// Bit-vectors and integers.
/// @{
inline constinit const ComposedOperator make_int_from_ubv{"ubv_to_int"};
inline constinit const ComposedOperator make_int_from_sbv{"sbv_to_int"};
/// @}

/// Arrays: `select` and `store`.
/// @{
inline constinit const ComposedOperator make_array_read{"select"};
inline constinit const ComposedOperator make_array_write{"store"};
/// @}

/// Floating-point numbers of one format; those that round take the rounding mode first. `fp.eq` and the other
/// comparisons, those of IEEE 754, compare neighbours.
/// @{
inline constinit const ComposedOperator make_fp_abs{"fp.abs"};
inline constinit const ComposedOperator make_fp_neg{"fp.neg"};
inline constinit const ComposedOperator make_fp_add{"fp.add"};
inline constinit const ComposedOperator make_fp_sub{"fp.sub"};
inline constinit const ComposedOperator make_fp_mul{"fp.mul"};
inline constinit const ComposedOperator make_fp_div{"fp.div"};
inline constinit const ComposedOperator make_fp_fma{"fp.fma"};
inline constinit const ComposedOperator make_fp_sqrt{"fp.sqrt"};
inline constinit const ComposedOperator make_fp_rem{"fp.rem"};
inline constinit const ComposedOperator make_fp_round_to_int{"fp.roundToIntegral"};
inline constinit const ComposedOperator make_fp_min{"fp.min"};
inline constinit const ComposedOperator make_fp_max{"fp.max"};
inline constinit const ComposedOperator make_fp_eq{"fp.eq"};
inline constinit const ComposedOperator make_fp_lt{"fp.lt"};
inline constinit const ComposedOperator make_fp_le{"fp.leq"};
inline constinit const ComposedOperator make_fp_gt{"fp.gt"};
inline constinit const ComposedOperator make_fp_ge{"fp.geq"};
inline constinit const ComposedOperator make_fp_isnormal{"fp.isNormal"};
inline constinit const ComposedOperator make_fp_issubnormal{"fp.isSubnormal"};
inline constinit const ComposedOperator make_fp_iszero{"fp.isZero"};
inline constinit const ComposedOperator make_fp_isinf{"fp.isInfinite"};
inline constinit const ComposedOperator make_fp_isnan{"fp.isNaN"};
inline constinit const ComposedOperator make_fp_isneg{"fp.isNegative"};
inline constinit const ComposedOperator make_fp_ispos{"fp.isPositive"};
/// @}

/// With indices: `make_bv_extract` {highest bit, lowest bit}, `make_bv_zero_extend` {bits added},
/// `make_bv_sign_extend` {bits added}, `make_bv_rotate_left` {bits}, `make_bv_rotate_right` {bits},
/// `make_bv_repeat` {times}, `make_int_to_bv` {width}, `make_fp_to_ubv` {width}, `make_fp_to_sbv` {width}.
/// @{
inline constinit const ComposedIndexedOperator make_bv_extract{"extract"};
inline constinit const ComposedIndexedOperator make_bv_zero_extend{"zero_extend"};
inline constinit const ComposedIndexedOperator make_bv_sign_extend{"sign_extend"};
inline constinit const ComposedIndexedOperator make_bv_rotate_left{"rotate_left"};
inline constinit const ComposedIndexedOperator make_bv_rotate_right{"rotate_right"};
inline constinit const ComposedIndexedOperator make_bv_repeat{"repeat"};
inline constinit const ComposedIndexedOperator make_int_to_bv{"int_to_bv"};
inline constinit const ComposedIndexedOperator make_fp_to_ubv{"fp.to_ubv"};
inline constinit const ComposedIndexedOperator make_fp_to_sbv{"fp.to_sbv"};
/// @}

}  // namespace quarv
