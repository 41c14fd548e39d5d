#pragma once

#include <quarv/simpl/std_term_simplifier.h>

/// Comparisons of bit-vector literals, unsigned and signed in two's complement. Nothing else is rewritten:
/// not even the comparison of a term with itself.
namespace quarv::termsimpl {

/// a < b, unsigned.
class BVUltSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// a <= b, unsigned.
class BVUleSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// a < b, signed.
class BVSltSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// a <= b, signed.
class BVSleSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// The one-bit vector 1 when a = b, else 0.
class BVCompSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

}  // namespace quarv::termsimpl
