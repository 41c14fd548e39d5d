/// \file
/// The bucket counts of the hash tables, and remainders by them without a division.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <quarv/export.h>

namespace quarv::hsh {

/// The possible bucket counts: primes that roughly double, the last being the largest of them below 2^32.
inline constexpr std::array<std::uint64_t, 28> primes = {
    31,       73,        151,       313,       643,        1291,       2593,
    5233,     10501,     21013,     42073,     84181,      168451,     337219,
    674701,   1349473,   2699299,   5398891,   10798093,   21596719,   43193641,
    86387383, 172775299, 345550609, 691101253, 1382202559, 2764405229, 4294867387};

/// Whether a table of `buckets` buckets that holds `count` entries is due to grow: the single-precision
/// quotient exceeds 0.7.
constexpr bool exceeds_max_load(std::uint64_t count, std::uint64_t buckets) noexcept {
  return static_cast<double>(static_cast<float>(count) / static_cast<float>(buckets)) > 0.7;
}

/// One bucket count, with what a table needs of it precomputed.
struct QUARV_API BucketCount {
  /// floor(2^64 / count).
  std::uint64_t reciprocal = 0;
  /// The number of buckets; 0 in a table without a bucket array.
  std::uint64_t count = 0;
  /// The smallest number of entries for which `exceeds_max_load` holds. It is monotonic in the number of
  /// entries, so one comparison decides it. The maximum of the type for the last count, which cannot grow.
  std::uint64_t grow_at = 0;

  /// `hash` mod `count`, for every 64-bit hash.
  ///
  /// With r = floor(2^64 / count), floor(hash * r / 2^64) is the quotient or one less: hash * (1/count -
  /// r/2^64) is below hash / 2^64 < 1. So one conditional subtraction completes the remainder.
  constexpr std::uint64_t index(std::uint64_t hash) const noexcept {
    const auto product = static_cast<unsigned __int128>(hash) * reciprocal;
    const std::uint64_t rest = hash - static_cast<std::uint64_t>(product >> 64) * count;
    return rest < count ? rest : rest - count;
  }

  /// The first of `primes` that is at least `min`, or the last one if none is.
  static const BucketCount& at_least(std::uint64_t min) noexcept;
};

}  // namespace quarv::hsh
