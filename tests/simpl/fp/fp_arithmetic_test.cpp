// Folding of rounded operations, signs, minimum and maximum; and what does not fold.
#include <simpl/fp/fp_fixture.h>

#include <quarv/simpl/fp/arithmetic.h>

namespace quarv {
namespace {

class FpArithmetic : public FloatingPoints {
 protected:
  using Binary = const Term* (TermManager::*)(const Term*, const Term*, const Term*);
  struct Operation {
    SymbolTag::tag tag;
    Binary make;
    bool commutative;
  };
  static constexpr Operation operations[] = {{SymbolTag::FP_ADD, &TermManager::make_fp_add, true},
                                             {SymbolTag::FP_SUB, &TermManager::make_fp_sub, false},
                                             {SymbolTag::FP_MUL, &TermManager::make_fp_mul, true},
                                             {SymbolTag::FP_DIV, &TermManager::make_fp_div, false}};
};

TEST_F(FpArithmetic, FoldsInEveryFormat) {
  for (const Format f : {binary16, binary32, binary64, binary128, Format{5, 200}, Format{4, 3}}) {
    const Term* const a = value("3", f);
    const Term* const b = value("1.5", f);
    for (const Term* r : rounding_modes) {
      EXPECT_EQ(mgr.make_fp_add(r, a, b), value("4.5", f));
      EXPECT_EQ(mgr.make_fp_sub(r, b, a), value("-1.5", f));
      EXPECT_EQ(mgr.make_fp_mul(r, a, b), value("4.5", f));
      EXPECT_EQ(mgr.make_fp_div(r, a, b), value("2", f));
      EXPECT_EQ(mgr.make_fp_sqrt(r, value("2.25", f)), b);
    }
  }
}

TEST_F(FpArithmetic, RoundsInTheModeOfTheFirstArgument) {
  const Term* const one = value("1", binary32);
  const Term* const three = value("3", binary32);
  const Term* const below = literal(0x3eaaaaaa, binary32);
  const Term* const above = literal(0x3eaaaaab, binary32);
  const Term* const thirds[] = {above, below, above, below};
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(mgr.make_fp_div(rounding_modes[i], one, three), thirds[i]);
  const Term* const two = value("2", binary32);
  const Term* const roots[] = {literal(0x3fb504f3, binary32), literal(0x3fb504f3, binary32),
                               literal(0x3fb504f4, binary32), literal(0x3fb504f3, binary32)};
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(mgr.make_fp_sqrt(rounding_modes[i], two), roots[i]);
}

TEST_F(FpArithmetic, SumOfOppositeZerosHasTheSignOfTheMode) {
  for (const Format f : formats) {
    const Term* const plus = zero(f);
    const Term* const minus = zero(f, true);
    for (std::size_t i = 0; i < 4; ++i) {
      EXPECT_EQ(mgr.make_fp_add(rounding_modes[i], plus, minus), i == 3 ? minus : plus);
      EXPECT_EQ(mgr.make_fp_add(rounding_modes[i], minus, plus), i == 3 ? minus : plus);
      EXPECT_EQ(mgr.make_fp_add(rounding_modes[i], minus, minus), minus);
    }
  }
}

TEST_F(FpArithmetic, UndefinedResultsAreTheOneNaN) {
  for (const Format f : formats) {
    EXPECT_EQ(mgr.make_fp_sub(even, infinity(f), infinity(f)), nan(f));
    EXPECT_EQ(mgr.make_fp_div(even, zero(f), zero(f, true)), nan(f));
    EXPECT_EQ(mgr.make_fp_mul(even, infinity(f), zero(f)), nan(f));
    EXPECT_EQ(mgr.make_fp_sqrt(even, infinity(f, true)), nan(f));
    EXPECT_EQ(mgr.make_fp_add(even, nan(f, true, 1), zero(f)), nan(f));
  }
}

TEST_F(FpArithmetic, FoldsUnderAConstantModeOnly) {
  const Term* const a = value("1", binary32);
  const Term* const b = value("2", binary32);
  const Term* const choice = mgr.make_ite(mgr.make_constant("p", mgr.bool_type), even, rounding_modes[1]);
  ASSERT_LT(a->id, b->id);
  for (const Term* r : {any_rounding, away, choice}) {
    for (const Operation& op : operations) {
      EXPECT_TRUE(is_application((mgr.*op.make)(r, a, b), op.tag, {r, a, b}));
      const Term* const swapped = (mgr.*op.make)(r, b, a);
      if (op.commutative) {
        EXPECT_TRUE(is_application(swapped, op.tag, {r, a, b}));
      } else {
        EXPECT_TRUE(is_application(swapped, op.tag, {r, b, a}));
      }
    }
    EXPECT_TRUE(is_application(mgr.make_fp_sqrt(r, a), SymbolTag::FP_SQRT, {r, a}));
    EXPECT_TRUE(is_application(mgr.make_fp_cast(5, 10, r, a), SymbolTag::FP_CAST, {r, a}));
  }
}

TEST_F(FpArithmetic, FoldsLiteralsOnly) {
  const Term* const x = variable(binary32, "x");
  const Term* const a = value("1", binary32);
  for (const Operation& op : operations) {
    EXPECT_TRUE(is_application((mgr.*op.make)(even, x, a), op.tag, {even, x, a}));
    const Term* const swapped = (mgr.*op.make)(even, a, x);
    if (op.commutative) {
      EXPECT_TRUE(is_application(swapped, op.tag, {even, x, a}));
    } else {
      EXPECT_TRUE(is_application(swapped, op.tag, {even, a, x}));
    }
    EXPECT_TRUE(is_application((mgr.*op.make)(even, x, x), op.tag, {even, x, x}));
  }
  EXPECT_TRUE(is_application(mgr.make_fp_sqrt(even, x), SymbolTag::FP_SQRT, {even, x}));
  EXPECT_TRUE(is_application(mgr.make_fp_neg(x), SymbolTag::FP_NEG, {x}));
  EXPECT_TRUE(is_application(mgr.make_fp_abs(x), SymbolTag::FP_ABS, {x}));
  EXPECT_TRUE(is_application(mgr.make_fp_cast(5, 10, even, x), SymbolTag::FP_CAST, {even, x}));
}

TEST_F(FpArithmetic, TheSwapIsWrittenToTheArguments) {
  const Term* const x = variable(binary32, "x");
  const Term* const y = variable(binary32, "y");
  for (const SymbolTag::tag tag : {SymbolTag::FP_ADD, SymbolTag::FP_MUL}) {
    std::vector<const Term*> args = {even, y, x};
    const Symbol* const s = mgr.make_fp_symbol(tag, 8, 23);
    EXPECT_TRUE(is_application((*simplifier.get_simplification(tag))(&mgr, s, args), tag, {even, x, y}));
    EXPECT_EQ(args, (std::vector<const Term*>{even, x, y}));
  }
}

TEST_F(FpArithmetic, RoundToIntegralNeverFolds) {
  EXPECT_EQ(simplifier.get_simplification(SymbolTag::FP_ROUND_TO_INT), nullptr);
  const Term* const a = value("1.5", binary32);
  for (const Term* r : rounding_modes) {
    EXPECT_TRUE(is_application(mgr.make_fp_round_to_int(r, a), SymbolTag::FP_ROUND_TO_INT, {r, a}));
    EXPECT_EQ(termsimpl::fp_eval_bin_op(SymbolTag::FP_ROUND_TO_INT, &mgr, 8, 23, r, a, nullptr), nullptr);
  }
  termsimpl::FpRoundToIntSimpl rebuild;
  const Symbol* const s = mgr.make_fp_symbol(SymbolTag::FP_ROUND_TO_INT, 8, 23);
  EXPECT_TRUE(is_application(rebuild(&mgr, s, {even, a}), SymbolTag::FP_ROUND_TO_INT, {even, a}));
}

TEST_F(FpArithmetic, TheEvaluatorKnowsFiveOperations) {
  const Term* const a = value("1", binary32);
  const Term* const x = variable(binary32, "x");
  const auto eval = [&](SymbolTag::tag op, const Term* r, const Term* left, const Term* right) {
    return termsimpl::fp_eval_bin_op(op, &mgr, 8, 23, r, left, right);
  };
  EXPECT_EQ(eval(SymbolTag::FP_ADD, even, a, a), value("2", binary32));
  EXPECT_EQ(eval(SymbolTag::FP_SQRT, even, a, nullptr), a);
  EXPECT_EQ(eval(SymbolTag::FP_ADD, any_rounding, a, a), nullptr);
  EXPECT_EQ(eval(SymbolTag::FP_ADD, even, x, a), nullptr);
  EXPECT_EQ(eval(SymbolTag::FP_ADD, even, a, x), nullptr);
  EXPECT_EQ(eval(SymbolTag::FP_MIN, even, a, a), nullptr);
  EXPECT_EQ(eval(SymbolTag::FP_NEG, even, a, nullptr), nullptr);
}

TEST_F(FpArithmetic, NegationAndAbsoluteValue) {
  for (const Format f : formats) {
    for (const bool negative : {false, true}) {
      EXPECT_EQ(mgr.make_fp_neg(zero(f, negative)), zero(f, !negative));
      EXPECT_EQ(mgr.make_fp_neg(infinity(f, negative)), infinity(f, !negative));
      EXPECT_EQ(mgr.make_fp_neg(literal(negative, 0, 1, f)), literal(!negative, 0, 1, f));
      EXPECT_EQ(mgr.make_fp_abs(zero(f, negative)), zero(f));
      EXPECT_EQ(mgr.make_fp_abs(infinity(f, negative)), infinity(f));
      EXPECT_EQ(mgr.make_fp_abs(literal(negative, 0, 1, f)), literal(false, 0, 1, f));
      // NaNs keep sign and payload.
      const Term* const not_a_number = nan(f, negative, 1);
      EXPECT_EQ(mgr.make_fp_neg(not_a_number), not_a_number);
      EXPECT_EQ(mgr.make_fp_abs(not_a_number), not_a_number);
    }
  }
}

TEST_F(FpArithmetic, MinimumAndMaximumOfNumbers) {
  for (const Format f : formats) {
    const Term* const low = literal(true, 0, 1, f);
    const Term* const high = literal(false, 0, 1, f);
    const Term* const top = infinity(f);
    EXPECT_EQ(mgr.make_fp_min(low, high), low);
    EXPECT_EQ(mgr.make_fp_min(high, low), low);
    EXPECT_EQ(mgr.make_fp_max(low, high), high);
    EXPECT_EQ(mgr.make_fp_max(high, low), high);
    EXPECT_EQ(mgr.make_fp_min(top, high), high);
    EXPECT_EQ(mgr.make_fp_max(high, top), top);
    EXPECT_EQ(mgr.make_fp_min(low, low), low);
    EXPECT_EQ(mgr.make_fp_max(low, low), low);
  }
}

TEST_F(FpArithmetic, MinimumAndMaximumOfZeros) {
  for (const Format f : formats) {
    const Term* const plus = zero(f);
    const Term* const minus = zero(f, true);
    for (const auto make : {&TermManager::make_fp_min, &TermManager::make_fp_max}) {
      EXPECT_EQ((mgr.*make)(plus, minus), plus);
      EXPECT_EQ((mgr.*make)(minus, plus), plus);
      EXPECT_EQ((mgr.*make)(plus, plus), plus);
      EXPECT_EQ((mgr.*make)(minus, minus), minus);
    }
  }
}

TEST_F(FpArithmetic, MinimumAndMaximumOfNaNs) {
  for (const Format f : formats) {
    const Term* const x = literal(false, 0, 1, f);
    const Term* const first = nan(f, true, 1);
    const Term* const second = nan(f, false, 1);
    for (const auto make : {&TermManager::make_fp_min, &TermManager::make_fp_max}) {
      EXPECT_EQ((mgr.*make)(first, x), x);
      EXPECT_EQ((mgr.*make)(x, first), x);
      EXPECT_EQ((mgr.*make)(first, second), first);
      EXPECT_EQ((mgr.*make)(second, first), second);
      EXPECT_EQ((mgr.*make)(first, first), first);
    }
  }
}

TEST_F(FpArithmetic, MinimumAndMaximumResetTheExceptions) {
  const Term* const one = value("1", binary32);
  swflt::float_exception_flags = swflt::flag_inexact;
  mgr.make_fp_min(one, zero(binary32));
  EXPECT_EQ(swflt::float_exception_flags, 0);
  swflt::float_exception_flags = swflt::flag_inexact;
  mgr.make_fp_max(one, zero(binary32));
  EXPECT_EQ(swflt::float_exception_flags, 0);
}

TEST_F(FpArithmetic, MinimumAndMaximumKeepTheirOrder) {
  const Term* const x = variable(binary32, "x");
  const Term* const y = variable(binary32, "y");
  const Term* const a = value("1", binary32);
  for (const Term* other : {a, x}) {
    EXPECT_TRUE(is_application(mgr.make_fp_min(y, other), SymbolTag::FP_MIN, {y, other}));
    EXPECT_TRUE(is_application(mgr.make_fp_max(y, other), SymbolTag::FP_MAX, {y, other}));
    EXPECT_TRUE(is_application(mgr.make_fp_min(other, y), SymbolTag::FP_MIN, {other, y}));
    EXPECT_TRUE(is_application(mgr.make_fp_max(other, y), SymbolTag::FP_MAX, {other, y}));
  }
}

}  // namespace
}  // namespace quarv
