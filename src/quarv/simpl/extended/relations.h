#pragma once

#include <quarv/term/term_manager.h>

namespace quarv::termsimpl::extended {

/// Two comparisons of the same two terms as one: (or (bvult a b) (= a b)) is (bvule a b). Null where
/// they are not such.
const Term* joined_comparisons(TermManager& m, const Term* a, const Term* b, bool is_conjunction);

/// Two congruences of one term as one: it is not even and odd at once, and one of the two. Null where they
/// are not such, and where they say more than one.
const Term* joined_congruences(TermManager& m, const Term* a, const Term* b, bool is_conjunction);

/// What the classes of a float exclude: it is not NaN and zero at once, and NaN is not less than anything.
/// False for a conjunction of such, null otherwise.
const Term* joined_classes(TermManager& m, const Term* a, const Term* b);

}  // namespace quarv::termsimpl::extended
