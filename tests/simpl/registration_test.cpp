// Which operators the standard registration gives a simplifier.
#include <set>
#include <typeinfo>

#include <gtest/gtest.h>

#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

class SimplifierRegistration : public ::testing::Test {
 protected:
  SimplifierRegistration() { termsimpl::register_standard_simplifications(&mgr, &simplifier); }

  TermManager mgr;
  StdTermSimplifier simplifier;
};

TEST_F(SimplifierRegistration, OneForEachTagInAFixedOrder) {
  const std::vector<SymbolTag::tag>& tags = simplifier.registered_tags();
  ASSERT_EQ(tags.size(), 68U);
  EXPECT_EQ(std::set<int>(tags.begin(), tags.end()).size(), tags.size());
  const int expected[] = {3,  4,  5,  6,  12, 11, 7,  8,  9,  10, 13, 41, 0,  40, 14, 15, 16,
                          17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33,
                          34, 35, 36, 37, 38, 39, 47, 48, 49, 50, 51, 46, 55, 52, 53, 54, 43,
                          44, 45, 59, 57, 58, 60, 68, 61, 62, 63, 64, 65, 66, 67, 71, 70, 69};
  EXPECT_EQ(std::vector<int>(tags.begin(), tags.end()),
            std::vector<int>(std::begin(expected), std::end(expected)));
}

TEST_F(SimplifierRegistration, OperatorsWithoutASimplifier) {
  for (int tag = 0; tag <= int{SymbolTag::INT_TO_BV}; ++tag) {
    const bool none = tag == 1 || tag == 2 || tag == 42 || tag == int{SymbolTag::FP_ROUND_TO_INT};
    EXPECT_EQ(simplifier.get_simplification(static_cast<SymbolTag::tag>(tag)) == nullptr, none) << tag;
  }
}

TEST_F(SimplifierRegistration, EqualityAndOrderHaveTheirOwnObjectsOfOneClass) {
  const StdTermSimplifier::simpl_fun* const eq = simplifier.get_simplification(SymbolTag::EQ);
  const StdTermSimplifier::simpl_fun* const leq = simplifier.get_simplification(SymbolTag::LEQ);
  EXPECT_NE(eq, leq);
  EXPECT_TRUE(typeid(*eq) == typeid(*leq));
}

}  // namespace
}  // namespace quarv
