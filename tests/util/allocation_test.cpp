// What the containers ask of `malloc`, and what they do when it fails. The sanitizers bring their own
// `malloc`, which cannot be replaced.
#if !defined(__SANITIZE_ADDRESS__)

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/numbers/q_number.h>
#include <quarv/util/hash_map.h>

namespace {

std::size_t malloc_calls = 0;
std::size_t last_malloc_size = 0;
bool malloc_fails = false;

}  // namespace

extern "C" void* __libc_malloc(std::size_t size);

extern "C" void* malloc(std::size_t size) noexcept {
  ++malloc_calls;
  last_malloc_size = size;
  if (malloc_fails) {
    errno = ENOMEM;
    return nullptr;
  }
  return __libc_malloc(size);
}

namespace quarv {
namespace {

using Map = hsh::HashMap<std::uint64_t, QNumber>;

template <class Action>
std::size_t malloc_calls_of(Action action) {
  const std::size_t before = malloc_calls;
  action();
  return malloc_calls - before;
}

// Runs an action while `malloc` fails and answers whether it threw std::bad_alloc.
template <class Action>
bool runs_out_of_memory(Action action) {
  malloc_fails = true;
  bool thrown = false;
  try {
    action();
  } catch (const std::bad_alloc&) {
    thrown = true;
  }
  malloc_fails = false;
  return thrown;
}

TEST(Allocation, PoolAsksForWholeChunksWithALink) {
  MemoryPool<32, false> pool;
  std::size_t size = 16;
  for (int chunk = 0; chunk < 12; ++chunk) {
    for (std::size_t i = 0; i < size; ++i) {
      void* block = nullptr;
      ASSERT_EQ(malloc_calls_of([&] { block = pool.allocate(); }), i == 0 ? 1U : 0U);
      ASSERT_NE(block, nullptr);
      if (i == 0) {
        EXPECT_EQ(last_malloc_size, size * 32 + 8);
      }
    }
    size = size < 8192 ? 2 * size : 8192;
  }
}

TEST(Allocation, PoolThrowsAndStaysUsable) {
  MemoryPool<32, false> pool;
  EXPECT_TRUE(runs_out_of_memory([&] { (void)pool.allocate(); }));
  EXPECT_EQ(pool.next_chunk_size(), 16U);
  for (int i = 0; i < 16; ++i) ASSERT_NE(pool.allocate(), nullptr);
  EXPECT_TRUE(runs_out_of_memory([&] { (void)pool.allocate(); }));
  EXPECT_EQ(pool.next_chunk_size(), 32U);
  EXPECT_NE(pool.allocate(), nullptr);
}

TEST(Allocation, FirstEntriesTakeOneChunk) {
  Map map;
  EXPECT_EQ(malloc_calls_of([&] {
              for (std::uint64_t i = 0; i < 16; ++i) map[i] = QNumber(1);
            }),
            1U);
}

TEST(Allocation, RefillingAClearedMapTakesNone) {
  Map map;
  for (std::uint64_t i = 0; i < 5000; ++i) map[i * 7] = QNumber(static_cast<long>(i));
  for (std::uint64_t round = 1; round < 5; ++round) {
    EXPECT_EQ(malloc_calls_of([&] {
                map.clear(false);
                for (std::uint64_t i = 0; i < 5000; ++i) map[i * 13 + round] = QNumber(2);
              }),
              0U);
  }
}

TEST(Allocation, ReleasingReplacesOnlyTheBucketArray) {
  Map map;
  for (std::uint64_t i = 0; i < 20; ++i) map[i] = QNumber(1);
  EXPECT_EQ(malloc_calls_of([&] { map.clear(true); }), 1U);
  EXPECT_EQ(last_malloc_size, 31 * sizeof(void*));
  EXPECT_EQ(malloc_calls_of([&] {
              for (std::uint64_t i = 0; i < 20; ++i) map[i] = QNumber(1);
            }),
            0U);
}

TEST(Allocation, RehashTakesOnlyTheBucketArray) {
  Map map;
  for (std::uint64_t i = 0; i < 20; ++i) map[i] = QNumber(1);
  EXPECT_EQ(malloc_calls_of([&] { map.rehash(1000); }), 1U);
  EXPECT_EQ(last_malloc_size, 1291 * sizeof(void*));
}

TEST(Allocation, MovingTakesNone) {
  Map map;
  map[1] = QNumber(1);
  EXPECT_EQ(malloc_calls_of([&] {
              Map moved(std::move(map));
              map = std::move(moved);
            }),
            0U);
  EXPECT_EQ(map.size(), 1U);
}

TEST(Allocation, FailureLeavesTheMapAsItWas) {
  Map map;
  for (std::uint64_t i = 0; i < 16; ++i) map[i] = QNumber(static_cast<long>(i));
  EXPECT_TRUE(runs_out_of_memory([&] { map[16]; })) << "no chunk for the node";
  EXPECT_EQ(map.size(), 16U);
  EXPECT_FALSE(map.contains(16));
  for (std::uint64_t i = 16; i < 22; ++i) map[i] = QNumber(static_cast<long>(i));
  EXPECT_TRUE(runs_out_of_memory([&] { map[22]; })) << "no larger bucket array";
  EXPECT_TRUE(runs_out_of_memory([&] { map.clear(true); })) << "no other bucket array";
  EXPECT_EQ(map.size(), 22U);
  EXPECT_EQ(map.bucket_count(), 31U);
  for (std::uint64_t i = 0; i < 22; ++i) EXPECT_EQ(*map.find(i), QNumber(static_cast<long>(i)));
  EXPECT_FALSE(runs_out_of_memory([&] { map.clear(false); }));
}

}  // namespace
}  // namespace quarv

#endif
