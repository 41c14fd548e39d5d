#include <map>
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "rule_table.h"
#include "rule_values.h"
#include "support/test_scale.h"
#include <quarv/rules/bitvector_rules.h>
#include <quarv/rules/language/rule_language.h>
#include <quarv/rules/rule_interpreter.h>
#include <quarv/rules/term_normalizer.h>
#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

constexpr std::size_t max_width = 70;

/// True for the widths at which the conditions leave a rule nothing to match.
bool cannot_fire(std::string_view name, std::size_t width) {
  if (name == "bvadd-double") return width == 1;  // size(t) > 1
  if (name == "bvadd-one-bit-to-bvxor" || name == "eq-bvneg-self-one-bit" ||
      name == "eq-bvneg-self-one-bit-swapped") {
    return width != 1;
  }
  return name == "bvor-constant-concat";  // the constant would have to be 0 and 1
}

/// Conditions that never fail alone, because another one implies them.
bool cannot_fail_alone(const std::string& name, const std::string& condition) {
  static const std::map<std::string, std::set<std::string>> implied = {
      {"bvadd-factor-constant", {"const(c1)", "const(c2)"}},     // identity(c1, c2)
      {"bvashr-merge", {"const(c1)", "const(c2)"}},              // fits(...)
      {"bvor-constant-concat", {"const(c1)", "const(c2)"}},      // the values of c2 exclude each other
      {"bvor-zero-extend-concat", {"const(c)"}},                 // (c == 0)
      {"eq-extract-bvlshr-sign-bit", {"const(c1)"}},             // (c1 > 0)
      {"eq-bvor-smaller-constant", {"const(c1)", "const(c2)"}},  // (c1 > c2)
      {"eq-bvor-smaller-constant-swapped", {"const(c1)", "const(c2)"}},
      {"eq-zero-extend-ones", {"(t2 > 0)"}},  // (t2 == -1)
      {"eq-zero-extend-ones-swapped", {"(t2 > 0)"}},
  };
  const auto of_rule = implied.find(name);
  return of_rule != implied.end() && of_rule->second.contains(condition);
}

/// The parameter is the number of a rule.
class RuleCatalogue : public testing::TestWithParam<int> {
 protected:
  RuleCatalogue() { register_bitvector_rules(&normalizer_); }

  /// Both forms of the rule on a term with the pattern's operators.
  void check(const Term* root, RuleCandidates* candidates) {
    const std::vector<std::string> broken = candidates->broken_conditions();
    const Term* const untouched = mgr_.false_term;
    const Term* compiled = untouched;
    const Term* interpreted = untouched;
    const bool fires = broken.empty();
    ASSERT_EQ(compiled_()(&mgr_, root, &compiled), fires) << broken.size();
    ASSERT_EQ(interpreted_(&mgr_, root, &interpreted), fires) << broken.size();
    ASSERT_EQ(compiled, interpreted);
    if (!fires) {
      ASSERT_EQ(compiled, untouched);
      if (broken.size() == 1) broken_alone_.insert(broken.front());
      return;
    }
    ASSERT_EQ(compiled, candidates->promised());
    ASSERT_EQ(mgr_.type_of(compiled), mgr_.type_of(root));
    if (is_unsound(row_.name)) return;
    ASSERT_TRUE(agree(mgr_, root, compiled, *candidates, random_));
  }

  TermNormalizer::norm_fun& compiled_() {
    return normalizer_.get_rule(static_cast<std::size_t>(GetParam()) - 1);
  }

  const RuleRow& row_ = rule_table()[static_cast<std::size_t>(GetParam()) - 1];
  TermManager mgr_;
  TermNormalizer normalizer_;
  rules::InterpretedRule interpreted_{rules::parse_rule(row_.signature)};
  std::set<std::string> broken_alone_;
  std::mt19937_64 random_{static_cast<unsigned>(GetParam())};
};

TEST_P(RuleCatalogue, FiresExactlyWhenItsTextSaysSo) {
  const std::size_t tries = num_cases<std::size_t>(40);
  RuleCandidates candidates(&mgr_, interpreted_.rule(), static_cast<unsigned>(GetParam()));
  for (std::size_t width = 1; width <= max_width; ++width) {
    bool fired = false;
    // Rules with narrow conditions need more tries.
    for (std::size_t i = 0; i < tries || (!fired && !cannot_fire(row_.name, width) && i < 20000); ++i) {
      const Term* root = candidates.make(width);
      if (root == nullptr) continue;
      ASSERT_NO_FATAL_FAILURE(check(root, &candidates)) << row_.signature << " at width " << width;
      fired = fired || (candidates.broken_conditions().empty() && candidates.shows_width(width));
    }
    EXPECT_EQ(fired, !cannot_fire(row_.name, width)) << row_.signature << " at width " << width;
  }
  for (const rules::Condition& condition : interpreted_.rule().conditions) {
    if (condition.kind == rules::Condition::Kind::binding) continue;
    EXPECT_EQ(broken_alone_.contains(condition.text), !cannot_fail_alone(row_.name, condition.text))
        << condition.text << " of " << row_.signature;
  }
}

INSTANTIATE_TEST_SUITE_P(All, RuleCatalogue, testing::Range(1, static_cast<int>(rule_table().size()) + 1));

}  // namespace
}  // namespace quarv
