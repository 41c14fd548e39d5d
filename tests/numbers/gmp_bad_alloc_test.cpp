// Whichever allocation in GMP fails: it is std::bad_alloc, and all numbers can be used afterwards.
#include <algorithm>
#include <cstddef>
#include <functional>
#include <new>
#include <string>
#include <support/allocation_counter.h>
#include <thread>

#include <gmpxx.h>
#include <gtest/gtest.h>

#include <quarv/numbers/bv_number.h>
#include <quarv/numbers/gmp_bad_alloc.h>
#include <quarv/numbers/ieee_float.h>
#include <quarv/numbers/q_number.h>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace quarv {
namespace {

/// GMP does not give back the scratch space of an operation that an exception ends; that is no finding.
class LeaksExpected {
 public:
#ifdef __SANITIZE_ADDRESS__
  LeaksExpected() {
    __lsan_disable();
  }
  ~LeaksExpected() {
    __lsan_enable();
  }
#else
  LeaksExpected() {}
  ~LeaksExpected() {}
#endif
  LeaksExpected(const LeaksExpected&) = delete;
  LeaksExpected& operator=(const LeaksExpected&) = delete;
};

/// A number in big form of at least so many bits.
QNumber wide(std::size_t bits, long addend) {
  mpz_class value = (mpz_class(1) << bits) + addend;
  return QNumber(value.get_mpz_t(), mpz_class(1).get_mpz_t(), false);
}

/// Computes with operands that grow from one attempt to the next, so that no result finds room where the one
/// before it was, while one allocation after the other fails, and computes the same again without failures.
void fail_everywhere(const std::function<std::string(std::size_t bits)>& compute) {
  const GmpBadAlloc gmp;
  std::size_t failures = 0;
  for (long successes = 0, done = 0; done < 3; ++successes) {
    const std::size_t bits = 1000 + 200 * static_cast<std::size_t>(successes);
    std::string result;
    bool failed = false;
    try {
      const LeaksExpected leaks;
      const FailAllocations fail(successes);
      result = compute(bits);
    } catch (const std::bad_alloc&) {
      failed = true;
    }
    const std::string again = compute(bits);
    if (!failed) {
      EXPECT_EQ(result, again);
      ++done;
    }
    failures += failed;
  }
  EXPECT_GT(failures, 0U);
}

TEST(GmpBadAlloc, LeavesNumbersSound) {
  fail_everywhere([](std::size_t bits) { return (wide(bits, 1) * wide(bits, 3)).to_string().substr(0, 30); });
  fail_everywhere([](std::size_t bits) {
    QNumber x = wide(bits, 1) / wide(bits, 3);
    x += wide(bits, 5) / wide(bits, 7);
    x -= wide(bits, 5) / wide(bits, 3);
    x.self_addmul(wide(bits, 1), wide(bits, 9));
    return x.to_string().substr(0, 30);
  });
  fail_everywhere(
      [](std::size_t bits) { return lcm(wide(bits, 1), wide(bits, 3)).to_string().substr(0, 30); });
  fail_everywhere([](std::size_t bits) {
    QNumber quotient;
    QNumber rest;
    wide(2 * bits, 1).divmod(wide(bits, 3), quotient, rest);
    BVNumber::pow2(bits, &rest);
    BVNumber::neg(2 * bits, rest, &quotient);
    return quotient.to_string().substr(0, 30);
  });
}

TEST(GmpBadAlloc, LeavesFloatsSound) {
  fail_everywhere([](std::size_t bits) {
    const IEEEFloat::format format{15, bits};
    IEEEFloat x = IEEEFloat::from_number(QNumber(1, 3), format, IEEEFloat::round_nearest_even);
    x *= x;
    x.sqrt();
    return x.get_bits().to_string().substr(0, 30);
  });
}

void* host_allocate(std::size_t size) {
  return ::operator new(size);
}
void* host_reallocate(void* block, std::size_t old_size, std::size_t size) {
  void* const moved = ::operator new(size);
  std::copy_n(static_cast<char*>(block), std::min(old_size, size), static_cast<char*>(moved));
  ::operator delete(block);
  return moved;
}
void host_release(void* block, std::size_t) {
  ::operator delete(block);
}

void* (*allocate_in_force())(std::size_t) {
  void* (*result)(std::size_t);
  mp_get_memory_functions(&result, nullptr, nullptr);
  return result;
}

TEST(GmpBadAlloc, StaysInForceUntilTheHostHasFunctionsOfItsOwn) {
  { const GmpBadAlloc first; }
  const auto ours = allocate_in_force();
  mp_set_memory_functions(nullptr, nullptr, nullptr);
  const auto gmps = allocate_in_force();
  EXPECT_NE(ours, gmps);
  {
    const GmpBadAlloc again;
    EXPECT_EQ(allocate_in_force(), ours);
    { const GmpBadAlloc inner; }
    EXPECT_EQ(allocate_in_force(), ours);
  }
  EXPECT_EQ(allocate_in_force(), ours);
}

/// There GMP's own functions allocate, to which the failures of this test do not reach.
TEST(GmpBadAlloc, IsNothingToOtherThreads) {
  const GmpBadAlloc of_this_thread;
  const auto throws = [] {
    const LeaksExpected leaks;
    mpz_class value = 1;
    const FailAllocations failing(0);
    try {
      value <<= 1'000'000;
    } catch (const std::bad_alloc&) {
      return true;
    }
    return false;
  };
  EXPECT_TRUE(throws());
  bool thrown_there = true;
  std::thread([&] { thrown_there = throws(); }).join();
  EXPECT_FALSE(thrown_there);
}

TEST(GmpBadAlloc, LeavesTheHostItsOwnFunctions) {
  mp_set_memory_functions(host_allocate, host_reallocate, host_release);
  {
    const GmpBadAlloc gmp;
    EXPECT_EQ(allocate_in_force(), host_allocate);
  }
  EXPECT_EQ(allocate_in_force(), host_allocate);
  mp_set_memory_functions(nullptr, nullptr, nullptr);
}

}  // namespace
}  // namespace quarv
