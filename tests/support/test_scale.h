/// \file
/// How long the random and the exhaustive tests run.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <ranges>
#include <vector>

namespace quarv {

/// Of how many cases an exhaustive test tries one: all of them, but with sanitizers, under which a case takes
/// ten times as long and it is enough that each line of code runs, one of `n`, unless the environment
/// variable QUARV_TEST_SCALE is set.
inline std::size_t one_in_when_sanitized([[maybe_unused]] std::size_t n) {
#ifdef __SANITIZE_ADDRESS__
  return std::getenv("QUARV_TEST_SCALE") == nullptr ? n : 1;
#else
  return 1;
#endif
}

/// Those of the cases of a table that are tried: all, or with sanitizers one of `n`.
template <std::ranges::input_range Cases>
std::vector<std::ranges::range_value_t<Cases>> one_in_when_sanitized(std::size_t n, const Cases& cases) {
  std::vector<std::ranges::range_value_t<Cases>> tried;
  std::size_t number = 0;
  for (const auto& c : cases) {
    if (number++ % one_in_when_sanitized(n) == 0) tried.push_back(c);
  }
  return tried;
}

/// By how much a random test exceeds its default count: QUARV_TEST_SCALE, 1 if that is not set.
inline int test_scale() {
  const char* const text = std::getenv("QUARV_TEST_SCALE");
  return text == nullptr ? 1 : std::max(1, std::atoi(text));
}

/// How many cases a random test tries that by default tries the given number: with sanitizers a quarter.
template <class Count>
Count num_cases(Count number) {
  return std::max(number * static_cast<Count>(test_scale()) / static_cast<Count>(one_in_when_sanitized(4)),
                  Count{1});
}

}  // namespace quarv
