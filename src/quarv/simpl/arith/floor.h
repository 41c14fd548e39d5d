#pragma once

#include <quarv/simpl/std_term_simplifier.h>

namespace quarv::termsimpl {

/// The greatest integer that is not above a term. Numerals are folded, and summands of the integer type move
/// out of a sum: floor(i + r) is i + floor(r).
class FloorSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

}  // namespace quarv::termsimpl
