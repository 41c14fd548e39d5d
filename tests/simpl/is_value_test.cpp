// Which terms are values.
#include <vector>

#include <gtest/gtest.h>

#include <quarv/simpl/is_value.h>
#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

using termsimpl::is_value;

class IsValue : public ::testing::Test {
 protected:
  void expect(const Term* t, bool plain, bool with_model_values) {
    EXPECT_EQ(is_value(&mgr, t, false), plain);
    EXPECT_EQ(is_value(&mgr, t, true), with_model_values);
  }
  void expect_value(const Term* t) { expect(t, true, true); }
  void expect_no_value(const Term* t) { expect(t, false, false); }

  const Term* all(const DataType* type, const Term* element) { return mgr.make_array_const(type, element); }

  TermManager mgr;
  const DataType* sort = mgr.declare_sort("U");
  const DataType* ints = mgr.get_array_type(mgr.int_type, mgr.int_type);
  const Term* zero = mgr.make_number(0);
  const Term* one = mgr.make_number(1);
  const Term* i = mgr.make_constant("i", mgr.int_type);
  const Term* u = mgr.make_constant("u", sort);
  const Term* model_value = mgr.make_constant("@u1", sort);
};

TEST_F(IsValue, Booleans) {
  expect_value(mgr.true_term);
  expect_value(mgr.false_term);
  expect_no_value(mgr.make_constant("b", mgr.bool_type));
  expect_no_value(mgr.make_not(mgr.true_term));
  expect_no_value(mgr.make_constant("@b", mgr.bool_type));
}

TEST_F(IsValue, Numbers) {
  expect_value(zero);
  expect_value(mgr.make_number(QNumber(-1, 3)));
  expect_value(mgr.make_number(QNumber::parse("123456789012345678901234567890")));
  expect_no_value(i);
  expect_no_value(mgr.make_constant("3", mgr.int_type));
  expect_no_value(mgr.make_constant("@3", mgr.int_type));
  expect_no_value(mgr.make_constant("r", mgr.rat_type));
  expect_no_value(mgr.make_plus(zero, one));
}

TEST_F(IsValue, BitVectorsAndFloats) {
  expect_value(mgr.make_bv_number(3, 8));
  expect_no_value(mgr.make_constant("v", mgr.get_bv_type(8)));
  expect_no_value(mgr.make_bv_not(mgr.make_bv_number(3, 8)));
  expect_value(mgr.make_fp_bits_number(3, 5, 10));
  expect_no_value(mgr.make_constant("@f", mgr.get_fp_type(5, 10)));
}

TEST_F(IsValue, RoundingModes) {
  expect_value(mgr.make_rounding_even());
  expect_value(mgr.make_rounding_zero());
  expect_value(mgr.make_rounding_plus_inf());
  expect_value(mgr.make_rounding_minus_inf());
  expect_no_value(mgr.make_rounding_away());
  expect_no_value(mgr.make_constant("RNE", mgr.rounding_mode_type));
  expect_no_value(mgr.make_constant("@m", mgr.rounding_mode_type));
}

TEST_F(IsValue, ModelValues) {
  expect(model_value, false, true);
  expect_no_value(u);
  expect_no_value(mgr.make_constant("u@", sort));
  expect_no_value(mgr.make_constant("", sort));
  const DataType* list = mgr.declare_sort("List", 1);
  const DataType* const parameters[] = {mgr.int_type};
  expect(mgr.make_constant("@l", mgr.apply_sort(list, parameters)), false, true);
}

TEST_F(IsValue, ConstantArrays) {
  expect_value(all(ints, zero));
  expect_no_value(all(ints, i));
  expect_no_value(mgr.make_constant("a", ints));
  expect_no_value(mgr.make_constant("@a", ints));
  const DataType* of_sort = mgr.get_array_type(mgr.int_type, sort);
  expect(all(of_sort, model_value), false, true);
  expect_no_value(all(of_sort, u));
}

TEST_F(IsValue, ArrayWrites) {
  const Term* base = all(ints, zero);
  expect_value(mgr.make_array_write(base, zero, one));
  expect_no_value(mgr.make_array_write(base, i, one));
  expect_no_value(mgr.make_array_write(base, zero, i));
  expect_no_value(mgr.make_array_write(mgr.make_constant("a", ints), zero, one));
  expect_no_value(mgr.make_array_write(all(ints, i), zero, one));
  const Term* chain = base;
  for (int k = 0; k < 10; ++k) chain = mgr.make_array_write(chain, mgr.make_number(k), one);
  expect_value(chain);
  const Term* c = mgr.make_constant("c", mgr.bool_type);
  expect_no_value(mgr.make_array_write(mgr.make_ite(c, base, chain), zero, one));
  expect_no_value(mgr.make_ite(c, base, chain));
}

TEST_F(IsValue, WritesOfModelValues) {
  const DataType* type = mgr.get_array_type(sort, mgr.int_type);
  const Term* base = all(type, zero);
  expect(mgr.make_array_write(base, model_value, one), false, true);
  expect_no_value(mgr.make_array_write(base, u, one));
}

TEST_F(IsValue, NestedArrays) {
  const DataType* nested = mgr.get_array_type(mgr.int_type, ints);
  const Term* inner = all(ints, zero);
  const Term* open_inner = all(ints, i);
  expect_value(all(nested, inner));
  expect_no_value(all(nested, open_inner));
  expect_value(mgr.make_array_write(all(nested, inner), one, inner));
  expect_no_value(mgr.make_array_write(all(nested, inner), one, open_inner));
  expect_no_value(mgr.make_array_write(all(nested, open_inner), one, inner));
  const DataType* indexed = mgr.get_array_type(ints, mgr.int_type);
  expect_value(mgr.make_array_write(all(indexed, zero), inner, one));
  expect_no_value(mgr.make_array_write(all(indexed, zero), open_inner, one));
}

TEST_F(IsValue, LongChains) {
  const Term* value = all(ints, zero);
  const Term* open = mgr.make_constant("a", ints);
  for (int k = 0; k < 1000000; ++k) {
    value = mgr.make_array_write(value, one, zero);
    open = mgr.make_array_write(open, one, zero);
  }
  expect_value(value);
  expect_no_value(open);
}

TEST_F(IsValue, DeepNesting) {
  const DataType* type = mgr.int_type;
  const Term* value = zero;
  const Term* open = i;
  for (int k = 0; k < 100000; ++k) {
    type = mgr.get_array_type(mgr.int_type, type);
    value = all(type, value);
    open = all(type, open);
  }
  expect_value(value);
  expect_no_value(open);
}

TEST_F(IsValue, SharedNestingIsNotExpanded) {
  const DataType* type = mgr.int_type;
  const Term* value = zero;
  for (int k = 0; k < 60; ++k) {
    const DataType* next = mgr.get_array_type(type, type);
    const Term* base = all(next, value);
    value = mgr.make_array_write(base, value, value);
    type = next;
  }
  expect_value(value);
}

}  // namespace
}  // namespace quarv
