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
  for (int n = 0; n < 2000 * test_scale(); ++n) {
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
