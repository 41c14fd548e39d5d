#include <functional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include <climits>
#include <gmpxx.h>
#include <gtest/gtest.h>

#include "numbers/number_samples.h"
#include <quarv/numbers/q_number.h>

namespace quarv {
namespace {

static_assert(sizeof(QNumber) == 16);
static_assert(std::is_nothrow_move_constructible_v<QNumber> && std::is_nothrow_move_assignable_v<QNumber>);

QNumber big(const mpq_class& x) {
  return QNumber(x.get_num_mpz_t(), x.get_den_mpz_t(), false);
}

QNumber big(long num, long den = 1) {
  return big(mpq_class(num, den));
}

mpz_class power(unsigned long exponent) {
  return mpz_class(1) << exponent;
}

const mpz_class min_word(LONG_MIN);

// Usable while other translation units are still being initialised.
const QNumber computed_at_start_up = QNumber(LONG_MAX) * QNumber(LONG_MAX) + QNumber(1, 3);

TEST(QNumberForm, DefaultIsZero) {
  const QNumber zero;
  EXPECT_TRUE(zero.is_small());
  EXPECT_EQ(zero.small_num(), 0);
  EXPECT_EQ(zero.small_den(), 1);
}

TEST(QNumberForm, ConstructorReduces) {
  const QNumber x(6, -4);
  EXPECT_EQ(x.small_num(), -3);
  EXPECT_EQ(x.small_den(), 2);
  const QNumber zero(0, -7);
  EXPECT_EQ(zero.small_num(), 0);
  EXPECT_EQ(zero.small_den(), 1);
  EXPECT_EQ(QNumber(-6, -3), QNumber(2));
  EXPECT_EQ(QNumber(5, -1), QNumber(-5));
  EXPECT_EQ(QNumber(LONG_MAX, -LONG_MAX), QNumber(-1));
}

TEST(QNumberForm, LeastWordIsAlwaysBig) {
  const QNumber least(LONG_MIN, 1);
  EXPECT_FALSE(least.is_small());
  EXPECT_EQ(least.to_string(), "-9223372036854775808");
  EXPECT_EQ(mpz_cmp_si(least.big_den(), 1), 0);
  EXPECT_FALSE(QNumber(LONG_MIN).is_small());
  EXPECT_EQ(QNumber(LONG_MIN), least);
  EXPECT_FALSE(least.demoted().is_small());

  const QNumber opposite = least.neg();
  EXPECT_FALSE(opposite.is_small());
  EXPECT_EQ(opposite.to_string(), "9223372036854775808");
  EXPECT_GT(opposite, QNumber(LONG_MAX));
  EXPECT_LT(least, QNumber(-LONG_MAX));

  EXPECT_EQ(QNumber(3, LONG_MIN).to_string(), "-3/9223372036854775808");
  EXPECT_EQ(QNumber(LONG_MIN, 6).to_string(), "-4611686018427387904/3");
  EXPECT_FALSE(QNumber(LONG_MIN, 6).is_small());
  EXPECT_EQ(QNumber(LONG_MIN, LONG_MIN), QNumber(1));
  EXPECT_EQ(QNumber(0, LONG_MIN), QNumber(0));
}

TEST(QNumberForm, LeastWordAsAResultIsBig) {
  const QNumber greatest(LONG_MAX);
  QNumber x = -greatest;
  x -= QNumber(1);
  EXPECT_FALSE(x.is_small());
  EXPECT_EQ(x.num(), min_word);
  x = QNumber(-1L << 62);
  x += x;
  EXPECT_FALSE(x.is_small());
  EXPECT_EQ(x.num(), min_word);
  x = QNumber(1L << 62) * QNumber(-2);
  EXPECT_FALSE(x.is_small());
  EXPECT_EQ(x.num(), min_word);
  // Fractions whose numerator or denominator would be the word.
  x = QNumber(-LONG_MAX, 3) - QNumber(1, 3);
  EXPECT_EQ(x, QNumber(LONG_MIN, 3));
  EXPECT_FALSE(x.is_small());
  x = QNumber(-1L << 62, 3) * QNumber(2);
  EXPECT_EQ(x, QNumber(LONG_MIN, 3));
  EXPECT_FALSE(x.is_small());
  x = QNumber(1, 1L << 62) * QNumber(1, 2);
  EXPECT_EQ(x.den(), power(63));
  x = QNumber(-LONG_MAX, 6) - QNumber(1, 6);
  EXPECT_EQ(x.to_string(), "-4611686018427387904/3");
}

TEST(QNumberForm, GmpIntegersAreBigUnlessTheyFitAnInt) {
  const QNumber x(power(40), mpz_class(1));
  EXPECT_FALSE(x.is_small());
  EXPECT_EQ(x, QNumber(1L << 40));
  EXPECT_TRUE(x.demoted().is_small());
  const QNumber y(mpz_class(INT_MIN), mpz_class(-4));
  EXPECT_TRUE(y.is_small());
  EXPECT_EQ(y, QNumber(1L << 29));
  EXPECT_FALSE(QNumber(mpz_class(3), power(31)).is_small());
  EXPECT_EQ(QNumber(mpz_class(0), power(31)).den(), 1);
}

TEST(QNumberForm, MpzConstructorIsBigAndReducesOnDemand) {
  const mpz_class num(6);
  const mpz_class den(-4);
  const QNumber x(num.get_mpz_t(), den.get_mpz_t(), true);
  EXPECT_FALSE(x.is_small());
  EXPECT_EQ(x, QNumber(-3, 2));
  const QNumber zero(mpz_class(0).get_mpz_t(), den.get_mpz_t(), true);
  EXPECT_FALSE(zero.is_small());
  EXPECT_EQ(zero.den(), 1);
  EXPECT_TRUE(zero.is_zero());
  EXPECT_EQ(zero, QNumber());
}

TEST(QNumberForm, AssignmentKeepsABigTargetBig) {
  QNumber target = big(power(100));
  const QNumber seven(7, 2);
  target = seven;
  EXPECT_FALSE(target.is_small());
  EXPECT_EQ(target, seven);
  QNumber small(3);
  small = target;
  EXPECT_FALSE(small.is_small());
  EXPECT_EQ(small, seven);
  const QNumber other = big(power(90));
  target = other;
  EXPECT_EQ(target.num(), power(90));
  const QNumber& self = target;
  target = self;
  EXPECT_EQ(target.num(), power(90));
  QNumber word(5);
  const QNumber& same_word = word;
  word = same_word;
  EXPECT_EQ(word, QNumber(5));
}

TEST(QNumberForm, MoveLeavesZero) {
  for (const QNumber& value : {QNumber(-3, 2), big(power(100)), big(5)}) {
    QNumber source = value;
    QNumber target(std::move(source));
    EXPECT_EQ(target, value);
    EXPECT_EQ(target.is_small(), value.is_small());
    EXPECT_TRUE(source.is_small());  // NOLINT: what a move leaves behind is promised
    EXPECT_EQ(source, QNumber());    // NOLINT
    for (QNumber goal : {QNumber(9), big(power(70))}) {
      source = target;
      goal = std::move(source);
      EXPECT_EQ(goal, value);
      EXPECT_EQ(source, QNumber());  // NOLINT
    }
    QNumber& self = target;
    target = std::move(self);
    EXPECT_EQ(target, value);
  }
}

TEST(QNumberForm, ResultsStayBig) {
  QNumber x = big(power(100));
  x -= big(power(100));
  EXPECT_FALSE(x.is_small());
  EXPECT_TRUE(x.is_zero());
  EXPECT_EQ(x.sign(), 0);
  x += QNumber(1, 2);
  EXPECT_FALSE(x.is_small());
  EXPECT_EQ(x, QNumber(1, 2));
  QNumber y(3);
  y *= big(2);
  EXPECT_FALSE(y.is_small());
  EXPECT_EQ(y, QNumber(6));
}

TEST(QNumberForm, WordsOverflowIntoBig) {
  QNumber x(1L << 62);
  x *= QNumber(4);
  EXPECT_FALSE(x.is_small());
  EXPECT_EQ(x.num(), power(64));
  EXPECT_EQ((QNumber(LONG_MAX) + 1).num(), power(63));
  EXPECT_EQ((QNumber(1, LONG_MAX) + QNumber(1, LONG_MAX - 1)).to_string(),
            "18446744073709551613/85070591730234615838173535747377725442");
}

TEST(QNumberForm, ReadyDuringStaticInitialisation) {
  EXPECT_EQ(computed_at_start_up.to_string(), "255211775190703847542190723352697503748/3");
}

TEST(QNumberGcdCache, FillsBothEntriesAndCarriesOn) {
  const auto clear = [](int x, int y) { gcd_cache[x][y] = gcd_cache[y][x] = 0; };
  clear(84, 36);
  clear(36, 12);
  EXPECT_EQ(cached_gcd(84, 36), 12U);
  EXPECT_EQ(gcd_cache[84][36], 12);
  EXPECT_EQ(gcd_cache[36][84], 12);
  EXPECT_EQ(gcd_cache[36][12], 12) << "the loop goes on to the next pair of remainders";
  gcd_cache[84][36] = 77;
  EXPECT_EQ(cached_gcd(84, 36), 77U) << "a known entry is the answer";
  clear(84, 36);
  EXPECT_EQ(cached_gcd(84, 0), 84U);
  EXPECT_EQ(cached_gcd(0, 84), 84U);
  EXPECT_EQ(cached_gcd(0, 0), 0U);
  EXPECT_EQ(cached_gcd(1023, 1023), 1023U);
  EXPECT_EQ(cached_gcd(1024, 1023), 1U);
  EXPECT_EQ(cached_gcd(1UL << 63, 1UL << 40), 1UL << 40);
  EXPECT_EQ(gcd_cache[0][0], 0);
}

TEST(QNumberDivmod, RoundsByForm) {
  QNumber q;
  QNumber r;
  QNumber(-7).divmod(QNumber(2), q, r);
  EXPECT_EQ(q, QNumber(-3));
  EXPECT_EQ(r, QNumber(-1));
  for (const auto& [x, y] : {std::pair(big(-7), big(2)), {big(-7), QNumber(2)}, {QNumber(-7), big(2)}}) {
    x.divmod(y, q, r);
    EXPECT_EQ(q, QNumber(-4));
    EXPECT_EQ(r, QNumber(1));
    EXPECT_TRUE(q.is_small());
    EXPECT_TRUE(r.is_small());
  }
  QNumber(7).divmod(QNumber(-2), q, r);
  EXPECT_EQ(q, QNumber(-3));
  EXPECT_EQ(r, QNumber(1));
  big(7).divmod(QNumber(-2), q, r);
  EXPECT_EQ(q, QNumber(-4));
  EXPECT_EQ(r, QNumber(-1));
}

TEST(QNumberDivmod, LeastWordIsBig) {
  QNumber q;
  QNumber r;
  big(power(63)).divmod(QNumber(-1), q, r);
  EXPECT_FALSE(q.is_small());
  EXPECT_EQ(q.num(), min_word);
  EXPECT_TRUE(r.is_zero());
  big(power(70)).divmod(big(power(64)), q, r);
  EXPECT_TRUE(q.is_small());
  EXPECT_EQ(q, QNumber(64));
  EXPECT_TRUE(r.is_small());
  QNumber(-1L << 62).divmod(big(-power(64)), q, r);
  EXPECT_EQ(q, QNumber(0));
  EXPECT_EQ(r, QNumber(-1L << 62));
}

TEST(QNumberDivmod, ResultsMayBeOperands) {
  for (const bool is_big : {false, true}) {
    QNumber x = is_big ? big(47) : QNumber(47);
    QNumber y = is_big ? big(10) : QNumber(10);
    x.divmod(y, x, y);
    EXPECT_EQ(x, QNumber(4));
    EXPECT_EQ(y, QNumber(7));
    x = is_big ? big(47) : QNumber(47);
    y = is_big ? big(10) : QNumber(10);
    x.divmod(y, y, x);
    EXPECT_EQ(x, QNumber(7));
    EXPECT_EQ(y, QNumber(4));
  }
}

TEST(QNumberGcd, IsNeverNegative) {
  EXPECT_EQ(gcd(QNumber(0), QNumber(0)), QNumber(0));
  EXPECT_EQ(gcd(QNumber(-6), QNumber(0)), QNumber(6));
  EXPECT_EQ(gcd(QNumber(0), QNumber(-6)), QNumber(6));
  EXPECT_EQ(gcd(QNumber(-6), QNumber(-4)), QNumber(2));
  EXPECT_EQ(gcd(big(0), big(0)), QNumber(0));
  EXPECT_EQ(gcd(big(-6), QNumber(0)), QNumber(6));
  EXPECT_EQ(gcd(QNumber(-4), big(-6)), QNumber(2));
  EXPECT_TRUE(gcd(QNumber(-4), big(-6)).is_small());
  EXPECT_FALSE(gcd(big(4), big(6)).is_small());
}

TEST(QNumberGcd, MayBeTheOppositeOfTheLeastWord) {
  const QNumber least(LONG_MIN);
  EXPECT_EQ(gcd(least, least).num(), power(63));
  EXPECT_FALSE(gcd(least, least).is_small());
  EXPECT_EQ(gcd(least, QNumber(0)).to_string(), "9223372036854775808");
  EXPECT_EQ(gcd(QNumber(0), least).to_string(), "9223372036854775808");
  EXPECT_EQ(gcd(big(power(63)), big(0)).num(), power(63));
  EXPECT_EQ(gcd(least, QNumber(1L << 62)), QNumber(1L << 62));
}

TEST(QNumberLcm, IsNeverNegative) {
  EXPECT_EQ(lcm(QNumber(-6), QNumber(4)), QNumber(12));
  EXPECT_EQ(lcm(QNumber(-6), QNumber(0)), QNumber(0));
  EXPECT_EQ(lcm(QNumber(0), QNumber(0)), QNumber(0));
  EXPECT_EQ(lcm(QNumber(1L << 62), QNumber(3)).num(), 3 * power(62));
  EXPECT_FALSE(lcm(QNumber(1L << 62), QNumber(3)).is_small());
  EXPECT_TRUE(lcm(QNumber(LONG_MAX), QNumber(-LONG_MAX)).is_small());
  EXPECT_EQ(lcm(big(-6), QNumber(-4)), QNumber(12));
  EXPECT_EQ(lcm(QNumber(0), big(-4)), QNumber(0));
  EXPECT_EQ(lcm(big(-6), big(4)), QNumber(12));
}

TEST(QNumberCompare, MixedWithWords) {
  EXPECT_TRUE(QNumber(5, 2) >= 2L);
  EXPECT_FALSE(QNumber(5, 2) >= 3L);
  EXPECT_TRUE(2L <= QNumber(5, 2));
  EXPECT_FALSE(LONG_MIN <= big(power(63) * -2));
  EXPECT_TRUE(LONG_MIN <= QNumber(LONG_MIN));
  EXPECT_EQ(QNumber(5) + 3L, QNumber(8));
  EXPECT_EQ(QNumber(5) - 8L, QNumber(-3));
  EXPECT_EQ((QNumber(0) + LONG_MIN).num(), min_word);
  EXPECT_NE(QNumber(5), QNumber(6));
}

TEST(QNumberCompare, CrossProductsBeyondWords) {
  const QNumber x(LONG_MAX, LONG_MAX - 1);
  const QNumber y(LONG_MAX - 1, LONG_MAX - 2);
  EXPECT_LT(x, y);
  EXPECT_GT(y, x);
  EXPECT_LE(x, x);
  EXPECT_FALSE(x < x);
  EXPECT_LT(-y, -x);
}

TEST(QNumberFloor, RoundsDown) {
  EXPECT_EQ(QNumber(7, 2).floor(), QNumber(3));
  EXPECT_EQ(QNumber(-7, 2).floor(), QNumber(-4));
  EXPECT_EQ(QNumber(-7).floor(), QNumber(-7));
  EXPECT_EQ(QNumber(0).floor(), QNumber(0));
  EXPECT_EQ(big(-7, 2).floor(), QNumber(-4));
  EXPECT_TRUE(big(-7, 2).floor().is_small());
  EXPECT_EQ(QNumber(LONG_MIN, 3).floor(), QNumber(-3074457345618258603));
}

TEST(QNumberText, Parses) {
  EXPECT_EQ(QNumber::parse("0"), QNumber(0));
  EXPECT_EQ(QNumber::parse("-0"), QNumber(0));
  EXPECT_EQ(QNumber::parse("007"), QNumber(7));
  EXPECT_EQ(QNumber::parse("-12"), QNumber(-12));
  EXPECT_EQ(QNumber::parse("1.25"), QNumber(5, 4));
  EXPECT_EQ(QNumber::parse("-0.5"), QNumber(-1, 2));
  EXPECT_EQ(QNumber::parse("3.0"), QNumber(3));
  EXPECT_EQ(QNumber::parse("-6/4"), QNumber(-3, 2));
  EXPECT_EQ(QNumber::parse("0/9"), QNumber(0));
  EXPECT_EQ(QNumber::parse("9223372036854775807"), QNumber(LONG_MAX));
  EXPECT_TRUE(QNumber::parse("9223372036854775807").is_small());
  EXPECT_TRUE(QNumber::parse("-9223372036854775807").is_small());
  EXPECT_EQ(QNumber::parse("-9223372036854775808"), QNumber(LONG_MIN));
  EXPECT_FALSE(QNumber::parse("-9223372036854775808").is_small());
  EXPECT_EQ(QNumber::parse("18446744073709551616/4"), QNumber(1L << 62));
  EXPECT_TRUE(QNumber::parse("18446744073709551616/4").is_small());
  EXPECT_TRUE(QNumber::parse("100000000000000000000.00").to_string() == "100000000000000000000");
  EXPECT_EQ(QNumber::parse("0." + std::string(40, '0') + "5").den(), mpz_class("2" + std::string(40, '0')));
  EXPECT_EQ(QNumber::parse("1." + std::string(40, '0')), QNumber(1));
  // Leading zeros are no sign of octal digits, however long the text.
  EXPECT_EQ(QNumber::parse("0.1234567012345670123"),
            QNumber(mpz_class("1234567012345670123", 10), mpz_class("1" + std::string(19, '0'), 10)));
  EXPECT_EQ(QNumber::parse("0.8888888888888888888").to_string(), "1111111111111111111/1250000000000000000");
  EXPECT_EQ(QNumber::parse(std::string(40, '0') + "12"), QNumber(12));
}

TEST(QNumberText, RejectsWhatIsNoNumber) {
  for (const char* text :
       {"",    "-",    "--1", "+1",   " 1",    "1 ",    "1.",    ".5",  "1..2", "1.2.3", "1/", "/2",
        "1/0", "1/00", "0/0", "3/-2", "1.5/2", "1/2.5", "1/2/3", "1e5", "0x10", "12a",   "a",  "-.5"}) {
    EXPECT_THROW(QNumber::parse(text), std::invalid_argument) << text;
  }
  EXPECT_THROW(QNumber::parse(std::string_view("1\0", 2)), std::invalid_argument);
}

TEST(QNumberText, Prints) {
  EXPECT_EQ(QNumber(-3, 2).to_string(), "-3/2");
  EXPECT_EQ(QNumber(7).to_string(), "7");
  EXPECT_EQ(big(-3, 2).to_string(), "-3/2");
  EXPECT_EQ(big(0).to_string(), "0");
  EXPECT_EQ(big(mpq_class(power(64), power(65) + 1)).to_string(),
            "18446744073709551616/36893488147419103233");
}

TEST(QNumberHash, IsThatOfTheValue) {
  EXPECT_EQ(big(-3, 2).hash(), QNumber(-3, 2).hash());
  EXPECT_EQ(big(power(64)).hash(), (QNumber(1L << 62) * QNumber(4)).hash());
  EXPECT_NE(QNumber(1).hash(), QNumber(-1).hash());
  EXPECT_NE(QNumber(1, 2).hash(), QNumber(2).hash());
  EXPECT_NE(big(power(64)).hash(), big(-power(64)).hash());
  EXPECT_EQ(std::hash<QNumber>()(QNumber(5)), QNumber(5).hash());
}

TEST(QNumberScratch, IsAnArrayOfUsableIntegers) {
  for (auto& scratch : QNumber::gmp_tmp) {
    mpz_set_ui(scratch, 42);
    mpz_mul_2exp(scratch, scratch, 100);
    EXPECT_EQ(mpz_class(scratch), 42 * power(100));
  }
  mpz_set_ui(QNumber::gmp_tmp[0], 6);
  mpz_set_ui(QNumber::gmp_tmp[1], 4);
  EXPECT_EQ(QNumber(QNumber::gmp_tmp[0], QNumber::gmp_tmp[1], true), QNumber(3, 2));
}

}  // namespace
}  // namespace quarv
