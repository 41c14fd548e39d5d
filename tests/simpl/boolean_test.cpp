// The simplifiers of the Boolean connectives and of if-then-else, called as the manager calls them.
#include <array>
#include <vector>

#include <gtest/gtest.h>

#include "reference/library_terms.h"
#include <quarv/simpl/boolean.h>
#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

using termsimpl::AndSimpl;
using termsimpl::IffSimpl;
using termsimpl::NotSimpl;
using termsimpl::OrSimpl;
using termsimpl::TermIteSimpl;

class Boolean : public ::testing::Test {
 protected:
  Boolean() {
    termsimpl::register_standard_simplifications(&mgr, &registry);
    mgr.set_simplifier(&registry);
  }

  using Args = std::vector<const Term*>;

  const Term* simplify_and(Args& args) { return AndSimpl()(&mgr, mgr.and_symbol, args); }
  const Term* simplify_and(const Term* a, const Term* b) {
    Args args{a, b};
    return simplify_and(args);
  }
  const Term* simplify_or(const Term* a, const Term* b) {
    Args args{a, b};
    return OrSimpl()(&mgr, mgr.or_symbol, args);
  }
  const Term* simplify_iff(const Term* a, const Term* b) {
    Args args{a, b};
    return IffSimpl()(&mgr, mgr.iff_symbol, args);
  }
  const Term* simplify_not(const Term* a) {
    Args args{a};
    return NotSimpl()(&mgr, mgr.not_symbol, args);
  }
  const Term* simplify_ite(const Term* c, const Term* a, const Term* b) {
    Args args{c, a, b};
    return TermIteSimpl()(&mgr, mgr.make_ite_symbol(mgr.type_of(a)), args);
  }

  const Term* plain(const Symbol* s, std::initializer_list<const Term*> args) {
    return mgr.do_make_term(s, args);
  }
  const Term* negated(const Term* a) { return plain(mgr.not_symbol, {a}); }

  TermManager mgr;
  StdTermSimplifier registry;
  const Term* T = mgr.true_term;
  const Term* F = mgr.false_term;
  const Term* x = mgr.make_constant("x", mgr.bool_type);
  const Term* y = mgr.make_constant("y", mgr.bool_type);
};

TEST_F(Boolean, And) {
  EXPECT_EQ(simplify_and(x, x), x);
  EXPECT_EQ(simplify_and(T, x), x);
  EXPECT_EQ(simplify_and(x, T), x);
  EXPECT_EQ(simplify_and(F, x), F);
  EXPECT_EQ(simplify_and(x, F), F);
  EXPECT_EQ(simplify_and(x, negated(x)), F);
  EXPECT_EQ(simplify_and(negated(x), x), F);
  EXPECT_EQ(simplify_and(x, y), plain(mgr.and_symbol, {x, y}));
}

TEST_F(Boolean, Or) {
  EXPECT_EQ(simplify_or(x, x), x);
  EXPECT_EQ(simplify_or(T, x), T);
  EXPECT_EQ(simplify_or(x, T), T);
  EXPECT_EQ(simplify_or(F, x), x);
  EXPECT_EQ(simplify_or(x, F), x);
  EXPECT_EQ(simplify_or(x, negated(x)), T);
  EXPECT_EQ(simplify_or(negated(x), x), T);
  EXPECT_EQ(simplify_or(x, y), plain(mgr.or_symbol, {x, y}));
}

TEST_F(Boolean, Iff) {
  EXPECT_EQ(simplify_iff(x, x), T);
  EXPECT_EQ(simplify_iff(T, x), x);
  EXPECT_EQ(simplify_iff(x, T), x);
  EXPECT_EQ(simplify_iff(F, x), negated(x));
  EXPECT_EQ(simplify_iff(x, F), negated(x));
  EXPECT_EQ(simplify_iff(negated(y), F), y) << "the negation is simplified in turn";
  EXPECT_EQ(simplify_iff(F, negated(y)), y);
  EXPECT_EQ(simplify_iff(x, negated(x)), F);
  EXPECT_EQ(simplify_iff(negated(x), x), F);
  EXPECT_EQ(simplify_iff(x, y), plain(mgr.iff_symbol, {x, y}));
}

TEST_F(Boolean, ConstantsAmongThemselves) {
  for (const Term* a : {T, F}) {
    for (const Term* b : {T, F}) {
      EXPECT_EQ(simplify_and(a, b), mgr.make_bool(a == T && b == T));
      EXPECT_EQ(simplify_or(a, b), mgr.make_bool(a == T || b == T));
      EXPECT_EQ(simplify_iff(a, b), mgr.make_bool(a == b));
      EXPECT_EQ(simplify_ite(T, a, b), a);
      EXPECT_EQ(simplify_ite(F, a, b), b);
    }
    EXPECT_EQ(simplify_not(a), mgr.make_bool(a == F));
  }
}

TEST_F(Boolean, Not) {
  EXPECT_EQ(simplify_not(negated(x)), x);
  EXPECT_EQ(simplify_not(x), negated(x));
  const Term* conjunction = plain(mgr.and_symbol, {x, y});
  EXPECT_EQ(simplify_not(conjunction), negated(conjunction));
  EXPECT_EQ(simplify_not(negated(negated(x))), negated(x)) << "one layer at a time";
}

TEST_F(Boolean, Ite) {
  EXPECT_EQ(simplify_ite(T, x, y), x);
  EXPECT_EQ(simplify_ite(F, x, y), y);
  const Term* c = mgr.make_constant("c", mgr.bool_type);
  EXPECT_EQ(simplify_ite(c, x, x), x);
  const Symbol* ite = mgr.make_ite_symbol(mgr.bool_type);
  EXPECT_EQ(simplify_ite(c, x, y), plain(ite, {c, x, y}));
  EXPECT_EQ(simplify_ite(c, y, x), plain(ite, {c, y, x})) << "branches keep their order";
  EXPECT_EQ(simplify_ite(negated(c), x, y), plain(ite, {negated(c), x, y}));
  EXPECT_EQ(simplify_ite(c, T, F), plain(ite, {c, T, F})) << "the branches are not looked at";
  const Term* one = mgr.make_number(1);
  const Term* half = mgr.make_number(QNumber(1, 2));
  EXPECT_EQ(mgr.make_ite(c, one, half), plain(mgr.make_ite_symbol(mgr.rat_type), {c, one, half}));
}

TEST_F(Boolean, ArgumentsAreOrderedInPlace) {
  ASSERT_LT(x->id, y->id);
  Args reversed{y, x};
  EXPECT_EQ(simplify_and(reversed), plain(mgr.and_symbol, {x, y}));
  EXPECT_EQ(reversed, Args({x, y}));
  Args ordered{x, y};
  simplify_and(ordered);
  EXPECT_EQ(ordered, Args({x, y}));

  Args of_or{y, x};
  EXPECT_EQ(OrSimpl()(&mgr, mgr.or_symbol, of_or), plain(mgr.or_symbol, {x, y}));
  EXPECT_EQ(of_or, Args({x, y}));
  Args of_iff{y, x};
  EXPECT_EQ(IffSimpl()(&mgr, mgr.iff_symbol, of_iff), plain(mgr.iff_symbol, {x, y}));
  EXPECT_EQ(of_iff, Args({x, y}));
  Args of_ite{y, y, x};
  TermIteSimpl()(&mgr, mgr.make_ite_symbol(mgr.bool_type), of_ite);
  EXPECT_EQ(of_ite, Args({y, y, x}));
}

TEST_F(Boolean, ArgumentsStayWhereSomethingFolds) {
  Args args{y, T};
  EXPECT_EQ(simplify_and(args), y);
  EXPECT_EQ(args, Args({y, T}));
  const Term* not_x = negated(x);
  ASSERT_GT(not_x->id, x->id);
  Args complementary{not_x, x};
  EXPECT_EQ(simplify_and(complementary), F);
  EXPECT_EQ(complementary, Args({not_x, x}));
}

TEST_F(Boolean, ComplementsAreSoughtOneLevelDeep) {
  const Term* conjunction = plain(mgr.and_symbol, {x, y});
  EXPECT_EQ(simplify_and(conjunction, negated(x)), plain(mgr.and_symbol, {conjunction, negated(x)}));
  const Term* twice = negated(negated(x));
  EXPECT_EQ(simplify_and(x, twice), plain(mgr.and_symbol, {x, twice}));
  EXPECT_EQ(simplify_and(negated(x), negated(y)), plain(mgr.and_symbol, {negated(x), negated(y)}));
  EXPECT_EQ(simplify_or(negated(x), negated(y)), plain(mgr.or_symbol, {negated(x), negated(y)}));
  EXPECT_EQ(simplify_iff(negated(x), negated(y)), plain(mgr.iff_symbol, {negated(x), negated(y)}));
  EXPECT_EQ(simplify_and(negated(x), negated(x)), negated(x));
}

// With equal heads the pair is not looked for, even if it is one.
TEST_F(Boolean, ComplementsWithTheSameHeadAreLeftAlone) {
  const Term* n = negated(x);
  const Term* nn = negated(n);
  EXPECT_EQ(simplify_and(n, nn), plain(mgr.and_symbol, {n, nn}));
  EXPECT_EQ(simplify_or(nn, n), plain(mgr.or_symbol, {n, nn}));
  EXPECT_EQ(simplify_iff(n, nn), plain(mgr.iff_symbol, {n, nn}));
}

TEST_F(Boolean, FullConstructors) {
  EXPECT_EQ(mgr.make_and(y, x), mgr.make_and(x, y));
  EXPECT_EQ(mgr.make_or(x, mgr.make_not(x)), T);
  EXPECT_EQ(mgr.make_iff(x, F), negated(x));
  EXPECT_EQ(mgr.make_iff(mgr.make_not(y), F), y);
  EXPECT_EQ(mgr.make_not(mgr.make_not(x)), x);
  EXPECT_EQ(mgr.make_equal(x, x), T);
}

/// Every connective agrees with its truth table on all terms over two variables of a small size.
TEST_F(Boolean, AgreesWithTruthTables) {
  struct Valued {
    const Term* term;
    unsigned table;  // the values under the four assignments
  };
  std::vector<Valued> level{{T, 15}, {F, 0}, {x, 12}, {y, 10}};
  for (int round = 0; round < 2; ++round) {
    std::vector<Valued> next = level;
    for (const Valued& a : level) {
      next.push_back({mgr.make_not(a.term), ~a.table & 15});
      for (const Valued& b : level) {
        next.push_back({mgr.make_and(a.term, b.term), a.table & b.table});
        next.push_back({mgr.make_or(a.term, b.term), a.table | b.table});
        next.push_back({mgr.make_iff(a.term, b.term), ~(a.table ^ b.table) & 15});
        next.push_back({mgr.make_ite(a.term, b.term, x), (a.table & b.table) | (~a.table & 12)});
      }
    }
    level = next;
  }
  reference::TermEvaluation evaluate(mgr, 4);
  evaluate.set(x, {{0, 0, 1, 1}, {}});
  evaluate.set(y, {{0, 1, 0, 1}, {}});
  ASSERT_GT(level.size(), 1000U);
  for (const Valued& v : level) {
    for (unsigned assignment = 0; assignment < 4; ++assignment) {
      ASSERT_EQ(evaluate(v.term).words[assignment], v.table >> assignment & 1);
    }
  }
}

}  // namespace
}  // namespace quarv
