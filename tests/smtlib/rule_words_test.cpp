/// \file
/// The names of operators that the reader knows are words of the rule language, with the same meaning: in a
/// pattern they match what is read, in a result they make it.
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "reference/library_terms.h"
#include <quarv/rules/queries/rule_query.h>
#include <quarv/rules/rule_interpreter.h>
#include <quarv/session/session.h>
#include <quarv/smtlib/read/operators.h>
#include <quarv/smtlib/read/reader.h>

namespace quarv {
namespace {

using smtlib::OperatorDefinition;

/// An application of an operator, once in SMT-LIB and once in the rule language.
struct Sample {
  std::string word;
  std::vector<std::string> sorts;
  std::vector<std::string> indices{};
};

std::vector<std::string> indices_of(const OperatorDefinition& op) {
  static const std::map<std::string_view, std::vector<std::string>> known = {
      {"extract", {"6", "3"}}, {"repeat", {"5"}}, {"to_fp", {"8", "24"}}, {"to_fp_unsigned", {"8", "24"}}};
  const auto found = known.find(op.name);
  return found != known.end() ? found->second : std::vector<std::string>(op.num_indices, "3");
}

std::string sort_of(char letter, const std::string& number) {
  switch (letter) {
    case 'B':
      return "Bool";
    case 'I':
      return "Int";
    case 'N':
      return number;
    case 'R':
      return "RoundingMode";
    case 'F':
      return "Float16";
    case 'b':
      return "(_ BitVec 1)";
    case 'A':
      return "(Array Int Bool)";
    case 'K':
      return "Int";
    case 'E':
      return "Bool";
    default:
      return "(_ BitVec 8)";
  }
}

std::vector<Sample> samples_of(const OperatorDefinition& op) {
  const std::string name(op.name);
  const std::string bits = "(_ BitVec 32)";
  if (name == "to_fp") {
    return {{"to_fp", {"RoundingMode", "Float16"}, {"8", "24"}},
            {"to_fp_signed", {"RoundingMode", "(_ BitVec 8)"}, {"8", "24"}},
            {"to_fp_real", {"RoundingMode", "Real"}, {"8", "24"}},
            {"to_fp_bits", {bits}, {"8", "24"}}};
  }
  const bool any = op.max_args == OperatorDefinition::any_number;
  // One operand is no application of these.
  const std::uint32_t least = any && name != "-" ? std::max(op.min_args, 2U) : op.min_args;
  const std::uint32_t most = any ? least + 2 : op.max_args;
  std::vector<std::string> numbers = {"Real"};
  if (name != "/" && name != "is_int" && op.sorts.find('N') != std::string_view::npos)
    numbers.push_back("Int");
  if (name == "to_real") numbers = {"Int"};
  std::vector<Sample> samples;
  for (std::uint32_t n = least; n <= most; ++n) {
    for (const std::string& number : numbers) {
      Sample& sample = samples.emplace_back(Sample{name, {}, indices_of(op)});
      for (std::uint32_t i = 0; i < n; ++i) {
        const std::size_t letter = std::min<std::size_t>(i, op.sorts.size() - 1);
        sample.sorts.push_back(sort_of(op.sorts[letter], number));
      }
    }
  }
  return samples;
}

/// "extract(n1, n2, t1)"
std::string in_rules(const Sample& sample) {
  std::string list;
  for (std::size_t i = 0; i < sample.indices.size(); ++i) {
    list += sample.word == "repeat" ? sample.indices[i] + ", " : 'n' + std::to_string(i) + ", ";
  }
  for (std::size_t i = 0; i < sample.sorts.size(); ++i) list += (i == 0 ? "t" : ", t") + std::to_string(i);
  return sample.word + '(' + list + ')';
}

std::string in_smtlib(const OperatorDefinition& op, const Sample& sample) {
  std::string head(op.name);
  if (!sample.indices.empty()) {
    head = "(_ " + head;
    for (const std::string& index : sample.indices) head += ' ' + index;
    head += ')';
  }
  for (std::size_t i = 0; i < sample.sorts.size(); ++i) head += " x" + std::to_string(i);
  return '(' + head + ')';
}

/// The least number of a sign and some bits is computed in a result, which nobody does here.
void expect_same(const TermManager& m, const Term* found, const Term* expected) {
  if (found == expected) return;
  reference::TermEvaluation values(m, 1000);
  EXPECT_TRUE(values.equal(found, expected));
}

TEST(RuleWords, MeanWhatTheReaderMakesOfThem) {
  std::size_t num_samples = 0;
  for (const auto& operators : smtlib::all_operators()) {
    for (const OperatorDefinition& op : operators) {
      for (const Sample& sample : samples_of(op)) {
        ++num_samples;
        Session session({.simplify = false});
        smtlib::Reader reader(session);
        TermManager& m = session.manager();
        const Term* p = reader.constant("p", m.bool_type);
        for (std::size_t i = 0; i < sample.sorts.size(); ++i) {
          reader.read("(declare-const x" + std::to_string(i) + ' ' + sample.sorts[i] + ')', "sample");
        }
        const Term* t = reader.term(in_smtlib(op, sample));
        const bool is_converted = sample.word == "to_real";
        const Term* v = reader.constant("v", is_converted ? m.rat_type : m.type_of(t));
        const std::string word = in_rules(sample);
        const std::string text = "rewrite(ite(not(p), " + word + ", v), ) >> ite(p, v, " + word + ')';
        SCOPED_TRACE(text);
        const rules::InterpretedRule rule(rules::parse_rule(text));
        const Term* out = nullptr;
        ASSERT_TRUE(rule(&m, m.make_ite(m.make_not(p), t, v), &out));
        expect_same(m, out, m.make_ite(p, v, t));
        // Not of another operator.
        const Term* other = m.make_ite(m.make_not(p), v, v);
        EXPECT_FALSE(rule(&m, other, &out));
        if (sample.word == "divisible") continue;  // of moduli that are tried, none is 3 alone
        EXPECT_FALSE(rules::all_instances(rule.rule(), 5).empty());
      }
    }
  }
  EXPECT_GT(num_samples, 150u);
}

TEST(RuleWords, TakeCompoundOperandsSeveralTimes) {
  Session session({.simplify = false});
  smtlib::Reader reader(session);
  TermManager& m = session.manager();
  reader.read("(declare-const x (_ BitVec 8)) (declare-const y (_ BitVec 8))", "sample");
  const auto apply = [&](const char* rule, const char* term) {
    const Term* out = nullptr;
    return rules::InterpretedRule(rules::parse_rule(rule))(&m, reader.term(term), &out) ? out : nullptr;
  };
  const char* modulo = "rewrite(bvsmod(extract(h, l, t), bvneg(u)), ) >> bvsmod(extract(h, l, t), u)";
  EXPECT_EQ(apply(modulo, "(bvsmod ((_ extract 6 3) x) (bvneg ((_ extract 3 0) y)))"),
            reader.term("(bvsmod ((_ extract 6 3) x) ((_ extract 3 0) y))"));
  EXPECT_EQ(apply(modulo, "(bvsmod ((_ extract 6 3) x) ((_ extract 3 0) y))"), nullptr);
  const char* between = "rewrite(bvult(t, bvsub(u, 1), v), ) >> bvult(bvadd(t, v), u, v)";
  EXPECT_EQ(apply(between, "(bvult x (bvsub y #x01) x)"), reader.term("(bvult (bvadd x x) y x)"));
  EXPECT_EQ(apply(between, "(and (bvult x (bvsub y #x01)) (bvult (bvsub x #x01) x))"), nullptr);
  // A width that only the operand tells.
  expect_same(m,
              apply("rewrite(bvnego(concat(t, u)), ) >> bvsdivo(concat(t, u), bvnot(concat(u, t)))",
                    "(bvnego (concat x y))"),
              reader.term("(bvsdivo (concat x y) (bvnot (concat y x)))"));
  EXPECT_EQ(apply("rewrite(bvnego(t), ) >> bvumulo(zext(1, t), sext(1, bvneg(t)))", "(bvnego x)"),
            reader.term("(bvumulo ((_ zero_extend 1) x) ((_ sign_extend 1) (bvneg x)))"));
  EXPECT_EQ(apply("rewrite(repeat(3, t), ) >> repeat(3, bvnot(t))", "((_ repeat 3) x)"),
            reader.term("((_ repeat 3) (bvnot x))"));
  EXPECT_EQ(apply("rewrite(repeat(3, t), ) >> repeat(3, bvnot(t))", "(concat x (concat y x))"), nullptr);
}

TEST(RuleWords, AreRefusedWhereTheyMeanNothing) {
  for (const char* text :
       {"rewrite(bvsmod(t), ) >> t", "rewrite(abs(t, u), ) >> t", "rewrite(fp(t, u), ) >> NaN",
        "rewrite(repeat(0, t), ) >> t", "rewrite(repeat(n, t), ) >> t", "rewrite(repeat(65, t), ) >> t",
        "rewrite(bvudiv(t, u, v), ) >> t", "rewrite(bvnand(t, u, v), ) >> t",
        "rewrite(distinct(t), ) >> true", "rewrite(bvnot(t), ) >> bvnego(1)", "rewrite(bvsmod(t, t), ) >> t",
        "rewrite(bvsmod(bvsmod(t, u), bvsmod(v, w)), ) >> t"}) {
    EXPECT_THROW(rules::parse_rule(text), rules::RuleError) << text;
  }
}

}  // namespace
}  // namespace quarv
