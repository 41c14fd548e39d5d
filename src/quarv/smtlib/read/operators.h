#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>
#include <vector>

#include <quarv/smtlib/read/application_error.h>
#include <quarv/term/term_manager.h>

namespace quarv::smtlib {

/// The largest width of a bit-vector, in bits, that the reader accepts; it bounds what a short text can cost.
inline constexpr std::size_t max_width = max_number_bits;

/// The largest exponent width of floating-point numbers, in bits, that operations take. Sorts and literals
/// with more, up to `max_width`, are read and printed.
inline constexpr std::size_t max_exponent_width = 30;

/// What the builder of an operator gets besides its arguments.
struct OperatorContext {
  explicit OperatorContext(TermManager& m) : manager(m) {}

  TermManager& manager;
  bool canonical_nan = true;             ///< all NaN literals are one
  std::span<const std::size_t> indices;  ///< of `(_ extract 7 0)`: 7, 0
  std::vector<const Term*> scratch;      ///< for builders of operators with any number of arguments

  /// A term made for `(mod t n)`, n a positive numeral, with t and the numeral: comparing it with a numeral
  /// is a congruence.
  struct Remainder {
    const Term* dividend = nullptr;
    const Term* modulus = nullptr;
  };
  hsh::HashMap<const Term*, Remainder> remainders;
};

/// An operator of an SMT-LIB theory: how many indices and arguments it takes, and how it is expressed by the
/// operators that the library has. A builder throws SortError when the arguments do not fit; what that says
/// is for `explained`, which knows the operator's name and the sorts of its arguments.
///
/// `sorts` has a letter for each argument, the last one for all that follow:
///
///     B  Bool            v  a bit-vector            F  a floating-point number, as the first F
///     I  Int             V  as the first V          S  of one sort with those before
///     N  Int or Real     b  (_ BitVec 1)            X  any number, or a bit-vector
///     R  RoundingMode    A  an array, K its index, E its element
struct OperatorDefinition {
  using Args = std::span<const Term* const>;
  using Build = const Term* (*)(OperatorContext&, Args);
  static constexpr std::uint32_t any_number = std::numeric_limits<std::uint32_t>::max();

  std::string_view name;
  std::uint32_t min_args = 0;
  std::uint32_t max_args = 0;
  std::uint32_t num_indices = 0;
  std::string_view sorts;
  Build build = nullptr;
  bool reserved = false;           ///< of the core theory: may not be declared anew
  bool index_is_argument = false;  ///< its index, of any size, comes as a numeral before the arguments
};

/// The operators that are read as their rows in quarv/term/operators.h say, of all theories.
std::span<const OperatorDefinition> table_operators();
/// Definitions of the others: of the theories Core, Ints, Reals and ArraysEx,
std::span<const OperatorDefinition> core_operators();
/// of FixedSizeBitVectors and its usual extensions,
std::span<const OperatorDefinition> bit_vector_operators();
/// and of FloatingPoint.
std::span<const OperatorDefinition> floating_point_operators();

/// All of these; no name stands in two of them.
inline std::array<std::span<const OperatorDefinition>, 4> all_operators() {
  return {table_operators(), core_operators(), bit_vector_operators(), floating_point_operators()};
}

/// A word in which z3 prints an operator of the standard in its own output, of its tactics for instance. In
/// its totals (`bvudiv_i`) the divisor is known not to be zero; it computes with them as with the standard's.
struct SolverWord {
  std::string_view word;
  std::string_view standard;
};

/// Words that are read as the standard's operators where the script declares nothing of that name.
std::span<const SolverWord> solver_words();

// Building blocks of the tables.
// -------------------------------------------------------------------------------------------

namespace build {

/// The literal of `width` bits that is congruent to the integer `value`. Throws SortError.
QUARV_API const Term* bit_vector(TermManager& manager, const QNumber& value, std::size_t width);

using Args = OperatorDefinition::Args;

template <auto Make>
const Term* unary(OperatorContext& c, Args a) {
  return (c.manager.*Make)(a[0]);
}

template <auto Make>
const Term* binary(OperatorContext& c, Args a) {
  return (c.manager.*Make)(a[0], a[1]);
}

template <auto Make>
const Term* ternary(OperatorContext& c, Args a) {
  return (c.manager.*Make)(a[0], a[1], a[2]);
}

/// The binary operator with its arguments exchanged: `>=` from `<=`.
template <auto Make>
const Term* swapped(OperatorContext& c, Args a) {
  return (c.manager.*Make)(a[1], a[0]);
}

/// The negation of a binary predicate.
template <auto Make>
const Term* negated(OperatorContext& c, Args a) {
  return c.manager.make_not((c.manager.*Make)(a[0], a[1]));
}

/// The negation of a binary predicate with its arguments exchanged: `<` from `<=`.
template <auto Make>
const Term* swapped_negated(OperatorContext& c, Args a) {
  return c.manager.make_not((c.manager.*Make)(a[1], a[0]));
}

/// The bitwise or Boolean complement of a binary operation.
template <auto Make, auto Complement>
const Term* complemented(OperatorContext& c, Args a) {
  return (c.manager.*Complement)((c.manager.*Make)(a[0], a[1]));
}

/// An associative operator with any number of arguments, built from the right: a + (b + (c + d)). All
/// arguments exist before the chain does, so that in each link the single argument has the smaller id.
template <auto Make>
const Term* associative(OperatorContext& c, Args a) {
  const Term* chain = a.back();
  for (std::size_t i = a.size() - 1; i-- > 0;) chain = (c.manager.*Make)(a[i], chain);
  return chain;
}

template <OperatorDefinition::Build Pair>
const Term* right_associative(OperatorContext& c, Args a) {
  const Term* chain = a.back();
  for (std::size_t i = a.size() - 1; i-- > 0;) {
    const Term* pair[] = {a[i], chain};
    chain = Pair(c, Args(pair));
  }
  return chain;
}

/// A left-associative operator that is not associative: ((a - b) - c) - d.
template <OperatorDefinition::Build Pair>
const Term* left_associative(OperatorContext& c, Args a) {
  const Term* chain = a[0];
  for (std::size_t i = 1; i < a.size(); ++i) {
    const Term* pair[] = {chain, a[i]};
    chain = Pair(c, Args(pair));
  }
  return chain;
}

const Term* conjunction(OperatorContext& c, Args a);

/// A chainable predicate: (< a b c) is a < b and b < c.
template <OperatorDefinition::Build Pair>
const Term* chainable(OperatorContext& c, Args a) {
  if (a.size() == 2) return Pair(c, a);
  std::vector<const Term*> links;
  for (std::size_t i = 0; i + 1 < a.size(); ++i) links.push_back(Pair(c, a.subspan(i, 2)));
  return conjunction(c, links);
}

/// An interpreted operator that has no counterpart in the library: kept by name, with its arguments' sorts.
const Term* opaque(OperatorContext& c, std::string_view name, Args a, const DataType* result);

/// Throws ApplicationError for an index; the message lacks the operator's name.
[[noreturn]] void bad_index(std::size_t position, const std::string& message);

/// Throws ApplicationError for floating-point numbers with more exponent bits than operations take.
void check_exponents(const OperatorContext& c, Args a);

/// Throws SortError unless a floating-point sort can have these widths (the significand's with the hidden
/// bit). Operations may take fewer exponent bits.
void check_format(std::size_t exponent_bits, std::size_t significand_bits);

const Term* make_infinity(TermManager& m, bool negative, std::size_t ew, std::size_t mw);
const Term* make_zero(TermManager& m, bool negative, std::size_t ew, std::size_t mw);

}  // namespace build
}  // namespace quarv::smtlib
