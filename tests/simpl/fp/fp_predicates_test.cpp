// Comparisons and classification of literals, and what is left of them for other terms.
#include <simpl/fp/fp_fixture.h>

namespace quarv {
namespace {

class FpPredicates : public FloatingPoints {
 protected:
  using Predicate = const Term* (TermManager::*)(const Term*);

  /// In the order of `truth`: NaN, infinite, zero, subnormal, normal, negative, positive.
  static constexpr Predicate predicates[] = {
      &TermManager::make_fp_isnan,       &TermManager::make_fp_isinf,    &TermManager::make_fp_iszero,
      &TermManager::make_fp_issubnormal, &TermManager::make_fp_isnormal, &TermManager::make_fp_isneg,
      &TermManager::make_fp_ispos};

  /// One digit for each predicate.
  void expect_classes(const Term* x, const std::string& truth) {
    std::string actual;
    for (const Predicate p : predicates) actual += (mgr.*p)(x) == mgr.true_term ? '1' : '0';
    EXPECT_EQ(actual, truth) << mgr.get_number(x)->to_string();
    for (const Predicate p : predicates) EXPECT_EQ(mgr.arity((mgr.*p)(x)), 0U);
  }

  void expect_comparisons(const Term* a, const Term* b, bool equal, bool less, bool less_or_equal) {
    EXPECT_EQ(mgr.make_fp_eq(a, b), mgr.make_bool(equal));
    EXPECT_EQ(mgr.make_fp_lt(a, b), mgr.make_bool(less));
    EXPECT_EQ(mgr.make_fp_le(a, b), mgr.make_bool(less_or_equal));
  }
};

TEST_F(FpPredicates, Classes) {
  for (const Format f : formats) {
    expect_classes(zero(f), "0010001");
    expect_classes(zero(f, true), "0010010");
    expect_classes(infinity(f), "0100001");
    expect_classes(infinity(f, true), "0100010");
    for (const bool negative : {false, true}) {
      const std::string sign = negative ? "10" : "01";
      expect_classes(nan(f, negative, 1), "1000000");
      expect_classes(nan(f, negative, pow2(f.mw) - 1), "1000000");
      expect_classes(literal(negative, 0, 1, f), "00010" + sign);
      expect_classes(literal(negative, 0, pow2(f.mw) - 1, f), "00010" + sign);
      if (f.ew == 1) continue;  // no normal numbers
      expect_classes(literal(negative, 1, 0, f), "00001" + sign);
      expect_classes(literal(negative, pow2(f.ew) - 2, pow2(f.mw) - 1, f), "00001" + sign);
    }
  }
}

TEST_F(FpPredicates, ComparisonsOfNumbers) {
  for (const Format f : formats) {
    const Term* const ascending[] = {infinity(f, true), literal(true, 0, pow2(f.mw) - 1, f), zero(f, true),
                                     literal(false, 0, 1, f), infinity(f)};
    for (std::size_t i = 0; i < std::size(ascending); ++i) {
      for (std::size_t j = 0; j < std::size(ascending); ++j) {
        expect_comparisons(ascending[i], ascending[j], i == j, i < j, i <= j);
      }
    }
  }
}

TEST_F(FpPredicates, ZerosAreEqual) {
  for (const Format f : formats) {
    const Term* const plus = zero(f);
    const Term* const minus = zero(f, true);
    expect_comparisons(plus, minus, true, false, true);
    expect_comparisons(minus, plus, true, false, true);
  }
}

TEST_F(FpPredicates, NaNIsNotComparable) {
  for (const Format f : formats) {
    const Term* const one = nan(f, false, 1);
    const Term* const other = nan(f, true, pow2(f.mw) - 1);
    for (const Term* x : {one, other, zero(f), infinity(f), infinity(f, true)}) {
      expect_comparisons(x, one, false, false, false);
      expect_comparisons(one, x, false, false, false);
    }
  }
}

TEST_F(FpPredicates, OnlyEqualityOrdersItsOperands) {
  const Term* const x = variable(binary32, "x");
  const Term* const y = variable(binary32, "y");
  const Term* const a = value("1", binary32);
  ASSERT_LT(x->id, y->id);
  EXPECT_TRUE(is_application(mgr.make_fp_eq(y, x), SymbolTag::FP_EQ, {x, y}));
  EXPECT_TRUE(is_application(mgr.make_fp_eq(x, y), SymbolTag::FP_EQ, {x, y}));
  EXPECT_TRUE(is_application(mgr.make_fp_eq(a, x), SymbolTag::FP_EQ, {x, a}));
  EXPECT_TRUE(is_application(mgr.make_fp_eq(x, x), SymbolTag::FP_EQ, {x, x}));
  EXPECT_TRUE(is_application(mgr.make_fp_lt(y, x), SymbolTag::FP_LT, {y, x}));
  EXPECT_TRUE(is_application(mgr.make_fp_le(y, x), SymbolTag::FP_LE, {y, x}));
  EXPECT_TRUE(is_application(mgr.make_fp_lt(a, x), SymbolTag::FP_LT, {a, x}));
  EXPECT_TRUE(is_application(mgr.make_fp_le(x, a), SymbolTag::FP_LE, {x, a}));
  EXPECT_TRUE(is_application(mgr.make_fp_lt(x, x), SymbolTag::FP_LT, {x, x}));
}

TEST_F(FpPredicates, EqualityWritesItsOrderToTheArguments) {
  const Term* const x = variable(binary32, "x");
  const Term* const y = variable(binary32, "y");
  std::vector<const Term*> args = {y, x};
  (*simplifier.get_simplification(SymbolTag::FP_EQ))(&mgr, mgr.make_fp_symbol(SymbolTag::FP_EQ, 8, 23), args);
  EXPECT_EQ(args, (std::vector<const Term*>{x, y}));
}

TEST_F(FpPredicates, ComparisonsTakeTheFormatFromTheFirstOperand) {
  // Numerals of another type than a floating-point one are not compared.
  const Term* const one = bv(1, 32);
  const Term* const two = bv(2, 32);
  for (const SymbolTag::tag tag : {SymbolTag::FP_EQ, SymbolTag::FP_LT, SymbolTag::FP_LE}) {
    const Symbol* const s = mgr.make_fp_symbol(tag, 8, 23);
    EXPECT_TRUE(is_application((*simplifier.get_simplification(tag))(&mgr, s, {one, two}), tag, {one, two}));
  }
}

TEST_F(FpPredicates, ClassificationOfOtherTerms) {
  const Term* const x = variable(binary32, "x");
  for (const Predicate p : predicates) {
    const Term* const t = (mgr.*p)(x);
    EXPECT_TRUE(is_application(t, mgr.get_tag(t->symbol), {x}));
  }
}

}  // namespace
}  // namespace quarv
