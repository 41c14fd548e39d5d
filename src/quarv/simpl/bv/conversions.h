#pragma once

#include <quarv/simpl/std_term_simplifier.h>

/// Conversions between integers and bit-vectors.
namespace quarv::termsimpl {

/// The integer modulo 2^w. The conversion of a bit-vector that was read as an integer, and is not longer than
/// w, is that bit-vector, extended as it was read.
class IntToBvSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// The unsigned value of a literal.
class IntFromUBvSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// The signed value of a literal, in two's complement.
class IntFromSBvSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

}  // namespace quarv::termsimpl
