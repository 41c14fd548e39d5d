/// \file
/// How long the random tests run.
#pragma once

#include <algorithm>
#include <cstdlib>

namespace quarv {

/// By how much a random test exceeds its default count: the environment variable QUARV_TEST_SCALE, 1 if not
/// set.
inline int test_scale() {
  const char* const text = std::getenv("QUARV_TEST_SCALE");
  return text == nullptr ? 1 : std::max(1, std::atoi(text));
}

}  // namespace quarv
