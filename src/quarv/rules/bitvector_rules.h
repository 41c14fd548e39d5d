#pragma once

namespace quarv {

class TermNormalizer;

/// Registers the 184 standard rewrite rules for bit-vectors, in the order of `bitvector.rules`.
void register_bitvector_rules(TermNormalizer* normalizer);

}  // namespace quarv
