#pragma once

#include <quarv/term/term_manager.h>

namespace quarv::termsimpl::extended {

/// Two comparisons of the same two bit-vectors as one: (or (bvult a b) (= a b)) is (bvule a b). Null where
/// they are not such.
const Term* joined_comparisons(TermManager& m, const Term* a, const Term* b, bool is_conjunction);

}  // namespace quarv::termsimpl::extended
