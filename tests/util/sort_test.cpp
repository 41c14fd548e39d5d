#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <support/test_scale.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/util/sort.h>

namespace quarv::sortimpl {
namespace {

using NumberList = std::vector<int>;

struct CountingLess {
  std::size_t* calls;
  bool operator()(int a, int b) const {
    ++*calls;
    return a < b;
  }
};

// Orders by the decade only, so that the order of equal elements shows which algorithm ran.
struct DecadeLess {
  bool operator()(int a, int b) const { return a / 10 < b / 10; }
};

double n_log_n(std::size_t n) {
  return static_cast<double>(n) * std::log2(static_cast<double>(n));
}

// M. D. McIlroy, A Killer Adversary for Quicksort (1999): values are decided while a quicksort compares them,
// such that each pivot turns out to be among the smallest. Afterwards they are fixed, and the same input
// again has the same effect on the same algorithm.
class Adversary {
 public:
  explicit Adversary(int n) : values_(static_cast<std::size_t>(n), n), undecided_(n) {}

  bool operator()(int a, int b) {
    if (at(a) == undecided_ && at(b) == undecided_) at(a == candidate_ ? a : b) = decided_++;
    if (at(a) == undecided_) {
      candidate_ = a;
    } else if (at(b) == undecided_) {
      candidate_ = b;
    }
    return at(a) < at(b);
  }

  const NumberList& values() const { return values_; }

 private:
  int& at(int i) { return values_[static_cast<std::size_t>(i)]; }

  NumberList values_;
  int undecided_;
  int decided_ = 0;
  int candidate_ = 0;
};

// An input on which the partitioning rounds of `do_sort` get hardly anywhere.
NumberList killer(std::size_t n) {
  Adversary adversary(static_cast<int>(n));
  NumberList indices(n);
  std::iota(indices.begin(), indices.end(), 0);
  do_sort(indices.data(), n, std::ref(adversary), static_cast<int>(n));
  return adversary.values();
}

// The textbook's bad input for a median of first, middle and last.
NumberList median_of_three_killer(std::size_t n) {
  NumberList result(n);
  const std::size_t half = n / 2;
  for (std::size_t i = 0; i < half; ++i) {
    result[i] = static_cast<int>(i % 2 == 0 ? i + 1 : half + i + (half % 2 == 0 ? 0 : 1));
    result[half + i] = static_cast<int>(2 * (i + 1));
  }
  return result;
}

struct Pattern {
  const char* name;
  std::function<int(std::size_t i, std::size_t n)> element;
};

std::vector<Pattern> patterns() {
  const auto random = std::make_shared<std::mt19937>(1U);
  const auto to_int = [](std::size_t i) { return static_cast<int>(i); };
  return {
      {"sorted", [=](std::size_t i, std::size_t) { return to_int(i); }},
      {"reversed", [=](std::size_t i, std::size_t n) { return to_int(n - i); }},
      {"equal", [=](std::size_t, std::size_t) { return 7; }},
      {"organ pipe", [=](std::size_t i, std::size_t n) { return to_int(std::min(i, n - i)); }},
      {"inverted organ pipe", [=](std::size_t i, std::size_t n) { return -to_int(std::min(i, n - i)); }},
      {"saw teeth", [=](std::size_t i, std::size_t) { return to_int(i % 17); }},
      {"alternating", [=](std::size_t i, std::size_t) { return to_int(i % 2); }},
      {"rotated", [=](std::size_t i, std::size_t n) { return to_int((i + n / 3) % n); }},
      {"last is smallest", [=](std::size_t i, std::size_t n) { return i + 1 == n ? -1 : to_int(i); }},
      {"first is greatest", [=](std::size_t i, std::size_t n) { return i == 0 ? to_int(n) : to_int(i); }},
      {"random", [=](std::size_t, std::size_t) { return static_cast<int>((*random)()); }},
      {"random, few keys", [=](std::size_t, std::size_t) { return static_cast<int>((*random)() % 5); }},
  };
}

void expect_sorts(NumberList input, const std::string& name) {
  NumberList expected = input;
  std::sort(expected.begin(), expected.end());
  std::size_t calls = 0;
  sort(input.data(), input.size(), CountingLess{&calls});
  ASSERT_EQ(input, expected) << name << ", " << expected.size() << " elements";
  // 32 rounds over everything and a heap sort are the most that there can be.
  if (input.size() >= 64) {
    ASSERT_LE(static_cast<double>(calls),
              40.0 * static_cast<double>(input.size()) + 3 * n_log_n(input.size()));
  }
}

TEST(Sort, EveryPatternOfEverySmallSize) {
  const std::vector<Pattern> all = patterns();
  for (std::size_t n = 0; n <= 300; ++n) {
    for (const Pattern& pattern : all) {
      NumberList input(n);
      for (std::size_t i = 0; i < n; ++i) input[i] = pattern.element(i, n);
      expect_sorts(input, pattern.name);
    }
  }
}

TEST(Sort, EveryPatternOfLargerSizes) {
  const std::vector<Pattern> all = patterns();
  for (std::size_t n = 301; n <= 5000; n += 97) {
    for (const Pattern& pattern : all) {
      NumberList input(n);
      for (std::size_t i = 0; i < n; ++i) input[i] = pattern.element(i, n);
      expect_sorts(input, pattern.name);
    }
  }
}

TEST(Sort, RandomSizes) {
  std::mt19937 random(2);
  for (int round = 0; round < num_cases(1000); ++round) {
    NumberList input(random() % 5001);
    const unsigned keys = 1U << (random() % 20);
    for (int& x : input) x = static_cast<int>(random() % keys);
    expect_sorts(input, "random");
  }
}

TEST(Sort, EveryPermutationOfEight) {
  NumberList permutation(8);
  std::iota(permutation.begin(), permutation.end(), 0);
  do {
    NumberList selected = permutation;
    selection_sort(selected.data(), selected.size(), std::less<int>());
    ASSERT_TRUE(std::is_sorted(selected.begin(), selected.end()));
    NumberList inserted = permutation;
    insertion_sort(inserted.data(), inserted.size(), std::less<int>());
    ASSERT_EQ(inserted, selected);
    NumberList heaped = permutation;
    heap_sort(heaped.data(), heaped.size(), std::less<int>());
    ASSERT_EQ(heaped, selected);
  } while (std::next_permutation(permutation.begin(), permutation.end()));
}

TEST(Sort, EveryListOfSeventeenZerosAndOnes) {
  for (unsigned bits = 0; bits < 1U << 17; ++bits) {
    NumberList list(17);
    for (unsigned i = 0; i < 17; ++i) list[i] = static_cast<int>(bits >> i & 1);
    sort(list.data(), list.size(), std::less<int>());
    ASSERT_TRUE(std::is_sorted(list.begin(), list.end())) << bits;
  }
}

TEST(Sort, FifteenElementsAreSelectionSorted) {
  std::mt19937 random(3);
  for (int round = 0; round < 200; ++round) {
    NumberList list(15);
    for (int& x : list) x = static_cast<int>(random() % 60);
    NumberList selected = list;
    std::size_t calls = 0;
    sort(list.data(), list.size(), [&calls](int a, int b) { return ++calls, DecadeLess()(a, b); });
    EXPECT_EQ(calls, 15U * 14U / 2U);
    selection_sort(selected.data(), selected.size(), DecadeLess());
    ASSERT_EQ(list, selected);
  }
}

TEST(Sort, SixteenElementsArePartitionedAndInserted) {
  std::mt19937 random(4);
  int differs_from_selection = 0;
  for (int round = 0; round < 200; ++round) {
    NumberList list(16);
    for (int& x : list) x = static_cast<int>(random() % 60);
    NumberList in_steps = list;
    NumberList selected = list;
    sort(list.data(), list.size(), DecadeLess());
    do_sort(in_steps.data(), in_steps.size(), DecadeLess(), 32);
    insertion_sort(in_steps.data(), in_steps.size(), DecadeLess());
    ASSERT_EQ(list, in_steps);
    selection_sort(selected.data(), selected.size(), DecadeLess());
    if (list != selected) ++differs_from_selection;
  }
  EXPECT_GT(differs_from_selection, 100);
}

TEST(InsertionSort, IsStable) {
  std::mt19937 random(5);
  NumberList list(1000);
  for (int& x : list) x = static_cast<int>(random() % 500);
  NumberList expected = list;
  std::stable_sort(expected.begin(), expected.end(), DecadeLess());
  insertion_sort(list.data(), list.size(), DecadeLess());
  EXPECT_EQ(list, expected);
}

TEST(DoSort, LeavesShortRangesAlone) {
  for (std::size_t n = 0; n < 16; ++n) {
    NumberList list(n);
    for (std::size_t i = 0; i < n; ++i) list[i] = static_cast<int>(n - i);
    const NumberList before = list;
    std::size_t calls = 0;
    do_sort(list.data(), n, CountingLess{&calls}, 32);
    do_sort(list.data(), n, CountingLess{&calls}, 0);
    EXPECT_EQ(list, before);
    EXPECT_EQ(calls, 0U);
  }
}

TEST(DoSort, BringsElementsCloseToTheirPlaces) {
  std::mt19937 random(6);
  for (const std::size_t n : {std::size_t{16}, std::size_t{17}, std::size_t{100}, std::size_t{5000}}) {
    NumberList list(n);
    std::iota(list.begin(), list.end(), 0);
    std::shuffle(list.begin(), list.end(), random);
    do_sort<int, std::size_t, std::less<int>>(list.data(), n, std::less<int>(), 32);
    for (std::size_t i = 0; i < n; ++i) ASSERT_LT(std::abs(list[i] - static_cast<int>(i)), 16);
  }
}

TEST(DoSort, WithoutRoundsIsAHeapSort) {
  std::mt19937 random(7);
  for (std::size_t n = 16; n < 200; ++n) {
    NumberList list(n);
    for (int& x : list) x = static_cast<int>(random() % 100);
    NumberList heaped = list;
    do_sort(list.data(), n, DecadeLess(), 0);
    heap_sort(heaped.data(), n, DecadeLess());
    ASSERT_EQ(list, heaped);
    ASSERT_TRUE(std::is_sorted(list.begin(), list.end(), DecadeLess()));
  }
}

TEST(DoSort, TurnsToHeapSortWhenPartitioningGetsNowhere) {
  for (const std::size_t n : {std::size_t{200}, std::size_t{1000}, std::size_t{5000}}) {
    const NumberList bad = killer(n);
    NumberList expected = bad;
    std::sort(expected.begin(), expected.end());

    NumberList list = bad;
    std::size_t quadratic = 0;
    do_sort(list.data(), n, CountingLess{&quadratic}, static_cast<int>(n));
    list = bad;
    std::size_t bounded = 0;
    do_sort(list.data(), n, CountingLess{&bounded}, 32);
    if (n >= 1000) {
      EXPECT_GT(static_cast<double>(quadratic), static_cast<double>(n * n) / 8.0);
      EXPECT_LT(bounded, quadratic / 2);
    }
    insertion_sort(list.data(), n, std::less<int>());
    EXPECT_EQ(list, expected);
    expect_sorts(bad, "killer");
  }
}

TEST(DoSort, MedianOfThreeKillers) {
  for (std::size_t n = 16; n <= 5000; n += 38)
    expect_sorts(median_of_three_killer(n), "median of three killer");
}

TEST(Partition, BothPartsGetElements) {
  for (unsigned code = 0; code < 1U << 16; ++code) {
    NumberList list(16);
    for (unsigned i = 0; i < 16; ++i) list[i] = static_cast<int>(code >> i & 1);
    const std::size_t left = partition(list.data(), list.size(), std::less<int>());
    ASSERT_GT(left, 0U);
    ASSERT_LT(left, 16U);
    const auto cut = list.begin() + static_cast<std::ptrdiff_t>(left);
    ASSERT_LE(*std::max_element(list.begin(), cut), *std::min_element(cut, list.end()));
  }
}

TEST(Sort, MovesElementsThatOwnMemory) {
  std::mt19937 random(8);
  std::vector<std::string> list(2000);
  for (std::string& text : list) text = std::string(30, 'x') + std::to_string(random() % 1000);
  std::vector<std::string> expected = list;
  std::sort(expected.begin(), expected.end());
  std::vector<std::string> heaped = list;
  sort(list.data(), list.size(), std::less<>());
  EXPECT_EQ(list, expected);
  do_sort(heaped.data(), heaped.size(), std::less<>(), 0);
  EXPECT_EQ(heaped, expected);
}

TEST(Sort, SizesOfAnyUnsignedType) {
  NumberList list = {3, 1, 2};
  sort(list.data(), 3U, std::less<>());
  EXPECT_EQ(list, (NumberList{1, 2, 3}));
  list.assign(100, 0);
  std::iota(list.rbegin(), list.rend(), 0);
  sort(list.data(), static_cast<unsigned char>(100), std::less<>());
  EXPECT_TRUE(std::is_sorted(list.begin(), list.end()));
}

}  // namespace
}  // namespace quarv::sortimpl
