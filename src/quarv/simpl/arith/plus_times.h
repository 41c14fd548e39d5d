#pragma once

#include <quarv/simpl/std_term_simplifier.h>

/// Sums and products of two terms: numerals are folded, neutral and absorbing ones removed, arguments put in
/// canonical order.
namespace quarv::termsimpl {

/// Arguments in ascending order of id, numerals like any other term.
class PlusSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

/// A numeral factor comes first, whatever the ids; other arguments are in ascending order of id.
class TimesSimpl : public StdTermSimplifier::simpl_fun {
 public:
  const Term* operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) override;
};

}  // namespace quarv::termsimpl
