#pragma once

#include <vector>

#include <quarv/simpl/extended/free_variables.h>
#include <quarv/term/term_manager.h>

namespace quarv::termsimpl::extended {

/// A linear equation has a solution for a variable that occurs in it once, of sort Real; of sort Int, when it
/// counts once or minus once and all the rest is integral.
bool is_linear_in(TermManager& m, FreeVariables& free, const BoundVariables& variables, const Term* equation);

/// The body of a quantifier with what conjuncts under `exists`, premises under `forall`, define some of the
/// variables as: `(and (= k 3) (< k i))` is `(< 3 i)`. `others` are the variables that are left. Null where
/// nothing is defined.
const Term* with_definitions(TermManager& m, FreeVariables& free, bool universal,
                             const BoundVariables& variables, const Term* body,
                             std::vector<const Term*>& others);

}  // namespace quarv::termsimpl::extended
