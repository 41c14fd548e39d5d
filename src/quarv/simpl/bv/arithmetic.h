#pragma once

#include <quarv/simpl/std_term_simplifier.h>

/// Arithmetic on bit-vector literals, modulo 2^w. Nothing else is rewritten. Division follows SMT-LIB: the
/// unsigned quotient by 0 is all ones, the unsigned remainder by 0 the dividend; the signed forms are defined
/// by the unsigned ones on magnitudes.
namespace quarv::termsimpl {

class BVAddSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

class BVSubSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

class BVMulSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

class BVNegSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// Unsigned quotient.
class BVUdivSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// Signed quotient, rounded toward zero; by 0 it is 1 for a negative dividend and all ones for any other.
class BVSdivSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// Unsigned remainder.
class BVUremSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// Signed remainder with the sign of the dividend; by 0 it is the dividend.
class BVSremSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

}  // namespace quarv::termsimpl
