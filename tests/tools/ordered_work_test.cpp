#include "io/ordered_work.h"

#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

namespace quarv::cli {
namespace {

constexpr auto nothing = [] {};

TEST(OrderedWork, DeliversInOrder) {
  std::vector<std::size_t> delivered;
  OrderedWork<std::size_t> work(
      100, [&](std::size_t i, std::size_t square) { delivered.push_back(square - i * i + i); }, nothing);
  work.run(4, [] { return [](std::size_t i) { return i * i; }; });
  ASSERT_EQ(delivered.size(), 100u);
  for (std::size_t i = 0; i < delivered.size(); ++i) EXPECT_EQ(delivered[i], i);
}

/// A stream that could not be written throws something else when it is written once more.
TEST(OrderedWork, DeliversNothingAfterAFailure) {
  for (int run = 0; run < 200; ++run) {
    int num_calls = 0;
    OrderedWork<int> work(
        64,
        [&](std::size_t, int) {
          if (num_calls++ == 0) throw std::runtime_error("the first");
          throw std::logic_error("another");
        },
        nothing);
    EXPECT_THROW(work.run(8, [] { return [](std::size_t) { return 0; }; }), std::runtime_error);
    EXPECT_EQ(num_calls, 1);
  }
}

}  // namespace
}  // namespace quarv::cli
