#include <climits>

#include "simpl/arith/arith_fixture.h"

namespace quarv {
namespace {

class PlusSimplTest : public ArithFixture {};
class TimesSimplTest : public ArithFixture {};

TEST_F(PlusSimplTest, FoldsNumerals) {
  EXPECT_EQ(simplify(mgr.int_plus_symbol, {number(2), number(3)}), number(5));
  EXPECT_EQ(simplify(mgr.rat_plus_symbol, {number(1, 2), number(1, 2)}), number(1));
  EXPECT_EQ(simplify(mgr.int_plus_symbol, {number(LONG_MAX), number(1)}), number("9223372036854775808"));
  EXPECT_EQ(simplify(mgr.int_plus_symbol, {number("9223372036854775808"), number(-1)}), number(LONG_MAX));
}

TEST_F(PlusSimplTest, DropsZero) {
  const Term* x = integer("x");
  EXPECT_EQ(simplify(mgr.int_plus_symbol, {number(0), x}), x);
  EXPECT_EQ(simplify(mgr.int_plus_symbol, {x, number(0)}), x);
  const Term* r = rational("r");
  EXPECT_EQ(simplify(mgr.rat_plus_symbol, {number(0), r}), r);
  EXPECT_EQ(simplify(mgr.rat_plus_symbol, {x, number(0)}), x);
}

TEST_F(PlusSimplTest, OrdersArgumentsInPlace) {
  const Term* x = integer("x");
  const Term* y = integer("y");
  Args args{y, x};
  EXPECT_EQ(simplify(mgr.int_plus_symbol, args), plain_plus(x, y));
  EXPECT_EQ(args, (Args{x, y}));
  EXPECT_EQ(simplify(mgr.int_plus_symbol, {x, y}), plain_plus(x, y));
  Args same{x, x};
  EXPECT_EQ(simplify(mgr.int_plus_symbol, same), plain_plus(x, x));
}

TEST_F(PlusSimplTest, OrdersNumeralsLikeOtherTerms) {
  const Term* early = number(7);
  const Term* x = integer("x");
  const Term* late = number(8);
  EXPECT_EQ(simplify(mgr.int_plus_symbol, {x, early}), plain_plus(early, x));
  EXPECT_EQ(simplify(mgr.int_plus_symbol, {late, x}), plain_plus(x, late));
}

TEST_F(PlusSimplTest, KeepsTheGivenSymbol) {
  const Term* x = integer("x");
  const Term* y = integer("y");
  EXPECT_EQ(simplify(mgr.rat_plus_symbol, {x, y}), mgr.do_make_term(mgr.rat_plus_symbol, {x, y}));
}

TEST_F(PlusSimplTest, DoesNotLookIntoSums) {
  const Term* x = integer("x");
  const Term* one = number(1);
  const Term* inner = mgr.make_plus(x, one);
  EXPECT_EQ(simplify(mgr.int_plus_symbol, {inner, one}), plain_plus(one, inner));
}

TEST_F(TimesSimplTest, FoldsNumerals) {
  EXPECT_EQ(simplify(mgr.int_times_symbol, {number(2), number(3)}), number(6));
  EXPECT_EQ(simplify(mgr.rat_times_symbol, {number(2, 3), number(3, 2)}), number(1));
  EXPECT_EQ(simplify(mgr.int_times_symbol, {number(1L << 62), number(4)}), number("18446744073709551616"));
}

TEST_F(TimesSimplTest, ZeroAbsorbsAndOneDropsOut) {
  const Term* x = integer("x");
  EXPECT_EQ(simplify(mgr.int_times_symbol, {x, number(0)}), number(0));
  EXPECT_EQ(simplify(mgr.int_times_symbol, {number(0), x}), number(0));
  EXPECT_EQ(simplify(mgr.int_times_symbol, {x, number(1)}), x);
  EXPECT_EQ(simplify(mgr.int_times_symbol, {number(1), x}), x);
}

TEST_F(TimesSimplTest, NumeralComesFirstWhateverTheIds) {
  const Term* early = number(3);
  const Term* x = integer("x");
  const Term* late = number(5);
  Args args{x, early};
  EXPECT_EQ(simplify(mgr.int_times_symbol, args), plain_times(early, x));
  EXPECT_EQ(args, (Args{early, x}));
  EXPECT_EQ(simplify(mgr.int_times_symbol, {x, late}), plain_times(late, x));
  EXPECT_EQ(simplify(mgr.int_times_symbol, {late, x}), plain_times(late, x));
  EXPECT_EQ(simplify(mgr.int_times_symbol, {early, x}), plain_times(early, x));
  EXPECT_EQ(simplify(mgr.int_times_symbol, {number(-1), x}), plain_times(number(-1), x));
}

TEST_F(TimesSimplTest, OrdersOtherArgumentsInPlace) {
  const Term* x = rational("x");
  const Term* y = rational("y");
  Args args{y, x};
  EXPECT_EQ(simplify(mgr.rat_times_symbol, args), plain_times(x, y));
  EXPECT_EQ(args, (Args{x, y}));
}

}  // namespace
}  // namespace quarv
