#include <cstdlib>
#include <cxxabi.h>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <typeinfo>

#include <gtest/gtest.h>

#include "rule_table.h"
#include <quarv/rules/bitvector_rules.h>
#include <quarv/rules/term_normalizer.h>
#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

std::string class_of(const TermNormalizer::norm_fun& rule) {
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> name(
      abi::__cxa_demangle(typeid(rule).name(), nullptr, nullptr, &status), std::free);
  return status == 0 ? name.get() : "";
}

TEST(Registration, AgreesWithTheTable) {
  TermNormalizer normalizer;
  register_bitvector_rules(&normalizer);
  ASSERT_EQ(normalizer.num_rules(), 184u);
  ASSERT_EQ(rule_table().size(), 184u);
  std::set<std::string> names;
  for (std::size_t i = 0; i < rule_table().size(); ++i) {
    const RuleRow& row = rule_table()[i];
    TermNormalizer::norm_fun& rule = normalizer.get_rule(i);
    EXPECT_EQ(rule.get_name(), row.name);
    EXPECT_EQ(normalizer.find_rule(row.name), i);
    EXPECT_EQ(normalizer.rule_label(i), row.name);
    EXPECT_TRUE(names.insert(row.name).second) << row.name;
    EXPECT_EQ(rule.get_applicant(), row.applicant) << row.name;
    EXPECT_EQ(static_cast<unsigned>(rule.get_applicant()), row.applicant_value) << row.name;
    EXPECT_EQ(rule.get_group(), row.group) << row.name;
    EXPECT_EQ(rule.get_signature(), row.signature) << row.name;
    EXPECT_EQ(class_of(rule), std::string("quarv::") + row.class_name) << row.name;
    EXPECT_TRUE(normalizer.is_rule_enabled(i));
  }
}

TEST(Registration, CountsByApplicant) {
  TermNormalizer normalizer;
  register_bitvector_rules(&normalizer);
  std::map<unsigned, int> counts;
  for (std::size_t i = 0; i < normalizer.num_rules(); ++i) ++counts[normalizer.get_rule(i).get_applicant()];
  const std::map<unsigned, int> expected = {{11, 57}, {14, 3}, {15, 14}, {16, 1}, {17, 11}, {18, 11}, {19, 7},
                                            {20, 6},  {21, 2}, {22, 2},  {23, 2}, {25, 1},  {26, 16}, {27, 2},
                                            {28, 10}, {29, 2}, {30, 2},  {31, 3}, {32, 3},  {33, 5},  {34, 6},
                                            {35, 4},  {36, 4}, {37, 4},  {38, 3}, {39, 3}};
  EXPECT_EQ(counts, expected);
}

TEST(Registration, NothingIsFoundByAnotherName) {
  TermNormalizer normalizer;
  register_bitvector_rules(&normalizer);
  EXPECT_EQ(normalizer.find_rule(""), std::nullopt);
  EXPECT_EQ(normalizer.find_rule("bvneg"), std::nullopt);
  EXPECT_EQ(normalizer.find_rule("1"), std::nullopt);
  EXPECT_EQ(normalizer.set_rule_enabled("bvnot-involution", false), 1u);
  EXPECT_FALSE(normalizer.is_rule_enabled(1));
  EXPECT_EQ(normalizer.set_rule_enabled("rewrite(bvnot(bvnot(t)), ) >> t", true), 1u);
  EXPECT_TRUE(normalizer.is_rule_enabled(1));
}

TEST(Registration, SignaturesAreBuiltAfresh) {
  TermNormalizer normalizer;
  register_bitvector_rules(&normalizer);
  std::string first = normalizer.get_rule(1).get_signature();
  const std::string second = normalizer.get_rule(1).get_signature();
  EXPECT_EQ(first, second);
  first[0] = '?';
  EXPECT_EQ(second, "rewrite(bvnot(bvnot(t)), ) >> t");
}

TEST(Registration, RulesHaveNoDataMembers) {
  EXPECT_EQ(sizeof(TermNormalizer::norm_fun), sizeof(void*));
}

TEST(Registration, StandardSimplificationsIncludeTheRules) {
  TermManager mgr;
  StdTermSimplifier simplifier;
  termsimpl::register_standard_simplifications(&mgr, &simplifier);
  ASSERT_EQ(simplifier.normalizer.num_rules(), 184u);
  EXPECT_EQ(simplifier.normalizer.get_rule(0).get_signature(), "rewrite(bvneg(bvneg(t)), ) >> t");
  EXPECT_EQ(simplifier.normalizer.get_rule(1).get_signature(), "rewrite(bvnot(bvnot(t)), ) >> t");
  EXPECT_EQ(simplifier.normalizer.get_rule(183).get_signature(),
            "rewrite((t2 == sext(n, t1)), (t2 == -1)) >> (t1 == -1)");
}

}  // namespace
}  // namespace quarv
