#include <gtest/gtest.h>

#include <quarv/numbers/q_number.h>

namespace quarv {
namespace {

TEST(QNumber, ReducesFractions) {
  EXPECT_EQ(QNumber(6, -4).to_string(), "-3/2");
  EXPECT_EQ(QNumber(0, -7).to_string(), "0");
  EXPECT_EQ(QNumber::parse("1.25").to_string(), "5/4");
  EXPECT_EQ((QNumber(1L << 62) * QNumber(4)).to_string(), "18446744073709551616");
  EXPECT_EQ(QNumber(LONG_MIN).to_string(), "-9223372036854775808");
}

}  // namespace
}  // namespace quarv
