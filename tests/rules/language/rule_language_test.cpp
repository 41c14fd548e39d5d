#include <gtest/gtest.h>

#include "rules/rule_table.h"
#include <quarv/rules/language/rule_language.h>

namespace quarv::rules {
namespace {

TEST(RuleLanguage, TranscribesAllStandardRules) {
  ASSERT_EQ(rule_table().size(), 184u);
  for (const RuleRow& row : rule_table()) {
    const Rule rule = parse_rule(row.signature);
    EXPECT_EQ(rule.text, row.signature);
    EXPECT_EQ(class_name(rule), row.class_name) << row.name;
    EXPECT_EQ(rule.applicant(), row.applicant) << row.name;
  }
}

TEST(RuleLanguage, ReadsPatternConditionsAndResult) {
  const Rule rule = parse_rule("rewrite(bvadd(bvneg(t), t_0), identity(t, t_0)) >> 0");
  EXPECT_EQ(rule.pattern_text, "bvadd(bvneg(t), t_0)");
  EXPECT_EQ(rule.result_text, "0");
  ASSERT_EQ(rule.pattern.size(), 4u);
  EXPECT_EQ(rule.pattern[0].arguments, (std::vector<std::size_t>{1, 3}));
  EXPECT_EQ(rule.pattern[2].name, "t");
  EXPECT_EQ(rule.pattern[2].parent, 1u);
  EXPECT_EQ(rule.pattern[3].child, 1u);
  ASSERT_EQ(rule.conditions.size(), 1u);
  EXPECT_EQ(rule.conditions[0].kind, Condition::Kind::identity);
  EXPECT_EQ(rule.conditions[0].text, "identity(t, t_0)");
  ASSERT_EQ(rule.result.size(), 1u);
  EXPECT_EQ(rule.result[0].kind, ResultNode::Kind::literal);
}

TEST(RuleLanguage, NestsExpressionsBetweenUnderscores) {
  const Rule rule = parse_rule(
      "rewrite(extract(m, l, zext(n, t)), (l == 0), (size(t) <= m), mm=__m - size(t)_ + 1_) >> zext(mm, t)");
  const IntExpr& e = rule.conditions[2].left;
  ASSERT_EQ(e.kind, IntExpr::Kind::sum);
  ASSERT_EQ(e.operands[0].kind, IntExpr::Kind::difference);
  EXPECT_EQ(e.operands[0].operands[0].kind, IntExpr::Kind::parameter);
  EXPECT_EQ(e.operands[0].operands[1].kind, IntExpr::Kind::size);
  EXPECT_EQ(e.operands[1].index, 1u);
}

TEST(RuleLanguage, FreshNamesOfTheResultAreZero) {
  const Rule rule = parse_rule("rewrite(bvnot(t), (size(t) > 3)) >> zext(n_3, t)");
  EXPECT_EQ(rule.result.back().parameters[0].kind, IntExpr::Kind::literal);
  EXPECT_EQ(rule.result.back().parameters[0].index, 0u);
}

/// The width source of the first constant in the result.
WidthSource first_width(const Rule& rule) {
  for (const ResultNode& node : rule.result) {
    if (node.kind == ResultNode::Kind::literal || node.kind == ResultNode::Kind::exponent) return node.width;
  }
  ADD_FAILURE() << "no constant in " << rule.result_text;
  return {};
}

TEST(RuleLanguage, ConstantsTakeTheWidthOfTheirNeighbour) {
  // A term of the pattern beside it.
  WidthSource width =
      first_width(parse_rule("rewrite((bvadd(t1, t2) == t_0), identity(t1, t_0)) >> (t2 == 0)"));
  EXPECT_FALSE(width.from_result);
  EXPECT_EQ(width.index, 3u);
  // The rewritten term, when it is the whole result.
  width = first_width(parse_rule("rewrite(bvlshl(t1, t2), (size(t1) <= t2)) >> 0"));
  EXPECT_FALSE(width.from_result);
  EXPECT_EQ(width.index, 0u);
  // A built term beside it, which is then built first, on whichever side it stands.
  width = first_width(
      parse_rule("rewrite(bvslt(t, 0), (0 == 0), msb=_size(t) - 1_) >> (1 == extract(msb, msb, t))"));
  EXPECT_TRUE(width.from_result);
  EXPECT_EQ(width.index, 1u);
  // A number bound by pow2.
  width = first_width(parse_rule("rewrite(bvmul(t1, t2), pow2(t1, n)) >> bvlshl(t2, n)"));
  EXPECT_FALSE(width.from_result);
  EXPECT_EQ(width.index, 2u);
  // Through operators that keep the width.
  width = first_width(parse_rule("rewrite(bvnot(t), ) >> bvadd(bvneg(bvneg(1)), t)"));
  EXPECT_FALSE(width.from_result);
  EXPECT_EQ(width.index, 1u);
}

TEST(RuleLanguage, ReadsFilesWithCommentsAndEmptyLines) {
  const auto rules = parse_rules(
      "# a comment\n\n  rewrite(bvnot(bvnot(t)), ) >> t  \r\n   # another\nrewrite(bvneg(bvneg(t)), ) >> t");
  ASSERT_EQ(rules.size(), 2u);
  EXPECT_EQ(rules[0].line, 3u);
  EXPECT_EQ(rules[0].text, "rewrite(bvnot(bvnot(t)), ) >> t");
  EXPECT_EQ(rules[1].line, 5u);
  EXPECT_TRUE(parse_rules("").empty());
  const auto marked = parse_rules("\xEF\xBB\xBFrewrite(bvnot(bvnot(t)), ) >> t");
  ASSERT_EQ(marked.size(), 1u);
  EXPECT_EQ(marked[0].text, "rewrite(bvnot(bvnot(t)), ) >> t");
}

TEST(RuleLanguage, ReadsNames) {
  const auto rules = parse_rules(
      "a: rewrite(bvnot(bvnot(t)), ) >> t\nrewrite(bvnot(bvnot(t)), ) >> t\n  bvneg-2-x : rewrite(bvneg(t), "
      ") >> t");
  ASSERT_EQ(rules.size(), 3u);
  EXPECT_EQ(rules[0].name, "a");
  EXPECT_EQ(rules[0].text, "rewrite(bvnot(bvnot(t)), ) >> t");
  EXPECT_EQ(rules[1].name, "");
  EXPECT_EQ(rules[2].name, "bvneg-2-x");
  EXPECT_EQ(rules[2].column, 3u);
  EXPECT_EQ(rules[2].text, "rewrite(bvneg(t), ) >> t");
  // A name changes nothing of what the rule is.
  EXPECT_EQ(class_name(rules[0]), class_name(rules[1]));
}

TEST(RuleLanguage, RejectsANameGivenTwice) {
  try {
    parse_rules(
        "a: rewrite(bvnot(t), ) >> t\n# a\nb: rewrite(bvnot(t), ) >> t\n a: rewrite(bvneg(t), ) >> t\n");
    FAIL();
  } catch (const RuleError& e) {
    EXPECT_EQ(e.line(), 4u);
    EXPECT_EQ(e.column(), 2u);
    EXPECT_EQ(e.reason(), "the rule of line 1 already has this name");
  }
}

struct Wrong {
  const char* text;
  std::size_t column;
  const char* reason;  // a part of it
};

void PrintTo(const Wrong& wrong, std::ostream* out) {
  *out << wrong.text;
}

class WrongRule : public testing::TestWithParam<Wrong> {};

TEST_P(WrongRule, IsRejectedWithPlaceAndReason) {
  const Wrong& wrong = GetParam();
  try {
    parse_rule(wrong.text, 7);
    ADD_FAILURE() << "accepted";
  } catch (const RuleError& e) {
    EXPECT_EQ(e.line(), 7u);
    EXPECT_EQ(e.column(), wrong.column) << e.what();
    EXPECT_NE(e.reason().find(wrong.reason), std::string::npos) << e.what();
    EXPECT_EQ(e.what(), "7:" + std::to_string(e.column()) + ": " + e.reason());
  }
}

INSTANTIATE_TEST_SUITE_P(
    RuleLanguage, WrongRule,
    testing::Values(
        Wrong{"", 1, "expected \"rewrite\" or \"unordered\" but found the end of the line"},
        Wrong{"write(bvnot(t), ) >> t", 1, "expected \"rewrite\""},
        Wrong{"unordered(bvxor(bvxor(bvxor(a, b), c), bvxor(d, e)), ) >> a", 1,
              "the pattern has too many orders"},
        Wrong{"unordered(bvxor(bvxor(a, b), bvxor(c, d)), const(a), (b == 1), (c == 2)) >> a", 1,
              "the pattern has 120 orders: at most 64"},
        Wrong{"rewrite(unordered, ) >> t", 9, "unknown operator"},
        Wrong{"rewrite(bvfoo(t), ) >> t", 9, "unknown operator \"bvfoo\""},
        Wrong{"rewrite(t, ) >> t", 9, "unknown operator \"t\""},
        Wrong{"rewrite(bvnot, ) >> t", 9, "needs an operator"},
        Wrong{"rewrite(bvnot(bvbar(t)), ) >> t", 15, "unknown operator \"bvbar\""},
        Wrong{"rewrite(bvnot(t, t2), ) >> t", 14, "too many arguments"},
        Wrong{"rewrite(bvadd(t), ) >> t", 16, "expected \",\""},
        Wrong{"rewrite(extract(m, t), ) >> t", 21, "expected \",\""},
        Wrong{"rewrite(extract(m, 3, t), ) >> t", 20, "expected the name of an integer"},
        Wrong{"rewrite(bvadd(t, t), ) >> t", 18, "already bound"},
        Wrong{"rewrite(bvadd(const, t), ) >> t", 15, "found the word \"const\""},
        Wrong{"rewrite(bvadd(t, t_0), ) >> t", 18, "no identity ties \"t_0\""},
        Wrong{"rewrite(bvadd(t, -2), ) >> t", 18, "the only negative constant is -1"},
        Wrong{"rewrite(bvadd(t, bvult(t1, t2)), ) >> t", 18, "\"bvadd\" needs a bit-vector here"},
        Wrong{"rewrite(bvnot((t == t2)), ) >> t", 15, "\"bvnot\" needs a bit-vector here"},
        Wrong{"rewrite((t = t2), ) >> true", 12, "expected \"==\""},
        Wrong{"rewrite(bvnot(t)) >> t", 17, "expected \",\""},
        Wrong{"rewrite(bvnot(t), even(t)) >> t", 19, "unknown condition \"even\""},
        Wrong{"rewrite(bvnot(t), const(x)) >> t", 25, "does not occur in the pattern"},
        Wrong{"rewrite(zext(n, t), const(n)) >> t", 27, "\"n\" is an integer"},
        Wrong{"rewrite(bvnot(t), ~identity(t, t)) >> t", 20, "expected \"const\""},
        Wrong{"rewrite(bvnot(t), (0 == 0)) >> t", 19, "no constant 0"},
        Wrong{"rewrite(bvadd(0, t), (0 == 1)) >> t", 22, "compares two constants"},
        Wrong{"rewrite(bvnot(t), (k == 0)) >> t", 20, "\"k\" is not bound"},
        Wrong{"rewrite(zext(n, t), (n == -1)) >> t", 21, "-1 can be compared only with a numeral"},
        Wrong{"rewrite(bvnot(t), (t ~ 0)) >> t", 22, "expected a comparison"},
        Wrong{"rewrite(zext(n, t), n=size(t)) >> t", 21, "already bound"},
        Wrong{"rewrite(bvnot(t), k=t) >> t", 21, "integers and sizes only"},
        Wrong{"rewrite(bvnot(t), k=_t + 1_) >> t", 21, "integers and sizes only"},
        Wrong{"rewrite(bvnot(t), fits(size(t), size(t))) >> t", 33, "sum of two numerals"},
        Wrong{"rewrite(bvnot(t), varvalue(t, u)) >> t", 31, "expected a number"},
        Wrong{"rewrite(bvnot(t), (t == 99999999999999999999)) >> t", 25, "too large"},
        Wrong{"rewrite(bvnot(t), const(t),) >> t", 28, "expected a condition"},
        Wrong{"rewrite(bvnot(t), ) > t", 21, "expected \">>\""},
        Wrong{"rewrite(bvnot(t), ) >> u", 24, "\"u\" of the result is not bound"},
        Wrong{"rewrite(bvnot(t), ) >> bvadd(t, u)", 33, "\"u\" of the result is not bound"},
        Wrong{"rewrite(bvnot(t), ) >> zext(k, t)", 29, "integer \"k\" of the result is not bound"},
        Wrong{"rewrite(zext(n, t), ) >> n", 26, "\"n\" is an integer"},
        Wrong{"rewrite(bvnot(t), ) >> zext(t, t)", 29, "\"t\" is a term"},
        Wrong{"rewrite(bvnot(t), ) >> t t", 26, "nothing may follow the rule"},
        Wrong{"rewrite(bvnot(t), ) >>", 23, "expected a term but found the end"},
        Wrong{"rewrite(bvnot(t), ) >> true", 24, "the pattern is a bit-vector"},
        Wrong{"rewrite(bvult(t, t2), ) >> t", 28, "the pattern is a truth value"},
        Wrong{"rewrite(bvult(t, t2), ) >> 0", 28, "a numeral cannot be a truth value"},
        Wrong{"rewrite(bvult(t, t2), ) >> ~(t)", 30, "\"~\" needs a truth value"},
        Wrong{"rewrite(bvnot(t), ) >> bvadd(t, true)", 33, "\"bvadd\" needs a bit-vector"},
        Wrong{"rewrite(bvult(t, t2), ) >> (0 == 1)", 29, "width of this constant cannot be inferred"},
        Wrong{"rewrite(bvnot(t), ) >> concat(0, t)", 31, "width of this constant cannot be inferred"},
        Wrong{"rewrite(bvnot(t), ) >> zext(n_0, 1)", 34, "width of this constant cannot be inferred"},
        Wrong{"rewrite(+(i, bvnot(t)), ) >> i", 14, "\"+\" needs a number here"},
        Wrong{"rewrite(+(i, to_int(x)), sort(i, Real)) >> i", 26, "\"i\" is an integer, not a real number"},
        Wrong{"rewrite(select(m, i), sort(m, Map)) >> i", 31, "expected Bool, Int, Real"},
        Wrong{"rewrite(fp.add(r, t, u), (size(t) == 1)) >> t", 26, "not a bit-vector"},
        Wrong{"rewrite(fp.add(r, t, 0), ) >> t", 22, "a numeral cannot be a floating-point number"},
        Wrong{"rewrite(fp.add(t, u, RNE), ) >> u", 22, "\"fp.add\" needs a floating-point number here"},
        Wrong{"rewrite(and(p, q), ) >> and(p, 1)", 32, "a numeral cannot be a truth value"},
        Wrong{"rewrite(bvnot(t), (size(t) < _2 * 3_)) >> t", 19, "a product is one of numerals"},
        Wrong{"rewrite(<(i, j), ) >> iff(i, j)", 27, "\"iff\" needs a truth value here"}));

/// Kinds of the sorts of the pattern's nodes, in reading order.
std::vector<SortKind> kinds(const Rule& rule) {
  std::vector<SortKind> all;
  for (const PatternNode& node : rule.pattern) all.push_back(rule.sorts[node.sort].kind);
  return all;
}

TEST(RuleLanguage, InfersSorts) {
  using enum SortKind;
  using Kinds = std::vector<SortKind>;
  EXPECT_EQ(kinds(parse_rule("rewrite(ite(p, t, u), ) >> u")), (Kinds{open, boolean, open, open}));
  EXPECT_EQ(kinds(parse_rule("rewrite(ite(p, t, u), sort(u, Real)) >> u")),
            (Kinds{real, boolean, real, real}));
  EXPECT_EQ(kinds(parse_rule("rewrite(ite(p, t, u), ) >> mod(t, u)")),
            (Kinds{integer, boolean, integer, integer}));
  EXPECT_EQ(kinds(parse_rule("rewrite(+(t, 0), ) >> t")), (Kinds{number, number, number}));
  EXPECT_EQ(kinds(parse_rule("rewrite((t == u), (u == 0)) >> (t == 0)")),
            (Kinds{boolean, bit_vector, bit_vector}));
  EXPECT_EQ(kinds(parse_rule("rewrite(fp.add(RNE, t, NaN), ) >> NaN")),
            (Kinds{floating_point, rounding_mode, floating_point, floating_point}));
  const Rule read = parse_rule("rewrite(select(store(m, +(i, 1), bvnot(t)), j), ) >> t");
  EXPECT_EQ(kinds(read),
            (Kinds{bit_vector, array, array, number, number, number, bit_vector, bit_vector, number}));
  EXPECT_EQ(read.sorts[read.pattern[1].sort].index, read.pattern[8].sort);
  EXPECT_EQ(read.sorts[read.pattern[1].sort].element, read.pattern[0].sort);
}

TEST(RuleLanguage, KnowsOperatorsByTheirNamesInSmtLib) {
  const auto same = [](const char* one, const char* other) {
    const Rule a = parse_rule(one), b = parse_rule(other);
    ASSERT_EQ(a.pattern.size(), b.pattern.size());
    for (std::size_t i = 0; i < a.pattern.size(); ++i) {
      EXPECT_EQ(a.pattern[i].op, b.pattern[i].op);
      EXPECT_EQ(a.pattern[i].arguments.size(), b.pattern[i].arguments.size());
    }
  };
  same("rewrite(bvshl(t, zero_extend(n, u)), ) >> t", "rewrite(bvlshl(t, zext(n, u)), ) >> t");
  same("rewrite(=(t, rotate_left(n, u)), ) >> true", "rewrite((t == bvrol(n, u)), ) >> true");
  same("rewrite(distinct(t, bvnot(u)), ) >> true", "rewrite(~((t == bvnot(u))), ) >> true");
  same("rewrite(not(and(p, q)), ) >> or(not(p), not(q))", "rewrite(~(and(p, q)), ) >> true");
  // Equality of truth values is an operator of its own.
  EXPECT_EQ(parse_rule("rewrite((p == not(q)), ) >> not((p == q))").applicant(), SymbolTag::IFF);
  EXPECT_EQ(parse_rule("rewrite((t == u), ) >> (u == t)").applicant(), SymbolTag::EQ);
  // a > b is not(a <= b), a < b is not(b <= a).
  const Rule less = parse_rule("rewrite(<(a, bvnot2), ) >> >(bvnot2, a)");
  EXPECT_EQ(less.applicant(), SymbolTag::NOT);
  ASSERT_EQ(less.pattern.size(), 4u);
  EXPECT_EQ(less.pattern[1].arguments, (std::vector<std::size_t>{3, 2}));
}

TEST(RuleLanguage, LooksAtSortsThatThePatternDoesNotImply) {
  EXPECT_TRUE(parse_rule("rewrite(+(t, u), ) >> +(u, t)").sort_tests.empty());
  EXPECT_TRUE(parse_rule("rewrite(mod(t, u), ) >> t").sort_tests.empty());
  // The sum of an integer and a real number has this shape too.
  const Rule sum = parse_rule("rewrite(+(t, mod(u, v)), ) >> mod(+(t, u), v)");
  ASSERT_EQ(sum.sort_tests.size(), 1u);
  EXPECT_EQ(sum.sort_tests[0].a, 1u);
  EXPECT_EQ(sum.sort_tests[0].sort, SortKind::integer);
  EXPECT_EQ(parse_rule("rewrite((t == u), (t < u)) >> false").sort_tests.size(), 1u);
}

TEST(RuleLanguage, TellsRulesOnBitVectors) {
  for (const char* text :
       {"rewrite(bvnot(t), ) >> bvneg(t)", "rewrite((bvadd(t, u) == t_0), identity(t, t_0)) >> (u == 0)",
        "rewrite(ite(p, bvnot(t), bvnot(u)), ) >> bvnot(ite(p, t, u))",
        "rewrite(and(bvult(t, u), or(p, true)), ) >> bvult(t, u)"}) {
    EXPECT_TRUE(is_in_qf_bv(parse_rule(text))) << text;
  }
  for (const char* text :
       {"rewrite(and(p, q), ) >> p", "rewrite(ite(p, t, u), ) >> t", "rewrite(+(t, 0), ) >> t",
        "rewrite(select(store(m, i, bvnot(t)), j), ) >> t", "rewrite(fp.abs(t), ) >> t"}) {
    EXPECT_FALSE(is_in_qf_bv(parse_rule(text))) << text;
  }
}

TEST(RuleLanguage, RejectsWhatIsTooLarge) {
  std::string deep = "t";
  for (int i = 0; i < 100; ++i) deep.insert(0, "bvnot(").append(")");
  EXPECT_THROW(parse_rule("rewrite(" + deep + ", ) >> t"), RuleError);
  EXPECT_THROW(parse_rule("rewrite(bvnot(t), ) >> " + deep), RuleError);
  std::string wide;
  for (int i = 0; i < 200; ++i) wide.append("k").append(std::to_string(i)).append("=size(t), ");
  EXPECT_THROW(parse_rule("rewrite(bvnot(t), " + wide + "(size(t) > 1)) >> t"), RuleError);
}

}  // namespace
}  // namespace quarv::rules
