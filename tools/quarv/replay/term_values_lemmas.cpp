/// \file
/// What is known of the variables of truth functions.
#include "replay/term_values.h"

namespace quarv::cli {

std::vector<BitProof::Lemma> TermValues::lemmas(Bit) {
  return {};
}

}  // namespace quarv::cli
