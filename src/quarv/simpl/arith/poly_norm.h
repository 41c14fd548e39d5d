/// \file
/// The normal form of linear arithmetic: a sum of monomials with rational coefficients, and a constant.
///
/// A monomial is any arithmetic term but a numeral, a sum, or a product with a numeral: a variable, an
/// application, a product of two other terms, and so on.
#pragma once

#include <cstddef>
#include <vector>

#include <quarv/numbers/q_number.h>
#include <quarv/term/term.h>
#include <quarv/util/hash_map.h>

namespace quarv {

class TermManager;

namespace termsimpl {

/// Coefficients by monomial.
using MonomialMap = hsh::HashMap<const Term*, QNumber>;

/// Normalises `lhs - rhs`, or `lhs` alone when `rhs` is null. Takes time linear in the DAG of sums and scaled
/// terms, however many paths lead through it, and sorts the monomials.
///
/// Returns false when there is no normal form because a number in it would be larger than the manager allows,
/// or because large sums have been normalised out of proportion; what has been computed is of no use then.
///
/// \param to_integer   whether to scale by the positive rational that makes the coefficients of the monomials
///                     coprime integers; the constant is scaled with them and may be fractional
/// \param monomials    gets those with a coefficient other than 0 appended, then is sorted by ascending id
/// \param coeffs       gets the coefficient of each monomial, also those that cancelled to 0; to be passed
///                     empty
/// \param constant     the constant is added to it
/// \param all_integer  set to whether every monomial, cancelled ones included, is of the integer type
bool poly_norm(TermManager* mgr, const Term* lhs, const Term* rhs, bool to_integer,
               std::vector<const Term*>* monomials, MonomialMap* coeffs, QNumber* constant,
               bool* all_integer);

/// The term m1 + (m2 + (... + mn)) of the listed monomials with their coefficients, built without further
/// simplification; null for an empty list. A coefficient 1 is left out.
/// \param scratch  two elements, overwritten
const Term* poly_to_term(TermManager* mgr, const std::vector<const Term*>& monomials, MonomialMap& coeffs,
                         std::vector<const Term*>& scratch);

/// A normal form together with the storage that it was computed in, to be used for one expression after the
/// other.
struct Polynomial {
  std::vector<const Term*> monomials;
  MonomialMap coeffs;
  QNumber constant;
  bool all_integer = true;
  std::vector<const Term*> scratch;  ///< argument list of the terms that are built

  /// Becomes the normal form of `lhs - rhs`; false when there is none, or when it is so long that it may not
  /// be written. See `poly_norm`.
  [[nodiscard]] bool normalize(TermManager* mgr, const Term* lhs, const Term* rhs, bool to_integer);

  /// Negates the coefficients, but not the constant.
  void negate_coefficients();

  /// Whether the monomial with the smallest id has a negative coefficient. \pre there are monomials
  bool leading_coefficient_is_negative() { return coeffs.find(monomials.front())->sign() < 0; }

  /// The sum without the constant; null when there are no monomials.
  const Term* to_term(TermManager* mgr);
};

}  // namespace termsimpl
}  // namespace quarv
