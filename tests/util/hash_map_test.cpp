#include <cstdint>

#include <gtest/gtest.h>

#include <quarv/util/hash_map.h>
#include <quarv/util/sort.h>

namespace quarv {
namespace {

TEST(HashMap, NewMapHas31Buckets) {
  hsh::HashMap<std::uint64_t, int> map;
  EXPECT_EQ(map.bucket_count(), 31U);
  map[3] = 4;
  EXPECT_EQ(*map.find(3), 4);
  EXPECT_EQ(map.begin()->second, 4);
  hsh::HashSet<const int*> set;
  EXPECT_TRUE(set.insert(nullptr));
  EXPECT_FALSE(set.insert(nullptr));
  EXPECT_TRUE(set.erase(nullptr));
}

}  // namespace
}  // namespace quarv
