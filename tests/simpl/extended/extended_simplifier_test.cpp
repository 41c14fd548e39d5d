// Simplifications beside the required ones: when they are there, what observers are told, long chains, and
// floating-point values against the host's arithmetic.
#include <bit>
#include <cmath>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <support/test_scale.h>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/session/session.h>
#include <quarv/term/walk.h>

namespace quarv {
namespace {

SessionOptions with_extended() {
  SessionOptions options;
  options.extended = true;
  return options;
}

const Term* absorbed(Session& s) {
  TermManager& m = s.manager();
  const Term* p = s.constant("p", m.bool_type);
  const Term* q = s.constant("q", m.bool_type);
  const Term* either = m.make_or(p, q);
  return m.make_and(p, either);
}

TEST(Extended, IsOffUnlessAskedFor) {
  Session plain;
  EXPECT_EQ(absorbed(plain)->symbol, plain.manager().and_symbol);
  Session extended(with_extended());
  EXPECT_EQ(absorbed(extended), extended.constant("p", extended.manager().bool_type));
  SessionOptions options = with_extended();
  options.library_semantics = true;
  Session library(options);
  EXPECT_EQ(absorbed(library)->symbol, library.manager().and_symbol);
}

TEST(Extended, TellsObserversOfItsSteps) {
  SessionOptions options = with_extended();
  options.eager = false;
  Session s(options);
  const Term* t = absorbed(s);
  std::vector<Step> steps;
  const Term* result = s.simplify(t, steps);
  EXPECT_EQ(result, s.constant("p", s.manager().bool_type));
  ASSERT_FALSE(steps.empty());
  EXPECT_EQ(steps.back().rule, 0u);
  EXPECT_EQ(steps.back().before, t);
  EXPECT_EQ(steps.back().after, result);
}

TEST(Extended, ReadsAtConstantsSeeTheLastWrite) {
  Session s(with_extended());
  TermManager& m = s.manager();
  const DataType* type = m.get_array_type(m.int_type, m.int_type);
  const Term* base = s.constant("base", type);
  const Term* array = base;
  std::map<long, const Term*> expected;
  std::mt19937 random(7);
  constexpr long num_places = 3000;
  for (int n = 0; n < 5000; ++n) {
    const long place = static_cast<long>(random() % num_places);
    const Term* element = s.constant("e" + std::to_string(n), m.int_type);
    array = m.make_array_write(array, m.make_number(QNumber(place)), element);
    expected[place] = element;
    if (n % 500 != 499) continue;
    for (long i = 0; i < num_places; ++i) {
      const Term* index = m.make_number(QNumber(i));
      const auto known = expected.find(i);
      const Term* wanted = known != expected.end() ? known->second : m.make_array_read(base, index);
      ASSERT_EQ(m.make_array_read(array, index), wanted) << n << ' ' << i;
    }
  }
}

TEST(Extended, ReadsStopAtWritesThatMayBeThere) {
  Session s(with_extended());
  TermManager& m = s.manager();
  const Term* base = s.constant("base", m.get_array_type(m.int_type, m.int_type));
  const Term* i = s.constant("i", m.int_type);
  const Term* one = m.make_number(QNumber(1));
  const Term* two = m.make_number(QNumber(2));
  const Term* open = m.make_array_write(base, i, one);
  const Term* above = m.make_array_write(open, two, one);
  EXPECT_EQ(m.make_array_read(above, one), m.make_array_read(open, one));
  EXPECT_EQ(m.make_array_read(open, one)->args[0], open);
  const Term* next = m.make_plus(i, one);
  EXPECT_EQ(m.make_array_read(open, next), m.make_array_read(base, next));
}

/// Not in the table of identities, since z3 4.8 fails on it; cvc5 proves it.
TEST(Extended, FusedMultiplicationsCommute) {
  Session s(with_extended());
  TermManager& m = s.manager();
  const DataType* half = m.get_fp_type(5, 10);
  const Term* mode = s.constant("mode", m.rounding_mode_type);
  const Term* f = s.constant("f", half);
  const Term* g = s.constant("g", half);
  EXPECT_EQ(m.make_fp_fma(mode, f, g, g), m.make_fp_fma(mode, g, f, g));
  EXPECT_NE(m.make_fp_fma(mode, f, g, g), m.make_fp_fma(mode, f, g, f));
}

TEST(Extended, TakesDeepTerms) {
  Session s(with_extended());
  TermManager& m = s.manager();
  const Term* a = s.constant("a", m.get_bv_type(32));
  const Term* tree = m.make_bv_number(0, 32);
  for (long n = 1; n < 200'000; ++n) {
    const Term* here = m.make_equal(a, m.make_bv_number(n, 32));
    tree = m.make_ite(here, m.make_bv_number(n % 1000 + 1, 32), tree);
  }
  EXPECT_NE(m.make_equal(tree, m.make_bv_number(5, 32)), nullptr);
}

/// More links than simplifiers may stand within each other.
TEST(Extended, NegationsGoThroughLongChains) {
  Session s(with_extended());
  TermManager& m = s.manager();
  const Term* negations = m.true_term;
  const Term* mixed = m.true_term;
  for (int n = 0; n < 500; ++n) {
    const Term* a = s.constant("a" + std::to_string(n), m.bool_type);
    const Term* b = s.constant("b" + std::to_string(n), m.bool_type);
    const Term* not_a = m.make_not(a);
    const Term* neither = m.make_not(m.make_or(a, b));
    negations = m.make_and(not_a, negations);
    mixed = m.make_and(neither, mixed);
  }
  for (const Term* chain : {negations, mixed}) {
    visit_post_order(m, m.make_not(chain), [&m](const Term* t) {
      EXPECT_NE(t->symbol, m.not_symbol);
      EXPECT_NE(t->symbol, m.and_symbol);
    });
  }
}

// Quantifiers.

/// Formulas with a predicate over integers under quantifiers.
class Quantified : public ::testing::Test {
 protected:
  const Term* variable() { return m_.fresh_bound_variable("x", m_.int_type); }
  const Term* holds_of(const Term* t) { return m_.make_term(predicate_, {t}); }
  const Term* exists(const std::vector<const Term*>& variables, const Term* body) {
    return m_.make_quantifier("exists", variables, body);
  }
  const Term* for_all(const std::vector<const Term*>& variables, const Term* body) {
    return m_.make_quantifier("forall", variables, body);
  }

  Session s_{with_extended()};
  TermManager& m_ = s_.manager();
  const Symbol* predicate_ = s_.function("p", std::vector{m_.int_type}, m_.bool_type);
};

/// Each level asks where its variable occurs. When it looked through all below, that used up what all
/// simplifiers together may look at.
TEST_F(Quantified, LevelsOfANestDoNotLookThroughEachOther) {
  const Term* t = holds_of(m_.make_number(0));
  for (int n = 0; n < 10000; ++n) {
    const Term* x = variable();
    const Term* own = holds_of(x);
    t = for_all({x}, m_.make_or(own, t));
  }
  EXPECT_TRUE(m_.may_visit());
  t = holds_of(m_.make_number(0));
  const Term* outer = variable();
  for (int n = 0; n < 10000; ++n) {
    const Term* x = variable();
    const Term* sum = m_.make_plus(x, outer);
    const Term* own = holds_of(sum);
    t = for_all({x}, m_.make_or(own, t));
  }
  EXPECT_TRUE(m_.may_visit());
}

TEST_F(Quantified, AVariableBoundAgainBelowIsAnother) {
  const Term* x = variable();
  const Term* some = exists({x}, holds_of(x));
  const Term* other = holds_of(m_.make_plus(x, m_.make_number(1)));
  const Term* next = exists({x}, other);
  EXPECT_EQ(exists({x}, m_.make_and(other, some)), m_.make_and(some, next));
}

/// Terms come back at the same addresses with other variables in them.
TEST_F(Quantified, WhatWasReleasedIsForgotten) {
  const Term* y = s_.constant("y", m_.int_type);
  for (int n = 0; n < 3; ++n) {
    s_.push();
    const Term* first = variable();
    const Term* second = variable();
    const Term* x = n % 2 == 0 ? first : second;
    const Term* own = holds_of(m_.make_plus(x, y));
    const Term* t = for_all({first, second}, own);
    EXPECT_EQ(t, for_all({x}, own));
    EXPECT_TRUE(m_.is_quantifier(t->symbol));
    s_.pop();
  }
}

TEST_F(Quantified, AllDefinedVariablesAreReplacedAtOnce) {
  const std::size_t num = 500;
  std::vector<const Term*> variables;
  const Term* body = m_.true_term;
  for (std::size_t n = 0; n < num; ++n) {
    variables.push_back(variable());
    const Term* equation = m_.make_equal(variables.back(), m_.make_number(QNumber(static_cast<unsigned>(n))));
    const Term* own = holds_of(variables.back());
    body = m_.make_and(equation, body);
    body = m_.make_and(own, body);
  }
  const std::size_t before = m_.num_terms();
  const Term* t = exists(variables, body);
  EXPECT_LT(m_.num_terms() - before, 20 * num);  // each replaced by itself made half a million
  std::size_t num_values = 0;
  visit_post_order(m_, t, [&](const Term* u) {
    EXPECT_FALSE(m_.is_bound_variable(u->symbol));
    num_values += u->symbol == predicate_ ? 1 : 0;
  });
  EXPECT_EQ(num_values, num);
}

TEST_F(Quantified, DefinitionsMayUseEachOther) {
  const Term* x = variable();
  const Term* y = variable();
  const Term* z = variable();
  const Symbol* f = s_.function("f", std::vector{m_.int_type}, m_.int_type);
  const auto f_of = [&](const Term* t) { return m_.make_term(f, {t}); };
  const auto all = [&](std::initializer_list<const Term*> list) {
    const Term* t = m_.true_term;
    for (const Term* one : list) t = m_.make_and(t, one);
    return t;
  };
  const Term* five = m_.make_number(5);
  const Term* x_is = m_.make_equal(x, f_of(y));
  const Term* y_is = m_.make_equal(y, f_of(z));
  const Term* z_is = m_.make_equal(z, five);
  EXPECT_EQ(exists({x, y, z}, all({x_is, y_is, z_is, holds_of(x)})), holds_of(f_of(f_of(five))));
  // In a circle one variable stays.
  const Term* y_by_x = m_.make_equal(y, f_of(x));
  const Term* circle = exists({x, y}, all({x_is, y_by_x, holds_of(x)}));
  ASSERT_TRUE(m_.is_quantifier(circle->symbol));
  EXPECT_EQ(m_.quantifier_variables(circle->symbol).size(), 1u);
  // What is defined as a quantified formula may bind a variable of the same name.
  const Term* b = m_.fresh_bound_variable("b", m_.bool_type);
  const Term* some = exists({x}, holds_of(m_.make_plus(x, y)));
  const Term* b_is = m_.make_iff(b, some);
  const Term* either = m_.make_or(b, holds_of(f_of(y)));
  const Term* t = exists({b, y}, all({b_is, either, m_.make_equal(y, five)}));
  const Term* of_sum = holds_of(m_.make_plus(x, five));
  EXPECT_EQ(t->symbol, m_.or_symbol);
  EXPECT_TRUE(t->args[0] == exists({x}, of_sum) || t->args[1] == exists({x}, of_sum));
}

// Floating point.

class Floats : public testing::Test {
 protected:
  const Term* literal(float x) {
    const auto bits = std::bit_cast<std::uint32_t>(x);
    return m_.make_fp_bits_number(QNumber(static_cast<long>(bits)), 8, 23);
  }
  /// Whether a literal is that of a number; NaN has one.
  void expect_value(const Term* t, float x) {
    EXPECT_EQ(t, literal(std::isnan(x) ? std::bit_cast<float>(0x7fc00000u) : x)) << x;
  }
  float random_float() {
    static const float special[] = {0.0f,  -0.0f,    1.0f,      -1.0f, 0.5f,   1.5f,
                                    -2.5f, INFINITY, -INFINITY, NAN,   1e-45f, 3.4e38f};
    const std::uint32_t r = random_();
    if (r % 3 == 0) return special[r / 3 % std::size(special)];
    if (r % 3 == 1) return static_cast<float>(static_cast<int>(random_() % 4096) - 2048) / 8;
    return std::bit_cast<float>(static_cast<std::uint32_t>(random_()));
  }

  Session s_{with_extended()};
  TermManager& m_ = s_.manager();
  std::mt19937 random_{11};
};

TEST_F(Floats, AreComputedAsTheHostDoes) {
  const Term* even = m_.make_rounding_even();
  const Term* away = m_.make_rounding_away();
  for (int n = 0; n < num_cases(2000); ++n) {
    const float a = random_float();
    const float b = random_float();
    const float c = random_float();
    expect_value(m_.make_fp_fma(even, literal(a), literal(b), literal(c)), std::fma(a, b, c));
    expect_value(m_.make_fp_rem(literal(a), literal(b)), std::remainder(a, b));
    expect_value(m_.make_fp_round_to_int(even, literal(a)), std::nearbyint(a));
    expect_value(m_.make_fp_round_to_int(away, literal(a)), std::round(a));
    expect_value(m_.make_fp_round_to_int(m_.make_rounding_zero(), literal(a)), std::trunc(a));
    expect_value(m_.make_fp_round_to_int(m_.make_rounding_plus_inf(), literal(a)), std::ceil(a));
    expect_value(m_.make_fp_round_to_int(m_.make_rounding_minus_inf(), literal(a)), std::floor(a));
    // Exact results are the same in all modes.
    expect_value(m_.make_fp_mul(away, literal(a), literal(2.0f)), a * 2);
    expect_value(m_.make_fp_sqrt(away, literal(a)), std::sqrt(a));
  }
}

/// Half-way between two numbers, away from zero: sums that differ in their last bit from those rounded to
/// even.
TEST_F(Floats, RoundTiesAway) {
  const Term* away = m_.make_rounding_away();
  const float ulp = std::ldexp(1.0f, -23);
  for (const float sign : {1.0f, -1.0f}) {
    const Term* one = literal(sign);
    expect_value(m_.make_fp_add(away, one, literal(sign * ulp / 2)), sign * (1 + ulp));
    expect_value(m_.make_fp_add(away, one, literal(sign * std::nextafter(ulp / 2, 0.0f))), sign);
    const float most = std::bit_cast<float>(0x7f7fffffu);
    expect_value(m_.make_fp_add(away, literal(sign * most), literal(sign * std::ldexp(1.0f, 103))),
                 sign * INFINITY);
    expect_value(m_.make_fp_add(away, literal(sign * most),
                                literal(sign * std::nextafter(std::ldexp(1.0f, 103), 0.0f))),
                 sign * most);
    expect_value(m_.make_fp_mul(away, literal(sign * 1e-45f), literal(0.5f)), sign * 1e-45f);
    expect_value(m_.make_fp_mul(away, literal(sign * 1e-45f), literal(0.25f)), sign * 0.0f);
  }
}

}  // namespace
}  // namespace quarv
