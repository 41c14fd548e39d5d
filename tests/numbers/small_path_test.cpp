// Numbers that fit machine words are computed with without any allocation.
#include <functional>
#include <support/allocation_counter.h>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/numbers/bv_number.h>
#include <quarv/numbers/q_number.h>

namespace quarv {
namespace {

class SmallPath : public ::testing::Test {
 protected:
  template <class Operation>
  static long allocations_of(Operation operation) {
    const long before = allocation_count();
    operation();
    return allocation_count() - before;
  }

 private:
  CountGmpAllocations count_;
};

TEST_F(SmallPath, TheCounterCounts) {
  EXPECT_GE(allocations_of([] { QNumber(LONG_MAX) + 1; }), 2);
}

TEST_F(SmallPath, ArithmeticAllocatesNothing) {
  const long words[][2] = {{0, 1},  {1, 1},         {-7, 1},       {5, 6},      {-35, 12}, {123456789, 1024},
                           {-1, 3}, {2000, 999983}, {1L << 29, 1}, {1023, 1000}};
  std::vector<QNumber> values;
  for (const auto& [num, den] : words) values.emplace_back(num, den);
  long checksum = 0;
  EXPECT_EQ(allocations_of([&] {
              for (const QNumber& x : values) {
                for (const QNumber& y : values) {
                  QNumber z = x + y;
                  z -= x;
                  z *= y;
                  if (!y.is_zero()) z /= y;
                  z.self_addmul(x, y);
                  z = z.neg() - 3L + 4L;
                  z = z.floor();
                  checksum += (x < y) + (x <= y) + (x == y) + (x >= y) + (x >= 1L) + (2L <= y) + z.sign();
                  checksum += static_cast<long>(z.hash() & 1) + z.demoted().is_integer();
                  if (!x.is_integer() || !y.is_integer()) continue;
                  checksum += gcd(x, y).small_num() + lcm(x, y).small_num();
                  QNumber q;
                  QNumber r;
                  if (!y.is_zero()) x.divmod(y, q, r);
                }
              }
            }),
            0);
  EXPECT_NE(checksum, 0);
}

TEST_F(SmallPath, ComparisonOfLongFractionsAllocatesNothing) {
  const QNumber x(LONG_MAX, LONG_MAX - 1);
  const QNumber y(LONG_MAX - 1, LONG_MAX - 2);
  bool less = false;
  EXPECT_EQ(allocations_of([&] { less = x < y; }), 0);
  EXPECT_TRUE(less);
}

TEST_F(SmallPath, BitVectorsAllocateNothing) {
  QNumber out;
  EXPECT_EQ(allocations_of([&] {
              for (std::size_t w = 0; w <= 61; ++w) {
                BVNumber::pow2(w, &out);
                const QNumber modulus = out;
                const QNumber top = modulus - 1L;
                BVNumber::neg(w, top, &out);
                BVNumber::twos_complement(-top, w, &out);
                BVNumber::bit_complement(top, &out);
                BVNumber::trim(out, w);
                BVNumber::bit_left_shift(QNumber(1), w, &out);
                BVNumber::bit_right_shift(top, w / 2, &out);
                BVNumber::bit_op(top, out, BVNumber::bit_and_l, mpz_and, &out);
                BVNumber::bit_op(top, out, BVNumber::bit_or_l, mpz_ior, &out);
                BVNumber::bit_op(top, out, BVNumber::bit_xor_l, mpz_xor, &out);
              }
              BVNumber::neg(63, QNumber(1), &out);
              BVNumber::twos_complement(QNumber(-1), 63, &out);
              BVNumber::trim(out, 63);
            }),
            0);
}

TEST_F(SmallPath, BigArithmeticInPlaceAllocatesNothingInSteadyState) {
  const QNumber step = QNumber::parse("123456789012345678901234567890");
  QNumber x = QNumber::parse("1" + std::string(60, '0'));
  const auto round_trip = [&] {
    x += step;
    x *= step;
    x -= step;
    x += step;
    x /= step;
    x -= step;
  };
  for (int i = 0; i < 3; ++i) round_trip();
  const QNumber before = x;
  EXPECT_EQ(allocations_of(round_trip), 0);
  EXPECT_EQ(x, before);
}

}  // namespace
}  // namespace quarv
