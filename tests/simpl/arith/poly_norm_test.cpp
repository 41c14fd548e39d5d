#include <map>
#include <random>
#include <string>

#include <climits>

#include "simpl/arith/arith_fixture.h"
#include <quarv/simpl/arith/poly_norm.h>

namespace quarv {
namespace {

using termsimpl::MonomialMap;
using termsimpl::poly_norm;
using termsimpl::poly_to_term;

class PolyNormTest : public ArithFixture {
 protected:
  struct Result {
    Args monomials;
    MonomialMap coeffs;
    QNumber constant;
    bool all_integer = false;

    QNumber coefficient(const Term* m) { return *coeffs.find(m); }
  };

  Result normalize(const Term* lhs, const Term* rhs = nullptr, bool to_integer = false) {
    Result r;
    poly_norm(&mgr, lhs, rhs, to_integer, &r.monomials, &r.coeffs, &r.constant, &r.all_integer);
    return r;
  }

  const Term* build(Result& r) {
    Args scratch(2);
    return poly_to_term(&mgr, r.monomials, r.coeffs, scratch);
  }

  const Term* x = rational("x");
  const Term* y = rational("y");
  const Term* i = integer("i");
  const Term* j = integer("j");
};

TEST_F(PolyNormTest, DifferenceOfATermAndItself) {
  Result r = normalize(x, x);
  EXPECT_TRUE(r.monomials.empty());
  EXPECT_TRUE(r.constant.is_zero());
  ASSERT_NE(r.coeffs.find(x), nullptr);
  EXPECT_TRUE(r.coefficient(x).is_zero());
  EXPECT_FALSE(r.all_integer) << "a cancelled monomial counts";
  EXPECT_TRUE(normalize(i, i).all_integer);
}

TEST_F(PolyNormTest, CancelledMonomialsStayInTheMapOnly) {
  const Term* sum = plain_plus(plain_plus(plain_times(number(3), x), plain_times(number(-3), x)), number(5));
  Result r = normalize(sum);
  EXPECT_TRUE(r.monomials.empty());
  EXPECT_EQ(r.coeffs.size(), 1U);
  EXPECT_TRUE(r.coefficient(x).is_zero());
  EXPECT_EQ(r.constant, QNumber(5));
  Result scaled = normalize(sum, nullptr, true);
  EXPECT_EQ(scaled.constant, QNumber(5));
}

TEST_F(PolyNormTest, ScalingMakesCoefficientsIntegers) {
  const Term* sum =
      plain_plus(plain_plus(plain_times(number(1, 2), x), plain_times(number(1, 3), y)), number(1, 7));
  Result r = normalize(sum, nullptr, true);
  EXPECT_EQ(r.monomials, (Args{x, y}));
  EXPECT_EQ(r.coefficient(x), QNumber(3));
  EXPECT_EQ(r.coefficient(y), QNumber(2));
  EXPECT_EQ(r.constant, QNumber(6, 7));
}

TEST_F(PolyNormTest, ScalingMakesCoefficientsCoprime) {
  const Term* sum = plain_plus(plain_plus(plain_times(number(4), x), plain_times(number(6), y)), number(3));
  Result r = normalize(sum, nullptr, true);
  EXPECT_EQ(r.coefficient(x), QNumber(2));
  EXPECT_EQ(r.coefficient(y), QNumber(3));
  EXPECT_EQ(r.constant, QNumber(3, 2));
  Result plain = normalize(sum);
  EXPECT_EQ(plain.coefficient(x), QNumber(4));
  EXPECT_EQ(plain.constant, QNumber(3));
}

TEST_F(PolyNormTest, ScalingKeepsSigns) {
  Result r = normalize(plain_plus(plain_times(number(-4), x), plain_times(number(2, 3), y)), nullptr, true);
  EXPECT_EQ(r.coefficient(x), QNumber(-6));
  EXPECT_EQ(r.coefficient(y), QNumber(1));
  Result single = normalize(plain_times(number(-3, 4), x), number(5), true);
  EXPECT_EQ(single.coefficient(x), QNumber(-1));
  EXPECT_EQ(single.constant, QNumber(-20, 3));
}

TEST_F(PolyNormTest, ScalingOfBigFractions) {
  const Term* sum =
      plain_plus(plain_times(number("1/18446744073709551616"), x), plain_times(number("3/2"), y));
  Result r = normalize(sum, nullptr, true);
  EXPECT_EQ(r.coefficient(x), QNumber(1));
  EXPECT_EQ(r.coefficient(y), QNumber::parse("27670116110564327424"));
}

TEST_F(PolyNormTest, NonLinearProductsAreMonomials) {
  const Term* product = plain_times(x, y);
  Result r = normalize(product);
  EXPECT_EQ(r.monomials, Args{product});
  EXPECT_EQ(r.coefficient(product), QNumber(1));
  Result integers = normalize(plain_times(i, j));
  EXPECT_TRUE(integers.all_integer);
  Result distributed = normalize(plain_times(number(2), plain_times(plain_plus(x, number(1)), y)));
  EXPECT_EQ(distributed.monomials.size(), 1U);
}

TEST_F(PolyNormTest, ProductsWithNumeralsAreDistributed) {
  Result r = normalize(plain_times(number(2), plain_plus(x, number(3))));
  EXPECT_EQ(r.coefficient(x), QNumber(2));
  EXPECT_EQ(r.constant, QNumber(6));
  Result right = normalize(plain_times(plain_plus(x, number(3)), number(2)));
  EXPECT_EQ(right.coefficient(x), QNumber(2));
  EXPECT_EQ(right.constant, QNumber(6));
  Result numerals = normalize(plain_times(number(2), number(1, 3)), number(1));
  EXPECT_EQ(numerals.constant, QNumber(-1, 3));
  EXPECT_TRUE(numerals.coeffs.empty());
  Result zero = normalize(plain_times(number(0), x));
  EXPECT_TRUE(zero.monomials.empty());
  EXPECT_EQ(zero.coeffs.size(), 1U);
  EXPECT_FALSE(zero.all_integer);
}

TEST_F(PolyNormTest, AllInteger) {
  EXPECT_TRUE(normalize(plain_plus(i, number(1, 2)), j).all_integer);
  EXPECT_FALSE(normalize(plain_plus(i, x), j).all_integer);
  EXPECT_TRUE(normalize(number(1, 2)).all_integer);
}

TEST_F(PolyNormTest, AddsToTheConstantAndTheList) {
  Args monomials{y};
  MonomialMap coeffs;
  QNumber constant(10);
  bool all_integer = false;
  poly_norm(&mgr, plain_plus(x, number(1)), nullptr, false, &monomials, &coeffs, &constant, &all_integer);
  EXPECT_EQ(monomials, (Args{x, y}));
  EXPECT_EQ(constant, QNumber(11));
}

TEST_F(PolyNormTest, TermsOfNormalForms) {
  Result single = normalize(x);
  EXPECT_EQ(build(single), x);
  Result none = normalize(number(3));
  EXPECT_EQ(build(none), nullptr);
  Result two = normalize(plain_plus(y, plain_times(number(2), x)));
  EXPECT_EQ(build(two), plain_plus(plain_times(number(2), x), y));
  Result three = normalize(plain_plus(plain_plus(x, y), plain_times(number(-1), i)));
  EXPECT_EQ(build(three), plain_plus(x, plain_plus(y, plain_times(number(-1), i))));
}

TEST_F(PolyNormTest, OperatorsFollowTheTypesOfTheirArguments) {
  Result mixed = normalize(plain_plus(plain_plus(i, j), x));
  const Term* sum = build(mixed);  // x is the oldest of the three
  EXPECT_EQ(sum->symbol, mgr.rat_plus_symbol);
  EXPECT_EQ(sum->args[0], x);
  EXPECT_EQ(sum->args[1], mgr.do_make_term(mgr.int_plus_symbol, {i, j}));
  Result half = normalize(plain_times(number(1, 2), i));
  EXPECT_EQ(build(half), mgr.do_make_term(mgr.rat_times_symbol, {number(1, 2), i}));
  Result twice = normalize(plain_times(number(2), i));
  EXPECT_EQ(build(twice), mgr.do_make_term(mgr.int_times_symbol, {number(2), i}));
}

TEST_F(PolyNormTest, SortsAroundTheLengthWhereTheMethodChanges) {
  std::mt19937 random(1);
  for (int n = 1; n < 60; ++n) {
    Args variables;
    for (int k = 0; k < n; ++k) variables.push_back(rational("v", k));
    Args shuffled = variables;
    std::shuffle(shuffled.begin(), shuffled.end(), random);
    const Term* sum = shuffled[0];
    for (int k = 1; k < n; ++k) sum = plain_plus(sum, shuffled[k]);
    EXPECT_EQ(normalize(sum).monomials, variables);
  }
}

TEST_F(PolyNormTest, TwoHundredDoublingLevels) {
  const Term* sum = plain_plus(plain_plus(x, plain_times(number(3), i)), number(5));
  QNumber factor(1);
  for (int level = 0; level < 200; ++level) {
    sum = plain_plus(sum, sum);
    factor *= QNumber(2);
  }
  Result r = normalize(sum);
  EXPECT_EQ(r.monomials, (Args{x, i}));
  EXPECT_EQ(r.coefficient(x), factor);
  EXPECT_EQ(r.coefficient(i), factor * QNumber(3));
  EXPECT_EQ(r.constant, factor * QNumber(5));
  EXPECT_FALSE(r.all_integer);
  Result difference = normalize(sum, plain_times(mgr.make_number(factor), x), true);
  EXPECT_EQ(difference.monomials, Args{i});
  EXPECT_EQ(difference.coefficient(i), QNumber(1));
  EXPECT_EQ(difference.constant, QNumber(5, 3));
  EXPECT_EQ(difference.coeffs.size(), 2U);
}

TEST_F(PolyNormTest, SharedPartsThatCancelStillCount) {
  // The part's whole coefficient is 0 before its own parts are looked at.
  const Term* part = plain_plus(x, i);
  const Term* sum = part;
  for (int level = 0; level < 30; ++level) sum = plain_plus(sum, plain_plus(sum, part));
  Result r = normalize(plain_plus(sum, j), sum);
  EXPECT_EQ(r.monomials, Args{j});
  EXPECT_EQ(r.coeffs.size(), 3U);
  EXPECT_FALSE(r.all_integer);
}

/// A plain walk over all paths, as the oracle for random DAGs.
class Reference {
 public:
  explicit Reference(const TermManager& mgr) : mgr_(mgr) {}

  void add(const Term* t, const QNumber& c) {
    if (const QNumber* value = mgr_.get_number(t)) {
      constant += *value * c;
    } else if (mgr_.get_tag(t->symbol) == SymbolTag::PLUS) {
      add(t->args[0], c);
      add(t->args[1], c);
    } else if (mgr_.get_tag(t->symbol) == SymbolTag::TIMES && mgr_.get_number(t->args[0]) != nullptr) {
      add(t->args[1], c * *mgr_.get_number(t->args[0]));
    } else if (mgr_.get_tag(t->symbol) == SymbolTag::TIMES && mgr_.get_number(t->args[1]) != nullptr) {
      add(t->args[0], c * *mgr_.get_number(t->args[1]));
    } else {
      coeffs[t] += c;
    }
  }

  struct ById {
    bool operator()(const Term* a, const Term* b) const { return a->id < b->id; }
  };
  std::map<const Term*, QNumber, ById> coeffs;
  QNumber constant;

 private:
  const TermManager& mgr_;
};

TEST_F(PolyNormTest, RandomDagsAgreeWithAWalkOverAllPaths) {
  std::mt19937 random(7);
  const auto below = [&random](std::size_t n) { return static_cast<std::size_t>(random() % n); };
  for (int round = 0; round < 300; ++round) {
    Args pool{x, y, i, j, number(3), number(-1, 2), number(0), plain_times(x, y)};
    const std::size_t parts = 5 + below(25);
    for (std::size_t n = 0; n < parts; ++n) {
      const Term* a = pool[pool.size() - 1 - below(std::min<std::size_t>(pool.size(), 8))];
      const Term* b = pool[below(pool.size())];
      pool.push_back(below(3) == 0 ? plain_times(pool[4 + below(3)], a) : plain_plus(a, b));
    }
    const Term* lhs = pool.back();
    const Term* rhs = pool[pool.size() - 3];
    Reference reference(mgr);
    reference.add(lhs, QNumber(1));
    reference.add(rhs, QNumber(-1));
    Result r = normalize(lhs, rhs);
    Args expected;
    for (const auto& [m, c] : reference.coeffs) {
      ASSERT_NE(r.coeffs.find(m), nullptr);
      EXPECT_EQ(r.coefficient(m), c);
      if (!c.is_zero()) expected.push_back(m);
    }
    EXPECT_EQ(r.coeffs.size(), reference.coeffs.size());
    EXPECT_EQ(r.monomials, expected);
    EXPECT_EQ(r.constant, reference.constant);
  }
}

}  // namespace
}  // namespace quarv
