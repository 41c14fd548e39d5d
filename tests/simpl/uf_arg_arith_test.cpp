#include "simpl/arith/arith_fixture.h"

namespace quarv {
namespace {

class UfArgArithTest : public ArithFixture {
 protected:
  const Symbol* f = mgr.declare_fun("f", {mgr.int_type}, mgr.int_type);
  const Symbol* g = mgr.declare_fun("g", {mgr.rat_type, mgr.bool_type, mgr.rat_type}, mgr.rat_type);
  const Term* x = integer("x");
  const Term* y = integer("y");
  const Term* r = rational("r");
};

TEST_F(UfArgArithTest, EqualArgumentsBecomeTheSame) {
  const Term* one = number(1);
  const Term* two = number(2);
  const Term* a = simplify(f, {plain_plus(plain_plus(x, one), one)});
  EXPECT_EQ(a, simplify(f, {plain_plus(two, x)}));
  EXPECT_EQ(a, simplify(f, {plain_plus(x, two)}));
  EXPECT_EQ(a, mgr.do_make_term(f, {plain_plus(x, two)})) << "the constant comes last";
}

TEST_F(UfArgArithTest, Numerals) {
  EXPECT_EQ(simplify(f, {number(3)}), mgr.do_make_term(f, {number(3)}));
  EXPECT_EQ(simplify(f, {plain_plus(number(1), number(2))}), mgr.do_make_term(f, {number(3)}));
  EXPECT_EQ(simplify(f, {plain_plus(x, plain_times(number(-1), x))}), mgr.do_make_term(f, {number(0)}));
}

TEST_F(UfArgArithTest, TheCallersVectorIsChanged) {
  Args args{plain_plus(plain_times(number(2), r), plain_plus(number(1), r)), constant("b", mgr.bool_type), r};
  const Term* expected = plain_plus(plain_times(number(3), r), number(1));
  const Term* b = args[1];
  EXPECT_EQ(simplify(g, args), mgr.do_make_term(g, {expected, b, r}));
  EXPECT_EQ(args, (Args{expected, b, r}));
}

TEST_F(UfArgArithTest, EveryArithmeticArgument) {
  const Term* sum = plain_plus(number(1), plain_times(r, number(2)));
  const Term* normal = plain_plus(plain_times(number(2), r), number(1));
  EXPECT_EQ(simplify(g, {sum, mgr.true_term, sum}), mgr.do_make_term(g, {normal, mgr.true_term, normal}));
}

TEST_F(UfArgArithTest, OtherTypesArePassedThrough) {
  const Symbol* p = mgr.declare_fun("p", {mgr.bool_type, mgr.get_bv_type(8)}, mgr.bool_type);
  const Term* inner = mgr.do_make_term(mgr.int_leq_symbol, {plain_plus(number(1), x), number(1)});
  const Term* bits = mgr.do_make_term(mgr.make_bv_symbol(SymbolTag::INT_TO_BV, 8), {plain_plus(y, x)});
  EXPECT_EQ(simplify(p, {inner, bits}), mgr.do_make_term(p, {inner, bits}));
}

TEST_F(UfArgArithTest, NoArguments) {
  EXPECT_EQ(simplify(x->symbol, {}), x);
}

TEST_F(UfArgArithTest, TypeOfTheOuterSum) {
  // A sum over the rationals keeps that type even when what varies is an integer.
  const Term* t = plain_plus(x, number(1, 2));
  ASSERT_EQ(mgr.type_of(t), mgr.rat_type);
  EXPECT_EQ(simplify(g, {plain_plus(number(1, 2), x), mgr.true_term, r}),
            mgr.do_make_term(g, {t, mgr.true_term, r}));
  EXPECT_EQ(simplify(f, {plain_plus(number(1), x)}),
            mgr.do_make_term(f, {mgr.do_make_term(mgr.int_plus_symbol, {x, number(1)})}));
}

TEST_F(UfArgArithTest, NormalFormsAreFixed) {
  const Term* once = simplify(f, {plain_plus(plain_plus(y, number(4)), plain_times(number(3), x))});
  EXPECT_EQ(simplify(f, {once->args[0]}), once);
}

}  // namespace
}  // namespace quarv
