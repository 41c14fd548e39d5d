// Storage in large pages: usable from end to end, and given back to the system.
#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/util/large_pages.h>

namespace quarv {
namespace {

constexpr std::size_t mebibyte = std::size_t{1} << 20;

TEST(LargePages, BlocksCanBeUsedFromEndToEnd) {
  for (const std::size_t size :
       {std::size_t{1}, 2 * mebibyte - 1, 2 * mebibyte, 2 * mebibyte + 1, 7 * mebibyte}) {
    auto* const block = static_cast<unsigned char*>(allocate_block(size));
    if (size >= 2 * mebibyte) {
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % (2 * mebibyte), 0U) << size;
    }
    std::memset(block, 0x5a, size);
    EXPECT_EQ(block[0] + block[size - 1], 2 * 0x5a);
    free_block(block, size);
  }
  free_block(nullptr, 0);
  free_block(nullptr, 5 * mebibyte);
}

TEST(LargePages, WhatCannotBeIsAnException) {
  EXPECT_THROW(allocate_block(SIZE_MAX), std::bad_alloc);
  EXPECT_THROW(allocate_block(SIZE_MAX - mebibyte), std::bad_alloc);
}

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

TEST(LargePages, WhatTheSystemDoesNotHaveIsAnException) {
  EXPECT_THROW(allocate_block(SIZE_MAX - 5 * mebibyte), std::bad_alloc);
  EXPECT_THROW(allocate_block(SIZE_MAX / 2), std::bad_alloc);
}

/// Bytes of address space.
std::size_t in_use() {
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

/// As a manager does that builds, releases, and keeps a little each time.
TEST(LargePages, TheSamePlaceIsUsedAgain) {
  std::vector<std::unique_ptr<char[]>> kept;
  const auto grow_and_give_back = [&kept] {
    std::vector<LargeVector<char>> tables(8);
    for (std::size_t size = 2 * mebibyte; size <= 16 * mebibyte; size *= 2) {
      for (LargeVector<char>& table : tables) table.reserve(size);
      kept.push_back(std::make_unique<char[]>(1000));
    }
  };
  grow_and_give_back();
  grow_and_give_back();
  const std::size_t before = in_use();
  for (int i = 0; i < 50; ++i) grow_and_give_back();
  EXPECT_LE(in_use(), before + 8 * mebibyte);
}

#endif

}  // namespace
}  // namespace quarv
