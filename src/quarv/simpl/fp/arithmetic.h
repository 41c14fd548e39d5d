#pragma once

#include <quarv/simpl/std_term_simplifier.h>

/// The operations that round. They fold as IEEE 754 prescribes when the operands are literals and the
/// rounding mode is one of the four constants that `IEEEFloat` has.
namespace quarv::termsimpl {

/// The literal that the operator of tag `op` gives for a rounding term and the operands `a` and `b` (null for
/// operators on one operand) of the format (`ew`, `mw`). Null when an operand is not a literal or the mode
/// not one of the four constants; null for every tag but `FP_ADD`, `FP_SUB`, `FP_MUL`, `FP_DIV` and
/// `FP_SQRT`. May set bits of `swflt::float_exception_flags`.
const Term* fp_eval_bin_op(SymbolTag::tag op, TermManager* mgr, std::size_t ew, std::size_t mw,
                           const Term* rounding, const Term* a, const Term* b);

/// a + b. An addition that does not fold gets its operands in ascending order of id.
class FpAddSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// a - b.
class FpSubSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// a * b. A product that does not fold gets its operands in ascending order of id.
class FpMulSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// a / b.
class FpDivSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// The square root.
class FpSqrtSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// The nearest integral number in the direction of the mode: rebuilt, never folded. Not among the standard
/// simplifiers.
class FpRoundToIntSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

}  // namespace quarv::termsimpl
