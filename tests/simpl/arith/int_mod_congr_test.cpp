#include "simpl/arith/arith_fixture.h"

namespace quarv {
namespace {

class IntModCongrTest : public ArithFixture {
 protected:
  const Symbol* modulo(const char* m) { return mgr.make_int_mod_congr_symbol(QNumber::parse(m)); }
  const Term* congruence(const char* m, const Term* a, const Term* b) {
    return mgr.do_make_term(modulo(m), {a, b});
  }
  bool holds(const char* m, const char* a, const char* b) {
    const Term* result = simplify(modulo(m), {number(a), number(b)});
    EXPECT_TRUE(result == mgr.true_term || result == mgr.false_term);
    return result == mgr.true_term;
  }

  const Term* x = integer("x");
  const Term* y = integer("y");
};

TEST_F(IntModCongrTest, Numerals) {
  EXPECT_TRUE(holds("3", "7", "1"));
  EXPECT_FALSE(holds("3", "7", "2"));
  EXPECT_TRUE(holds("3", "-7", "2"));
  EXPECT_TRUE(holds("1", "5", "17"));
  EXPECT_TRUE(holds("7", "4", "4"));
}

TEST_F(IntModCongrTest, NumeralsBeyondAWord) {
  EXPECT_TRUE(holds("3", "9223372036854775808", "2"));
  EXPECT_FALSE(holds("3", "9223372036854775808", "1"));
  EXPECT_TRUE(holds("9223372036854775808", "9223372036854775807", "-1"));
  EXPECT_TRUE(holds("18446744073709551616", "18446744073709551616", "0"));
  EXPECT_FALSE(holds("18446744073709551616", "9223372036854775808", "0"));
  EXPECT_TRUE(holds("18446744073709551616", "9223372036854775808", "-9223372036854775808"));
}

TEST_F(IntModCongrTest, NothingLeft) {
  EXPECT_EQ(simplify(modulo("5"), {x, x}), mgr.true_term);
  EXPECT_EQ(simplify(modulo("5"), {plain_plus(x, number(10)), x}), mgr.true_term);
  EXPECT_EQ(simplify(modulo("5"), {plain_plus(x, number(11)), x}), mgr.false_term);
  EXPECT_EQ(simplify(modulo("5"), {x, plain_plus(x, number("9223372036854775810"))}), mgr.true_term);
}

TEST_F(IntModCongrTest, ConstantsMoveToTheRight) {
  Args args{plain_plus(x, number(7)), number(1)};
  EXPECT_EQ(simplify(modulo("3"), args), congruence("3", x, number(0)));
  EXPECT_EQ(args, (Args{x, number(0)}));
  EXPECT_EQ(simplify(modulo("3"), {x, number(8)}), congruence("3", x, number(2)));
}

TEST_F(IntModCongrTest, LeadingCoefficientBecomesPositive) {
  EXPECT_EQ(simplify(modulo("3"), {number(5), x}), congruence("3", x, number(2)));
  const Term* difference = plain_plus(x, plain_times(number(-1), y));
  EXPECT_EQ(simplify(modulo("3"), {y, plain_plus(x, number(4))}), congruence("3", difference, number(-1)));
}

TEST_F(IntModCongrTest, CoefficientsAreKept) {
  const Term* scaled = plain_plus(plain_times(number(6), x), plain_times(number(9), y));
  EXPECT_EQ(simplify(modulo("3"), {scaled, number(4)}), congruence("3", scaled, number(1)));
}

TEST_F(IntModCongrTest, CancelledMonomialsAreGone) {
  const Term* rhs = plain_plus(number(2), plain_times(number(0), y));
  EXPECT_EQ(simplify(modulo("5"), {x, rhs}), congruence("5", x, number(2)));
}

TEST_F(IntModCongrTest, RemaindersAcrossTheWordSize) {
  // Within words the remainder has the sign of the number.
  EXPECT_EQ(simplify(modulo("5"), {x, number(-7)}), congruence("5", x, number(-2)));
  EXPECT_EQ(simplify(modulo("10"), {x, number("-9223372036854775807")}), congruence("10", x, number(-7)));
  EXPECT_EQ(simplify(modulo("10"), {x, number("9223372036854775807")}), congruence("10", x, number(7)));
  // Beyond, it is not negative.
  EXPECT_EQ(simplify(modulo("10"), {x, number("-9223372036854775808")}), congruence("10", x, number(2)));
  EXPECT_EQ(simplify(modulo("10"), {x, number("9223372036854775808")}), congruence("10", x, number(8)));
  EXPECT_EQ(simplify(modulo("10"), {plain_plus(x, number("9223372036854775809")), number(0)}),
            congruence("10", x, number(1)));
  const char* big = "9223372036854775808";
  EXPECT_EQ(simplify(modulo(big), {x, number(-7)}), congruence(big, x, number("9223372036854775801")));
  EXPECT_EQ(simplify(modulo(big), {x, number(7)}), congruence(big, x, number(7)));
  EXPECT_EQ(simplify(modulo(big), {x, number("-9223372036854775809")}),
            congruence(big, x, number("9223372036854775807")));
}

TEST_F(IntModCongrTest, RemaindersDoNotDependOnHowNumeralsCameAbout) {
  mpz_class big_seven(7);
  const QNumber held_big(big_seven.get_mpz_t(), mpz_class(1).get_mpz_t(), false);
  ASSERT_FALSE(held_big.is_small());
  const Term* seven = mgr.make_number(held_big.neg());
  EXPECT_EQ(simplify(modulo("5"), {x, seven}), congruence("5", x, number(-2)));
}

}  // namespace
}  // namespace quarv
