#pragma once

#include <quarv/simpl/arith/poly_norm.h>
#include <quarv/simpl/std_term_simplifier.h>

namespace quarv {
class DataType;
}

namespace quarv::termsimpl {

/// Applications of declared functions: every arithmetic argument is brought into normal form, the monomials
/// in ascending order of id and the constant last, so that f(x + 1 + 1) and f(2 + x) are one term. Arguments
/// of other types stay as they are.
class UfArgArithSimpl : public StdTermSimplifier::simpl_fun {
 public:
  explicit UfArgArithSimpl(TermManager* mgr);
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;

 private:
  const Term* normalize(TermManager* mgr, const Term* t);

  const DataType* rat_type_;
  const DataType* int_type_;
  Polynomial poly_;  // storage that is reused; no value survives a call
};

}  // namespace quarv::termsimpl
