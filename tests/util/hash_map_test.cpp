#include <cstdint>
#include <functional>
#include <memory>
#include <numeric>
#include <set>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/numbers/q_number.h>
#include <quarv/util/hash_map.h>

namespace quarv {
namespace {

// A record that hashes as its identifier, not its address.
struct Record {
  std::uint64_t id;
};

}  // namespace

template <>
struct hsh::hash<const Record*> {
  std::uint64_t operator()(const Record* record) const noexcept { return record->id; }
};

namespace {

using Numbers = hsh::HashMap<std::uint64_t, int>;
using Coefficients = hsh::HashMap<const Record*, QNumber>;

static_assert(sizeof(Coefficients::Node) == 32, "a coefficient's node is one block");
static_assert(sizeof(hsh::HashMap<const Record*, const Record*>::Node) <= 32);
static_assert(!std::is_copy_constructible_v<Numbers> && !std::is_copy_assignable_v<Numbers>);
static_assert(std::is_nothrow_move_constructible_v<Numbers> && std::is_nothrow_move_assignable_v<Numbers>);
static_assert(std::forward_iterator<Numbers::iterator> && std::forward_iterator<Numbers::const_iterator>);
static_assert(std::is_convertible_v<Numbers::iterator, Numbers::const_iterator> &&
              !std::is_convertible_v<Numbers::const_iterator, Numbers::iterator>);

std::vector<std::uint64_t> keys_in_order(const Numbers& map) {
  std::vector<std::uint64_t> keys;
  for (const auto& [key, value] : map) keys.push_back(key);
  return keys;
}

void insert_up_to(Numbers& map, std::uint64_t count) {
  for (std::uint64_t i = 0; i < count; ++i) map[i] = static_cast<int>(i);
}

TEST(HashMap, NewMapIsEmptyWith31Buckets) {
  Numbers map;
  EXPECT_EQ(map.bucket_count(), 31U);
  EXPECT_EQ(map.size(), 0U);
  EXPECT_TRUE(map.empty());
  EXPECT_TRUE(map.begin() == map.end());
  EXPECT_EQ(map.find(5), nullptr);
  EXPECT_FALSE(map.contains(5));
  EXPECT_FALSE(map.erase(5));
}

TEST(HashMap, EmptyMapAnswersWithoutHashing) {
  Coefficients map;
  const Record* const no_record = nullptr;  // its hash would read through the pointer
  EXPECT_EQ(map.find(no_record), nullptr);
  EXPECT_FALSE(map.contains(no_record));
  EXPECT_FALSE(map.erase(no_record));
  const Record record{1};
  map[&record];
  map.clear(false);
  EXPECT_EQ(map.find(no_record), nullptr);
}

TEST(HashMap, NewEntriesAreValueInitialised) {
  Numbers map;
  EXPECT_EQ(map[7], 0);
  hsh::HashMap<std::uint64_t, const Record*> pointers;
  EXPECT_EQ(pointers[7], nullptr);
  Coefficients coefficients;
  const Record record{1};
  EXPECT_EQ(coefficients[&record], QNumber(0));
}

TEST(HashMap, NewEntriesAreValueInitialisedInReusedNodes) {
  Numbers map;
  insert_up_to(map, 20);
  for (int round = 0; round < 3; ++round) {
    map.clear(false);
    for (std::uint64_t i = 0; i < 20; ++i) EXPECT_EQ(map[i], 0);
    insert_up_to(map, 20);
  }
}

TEST(HashMap, GrowsTo73BucketsAtTheFirstAccessWith22Entries) {
  Numbers map;
  insert_up_to(map, 22);
  EXPECT_EQ(map.bucket_count(), 31U) << "21 entries are within the load";
  EXPECT_NE(map.find(3), nullptr);
  EXPECT_EQ(map.bucket_count(), 31U) << "looking up never grows";
  map[22] = 22;
  EXPECT_EQ(map.bucket_count(), 73U);
  EXPECT_EQ(map.size(), 23U);
}

TEST(HashMap, GrowsEvenWhenTheKeyIsFound) {
  Numbers map;
  insert_up_to(map, 22);
  EXPECT_EQ(map[3], 3);
  EXPECT_EQ(map.bucket_count(), 73U);
  EXPECT_EQ(map.size(), 22U);
}

TEST(HashMap, GrowsThroughThePrimes) {
  Numbers map;
  std::size_t next = 1;
  for (std::uint64_t i = 0; next < 10; ++i) {
    const bool due = hsh::exceeds_max_load(map.size(), map.bucket_count());
    map[i * 977] = 1;
    if (due) {
      EXPECT_EQ(map.bucket_count(), hsh::primes[next]);
      ++next;
    }
    ASSERT_EQ(map.bucket_count(), hsh::primes[next - 1]);
  }
}

TEST(HashMap, ReferencesStayValidAcrossRehashes) {
  Coefficients map;
  std::vector<Record> records(5000);
  for (std::size_t i = 0; i < records.size(); ++i) records[i].id = i * i;
  std::vector<QNumber*> references;
  for (const Record& record : records) {
    references.push_back(&map[&record]);
    *references.back() = QNumber(static_cast<long>(record.id));
  }
  map.rehash(100000);
  for (std::size_t i = 0; i < records.size(); ++i) {
    ASSERT_EQ(map.find(&records[i]), references[i]);
    ASSERT_EQ(*references[i], QNumber(static_cast<long>(i * i)));
  }
}

TEST(HashMap, MakesAValueOnceWhichMayMakeOthers) {
  hsh::HashMap<int, int> sums;
  int num_made = 0;
  const std::function<int(int)> sum = [&](int n) -> int {
    return sums.find_or_make(n, [&] {
      ++num_made;
      return n == 0 ? 0 : n + sum(n - 1);
    });
  };
  EXPECT_EQ(sum(100), 5050);
  EXPECT_EQ(sum(60), 1830);
  EXPECT_EQ(num_made, 101);
  EXPECT_EQ(sums.size(), 101u);
}

TEST(HashMap, HasNoEntryWhereItsValueCannotBeMade) {
  hsh::HashMap<int, int> map;
  EXPECT_THROW(map.find_or_make(1, []() -> int { throw std::runtime_error("no"); }), std::runtime_error);
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(map.find_or_make(1, [] { return 2; }), 2);
}

TEST(HashMap, NewestEntryHeadsItsChain) {
  Numbers map;
  for (const std::uint64_t key : {30U, 33U, 2U, 64U, 0U}) map[key];  // 33, 2 and 64 share bucket 2
  EXPECT_EQ(keys_in_order(map), (std::vector<std::uint64_t>{0, 64, 2, 33, 30}));
}

TEST(HashMap, RehashRelinksInIterationOrder) {
  Numbers map;
  for (const std::uint64_t key : {2U, 75U, 33U, 106U}) map[key];  // 33 mod 31 = 2, 106 = 2 * 31 + 44
  const std::vector<std::uint64_t> before = keys_in_order(map);
  EXPECT_EQ(before, (std::vector<std::uint64_t>{33, 2, 106, 75}));
  map.rehash(32);
  EXPECT_EQ(map.bucket_count(), 73U);
  // Bucket 2 receives 2, then 75 before it; bucket 33 receives 33, then 106 before it.
  EXPECT_EQ(keys_in_order(map), (std::vector<std::uint64_t>{75, 2, 106, 33}));
}

TEST(HashMap, RehashToFewerBucketsDoesNothing) {
  Numbers map;
  insert_up_to(map, 10);
  const std::vector<std::uint64_t> before = keys_in_order(map);
  for (const std::size_t min : {0U, 1U, 30U, 31U}) {
    map.rehash(min);
    EXPECT_EQ(map.bucket_count(), 31U);
  }
  EXPECT_EQ(keys_in_order(map), before);
  map.rehash(314);
  EXPECT_EQ(map.bucket_count(), 643U);
  EXPECT_EQ(map.size(), 10U);
}

TEST(HashMap, FindsByIdentityNotByHash) {
  const Record a{5};
  const Record b{5};
  Coefficients map;
  map[&a] = QNumber(1);
  EXPECT_EQ(map.find(&b), nullptr);
  map[&b] = QNumber(2);
  EXPECT_EQ(map.size(), 2U);
  EXPECT_EQ(*map.find(&a), QNumber(1));
}

TEST(HashMap, EraseRemovesFromAnyPlaceOfAChain) {
  const std::vector<std::uint64_t> chain = {4, 35, 66};
  for (const std::uint64_t gone : chain) {
    Numbers map;
    for (const std::uint64_t key : chain) map[key] = static_cast<int>(key);
    EXPECT_TRUE(map.erase(gone));
    EXPECT_FALSE(map.erase(gone));
    EXPECT_EQ(map.size(), 2U);
    for (const std::uint64_t key : chain) {
      ASSERT_EQ(map.contains(key), key != gone);
      if (key != gone) {
        EXPECT_EQ(*map.find(key), static_cast<int>(key));
      }
    }
  }
}

TEST(HashMap, ErasedNodeIsReused) {
  Numbers map;
  insert_up_to(map, 10);
  const int* freed = map.find(4);
  map.erase(4);
  EXPECT_EQ(&map[400], freed);
}

TEST(HashMap, ClearEmptiesAndKeepsTheBuckets) {
  for (const bool release : {false, true}) {
    Numbers map;
    insert_up_to(map, 1000);
    const std::size_t buckets = map.bucket_count();
    map.clear(release);
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(map.bucket_count(), buckets);
    EXPECT_TRUE(map.begin() == map.end());
    EXPECT_EQ(map.find(3), nullptr);
    map.clear(release);
    map[3] = 1;
    EXPECT_EQ(map.size(), 1U);
    EXPECT_EQ(keys_in_order(map), std::vector<std::uint64_t>{3});
  }
}

TEST(HashMap, ClearAndDestructionDestroyValues) {
  const auto shared = std::make_shared<int>(0);
  {
    hsh::HashMap<std::uint64_t, std::shared_ptr<int>> map;
    for (std::uint64_t i = 0; i < 100; ++i) map[i * 31] = shared;
    EXPECT_EQ(shared.use_count(), 101);
    map.erase(31);
    EXPECT_EQ(shared.use_count(), 100);
    map.clear(false);
    EXPECT_EQ(shared.use_count(), 1);
    for (std::uint64_t i = 0; i < 10; ++i) map[i] = shared;
    map.clear(true);
    EXPECT_EQ(shared.use_count(), 1);
    for (std::uint64_t i = 0; i < 10; ++i) map[i] = shared;
  }
  EXPECT_EQ(shared.use_count(), 1);
}

TEST(HashMap, MovingLeavesAnEmptyUsableMap) {
  Numbers source;
  insert_up_to(source, 100);
  const int* value = source.find(50);
  Numbers target = std::move(source);
  EXPECT_EQ(target.size(), 100U);
  EXPECT_EQ(target.find(50), value);

  // NOLINTBEGIN(bugprone-use-after-move): it stays usable
  EXPECT_TRUE(source.empty());
  EXPECT_EQ(source.find(50), nullptr);
  EXPECT_FALSE(source.erase(50));
  EXPECT_TRUE(source.begin() == source.end());
  source.clear(false);
  source.clear(true);
  source[1] = 2;
  EXPECT_EQ(source.bucket_count(), 31U);
  EXPECT_EQ(*source.find(1), 2);
  EXPECT_EQ(target.size(), 100U);
  // NOLINTEND(bugprone-use-after-move)
}

TEST(HashMap, MoveAssignmentDestroysTheOldValues) {
  const auto old_value = std::make_shared<int>(0);
  const auto new_value = std::make_shared<int>(1);
  hsh::HashMap<std::uint64_t, std::shared_ptr<int>> target;
  hsh::HashMap<std::uint64_t, std::shared_ptr<int>> source;
  target[1] = old_value;
  source[2] = new_value;
  target = std::move(source);
  EXPECT_EQ(old_value.use_count(), 1);
  EXPECT_EQ(new_value.use_count(), 2);
  EXPECT_EQ(*target.find(2), new_value);
  EXPECT_TRUE(source.empty());  // NOLINT(bugprone-use-after-move)

  auto& same = target;
  target = std::move(same);
  EXPECT_EQ(target.size(), 1U);
}

TEST(HashMap, IterationVisitsEveryEntryOnceAndCanWrite) {
  Numbers map;
  insert_up_to(map, 5000);
  for (auto& [key, value] : map) value = -value;
  std::set<std::uint64_t> seen;
  const Numbers& constant = map;
  for (auto it = constant.begin(); it != constant.end(); it++) {
    EXPECT_TRUE(seen.insert(it->first).second);
    EXPECT_EQ((*it).second, -static_cast<int>(it->first));
  }
  EXPECT_EQ(seen.size(), 5000U);
}

TEST(HashMap, LargeValuesTakeLargerBlocks) {
  hsh::HashMap<std::string, std::string, decltype([](const std::string& text) noexcept -> std::uint64_t {
                 return std::accumulate(text.begin(), text.end(), std::uint64_t{0});
               })>
      map;
  for (int i = 0; i < 1000; ++i) map[std::to_string(i)] = std::string(50, static_cast<char>('a' + i % 26));
  EXPECT_EQ(map.size(), 1000U);
  EXPECT_EQ(*map.find("27"), std::string(50, 'b'));
}

// Throws from the constructor when told to.
struct Fragile {
  Fragile() {
    if (broken) throw std::runtime_error("broken");
  }
  static inline bool broken = false;
  int value = 1;
};

TEST(HashMap, ThrowingConstructorLeavesTheMapAsItWas) {
  hsh::HashMap<std::uint64_t, Fragile> map;
  for (std::uint64_t i = 0; i < 10; ++i) map[i];
  Fragile::broken = true;
  EXPECT_THROW(map[100], std::runtime_error);
  EXPECT_THROW(map[100], std::runtime_error);
  Fragile::broken = false;
  EXPECT_EQ(map.size(), 10U);
  EXPECT_FALSE(map.contains(100));
  const void* first = &map[100];
  map.erase(100);
  Fragile::broken = true;
  EXPECT_THROW(map[200], std::runtime_error);
  Fragile::broken = false;
  EXPECT_EQ(&map[200], first) << "the block went back to the pool";
}

TEST(Hashtable, NodesCanBeMadeApart) {
  Numbers map;
  auto* node = map.new_Bucket({5, 6});
  EXPECT_EQ(node->next, nullptr);
  EXPECT_EQ(node->value, (std::pair<const std::uint64_t, int>(5, 6)));
  EXPECT_TRUE(map.empty());
  map.delete_Bucket(node);
  EXPECT_EQ(&map[1], &node->value.second);
}

TEST(HashSet, HoldsKeysOnce) {
  hsh::HashSet<const Record*> set;
  const std::vector<Record> records = {{3}, {34}, {3}};
  for (const Record& record : records) EXPECT_TRUE(set.insert(&record));
  for (const Record& record : records) EXPECT_FALSE(set.insert(&record));
  EXPECT_EQ(set.size(), 3U);
  EXPECT_EQ((std::vector<const Record*>(set.begin(), set.end())),
            (std::vector<const Record*>{&records[2], &records[1], &records[0]}));
  EXPECT_TRUE(set.erase(&records[1]));
  EXPECT_FALSE(set.contains(&records[1]));
  EXPECT_TRUE(set.contains(&records[0]));
}

TEST(HashSet, GrowsLikeAMap) {
  hsh::HashSet<int> set;
  for (int i = -11; i < 11; ++i) set.insert(i);
  EXPECT_EQ(set.bucket_count(), 31U);
  set.insert(5);
  EXPECT_EQ(set.bucket_count(), 73U);
}

TEST(Hash, PointersHashAsAddressAndIntegersAsThemselves) {
  const int object = 0;
  EXPECT_EQ(hsh::hash<const int*>()(&object), reinterpret_cast<std::uintptr_t>(&object));
  EXPECT_EQ(hsh::hash<int>()(-1), ~std::uint64_t{0});
}

}  // namespace
}  // namespace quarv
