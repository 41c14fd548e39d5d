#include <climits>

#include "simpl/arith/arith_fixture.h"

namespace quarv {
namespace {

class FloorSimplTest : public ArithFixture {
 protected:
  const Term* floor(const Term* x) { return simplify(mgr.floor_symbol, {x}); }
  const Term* plain_floor(const Term* x) { return mgr.do_make_term(mgr.floor_symbol, {x}); }
};

TEST_F(FloorSimplTest, FoldsNumerals) {
  EXPECT_EQ(floor(number(7, 2)), number(3));
  EXPECT_EQ(floor(number(-7, 2)), number(-4));
  EXPECT_EQ(floor(number(5)), number(5));
  EXPECT_EQ(floor(number(-1, 3)), number(-1));
  EXPECT_EQ(floor(number(1, 3)), number(0));
  EXPECT_EQ(floor(number("-36893488147419103233/4")), number("-9223372036854775809"));
  EXPECT_EQ(floor(number("-36893488147419103231/4")), number("-9223372036854775808"));
  EXPECT_EQ(floor(number("-9223372036854775809/2")), number("-4611686018427387905"));
  EXPECT_EQ(floor(number("73786976294838206465/2")), number("36893488147419103232"));
}

TEST_F(FloorSimplTest, IntegerTermsStay) {
  const Term* i = integer("i");
  EXPECT_EQ(floor(i), i);
  EXPECT_EQ(floor(plain_plus(i, number(1))), plain_plus(i, number(1)));
}

TEST_F(FloorSimplTest, OtherRationalTermsAreBuilt) {
  const Term* r = rational("r");
  EXPECT_EQ(floor(r), plain_floor(r));
  EXPECT_EQ(mgr.type_of(floor(r)), mgr.int_type);
  const Term* half = plain_times(number(1, 2), integer("i"));
  EXPECT_EQ(floor(half), plain_floor(half));
}

TEST_F(FloorSimplTest, IntegerSummandsMoveOut) {
  const Term* i = integer("i");
  const Term* r = rational("r");
  const Term* result = floor(plain_plus(i, r));
  EXPECT_EQ(result, plain_plus(i, plain_floor(r)));
  EXPECT_EQ(mgr.type_of(result), mgr.int_type);
  EXPECT_EQ(floor(plain_plus(r, i)), result);
}

TEST_F(FloorSimplTest, NumeralRestIsFolded) {
  const Term* i = integer("i");
  EXPECT_EQ(floor(plain_plus(i, number(1, 2))), i);
  const Term* minus_one = number(-1);
  const Term* half_down = plain_plus(i, number(-1, 2));
  EXPECT_EQ(floor(half_down), mgr.make_plus(i, minus_one));
  // Two fractions that meet in the rest.
  EXPECT_EQ(floor(plain_plus(number(3, 4), plain_plus(i, number(1, 4)))), mgr.make_plus(i, number(1)));
}

TEST_F(FloorSimplTest, SumWithoutIntegerSummandStays) {
  const Term* sum = plain_plus(rational("r"), rational("s"));
  EXPECT_EQ(floor(sum), plain_floor(sum));
}

TEST_F(FloorSimplTest, SumOfIntegersUnderARationalSymbol) {
  const Term* i = integer("i");
  const Term* j = integer("j");
  const Term* sum = mgr.do_make_term(mgr.rat_plus_symbol, {i, j});
  EXPECT_EQ(floor(sum), mgr.make_plus(i, j));
}

TEST_F(FloorSimplTest, SummandsAreTakenFromRightToLeft) {
  const Term* i = integer("i");
  const Term* j = integer("j");
  const Term* k = integer("k");
  const Term* r = rational("r");
  const Term* s = rational("s");
  const Term* sum = plain_plus(plain_plus(i, r), plain_plus(plain_plus(j, s), k));
  const Term* rest = mgr.make_plus(s, r);
  const Term* integers = mgr.make_plus(mgr.make_plus(k, j), i);
  EXPECT_EQ(floor(sum), mgr.make_plus(integers, plain_floor(rest)));
}

TEST_F(FloorSimplTest, LongSumsAreSplit) {
  const Term* i = integer("i");
  const Term* sum = rational("r0");
  for (int n = 1; n < 100000; ++n) sum = plain_plus(sum, rational("r", n));
  sum = plain_plus(sum, i);
  const Term* result = floor(sum);
  ASSERT_EQ(result->symbol, mgr.int_plus_symbol);
  EXPECT_EQ(result->args[0], i);
  EXPECT_EQ(result->args[1]->symbol, mgr.floor_symbol);
}

TEST_F(FloorSimplTest, SharedSumsOfExponentialSizeStay) {
  const Term* sum = plain_plus(integer("i"), rational("r"));
  for (int level = 0; level < 200; ++level) sum = plain_plus(sum, sum);
  EXPECT_EQ(floor(sum), plain_floor(sum));
}

}  // namespace
}  // namespace quarv
