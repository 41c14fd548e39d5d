// The extended rules that are not about bit-vectors alone: compiled and interpreted they do the same.
#include <string>

#include <gtest/gtest.h>

#include <quarv/rules/extended_rules.h>
#include <quarv/rules/queries/rule_query.h>
#include <quarv/rules/rule_interpreter.h>
#include <quarv/rules/term_normalizer.h>
#include <quarv/session/session.h>
#include <quarv/smtlib/read/reader.h>

namespace quarv {
namespace {

/// The definition of a variable that must be a numeral, by the condition that says so; else its declaration.
std::string definition(const rules::Rule& rule, const rules::RuleQuery::Variable& v,
                       const std::string& numeral) {
  using Kind = rules::Condition::Kind;
  const auto is_value = [&](const std::string& value) {
    return "(define-fun " + v.symbol + " () " + v.sort + ' ' + value + ")\n";
  };
  for (const rules::Condition& c : rule.conditions) {
    if (c.a >= rule.pattern.size() || rule.pattern[c.a].name != v.name) continue;
    if (c.kind == Kind::has_value && v.sort == "(_ BitVec 1)") return is_value(c.value == 0 ? "#b0" : "#b1");
    if (c.kind != Kind::is_const) continue;
    return is_value(v.sort != "Real" ? numeral : numeral == "2" ? "2.0" : "(- 2.0)");
  }
  return "(declare-const " + v.symbol + ' ' + v.sort + ")\n";
}

/// The pattern of an instance, with numerals for the variables that must be numerals.
const Term* pattern_term(smtlib::Reader& reader, const rules::Rule& rule, const rules::RuleInstance& instance,
                         const std::string& numeral) {
  const rules::RuleQuery query = make_query(rule, instance);
  std::string text = sort_declarations(rule);
  for (const rules::RuleQuery::Variable& v : query.variables) text += definition(rule, v, numeral);
  reader.read_in_place(text, "pattern");
  return reader.term(query.pattern, "pattern");
}

TEST(ExtendedRuleTexts, AreAppliedCompiledAndInterpreted) {
  TermNormalizer normalizer;
  register_extended_rules(&normalizer);
  std::size_t num_rules = 0;
  for (std::size_t i = 0; i < normalizer.num_rules(); ++i) {
    const TermNormalizer::norm_fun& compiled = normalizer.get_rule(i);
    const rules::InterpretedRule interpreted(rules::parse_rule(normalizer.get_rule(i).get_signature()));
    const rules::Rule& rule = interpreted.rule();
    if (is_about_bit_vectors_alone(rule)) continue;
    ++num_rules;
    std::size_t num_fired = 0;
    for (const rules::RuleInstance& instance : all_instances(rule, 2)) {
      for (const char* numeral : {"2", "(- 2)"}) {
        Session session{{.simplify = false}};
        smtlib::Reader reader(session);
        const Term* root = pattern_term(reader, rule, instance, numeral);
        TermManager& mgr = session.manager();
        const Term* by_text = nullptr;
        const Term* by_code = nullptr;
        const bool fires = interpreted(&mgr, root, &by_text);
        ASSERT_EQ(compiled(&mgr, root, &by_code), fires) << rule.text;
        ASSERT_EQ(by_code, by_text) << rule.text;
        num_fired += fires ? 1 : 0;
        if (fires) {
          ASSERT_EQ(mgr.type_of(by_code), mgr.type_of(root)) << rule.text;
        }
        // A term of the same operator and another shape below it.
        by_code = by_text = nullptr;
        if (mgr.arity(root) == 2 && mgr.type_of(root->args[0]) == mgr.type_of(root->args[1])) {
          const Term* turned = mgr.do_make_term(root->symbol, {root->args[1], root->args[0]});
          ASSERT_EQ(compiled(&mgr, turned, &by_code), interpreted(&mgr, turned, &by_text)) << rule.text;
          ASSERT_EQ(by_code, by_text) << rule.text;
        }
      }
    }
    EXPECT_GT(num_fired, 0u) << rule.text;
  }
  EXPECT_EQ(num_rules, 80u);
}

}  // namespace
}  // namespace quarv
