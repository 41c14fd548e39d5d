#pragma once

#include <vector>

#include <quarv/export.h>
#include <quarv/simpl/extended/array_reads.h>
#include <quarv/simpl/extended/free_variables.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_simplifier.h>

namespace quarv {

/// Simplifications beside the required ones, for all theories: absorption and complements, if-then-else,
/// reads over writes, sums that cancel, constants that the standard simplifiers leave open, quantifiers
/// without variables. What they have nothing to say of is for the next simplifier. Each of them holds for all
/// values under the SMT-LIB standard.
class QUARV_API ExtendedSimplifier : public TermSimplifier {
 public:
  /// Neither is owned; both must live as long as this. `observed` has the observer that is told of each step.
  ExtendedSimplifier(TermSimplifier& next, const StdTermSimplifier& observed)
      : next_(next), observed_(observed) {}

  const Term* simplify(TermManager* manager, const Symbol* symbol,
                       const std::vector<const Term*>& args) override;

 private:
  const Term* simplified(TermManager& m, const Symbol* s, std::span<const Term* const> args);

  TermSimplifier& next_;
  const StdTermSimplifier& observed_;
  termsimpl::extended::ArrayReads arrays_;
  termsimpl::extended::FreeVariables free_variables_;
  int depth_ = 0;
};

}  // namespace quarv
