#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/util/memory_pool.h>

namespace quarv {
namespace {

using Pool = MemoryPool<32, false>;

static_assert(sizeof(Pool) == 32);
static_assert(!std::is_copy_constructible_v<Pool> && !std::is_copy_assignable_v<Pool>);
static_assert(std::is_nothrow_move_constructible_v<Pool> && std::is_nothrow_move_assignable_v<Pool>);

std::uintptr_t address(const void* block) {
  return reinterpret_cast<std::uintptr_t>(block);
}

TEST(MemoryPool, HandsOutAChunkInAddressOrder) {
  Pool pool;
  const void* first = pool.allocate();
  for (std::size_t i = 1; i < 16; ++i) EXPECT_EQ(address(pool.allocate()), address(first) + i * 32);
  EXPECT_EQ(address(first) % alignof(void*), 0U);
}

TEST(MemoryPool, ChunksDoubleUpToTheMaximum) {
  Pool pool;
  EXPECT_EQ(pool.next_chunk_size(), 16U);
  for (unsigned size = 16; size < 8192; size *= 2) {
    for (unsigned i = 0; i < size; ++i) {
      EXPECT_EQ(pool.next_chunk_size(), i == 0 ? size : 2 * size);
      ASSERT_NE(pool.allocate(), nullptr);
    }
  }
  for (unsigned i = 0; i < 3 * 8192; ++i) {
    ASSERT_NE(pool.allocate(), nullptr);
    ASSERT_EQ(pool.next_chunk_size(), 8192U);
  }
}

TEST(MemoryPool, GrowthIsAFloatProductTruncated) {
  MemoryPool<8, false> pool(3, 1.5F, 0);
  for (const unsigned size : {3U, 4U, 6U, 9U, 13U, 19U}) {
    EXPECT_EQ(pool.next_chunk_size(), size);
    for (unsigned i = 0; i < size; ++i) ASSERT_NE(pool.allocate(), nullptr);
  }
}

TEST(MemoryPool, GrowthStopsBeforeItOverflows) {
  MemoryPool<8, false> pool(1, 1e10F, 0);
  ASSERT_NE(pool.allocate(), nullptr);
  EXPECT_EQ(pool.next_chunk_size(), 1U);
}

TEST(MemoryPool, AMaximumBelowTheFirstSizeHoldsFromTheSecondChunk) {
  Pool pool(10, 2.0F, 4);
  ASSERT_NE(pool.allocate(), nullptr);
  EXPECT_EQ(pool.next_chunk_size(), 4U);
}

TEST(MemoryPool, LastBlockGivenBackIsNextHandedOut) {
  Pool pool;
  void* a = pool.allocate();
  void* b = pool.allocate();
  pool.deallocate(a);
  pool.deallocate(b);
  EXPECT_EQ(pool.allocate(), b);
  EXPECT_EQ(pool.allocate(), a);
}

TEST(MemoryPool, BlocksDoNotOverlap) {
  Pool pool;
  std::vector<unsigned char*> blocks;
  for (int i = 0; i < 20000; ++i) {
    blocks.push_back(static_cast<unsigned char*>(pool.allocate()));
    std::memset(blocks.back(), i % 251, 32);
  }
  for (int i = 0; i < 20000; ++i) {
    const unsigned char* block = blocks[static_cast<std::size_t>(i)];
    ASSERT_TRUE(std::all_of(block, block + 32, [i](unsigned char byte) { return byte == i % 251; }));
  }
}

TEST(MemoryPool, MovingTakesTheBlocksAlong) {
  Pool source;
  void* block = source.allocate();
  std::memset(block, 42, 32);
  Pool target = std::move(source);
  target.deallocate(block);
  EXPECT_EQ(target.allocate(), block);
  EXPECT_NE(source.allocate(), nullptr);  // NOLINT(bugprone-use-after-move): it stays usable

  Pool assigned;
  ASSERT_NE(assigned.allocate(), nullptr);
  assigned = std::move(target);
  assigned.deallocate(block);
  EXPECT_EQ(assigned.allocate(), block);
  EXPECT_NE(target.allocate(), nullptr);  // NOLINT(bugprone-use-after-move)
}

}  // namespace
}  // namespace quarv
