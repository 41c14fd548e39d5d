/// \file
/// How long the random and the exhaustive tests run.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace quarv {

/// By how much a random test exceeds its default count: the environment variable QUARV_TEST_SCALE, 1 if not
/// set.
inline int test_scale() {
  const char* const text = std::getenv("QUARV_TEST_SCALE");
  return text == nullptr ? 1 : std::max(1, std::atoi(text));
}

/// Of how many cases an exhaustive test tries one: all of them, but with sanitizers, under which a case takes
/// ten times as long and it is enough that each line of code runs, one of `n`, unless QUARV_TEST_SCALE is
/// set.
inline std::size_t one_in_when_sanitized([[maybe_unused]] std::size_t n) {
#ifdef __SANITIZE_ADDRESS__
  return std::getenv("QUARV_TEST_SCALE") == nullptr ? n : 1;
#else
  return 1;
#endif
}

}  // namespace quarv
