// Programs put strict semantics in front of a registry of their own, without the reader.
#include <span>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/rules/rule_interpreter.h>
#include <quarv/rules/simplification_observer.h>
#include <quarv/session/strict_semantics.h>
#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

namespace quarv::smtlib {
namespace {

/// A manager with a registry, and strict semantics in front of it or not.
struct Layer {
  explicit Layer(bool strictly) {
    termsimpl::register_standard_simplifications(&mgr, &registry);
    if (strictly) {
      strict.turn_off_unsound_rules();
      mgr.set_simplifier(&strict);
    } else {
      mgr.set_simplifier(&registry);
    }
    t = byte("t");
  }

  const Term* byte(const char* name) { return mgr.make_constant(name, mgr.get_bv_type(8)); }
  const Term* ones(std::size_t width) { return mgr.make_bv_not(mgr.make_bv_number(0, width)); }
  const Term* float16(long bits) { return mgr.make_fp_bits_number(QNumber(bits), 5, 10); }
  const Term* normal(const Term* term) { return registry.normalizer.normalize(&mgr, term); }

  TermManager mgr;
  StdTermSimplifier registry;
  StrictSemantics strict{registry};
  const Term* t = nullptr;
};

constexpr long plus_zero = 0;
constexpr long minus_zero = 0x8000;
constexpr long infinity = 0x7c00;
constexpr long quiet_nan = 0x7e00;
constexpr long other_nan = 0xfc01;

TEST(StrictWrapper, TurnsOffTheQuotientOfATermByItself) {
  Layer plain(false);
  EXPECT_EQ(plain.normal(plain.mgr.make_bv_sdiv(plain.t, plain.t)), plain.mgr.make_bv_number(1, 8));
  Layer strict(true);
  const Term* const quotient = strict.mgr.make_bv_sdiv(strict.t, strict.t);
  EXPECT_EQ(strict.normal(quotient), quotient);
}

TEST(StrictWrapper, TurnsOffTheRuleOfEqualDifferences) {
  const auto equal_differences = [](Layer& layer) {
    const Term* const a = layer.mgr.make_bv_sub(layer.byte("a"), layer.t);
    const Term* const b = layer.mgr.make_bv_sub(layer.t, layer.byte("b"));
    return layer.normal(layer.mgr.make_equal(a, b));
  };
  Layer plain(false);
  const Term* const a = plain.byte("a");
  const Term* const b = plain.byte("b");
  EXPECT_EQ(equal_differences(plain), plain.mgr.make_equal(a, b));
  Layer strict(true);
  const Term* const c = strict.byte("a");
  const Term* const d = strict.byte("b");
  EXPECT_NE(equal_differences(strict), strict.mgr.make_equal(c, d));
}

/// Without the rule that removes it, an extension by no bits is met by the rules that do not hold for it.
TEST(StrictWrapper, RemovesExtensionsByNoBits) {
  const auto equal_to_ones = [](Layer& layer, std::size_t bits, bool ones_first) {
    layer.registry.normalizer.set_rule_enabled("rewrite(zext(n, t), (n == 0)) >> t", false);
    const Term* const extended = layer.mgr.make_bv_zero_extend(bits, layer.t);
    const Term* const ones = layer.ones(8 + bits);
    return layer.normal(ones_first ? layer.mgr.make_equal(ones, extended)
                                   : layer.mgr.make_equal(extended, ones));
  };
  for (const bool ones_first : {false, true}) {
    Layer plain(false);
    EXPECT_EQ(equal_to_ones(plain, 0, ones_first), plain.mgr.false_term);
    Layer strict(true);
    const Term* const result = equal_to_ones(strict, 0, ones_first);
    const Term* const ones = strict.ones(8);
    EXPECT_TRUE(result == strict.mgr.make_equal(strict.t, ones) ||
                result == strict.mgr.make_equal(ones, strict.t));
    EXPECT_EQ(equal_to_ones(strict, 4, ones_first), strict.mgr.false_term);
  }
}

TEST(StrictWrapper, KnowsOneNaN) {
  Layer plain(false);
  const Term* const plain_nan = plain.float16(other_nan);
  EXPECT_EQ(plain.mgr.make_equal(plain_nan, plain.float16(quiet_nan)), plain.mgr.false_term);
  Layer strict(true);
  const Term* const nan = strict.float16(other_nan);
  EXPECT_EQ(strict.mgr.make_equal(nan, strict.float16(quiet_nan)), strict.mgr.true_term);
  EXPECT_EQ(strict.mgr.make_fp_neg(nan), strict.float16(quiet_nan));
}

TEST(StrictWrapper, LeavesOpenValuesUnfolded) {
  const auto open_terms = [](Layer& layer) {
    TermManager& mgr = layer.mgr;
    const Term* const even = mgr.make_rounding_even();
    const Term* const plus = layer.float16(plus_zero);
    const Term* const minus = layer.float16(minus_zero);
    const Term* const nan = layer.float16(quiet_nan);
    return std::vector{mgr.make_fp_min(plus, minus),
                       mgr.make_fp_max(plus, minus),
                       mgr.make_fp_to_ubv(8, even, nan),
                       mgr.make_fp_to_sbv(8, even, layer.float16(infinity)),
                       mgr.make_fp_to_ubv(8, even, layer.float16(0xbc00)),  // -1
                       mgr.make_fp_as_ieeebv(nan)};
  };
  Layer plain(false);
  for (const Term* t : open_terms(plain)) EXPECT_EQ(plain.mgr.arity(t), 0U);
  Layer strict(true);
  for (const Term* t : open_terms(strict)) EXPECT_GT(strict.mgr.arity(t), 0U);
}

/// What a program adds to its registry works behind the wrapper too: simplifiers, rules and an observer.
TEST(StrictWrapper, PassesOnWhatTheProgramRegistered) {
  struct CompareByIte : StdTermSimplifier::simpl_fun {
    const Term* operator()(TermManager* mgr, const Symbol*, const std::vector<const Term*>& args) override {
      const Term* const equal = mgr->make_equal(args[0], args[1]);
      const Term* const one = mgr->make_bv_number(1, 1);
      const Term* const zero = mgr->make_bv_number(0, 1);
      return mgr->make_ite(equal, one, zero);
    }
  };
  struct Count : SimplificationObserver {
    void on_rule(std::size_t, const Term*, const Term*) override { ++rules; }
    void on_simplification(const Symbol*, std::span<const Term* const>, const Term*) override {
      ++simplifications;
    }
    int rules = 0;
    int simplifications = 0;
  };

  Layer layer(true);
  Count count;
  layer.registry.set_observer(&count);
  for (auto& rule : rules::load_rules("rewrite(bvor(t1, bvand(t2, t1_0)), identity(t1, t1_0)) >> t1\n"
                                      "rewrite(bvor(t1, bvand(t1_0, t2)), identity(t1, t1_0)) >> t1\n")) {
    layer.registry.normalizer.register_rule(rule.release());
  }
  const Term* const u = layer.byte("u");
  const Term* const both = layer.mgr.make_bv_and(u, layer.t);
  EXPECT_EQ(layer.normal(layer.mgr.make_bv_or(layer.t, both)), layer.t);
  EXPECT_GT(count.rules, 0);

  layer.registry.register_simplification(SymbolTag::BV_COMP, new CompareByIte);
  EXPECT_EQ(SymbolTag::TERM_ITE, layer.mgr.get_tag(layer.mgr.make_bv_comp(layer.t, u)->symbol));
  EXPECT_EQ(layer.mgr.make_bv_comp(u, u), layer.mgr.make_bv_number(1, 1));
  EXPECT_GT(count.simplifications, 0);
}

/// Terms that were there before the wrapper are brought in line when they are normalised.
TEST(StrictWrapper, NormalisesTermsThatWereBuiltWithoutIt) {
  Layer layer(true);
  layer.mgr.set_simplifier(nullptr);
  const Term* const nan = layer.float16(quiet_nan);
  const Term* const nans = layer.mgr.make_equal(layer.float16(other_nan), nan);
  const Term* const minimum = layer.mgr.make_fp_min(layer.float16(plus_zero), layer.float16(minus_zero));
  const Term* const extended = layer.mgr.make_bv_zero_extend(0, layer.t);
  const Term* const all_ones = layer.mgr.make_equal(extended, layer.mgr.make_bv_number(255, 8));
  layer.mgr.set_simplifier(&layer.strict);
  layer.registry.normalizer.set_rule_enabled("rewrite(zext(n, t), (n == 0)) >> t", false);
  EXPECT_EQ(layer.normal(nans), layer.mgr.true_term);
  EXPECT_EQ(layer.normal(minimum), minimum);
  EXPECT_NE(layer.normal(all_ones), layer.mgr.false_term);
}

}  // namespace
}  // namespace quarv::smtlib
