// Random operations against std::unordered_map, and against a plain model of buckets and chains, which also
// fixes the order of iteration.
#include <algorithm>
#include <cstdint>
#include <random>
#include <support/test_scale.h>
#include <unordered_map>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/numbers/q_number.h>
#include <quarv/util/hash_map.h>

namespace quarv {
namespace {

class ChainModel {
  using Chain = std::vector<std::uint64_t>;  // newest entry first

 public:
  void access(std::uint64_t key) {
    if (static_cast<double>(static_cast<float>(size_) / static_cast<float>(chains_.size())) > 0.7) {
      rehash(chains_.size() + 1);
    }
    auto& chain = chain_of(key);
    if (std::find(chain.begin(), chain.end(), key) != chain.end()) return;
    chain.insert(chain.begin(), key);
    ++size_;
  }

  void erase(std::uint64_t key) { size_ -= std::erase(chain_of(key), key); }

  void rehash(std::size_t min) {
    if (chains_.size() >= min) return;
    std::vector<Chain> old(*std::find_if(hsh::primes.begin(), hsh::primes.end(),
                                         [min](std::uint64_t prime) { return prime >= min; }));
    old.swap(chains_);
    for (const auto& chain : old) {
      for (const std::uint64_t key : chain) chain_of(key).insert(chain_of(key).begin(), key);
    }
  }

  void clear() {
    for (auto& chain : chains_) chain.clear();
    size_ = 0;
  }

  std::vector<std::uint64_t> keys() const {
    std::vector<std::uint64_t> result;
    for (const auto& chain : chains_) result.insert(result.end(), chain.begin(), chain.end());
    return result;
  }

  std::size_t bucket_count() const { return chains_.size(); }

 private:
  Chain& chain_of(std::uint64_t key) { return chains_[key % chains_.size()]; }

  std::vector<Chain> chains_{31};
  std::size_t size_ = 0;
};

// A number that is big now and then, so that values own memory.
QNumber value_of(std::uint64_t random) {
  QNumber value(static_cast<long>(random >> 1));
  return random % 4 == 0 ? value * value * value : value;
}

TEST(HashMapRandom, AgreesWithUnorderedMapAndWithTheModel) {
  for (int round = 0; round < num_cases(30); ++round) {
    std::mt19937_64 random(static_cast<std::uint64_t>(round));
    const std::uint64_t keys = std::uint64_t{1} << (3 + random() % 11);
    const std::uint64_t stride = random() % 2 == 0 ? 1 : random();
    hsh::HashMap<std::uint64_t, QNumber> map;
    std::unordered_map<std::uint64_t, QNumber> expected;
    ChainModel model;

    for (int step = 0; step < 20000; ++step) {
      const std::uint64_t key = random() % keys * stride;
      const std::uint64_t choice = random() % 10000;
      if (choice < 5000) {
        const QNumber value = value_of(random());
        map[key] = value;
        expected[key] = value;
        model.access(key);
      } else if (choice < 7500) {
        const QNumber* found = map.find(key);
        const auto it = expected.find(key);
        ASSERT_EQ(found != nullptr, it != expected.end());
        if (found != nullptr) {
          ASSERT_EQ(*found, it->second);
        }
      } else if (choice < 9990) {
        ASSERT_EQ(map.erase(key), expected.erase(key) != 0);
        model.erase(key);
      } else if (choice < 9995) {
        const std::size_t min = random() % 5000;
        map.rehash(min);
        model.rehash(min);
      } else if (choice < 9998) {
        map.clear(random() % 2 == 0);
        expected.clear();
        model.clear();
      } else {
        hsh::HashMap<std::uint64_t, QNumber> moved = std::move(map);
        map = std::move(moved);
      }
      ASSERT_EQ(map.size(), expected.size());
      ASSERT_EQ(map.bucket_count(), model.bucket_count());
    }

    std::vector<std::uint64_t> order;
    for (const auto& [key, value] : map) {
      order.push_back(key);
      ASSERT_EQ(value, expected.at(key));
    }
    ASSERT_EQ(order, model.keys());
  }
}

}  // namespace
}  // namespace quarv
