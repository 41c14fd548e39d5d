#pragma once

#include <quarv/simpl/arith/poly_norm.h>
#include <quarv/simpl/std_term_simplifier.h>

namespace quarv::termsimpl {

/// Integer congruences a = b modulo m. Without monomials they are decided; the others become: a polynomial
/// with a positive leading coefficient, congruent to a remainder.
///
/// The remainder is that of `QNumber::divmod`: between -m and m, with the sign of the number when the
/// computation stayed within machine words; at least 0 when it did not.
class IntModCongrSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;

 private:
  Polynomial poly_;  // storage that is reused; no value survives a call
};

}  // namespace quarv::termsimpl
