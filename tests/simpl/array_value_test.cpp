#include <cstdint>
#include <random>

#include "simpl/arith/arith_fixture.h"
#include "support/test_scale.h"
#include <quarv/simpl/array_value.h>

namespace quarv {
namespace {

using termsimpl::compare_array_values;
using termsimpl::Comparison;

class ArrayValueTest : public ArithFixture {
 protected:
  const Term* all(const DataType* type, const Term* element) {
    return mgr.do_make_term(mgr.make_array_const_symbol(type), {element});
  }
  const Term* write(const Term* array, const Term* index, const Term* element) {
    return mgr.do_make_term(mgr.make_array_write_symbol(mgr.type_of(array)), {array, index, element});
  }
  const Term* bits(int value, std::size_t width) { return mgr.make_bv_number(value, width); }
  Comparison compare(const Term* a, const Term* b) { return compare_array_values(&mgr, a, b); }

  const DataType* ints = mgr.get_array_type(mgr.int_type, mgr.int_type);
  const DataType* sort = mgr.declare_sort("U");
};

/// Array values with all chains of up to `max_writes` writes, and the function that each denotes, one bit for
/// each index.
struct Chain {
  const Term* term;
  std::uint32_t function;
};

class SmallArrays : public ArrayValueTest {
 protected:
  std::vector<Chain> chains(std::size_t width, int max_writes) {
    const DataType* type = mgr.get_array_type(mgr.get_bv_type(width), mgr.get_bv_type(1));
    const int size = 1 << width;
    std::vector<Chain> result{{all(type, bits(0, 1)), 0}, {all(type, bits(1, 1)), (1U << size) - 1}};
    std::size_t begin = 0;
    for (int n = 0; n < max_writes; ++n) {
      const std::size_t end = result.size();
      for (; begin < end; ++begin) {
        for (int index = 0; index < size; ++index) {
          for (int element = 0; element < 2; ++element) {
            const Chain c = result[begin];
            const std::uint32_t bit = 1U << index;
            result.push_back({write(c.term, bits(index, width), bits(element, 1)),
                              element != 0 ? c.function | bit : c.function & ~bit});
          }
        }
      }
    }
    return result;
  }
};

TEST_F(SmallArrays, OneBitIndicesAgreeWithBruteForce) {
  const std::vector<Chain> arrays = chains(1, 4);
  for (const Chain& a : arrays) {
    for (const Chain& b : arrays) {
      ASSERT_EQ(compare(a.term, b.term),
                a.function == b.function ? Comparison::equal : Comparison::different);
    }
  }
}

TEST_F(SmallArrays, TwoBitIndicesAgreeWithBruteForce) {
  const std::vector<Chain> arrays = chains(2, 3);
  for (const Chain& a : one_in_when_sanitized(7, arrays)) {
    for (const Chain& b : arrays) {
      ASSERT_EQ(compare(a.term, b.term),
                a.function == b.function ? Comparison::equal : Comparison::different);
    }
  }
}

TEST_F(SmallArrays, AllTwoBitFunctionsWrittenInFull) {
  // Every function as four writes, in ascending and in descending order, over either default.
  const DataType* type = mgr.get_array_type(mgr.get_bv_type(2), mgr.get_bv_type(1));
  std::vector<Chain> arrays;
  for (std::uint32_t function = 0; function < 16; ++function) {
    for (int variant = 0; variant < 4; ++variant) {
      const Term* t = all(type, bits(variant / 2, 1));
      for (int n = 0; n < 4; ++n) {
        const int index = variant % 2 == 0 ? n : 3 - n;
        t = write(t, bits(index, 2), bits(function >> index & 1, 1));
      }
      arrays.push_back({t, function});
    }
  }
  const Symbol* equality = mgr.make_equal_symbol(type);
  for (const Chain& a : arrays) {
    for (const Chain& b : arrays) {
      ASSERT_EQ(simplify(equality, {a.term, b.term}), mgr.make_bool(a.function == b.function));
    }
  }
}

TEST_F(ArrayValueTest, DefaultsDecideWhereIndicesAreLeftOut) {
  const Term* zero = all(ints, number(0));
  const Term* one = all(ints, number(1));
  EXPECT_EQ(compare(write(zero, number(3), number(1)), one), Comparison::different);
  EXPECT_EQ(compare(write(zero, number(3), number(0)), zero), Comparison::equal);
  EXPECT_EQ(compare(write(zero, number(3), number(1)), write(zero, number(4), number(1))),
            Comparison::different);
  const DataType* flags = mgr.get_array_type(mgr.bool_type, mgr.int_type);
  const Term* covered =
      write(write(all(flags, number(0)), mgr.true_term, number(1)), mgr.false_term, number(1));
  EXPECT_EQ(compare(covered, all(flags, number(1))), Comparison::equal);
  EXPECT_EQ(compare(covered, all(flags, number(2))), Comparison::different);
}

TEST_F(ArrayValueTest, RoundingModesAreFive) {
  const DataType* type = mgr.get_array_type(mgr.rounding_mode_type, mgr.int_type);
  const Term* a = all(type, number(0));
  for (const Term* mode : {mgr.make_rounding_even(), mgr.make_rounding_zero(), mgr.make_rounding_plus_inf(),
                           mgr.make_rounding_minus_inf()}) {
    a = write(a, mode, number(1));
  }
  EXPECT_EQ(compare(a, all(type, number(1))), Comparison::different) << "ties away is left out";
}

TEST_F(ArrayValueTest, TheLastWriteCounts) {
  const Term* zero = all(ints, number(0));
  const Term* twice =
      write(write(write(zero, number(1), number(5)), number(2), number(6)), number(1), number(7));
  const Term* once = write(write(zero, number(1), number(7)), number(2), number(6));
  EXPECT_EQ(compare(twice, once), Comparison::equal);
  EXPECT_EQ(compare(twice, write(once, number(1), number(5))), Comparison::different);
}

TEST_F(ArrayValueTest, UndecidedElements) {
  const DataType* type = mgr.get_array_type(mgr.int_type, sort);
  const Term* u = constant("@u", sort);
  const Term* v = constant("@v", sort);
  EXPECT_EQ(compare(write(all(type, u), number(0), v), all(type, u)), Comparison::undecided);
  EXPECT_EQ(compare(write(all(type, u), number(0), v), write(all(type, u), number(0), v)), Comparison::equal);
  const Term* a = write(all(type, u), number(0), v);
  EXPECT_EQ(simplify(mgr.make_equal_symbol(type), {a, all(type, u)})->symbol, mgr.make_equal_symbol(type));
}

TEST_F(ArrayValueTest, ModelValuesMayCoincide) {
  const DataType* type = mgr.get_array_type(sort, mgr.int_type);
  const Term* u = constant("@u", sort);
  const Term* v = constant("@v", sort);
  const Term* zero = all(type, number(0));
  // One index: it is the same on both sides.
  EXPECT_EQ(compare(write(zero, u, number(1)), write(zero, u, number(2))), Comparison::different);
  // The sort may have one element only, which makes the defaults irrelevant.
  EXPECT_EQ(compare(write(zero, u, number(1)), write(all(type, number(2)), u, number(1))),
            Comparison::undecided);
  // If @u and @v are one element, the order of the writes counts.
  const Term* uv = write(write(zero, u, number(1)), v, number(2));
  const Term* vu = write(write(zero, v, number(2)), u, number(1));
  EXPECT_EQ(compare(uv, vu), Comparison::undecided);
}

TEST_F(ArrayValueTest, NestedArrays) {
  const DataType* matrix = mgr.get_array_type(mgr.int_type, ints);
  const Term* zero = all(ints, number(0));
  const Term* row = write(write(zero, number(1), number(1)), number(2), number(2));
  const Term* same_row = write(write(zero, number(2), number(2)), number(1), number(1));
  const Term* other_row = write(row, number(2), number(3));
  const Term* a = write(all(matrix, zero), number(0), row);
  EXPECT_EQ(compare(a, write(all(matrix, zero), number(0), same_row)), Comparison::equal);
  EXPECT_EQ(compare(a, write(all(matrix, zero), number(0), other_row)), Comparison::different);
  EXPECT_EQ(compare(a, all(matrix, zero)), Comparison::different);
}

TEST_F(ArrayValueTest, ArraysAsIndices) {
  const DataType* bit_array = mgr.get_array_type(mgr.get_bv_type(1), mgr.get_bv_type(1));
  const DataType* type = mgr.get_array_type(bit_array, mgr.int_type);
  const Term* zeros = all(bit_array, bits(0, 1));
  const Term* zeros_too = write(zeros, bits(1, 1), bits(0, 1));
  const Term* ones = all(bit_array, bits(1, 1));
  const Term* base = all(type, number(0));
  EXPECT_EQ(compare(write(write(base, zeros, number(1)), zeros_too, number(2)),
                    write(write(base, zeros_too, number(2)), zeros, number(1))),
            Comparison::undecided);
  EXPECT_EQ(compare(write(write(base, zeros, number(1)), ones, number(2)),
                    write(write(base, ones, number(2)), zeros, number(1))),
            Comparison::equal);
  // Four functions exist from one bit to one bit.
  const Term* a = base;
  const Term* first = write(zeros, bits(0, 1), bits(1, 1));
  const Term* second = write(zeros, bits(1, 1), bits(1, 1));
  for (const Term* index : {zeros, ones, first}) a = write(a, index, number(1));
  EXPECT_EQ(compare(a, all(type, number(1))), Comparison::different);
  EXPECT_EQ(compare(write(a, second, number(1)), all(type, number(1))), Comparison::equal);
}

/// Random values of nested array types over one bit, with the function that each denotes written out.
class NestedArrayValues : public ArrayValueTest {
 protected:
  using Value = std::vector<int>;  // the elements' codes, by the index's code

  struct Sample {
    const Term* term;
    int code;
  };

  /// How many values the type has.
  int size(const DataType* type) {
    if (mgr.is_bv_type(type)) return 2;
    int result = 1;
    for (int n = 0; n < size(type->get_component(1)); ++n) result *= size(type->get_component(2));
    return result;
  }

  Sample sample(const DataType* type) {
    if (mgr.is_bv_type(type)) {
      const int code = below(2);
      return {bits(code, 1), code};
    }
    const Sample elsewhere = sample(type->get_component(2));
    const Term* term = all(type, elsewhere.term);
    Value elements(size(type->get_component(1)), elsewhere.code);
    for (int n = below(4); n > 0; --n) {
      const Sample index = sample(type->get_component(1));
      const Sample element = sample(type->get_component(2));
      term = write(term, index.term, element.term);
      elements[index.code] = element.code;
    }
    int code = 0;
    for (const int element : elements) code = code * size(type->get_component(2)) + element;
    return {term, code};
  }

  int below(int n) { return static_cast<int>(random_() % n); }

  /// Compares random pairs and counts the verdicts, none of which may be wrong.
  int undecided_of(const DataType* type, int pairs) {
    int undecided = 0;
    for (int n = 0; n < pairs; ++n) {
      const Sample a = sample(type);
      const Sample b = sample(type);
      const Comparison verdict = compare(a.term, b.term);
      undecided += verdict == Comparison::undecided;
      if (verdict != Comparison::undecided) {
        EXPECT_EQ(verdict == Comparison::equal, a.code == b.code);
      }
    }
    return undecided;
  }

  std::mt19937 random_{3};
};

TEST_F(NestedArrayValues, AgreeWithBruteForce) {
  const DataType* bit = mgr.get_bv_type(1);
  const DataType* bit_array = mgr.get_array_type(bit, bit);
  EXPECT_EQ(undecided_of(mgr.get_array_type(bit, bit_array), 20000), 0);
  EXPECT_EQ(undecided_of(mgr.get_array_type(bit, mgr.get_array_type(bit, bit_array)), 20000), 0);
  // Arrays as indices may be equal without being the same term.
  EXPECT_LT(undecided_of(mgr.get_array_type(bit_array, bit), 20000), 16000);
  EXPECT_LT(undecided_of(mgr.get_array_type(bit_array, bit_array), 20000), 16000);
}

TEST_F(ArrayValueTest, ExponentiallySharedContentsEnd) {
  const DataType* type = ints;
  const Term* a = write(all(ints, number(0)), number(1), number(1));
  const Term* b = write(a, number(0), number(0));
  for (int level = 0; level < 50; ++level) {
    type = mgr.get_array_type(mgr.int_type, type);
    const Term* next_a = write(write(all(type, a), number(0), b), number(1), a);
    const Term* next_b = write(write(all(type, b), number(0), a), number(1), b);
    a = next_a;
    b = next_b;
  }
  EXPECT_NE(compare(a, b), Comparison::different);
}

TEST_F(ArrayValueTest, DeepNestingIsLeftAlone) {
  const DataType* type = ints;
  const Term* a = write(all(ints, number(0)), number(1), number(1));
  const Term* b = write(a, number(2), number(2));
  for (int level = 0; level < num_cases(20000); ++level) {
    type = mgr.get_array_type(mgr.int_type, type);
    a = write(all(type, a), number(0), a);
    b = write(all(type, b), number(1), b);
  }
  const Symbol* equality = mgr.make_equal_symbol(type);
  EXPECT_EQ(simplify(equality, {a, b}), mgr.do_make_term(equality, {a, b}));
}

TEST_F(ArrayValueTest, AMillionWrites) {
  const Term* a = all(ints, number(0));
  const Term* b = a;
  const long n = num_cases(1000000L);
  for (long k = 0; k < n; ++k) a = write(a, number(k), number(k & 1));
  for (long k = n; k-- > 0;) b = write(b, number(k), number(k & 1));
  const Symbol* equality = mgr.make_equal_symbol(ints);
  EXPECT_EQ(simplify(equality, {a, b}), mgr.true_term);
  EXPECT_EQ(simplify(equality, {a, write(b, number(0), number(1))}), mgr.false_term);
}

}  // namespace
}  // namespace quarv
