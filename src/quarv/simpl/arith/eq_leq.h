#pragma once

#include <quarv/simpl/arith/generic_eq.h>
#include <quarv/simpl/arith/poly_norm.h>

namespace quarv {
class DataType;
}

namespace quarv::termsimpl {

/// Equalities of all types, and inequalities `a <= b`.
///
/// Arithmetic atoms reach one form: a polynomial with coprime integer coefficients and a positive leading
/// coefficient, compared with a numeral. Bounds of integer polynomials are tightened, atoms without monomials
/// and integer equalities without solutions disappear. An equality of two declared constants or applications
/// only has its operands ordered.
class EqLeqSimpl : public StdTermSimplifier::simpl_fun {
 public:
  explicit EqLeqSimpl(TermManager* mgr);
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;

 private:
  const DataType* rat_type_;
  const DataType* int_type_;
  GenericEqSimpl generic_;
  Polynomial poly_;  // storage that is reused; no value survives a call

  const Term* polynomial_atom(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args,
                              bool is_equality);
};

}  // namespace quarv::termsimpl
