#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/term/substitution.h>
#include <quarv/term/walk.h>

namespace quarv {
namespace {

class Substitutions : public ::testing::Test {
 protected:
  TermManager m;
  const Term* k = m.make_constant("k", m.int_type);
  const Term* l = m.make_constant("l", m.int_type);
  const Term* r = m.make_constant("r", m.rat_type);
  const Term* v = m.fresh_bound_variable("v", m.int_type);
  const Term* w = m.fresh_bound_variable("w", m.int_type);

  const Term* forall(const Term* variable, const Term* body) {
    return m.make_quantifier("forall", {&variable, 1}, body);
  }
};

TEST_F(Substitutions, AreMadeAtTheSameTime) {
  const Term* t = m.make_leq(m.make_plus(k, l), k);
  const Term* swapped = substitute(m, t, {m, {{k, l}, {l, k}}});
  EXPECT_EQ(swapped, m.make_leq(m.make_plus(l, k), l));
  EXPECT_EQ(substitute(m, swapped, {m, {{k, l}, {l, k}}}), t);
  const std::size_t terms = m.num_terms();
  EXPECT_EQ(substitute(m, t, {m, {{r, k}}}), t);
  EXPECT_EQ(substitute(m, t, Substitution(m)), t);
  EXPECT_EQ(m.num_terms(), terms);
}

TEST_F(Substitutions, ReplaceAnyTermTheOutermostFirst) {
  const Term* sum = m.make_plus(k, l);
  const Term* t = m.make_leq(sum, k);
  EXPECT_EQ(substitute(m, t, {m, {{sum, l}, {k, m.make_number(3)}}}), m.make_leq(l, m.make_number(3)));
  EXPECT_EQ(substitute(m, t, {m, {{t, m.true_term}, {k, l}}}), m.true_term);
}

TEST_F(Substitutions, CheckWhatTheyAreGiven) {
  TermManager other;
  Substitution s(m);
  EXPECT_THROW(s.set(k, nullptr), SortError);
  EXPECT_THROW(s.set(nullptr, k), SortError);
  EXPECT_THROW(s.set(k, other.make_number(3)), SortError);
  EXPECT_THROW(s.set(k, r), SortError) << "a Real may not be an Int";
  EXPECT_THROW(s.set(k, m.true_term), SortError);
  EXPECT_NO_THROW(s.set(r, k));
  EXPECT_THROW(substitute(m, nullptr, s), SortError);
  EXPECT_THROW(substitute(m, other.true_term, s), SortError);
}

TEST_F(Substitutions, LeaveBoundVariablesAlone) {
  const Term* inner = forall(v, m.make_leq(v, k));
  const Term* t = m.make_and(m.make_leq(v, k), inner);
  EXPECT_EQ(substitute(m, t, {m, {{v, l}}}), m.make_and(m.make_leq(l, k), inner));
}

TEST_F(Substitutions, CatchNoVariables) {
  const Term* t = forall(v, m.make_leq(v, k));
  const Term* result = substitute(m, t, {m, {{k, v}}});
  const Term* variable = m.quantifier_variables(result->symbol)[0];
  EXPECT_NE(variable, v);
  EXPECT_EQ(result->args[0], m.make_leq(variable, v));
  // Where nothing is caught, the variable stays.
  EXPECT_EQ(substitute(m, forall(w, m.make_leq(w, k)), {m, {{k, v}}}), forall(w, m.make_leq(w, v)));
  // One quantifier below the other.
  const Term* nested =
      substitute(m, forall(v, forall(w, m.make_leq(m.make_plus(v, w), k))), {m, {{k, m.make_plus(v, w)}}});
  const Term* outer = m.quantifier_variables(nested->symbol)[0];
  const Term* below = m.quantifier_variables(nested->args[0]->symbol)[0];
  EXPECT_EQ(nested->args[0]->args[0], m.make_leq(m.make_plus(outer, below), m.make_plus(v, w)));
}

TEST_F(Substitutions, GoAMillionLevelsDown) {
  const Term* p = m.make_constant("p", m.bool_type);
  const Term* q = m.make_constant("q", m.bool_type);
  const Term* t = p;
  for (int i = 0; i < 1000000; ++i) t = m.make_not(t);
  const Term* result = substitute(m, t, {m, {{p, q}}});
  EXPECT_EQ(depth(m, result), 1000001U);
  EXPECT_EQ(free_constants(m, result), std::vector<const Term*>{q});
}

TEST_F(Substitutions, TakeTimeForWhatIsShared) {
  const Term* t = k;
  for (int i = 0; i < 200; ++i) t = m.make_plus(t, t);
  EXPECT_EQ(size(m, substitute(m, t, {m, {{k, l}}})), 201U);
}

}  // namespace
}  // namespace quarv
