#pragma once

#include <quarv/simpl/std_term_simplifier.h>

/// Shifts of bit-vector literals by an amount that is a literal of the same width, unsigned. Nothing else is
/// rewritten. By the width or more, everything is shifted out.
namespace quarv::termsimpl {

/// To the left; zeros come in.
class BVLslSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// Logically to the right; zeros come in.
class BVLsrSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// Arithmetically to the right; copies of the sign bit come in.
class BVAsrSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

}  // namespace quarv::termsimpl
