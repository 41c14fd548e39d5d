#pragma once

#include <string_view>

namespace quarv::cli {

/// The file proofs/bitvector.tsv: a line for each standard rule, with the fields number, digest of the
/// statement, proof, and where the rule holds. Lines of remarks begin with '#'.
std::string_view rule_proofs();
/// The file proofs/extended.tsv.
std::string_view extended_rule_proofs();

}  // namespace quarv::cli
