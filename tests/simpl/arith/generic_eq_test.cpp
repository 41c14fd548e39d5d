#include "simpl/arith/arith_fixture.h"

namespace quarv {
namespace {

class GenericEqTest : public ArithFixture {
 protected:
  const Term* equal(const Term* a, const Term* b) {
    return simplify(mgr.make_equal_symbol(mgr.type_of(a)), {a, b});
  }
  const Term* plain_equal(const Term* a, const Term* b) {
    return mgr.do_make_term(mgr.make_equal_symbol(mgr.type_of(a)), {a, b});
  }
};

TEST_F(GenericEqTest, Numerals) {
  const Term* one = mgr.make_bv_number(1, 8);
  EXPECT_EQ(equal(one, mgr.make_bv_number(2, 8)), mgr.false_term);
  EXPECT_EQ(equal(one, one), mgr.true_term);
  const Term* zero = mgr.make_fp_bits_number(QNumber(0), 5, 10);
  const Term* minus_zero = mgr.make_fp_bits_number(QNumber(1L << 15), 5, 10);
  EXPECT_EQ(equal(zero, minus_zero), mgr.false_term);
}

TEST_F(GenericEqTest, ALoneNumeralComesSecond) {
  const Term* early = mgr.make_bv_number(1, 8);
  const Term* b = constant("b", mgr.get_bv_type(8));
  const Term* late = mgr.make_bv_number(2, 8);
  EXPECT_EQ(equal(early, b), plain_equal(b, early));
  EXPECT_EQ(equal(b, early), plain_equal(b, early));
  EXPECT_EQ(equal(late, b), plain_equal(b, late));
  Args args{early, b};
  simplify(mgr.make_equal_symbol(mgr.get_bv_type(8)), args);
  EXPECT_EQ(args, (Args{b, early}));
}

TEST_F(GenericEqTest, OtherwiseTheSmallerIdComesFirst) {
  const DataType* sort = mgr.declare_sort("U");
  const Term* a = constant("a", sort);
  const Term* b = constant("b", sort);
  EXPECT_EQ(equal(b, a), plain_equal(a, b));
  EXPECT_EQ(equal(a, b), plain_equal(a, b));
  const Term* p = constant("p", mgr.bool_type);
  const Term* q = constant("q", mgr.bool_type);
  EXPECT_EQ(equal(q, p), plain_equal(p, q));
  // Nothing says that model values or rounding modes with different names differ.
  const Term* u = constant("@u", sort);
  const Term* v = constant("@v", sort);
  EXPECT_EQ(equal(v, u), plain_equal(u, v));
}

TEST_F(GenericEqTest, ConstantArrays) {
  const DataType* type = mgr.get_array_type(mgr.int_type, mgr.int_type);
  const Term* x = integer("x");
  const auto all = [&](const Term* e) { return mgr.do_make_term(mgr.make_array_const_symbol(type), {e}); };
  EXPECT_EQ(equal(all(number(1)), all(number(2))), mgr.false_term);
  EXPECT_EQ(equal(all(x), all(x)), mgr.true_term);
  EXPECT_EQ(equal(all(x), all(number(2))), mgr.make_equal(x, number(2)));
  EXPECT_EQ(equal(all(x), all(plain_plus(x, number(1)))), mgr.false_term);
}

TEST_F(GenericEqTest, ConstantArraysNestedDeeply) {
  const DataType* type = mgr.int_type;
  const Term* a = number(1);
  const Term* b = integer("x");
  for (int level = 0; level < 100000; ++level) {
    type = mgr.get_array_type(mgr.int_type, type);
    const Symbol* all = mgr.make_array_const_symbol(type);
    a = mgr.do_make_term(all, {a});
    b = mgr.do_make_term(all, {b});
  }
  EXPECT_EQ(equal(a, b), mgr.make_equal(integer("x"), number(1)));
}

}  // namespace
}  // namespace quarv
