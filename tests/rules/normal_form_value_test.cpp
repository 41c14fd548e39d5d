#include <gtest/gtest.h>

#include "random_terms.h"
#include "reference/library_terms.h"
#include "rule_table.h"
#include "support/test_scale.h"
#include <quarv/rules/bitvector_rules.h>
#include <quarv/rules/rule_interpreter.h>
#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

/// The rules that do not keep the value of every term, counted from 0.
constexpr std::size_t unsound_rules[] = {45, 143, 178, 179};

/// A manager with all simplifiers and the rules that keep values. Simplifiers are attached or not while terms
/// are made, so that normalisation meets both folded terms and plain ones.
struct Layer {
  explicit Layer(bool simplify_inputs) {
    termsimpl::register_standard_simplifications(&mgr, &simplifier);
    for (const std::size_t rule : unsound_rules) normalizer().set_rule_enabled(rule, false);
    if (simplify_inputs) mgr.set_simplifier(&simplifier);
  }

  TermNormalizer& normalizer() { return simplifier.normalizer; }

  TermManager mgr;
  StdTermSimplifier simplifier;
};

class NormalForm : public testing::TestWithParam<std::size_t> {};

TEST_P(NormalForm, HasTheValueOfTheTerm) {
  const std::size_t width = GetParam();
  constexpr std::size_t max_width = 6;
  constexpr std::size_t batch = 50;
  const std::size_t num_batches = num_cases<std::size_t>(20);
  const std::vector<reference::Column> assignments =
      reference::all_assignments(std::vector<std::size_t>{width, width});
  std::uint64_t cycles = 0;
  for (std::size_t i = 0; i < num_batches; ++i) {
    Layer layer(i % 2 == 0);
    RandomTerms terms(&layer.mgr, width, max_width, static_cast<unsigned>(i * 7 + width));
    reference::TermEvaluation evaluate(layer.mgr, assignments[0].size());
    for (std::size_t v = 0; v < 2; ++v) evaluate.set(terms.variables()[v], assignments[v]);
    for (std::size_t j = 0; j < batch; ++j) {
      layer.mgr.set_simplifier(i % 2 == 0 ? &layer.simplifier : nullptr);
      const Term* const t = terms.make(1 + (i + j) % 8);
      layer.mgr.set_simplifier(&layer.simplifier);
      const Term* const normal = layer.normalizer().normalize(&layer.mgr, t);
      ASSERT_EQ(layer.mgr.type_of(normal), layer.mgr.type_of(t));
      ASSERT_TRUE(evaluate.equal(normal, t)) << "batch " << i << ", term " << j;
      ASSERT_EQ(layer.normalizer().normalize(&layer.mgr, normal), normal);
    }
    EXPECT_EQ(layer.normalizer().statistics().budget_spent, 0u);
    cycles += layer.normalizer().statistics().cycles;
  }
  RecordProperty("cycles", static_cast<int>(cycles));
  EXPECT_EQ(cycles, 0u);
}

INSTANTIATE_TEST_SUITE_P(Widths, NormalForm, testing::Range<std::size_t>(1, 7));

TEST(NormalForms, AreFixedPointsAlsoWithoutTheCache) {
  for (std::size_t i = 0; i < num_cases<std::size_t>(100); ++i) {
    Layer layer(true);
    RandomTerms terms(&layer.mgr, 1 + i % 40, 40, static_cast<unsigned>(i));
    for (std::size_t j = 0; j < 20; ++j) {
      const Term* const normal = layer.normalizer().normalize(&layer.mgr, terms.make(6));
      layer.normalizer().clear_cache();
      ASSERT_EQ(layer.normalizer().normalize(&layer.mgr, normal), normal) << i << " " << j;
    }
  }
}

TEST(CompiledRules, AgreeWithInterpretedOnesOnRandomTerms) {
  TermNormalizer compiled;
  register_bitvector_rules(&compiled);
  std::vector<std::unique_ptr<rules::InterpretedRule>> interpreted;
  for (const RuleRow& row : rule_table()) {
    interpreted.push_back(std::make_unique<rules::InterpretedRule>(rules::parse_rule(row.signature)));
  }
  std::size_t fired = 0;
  for (std::size_t i = 0; i < 50 * static_cast<std::size_t>(test_scale()); ++i) {
    TermManager mgr;
    RandomTerms terms(&mgr, 1 + i % 70, 70, static_cast<unsigned>(i));
    for (std::size_t j = 0; j < 200; ++j) {
      const Term* const t = terms.make(4);
      for (std::size_t r = 0; r < compiled.num_rules(); ++r) {
        if (mgr.get_tag(t->symbol) != compiled.get_rule(r).get_applicant()) continue;
        const Term* a = nullptr;
        const Term* b = nullptr;
        const bool fires = compiled.get_rule(r)(&mgr, t, &a);
        ASSERT_EQ((*interpreted[r])(&mgr, t, &b), fires) << r + 1;
        ASSERT_EQ(a, b) << r + 1;
        ASSERT_EQ(a != nullptr, fires) << r + 1;
        fired += fires;
      }
    }
  }
  EXPECT_GT(fired, 1000u);
}

}  // namespace
}  // namespace quarv
