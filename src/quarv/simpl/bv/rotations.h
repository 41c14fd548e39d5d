#pragma once

#include <quarv/simpl/std_term_simplifier.h>

/// Rotations of bit-vector literals by an amount that is part of the operator. Nothing else is rewritten. The
/// amount is not reduced modulo the width: folding takes one step for each bit of it.
namespace quarv::termsimpl {

class BVRolSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

class BVRorSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

}  // namespace quarv::termsimpl
