#pragma once

#include <quarv/simpl/std_term_simplifier.h>

/// The predicates that tell classes of numbers apart, decided for literals.
namespace quarv::termsimpl {

/// NaN.
class FpIsNaNSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// An infinity.
class FpIsInfSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// A zero of either sign.
class FpIsZeroSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// Not zero, with a magnitude below that of every normal number.
class FpIsSubnormalSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// Finite, neither zero nor subnormal.
class FpIsNormalSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// Not NaN, and the sign bit is set: so for -0.
class FpIsNegSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// Not NaN, and the sign bit is not set: so for +0.
class FpIsPosSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

}  // namespace quarv::termsimpl
