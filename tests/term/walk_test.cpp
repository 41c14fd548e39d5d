#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/term/translation.h>
#include <quarv/term/walk.h>

namespace quarv {
namespace {

TEST(Walk, VisitsEachSubTermOnceArgumentsFirst) {
  TermManager m;
  const Term* p = m.make_constant("p", m.bool_type);
  const Term* q = m.make_constant("q", m.bool_type);
  const Term* n = m.make_not(q);
  const Term* both = m.make_and(n, p);
  const Term* root = m.make_or(both, n);
  std::vector<const Term*> seen;
  visit_post_order(m, root, [&](const Term* t) { seen.push_back(t); });
  EXPECT_EQ(seen, (std::vector<const Term*>{q, n, p, both, root}));
  seen.clear();
  const Term* roots[] = {n, both, n};
  visit_post_order(m, roots, [&](const Term* t) { seen.push_back(t); });
  EXPECT_EQ(seen, (std::vector<const Term*>{q, n, p, both}));
  EXPECT_EQ(size(m, root), 5U);
  EXPECT_EQ(tree_size(m, root), 7U);
  EXPECT_EQ(depth(m, root), 4U);
  EXPECT_EQ(depth(m, p), 1U);
}

TEST(Walk, GoesAMillionLevelsDownAndCountsWhatIsShared) {
  TermManager m;
  const Term* t = m.make_constant("p", m.bool_type);
  for (int i = 0; i < 1000000; ++i) t = m.make_not(t);
  EXPECT_EQ(size(m, t), 1000001U);
  EXPECT_EQ(depth(m, t), 1000001U);
  const Term* s = m.make_constant("k", m.int_type);
  for (int i = 0; i < 100; ++i) s = m.make_plus(s, s);
  EXPECT_EQ(size(m, s), 101U);
  EXPECT_EQ(depth(m, s), 101U);
  EXPECT_EQ(tree_size(m, s), std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(tree_size(m, s->args[0]->args[0]->args[0]->args[0]), std::numeric_limits<std::uint64_t>::max());
}

TEST(Walk, FindsWhatIsDeclared) {
  TermManager m;
  const Term* k = m.make_constant("k", m.int_type);
  const Term* l = m.make_constant("l", m.int_type);
  const Term* v = m.fresh_bound_variable("v", m.int_type);
  const Symbol* f = m.declare_fun("f", {m.int_type}, m.int_type);
  const Term* sum = m.make_plus(m.make_term(f, {v}), l);
  const Term* q = m.make_quantifier("forall", {&v, 1}, m.make_leq(sum, m.make_plus(k, m.make_number(3))));
  EXPECT_EQ(free_constants(m, q), (std::vector<const Term*>{k, l})) << "oldest first";
  EXPECT_EQ(free_functions(m, q), (std::vector<const Symbol*>{f}));
}

TEST(TermSets, AreSmallOrLarge) {
  TermManager m;
  std::vector<const Term*> terms;
  for (long i = 0; i < 3000; ++i) terms.push_back(m.make_number(QNumber(i)));
  TermSet set;
  for (std::size_t i = 0; i < terms.size(); i += 3) EXPECT_TRUE(set.insert(terms[i]));
  for (std::size_t i = 0; i < terms.size(); ++i) {
    EXPECT_EQ(set.contains(terms[i]), i % 3 == 0);
    EXPECT_EQ(set.insert(terms[i]), i % 3 != 0);
  }
}

/// Everything that there are symbols for, there and back again.
TEST(Translation, ThereAndBackAgain) {
  TermManager a, b;
  const Term* p = a.make_constant("p", a.bool_type);
  const Term* k = a.make_constant("k", a.int_type);
  const Term* r = a.make_constant("r", a.rat_type);
  const Term* v = a.make_constant("v", a.get_bv_type(8));
  const Term* f = a.make_constant("f", a.get_fp_type(5, 10));
  const DataType* sort = a.declare_sort("S");
  const DataType* list = a.apply_sort(a.declare_sort("List", 1), {{sort}});
  const Term* s = a.make_constant("s", a.get_array_type(list, sort));
  const Symbol* g = a.declare_fun("g", {list, a.int_type}, sort);
  const Term* bound = a.fresh_bound_variable("b", list);
  const Attribute pattern[] = {{":pattern", "", 1}, {":weight", "3", 0}};
  const Term* rne = a.make_rounding_even();
  const Term* read = a.make_array_read(s, bound);
  const Term* applied = a.make_term(g, {bound, k});
  const Term* body = a.make_annotation(a.make_equal(read, applied), pattern, {&read, 1});
  const std::vector<const Term*> terms = {
      a.make_and(p, a.make_or(a.true_term, a.make_iff(p, a.make_not(a.false_term)))),
      a.make_leq(a.make_plus(k, a.make_number(QNumber::parse("-123456789012345678901234567890"))), k),
      a.make_leq(a.make_times(r, a.make_number(QNumber(2, 3))), k),
      a.make_term(a.rat_plus_symbol, {k, k}),
      a.make_equal(k, r),
      a.make_int_mod_congr(7, k, a.make_floor(r)),
      a.make_ite(p, r, k),
      a.make_bv_concat(a.make_bv_extract(6, 2, v), a.make_bv_number(5, 3)),
      a.make_bv_zero_extend(3,
                            a.make_bv_sign_extend(2, a.make_bv_rotate_left(1, a.make_bv_rotate_right(2, v)))),
      a.make_int_to_bv(9, a.make_plus(a.make_int_from_ubv(v), a.make_int_from_sbv(v))),
      a.make_bv_ult(a.make_bv_srem(v, v), a.make_bv_neg(v)),
      a.make_bv_comp(v, v),
      a.make_fp_lt(a.make_fp_add(rne, f, a.make_fp_bits_number(77, 5, 10)), a.make_fp_fma(rne, f, f, f)),
      a.make_fp_cast(8, 23, a.make_rounding_away(), f),
      a.make_fp_from_sbv(8, 23, a.make_rounding_zero(), v),
      a.make_fp_from_ubv(8, 23, a.make_rounding_plus_inf(), v),
      a.make_fp_to_sbv(5, a.make_rounding_minus_inf(), f),
      a.make_fp_to_ubv(5, rne, f),
      a.make_fp_from_ieeebv(3, 4, v),
      a.make_array_write(a.make_array_const(a.get_array_type(a.int_type, a.bool_type), p), k, p),
      a.make_term(a.make_opaque_symbol("mod", {a.int_type, a.int_type}, a.int_type), {k, k}),
      a.make_quantifier("exists", {&bound, 1}, body),
      a.make_quantifier("forall", {&bound, 1}, p),
  };
  Translator there(a, b), back(b, a);
  for (const Term* t : terms) {
    const Term* u = there(t);
    EXPECT_EQ(&u->symbol->get_output_type()->manager(), &b);
    EXPECT_EQ(there(t), u);
    EXPECT_EQ(size(b, u), size(a, t));
    if (a.is_quantifier(t->symbol)) continue;  // bound variables are never the same
    EXPECT_EQ(back(u), t) << t->symbol->name;
  }
  EXPECT_EQ(b.quantifier_variables(there(terms.back())->symbol),
            b.quantifier_variables(there(terms[21])->symbol));
  EXPECT_THROW(there(static_cast<const Term*>(nullptr)), SortError);
  EXPECT_THROW(there(b.true_term), SortError);
}

TEST(Translation, ForgetsWhatIsReleased) {
  TermManager a, b;
  const Term* p = a.make_constant("p", a.bool_type);
  Translator translate(a, b);
  for (int i = 0; i < 3; ++i) {
    const TermMark mark = b.mark();
    const Term* u = translate(a.make_not(p));
    EXPECT_EQ(u->args[0], b.make_constant("p", b.bool_type));
    b.release(mark);
    b.make_constant("other" + std::to_string(i), b.int_type);
  }
}

}  // namespace
}  // namespace quarv
