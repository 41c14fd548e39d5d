#pragma once

#include <quarv/simpl/std_term_simplifier.h>

/// Operators on bit-vector literals that change the width. Nothing else is rewritten.
namespace quarv::termsimpl {

/// The first operand gives the upper bits, the second the lower ones.
class BVConcatSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// A range of bits.
class BVSelectSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// Extension by zeros.
class BVZextSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// Extension by copies of the sign bit.
class BVSextSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

}  // namespace quarv::termsimpl
