// Pairwise disequalities become one `distinct`, wherever they stand, where that is smaller.
#include <cstddef>
#include <string>

#include <gtest/gtest.h>

#include "support/simplified_script.h"
#include "support/test_scale.h"
#include <quarv/smtlib/simplify_script.h>
#include <quarv/smtlib/written_size.h>

namespace quarv::smtlib {
namespace {

class Distinct : public testing::Test {
 protected:
  static std::string simplified(const std::string& text) {
    SimplifyOptions options;
    options.smallest = true;
    return simplified_script(text, options);
  }

  /// What the assertion of a formula becomes, and stays.
  static std::string becomes(const std::string& formula) {
    const std::string declarations =
        "(declare-sort U 0)\n(declare-const p Bool)\n"
        "(declare-const u U)\n(declare-const v U)\n(declare-const w U)\n(declare-const z U)\n"
        "(declare-const i Int)\n(declare-const j Int)\n(declare-const k Int)\n"
        "(declare-const x (_ BitVec 8))\n(declare-const y (_ BitVec 8))\n";
    const std::string once = simplified(declarations + "(assert " + formula + ")\n");
    EXPECT_EQ(simplified(once), once);
    const std::size_t from = once.rfind("(assert ");
    return once.substr(from + 8, once.size() - from - 10);
  }
};

TEST_F(Distinct, StandsForAllPairs) {
  EXPECT_EQ(becomes("(and (not (= u v)) (not (= u w)) (not (= v w)))"), "(distinct u v w)");
  EXPECT_EQ(becomes("(and (distinct u v) p (distinct w v) (distinct u w))"), "(and (distinct u v w) p)");
  EXPECT_EQ(becomes("(and (and (distinct i j) (distinct i k)) (and p (distinct j k)))"),
            "(and (distinct i j k) p)");
  EXPECT_EQ(becomes("(and (distinct u v w) (distinct u z) (distinct v z) (distinct w z))"),
            "(distinct u v w z)");
  EXPECT_EQ(becomes("(and (distinct x (bvadd x y)) (distinct x (bvmul x y)) (distinct (bvmul x y) (bvadd x "
                    "y)))"),
            "(distinct x (bvadd x y) (bvmul x y))");
  EXPECT_EQ(becomes("(forall ((a U)) (=> (and (distinct u v) (distinct a u) (distinct a v)) (= a w)))"),
            "(forall ((a U)) (=> (distinct u v a) (= a w)))");
}

TEST_F(Distinct, IsNegatedInDisjunctions) {
  EXPECT_EQ(becomes("(or (= u v) (= u w) (= v w))"), "(not (distinct u v w))");
  EXPECT_EQ(becomes("(or p (= u v) (= u w) (= v w))"), "(or p (not (distinct u v w)))");
}

TEST_F(Distinct, NeedsEveryPair) {
  for (const char* formula :
       {"(and (distinct u v) (distinct u w))",
        "(and (distinct u v) (distinct v w) (distinct w z) (distinct u z))",
        "(or (= u v) (= u w) (distinct v w))", "(and (= u v) (distinct u w) (distinct v z))",
        "(and (distinct i j) (distinct u v) (distinct x y))"}) {
    EXPECT_EQ(becomes(formula), formula);
  }
}

TEST_F(Distinct, StandsBesideOthers) {
  EXPECT_EQ(becomes("(and (distinct u v) (distinct u w) (distinct v w) (distinct w z) (distinct i j))"),
            "(and (distinct u v w) (distinct w z) (distinct i j))");
  EXPECT_EQ(
      becomes("(and (distinct u v) (distinct u w) (distinct v w) (distinct i j) (distinct i k) (distinct "
              "j k))"),
      "(and (distinct u v w) (distinct i j k))");
}

/// All pairs of hundreds of terms, and as many pairs that are not all: it ends, and gives the same again.
TEST_F(Distinct, IsFoundAmongManyPairs) {
  const std::size_t num = 150 / one_in_when_sanitized(2);
  for (const std::size_t step : {1, 2}) {
    std::string text = "(declare-sort U 0)\n";
    for (std::size_t i = 0; i < num; ++i) text += "(declare-const u" + std::to_string(i) + " U)\n";
    text += "(assert (and";
    for (std::size_t i = 0; i < num; ++i) {
      // With steps of 2 those of the one half differ from those of the other: no three of them from each
      // other.
      for (std::size_t k = i + 1; k < num; k += step) {
        text += " (distinct u" + std::to_string(i) + " u" + std::to_string(k) + ')';
      }
    }
    text += "))\n";
    const std::string once = simplified(text);
    EXPECT_EQ(simplified(once), once);
    const std::size_t size = written_size(once, "out.smt2");
    if (step == 1) {
      EXPECT_LT(size, 2 * num);
    } else {
      EXPECT_EQ(size, written_size(text, "in.smt2"));
    }
  }
}

}  // namespace
}  // namespace quarv::smtlib
