#include "simpl/arith/arith_fixture.h"

namespace quarv {
namespace {

class ArrayTest : public ArithFixture {
 protected:
  const DataType* type = mgr.get_array_type(mgr.int_type, mgr.int_type);
  const Symbol* read = mgr.make_array_read_symbol(type);
  const Symbol* write = mgr.make_array_write_symbol(type);
  const Term* a = constant("A", type);
  const Term* i = integer("i");
  const Term* j = integer("j");
  const Term* v = integer("v");
  const Term* w = integer("w");

  const Term* plain_write(const Term* array, const Term* index, const Term* element) {
    return mgr.do_make_term(write, {array, index, element});
  }
  const Term* all(const Term* element) {
    return mgr.do_make_term(mgr.make_array_const_symbol(type), {element});
  }
};

TEST_F(ArrayTest, ReadOfAConstantArray) {
  EXPECT_EQ(simplify(read, {all(v), i}), v);
  EXPECT_EQ(simplify(read, {all(v), plain_plus(i, j)}), v);
}

TEST_F(ArrayTest, OtherReadsOnlyNormaliseTheIndex) {
  const Term* written = plain_write(a, i, v);
  EXPECT_EQ(simplify(read, {written, i}), mgr.do_make_term(read, {written, i}));
  Args args{a, plain_plus(number(1), plain_plus(i, number(1)))};
  const Term* index = plain_plus(i, number(2));
  EXPECT_EQ(simplify(read, args), mgr.do_make_term(read, {a, index}));
  EXPECT_EQ(args, (Args{a, index}));
}

TEST_F(ArrayTest, WriteOfTheSame) {
  const Term* written = plain_write(a, i, v);
  EXPECT_EQ(simplify(write, {written, i, v}), written);
  EXPECT_EQ(simplify(write, {all(v), i, v}), all(v));
  EXPECT_EQ(simplify(write, {a, i, mgr.do_make_term(read, {a, i})}), a);
  const Term* read_elsewhere = mgr.do_make_term(read, {a, j});
  EXPECT_EQ(simplify(write, {a, i, read_elsewhere}), plain_write(a, i, read_elsewhere));
  const Term* other_read = mgr.do_make_term(read, {written, j});
  EXPECT_EQ(simplify(write, {written, j, other_read}), written);
}

TEST_F(ArrayTest, TheLastOfTwoWritesCounts) {
  const Term* x = integer("x");
  const Term* chain = plain_write(plain_write(a, i, x), i, v);
  EXPECT_EQ(simplify(write, {chain, i, w}), plain_write(a, i, w));
  EXPECT_EQ(simplify(write, {plain_write(all(v), i, w), i, v}), all(v));
  const Term* read_back = mgr.do_make_term(read, {a, i});
  EXPECT_EQ(simplify(write, {plain_write(a, i, v), i, read_back}), a);
}

TEST_F(ArrayTest, WritesAtDifferentIndicesStay) {
  const Term* inner = plain_write(a, j, w);
  const Term* sum = plain_plus(number(1), v);
  EXPECT_EQ(simplify(write, {inner, plain_plus(plain_times(number(2), i), number(0)), sum}),
            plain_write(inner, plain_times(number(2), i), plain_plus(v, number(1))));
  EXPECT_EQ(simplify(write, {plain_write(a, number(1), v), number(2), v}),
            plain_write(plain_write(a, number(1), v), number(2), v));
}

TEST_F(ArrayTest, IndicesAreComparedBeforeTheyAreNormalised) {
  const Term* index = plain_plus(number(1), i);
  const Term* normal = plain_plus(i, number(1));
  ASSERT_NE(index, normal);
  const Term* inner = plain_write(a, normal, v);
  // The pass that drops the overwritten write is not run again for the normalised index.
  EXPECT_EQ(simplify(write, {inner, index, w}), plain_write(inner, normal, w));
  EXPECT_EQ(simplify(write, {inner, normal, w}), plain_write(a, normal, w));
}

TEST_F(ArrayTest, AMillionWritesToOneIndexCollapse) {
  const Term* chain = a;
  for (long n = 0; n < 1000000; ++n) chain = plain_write(chain, i, number(n % 1000));
  EXPECT_EQ(simplify(write, {chain, i, w}), plain_write(a, i, w));
}

}  // namespace
}  // namespace quarv
