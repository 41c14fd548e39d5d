#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simpl/arith/arith_fixture.h"

// Operations whose results would be too large stay as they are.

namespace quarv {
namespace {

class LimitsTest : public ArithFixture {};

TEST_F(LimitsTest, ProductsAndSumsOfLargeNumbers) {
  const Term* square = number(3);
  int folded = 0;
  for (int i = 0; i < 60; ++i) {
    square = mgr.make_times(square, square);
    folded += mgr.get_number(square) != nullptr;
  }
  EXPECT_EQ(folded, 23);  // 3^(2^23) has 13.3 million bits
  EXPECT_EQ(mgr.get_tag(square->symbol), SymbolTag::TIMES);
  const Term* x = integer("x");
  const Term* atom = mgr.make_leq(mgr.make_times(square, x), number(3));
  EXPECT_EQ(mgr.get_tag(atom->symbol), SymbolTag::LEQ);
}

TEST_F(LimitsTest, CoefficientsOfSums) {
  const Term* sum = integer("x");
  const Term* factor = number("1" + std::string(300'000, '0'));
  for (int i = 0; i < 40; ++i) {  // a coefficient of 12 million digits
    const Term* multiple = mgr.make_times(factor, sum);
    sum = mgr.make_plus(multiple, number(1));
  }
  const Term* atom = mgr.make_equal(sum, number(0));
  EXPECT_EQ(mgr.get_tag(atom->symbol), SymbolTag::EQ);
  EXPECT_TRUE(atom->args[0] == sum || atom->args[1] == sum);
}

TEST_F(LimitsTest, ComparisonsOfPrefixSums) {
  constexpr int n = 4000;
  const Term* sum = integer("x", 0);
  for (int i = 1; i < n; ++i) {
    sum = mgr.make_plus(sum, integer("x", i));
    mgr.make_leq(sum, number(i));
  }
  EXPECT_LT(mgr.num_terms(), 1'500'000u);  // 8 million, were all of them normalised
  const Term* x = integer("x", 1);
  EXPECT_EQ(mgr.make_leq(mgr.make_plus(x, x), number(3)), mgr.make_leq(x, number(1)));
}

TEST_F(LimitsTest, RotationsByManyBits) {
  const std::size_t amount = std::size_t{1} << 50;  // 4 modulo both widths
  for (const std::size_t width : {std::size_t{6}, std::size_t{70}}) {
    const Term* one = mgr.make_bv_number(1, width);
    const Term* sixteen = mgr.make_bv_number(16, width);
    EXPECT_EQ(amount % width, 4u);
    EXPECT_EQ(mgr.make_bv_rotate_left(amount, one), sixteen);
    EXPECT_EQ(mgr.make_bv_rotate_right(amount, sixteen), one);
    EXPECT_EQ(mgr.make_bv_rotate_right(amount, mgr.make_bv_rotate_left(3, one)),
              mgr.make_bv_rotate_left(width - 1, one));
  }
}

TEST_F(LimitsTest, VeryWideBitVectors) {
  const std::size_t width = std::size_t{1} << 40;
  const Term* zero = mgr.make_bv_number(0, width);
  EXPECT_EQ(mgr.get_number(mgr.make_bv_not(zero)), nullptr);
  EXPECT_EQ(mgr.get_number(mgr.make_bv_sign_extend(1, zero)), nullptr);
}

}  // namespace
}  // namespace quarv
