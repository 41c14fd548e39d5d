#pragma once

#include <quarv/simpl/std_term_simplifier.h>

namespace quarv::termsimpl {

/// Equality of operands that are not arithmetic: Booleans, bit-vectors, floating point, arrays, uninterpreted
/// sorts. Equal operands, distinct numerals, constant arrays and array values are decided; of the rest the
/// operands are put in canonical order: a lone numeral second, otherwise by ascending id.
class GenericEqSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

}  // namespace quarv::termsimpl
