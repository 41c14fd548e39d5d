// Simplifications of a user's own.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/smtlib.h>

namespace quarv {
namespace {

using When = OwnSimplifications::When;
using Args = OwnSimplifications::Args;

/// Doubles numbers.
const Term* twice(TermManager& m, const Symbol*, Args args) {
  const QNumber* n = m.get_number(args[0]);
  return n == nullptr ? nullptr : m.make_number(*n + *n);
}

TEST(OwnSimplification, FoldsADeclaredFunctionOnConstants) {
  for (const bool eager : {true, false}) {
    Session session({.eager = eager});
    TermManager& m = session.manager();
    const DataType* integer[] = {m.int_type};
    const Symbol* f = session.function("f", integer, m.int_type);
    const Symbol* g = session.function("g", integer, m.int_type);
    const Term* k = session.constant("k", m.int_type);
    const Term* three = m.make_number(3);
    const Term* before = m.make_term(f, {three});
    EXPECT_EQ(session.simplify(before), before);
    session.add_simplification(f, twice);
    EXPECT_EQ(session.simplify(before), m.make_number(6)) << "what was simplified already is simplified anew";
    const Term* nested = m.make_term(f, {m.make_term(f, {three})});
    EXPECT_EQ(session.simplify(nested), m.make_number(12));
    EXPECT_EQ(nested == m.make_number(12), eager);
    EXPECT_EQ(session.simplify(m.make_term(f, {k})), m.make_term(f, {k}));
    EXPECT_EQ(session.simplify(m.make_term(g, {three})), m.make_term(g, {three}));
    std::vector<Step> steps;
    session.simplify(before, steps);
    ASSERT_EQ(steps.size(), 1U);
    EXPECT_EQ(steps[0].name, "f");
    EXPECT_EQ(steps[0].after, m.make_number(6));
  }
}

TEST(OwnSimplification, ComesBeforeOrAfterTheStandardOnes) {
  for (const When when : {When::before, When::after}) {
    Session session;
    TermManager& m = session.manager();
    int calls = 0;
    const auto count = [&calls](TermManager&, const Symbol*, Args) -> const Term* {
      ++calls;
      return nullptr;
    };
    session.add_simplification(SymbolTag::BV_UDIV, count, when);
    const Term* x = session.constant("x", m.get_bv_type(8));
    m.make_bv_udiv(m.make_bv_number(12, 8), m.make_bv_number(3, 8));
    EXPECT_EQ(calls, when == When::before ? 1 : 0) << "the standard one folds";
    m.make_bv_udiv(x, m.make_bv_number(8, 8));
    EXPECT_EQ(calls, when == When::before ? 2 : 1);
    m.make_bv_add(x, x);
    EXPECT_EQ(calls, when == When::before ? 2 : 1);
  }
}

TEST(OwnSimplification, DividesByShifts) {
  Session session;
  TermManager& m = session.manager();
  session.add_simplification(SymbolTag::BV_UDIV,
                             [](TermManager& mgr, const Symbol*, Args args) -> const Term* {
                               const QNumber* n = mgr.get_number(args[1]);
                               if (n == nullptr || *n != QNumber(8)) return nullptr;
                               const std::size_t width = mgr.get_width_from_type(mgr.type_of(args[0]));
                               return mgr.make_bv_lshr(args[0], mgr.make_bv_number(3, width));
                             });
  const Term* x = session.constant("x", m.get_bv_type(8));
  EXPECT_EQ(m.make_bv_udiv(x, m.make_bv_number(8, 8)), m.make_bv_lshr(x, m.make_bv_number(3, 8)));
}

TEST(OwnSimplification, SortsAreChecked) {
  Session session;
  TermManager& m = session.manager();
  const DataType* integer[] = {m.int_type};
  const Symbol* f = session.function("f", integer, m.int_type);
  session.add_simplification(f, [](TermManager& mgr, const Symbol*, Args) { return mgr.true_term; });
  EXPECT_THROW(m.make_term(f, {m.make_number(1)}), SortError);
  EXPECT_THROW(session.add_simplification(f, nullptr), std::invalid_argument);
  EXPECT_THROW(session.add_simplification(static_cast<const Symbol*>(nullptr), twice), std::invalid_argument);
}

TEST(OwnSimplification, IsGoneWhenItsMarkIsReleased) {
  Session session;
  TermManager& m = session.manager();
  const DataType* integer[] = {m.int_type};
  const Symbol* f = session.function("f", integer, m.int_type);
  const Session::Mark mark = session.mark();
  session.add_simplification(f, twice);
  const Symbol* g = session.function("g", integer, m.int_type);
  session.add_simplification(g, twice);
  EXPECT_EQ(*m.get_number(m.make_term(g, {m.make_number(4)})), QNumber(8));
  session.release(mark);
  EXPECT_EQ(m.get_number(m.make_term(f, {m.make_number(4)})), nullptr);
  const Symbol* other = session.function("h", integer, m.int_type);
  EXPECT_EQ(m.get_number(m.make_term(other, {m.make_number(4)})), nullptr);
}

}  // namespace
}  // namespace quarv
