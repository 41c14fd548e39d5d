#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/rules/rule_interpreter.h>
#include <quarv/rules/term_normalizer.h>
#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

class Normalizer : public testing::Test {
 protected:
  Normalizer() {
    termsimpl::register_standard_simplifications(&mgr, &simplifier);
    mgr.set_simplifier(&simplifier);
  }

  const Term* normalize(const Term* t) { return normalizer.normalize(&mgr, t); }
  const Term* var(const char* name, std::size_t width = 8) {
    return mgr.make_constant(name, mgr.get_bv_type(width));
  }
  const Term* num(int value, std::size_t width = 8) { return mgr.make_bv_number(value, width); }

  static void add_rules(TermNormalizer* to, const char* text) {
    for (auto& rule : rules::load_rules(text)) to->register_rule(rule.release());
  }

  TermManager mgr;
  StdTermSimplifier simplifier;
  TermNormalizer& normalizer = simplifier.normalizer;
  const Term* x = var("x");
  const Term* y = var("y");
  const Term* z = var("z");
};

TEST_F(Normalizer, GoesOnWithWhatARuleYields) {
  const Term* minus_y = mgr.make_bv_neg(y);
  EXPECT_EQ(normalize(mgr.make_bv_sub(x, y)), mgr.make_bv_add(x, minus_y));
  EXPECT_EQ(normalize(mgr.make_bv_sub(x, x)), num(0));
  const Term* double_neg = mgr.make_bv_neg(minus_y);
  EXPECT_EQ(normalize(mgr.make_bv_sub(x, double_neg)), mgr.make_bv_add(x, minus_y));
}

TEST_F(Normalizer, NormalisesArgumentsFirstAndRebuildsThroughSimplifiers) {
  const Term* zero = mgr.make_bv_sub(x, x);
  const Term* sum = mgr.make_bv_add(zero, num(3));
  EXPECT_EQ(normalize(mgr.make_bv_mul(sum, num(5))), num(15));
  const Term* less = mgr.make_bv_ult(sum, num(4));
  EXPECT_EQ(normalize(mgr.make_ite(less, x, y)), x);
}

TEST_F(Normalizer, FoldsTermsThatWereBuiltPlain) {
  const Term* plain = mgr.do_make_term(mgr.make_bv_symbol(SymbolTag::BV_ADD, 8), {num(2), num(3)});
  EXPECT_EQ(normalize(plain), num(5));
}

TEST_F(Normalizer, BelievesThatItsInputsAreSimplified) {
  struct Counting : TermSimplifier {
    explicit Counting(TermSimplifier& wrapped) : inner(wrapped) {}
    const Term* simplify(TermManager* manager, const Symbol* symbol,
                         const std::vector<const Term*>& args) override {
      ++calls;
      return inner.simplify(manager, symbol, args);
    }
    TermSimplifier& inner;
    int calls = 0;
  } counting(simplifier);
  const Term* const stays = mgr.make_bv_udiv(mgr.make_bv_xor(x, y), z);
  const Term* const changes = mgr.make_bv_udiv(mgr.make_bv_sub(x, y), stays);
  mgr.set_simplifier(&counting);
  normalizer.set_inputs_are_simplified(true);
  EXPECT_EQ(normalize(stays), stays);
  EXPECT_EQ(counting.calls, 0);
  const Term* const normal = normalize(changes);
  EXPECT_GT(counting.calls, 0);  // what a rule builds, and what stands above it
  EXPECT_EQ(normal, mgr.make_bv_udiv(mgr.make_bv_add(x, mgr.make_bv_neg(y)), stays));

  normalizer.clear_cache();
  normalizer.set_inputs_are_simplified(false);
  counting.calls = 0;
  EXPECT_EQ(normalize(stays), stays);
  EXPECT_EQ(counting.calls, 2);
}

TEST_F(Normalizer, RulesThatUndoEachOtherStopBecauseConstantsFold) {
  // c1 + (c2 + x) regroups to (c1 + c2) + x, which regroups back unless c1 + c2 folds.
  const Term* inner = mgr.make_bv_add(num(2), x);
  EXPECT_EQ(normalize(mgr.make_bv_add(num(3), inner)), mgr.make_bv_add(num(5), x));
  // 3 * (5 + x) distributes; the product of a sum collects only while both sides are products.
  const Term* sum = mgr.make_bv_add(num(5), x);
  const Term* product = mgr.make_bv_mul(num(3), x);
  EXPECT_EQ(normalize(mgr.make_bv_mul(num(3), sum)), mgr.make_bv_add(num(15), product));
  EXPECT_EQ(normalizer.statistics().cycles, 0u);
}

TEST_F(Normalizer, KnowsTermsItHasSeen) {
  const Term* t = mgr.make_bv_sub(x, y);
  const Term* normal = normalize(t);
  const auto visited = normalizer.statistics().visited;
  EXPECT_EQ(normalize(t), normal);
  EXPECT_EQ(normalize(normal), normal);
  EXPECT_EQ(normalizer.statistics().visited, visited);
  normalizer.clear_cache();
  EXPECT_EQ(normalize(t), normal);
  EXPECT_GT(normalizer.statistics().visited, visited);
}

TEST_F(Normalizer, TurnsRulesOnAndOff) {
  const Term* t = mgr.make_bv_sub(x, x);
  const char* const to_zero = "rewrite(bvsub(t, t_0), identity(t, t_0)) >> 0";
  const char* const to_sum = "rewrite(bvsub(t1, t2), ) >> bvadd(t1, bvneg(t2))";
  EXPECT_EQ(normalizer.set_rule_enabled(to_zero, false), 1u);
  EXPECT_EQ(normalizer.set_rule_enabled(to_sum, false), 1u);
  EXPECT_EQ(normalizer.set_rule_enabled("no such rule", false), 0u);
  EXPECT_FALSE(normalizer.is_rule_enabled(30));
  EXPECT_EQ(normalize(t), t);
  normalizer.set_rule_enabled(30, true);
  EXPECT_EQ(normalize(t), num(0));
}

TEST_F(Normalizer, TriesRulesInTheOrderOfRegistration) {
  TermNormalizer own;
  add_rules(&own, "rewrite(bvnot(t), ) >> bvneg(t)\nrewrite(bvnot(t), ) >> bvadd(t, t)\n");
  EXPECT_EQ(own.normalize(&mgr, mgr.make_bv_not(x)), mgr.make_bv_neg(x));
  own.set_rule_enabled(0, false);
  EXPECT_EQ(own.normalize(&mgr, mgr.make_bv_not(x)), mgr.make_bv_add(x, x));
}

TEST_F(Normalizer, UsersRulesJoinTheStandardOnes) {
  add_rules(&normalizer, "rewrite(bvand(t1, bvor(t_0, t2)), identity(t1, t_0)) >> t1");
  const Term* either = mgr.make_bv_or(x, y);
  EXPECT_EQ(normalizer.num_rules(), 185u);
  EXPECT_EQ(normalize(mgr.make_bv_and(x, either)), x);
}

TEST_F(Normalizer, LeavesAnnotationTermsAlone) {
  const Term* body = mgr.make_equal(mgr.make_bv_not(mgr.make_bv_not(x)), y);
  const Term* pattern = mgr.make_bv_sub(x, y);
  const Attribute attribute{":pattern", "", 1};
  const Term* annotated = mgr.make_annotation(body, {&attribute, 1}, {&pattern, 1});
  const Term* normal = normalize(annotated);
  EXPECT_EQ(normal->args[0], mgr.make_equal(x, y));
  EXPECT_EQ(normal->args[1], pattern);
}

class Recorder : public SimplificationObserver {
 public:
  void on_rule(std::size_t rule, const Term* before, const Term* after) override {
    rules.push_back(rule + 1);
    EXPECT_NE(before, after);
    last = after;
  }
  void on_simplification(const Symbol*, std::span<const Term* const> args, const Term* after) override {
    ++simplifications;
    EXPECT_FALSE(args.empty());
    last = after;
  }

  std::vector<std::size_t> rules;
  std::size_t simplifications = 0;
  const Term* last = nullptr;
};

TEST_F(Normalizer, TellsItsObserver) {
  Recorder recorder;
  simplifier.set_observer(&recorder);
  const Term* inner = mgr.make_bv_sub(x, num(2));
  EXPECT_EQ(normalize(inner), mgr.make_bv_add(num(254), x));
  EXPECT_EQ(recorder.rules, (std::vector<std::size_t>{32, 15}));
  EXPECT_EQ(recorder.simplifications, 1u);  // bvneg(2) folds
  EXPECT_EQ(recorder.last, mgr.make_bv_add(num(254), x));
  simplifier.set_observer(nullptr);
  normalize(mgr.make_bv_sub(y, num(2)));
  EXPECT_EQ(recorder.rules.size(), 2u);
}

TEST_F(Normalizer, StopsWhenTheStepBudgetIsSpent) {
  const Term* t = mgr.make_bv_sub(mgr.make_bv_sub(x, y), num(2));
  normalizer.set_step_budget(0);
  EXPECT_EQ(normalize(t), t);
  EXPECT_EQ(normalizer.statistics().budget_spent, 1u);
  normalizer.set_step_budget(1);
  const Term* minus_y = mgr.make_bv_neg(y);
  EXPECT_EQ(normalize(t), mgr.make_bv_sub(mgr.make_bv_add(x, minus_y), num(2)));
  EXPECT_EQ(normalizer.statistics().budget_spent, 2u);
  // What was reached is no normal form, and is not remembered as one.
  normalizer.reset_step_budget();
  const Term* normal = normalize(t);
  EXPECT_EQ(normal->args[0], num(254));
  EXPECT_EQ(normalizer.statistics().budget_spent, 2u);
  // A budget that is just enough is not spent.
  normalizer.clear_cache();
  normalizer.reset_statistics();
  normalize(t);
  const auto steps = normalizer.statistics().applied;
  normalizer.clear_cache();
  normalizer.set_step_budget(steps);
  EXPECT_EQ(normalize(t), normal);
  EXPECT_EQ(normalizer.statistics().budget_spent, 0u);
}

TEST_F(Normalizer, EndlessGrowthEndsWithTheBudget) {
  TermNormalizer own;
  add_rules(&own, "rewrite(bvnot(t), ) >> bvnot(bvadd(t, t))");
  own.set_step_budget(1000);
  const Term* result = own.normalize(&mgr, mgr.make_bv_not(x));
  EXPECT_EQ(own.statistics().budget_spent, 1u);
  EXPECT_EQ(own.statistics().applied, 1000u);
  EXPECT_EQ(mgr.type_of(result), mgr.type_of(x));
}

TEST_F(Normalizer, WhatAnEarlierAttemptMadeGivesNoFurtherSteps) {
  TermNormalizer own;
  add_rules(&own, "rewrite(bvnot(t), ) >> bvnot(bvadd(t, t))");
  const Term* endless = mgr.make_bv_not(x);
  own.normalize(&mgr, endless);
  const auto steps = own.statistics().applied;
  own.normalize(&mgr, endless);
  EXPECT_EQ(own.statistics().applied, 2 * steps);
}

TEST_F(Normalizer, StopsRulesThatUndoEachOtherAtOneTerm) {
  const char* const text =
      "rewrite(bvsub(t1, t2), ) >> bvxor(t1, t2)\nrewrite(bvxor(t1, t2), ) >> bvsub(t1, t2)\n";
  TermNormalizer own;
  add_rules(&own, text);
  const Term* a = mgr.make_bv_xor(x, y);
  const Term* b = mgr.make_bv_sub(x, y);
  EXPECT_EQ(own.normalize(&mgr, b), a);  // the older of the two
  EXPECT_EQ(own.statistics().cycles, 1u);
  EXPECT_EQ(own.normalize(&mgr, a), a);
  own.clear_cache();
  EXPECT_EQ(own.normalize(&mgr, a), a);
  EXPECT_EQ(own.statistics().budget_spent, 0u);
}

TEST_F(Normalizer, ARuleThatYieldsItsOwnTermIsPassedOver) {
  TermNormalizer own;
  add_rules(&own, "rewrite(bvadd(t1, t2), ) >> bvadd(t1, t2)\nrewrite(bvadd(t1, t2), ) >> bvor(t1, t2)\n");
  EXPECT_EQ(own.normalize(&mgr, mgr.make_bv_add(x, y)), mgr.make_bv_or(x, y));
}

TEST_F(Normalizer, ATermThatBecomesItsOwnArgumentIsStopped) {
  TermNormalizer own;
  add_rules(&own, "rewrite(bvnot(t), ) >> bvneg(bvnot(t))");
  const Term* t = mgr.make_bv_not(x);
  EXPECT_EQ(own.normalize(&mgr, t), mgr.make_bv_neg(t));
}

TEST_F(Normalizer, WrongRulesThrowAndLeaveTheNormalizerUsable) {
  TermNormalizer own;
  add_rules(&own, "\nrewrite(bvneg(t), ) >> concat(t, t)\nrewrite(bvnot(t), ) >> bvadd(t, concat(t, t))");
  const Term* negated = mgr.make_bv_neg(x);
  const Term* sum = mgr.make_bv_add(negated, y);
  try {
    own.normalize(&mgr, sum);
    ADD_FAILURE() << "accepted";
  } catch (const rules::RuleError& e) {
    EXPECT_EQ(e.line(), 2u);
    EXPECT_NE(e.reason().find("(_ BitVec 16)"), std::string::npos) << e.reason();
  }
  EXPECT_THROW(own.normalize(&mgr, mgr.make_bv_not(x)), SortError);
  own.set_rule_enabled(0, false);
  EXPECT_EQ(own.normalize(&mgr, sum), sum);
}

TEST_F(Normalizer, ServesAnotherManagerAfresh) {
  const Term* t = mgr.make_bv_sub(x, y);
  normalize(t);
  TermManager other;
  other.set_simplifier(&simplifier);
  const Term* a = other.make_constant("a", other.get_bv_type(8));
  EXPECT_EQ(normalizer.normalize(&other, other.make_bv_sub(a, a)), other.make_bv_number(0, 8));
}

TEST_F(Normalizer, TriesOnlyRulesThatTheArgumentsAllow) {
  normalize(mgr.make_equal(x, y));
  EXPECT_EQ(normalizer.statistics().attempts, 0u);  // of the 57 rules for equalities
  normalize(mgr.make_bv_add(x, y));
  EXPECT_LE(normalizer.statistics().attempts, 5u);
  // Nor rules that want the same term twice where there are two, at the root or below.
  const auto attempts = [this](const char* rule, const Term* t) {
    TermNormalizer one;
    for (auto& loaded : rules::load_rules(rule)) one.register_rule(loaded.release());
    one.normalize(&mgr, t);
    return one.statistics().attempts;
  };
  const Term* difference = mgr.make_bv_sub(y, z);
  const char* same = "rewrite(bvsub(t, bvsub(u, t_0)), identity(t, t_0)) >> bvsub(t, bvsub(u, t))";
  EXPECT_EQ(attempts(same, mgr.make_bv_sub(x, difference)), 0u);
  EXPECT_EQ(attempts(same, mgr.make_bv_sub(z, difference)), 1u);
  const char* head = "rewrite(bvnot(bvand(t, bvnot(u))), ) >> bvnot(bvand(t, bvnot(u)))";
  EXPECT_EQ(attempts(head, mgr.make_bv_not(mgr.make_bv_and(x, y))), 0u);
  EXPECT_EQ(attempts(head, mgr.make_bv_not(mgr.make_bv_and(x, mgr.make_bv_not(y)))), 1u);
  const DataType* bits = mgr.get_bv_type(8);
  const Term* array = mgr.make_constant("m", mgr.get_array_type(bits, bits));
  const Term* writes = mgr.make_array_write(mgr.make_array_write(array, x, y), y, y);
  const char* chain =
      "rewrite(store(store(store(m, i, t), j, u), i_0, v), identity(i, i_0)) >> store(store(m, j, u), i, v)";
  EXPECT_EQ(attempts(chain, mgr.make_array_write(writes, z, y)), 0u);
  EXPECT_GE(attempts(chain, mgr.make_array_write(writes, x, z)), 1u);
}

TEST_F(Normalizer, DepthIsNoLimit) {
  constexpr int depth = 300000;
  const Term* t = x;
  for (int i = 0; i < depth; ++i) {
    t = i % 3 == 0 ? mgr.make_bv_sub(t, y) : i % 3 == 1 ? mgr.make_bv_udiv(t, z) : mgr.make_bv_xor(t, num(1));
  }
  const Term* normal = normalize(t);
  EXPECT_NE(normal, t);
  EXPECT_EQ(normalizer.statistics().budget_spent, 0u);
  EXPECT_LT(normalizer.statistics().visited, 4u * depth);
  const Term* nots = x;
  for (int i = 0; i < depth; ++i) nots = mgr.do_make_term(mgr.make_bv_symbol(SymbolTag::BV_NOT, 8), {nots});
  EXPECT_EQ(normalize(nots), x);
}

TEST_F(Normalizer, SharedTermsAreNormalisedOnce) {
  const Term* t = mgr.make_bv_sub(x, y);
  constexpr int levels = 200;  // 2^200 as a tree
  for (int i = 0; i < levels; ++i) t = mgr.make_bv_udiv(mgr.make_bv_sub(t, z), t);
  normalize(t);
  EXPECT_LT(normalizer.statistics().visited, 10u * levels);
}

}  // namespace
}  // namespace quarv
