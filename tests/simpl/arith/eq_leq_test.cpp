#include "simpl/arith/arith_fixture.h"

namespace quarv {
namespace {

class EqLeqTest : public ArithFixture {
 protected:
  const Symbol* int_eq = mgr.make_equal_symbol(mgr.int_type);
  const Symbol* rat_eq = mgr.make_equal_symbol(mgr.rat_type);
  const Symbol* int_leq = mgr.int_leq_symbol;
  const Symbol* rat_leq = mgr.rat_leq_symbol;
  const Term* x = integer("x");
  const Term* y = integer("y");
  const Term* r = rational("r");
  const Term* q = rational("q");

  const Term* times(long c, const Term* t) { return plain_times(number(c), t); }
  const Term* atom(const Symbol* s, const Term* a, const Term* b) { return mgr.do_make_term(s, {a, b}); }
};

TEST_F(EqLeqTest, ComparisonsOfNumerals) {
  EXPECT_EQ(simplify(int_leq, {number(3), number(5)}), mgr.true_term);
  EXPECT_EQ(simplify(int_leq, {number(5), number(3)}), mgr.false_term);
  EXPECT_EQ(simplify(rat_leq, {number(1, 3), number(1, 2)}), mgr.true_term);
  EXPECT_EQ(simplify(int_eq, {number(2), number(2)}), mgr.true_term);
  EXPECT_EQ(simplify(int_eq, {number(2), number(3)}), mgr.false_term);
  EXPECT_EQ(simplify(rat_eq, {number(1, 2), number(3)}), mgr.false_term);
  EXPECT_EQ(simplify(int_leq, {number("9223372036854775808"), number("9223372036854775807")}),
            mgr.false_term);
}

TEST_F(EqLeqTest, TheSameTermTwice) {
  EXPECT_EQ(simplify(int_leq, {x, x}), mgr.true_term);
  EXPECT_EQ(simplify(int_eq, {x, x}), mgr.true_term);
  const Term* b = constant("b", mgr.get_bv_type(8));
  EXPECT_EQ(simplify(mgr.make_equal_symbol(mgr.get_bv_type(8)), {b, b}), mgr.true_term);
}

TEST_F(EqLeqTest, IntegerEqualityWithoutSolutions) {
  EXPECT_EQ(simplify(int_eq, {plain_plus(times(2, x), times(4, y)), number(3)}), mgr.false_term);
  EXPECT_EQ(simplify(int_eq, {plain_plus(times(2, x), times(4, y)), number(6)}),
            atom(int_eq, plain_plus(x, times(2, y)), number(3)));
  // Real unknowns leave it open.
  EXPECT_EQ(simplify(rat_eq, {plain_plus(times(2, r), times(4, q)), number(3)}),
            atom(rat_eq, plain_plus(r, times(2, q)), number(3, 2)));
}

TEST_F(EqLeqTest, IntegerBoundsAreTightened) {
  EXPECT_EQ(simplify(int_leq, {times(2, x), number(3)}), atom(int_leq, x, number(1)));
  EXPECT_EQ(simplify(int_leq, {number(3), times(2, x)}), atom(int_leq, number(2), x));
  EXPECT_EQ(simplify(int_leq, {times(2, x), number(-3)}), atom(int_leq, x, number(-2)));
  EXPECT_EQ(simplify(int_leq, {number(-3), times(2, x)}), atom(int_leq, number(-1), x));
  EXPECT_EQ(simplify(int_leq, {times(2, x), number(4)}), atom(int_leq, x, number(2)));
  EXPECT_EQ(simplify(rat_leq, {x, number(5, 2)}), atom(rat_leq, x, number(2)));
  EXPECT_EQ(simplify(rat_leq, {times(-3, x), number("-36893488147419103233/2")}),
            atom(rat_leq, number("6148914691236517206"), x));
}

TEST_F(EqLeqTest, RationalBoundsAreNot) {
  EXPECT_EQ(simplify(rat_leq, {times(2, r), number(3)}), atom(rat_leq, r, number(3, 2)));
  const Term* mixed = plain_plus(x, r);
  EXPECT_EQ(simplify(rat_leq, {mixed, number(1, 2)}), atom(rat_leq, mixed, number(1, 2)));
}

TEST_F(EqLeqTest, NegativeLeadingCoefficientFlips) {
  Args args{plain_plus(y, times(-1, x)), number(0)};
  const Term* difference = plain_plus(x, times(-1, y));
  EXPECT_EQ(simplify(int_leq, args), atom(int_leq, number(0), difference));
  EXPECT_EQ(args, (Args{number(0), difference}));
  Args equality{plain_plus(y, times(-1, x)), number(7)};
  EXPECT_EQ(simplify(int_eq, equality), atom(int_eq, difference, number(-7)));
  EXPECT_EQ(equality, (Args{difference, number(-7)}));
}

TEST_F(EqLeqTest, SingleMonomials) {
  EXPECT_EQ(simplify(rat_leq, {number(1), times(-2, r)}), atom(rat_leq, r, number(-1, 2)));
  EXPECT_EQ(simplify(rat_eq, {times(-2, r), number(1)}), atom(rat_eq, r, number(-1, 2)));
  EXPECT_EQ(simplify(int_leq, {number(4), x}), atom(int_leq, number(4), x));
  EXPECT_EQ(simplify(int_leq, {x, number(4)}), atom(int_leq, x, number(4)));
}

TEST_F(EqLeqTest, NothingLeftToCompare) {
  const Term* next = plain_plus(x, number(1));
  EXPECT_EQ(simplify(int_leq, {x, next}), mgr.true_term);
  EXPECT_EQ(simplify(int_leq, {next, x}), mgr.false_term);
  EXPECT_EQ(simplify(int_eq, {next, x}), mgr.false_term);
  EXPECT_EQ(simplify(int_eq, {plain_plus(next, number(-1)), x}), mgr.true_term);
  EXPECT_EQ(simplify(int_leq, {plain_plus(next, number(-1)), x}), mgr.true_term);
}

TEST_F(EqLeqTest, PlainEqualities) {
  Args args{y, x};
  EXPECT_EQ(simplify(int_eq, args), atom(int_eq, x, y));
  EXPECT_EQ(args, (Args{x, y}));
  EXPECT_EQ(simplify(int_eq, {number(5), x}), atom(int_eq, x, number(5)));
  EXPECT_EQ(simplify(int_eq, {x, number(5)}), atom(int_eq, x, number(5)));
  EXPECT_EQ(simplify(rat_eq, {x, number(5, 2)}), mgr.false_term);
  EXPECT_EQ(simplify(rat_eq, {number(5, 2), x}), mgr.false_term);
  EXPECT_EQ(simplify(rat_eq, {r, number(5, 2)}), atom(rat_eq, r, number(5, 2)));
  EXPECT_EQ(simplify(rat_eq, {number(5, 2), r}), atom(rat_eq, r, number(5, 2)));
  const Symbol* f = mgr.declare_fun("f", {mgr.int_type}, mgr.int_type);
  const Term* fx = mgr.make_term(f, {x});
  EXPECT_EQ(simplify(int_eq, {fx, x}), atom(int_eq, x, fx));
}

TEST_F(EqLeqTest, OperationsTakeThePolynomialWay) {
  const Term* ite = mgr.make_ite(constant("c", mgr.bool_type), x, y);
  EXPECT_EQ(simplify(int_eq, {ite, number(3)}), atom(int_eq, ite, number(3)));
  EXPECT_EQ(simplify(int_eq, {number(3), ite}), atom(int_eq, ite, number(3)));
  EXPECT_EQ(simplify(int_eq, {ite, x}), atom(int_eq, plain_plus(x, times(-1, ite)), number(0)));
  EXPECT_EQ(simplify(int_leq, {x, y}), atom(int_leq, plain_plus(x, times(-1, y)), number(0)));
}

TEST_F(EqLeqTest, TheGivenSymbolIsKept) {
  EXPECT_EQ(simplify(rat_leq, {times(2, x), number(3)})->symbol, rat_leq);
  EXPECT_EQ(simplify(rat_eq, {times(2, x), number(4)})->symbol, rat_eq);
}

TEST_F(EqLeqTest, ExponentiallySharedSums) {
  const Term* a = plain_plus(x, number(1));
  const Term* b = plain_plus(number(1), x);
  for (int level = 0; level < 200; ++level) {
    a = plain_plus(a, a);
    b = plain_plus(b, b);
  }
  EXPECT_EQ(simplify(int_eq, {a, b}), mgr.true_term);
  EXPECT_EQ(simplify(int_leq, {a, number(0)}), atom(int_leq, x, number(-1)));
  EXPECT_EQ(simplify(int_leq, {a, number(1)}), atom(int_leq, x, number(-1)));
}

TEST_F(EqLeqTest, DeepSumsOfAnyShape) {
  Args summands;
  for (int n = 0; n < 100000; ++n) summands.push_back(times(2 + n % 5, integer("v", n)));
  const Term* left = summands.front();
  const Term* right = summands.back();
  for (std::size_t n = 1; n < summands.size(); ++n) {
    left = plain_plus(left, summands[n]);
    right = plain_plus(summands[summands.size() - 1 - n], right);
  }
  while (summands.size() > 1) {
    for (std::size_t n = 0; n < summands.size() / 2; ++n) {
      summands[n] = plain_plus(summands[2 * n], summands[2 * n + 1]);
    }
    if (summands.size() % 2 != 0) summands[summands.size() / 2] = summands.back();
    summands.resize((summands.size() + 1) / 2);
  }
  const Term* zero = number(0);
  const Term* normal = simplify(int_leq, {left, zero});
  EXPECT_EQ(normal, atom(int_leq, right, zero)) << "nested to the right is the normal form";
  EXPECT_EQ(simplify(int_leq, {right, zero}), normal);
  EXPECT_EQ(simplify(int_leq, {summands[0], zero}), normal);
  EXPECT_EQ(simplify(int_eq, {left, summands[0]}), mgr.true_term);
}

TEST_F(EqLeqTest, SmallAtomsAfterALargeOne) {
  const Term* sum = x;
  for (int n = 0; n < 5000; ++n) sum = plain_plus(sum, integer("v", n));
  const Term* large = simplify(int_leq, {sum, number(0)});
  EXPECT_EQ(large->args[0]->args[0], x);
  EXPECT_EQ(simplify(int_leq, {times(2, x), number(3)}), atom(int_leq, x, number(1)));
}

}  // namespace
}  // namespace quarv
