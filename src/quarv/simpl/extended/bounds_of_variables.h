#pragma once

#include <vector>

#include <quarv/simpl/extended/free_variables.h>
#include <quarv/term/term_manager.h>

namespace quarv::termsimpl::extended {

/// What is left of a conjunction below `exists`, of a disjunction below `forall`, where some variable only
/// has linear bounds in it, and at most one on one side: there is a number between two if these are in order.
/// `(exists ((z Real)) (and (< x z) (< z y)))` is `(< x y)`. Null where there is no such variable; otherwise
/// `others` are the remaining ones.
const Term* without_bounded_variable(TermManager& m, FreeVariables& free, bool universal,
                                     const BoundVariables& variables,
                                     const std::vector<const Term*>& operands,
                                     std::vector<const Term*>& others);

}  // namespace quarv::termsimpl::extended
