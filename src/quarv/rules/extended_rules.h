#pragma once

#include <quarv/export.h>

namespace quarv {

class TermNormalizer;

/// Registers the rewrite rules of `extended.rules`, which make terms smaller beside the standard ones. Each
/// holds for all values.
QUARV_API void register_extended_rules(TermNormalizer* normalizer);

}  // namespace quarv
