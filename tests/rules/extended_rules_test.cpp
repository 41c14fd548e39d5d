// The extended rules: compiled and interpreted they do the same, and what they make has the same values.
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "rule_values.h"
#include "support/test_scale.h"
#include <quarv/rules/bitvector_rules.h>
#include <quarv/rules/extended_rules.h>
#include <quarv/rules/language/rule_language.h>
#include <quarv/rules/rule_interpreter.h>
#include <quarv/rules/term_normalizer.h>

namespace quarv {
namespace {

TEST(ExtendedRules, HaveNamesOfTheirOwn) {
  TermNormalizer normalizer;
  register_bitvector_rules(&normalizer);
  const std::size_t num_standard = normalizer.num_rules();
  register_extended_rules(&normalizer);
  EXPECT_EQ(num_standard, 184u);
  EXPECT_EQ(normalizer.num_rules(), 184u + 185u);
  std::set<std::string, std::less<>> names, texts;
  for (std::size_t i = 0; i < normalizer.num_rules(); ++i) {
    EXPECT_NE(normalizer.get_rule(i).get_name(), "");
    EXPECT_TRUE(names.emplace(normalizer.get_rule(i).get_name()).second) << normalizer.get_rule(i).get_name();
    EXPECT_TRUE(texts.insert(normalizer.get_rule(i).get_signature()).second)
        << normalizer.get_rule(i).get_name();
  }
}

TEST(ExtendedRules, HoldCompiledAndInterpreted) {
  constexpr std::size_t max_width = 70;
  TermNormalizer normalizer;
  register_extended_rules(&normalizer);
  std::size_t total = 0, num_idle = 0, num_rules = 0;
  const std::size_t tries = 6 * static_cast<std::size_t>(test_scale());
  for (std::size_t i = 0; i < normalizer.num_rules(); ++i) {
    TermNormalizer::norm_fun& compiled = normalizer.get_rule(i);
    const rules::InterpretedRule interpreted(rules::parse_rule(compiled.get_signature()));
    if (!is_about_bit_vectors_alone(interpreted.rule())) continue;
    ++num_rules;
    TermManager mgr;
    RuleCandidates candidates(&mgr, interpreted.rule(), static_cast<unsigned>(i));
    std::mt19937_64 random(i);
    std::size_t num_fired = 0;
    for (std::size_t width = 1; width <= max_width; ++width) {
      for (std::size_t k = 0; k < tries; ++k) {
        const Term* root = candidates.make(width);
        if (root == nullptr) continue;
        const Term* by_text = nullptr;
        const Term* by_code = nullptr;
        const bool fires = interpreted(&mgr, root, &by_text);
        ASSERT_EQ(compiled(&mgr, root, &by_code), fires) << compiled.get_signature();
        ASSERT_EQ(by_code, by_text) << compiled.get_signature();
        if (!fires) continue;
        ++num_fired;
        ASSERT_EQ(mgr.type_of(by_code), mgr.type_of(root)) << compiled.get_signature();
        ASSERT_TRUE(agree(mgr, root, by_code, candidates, random)) << compiled.get_signature() << width;
      }
    }
    total += num_fired;
    num_idle += num_fired == 0 ? 1 : 0;
  }
  // Neighbouring parts are seldom hit by chance; the catalogue of identities has them.
  EXPECT_EQ(num_rules, 105u);
  EXPECT_GT(total, 100 * num_rules);
  EXPECT_LE(num_idle, 2u);
}

}  // namespace
}  // namespace quarv
