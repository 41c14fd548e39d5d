#pragma once

#include <quarv/simpl/std_term_simplifier.h>

/// Operations whose result is an operand, perhaps with another sign: nothing is rounded.
namespace quarv::termsimpl {

/// The opposite number. A NaN keeps its sign.
class FpNegSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// The absolute value. A NaN keeps its sign.
class FpAbsSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// The lesser of two literals; a number if one is NaN, the first of two NaNs; +0 for two zeros of opposite
/// sign.
class FpMinSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// The greater of two literals; a number if one is NaN, the first of two NaNs; +0 for two zeros of opposite
/// sign.
class FpMaxSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

}  // namespace quarv::termsimpl
