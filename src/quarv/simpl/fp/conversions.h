#pragma once

#include <quarv/simpl/std_term_simplifier.h>

/// Conversions between formats, and between floating-point numbers and bit-vectors. Those that round fold
/// under the four constant modes that `IEEEFloat` has.
namespace quarv::termsimpl {

/// The number rounded to another format.
class FpCastSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// The number rounded to an integer, in two's complement if it is negative. What stands for NaN and for
/// numbers that the bit-vector can hold neither signed nor unsigned is told by `IEEEFloat::to_integer`.
class FpToBvSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// The signed value of a bit-vector, rounded.
class FpFromSBvSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// The unsigned value of a bit-vector, rounded.
class FpFromUBvSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// The encoding, bit for bit, also that of a NaN.
class FpAsIEEEBvSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// The number with this encoding, bit for bit.
class FpFromIEEEBvSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

}  // namespace quarv::termsimpl
