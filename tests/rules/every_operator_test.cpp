// Each operator of the rule language, in a pattern and in a result: interpreted, compiled, asked of a solver,
// and said in words.
#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "term/operator_table.h"
#include <quarv/rules/queries/rule_in_words.h>
#include <quarv/rules/queries/rule_query.h>
#include <quarv/rules/rule_interpreter.h>
#include <quarv/rules/rule_operations.h>
#include <quarv/rules/term_normalizer.h>
#include <quarv/term/operators.h>
#include <quarv/term/real_to_float.h>
#include <quarv/term/term_manager.h>

namespace quarv {

// Made from data/every_operator.rules.
void register_every_operator_rules(TermNormalizer* normalizer);

namespace {

using rules::OperatorWord;

/// "bvadd(t1, t2)", "extract(n1, n2, t1)"
std::string application(const OperatorWord& op) {
  std::vector<std::string> operands;
  for (std::size_t i = 1; i <= op.num_parameters; ++i) operands.push_back("n" + std::to_string(i));
  for (std::size_t i = 1; i <= op.num_arguments; ++i) operands.push_back("t" + std::to_string(i));
  if (op.word == "==") return "(t1 == t2)";
  std::string text = std::string(op.word) + "(";
  for (const std::string& operand : operands) text += (operand == operands[0] ? "" : ", ") + operand;
  return text + ")";
}

/// What solvers do not know is written by what defines it.
std::string_view word_for_solvers(const OperatorWord& op) {
  if (op.tag == SymbolTag::INT_MOD_CONGR) return "mod";
  if (op.tag == SymbolTag::INT_FROM_SBV) return "bv2nat";
  return op.smtlib.starts_with("ext_rotate") ? "bvshl" : op.smtlib;
}

/// What holds whatever the operator means.
std::string rule_with(const OperatorWord& op) {
  return "rewrite(ite(not(p), " + application(op) + ", v), ) >> ite(p, v, " + application(op) + ")";
}

class EveryOperator : public testing::Test {
 protected:
  EveryOperator() {
    register_every_operator_rules(&compiled);
    const DataType* bits = mgr.get_bv_type(8);
    const DataType* real = mgr.rat_type;
    const DataType* integer = mgr.int_type;
    for (const OperatorSample& sample : table.rows()) {
      add(operator_of(sample), sample.make(table.variables(sample)));
    }
    for (const std::string name : {"ext_rotate_left", "ext_rotate_right"})
      add_opaque(name, {bits, bits}, bits);
    add_opaque("/", {real, real}, real);
    for (const std::string name : {"div", "mod"}) add_opaque(name, {integer, integer}, integer);
    add_opaque("fp.to_real", {mgr.get_fp_type(5, 10)}, real);
    const Term* arguments[] = {mgr.make_constant("r", mgr.rounding_mode_type), mgr.make_constant("x", real)};
    add(*rules::find_operator("to_fp_real"), mgr.make_term(make_real_to_float_symbol(mgr, 5, 10), arguments));
  }

  const OperatorWord& operator_of(const OperatorSample& sample) const {
    return *std::ranges::find_if(rules::operators(), [&](const OperatorWord& op) {
      return op.tag == sample.tag && op.is_signed == mgr.is_fp_to_sbv(sample.symbol());
    });
  }
  void add(const OperatorWord& op, const Term* t) { terms[op.word].push_back(t); }
  void add_opaque(const std::string& name, const std::vector<const DataType*>& types,
                  const DataType* result) {
    std::vector<const Term*> arguments;
    arguments.reserve(types.size());
    for (const DataType* type : types) {
      arguments.push_back(mgr.make_constant("o" + std::to_string(arguments.size()), type));
    }
    add(*rules::find_operator(name), mgr.make_term(mgr.make_opaque_symbol(name, types, result), arguments));
  }

  TermManager mgr;
  OperatorTable table{mgr};
  TermNormalizer compiled;
  std::map<std::string_view, std::vector<const Term*>> terms;
  const Term* p = mgr.make_constant("p", mgr.bool_type);
};

TEST_F(EveryOperator, HasARuleInTheFile) {
  ASSERT_EQ(compiled.num_rules(), rules::operators().size());
  for (std::size_t i = 0; i < compiled.num_rules(); ++i) {
    EXPECT_EQ(compiled.get_rule(i).get_signature(), rule_with(rules::operators()[i]));
  }
}

/// All rows of the table, and what they do not tell apart.
TEST_F(EveryOperator, IsAWordOfTheLanguage) {
  for (const auto& rows : {tagged_operators(), opaque_operators()}) {
    for (const OperatorRow& row : rows) {
      const bool found = std::ranges::any_of(rules::operators(), [&](const OperatorWord& op) {
        return op.tag == row.tag && op.smtlib == row.smtlib;
      });
      EXPECT_TRUE(found) << row.name;
    }
  }
}

TEST_F(EveryOperator, IsMatchedAndBuilt) {
  std::size_t i = 0;
  for (const OperatorWord& op : rules::operators()) {
    const rules::InterpretedRule interpreted(rules::parse_rule(rule_with(op)));
    const TermNormalizer::norm_fun& rule = compiled.get_rule(i++);
    EXPECT_FALSE(terms[op.word].empty()) << op.word;
    for (const auto& [word, others] : terms) {
      for (const Term* t : others) {
        const Term* v = mgr.make_constant("v" + std::to_string(t->id), mgr.type_of(t));
        const Term* before = mgr.make_ite(mgr.make_not(p), t, v);
        const Term* after = mgr.make_ite(p, v, t);
        const Term* out = nullptr;
        // The truth value that an `ite` is of has an operator of its own for equality.
        ASSERT_EQ(interpreted(&mgr, before, &out), word == op.word) << rule_with(op) << " on " << word;
        EXPECT_EQ(out, word == op.word ? after : nullptr) << op.word;
        out = nullptr;
        ASSERT_EQ(rule(&mgr, before, &out), word == op.word) << rule_with(op) << " on " << word;
        EXPECT_EQ(out, word == op.word ? after : nullptr) << op.word;
      }
    }
  }
}

TEST_F(EveryOperator, IsAskedOfASolverAndSaidInWords) {
  for (const OperatorWord& op : rules::operators()) {
    const rules::Rule rule = rules::parse_rule(rule_with(op));
    const std::vector<rules::RuleInstance> instances = rules::all_instances(rule, 5);
    EXPECT_FALSE(instances.empty()) << op.word;
    for (const rules::RuleInstance& instance : instances) {
      const rules::RuleQuery query = make_query(rule, instance);
      const std::string_view head = word_for_solvers(op);
      EXPECT_NE(query.pattern.find(head), std::string::npos) << query.pattern;
      EXPECT_NE(query.result.find(head), std::string::npos) << query.result;
    }
    EXPECT_TRUE(in_words(rule).starts_with("ite(not p, ")) << in_words(rule);
    EXPECT_NE(in_words(rule).find("becomes ite(p, v, "), std::string::npos) << in_words(rule);
  }
}

}  // namespace
}  // namespace quarv
