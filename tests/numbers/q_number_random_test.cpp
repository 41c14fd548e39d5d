// Every operation of QNumber against GMP's rationals, on random numbers around the borders of its two forms.
#include <string>
#include <utility>

#include <climits>
#include <gmpxx.h>
#include <gtest/gtest.h>

#include "numbers/number_samples.h"
#include <quarv/numbers/q_number.h>

namespace quarv {
namespace {

class QNumberRandom : public ::testing::Test {
 protected:
  /// Counts an operation and checks its result: the value, in canonical form, with no word that small numbers
  /// may not hold.
  ::testing::AssertionResult is(const QNumber& x, const mpq_class& expected) {
    ++operations_;
    const bool equal = x.is_small() ? mpz_cmp_si(expected.get_num_mpz_t(), x.small_num()) == 0 &&
                                          mpz_cmp_si(expected.get_den_mpz_t(), x.small_den()) == 0 &&
                                          x.small_num() != LONG_MIN
                                    : mpz_cmp(expected.get_num_mpz_t(), x.big_num()) == 0 &&
                                          mpz_cmp(expected.get_den_mpz_t(), x.big_den()) == 0;
    if (equal) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << x.to_string() << (x.is_small() ? " (small)" : " (big)") << " instead of " << expected.get_str();
  }

  /// Counts an operation whose result is a truth value.
  bool counted(bool value) {
    ++operations_;
    return value;
  }

  /// Two fractions: unrelated, equal, opposite, with one denominator, or next to each other.
  std::pair<mpq_class, mpq_class> pair() {
    const mpq_class a = samples_.fraction();
    mpq_class b = samples_.fraction();
    switch (samples_.below(10)) {
      case 0:
        b = a;
        break;
      case 1:
        b = -a;
        break;
      case 2:
        b = mpq_class(b.get_num(), a.get_den());
        b.canonicalize();
        break;
      case 3:
        b = mpq_class(a.get_num() + 1, a.get_den());
        b.canonicalize();
        break;
      default:
        break;
    }
    return {a, b};
  }

  void TearDown() override { RecordProperty("operations", std::to_string(operations_)); }

  NumberSamples samples_{20240229};
  long operations_ = 0;
};

TEST_F(QNumberRandom, FieldOperations) {
  const int rounds = num_cases(40000);
  for (int i = 0; i < rounds; ++i) {
    const auto [a, b] = pair();
    const QNumber x = samples_.number(a);
    const QNumber y = samples_.number(b);
    const bool any_big = !x.is_small() || !y.is_small();
    SCOPED_TRACE(a.get_str() + " and " + b.get_str());

    const QNumber sum = x + y;
    ASSERT_TRUE(is(sum, a + b));
    ASSERT_TRUE(is(x - y, a - b));
    const QNumber product = x * y;
    ASSERT_TRUE(is(product, a * b));
    if (any_big) {
      ASSERT_FALSE(sum.is_small());
      ASSERT_FALSE(product.is_small());
    }
    if (b != 0) {
      ASSERT_TRUE(is(x / y, a / b));
    }
    ASSERT_TRUE(is(-x, -a));
    ASSERT_TRUE(is(x.neg(), -a));

    QNumber z = samples_.number(a);
    ASSERT_TRUE(is(z += y, a + b));
    ASSERT_TRUE(is(z -= y, a));
    ASSERT_TRUE(is(z *= y, a * b));
    if (b != 0) {
      ASSERT_TRUE(is(z /= y, a));
    }
    const mpq_class c = samples_.fraction();
    z = samples_.number(c);
    ASSERT_TRUE(is((z.self_addmul(x, y), z), c + a * b));
    const long word = static_cast<long>(samples_.below(2000)) - 1000;
    ASSERT_TRUE(is(x + word, a + word));
    ASSERT_TRUE(is(x - word, a - word));
    ASSERT_TRUE(is(x + LONG_MIN, a + LONG_MIN));
  }
}

TEST_F(QNumberRandom, OperandsThatAreTheResult) {
  const int rounds = num_cases(20000);
  for (int i = 0; i < rounds; ++i) {
    const auto [a, b] = pair();
    const QNumber x = samples_.number(a);
    SCOPED_TRACE(a.get_str() + " and " + b.get_str());
    QNumber z(x);
    ASSERT_TRUE(is(z += z, a + a));
    z = QNumber(x);
    ASSERT_TRUE(is(z -= z, 0));
    z = QNumber(x);
    ASSERT_TRUE(is(z *= z, a * a));
    z = QNumber(x);
    if (a != 0) {
      ASSERT_TRUE(is(z /= z, 1));
    }
    z = QNumber(x);
    ASSERT_TRUE(is((z.self_addmul(z, z), z), a + a * a));
    const QNumber y = samples_.number(b);
    z = QNumber(x);
    ASSERT_TRUE(is((z.self_addmul(z, y), z), a + a * b));
    z = QNumber(x);
    ASSERT_TRUE(is((z.self_addmul(y, z), z), a + a * b));
    z = QNumber(x);
    ASSERT_TRUE(is((z.self_addmul(y, y), z), a + b * b));
  }
}

TEST_F(QNumberRandom, Comparisons) {
  const int rounds = num_cases(30000);
  for (int i = 0; i < rounds; ++i) {
    const auto [a, b] = pair();
    const QNumber x = samples_.number(a);
    const QNumber y = samples_.number(b);
    SCOPED_TRACE(a.get_str() + " and " + b.get_str());
    ASSERT_EQ(counted(x < y), a < b);
    ASSERT_EQ(counted(x <= y), a <= b);
    ASSERT_EQ(counted(x > y), a > b);
    ASSERT_EQ(counted(x >= y), a >= b);
    ASSERT_EQ(counted(x == y), a == b);
    ASSERT_EQ(counted(x != y), a != b);
    const long word = static_cast<long>(samples_.below(7)) - 3;
    ASSERT_EQ(counted(x >= word), a >= word);
    ASSERT_EQ(counted(word <= x), word <= a);
    ASSERT_EQ(counted(x.is_zero()), a == 0);
    ASSERT_EQ(counted(x.is_integer()), a.get_den() == 1);
    ASSERT_EQ(x.sign(), sgn(a));
  }
}

TEST_F(QNumberRandom, IntegerOperations) {
  const int rounds = num_cases(20000);
  for (int i = 0; i < rounds; ++i) {
    const mpz_class a = samples_.integer();
    mpz_class b = samples_.integer();
    if (samples_.below(4) == 0) b = a * static_cast<long>(samples_.below(5));
    const QNumber x = samples_.number(a);
    const QNumber y = samples_.number(b);
    SCOPED_TRACE(a.get_str() + " and " + b.get_str());
    mpz_class expected;
    mpz_gcd(expected.get_mpz_t(), a.get_mpz_t(), b.get_mpz_t());
    ASSERT_TRUE(is(gcd(x, y), expected));
    mpz_lcm(expected.get_mpz_t(), a.get_mpz_t(), b.get_mpz_t());
    ASSERT_TRUE(is(lcm(x, y), expected));
    ASSERT_TRUE(is(QNumber::from_integer(a.get_mpz_t()), a));
    QNumber z = y;
    z.set_integer(a.get_mpz_t());
    ASSERT_TRUE(is(z, a));
    ASSERT_EQ(z.is_small(), a.fits_slong_p() && a != LONG_MIN);
    if (b == 0) continue;

    mpz_class quotient;
    mpz_class remainder;
    if (x.is_small() && y.is_small()) {
      mpz_tdiv_qr(quotient.get_mpz_t(), remainder.get_mpz_t(), a.get_mpz_t(), b.get_mpz_t());
    } else {
      mpz_fdiv_qr(quotient.get_mpz_t(), remainder.get_mpz_t(), a.get_mpz_t(), b.get_mpz_t());
    }
    QNumber q = samples_.number(samples_.integer());
    QNumber r = samples_.number(samples_.integer());
    x.divmod(y, q, r);
    ASSERT_TRUE(is(q, quotient));
    ASSERT_TRUE(is(r, remainder));
    ASSERT_EQ(q.is_small(), quotient.fits_slong_p() && quotient != LONG_MIN);
    ASSERT_EQ(r.is_small(), remainder.fits_slong_p() && remainder != LONG_MIN);
    q = QNumber(x);
    r = QNumber(y);
    q.divmod(r, q, r);
    ASSERT_TRUE(is(q, quotient));
    ASSERT_TRUE(is(r, remainder));
  }
}

TEST_F(QNumberRandom, FormsTextAndHash) {
  const int rounds = num_cases(20000);
  for (int i = 0; i < rounds; ++i) {
    const mpq_class a = samples_.fraction();
    const QNumber x = samples_.number(a);
    const QNumber large(a.get_num_mpz_t(), a.get_den_mpz_t(), true);
    SCOPED_TRACE(a.get_str());
    ASSERT_TRUE(is(x.demoted(), a));
    ASSERT_TRUE(is(x, mpq_class(x.num(), x.den())));
    ASSERT_EQ(counted(x.hash() == large.hash()), true);
    ASSERT_EQ(counted(x.to_string() == a.get_str()), true);
    const QNumber again = QNumber::parse(x.to_string());
    ASSERT_TRUE(is(again, a));
    ASSERT_EQ(again.is_small(), x.demoted().is_small());
    ASSERT_TRUE(is(QNumber(a.get_num(), a.get_den()), a));
    mpz_class down;
    mpz_fdiv_q(down.get_mpz_t(), a.get_num_mpz_t(), a.get_den_mpz_t());
    ASSERT_TRUE(is(x.floor(), down));

    const mpz_class factor = samples_.integer();
    if (factor == 0) continue;
    const mpz_class num = a.get_num() * factor;
    const mpz_class den = a.get_den() * factor;
    ASSERT_TRUE(is(QNumber(num, den), a));
    ASSERT_TRUE(is(QNumber(num.get_mpz_t(), den.get_mpz_t(), true), a));
    if (num.fits_slong_p() && den.fits_slong_p()) {
      ASSERT_TRUE(is(QNumber(num.get_si(), den.get_si()), a));
    }
    QNumber target = samples_.number(samples_.fraction());
    target = x;
    ASSERT_TRUE(is(target, a));
  }
}

}  // namespace
}  // namespace quarv
