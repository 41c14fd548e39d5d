#pragma once

#include <quarv/export.h>

namespace quarv {

class TermNormalizer;

/// Registers the standard rewrite rules for bit-vectors, in the order of `bitvector.rules`.
QUARV_API void register_bitvector_rules(TermNormalizer* normalizer);

}  // namespace quarv
