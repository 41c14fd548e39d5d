// The simplifying constructors ask the heap for nothing but room for the terms.
#include <functional>
#include <new>
#include <string>
#include <support/allocation_counter.h>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/numbers/gmp_bad_alloc.h>
#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

class SimplifiedTerms : public ::testing::Test {
 protected:
  using Build = std::function<const Term*(const Term*, const Term*)>;

  SimplifiedTerms() {
    termsimpl::register_standard_simplifications(&mgr, &simplifier);
    mgr.set_simplifier(&simplifier);
  }

  std::vector<const Term*> variables(const DataType* type) {
    std::vector<const Term*> result;
    for (int i = 0; i < 300; ++i) result.push_back(mgr.make_constant("x" + std::to_string(i), type));
    return result;
  }

  /// Builds some 90,000 terms over two variables each, and the same ones again.
  void expect_no_allocation_per_term(const char* what, const DataType* type, const Build& build) {
    SCOPED_TRACE(what);
    const std::vector<const Term*> x = variables(type);
    build(x[0], x[1]);
    const auto all = [&] {
      for (const Term* a : x) {
        for (const Term* b : x) build(a, b);
      }
    };
    const std::size_t terms = mgr.num_terms();
    const CountGmpAllocations count_gmp;
    const long start = allocation_count();
    all();
    const long first = allocation_count();
    EXPECT_GE(mgr.num_terms(), terms + 40000);
    EXPECT_LE(first - start, 30);
    const std::size_t after = mgr.num_terms();
    all();
    EXPECT_EQ(mgr.num_terms(), after);
    EXPECT_EQ(allocation_count(), first);
  }

  StdTermSimplifier simplifier;
  TermManager mgr;
};

TEST_F(SimplifiedTerms, Boolean) {
  const DataType* b = mgr.bool_type;
  expect_no_allocation_per_term("and", b, [&](auto x, auto y) { return mgr.make_and(x, y); });
  expect_no_allocation_per_term("or", b, [&](auto x, auto y) { return mgr.make_or(mgr.make_not(x), y); });
  expect_no_allocation_per_term("iff", b, [&](auto x, auto y) { return mgr.make_iff(x, y); });
  expect_no_allocation_per_term("ite", b, [&](auto x, auto y) { return mgr.make_ite(x, y, mgr.true_term); });
}

TEST_F(SimplifiedTerms, BitVectors) {
  const DataType* v = mgr.get_bv_type(32);
  const Term* five = mgr.make_bv_number(5, 32);
  expect_no_allocation_per_term("bvadd", v, [&](auto x, auto y) { return mgr.make_bv_add(x, y); });
  expect_no_allocation_per_term("bvmul", v, [&](auto x, auto y) {
    const Term* product = mgr.make_bv_mul(x, five);
    return mgr.make_bv_and(product, y);
  });
  expect_no_allocation_per_term("concat", v, [&](auto x, auto y) {
    const Term* high = mgr.make_bv_extract(7, 0, x);
    return mgr.make_bv_concat(high, y);
  });
  expect_no_allocation_per_term("bvult", v, [&](auto x, auto y) { return mgr.make_bv_ult(x, y); });
  expect_no_allocation_per_term("=", v, [&](auto x, auto y) { return mgr.make_equal(x, y); });
  expect_no_allocation_per_term("ubv_to_int", v, [&](auto x, auto y) {
    const Term* sum = mgr.make_bv_xor(x, y);
    return mgr.make_int_from_ubv(sum);
  });
}

TEST_F(SimplifiedTerms, Arithmetic) {
  const DataType* i = mgr.int_type;
  const Term* three = mgr.make_number(3);
  expect_no_allocation_per_term("+", i, [&](auto x, auto y) { return mgr.make_plus(x, y); });
  expect_no_allocation_per_term("*", i, [&](auto x, auto y) { return mgr.make_times(x, y); });
  expect_no_allocation_per_term("<=", i, [&](auto x, auto y) { return mgr.make_leq(x, y); });
  expect_no_allocation_per_term("= of sums", i, [&](auto x, auto y) {
    const Term* left = mgr.make_times(three, x);
    const Term* sum = mgr.make_plus(left, y);
    return mgr.make_equal(sum, x);
  });
  expect_no_allocation_per_term("divisible", i,
                                [&](auto x, auto y) { return mgr.make_int_mod_congr(7, x, y); });
}

TEST_F(SimplifiedTerms, FunctionsAndArrays) {
  const Symbol* f = mgr.declare_fun("f", {mgr.int_type, mgr.int_type}, mgr.int_type);
  expect_no_allocation_per_term("f", mgr.int_type, [&](auto x, auto y) {
    const Term* sum = mgr.make_plus(x, y);
    return mgr.make_term(f, {sum, y});
  });
  const Term* array = mgr.make_constant("a", mgr.get_array_type(mgr.int_type, mgr.int_type));
  expect_no_allocation_per_term("store", mgr.int_type, [&](auto x, auto y) {
    const Term* written = mgr.make_array_write(array, x, y);
    return mgr.make_array_read(written, y);
  });
}

TEST_F(SimplifiedTerms, FloatingPoint) {
  const DataType* type = mgr.get_fp_type(8, 23);
  const Term* rne = mgr.make_rounding_even();
  expect_no_allocation_per_term("fp.add", type, [&](auto x, auto y) { return mgr.make_fp_add(rne, x, y); });
  expect_no_allocation_per_term("fp.lt", type, [&](auto x, auto y) { return mgr.make_fp_lt(x, y); });
}

TEST_F(SimplifiedTerms, AMillionTermsTakeAFewDozenAllocations) {
  const DataType* type = mgr.get_bv_type(64);
  std::vector<const Term*> x;
  for (int i = 0; i < 1000; ++i) x.push_back(mgr.make_constant("y" + std::to_string(i), type));
  const auto build = [&] {
    for (const Term* a : x) {
      for (const Term* b : x) mgr.make_bv_sub(a, b);
    }
  };
  mgr.make_bv_sub(x[0], x[1]);
  const std::size_t terms = mgr.num_terms();
  const long start = allocation_count();
  build();
  const long first = allocation_count();
  EXPECT_EQ(mgr.num_terms(), terms + 999999);
  EXPECT_LE(first - start, 60);
  build();
  EXPECT_EQ(mgr.num_terms(), terms + 999999);
  EXPECT_EQ(allocation_count(), first);
}

/// The operands grow from one attempt to the next, so that no product finds room where the one before it was.
TEST_F(SimplifiedTerms, LackOfMemoryForAProductLeavesOperandsSound) {
  const GmpBadAlloc gmp;
  long failures = 0;
  for (long successes = 0, done = 0; done < 3; ++successes) {
    const std::size_t width = 1000 + 200 * static_cast<std::size_t>(successes);
    const Term* all_ones = mgr.make_bv_not(mgr.make_bv_number(0, width));
    const Term* product = nullptr;
    try {
      const FailAllocations fail(successes);
      product = mgr.make_bv_mul(all_ones, all_ones);
      ++done;
    } catch (const std::bad_alloc&) {
      ++failures;
    }
    const Term* again = mgr.make_bv_mul(all_ones, all_ones);
    EXPECT_EQ(again, mgr.make_bv_number(1, width));
    if (product != nullptr) {
      EXPECT_EQ(product, again);
    }
  }
  EXPECT_GT(failures, 0);
}

}  // namespace
}  // namespace quarv
