#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <quarv/export.h>
#include <quarv/numbers/number_size.h>
#include <quarv/numbers/q_number.h>
#include <quarv/term/arena.h>
#include <quarv/term/attribute.h>
#include <quarv/term/data_type.h>
#include <quarv/term/number_table.h>
#include <quarv/term/sort_error.h>
#include <quarv/term/symbol.h>
#include <quarv/term/symbol_tag.h>
#include <quarv/term/term.h>
#include <quarv/term/term_mark.h>
#include <quarv/term/term_simplifier.h>
#include <quarv/term/term_table.h>
#include <quarv/util/hash_map.h>
#include <quarv/util/memory_account.h>

namespace quarv {

struct OperatorRow;
struct SortPattern;
struct SymbolTables;

/// Creates, interns and classifies terms, symbols and types, and owns them all.
///
/// Every `make_...` constructor of terms is a *full* constructor: it checks sorts, then hands the application
/// to the attached simplifier; without one it builds the term as given. `do_make_term` interns exactly what
/// it is given. Constructors throw SortError for arguments that do not fit, that are null or of another
/// manager (nothing is interned then), and std::bad_alloc. What only looks at a term, symbol or type takes no
/// null pointers. All calls for one manager come from one thread. In steady state building a term makes no
/// heap allocation of its own.
class QUARV_API TermManager {
 public:
  using Args = std::span<const Term* const>;

  /// A manager with the distinguished types, symbols and terms. \throws std::bad_alloc
  TermManager();
  /// Releases all terms, symbols and types; pointers to them are invalid from then on.
  ~TermManager();
  TermManager(const TermManager&) = delete;
  TermManager& operator=(const TermManager&) = delete;

  // Distinguished types, symbols and terms, read directly by the simplifiers.
  // ------------------------------------------

  const DataType* bool_type;
  const DataType* rat_type;  ///< the sort Real
  const DataType* int_type;  ///< a subtype of `rat_type`; stays directly after it
  const DataType* array_type_ctor;
  const DataType* bv_type_ctor;
  const DataType* rounding_mode_type;
  const DataType* fp_type_ctor;

  const Symbol* true_symbol;
  const Symbol* false_symbol;
  const Symbol* not_symbol;
  const Symbol* and_symbol;
  const Symbol* or_symbol;
  const Symbol* iff_symbol;
  const Symbol* rat_leq_symbol;
  const Symbol* int_leq_symbol;
  const Symbol* rat_plus_symbol;
  const Symbol* rat_times_symbol;
  const Symbol* int_plus_symbol;
  const Symbol* int_times_symbol;
  const Symbol* floor_symbol;

  const Term* true_term;
  const Term* false_term;

  /// The numeral table: every number's symbol with its value (bit-vector and floating-point literals by their
  /// unsigned encoding). A symbol is a number exactly when it is a key. Only the manager adds entries.
  hsh::HashMap<const Symbol*, QNumber> numbers;

  /// The equality symbols of all types.
  hsh::HashSet<const Symbol*> equality_symbols;

  // Simplification.
  // ----------------------------------------------------------------------------------------------------

  /// Attaches the simplifier that full constructors use from now on; null detaches. Not owned.
  void set_simplifier(TermSimplifier* simplifier) noexcept { simplifier_ = simplifier; }
  /// The attached simplifier, null when there is none.
  TermSimplifier* simplifier() const noexcept { return simplifier_; }

  // Terms.
  // -------------------------------------------------------------------------------------------------------------

  /// The interned term `symbol(args)`, built as given, neither simplified nor checked but for the number of
  /// arguments.
  const Term* do_make_term(const Symbol* symbol, const std::vector<const Term*>& args) {
    return intern(symbol, args);
  }
  const Term* do_make_term(const Symbol* symbol, Args args) { return intern(symbol, args); }
  const Term* do_make_term(const Symbol* symbol, std::initializer_list<const Term*> args) {
    return intern(symbol, Args(args.begin(), args.size()));
  }

  /// The full constructor for any symbol.
  const Term* make_term(const Symbol* symbol, Args args);
  const Term* make_term(const Symbol* symbol, std::initializer_list<const Term*> args = {}) {
    return make_term(symbol, Args(args.begin(), args.size()));
  }

  /// As `make_term`, for arguments whose sorts are known to fit.
  const Term* make_term_unchecked(const Symbol* symbol, Args args);

  /// Number of terms created so far; ids are 0 to `num_terms() - 1`.
  std::size_t num_terms() const noexcept { return next_id_; }

  // What simplifiers may cost.

  /// Whether a simplifier may compute a number, or a bit-vector, of this many bits. Beyond 2^24 bits it may
  /// not; nor beyond 4096 bits when all numbers of the manager take more than 256 MiB already. What is not
  /// computed stays as it is.
  bool may_compute(std::size_t bits) const noexcept {
    return bits <= 4096 || (bits <= max_number_bits && number_bytes_ <= std::size_t{256} << 20);
  }
  /// Bytes of all numeric constants that do not fit two words.
  std::size_t number_bytes() const noexcept { return number_bytes_; }

  /// Some simplifiers look at sums or arrays as a whole and write sums anew. Parts that many terms share
  /// would be looked at, and written, for each of them. Those simplifiers count what they do: the nodes that
  /// they look at beyond the first thousand of a call, and the terms that they add. When that is out of
  /// proportion to the number of terms, large sums and arrays stay as they are.
  void count_visits(std::uint64_t nodes) noexcept { visits_ += nodes; }
  bool may_visit() const noexcept { return visits_ <= (std::uint64_t{1} << 26) + 256 * next_id_; }
  void count_expansion(std::uint64_t terms) noexcept { expansion_ += terms; }
  bool may_expand() const noexcept {
    return expansion_ <= (std::uint64_t{1} << 20) + 16 * (next_id_ - expansion_);
  }
  /// Those who know how long the text is that asks for sums to be written anew may set tighter limits: to the
  /// steps that walks through sums take beyond the first few of a call, and to the terms that sums add.
  struct SumWork {
    std::uint64_t steps = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t expansion = std::numeric_limits<std::uint64_t>::max();
  };
  SumWork sum_work() const noexcept { return {steps_, expansion_}; }
  void set_sum_limit(const SumWork& most) noexcept { sum_limit_ = most; }
  void count_steps(std::uint64_t steps) noexcept { steps_ += steps; }
  std::uint64_t steps_left() const noexcept { return sum_limit_.steps - std::min(sum_limit_.steps, steps_); }
  /// Whether a sum of so many summands may be written anew: a short one always.
  bool may_expand_to(std::uint64_t summands) const noexcept {
    return summands <= 16 || expansion_ + summands <= sum_limit_.expansion;
  }

  // Memory.

  /// Remembers what terms, symbols and sorts there are. \throws std::bad_alloc
  TermMark mark();
  /// Gives back all that was made since `mark`, in time proportional to it; ids are used again. The mark and
  /// later ones are used up by that. Pointers to what is given back are invalid; the normalizer, sessions and
  /// the simplifiers of the library notice by themselves. Not to be called by simplifiers or observers.
  /// \throws std::invalid_argument for a mark that is not in force; std::bad_alloc with nothing released
  void release(const TermMark& mark);
  /// How often something was released: a cache that remembers this number asks, when it has changed, up to
  /// which id terms have been the same all the time.
  std::uint64_t num_releases() const noexcept { return num_releases_; }
  std::size_t num_kept_since(std::uint64_t num_releases) const noexcept;
  /// The ids that began after the first and the last mark in force: where there is none, beyond all ids.
  std::uint64_t first_mark() const noexcept { return first_mark_; }
  std::uint64_t last_mark() const noexcept { return last_mark_; }

  /// What is allocated, in bytes.
  TermMemory memory() const noexcept;
  /// Limits what is allocated from now on, in bytes in all: a constructor that needs more throws
  /// MemoryLimitReached, which is a std::bad_alloc, and the manager can be used as before.
  void set_memory_limit(std::size_t bytes) noexcept { account_.set_limit(bytes); }

  /// Prepares for this many terms; more or fewer may come.
  void reserve_terms(std::size_t n) { terms_.reserve(n); }

  /// Number of children of terms headed by `symbol`.
  std::size_t arity(const Symbol* symbol) const noexcept { return symbol->arity_; }
  std::size_t arity(const Term* t) const noexcept { return t->symbol->arity_; }

  /// The type that argument `i` must have, up to the integer type being a subtype of the rational one.
  const DataType* argument_type(const Symbol* symbol, std::size_t i) const noexcept {
    return symbol->arg_types_[i];
  }

  /// The children of a term.
  Args args_of(const Term* t) const noexcept { return Args(t->args, t->symbol->arity_); }

  /// How many of the children, from the first, may be replaced by equal terms. All of them, except that
  /// patterns and other terms in annotations stay as they were written.
  std::size_t rewritable_args(const Symbol* symbol) const noexcept {
    return symbol->kind_ == Symbol::annotation ? 1 : symbol->arity_;
  }

  const DataType* type_of(const Term* t) const noexcept { return t->symbol->output_type_; }

  // Constants.
  // ---------------------------------------------------------------------------------------------------------

  const Term* make_bool(bool value) const noexcept { return value ? true_term : false_term; }

  /// The arithmetic constant: of the integer type when the value is integral, else of the rational type.
  const Term* make_number(const QNumber& value);

  /// The bit-vector literal of `width` bits; throws SortError unless 0 <= value < 2^width and the width is
  /// positive.
  const Term* make_bv_number(const QNumber& value, std::size_t width);
  const Term* make_bv_number(int value, std::size_t width) {
    return make_bv_number(QNumber(std::int64_t{value}), width);
  }
  template <Integer T>
  const Term* make_bv_number(T value, std::size_t width) {
    return make_bv_number(QNumber(value), width);
  }
  template <NotAnInteger T>
  const Term* make_bv_number(T value, std::size_t width) = delete;

  /// The floating-point literal given by its IEEE 754 encoding of 1 + ew + mw bits: ew exponent bits, mw
  /// stored significand bits (without the hidden one).
  const Term* make_fp_bits_number(const QNumber& bits, std::size_t ew, std::size_t mw);

  const Term* make_rounding_even();       ///< roundNearestTiesToEven
  const Term* make_rounding_zero();       ///< roundTowardZero
  const Term* make_rounding_plus_inf();   ///< roundTowardPositive
  const Term* make_rounding_minus_inf();  ///< roundTowardNegative
  const Term* make_rounding_away();       ///< roundNearestTiesToAway; nothing folds under it

  /// The value of a numeric constant, null for every other symbol or term.
  const QNumber* get_number(const Symbol* s) const noexcept {
    return s->kind_ == Symbol::number ? s->number_ : nullptr;
  }
  const QNumber* get_number(const Term* t) const noexcept { return get_number(t->symbol); }

  // Full constructors.
  // -------------------------------------------------------------------------------------------------

  /// Negation, conjunction, disjunction and equivalence of Booleans.
  const Term* make_not(const Term* a);
  const Term* make_and(const Term* a, const Term* b);
  const Term* make_or(const Term* a, const Term* b);
  const Term* make_iff(const Term* a, const Term* b);

  /// Equality at any type; on Booleans it is `make_iff`.
  const Term* make_equal(const Term* a, const Term* b);
  /// The Boolean `condition` selects a branch; the result has the branches' common supertype.
  const Term* make_ite(const Term* condition, const Term* then_branch, const Term* else_branch);

  /// Sum, product and `a <= b`: of the integer operator when both are integers, else of the rational one.
  const Term* make_plus(const Term* a, const Term* b);
  const Term* make_times(const Term* a, const Term* b);
  const Term* make_leq(const Term* a, const Term* b);
  /// The greatest integer not above `a`, an integer; SMT-LIB's `to_int`.
  const Term* make_floor(const Term* a);
  /// a = b modulo `modulus`, which is a positive integer; a and b are integers.
  const Term* make_int_mod_congr(const QNumber& modulus, const Term* a, const Term* b);

  /// Operators of the theory FixedSizeBitVectors on operands of one width.
  const Term* make_bv_not(const Term* a) { return make_bv_unary(SymbolTag::BV_NOT, a); }
  const Term* make_bv_neg(const Term* a) { return make_bv_unary(SymbolTag::BV_NEG, a); }
  const Term* make_bv_and(const Term* a, const Term* b) { return make_bv_binary(SymbolTag::BV_AND, a, b); }
  const Term* make_bv_or(const Term* a, const Term* b) { return make_bv_binary(SymbolTag::BV_OR, a, b); }
  const Term* make_bv_xor(const Term* a, const Term* b) { return make_bv_binary(SymbolTag::BV_XOR, a, b); }
  const Term* make_bv_add(const Term* a, const Term* b) { return make_bv_binary(SymbolTag::BV_ADD, a, b); }
  const Term* make_bv_sub(const Term* a, const Term* b) { return make_bv_binary(SymbolTag::BV_SUB, a, b); }
  const Term* make_bv_mul(const Term* a, const Term* b) { return make_bv_binary(SymbolTag::BV_MUL, a, b); }
  const Term* make_bv_udiv(const Term* a, const Term* b) { return make_bv_binary(SymbolTag::BV_UDIV, a, b); }
  const Term* make_bv_sdiv(const Term* a, const Term* b) { return make_bv_binary(SymbolTag::BV_SDIV, a, b); }
  const Term* make_bv_urem(const Term* a, const Term* b) { return make_bv_binary(SymbolTag::BV_UREM, a, b); }
  const Term* make_bv_srem(const Term* a, const Term* b) { return make_bv_binary(SymbolTag::BV_SREM, a, b); }
  const Term* make_bv_lshl(const Term* a, const Term* b) { return make_bv_binary(SymbolTag::BV_LSL, a, b); }
  const Term* make_bv_lshr(const Term* a, const Term* b) { return make_bv_binary(SymbolTag::BV_LSR, a, b); }
  const Term* make_bv_ashr(const Term* a, const Term* b) { return make_bv_binary(SymbolTag::BV_ASR, a, b); }
  const Term* make_bv_ult(const Term* a, const Term* b) { return make_bv_binary(SymbolTag::BV_ULT, a, b); }
  const Term* make_bv_ule(const Term* a, const Term* b) { return make_bv_binary(SymbolTag::BV_ULE, a, b); }
  const Term* make_bv_slt(const Term* a, const Term* b) { return make_bv_binary(SymbolTag::BV_SLT, a, b); }
  const Term* make_bv_sle(const Term* a, const Term* b) { return make_bv_binary(SymbolTag::BV_SLE, a, b); }
  /// The one-bit vector 1 when a = b, else 0.
  const Term* make_bv_comp(const Term* a, const Term* b) { return make_bv_binary(SymbolTag::BV_COMP, a, b); }
  /// `high` gives the upper bits of the result, `low` the lower ones.
  const Term* make_bv_concat(const Term* high, const Term* low);
  /// Bits `high` down to `low`, both included; high >= low.
  const Term* make_bv_extract(std::size_t high, std::size_t low, const Term* a);
  const Term* make_bv_rotate_left(std::size_t amount, const Term* a);
  const Term* make_bv_rotate_right(std::size_t amount, const Term* a);
  /// Adds `bits` zero bits in front.
  const Term* make_bv_zero_extend(std::size_t bits, const Term* a);
  /// Adds `bits` copies of the sign bit in front.
  const Term* make_bv_sign_extend(std::size_t bits, const Term* a);
  /// The integer that the bits encode: unsigned, or in two's complement.
  const Term* make_int_from_ubv(const Term* a);
  const Term* make_int_from_sbv(const Term* a);
  /// The integer modulo 2^width.
  const Term* make_int_to_bv(std::size_t width, const Term* a);

  /// The element of `array` at `index`; SMT-LIB's `select`.
  const Term* make_array_read(const Term* array, const Term* index);
  /// `array` with `element` at `index`; SMT-LIB's `store`.
  const Term* make_array_write(const Term* array, const Term* index, const Term* element);
  /// The array of type `array_type` that maps every index to `element`.
  const Term* make_array_const(const DataType* array_type, const Term* element);

  /// Operators of the theory FloatingPoint on operands of one format. `make_fp_eq` is the comparison of IEEE
  /// 754 (no NaN equals itself, zeros of both signs are equal), unlike `make_equal`.
  const Term* make_fp_eq(const Term* a, const Term* b) { return make_fp_binary(SymbolTag::FP_EQ, a, b); }
  const Term* make_fp_lt(const Term* a, const Term* b) { return make_fp_binary(SymbolTag::FP_LT, a, b); }
  const Term* make_fp_le(const Term* a, const Term* b) { return make_fp_binary(SymbolTag::FP_LE, a, b); }
  const Term* make_fp_min(const Term* a, const Term* b) { return make_fp_binary(SymbolTag::FP_MIN, a, b); }
  const Term* make_fp_max(const Term* a, const Term* b) { return make_fp_binary(SymbolTag::FP_MAX, a, b); }
  const Term* make_fp_neg(const Term* a) { return make_fp_unary(SymbolTag::FP_NEG, a); }
  const Term* make_fp_abs(const Term* a) { return make_fp_unary(SymbolTag::FP_ABS, a); }
  const Term* make_fp_isnan(const Term* a) { return make_fp_unary(SymbolTag::FP_ISNAN, a); }
  const Term* make_fp_isinf(const Term* a) { return make_fp_unary(SymbolTag::FP_ISINF, a); }
  const Term* make_fp_iszero(const Term* a) { return make_fp_unary(SymbolTag::FP_ISZERO, a); }
  const Term* make_fp_issubnormal(const Term* a) { return make_fp_unary(SymbolTag::FP_ISSUBNORMAL, a); }
  const Term* make_fp_isnormal(const Term* a) { return make_fp_unary(SymbolTag::FP_ISNORMAL, a); }
  const Term* make_fp_isneg(const Term* a) { return make_fp_unary(SymbolTag::FP_ISNEG, a); }
  const Term* make_fp_ispos(const Term* a) { return make_fp_unary(SymbolTag::FP_ISPOS, a); }
  /// The IEEE 754 encoding of 1 + ew + mw bits.
  const Term* make_fp_as_ieeebv(const Term* a) { return make_fp_unary(SymbolTag::FP_AS_IEEEBV, a); }
  /// Operations that round; `rounding` is of type `rounding_mode_type`.
  const Term* make_fp_add(const Term* rounding, const Term* a, const Term* b) {
    return make_fp_rounded(SymbolTag::FP_ADD, rounding, a, b);
  }
  const Term* make_fp_sub(const Term* rounding, const Term* a, const Term* b) {
    return make_fp_rounded(SymbolTag::FP_SUB, rounding, a, b);
  }
  const Term* make_fp_mul(const Term* rounding, const Term* a, const Term* b) {
    return make_fp_rounded(SymbolTag::FP_MUL, rounding, a, b);
  }
  const Term* make_fp_div(const Term* rounding, const Term* a, const Term* b) {
    return make_fp_rounded(SymbolTag::FP_DIV, rounding, a, b);
  }
  const Term* make_fp_sqrt(const Term* rounding, const Term* a) {
    return make_fp_rounded(SymbolTag::FP_SQRT, rounding, a);
  }
  const Term* make_fp_round_to_int(const Term* rounding, const Term* a) {
    return make_fp_rounded(SymbolTag::FP_ROUND_TO_INT, rounding, a);
  }
  /// a * b + c, rounded once.
  const Term* make_fp_fma(const Term* rounding, const Term* a, const Term* b, const Term* c) {
    return make_operation(SymbolTag::FP_FMA, {rounding, a, b, c});
  }
  /// a - b * n for the integer n nearest to a / b; exact.
  const Term* make_fp_rem(const Term* a, const Term* b) { return make_fp_binary(SymbolTag::FP_REM, a, b); }
  /// Conversions to the format of `ew` exponent bits and `mw` stored significand bits: from another format,
  /// from a signed and an unsigned integer, and from the encoding of 1 + ew + mw bits.
  const Term* make_fp_cast(std::size_t ew, std::size_t mw, const Term* rounding, const Term* a);
  const Term* make_fp_from_sbv(std::size_t ew, std::size_t mw, const Term* rounding, const Term* bits);
  const Term* make_fp_from_ubv(std::size_t ew, std::size_t mw, const Term* rounding, const Term* bits);
  const Term* make_fp_from_ieeebv(std::size_t ew, std::size_t mw, const Term* bits);
  /// Conversions to an integer of `width` bits, unsigned and in two's complement.
  const Term* make_fp_to_ubv(std::size_t width, const Term* rounding, const Term* a);
  const Term* make_fp_to_sbv(std::size_t width, const Term* rounding, const Term* a);

  /// The operation of a row of operators.h on arguments of any sorts that its signature admits; indices are
  /// those of SMT-LIB, but that a significand's width does not count the hidden bit. Not for `divisible` and
  /// constant arrays, whose symbols do not follow from arguments and indices.
  const Term* make_operation(const OperatorRow& row, std::span<const std::size_t> indices, Args args) {
    return simplified(operation_symbol(row, indices, args), args);
  }
  const Term* make_operation(SymbolTag::tag tag, std::initializer_list<const Term*> args);

  // Operator symbols, interned, for `do_make_term` and `make_term`.
  // ------------------------------------------------------

  /// The symbol of that operation.
  const Symbol* operation_symbol(const OperatorRow& row, std::span<const std::size_t> indices, Args args);

  /// Equality and if-then-else at a type. For Booleans `make_equal` uses `iff_symbol` instead.
  const Symbol* make_equal_symbol(const DataType* type);
  const Symbol* make_ite_symbol(const DataType* type);
  /// \throws SortError unless the modulus is a positive integer
  const Symbol* make_int_mod_congr_symbol(const QNumber& modulus);
  /// \throws SortError unless `array_type` is an array type
  const Symbol* make_array_read_symbol(const DataType* array_type);
  const Symbol* make_array_write_symbol(const DataType* array_type);
  const Symbol* make_array_const_symbol(const DataType* array_type);

  /// The symbol of a bit-vector operator whose only parameter is the width of its operands: `BV_NOT` to
  /// `BV_ASR` without concatenation and extraction, `INT_FROM_UBV`, `INT_FROM_SBV`, and (its result's width)
  /// `INT_TO_BV`.
  /// \throws SortError for any other tag, or when the width is 0
  const Symbol* make_bv_symbol(SymbolTag::tag tag, std::size_t width);
  const Symbol* make_bv_neg_symbol(std::size_t width) { return make_bv_symbol(SymbolTag::BV_NEG, width); }
  const Symbol* make_bv_udiv_symbol(std::size_t width) { return make_bv_symbol(SymbolTag::BV_UDIV, width); }
  const Symbol* make_bv_urem_symbol(std::size_t width) { return make_bv_symbol(SymbolTag::BV_UREM, width); }
  const Symbol* make_bv_lshr_symbol(std::size_t width) { return make_bv_symbol(SymbolTag::BV_LSR, width); }
  /// Widths of the first (high) and the second (low) argument.
  const Symbol* make_bv_concat_symbol(std::size_t high_width, std::size_t low_width);
  /// Highest and lowest bit kept, and the argument's width. \throws SortError unless low <= high < width
  const Symbol* make_bv_extract_symbol(std::size_t high, std::size_t low, std::size_t width);
  /// The amount, which may exceed the width, and the width.
  const Symbol* make_bv_rotate_left_symbol(std::size_t amount, std::size_t width);
  const Symbol* make_bv_rotate_right_symbol(std::size_t amount, std::size_t width);
  /// The number of bits added, and the argument's width.
  const Symbol* make_bv_zero_extend_symbol(std::size_t bits, std::size_t width);
  const Symbol* make_bv_sign_extend_symbol(std::size_t bits, std::size_t width);

  /// The symbol of a floating-point operator whose only parameter is its format: `FP_EQ` to `FP_MAX`,
  /// `FP_ROUND_TO_INT`, `FP_AS_IEEEBV` to `FP_FROM_IEEEBV`.
  /// \throws SortError for any other tag, or when a width is 0
  const Symbol* make_fp_symbol(SymbolTag::tag tag, std::size_t ew, std::size_t mw);
  /// Conversions: the source's format or width, then the destination's.
  const Symbol* make_fp_cast_symbol(std::size_t src_ew, std::size_t src_mw, std::size_t dst_ew,
                                    std::size_t dst_mw);
  const Symbol* make_fp_from_sbv_symbol(std::size_t bv_width, std::size_t ew, std::size_t mw);
  const Symbol* make_fp_from_ubv_symbol(std::size_t bv_width, std::size_t ew, std::size_t mw);
  const Symbol* make_fp_to_ubv_symbol(std::size_t ew, std::size_t mw, std::size_t bv_width);
  const Symbol* make_fp_to_sbv_symbol(std::size_t ew, std::size_t mw, std::size_t bv_width);

  // Declared and other symbols.
  // ------------------------------------------------------------------------------------------

  /// A function symbol (a constant when there are no arguments): the same name with the same signature is the
  /// same symbol. Here and below \throws std::invalid_argument for a name with a NUL byte, SortError for a
  /// null type; here also for a type of another manager, which the functions below take for terms that are
  /// printed and nothing else
  const Symbol* declare_fun(std::string_view name, std::span<const DataType* const> argument_types,
                            const DataType* result);
  const Symbol* declare_fun(std::string_view name, std::initializer_list<const DataType*> argument_types,
                            const DataType* result) {
    return declare_fun(name, std::span(argument_types.begin(), argument_types.size()), result);
  }
  /// A function symbol that differs from all others, whatever their names.
  const Symbol* fresh_fun(std::string_view name, std::span<const DataType* const> argument_types,
                          const DataType* result);
  /// The declared constant as a term.
  const Term* make_constant(std::string_view name, const DataType* type) {
    return make_term(declare_fun(name, {}, type));
  }

  /// An interpreted operator without a simplifier. `name` is its SMT-LIB identifier, indices included:
  /// "fp.rem", "(_ to_fp 8 24)". Interned by name and signature.
  const Symbol* make_opaque_symbol(std::string_view name, std::span<const DataType* const> argument_types,
                                   const DataType* result);
  const Symbol* make_opaque_symbol(std::string_view name,
                                   std::initializer_list<const DataType*> argument_types,
                                   const DataType* result) {
    return make_opaque_symbol(name, std::span(argument_types.begin(), argument_types.size()), result);
  }

  /// A variable to be bound by a quantifier; differs from all others, whatever their names.
  const Term* fresh_bound_variable(std::string_view name, const DataType* type);

  /// `binder` is "forall" or "exists"; the variables come from `fresh_bound_variable`. \throws SortError for
  /// other variables, or when the body is not Boolean
  const Term* make_quantifier(std::string_view binder, Args variables, const Term* body);

  /// `(! body attributes)`; `terms` are those of all attributes, in their order. \throws SortError when
  /// the attributes announce another number of terms
  const Term* make_annotation(const Term* body, std::span<const Attribute> attributes, Args terms);

  /// The symbols of those, for `do_make_term`: of a quantifier with these variables, and of an annotation of
  /// the first of `args`, whose others are the terms of all attributes. They do not ask whose the terms are.
  const Symbol* make_quantifier_symbol(std::string_view binder, Args variables);
  const Symbol* make_annotation_symbol(std::span<const Attribute> attributes, Args args);

  /// The variables of a quantifier's symbol, the attributes of an annotation's. \throws std::out_of_range for
  /// any other symbol
  const std::vector<const Term*>& quantifier_variables(const Symbol* s) const;
  const std::vector<Attribute>& annotation_attributes(const Symbol* s) const;

  // Classification. Out-parameters may be null.
  // -----------------------------------------------------------------------------

  /// The operator that the symbol stands for.
  static SymbolTag::tag get_tag(const Symbol* s) noexcept { return static_cast<SymbolTag::tag>(s->tag_); }
  /// The integer parameters of an operator's symbol, in the order of its recogniser below.
  std::span<const std::size_t> parameters(const Symbol* s) const noexcept;
  /// True for every symbol with a fixed meaning: all but declared functions and bound variables.
  bool is_interpreted(const Symbol* s) const noexcept { return s->tag_ != SymbolTag::UF; }
  bool is_bound_variable(const Symbol* s) const noexcept { return s->kind_ == Symbol::bound_variable; }
  bool is_quantifier(const Symbol* s) const noexcept { return s->kind_ == Symbol::quantifier; }
  bool is_annotation(const Symbol* s) const noexcept { return s->kind_ == Symbol::annotation; }

  bool is_array_read(const Symbol* s, const DataType** index, const DataType** element) const noexcept {
    return is_array(s, SymbolTag::ARRAY_READ, index, element);
  }
  bool is_array_write(const Symbol* s, const DataType** index, const DataType** element) const noexcept {
    return is_array(s, SymbolTag::ARRAY_WRITE, index, element);
  }
  bool is_array_const(const Symbol* s, const DataType** index, const DataType** element) const noexcept {
    return is_array(s, SymbolTag::ARRAY_CONST, index, element);
  }

  bool is_bv_add(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_ADD, w); }
  bool is_bv_and(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_AND, w); }
  bool is_bv_ashr(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_ASR, w); }
  bool is_bv_comp(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_COMP, w); }
  bool is_bv_lshl(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_LSL, w); }
  bool is_bv_lshr(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_LSR, w); }
  bool is_bv_mul(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_MUL, w); }
  bool is_bv_neg(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_NEG, w); }
  bool is_bv_not(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_NOT, w); }
  bool is_bv_or(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_OR, w); }
  bool is_bv_sdiv(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_SDIV, w); }
  bool is_bv_sle(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_SLE, w); }
  bool is_bv_slt(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_SLT, w); }
  bool is_bv_srem(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_SREM, w); }
  bool is_bv_sub(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_SUB, w); }
  bool is_bv_udiv(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_UDIV, w); }
  bool is_bv_ule(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_ULE, w); }
  bool is_bv_ult(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_ULT, w); }
  bool is_bv_urem(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_UREM, w); }
  bool is_bv_xor(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::BV_XOR, w); }

  /// Width of the first (high) argument, then of the second (low) one.
  bool is_bv_concat(const Symbol* s, size_t* w1, size_t* w2) const noexcept {
    return is(s, SymbolTag::BV_CONCAT, w1, w2);
  }
  /// Highest and lowest bit kept, then the width of the argument.
  bool is_bv_extract(const Symbol* s, size_t* msb, size_t* lsb, size_t* w) const noexcept {
    return is(s, SymbolTag::BV_SELECT, msb, lsb, w);
  }
  /// Number of bits added, then the width of the argument.
  bool is_bv_zero_extend(const Symbol* s, size_t* k, size_t* w) const noexcept {
    return is(s, SymbolTag::BV_ZEXT, k, w);
  }
  bool is_bv_sign_extend(const Symbol* s, size_t* k, size_t* w) const noexcept {
    return is(s, SymbolTag::BV_SEXT, k, w);
  }
  bool is_bv_rotate_left(const Symbol* s, size_t* amount, size_t* w) const noexcept {
    return is(s, SymbolTag::BV_ROL, amount, w);
  }
  bool is_bv_rotate_right(const Symbol* s, size_t* amount, size_t* w) const noexcept {
    return is(s, SymbolTag::BV_ROR, amount, w);
  }
  bool is_int_from_sbv(const Symbol* s, size_t* w) const noexcept {
    return is(s, SymbolTag::INT_FROM_SBV, w);
  }
  bool is_int_from_ubv(const Symbol* s, size_t* w) const noexcept {
    return is(s, SymbolTag::INT_FROM_UBV, w);
  }
  bool is_int_to_bv(const Symbol* s, size_t* w) const noexcept { return is(s, SymbolTag::INT_TO_BV, w); }
  bool is_int_modular_congruence(const Symbol* s, QNumber* modulus) const {
    if (s->tag_ != SymbolTag::INT_MOD_CONGR) return false;
    if (modulus != nullptr) *modulus = *s->number_;
    return true;
  }

  // Exponent width, then stored significand width.
  bool is_fp_abs(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_ABS, ew, mw);
  }
  bool is_fp_add(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_ADD, ew, mw);
  }
  bool is_fp_div(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_DIV, ew, mw);
  }
  bool is_fp_eq(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_EQ, ew, mw);
  }
  bool is_fp_le(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_LE, ew, mw);
  }
  bool is_fp_lt(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_LT, ew, mw);
  }
  bool is_fp_max(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_MAX, ew, mw);
  }
  bool is_fp_min(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_MIN, ew, mw);
  }
  bool is_fp_mul(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_MUL, ew, mw);
  }
  bool is_fp_neg(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_NEG, ew, mw);
  }
  bool is_fp_sqrt(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_SQRT, ew, mw);
  }
  bool is_fp_sub(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_SUB, ew, mw);
  }
  bool is_fp_as_ieeebv(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_AS_IEEEBV, ew, mw);
  }
  bool is_fp_from_ieeebv(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_FROM_IEEEBV, ew, mw);
  }
  bool is_fp_isinf(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_ISINF, ew, mw);
  }
  bool is_fp_isnan(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_ISNAN, ew, mw);
  }
  bool is_fp_isneg(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_ISNEG, ew, mw);
  }
  bool is_fp_isnormal(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_ISNORMAL, ew, mw);
  }
  bool is_fp_ispos(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_ISPOS, ew, mw);
  }
  bool is_fp_issubnormal(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_ISSUBNORMAL, ew, mw);
  }
  bool is_fp_iszero(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_ISZERO, ew, mw);
  }
  bool is_fp_round_to_int(const Symbol* s, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_ROUND_TO_INT, ew, mw);
  }
  /// Width of the bit-vector, then the destination format.
  bool is_fp_from_sbv(const Symbol* s, size_t* bv_width, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_FROM_SBV, bv_width, ew, mw);
  }
  bool is_fp_from_ubv(const Symbol* s, size_t* bv_width, size_t* ew, size_t* mw) const noexcept {
    return is(s, SymbolTag::FP_FROM_UBV, bv_width, ew, mw);
  }
  /// Source format, then the width of the result. Signed and unsigned conversions alike; see `is_fp_to_sbv`.
  bool is_fp_to_bv(const Symbol* s, size_t* ew, size_t* mw, size_t* bv_width) const noexcept {
    return is(s, SymbolTag::FP_TO_BV, ew, mw, bv_width);
  }
  bool is_fp_to_sbv(const Symbol* s) const noexcept {
    return s->tag_ == SymbolTag::FP_TO_BV && s->flag_ != 0;
  }
  bool is_fp_to_ubv(const Symbol* s) const noexcept {
    return s->tag_ == SymbolTag::FP_TO_BV && s->flag_ == 0;
  }
  bool is_fp_cast(const Symbol* s, size_t* src_ew, size_t* src_mw, size_t* dst_ew,
                  size_t* dst_mw) const noexcept {
    return is(s, SymbolTag::FP_CAST, src_ew, src_mw, dst_ew, dst_mw);
  }

  bool is_fprounding_even(const Symbol* s) const noexcept { return s == rounding_symbols_[0]; }
  bool is_fprounding_zero(const Symbol* s) const noexcept { return s == rounding_symbols_[1]; }
  bool is_fprounding_plus_inf(const Symbol* s) const noexcept { return s == rounding_symbols_[2]; }
  bool is_fprounding_minus_inf(const Symbol* s) const noexcept { return s == rounding_symbols_[3]; }
  bool is_fprounding_away(const Symbol* s) const noexcept { return s == rounding_symbols_[4]; }

  // Types.
  // ------------------------------------------------------------------------------------------------------------------

  /// The type of bit-vectors of `width` bits. \throws SortError when that is 0
  const DataType* get_bv_type(std::size_t width);
  /// `ew` exponent bits and `mw` stored significand bits; the SMT-LIB sort is `(_ FloatingPoint ew mw+1)`.
  /// \throws SortError when one of them is 0
  const DataType* get_fp_type(std::size_t ew, std::size_t mw);
  /// The type of arrays from `index` to `element`; any types of this manager will do. Here and in
  /// `apply_sort` \throws SortError for others and for null pointers
  const DataType* get_array_type(const DataType* index, const DataType* element);
  /// A declared sort: the same name gives the same sort. With parameters it is a constructor for
  /// `apply_sort`.
  const DataType* declare_sort(std::string_view name, std::size_t num_parameters = 0);
  /// A declared constructor applied to as many parameters as it was declared with.
  const DataType* apply_sort(const DataType* constructor, std::span<const DataType* const> parameters);

  /// Classification of types; constructors and width components are of none of these kinds.
  bool is_bv_type(const DataType* t) const noexcept { return t->is_constructed_by(bv_type_ctor, 2); }
  bool is_fp_type(const DataType* t) const noexcept { return t->is_constructed_by(fp_type_ctor, 2); }
  bool is_array_type(const DataType* t) const noexcept { return t->is_constructed_by(array_type_ctor, 3); }
  bool is_arithmetic_type(const DataType* t) const noexcept { return t == int_type || t == rat_type; }

  /// Width in bits of a bit-vector type, or of the width component of one; 0 for every other type.
  std::size_t get_width_from_type(const DataType* t) const noexcept {
    return t->params_[1] == 0 ? t->params_[0] : 0;
  }
  /// Format of a floating-point type, or of its format component; false for every other type.
  bool get_format_from_type(const DataType* t, std::size_t* ew, std::size_t* mw) const noexcept;

  /// The common supertype: of the integer and the rational type the rational one, of equal types that type;
  /// null when there is none.
  const DataType* get_supertype(const DataType* a, const DataType* b) const noexcept {
    if (a == b) return a;
    return is_arithmetic_type(a) && is_arithmetic_type(b) ? rat_type : nullptr;
  }

 private:
  template <class... Out>
  bool is(const Symbol* s, SymbolTag::tag tag, Out*... out) const noexcept {
    if (s->tag_ != tag) return false;
    [[maybe_unused]] const std::size_t* p = s->params_;
    ((out != nullptr ? void(*out = *p) : void(), ++p), ...);
    return true;
  }
  bool is_array(const Symbol* s, SymbolTag::tag tag, const DataType** index,
                const DataType** element) const noexcept;

  const Term* intern(const Symbol* symbol, Args args);
  const Term* new_term(const Symbol* symbol, Args args);
  const Term* simplified(const Symbol* symbol, Args args);
  bool fits(const Term* a, const DataType* wanted) const noexcept {
    return a != nullptr && (type_of(a) == wanted || (type_of(a) == int_type && wanted == rat_type));
  }
  bool is_integer(const Term* a) const noexcept { return a != nullptr && type_of(a) == int_type; }
  void check_args(const Symbol* symbol, Args args) const;
  void report_args(const Symbol* symbol, Args args) const;

  const Term* make_bv_unary(SymbolTag::tag tag, const Term* a);
  const Term* make_bv_binary(SymbolTag::tag tag, const Term* a, const Term* b);
  const Term* make_fp_unary(SymbolTag::tag tag, const Term* a);
  const Term* make_fp_binary(SymbolTag::tag tag, const Term* a, const Term* b);
  const Term* make_fp_rounded(SymbolTag::tag tag, const Term* rounding, const Term* a,
                              const Term* b = nullptr);
  struct Binding;
  void bind(Binding& b, const Term* a, std::size_t position);
  const Symbol* symbol_of(const Binding& b);
  [[noreturn]] void refuse(const char* op, std::size_t position, const Term* a, const char* wanted) const;
  [[noreturn]] void refuse(const char* op, std::size_t position, const Term* a, const DataType* wanted) const;
  const DataType* common_type(const char* op, const Term* a, const Term* b, std::size_t position) const;
  void check_array(const char* op, const Term* a) const;
  std::size_t checked_bv_width(const char* op, const Term* a, std::size_t position) const;
  void checked_format(const char* op, const Term* a, std::size_t position, std::size_t* ew,
                      std::size_t* mw) const;
  void check_type(const char* op, const Term* a, std::size_t position, const DataType* wanted) const;

  const Term* make_numeral(const QNumber& value, const DataType* type);
  Symbol* new_symbol(SymbolTag::tag tag, const char* name, std::span<const DataType* const> argument_types,
                     const DataType* result);
  Symbol* logged_symbol(SymbolTag::tag tag, const char* name, std::span<const DataType* const> argument_types,
                        const DataType* result);
  void forget_term(const Term* t) noexcept;
  void forget_symbol(const Symbol* s, const void* key) noexcept;
  void forget_sorts(std::size_t num_types, std::size_t num_declared) noexcept;
  /// The sorts of an operator's arguments and of its result.
  struct Sorts {
    const DataType* arguments[4];
    const DataType* result;
  };
  const DataType* sort_at(SortPattern pattern, const char* op, const std::size_t* params,
                          const DataType* type);
  Sorts sorts_of(const OperatorRow& row, const std::size_t* params, const DataType* type);
  Symbol* new_operator_symbol(SymbolTag::tag tag, const std::size_t* params, const DataType* type);
  const Symbol* make_param_symbol(SymbolTag::tag tag, std::uint16_t flag, const std::size_t (&params)[4]);
  void insert_param_symbol(const Symbol* symbol);
  void remove_param_symbol(const Symbol* symbol) noexcept;
  const Symbol* make_array_symbol(SymbolTag::tag tag, const DataType* array_type);
  const Symbol* named_symbol(SymbolTag::tag tag, std::string_view name,
                             std::span<const DataType* const> argument_types, const DataType* result);
  DataType* new_basic_type(std::string_view name);
  const DataType* constructed_type(const DataType* ctor, std::span<const DataType* const> parameters);
  const char* copy_name(std::string_view name);
  const char* interned_name(std::string_view name);
  const Symbol* constant_symbol(const char* name, const DataType* type);

  TermSimplifier* simplifier_ = nullptr;
  std::uint64_t next_id_ = 0;
  std::uint64_t visits_ = 0;
  std::uint64_t expansion_ = 0;
  std::uint64_t steps_ = 0;
  SumWork sum_limit_;
  std::size_t number_bytes_ = 0;
  std::uint64_t num_releases_ = 0;
  static constexpr std::uint64_t no_mark = ~std::uint64_t{0};
  std::uint64_t first_mark_ = no_mark;
  std::uint64_t last_mark_ = no_mark;
  MemoryAccount account_;
  Arena arena_{account_};    // terms alone, one after the other
  Arena symbols_{account_};  // symbols and names
  TermTable terms_{&account_};
  NumberTable number_terms_{account_};
  // The integers that occur most, from -num_low_integers on, once they were made.
  static constexpr std::uint64_t num_low_integers = 256;
  std::array<const Term*, 1024> low_integers_{};
  std::vector<std::unique_ptr<std::vector<const Term*>>> arg_vectors_;  // recycled by nested simplifications
  std::size_t arg_vectors_used_ = 0;
  const Symbol* rounding_symbols_[5] = {};
  std::unique_ptr<SymbolTables> tables_;

  friend class ArgVector;
};

}  // namespace quarv
