// Rules that match operands in any order.
#include <set>
#include <string>

#include <gtest/gtest.h>

#include <quarv/rules/bitvector_rules.h>
#include <quarv/rules/extended_rules.h>
#include <quarv/rules/language/rule_orders.h>
#include <quarv/rules/rule_interpreter.h>
#include <quarv/rules/term_normalizer.h>
#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

using rules::orders_of;
using rules::parse_rule;

std::set<std::string> patterns(const std::string& text) {
  std::set<std::string> all;
  for (const rules::Rule& order : orders_of(parse_rule(text))) {
    EXPECT_TRUE(all.insert(rules::pattern_in_order(order)).second);
    for (std::size_t i = 1; i < order.pattern.size(); ++i) {
      const rules::PatternNode& node = order.pattern[i];
      EXPECT_LT(node.parent, i);
      EXPECT_EQ(order.pattern[node.parent].arguments[node.child], i);
    }
  }
  return all;
}

TEST(RuleOrders, AreThoseOfCommutativeOperators) {
  using Set = std::set<std::string>;
  EXPECT_EQ(patterns("rewrite(bvand(t1, bvor(t1_0, t2)), identity(t1, t1_0)) >> t1"),
            Set{"bvand(t1, bvor(t1_0, t2))"});
  EXPECT_EQ(patterns("unordered(bvand(t1, bvor(t1_0, t2)), identity(t1, t1_0)) >> t1"),
            (Set{"bvand(t1, bvor(t1_0, t2))", "bvand(t1, bvor(t2, t1_0))", "bvand(bvor(t1_0, t2), t1)",
                 "bvand(bvor(t2, t1_0), t1)"}));
  EXPECT_EQ(patterns("unordered(bvsub(t, bvand(u, c)), const(c)) >> bvsub(t, u)"),
            (Set{"bvsub(t, bvand(u, c))", "bvsub(t, bvand(c, u))"}));
  EXPECT_EQ(patterns("unordered((t == bvnot(u)), ) >> (bvnot(t) == u)"),
            (Set{"(t == bvnot(u))", "(bvnot(u) == t)"}));
}

TEST(RuleOrders, ThatSayTheSameAreOne) {
  EXPECT_EQ(patterns("unordered(bvadd(t, u), ) >> bvadd(u, t)").size(), 1u);
  EXPECT_EQ(patterns("unordered(bvadd(t, u), ) >> bvsub(u, t)").size(), 2u);
  EXPECT_EQ(patterns("unordered(bvadd(t, u), const(t)) >> bvadd(u, t)").size(), 2u);
  EXPECT_EQ(patterns("unordered(bvadd(t, u), const(t), const(u)) >> bvadd(u, t)").size(), 1u);
  EXPECT_EQ(patterns("unordered(bvadd(t, u), prec(t, u)) >> bvadd(u, t)").size(), 2u);
  EXPECT_EQ(patterns("unordered((bvadd(t, u) == bvadd(t_0, v)), identity(t, t_0)) >> (u == v)").size(), 4u);
  EXPECT_EQ(patterns("unordered(bvmul(zext(n, t), zext(m, u)), (n < m)) >> 0").size(), 2u);
  EXPECT_EQ(patterns("unordered(bvmul(zext(n, t), zext(m, u)), (n == m)) >> 0").size(), 1u);
  EXPECT_EQ(patterns("unordered(bvmul(t, u), pow2(u, k), (k < size(t))) >> bvlshl(t, k)").size(), 2u);
}

TEST(RuleOrders, GroupAssociativeOperatorsInAllWays) {
  const auto three = patterns("unordered(bvxor(bvxor(t1, t2), t1_0), identity(t1, t1_0)) >> t2");
  EXPECT_EQ(three.size(), 6u);  // the odd one has three places, in two trees
  EXPECT_EQ(patterns("unordered(bvxor(a, bvxor(b, c)), const(a)) >> a").size(), 6u);
  EXPECT_EQ(patterns("unordered(bvxor(a, bvand(b, bvxor(c, d))), const(a)) >> a").size(), 4u);
}

TEST(RuleOrders, ReferToTheSameTerms) {
  TermManager mgr;
  const DataType* type = mgr.get_bv_type(8);
  const Term* t = mgr.make_constant("t", type);
  const Term* u = mgr.make_constant("u", type);
  const Term* c = mgr.make_bv_number(12, 8);
  const rules::InterpretedRule rule(
      parse_rule("unordered(bvadd(c, bvadd(t, bvmul(u, d))), const(c), const(d), (c > d)) >> "
                 "bvadd(bvand(c, t), bvor(u, d))"));
  const Term* d = mgr.make_bv_number(7, 8);
  const Term* expected = mgr.make_bv_add(mgr.make_bv_and(c, t), mgr.make_bv_or(u, d));
  const Term* products[] = {mgr.make_bv_mul(u, d), mgr.make_bv_mul(d, u)};
  std::size_t num_matched = 0;
  for (const Term* p : products) {
    for (const Term* root :
         {mgr.make_bv_add(c, mgr.make_bv_add(t, p)), mgr.make_bv_add(mgr.make_bv_add(c, p), t),
          mgr.make_bv_add(p, mgr.make_bv_add(t, c)), mgr.make_bv_add(t, mgr.make_bv_add(c, p))}) {
      const Term* out = nullptr;
      ASSERT_TRUE(rule(&mgr, root, &out));
      EXPECT_EQ(out, expected);
      ++num_matched;
    }
  }
  EXPECT_EQ(num_matched, 8u);
  const Term* out = nullptr;
  EXPECT_FALSE(rule(&mgr, mgr.make_bv_add(d, mgr.make_bv_add(t, mgr.make_bv_mul(u, c))), &out));
}

TEST(RuleOrders, AreFoundThroughTheIndexUnderOneNumber) {
  class Listener final : public SimplificationObserver {
   public:
    void on_rule(std::size_t rule, const Term*, const Term*) override { last_rule = rule; }
    void on_simplification(const Symbol*, std::span<const Term* const>, const Term*) override {}
    std::size_t last_rule = 0;
  } listener;
  TermManager mgr;
  TermNormalizer normalizer;
  register_bitvector_rules(&normalizer);
  for (auto& rule :
       rules::load_rules("mine: unordered(bvor(t, bvlshr(t_0, u)), identity(t, t_0)) >> bvnot(u)\n")) {
    normalizer.register_rule(rule.release());
  }
  EXPECT_EQ(normalizer.num_rules(), 185u);
  EXPECT_EQ(normalizer.set_rule_enabled("bvor-commute", false), 1u);
  normalizer.set_observer(&listener);
  const DataType* type = mgr.get_bv_type(8);
  const Term* t = mgr.make_constant("t", type);
  const Term* u = mgr.make_constant("u", type);
  const Term* shifted = mgr.make_bv_lshr(t, u);
  for (const Term* root : {mgr.make_bv_or(t, shifted), mgr.make_bv_or(shifted, t)}) {
    listener.last_rule = 0;
    EXPECT_EQ(normalizer.normalize(&mgr, root), mgr.make_bv_not(u));
    EXPECT_EQ(listener.last_rule, 184u);
  }
  EXPECT_EQ(normalizer.set_rule_enabled("mine", false), 1u);
  EXPECT_NE(normalizer.normalize(&mgr, mgr.make_bv_or(shifted, t)), mgr.make_bv_not(u));
}

}  // namespace
}  // namespace quarv
