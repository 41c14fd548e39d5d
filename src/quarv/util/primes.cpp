#include <algorithm>
#include <iterator>
#include <limits>

#include <quarv/util/primes.h>

namespace quarv::hsh {
namespace {

constexpr BucketCount make_bucket_count(std::uint64_t prime) {
  // A prime above 2 does not divide 2^64, so 2^64 - 1 has the same quotient.
  BucketCount result{std::numeric_limits<std::uint64_t>::max() / prime, prime, 0};
  if (prime == primes.back()) {
    result.grow_at = std::numeric_limits<std::uint64_t>::max();
    return result;
  }
  std::uint64_t low = 0;
  std::uint64_t high = prime;
  while (low < high) {
    const std::uint64_t middle = low + (high - low) / 2;
    if (exceeds_max_load(middle, prime)) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  result.grow_at = low;
  return result;
}

constexpr auto kBucketCounts = [] {
  std::array<BucketCount, primes.size()> result{};
  std::transform(primes.begin(), primes.end(), result.begin(), make_bucket_count);
  return result;
}();

}  // namespace

const BucketCount& BucketCount::at_least(std::uint64_t min) noexcept {
  const auto it = std::lower_bound(primes.begin(), std::prev(primes.end()), min);
  return kBucketCounts[static_cast<std::size_t>(it - primes.begin())];
}

}  // namespace quarv::hsh
