#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/smtlib.h>

namespace quarv {
namespace {

using smtlib::read_assertions;
using smtlib::Reader;

TEST(Session, ANameIsOneSymbol) {
  Session session;
  TermManager& m = session.manager();
  const Term* x = session.constant("x", m.int_type);
  EXPECT_EQ(session.constant("x", m.int_type), x);
  EXPECT_THROW(session.constant("x", m.rat_type), std::invalid_argument);
  EXPECT_EQ(session.declared("x"), x->symbol);
  EXPECT_EQ(session.declared("y"), nullptr);
}

TEST(Session, ClosedLevelsTakeDeclarationsAndAssertionsAlong) {
  Session session;
  TermManager& m = session.manager();
  const Term* p = session.constant("p", m.bool_type);
  session.assert_formula(p);
  session.push(2);
  session.assert_formula(session.constant("q", m.bool_type));
  session.push();
  session.assert_something_else();
  EXPECT_EQ(session.num_levels(), 3u);
  EXPECT_EQ(session.assertions().size(), 3u);
  session.pop(2);
  EXPECT_EQ(session.num_levels(), 1u);
  ASSERT_EQ(session.assertions().size(), 1u);
  EXPECT_EQ(session.assertions()[0], p);
  EXPECT_EQ(session.declared("q"), nullptr);
  EXPECT_NO_THROW(session.constant("q", m.int_type));
  EXPECT_THROW(session.pop(2), std::invalid_argument);
  EXPECT_THROW(session.assert_formula(session.constant("n", m.int_type)), SortError);
}

TEST(Session, TermsBuiltWithoutSimplifiersAreSimplifiedOnRequest) {
  Session session({.eager = false});
  TermManager& m = session.manager();
  const Term* x = session.constant("x", m.get_bv_type(8));
  const Term* t = m.make_bv_add(x, m.make_bv_number(0, 8));
  EXPECT_NE(t, x);
  EXPECT_EQ(session.simplify(t), x);
  std::vector<Step> steps;
  EXPECT_EQ(session.simplify(t, steps), x);
  ASSERT_FALSE(steps.empty());
  EXPECT_EQ(steps.back().after, x);
}

TEST(Session, AReaderKeepsTheAssertionsInForce) {
  Session session;
  Reader reader(session);
  const std::string script =
      "(declare-const p Bool)(declare-const q Bool)(assert p)(push 1)(assert q)(push 1)(assert (not p))"
      "(pop 1)(assert (or p q))";
  const smtlib::Script read = reader.read(script, "in.smt2");
  EXPECT_EQ(session.num_levels(), 1u);
  ASSERT_EQ(session.assertions().size(), 3u);
  EXPECT_EQ(smtlib::term_text(session.manager(), session.assertions()[2]), "(or p q)");
  reader.read("(pop 1)", "next.smt2");
  EXPECT_EQ(session.assertions().size(), 1u);
  reader.read("(reset)", "next.smt2");
  EXPECT_EQ(session.assertions().size(), 0u);
}

TEST(Session, ScriptsShareTheSessionsSymbols) {
  Session session;
  Reader reader(session, {.names = Reader::Options::Names::session});
  const Term* x = reader.constant("x", session.manager().int_type);
  const std::vector<const Term*> assertions =
      read_assertions(session,
                      "(declare-sort S 0)(declare-fun x () Int)(declare-fun f (S) Int)(declare-fun s () "
                      "S)(declare-fun y () Int)"
                      "(assert (< x 3))(assert (< (f s) 3))",
                      "a.smt2");
  ASSERT_EQ(assertions.size(), 2u);
  EXPECT_NE(session.declared("f"), nullptr);
  EXPECT_EQ(session.declared("y"), nullptr);  // it does not occur
  EXPECT_EQ(assertions[0], reader.term("(< x 3)"));
  EXPECT_NE(reader.sort("(Array S Int)"), nullptr);
  EXPECT_EQ(session.assertions().size(), 0u);
  EXPECT_EQ(reader.term("x"), x);
  EXPECT_EQ(read_assertions(session, "(declare-fun x () Bool)", "b.smt2").size(), 0u);
  EXPECT_THROW(read_assertions(session, "(declare-fun z () Bool)(declare-fun x () Bool)(assert z)(assert x)",
                               "b.smt2"),
               std::invalid_argument);
  EXPECT_EQ(session.declared("z"), nullptr);
}

TEST(Session, AScriptWithAnErrorDeclaresNothing) {
  Session session;
  EXPECT_THROW(read_assertions(session, "(declare-fun y () Int)(push 1)(assert z)", "a.smt2"), InputError);
  EXPECT_EQ(session.declared("y"), nullptr);
  EXPECT_EQ(session.num_levels(), 0u);
  EXPECT_THROW(read_assertions(session, "(define-fun g ((a Int)) Int a)", "a.smt2"), std::invalid_argument);
}

TEST(Session, WhatIsDeclaredHidesOperatorsAndIsHiddenByVariables) {
  Session session;
  Reader reader(session, {.names = Reader::Options::Names::session});
  const Term* own = reader.constant("bvadd", session.manager().int_type);
  EXPECT_EQ(reader.term("bvadd"), own);
  EXPECT_EQ(reader.term("(let ((bvadd 7)) bvadd)"), reader.term("7"));
  EXPECT_THROW(reader.constant("true", session.manager().int_type), std::invalid_argument);
  EXPECT_THROW(reader.constant("and", session.manager().int_type), std::invalid_argument);
}

}  // namespace
}  // namespace quarv
