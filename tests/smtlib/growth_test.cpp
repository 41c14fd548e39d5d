#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "support/simplified_script.h"
#include "support/test_scale.h"
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/simplify_script.h>
#include <quarv/smtlib/smallest_script.h>
#include <quarv/smtlib/written_forms.h>

// Inputs whose cost would grow faster than their size. None of the tests measures time: those that count
// nothing are so large that the time limit of all tests is exceeded when the cost is quadratic.

namespace quarv::smtlib {
namespace {

std::string repeated(std::size_t n, const std::string& text) {
  std::string all;
  for (std::size_t i = 0; i < n; ++i) all += text;
  return all;
}

const Term* only_term(Session& session, const std::string& text) {
  return Reader(session).read(text, "in.smt2").terms.back();
}

TEST(GrowthTest, QuantifiersOfOneNameWithinEachOther) {
  const std::size_t levels = 200'000 / one_in_when_sanitized(8);
  Session session({.simplify = false});
  TermManager& manager = session.manager();
  const Term* t = only_term(session, "(assert " + repeated(levels, "(exists ((x Int)) (or (= x 0) ") +
                                         "false" + repeated(levels, "))") + ")");
  std::size_t depth = 0;
  const Term* variable = nullptr;
  while (manager.is_quantifier(t->symbol)) {
    variable = manager.quantifier_variables(t->symbol)[0];
    ++depth;
    t = t->args[0]->args[1];
  }
  EXPECT_EQ(depth, levels);
  EXPECT_EQ(std::string(variable->symbol->name), "x!" + std::to_string(levels - 1));
}

TEST(GrowthTest, QuantifiersOfManyVariables) {
  const std::size_t n = 150'000 / one_in_when_sanitized(8);
  std::string variables, equations;
  for (std::size_t i = 1; i <= n; ++i) {
    variables += " (x" + std::to_string(i) + " Int)";
    equations += " (= x" + std::to_string(i) + " (+ 1 x" + std::to_string(i - 1) + "))";
  }
  Session session({.extended = true});
  const Term* t = only_term(
      session, "(declare-const x0 Int)(assert (exists (" + variables + ") (and" + equations + ")))");
  EXPECT_EQ(t, session.manager().true_term);  // each is defined
}

/// The innermost term is rewritten, and with it all that are named.
TEST(GrowthTest, NamesWithinEachOther) {
  const std::size_t n = 120'000 / one_in_when_sanitized(8);
  std::string declared = "(declare-const x (_ BitVec 8))", begin, end;
  for (std::size_t i = 0; i < n; ++i) {
    const std::string p = "p" + std::to_string(i);
    declared += "(declare-const " + p + " Bool)";
    begin += "(! (or " + p + " ";
    end += ") :named n" + std::to_string(i) + ")";
  }
  Session session({.extended = true});
  const Script script = Reader(session).read(
      declared + "(assert " + begin + "(bvult (bvudiv x #x04) x)" + end + ")(assert n0)", "in.smt2");
  TermManager& manager = session.manager();
  for (const auto& [term, name] :
       {std::pair(script.terms[script.terms.size() - 2], "n" + std::to_string(n - 1)),
        std::pair(script.terms.back(), std::string("n0"))}) {
    ASSERT_TRUE(manager.is_annotation(term->symbol));
    EXPECT_EQ(manager.annotation_attributes(term->symbol)[0].text, name);
  }
  EXPECT_GT(session.simplifier().normalizer.statistics().applied, 0u);
}

TEST(GrowthTest, VariablesAreNumberedFromTheirQuantifierOn) {
  Session session({.simplify = false});
  TermManager& manager = session.manager();
  const auto body = [](const std::string& inner) {
    return "(exists ((x Int)) (let ((x (+ x 1))) (exists ((x Int)) (and (= x 0) " + inner + "))))";
  };
  const Script script = Reader(session).read(
      "(declare-const x!2 Int)(assert " + body(body("true")) + ")(assert " + body(body("true")) + ")",
      "in.smt2");
  const Term* first = script.terms[script.terms.size() - 2];
  EXPECT_EQ(first, script.terms.back());
  const char* const names[] = {"x", "x!1", "x!3", "x!4"};
  for (const char* name : names) {
    ASSERT_TRUE(manager.is_quantifier(first->symbol));
    EXPECT_STREQ(manager.quantifier_variables(first->symbol)[0]->symbol->name, name);
    first = first->args[0];
    if (!manager.is_quantifier(first->symbol)) first = first->args[1];
  }
}

TEST(GrowthTest, OneQuantifierOfManyVariables) {
  const std::size_t n = 300'000 / one_in_when_sanitized(8);
  std::string variables;
  for (std::size_t i = 0; i < n; ++i) variables += "(x" + std::to_string(i) + " Int)";
  Session session({.simplify = false});
  TermManager& manager = session.manager();
  const Term* t = only_term(session, "(assert (forall (" + variables + ") (= x0 x1)))");
  EXPECT_EQ(manager.quantifier_variables(t->symbol).size(), n);
  EXPECT_THROW(only_term(session, "(assert (forall (" + variables + "(x7 Int)) (= x0 x1)))"), InputError);
  EXPECT_THROW(only_term(session, "(define-fun f (" + variables + "(x7 Int)) Bool (= x0 x1))"), InputError);
}

TEST(GrowthTest, ManyNamesInOneAssertion) {
  const std::size_t n = 200'000 / one_in_when_sanitized(8);
  std::string text = "(declare-const p Bool)(assert (and";
  for (std::size_t i = 0; i < n; ++i)
    text += " (! p :named n" + std::to_string(i) + ") n" + std::to_string(i);
  Session session({.simplify = false});
  EXPECT_NE(only_term(session, text + "))"), nullptr);
  EXPECT_THROW(only_term(session, text + " (! p :named n7)))"), InputError);
}

std::string text_of_simplified(const std::string& text) {
  return simplified_script(text, SimplifyOptions::normal_form());
}

/// The output is at most twice as large as the input, but for a little.
void expect_no_growth(const std::string& text) {
  const std::string once = text_of_simplified(text);
  EXPECT_LE(once.size(), 2 * text.size() + 4096);
  EXPECT_EQ(text_of_simplified(once), once);
}

std::string declarations_of(std::size_t n, const std::string& sort) {
  std::string text;
  for (std::size_t i = 0; i < n; ++i) text += "(declare-const x" + std::to_string(i) + ' ' + sort + ")\n";
  return text;
}

TEST(GrowthTest, ComparisonsOfPrefixSumsStayAsWritten) {
  constexpr std::size_t n = 1000;
  std::string text = declarations_of(n, "Int") + "(define-fun s0 () Int x0)\n";
  for (std::size_t i = 1; i < n; ++i) {
    const std::string sum = "s" + std::to_string(i);
    text += "(define-fun " + sum + " () Int (+ s" + std::to_string(i - 1) + " x" + std::to_string(i) + "))\n";
    text += "(assert (<= " + sum + ' ' + std::to_string(7 * i) + "))\n";
  }
  expect_no_growth(text);
}

/// The rounds that a deep term takes, of which each takes off a few levels.
std::size_t rounds_beside(const std::string& inert) {
  constexpr int levels = 600;
  std::string text =
      "(set-info :source |" + inert + "|)(declare-const x (_ BitVec 8))(assert (= x ((_ extract 7 0) ";
  for (int i = 0; i < levels; ++i) text += "(bvadd (concat x ";
  text += 'x';
  for (int i = 1; i <= levels; ++i) text += ") (_ bv1 " + std::to_string(8 * (i + 1)) + "))";
  std::ostringstream out;
  return simplify_script(text + ")))", "in.smt2", out).rounds;
}

TEST(GrowthTest, RoundsAreFewerWhereTheyCostMore) {
  constexpr std::size_t fewest = 8;
  EXPECT_GT(rounds_beside(""), fewest);
  EXPECT_EQ(rounds_beside(std::string(2 << 20, 'a')), fewest);
}

/// Each round takes a few tests off a chain of several hundred, in the normal form as in the smallest one.
TEST(GrowthTest, NormalFormsOfDeepTermsSettle) {
  constexpr int levels = 400;
  std::string value = "b";
  for (int i = 0; i < levels; ++i) {
    const auto word = [](int n) { return "(_ bv" + std::to_string(n) + " 12)"; };
    value = "(ite (= b " + word(i) + ") " + word(3 * i) + ' ' + value + ')';
  }
  const std::string text = "(declare-const b (_ BitVec 12))(assert (= (_ bv5 12) " + value + "))";
  SimplifyOptions options;
  options.smallest = false;
  std::ostringstream once, twice;
  EXPECT_GT(simplify_script(text, "in.smt2", once, options).rounds, 8u);
  simplify_script(once.str(), "in.smt2", twice, options);
  EXPECT_EQ(twice.str(), once.str());
}

/// The terms that reading takes.
std::size_t terms_read(const std::string& text, bool library_semantics = false) {
  Session session({.library_semantics = library_semantics});
  Reader(session).read(text, "in.smt2");
  return session.manager().num_terms();
}

TEST(GrowthTest, PrefixSumsTakeTermsInProportion) {
  constexpr std::size_t n = 1000;
  const std::string variables = declarations_of(n, "Int") + "(declare-fun f (Int) Int)\n";
  std::string defined = variables + "(define-fun s0 () Int x0)\n";
  std::string bound = variables + "(assert (let ((s0 x0)) ";
  for (std::size_t i = 1; i < n; ++i) {
    const std::string last = "s" + std::to_string(i - 1);
    const std::string sum = "s" + std::to_string(i);
    const std::string x = "x" + std::to_string(i);
    const std::string value = "(+ " + last + ' ' + x + ')';
    const std::string atoms = "(and (< " + sum + ' ' + x + ") (= (f " + sum + ") (* 2 " + x + ")))";
    defined += "(define-fun " + sum + " () Int " + value + ")\n(assert " + atoms + ")\n";
    bound += "(let ((" + sum + ' ' + value + ")) (and " + atoms + ' ';
  }
  bound += "true" + repeated(n - 1, "))") + "))\n";
  EXPECT_LT(terms_read(defined), defined.size());
  EXPECT_LT(terms_read(bound), bound.size());
  // The library's own semantics are what they are.
  EXPECT_GT(terms_read(defined, true), 3 * defined.size());
}

TEST(GrowthTest, PrefixesOfConcatenationsTakeTermsInProportion) {
  constexpr std::size_t n = 700;
  std::string text = declarations_of(n, "(_ BitVec 1)") + "(define-fun c0 () (_ BitVec 1) x0)\n";
  for (std::size_t i = 1; i < n; ++i) {
    const std::string number = std::to_string(i);
    const std::string width = std::to_string(i + 1);
    text += "(define-fun c" + number + " () (_ BitVec " + width + ") (concat c" + std::to_string(i - 1) +
            " x" + number + "))\n(assert (bvult c" + number + " (_ bv1 " + width + ")))\n";
  }
  EXPECT_LT(terms_read(text), 3 * text.size());  // nine times as many, were all of them written anew
}

/// When many attempts have been for nothing, those that follow may not cost more than they did.
TEST(GrowthTest, RulesAreTriedInProportionOnPrefixes) {
  constexpr std::size_t n = 2200;
  std::string text = declarations_of(n, "(_ BitVec 8)") + "(define-fun c0 () (_ BitVec 8) x0)\n";
  for (std::size_t i = 1; i < n; ++i) {
    const std::string number = std::to_string(i);
    text += "(define-fun c" + number + " () (_ BitVec " + std::to_string(8 * (i + 1)) + ") (concat c" +
            std::to_string(i - 1) + " x" + number + "))\n";
  }
  Session session;
  Reader(session).read(text, "in.smt2");
  EXPECT_LT(session.simplifier().normalizer.statistics().applied, 100'000u);  // a million, without a limit
}

TEST(GrowthTest, PartsOfALongConcatenationTakeTermsInProportion) {
  constexpr std::size_t n = 1000;
  std::string text = declarations_of(n, "(_ BitVec 8)") + "(define-fun s () (_ BitVec 8000) (concat";
  for (std::size_t i = 0; i < n; ++i) text += " x" + std::to_string(i);
  text += "))\n";
  for (std::size_t i = 0; i + 1 < n; ++i) {
    text += "(assert (bvult ((_ extract " + std::to_string(8 * i + 11) + ' ' + std::to_string(8 * i + 4) +
            ") s) x" + std::to_string(i) + "))\n";
  }
  Session session({.extended = true});
  Reader(session).read(text, "in.smt2");
  EXPECT_LT(session.manager().num_terms(), text.size() / 5);  // five times as many, were each part passed
}

/// The number of classes that all forms of a script are over.
std::size_t children_of_forms(const std::string& text) {
  Session session({.extended = true});
  WrittenForms written(session.manager());
  Reader reader(session, {.written = &written});
  Script script = reader.read_in_place(text, "in.smt2");
  choose_smallest(session, written, script);
  const forms::FormGraph& graph = written.graph();
  const forms::Form& last = graph.form(static_cast<forms::FormId>(graph.num_forms() - 1));
  return last.first_child + last.num_children;
}

TEST(GrowthTest, FormsOfComparisonsWithALongSumAreInProportion) {
  constexpr std::size_t n = 1000;
  std::string text = declarations_of(n, "Int") + "(define-fun s () Int (+";
  for (std::size_t i = 0; i < n; ++i) text += " x" + std::to_string(i);
  text += "))\n";
  for (std::size_t i = 0; i < n; ++i) {
    text += "(assert (< s (+ x" + std::to_string(i) + ' ' + std::to_string(i) + ")))\n";
  }
  EXPECT_LT(children_of_forms(text), 12 * text.size());  // a hundred times, were each of them written out
}

/// Each remainder is a sum with the one before in it. Looking through all of them took minutes.
TEST(GrowthTest, RemaindersOfEachOtherAreNotFollowedToTheFirst) {
  const std::size_t n = 8000 / one_in_when_sanitized(4);
  std::string text = declarations_of(n, "Int") + "(define-fun s0 () Int x0)\n";
  for (std::size_t i = 1; i < n; ++i) {
    const std::string number = std::to_string(i);
    text += "(define-fun s" + number + " () Int (+ (* 3 (mod s" + std::to_string(i - 1) + ' ' +
            std::to_string(i + 1) + ")) (div x" + number + " 7)))\n(assert (< s" + number + " (mod s" +
            number + " 100)))\n";
  }
  EXPECT_LT(children_of_forms(text), 12 * text.size());
}

TEST(GrowthTest, VariablesOfNestedQuantifiersAreFoundNearThem) {
  constexpr std::size_t levels = 20'000;
  std::string text = "(declare-fun f (Int Int) Bool)(assert ";
  for (std::size_t i = 0; i < levels; ++i) {
    const std::string x = "x" + std::to_string(i);
    text += "(forall ((" + x + " Int)) (or (f " + x + ' ' + (i == 0 ? x : "x" + std::to_string(i - 1)) + ") ";
  }
  Session session({.extended = true});
  only_term(session, text + "false" + repeated(levels, "))") + ")");
  EXPECT_TRUE(session.manager().may_visit());
}

TEST(GrowthTest, WhatManyQuantifiersShareIsSearchedOnce) {
  constexpr std::size_t length = 70'000;
  constexpr std::size_t quantifiers = 150;
  std::string text = "(declare-fun p (Int) Bool)(declare-fun q (Int Int) Bool)(define-fun long () Bool (or";
  for (std::size_t i = 0; i < length; ++i) text += " (p " + std::to_string(i) + ')';
  text += "))";
  for (std::size_t i = 0; i < quantifiers; ++i)
    text += "(assert (forall ((x Int)) (or (q x " + std::to_string(i) + ") long)))";
  Session session({.extended = true});
  only_term(session, text);
  EXPECT_TRUE(session.manager().may_visit());
}

TEST(GrowthTest, LongSumsThatAreWrittenAreNormalised) {
  constexpr std::size_t n = 300;
  std::string ascending, descending;
  for (std::size_t i = 0; i < n; ++i) {
    ascending += " x" + std::to_string(i);
    descending += " x" + std::to_string(n - 1 - i);
  }
  const std::string text = declarations_of(n, "Int") + "(declare-const y Int)";
  Session session;
  const Script script = Reader(session).read(
      text + "(assert (<= (+" + ascending + ") y))(assert (<= (+ 1" + descending + ") (+ y 1)))", "in.smt2");
  EXPECT_EQ(script.terms[script.terms.size() - 2], script.terms.back());
}

TEST(GrowthTest, RepeatedSquaresStayAsWritten) {
  expect_no_growth("(declare-const z Int)(assert (let ((x 3)) " + repeated(60, "(let ((x (* x x))) ") +
                   "(= z x)" + repeated(61, ")") + ")");
}

TEST(GrowthTest, CommonDenominatorsOfManyPrimesStayAsWritten) {
  std::string sum;
  std::size_t variables = 0;
  for (std::size_t p = 2; p < 2000; ++p) {
    bool prime = true;
    for (std::size_t q = 2; q * q <= p; ++q) prime &= p % q != 0;
    if (prime) sum += " (/ x" + std::to_string(variables++) + ' ' + std::to_string(p) + ".0)";
  }
  expect_no_growth(declarations_of(variables, "Real") + "(assert (= 0.0 (+" + sum + ")))\n");
}

TEST(GrowthTest, WhatGrowsALittleIsSimplified) {
  EXPECT_EQ(text_of_simplified("(declare-const x Int)(assert (< (* 3 (+ x x 1)) 4))"),
            "(declare-const x Int)\n(assert (not (<= 1 x)))\n");
}

TEST(GrowthTest, SortsDefinedByEachOther) {
  constexpr std::size_t n = 30'000;
  std::string text = "(define-sort s0 () Int)";
  for (std::size_t i = 1; i < n; ++i) {
    text += "(define-sort s" + std::to_string(i) + " () (Array Int s" + std::to_string(i - 1) + "))";
  }
  for (std::size_t i = 0; i < 100'000; ++i) {
    text += "(declare-const a" + std::to_string(i) + " s" + std::to_string(n - 1) + ")";
  }
  Session session({.simplify = false});
  TermManager& manager = session.manager();
  std::size_t depth = 0;
  for (const DataType* sort = manager.type_of(only_term(session, text)); manager.is_array_type(sort);
       ++depth) {
    sort = sort->get_component(2);
  }
  EXPECT_EQ(depth, n - 1);
}

TEST(GrowthTest, LongLiteralsOfDefinitionsAreNotRepeated) {
  std::string text = "(define-fun large () (_ BitVec 40000) #x" + std::string(10'000, '5') + ")\n";
  for (int i = 0; i < 50; ++i) {
    const std::string name = "x" + std::to_string(i);
    text += "(declare-const " + name + " (_ BitVec 40000))\n(assert (bvult " + name + " large))\n";
  }
  EXPECT_EQ(text_of_simplified(text), text);
}

TEST(GrowthTest, NumbersAreLimited) {
  const std::string text = "(assert (= 0 1" + std::string(5'100'000, '0') + "))";
  Session session({.simplify = false});
  try {
    only_term(session, text);
    FAIL();
  } catch (const InputError& e) {
    EXPECT_EQ(e.message(), "numbers of more than 5050445 digits are not supported");
  }
}

}  // namespace
}  // namespace quarv::smtlib
