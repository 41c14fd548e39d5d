#include <cstdint>
#include <limits>
#include <random>
#include <support/test_scale.h>

#include <gtest/gtest.h>

#include <quarv/util/primes.h>

namespace quarv::hsh {
namespace {

constexpr std::uint64_t kMaxHash = std::numeric_limits<std::uint64_t>::max();

TEST(Primes, ArePrimeAndAboutDouble) {
  EXPECT_EQ(primes.front(), 31U);
  EXPECT_EQ(primes.back(), 4294867387U);
  for (const std::uint64_t prime : primes) {
    for (std::uint64_t divisor = 2; divisor * divisor <= prime; ++divisor) {
      ASSERT_NE(prime % divisor, 0U) << prime;
    }
  }
  for (std::size_t i = 1; i < primes.size(); ++i) {
    EXPECT_GT(primes[i], primes[i - 1]);
    EXPECT_LT(primes[i], 5 * primes[i - 1] / 2);
  }
}

TEST(BucketCount, IsTheFirstPrimeAtLeastAsLarge) {
  std::uint64_t below = 0;
  for (const std::uint64_t prime : primes) {
    EXPECT_EQ(BucketCount::at_least(below + 1).count, prime);
    EXPECT_EQ(BucketCount::at_least(prime - 1).count, prime);
    EXPECT_EQ(BucketCount::at_least(prime).count, prime);
    below = prime;
  }
  EXPECT_EQ(BucketCount::at_least(0).count, 31U);
}

TEST(BucketCount, IsTheLastPrimePastTheEnd) {
  EXPECT_EQ(BucketCount::at_least(primes.back() + 1).count, 4294867387U);
  EXPECT_EQ(BucketCount::at_least(kMaxHash).count, 4294867387U);
}

TEST(BucketCount, IndexIsTheRemainderAroundMultiples) {
  constexpr std::uint64_t kMultiples = 20000;
  for (const std::uint64_t prime : primes) {
    const BucketCount& buckets = BucketCount::at_least(prime);
    const std::uint64_t last = kMaxHash / prime;
    const auto check = [&](std::uint64_t multiple) {
      const std::uint64_t hash = multiple * prime;
      ASSERT_EQ(buckets.index(hash), 0U) << hash;
      if (hash != 0) {
        ASSERT_EQ(buckets.index(hash - 1), prime - 1) << hash;
      }
      if (hash != kMaxHash) {
        ASSERT_EQ(buckets.index(hash + 1), 1U) << hash;
      }
    };
    for (std::uint64_t i = 0; i < kMultiples; ++i) {
      check(i);
      check(last - i);
      check(last / kMultiples * i);
    }
    EXPECT_EQ(buckets.index(kMaxHash), kMaxHash % prime);
  }
}

TEST(BucketCount, IndexIsTheRemainderAroundPowersOfTwo) {
  for (const std::uint64_t prime : primes) {
    const BucketCount& buckets = BucketCount::at_least(prime);
    for (unsigned bit = 0; bit < 64; ++bit) {
      for (std::uint64_t hash = (std::uint64_t{1} << bit) - 3, i = 0; i < 7; ++i, ++hash) {
        ASSERT_EQ(buckets.index(hash), hash % prime) << hash << " mod " << prime;
      }
    }
  }
}

TEST(BucketCount, IndexIsTheRemainderOfRandomHashes) {
  std::mt19937_64 random(1);
  for (const std::uint64_t prime : primes) {
    const BucketCount& buckets = BucketCount::at_least(prime);
    for (int i = 0; i < num_cases(200000); ++i) {
      const std::uint64_t hash = random() >> (random() % 64);
      ASSERT_EQ(buckets.index(hash), hash % prime) << hash << " mod " << prime;
    }
  }
}

TEST(MaxLoad, IsExceededBy22EntriesIn31Buckets) {
  EXPECT_FALSE(exceeds_max_load(21, 31));
  EXPECT_TRUE(exceeds_max_load(22, 31));
  EXPECT_EQ(BucketCount::at_least(31).grow_at, 22U);
  EXPECT_FALSE(exceeds_max_load(7, 10)) << "the single-precision quotient 7/10 is below the double 0.7";
}

// The quotient is rounded, but rounding keeps the order, so that one bound decides for every number of
// entries.
TEST(MaxLoad, OneBoundAgreesWithTheQuotientForEveryCount) {
  for (const std::uint64_t prime : primes) {
    if (prime > 25'000'000) break;
    const std::uint64_t bound = BucketCount::at_least(prime).grow_at;
    for (std::uint64_t count = 0; count <= prime; ++count) {
      ASSERT_EQ(count >= bound, exceeds_max_load(count, prime)) << count << " of " << prime;
    }
  }
}

TEST(MaxLoad, OneBoundAgreesWithTheQuotientAroundLargeBounds) {
  std::mt19937_64 random(2);
  for (const std::uint64_t prime : primes) {
    const std::uint64_t bound = BucketCount::at_least(prime).grow_at;
    if (prime < 25'000'000 || prime == primes.back()) continue;
    for (std::uint64_t count = bound - 100000; count < bound + 100000; ++count) {
      ASSERT_EQ(count >= bound, exceeds_max_load(count, prime)) << count << " of " << prime;
    }
    for (int i = 0; i < num_cases(100000); ++i) {
      const std::uint64_t count = random() % (2 * prime);
      ASSERT_EQ(count >= bound, exceeds_max_load(count, prime)) << count << " of " << prime;
    }
  }
}

TEST(MaxLoad, LastCountNeverGrows) {
  EXPECT_EQ(BucketCount::at_least(primes.back()).grow_at, std::numeric_limits<std::uint64_t>::max());
}

}  // namespace
}  // namespace quarv::hsh
