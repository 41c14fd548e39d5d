// Composed calls make the same terms in the same order with every compiler; derived operators have their own
// names in errors.
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/sort_errors.h"
#include <quarv/smtlib.h>

namespace quarv {
namespace {

class Composed : public ::testing::Test {
 protected:
  TermManager m;
  const Term* x = m.make_constant("x", m.get_bv_type(8));
  const Term* y = m.make_constant("y", m.get_bv_type(8));
  const Term* k = m.make_constant("k", m.int_type);
  const Term* p = m.make_constant("p", m.bool_type);
};

TEST_F(Composed, CallsAreMadeFromLeftToRight) {
  const Term* sum = make_bv_add(m, {make_bv_not(m, {x}), make_bv_neg(m, {y}), make_bv_mul(m, {x, y})});
  EXPECT_EQ(to_string(sum), "(bvadd (bvnot x) (bvadd (bvneg y) (bvmul x y)))");
  const Term* nots[] = {m.make_bv_not(x), m.make_bv_neg(y), m.make_bv_mul(x, y)};
  for (int i = 0; i < 3; ++i) EXPECT_EQ(nots[i]->id, x->id + 4 + static_cast<unsigned>(i));
  EXPECT_EQ(sum->id, m.num_terms() - 1);
}

TEST_F(Composed, TakeAnyNumberOfArguments) {
  EXPECT_EQ(to_string(make_and(m, {p, make_not(m, {p}), make_lt(m, {k, make_plus(m, {k, k, k})})})),
            "(and p (not p) (not (<= (+ k k k) k)))");
  EXPECT_EQ(make_and(m, {p}), p);
  const std::vector<const Term*> three = {x, y, x};
  EXPECT_EQ(to_string(make_bv_ugt(m, three)), "(and (bvult y x) (bvult x y))");
  EXPECT_EQ(to_string(make_bv_extract(m, {3, 1}, {x})), "((_ extract 3 1) x)");
  EXPECT_EQ(to_string(make_bv_repeat(m, {2}, {x})), "(concat x x)");
  EXPECT_EQ(make_bv_concat(m, {x, y, x})->symbol->get_output_type(), m.get_bv_type(24));
  const Term* q = m.make_constant("q", m.bool_type);
  const Term* r = m.make_constant("r", m.bool_type);
  EXPECT_EQ(to_string(make_implies(m, {p, q, r})), "(or (not p) r (not q))");
  EXPECT_EQ(to_string(make_distinct(m, {x, y})), "(not (= x y))");
}

/// The members of the manager and the functions agree where both exist.
TEST_F(Composed, AreTheMembersOfTheManager) {
  EXPECT_EQ(make_bv_add(m, {x, y}), m.make_bv_add(x, y));
  EXPECT_EQ(make_equal(m, {x, y}), m.make_equal(x, y));
  EXPECT_EQ(make_leq(m, {k, k}), m.make_leq(k, k));
  EXPECT_EQ(make_bv_zero_extend(m, {3}, {x}), m.make_bv_zero_extend(3, x));
  EXPECT_EQ(make_ite(m, {p, x, y}), m.make_ite(p, x, y));
}

TEST_F(Composed, ErrorsNameTheOperatorThatWasCalled) {
  TermManager other;
  EXPECT_EQ(error_of([&] {
              make_bv_ugt(m, {x, k});
            }),
            "bvugt: argument 2 has sort Int, expected (_ BitVec 8)");
  EXPECT_EQ(error_of([&] {
              make_implies(m, {p, x});
            }),
            "=>: argument 2 has sort (_ BitVec 8), expected Bool");
  EXPECT_EQ(error_of([&] {
              make_distinct(m, {x, p});
            }),
            "distinct: argument 2 has sort Bool, expected (_ BitVec 8)");
  EXPECT_EQ(error_of([&] {
              make_lt(m, {k, x});
            }),
            "<: argument 2 has sort (_ BitVec 8), expected Int or Real");
  EXPECT_EQ(error_of([&] { make_bv_smod(m, {x}); }), "bvsmod: 1 argument given, 2 expected");
  EXPECT_EQ(error_of([&] { make_bv_add(m, {}); }), "bvadd: 0 arguments given, at least 2 expected");
  EXPECT_EQ(error_of([&] { make_bv_ugt(m, {x, nullptr}); }), "bvugt: argument 2 is a null pointer");
  EXPECT_EQ(error_of([&] {
              make_and(m, {p, other.true_term});
            }),
            "and: argument 2 belongs to another manager");
  EXPECT_EQ(error_of([&] { make_bv_extract(m, {3}, {x}); }), "extract: 1 index given, 2 expected");
  EXPECT_EQ(error_of([&] {
              make_bv_extract(m, {8, 0}, {x});
            }),
            "extract: index 8 is out of range for 8 bits");
}

TEST_F(Composed, TermsSymbolsAndSortsHaveTexts) {
  std::ostringstream out;
  out << m.make_bv_extract(3, 1, x) << ' ' << m.make_bv_extract(3, 1, x)->symbol << ' ' << m.type_of(x) << ' '
      << m.make_bv_number(7, 8) << ' ' << m.make_bv_number(7, 8)->symbol << ' ' << m.true_symbol << ' '
      << m.make_constant("a b", m.int_type)->symbol << ' ' << static_cast<const Term*>(nullptr) << ' '
      << m.make_fp_to_sbv_symbol(5, 10, 8);
  EXPECT_EQ(out.str(),
            "((_ extract 3 1) x) (_ extract 3 1) (_ BitVec 8) #x07 7 true |a b| null (_ fp.to_sbv 8)");
}

}  // namespace
}  // namespace quarv
