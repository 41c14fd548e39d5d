/// \file
/// Simplifications beside the required ones, by family. Each function returns a term equal to `s(args)` for
/// all values under the SMT-LIB standard, or null when it has nothing to say.
///
/// They look at a bounded part of a term, and every result is smaller than what it stands for, or as large
/// with simpler operators: fewer if-then-else, fewer variables. Therefore they end, in time linear in what is
/// built.
#pragma once

#include <span>

#include <quarv/term/term.h>

namespace quarv {

class TermManager;

namespace termsimpl::extended {

class FreeVariables;

using Args = std::span<const Term* const>;

// Core.
const Term* simplify_and(TermManager& m, const Symbol* s, Args args);
const Term* simplify_or(TermManager& m, const Symbol* s, Args args);
const Term* simplify_not(TermManager& m, const Symbol* s, Args args);
const Term* simplify_iff(TermManager& m, const Symbol* s, Args args);
const Term* simplify_ite(TermManager& m, const Symbol* s, Args args);
const Term* simplify_equal(TermManager& m, const Symbol* s, Args args);
const Term* compare_with_branch(TermManager& m, const Symbol* s, Args args);
/// An operator on if-then-elses whose branches are values, and on values: `(bvult (ite c #x01 #x05) #x03)` is
/// `c`.
const Term* lift_values(TermManager& m, const Symbol* s, Args args);

// Arithmetic.
const Term* simplify_plus(TermManager& m, const Symbol* s, Args args);
const Term* simplify_times(TermManager& m, const Symbol* s, Args args);
/// `(= product 0)`.
const Term* product_is_zero(TermManager& m, const Term* product);
/// Whether a product has no factor an odd number of times: it is not negative.
bool is_square(const TermManager& m, const Term* product);
const Term* simplify_floor(TermManager& m, const Symbol* s, Args args);
const Term* simplify_congruence(TermManager& m, const Symbol* s, Args args);
const Term* simplify_leq(TermManager& m, const Symbol* s, Args args);
const Term* simplify_arithmetic_equal(TermManager& m, const Symbol* s, Args args);

// Bit-vectors.
/// Operators that move bits about, or of which some bits are known.
const Term* simplify_bit_structure(TermManager& m, const Symbol* s, Args args);
/// Equalities and comparisons, decided or made narrower.
const Term* simplify_bit_comparison(TermManager& m, const Symbol* s, Args args);
/// What two equal sums have in common is taken out of both.
const Term* cancel_in_bit_sums(TermManager& m, const Term* a, const Term* b);
/// Likewise for exclusive ors.
const Term* cancel_in_parities(TermManager& m, const Term* a, const Term* b);
/// Identities of single operators, whatever the order of their operands.
const Term* simplify_bit_identity(TermManager& m, const Symbol* s, Args args);
/// Operators that make a single bit: the flags of a processor.
const Term* simplify_single_bit(TermManager& m, const Symbol* s, Args args);
/// `(= t value)` for a single bit.
const Term* simplify_bit_equation(TermManager& m, const Term* t, const Term* value);

// Floating point.
const Term* fold_float(TermManager& m, const Symbol* s, Args args);
const Term* simplify_float(TermManager& m, const Symbol* s, Args args);

// What is known by name alone.
const Term* simplify_named(TermManager& m, const Symbol* s, Args args);
/// Bit-vectors as integers, compared.
const Term* compare_converted(TermManager& m, const Symbol* s, Args args);
const Term* simplify_to_integer(TermManager& m, const Symbol* s, Args args);
const Term* simplify_to_bits(TermManager& m, const Symbol* s, Args args);
const Term* simplify_quantifier(TermManager& m, FreeVariables& free, const Symbol* s, Args args);

}  // namespace termsimpl::extended
}  // namespace quarv
