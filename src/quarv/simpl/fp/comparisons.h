#pragma once

#include <quarv/simpl/std_term_simplifier.h>

/// Comparisons by value: zeros are equal whatever their signs, and with a NaN every comparison is false.
namespace quarv::termsimpl {

/// a = b. An equality that does not fold gets its operands in ascending order of id.
class FpEqSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// a < b.
class FpLtSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// a <= b.
class FpLeSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

}  // namespace quarv::termsimpl
