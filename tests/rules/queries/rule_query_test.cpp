#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "rules/rule_table.h"
#include <quarv/rules/queries/rule_in_words.h>
#include <quarv/rules/queries/rule_query.h>

namespace quarv::rules {
namespace {

/// Answers of z3 to the refutations of all instances of each rule, up to a width: the instances of one rule
/// are one query.
std::vector<std::string> refute(const std::vector<std::string>& texts, std::size_t bound) {
  std::string name = (std::filesystem::temp_directory_path() / "quarv_rules_XXXXXX").string();
  const int descriptor = mkstemp(name.data());
  if (descriptor >= 0) close(descriptor);
  {
    std::ofstream file(name);
    for (const std::string& text : texts) {
      const Rule rule = parse_rule(text);
      std::string any = "false";
      file << "(reset)\n";  // integers are in no logic with bit-vectors
      std::size_t number = 0;
      for (const RuleInstance& instance : all_instances(rule, bound)) {
        const RuleQuery query = make_query(rule, instance, '.' + std::to_string(number++));
        file << declarations(query);
        any += '\n' + refutation(query);
      }
      file << "(assert (or " << any << "))\n(check-sat)\n";
    }
  }
  std::vector<std::string> answers;
  FILE* const z3 = popen(("z3 " + name).c_str(), "r");
  for (char line[512]; z3 != nullptr && std::fgets(line, sizeof line, z3) != nullptr;) {
    answers.emplace_back(line).pop_back();
  }
  if (z3 != nullptr) pclose(z3);
  std::filesystem::remove(name);
  return answers;
}

/// Of each rule, whether it is refuted: "sat".
void expect_answers(const std::vector<std::pair<std::string, const char*>>& rules, std::size_t bound) {
  std::vector<std::string> texts;
  for (const auto& [text, expected] : rules) texts.push_back(text);
  const std::vector<std::string> answers = refute(texts, bound);
  ASSERT_EQ(answers.size(), texts.size());
  for (std::size_t i = 0; i < texts.size(); ++i) EXPECT_EQ(answers[i], rules[i].second) << texts[i];
}

bool have_z3() {
  return std::system("z3 --version > /dev/null 2>&1") == 0;
}

TEST(RuleQuery, StandardRulesHoldAtSmallWidthsButForFour) {
  if (!have_z3()) GTEST_SKIP() << "z3 is not installed";
  std::vector<std::string> texts;
  for (const RuleRow& row : rule_table()) texts.emplace_back(row.signature);
  const std::vector<std::string> answers = refute(texts, 4);
  ASSERT_EQ(answers.size(), texts.size());
  for (std::size_t i = 0; i < answers.size(); ++i) {
    const RuleRow& row = rule_table()[i];
    EXPECT_EQ(answers[i], is_unsound(row.name) ? "sat" : "unsat") << row.name << ' ' << row.signature;
  }
}

TEST(RuleQuery, BrokenRulesAreRefuted) {
  if (!have_z3()) GTEST_SKIP() << "z3 is not installed";
  // A standard rule with one condition or one place less, or another constant.
  const std::vector<std::string> texts = {
      "rewrite(bvadd(t1, t2), ) >> bvor(t1, t2)",
      "rewrite(bvadd(t, t_0), identity(t, t_0)) >> bvmul(1, t)",
      "rewrite(bvadd(t1, bvneg(t2)), ) >> 0",
      "rewrite(bvmul(t1, t2), pow2(t1, n)) >> bvlshr(t2, n)",
      "rewrite(bvlshl(t1, t2), (size(t1) > t2)) >> 0",
      "rewrite(bvashr(bvashr(t, c1), c2), const(c1), const(c2)) >> bvashr(t, bvadd(c1, c2))",
      "rewrite(bvrol(n, t), (size(t) < n), w2=size(t)) >> bvrol(w2, t)",
      "rewrite(bvrol(n1, bvror(n2, t)), w=_n1 + n2_) >> bvrol(w, t)",
      "rewrite(extract(m, l, t), (l == 0)) >> t",
      "rewrite(extract(m, l, concat(t1, t2)), (m < size(t1))) >> extract(m, l, t2)",
      "rewrite(extract(m, l, zext(n, t)), ) >> extract(m, l, t)",
      "rewrite(concat(concat(t1, t2), t3), ) >> concat(t2, concat(t1, t3))",
      "rewrite(sext(n, concat(t2, t)), w=_n + size(t2)_) >> zext(w, t)",
      "rewrite((bvor(c1, t) == c2), const(c1), const(c2), (c2 >= c1)) >> false",
      "rewrite((zext(n, t) == t2), (t2 == -1), (n > 0)) >> true",
      "rewrite(bvult(t, 2), (2 == 2)) >> (t == 0)",
      "rewrite(bvcomp(t, t_0), identity(t, t_0)) >> 0",
      "rewrite(bvnot(and), ) >> bvneg(and)",
  };
  const std::vector<std::string> answers = refute(texts, 4);
  ASSERT_EQ(answers.size(), texts.size());
  for (std::size_t i = 0; i < texts.size(); ++i) EXPECT_EQ(answers[i], "sat") << texts[i];
}

TEST(RuleQuery, MendedRulesHold) {
  if (!have_z3()) GTEST_SKIP() << "z3 is not installed";
  const std::vector<std::string> texts = {
      "rewrite(bvadd(1, bvnot(t)), (1 == 1)) >> bvneg(t)",
      "rewrite((zext(n, t) == t2), (t2 == -1), (n > 0)) >> false",
      "rewrite(bvsdiv(t, t_0), identity(t, t_0), (t > 0)) >> 1",
      "rewrite(bvror(n1, bvror(n2, t)), w=_n1 + n2_) >> bvror(w, t)",
      "rewrite(bvlshl(t1, t2), (t2 >= size(t1))) >> 0",
      "rewrite(bvcomp(t, t_0), identity(t, t_0)) >> 1",
      "rewrite(bvmul(t1, t2), const(t1), pow2(t2, n)) >> bvlshl(t1, n)",
      "rewrite(bvnot(t), (t == 7), (size(t) == 2)) >> t",  // never applies
  };
  const std::vector<std::string> answers = refute(texts, 4);
  ASSERT_EQ(answers.size(), texts.size());
  for (std::size_t i = 0; i < texts.size(); ++i) EXPECT_EQ(answers[i], "unsat") << texts[i];
}

TEST(RuleQuery, BitsOfConstantsAreCompared) {
  if (!have_z3()) GTEST_SKIP() << "z3 is not installed";
  const std::string sum = "rewrite(bvadd(bvand(c, t), bvand(d, t_0)), identity(t, t_0), const(c), const(d), ";
  const std::string flipped = "rewrite(bvadd(d, bvxor(c, zext(n, t))), const(c), const(d), ";
  const std::vector<std::pair<std::string, const char*>> rules = {
      {sum + "(_c & d_ == 0)) >> bvand(bvor(c, d), t)", "unsat"},
      {sum + "(_c & d_ == c)) >> bvand(bvor(c, d), t)", "sat"},
      {sum + "(_c + d_ == __2 ^ size(c)_ - 1_)) >> t", "unsat"},
      {sum + "(_c + d_ == _2 ^ size(c)_)) >> t", "sat"},
      {flipped + "(c == _2 ^ _size(t) - 1__), (_c + d_ == _2 ^ size(c)_)) >> sext(n, t)", "unsat"},
      {flipped + "(c == _2 ^ size(t)_), (_c + d_ == _2 ^ size(c)_)) >> sext(n, t)", "sat"},
      // Numbers below 0 have no bits in common with any.
      {sum + "(_c & _d - c__ == 0), (c > d)) >> t", "unsat"},
      {"rewrite(bvand(c, t), const(c), (_c & _c - 1__ == 0), (_c & 1_ == 1)) >> zext(0, bvand(1, t))",
       "unsat"},
  };
  expect_answers(rules, 3);
}

TEST(RuleQuery, OperatorsThatSolversDoNotKnowAreDefined) {
  if (!have_z3()) GTEST_SKIP() << "z3 is not installed";
  const std::vector<std::pair<std::string, const char*>> rules = {
      {"rewrite(int2bv(n, sbv_to_int(t)), (n > size(t)), m=_n - size(t)_) >> sext(m, t)", "unsat"},
      {"rewrite(int2bv(n, sbv_to_int(t)), (n > size(t)), m=_n - size(t)_) >> zext(m, t)", "sat"},
      {"rewrite(ext_rotate_left(ext_rotate_right(t, u), u_0), identity(u, u_0)) >> t", "unsat"},
      {"rewrite(ext_rotate_left(t, u), ) >> ext_rotate_right(t, bvneg(u))", "sat"},
      {"rewrite(ext_rotate_left(t, u), (size(t) == 2)) >> ext_rotate_right(t, bvneg(u))", "unsat"},
  };
  expect_answers(rules, 4);
}

TEST(RuleQuery, WritesConditionsAndTerms) {
  const Rule rule =
      parse_rule("rewrite(bvadd(bvmul(t1, t2), t_0), identity(t2, t_0), pow2(t1, n)) >> bvlshl(t2, n)");
  RuleInstance instance;
  instance.widths = {2, 2, 2, 2, 2};
  instance.integers = {1};
  instance.sorts.resize(rule.sorts.size());
  instance.sort_widths.resize(rule.sorts.size());
  const RuleQuery query = make_query(rule, instance, "'");
  EXPECT_EQ(query.pattern, "(bvadd (bvmul t1' t2') t2')");
  EXPECT_EQ(query.conditions, "(and true (= t1' #b10))");
  EXPECT_EQ(query.result, "(bvshl t2' #b01)");
  EXPECT_EQ(declarations(query), "(declare-const t1' (_ BitVec 2))\n(declare-const t2' (_ BitVec 2))\n");
}

TEST(RuleQuery, ResultsOfAnotherSortAreNoResults) {
  const auto result = [](const char* text) {
    const Rule rule = parse_rule(text);
    return make_query(rule, all_instances(rule, 4).back()).result;
  };
  EXPECT_EQ(result("rewrite(bvnot(t), ) >> zext(1, t)"), "");
  EXPECT_EQ(result("rewrite(bvnot(t), ) >> bvadd(t, zext(1, t))"), "");
  EXPECT_EQ(result("rewrite(bvnot(t), w=_0 - 1_) >> zext(w, t)"), "");
  EXPECT_EQ(result("rewrite(bvnot(t), w=size(t)) >> extract(w, 0, t)"), "");
  EXPECT_EQ(result("rewrite(bvnot(t), ) >> zext(0, t)"), "((_ zero_extend 0) t.)");
}

TEST(RuleInstance, CoversSmallWidthsAndParameters) {
  const Rule extension = parse_rule("rewrite(zext(n, t), ) >> zext(n, t)");
  std::set<std::pair<std::size_t, std::uint64_t>> seen;
  for (const RuleInstance& i : all_instances(extension, 4)) seen.emplace(i.widths[1], i.integers[0]);
  EXPECT_EQ(seen.size(), 4u * 6u);  // widths 1 to 4, 0 to 5 bits added
  const Rule rotation = parse_rule("rewrite(bvrol(n, t), ) >> bvrol(n, t)");
  EXPECT_EQ(all_instances(rotation, 3).size(), 4u + 6u + 8u);
  const Rule extraction = parse_rule("rewrite(extract(m, l, t), ) >> extract(m, l, t)");
  EXPECT_EQ(all_instances(extraction, 4).size(), 1u + 3u + 6u + 10u);
  const Rule concatenation = parse_rule("rewrite(concat(t1, t2), (size(t1) <= size(t2))) >> concat(t1, t2)");
  EXPECT_EQ(all_instances(concatenation, 4).size(), 10u);
}

TEST(RuleInstance, LargerInstancesHaveTheWidthAskedFor) {
  for (const RuleRow& row : rule_table()) {
    const Rule rule = parse_rule(row.signature);
    for (std::size_t width : {13, 64}) {
      for (const RuleInstance& i : some_instances(rule, width))
        ASSERT_EQ(i.largest_width(), width) << row.name;
    }
  }
  const Rule rotation = parse_rule("rewrite(bvrol(n, t), (n > size(t))) >> t");
  EXPECT_EQ(some_instances(rotation, 64).size(), 2u);
}

TEST(RuleInstance, LooksAroundTheNumbersOfTheRule) {
  const auto widths = [](const char* text) { return own_widths(parse_rule(text)); };
  using Widths = std::vector<std::size_t>;
  EXPECT_EQ(widths("rewrite(bvnot(bvnot(t)), ) >> t"), Widths());
  EXPECT_EQ(widths("rewrite(bvnot(t), (size(t) == 20)) >> t"), Widths({19, 20, 21, 39, 40, 41}));
  EXPECT_EQ(widths("rewrite(bvnot(t), (t == 300)) >> t"), Widths({9, 10}));
  EXPECT_EQ(widths("rewrite(bvnot(t), (size(t) == 2000)) >> t"), Widths());
  const Rule parts =
      parse_rule("rewrite(concat(t1, t2), (size(t1) == 20), (size(t2) == 33)) >> concat(t2, t1)");
  ASSERT_EQ(some_instances(parts, 53).size(), 1u);
  EXPECT_EQ(some_instances(parts, 53)[0].widths, Widths({53, 20, 33}));
}

TEST(RuleInWords, SaysRulesAsAPersonWould) {
  const auto reads = [](const char* text) { return in_words(parse_rule(text)); };
  EXPECT_EQ(reads("rewrite(bvadd(t, c), const(c), ~const(t)) >> bvadd(c, t)"),
            "t + c becomes c + t if c is a constant and t is not a constant.");
  EXPECT_EQ(reads("rewrite(bvult(t, t_0), identity(t, t_0)) >> false"), "t < t becomes false.");
  EXPECT_EQ(reads("rewrite(bvult(0, t), (0 == 0)) >> ~((t == 0))"), "0 < t becomes not (t = 0).");
  EXPECT_EQ(reads("rewrite(bvsub(t1, bvmul(t2, t3)), ) >> bvadd(t1, bvneg(bvmul(t2, t3)))"),
            "t1 - (t2 * t3) becomes t1 + -(t2 * t3).");
  EXPECT_EQ(reads("rewrite(bvmul(t1, t2), pow2(t1, n), prec(t2, t1)) >> bvlshl(t2, n)"),
            "t1 * t2 becomes t2 << n if t1 is the constant 2^n and t2 is older than t1.");
  EXPECT_EQ(reads("rewrite(extract(m, l, zext(n, t)), (l == 0), (size(t) <= m), mm=__m - size(t)_ + 1_) >> "
                  "zext(mm, t)"),
            "extract(m, l, zext(n, t)) becomes zext(mm, t) if l == 0 and size(t) <= m, "
            "where mm is m - size(t) + 1.");
}

}  // namespace
}  // namespace quarv::rules
