// What building terms asks of the heap, and what is left behind when it says no.
#include <functional>
#include <new>
#include <string>
#include <support/allocation_counter.h>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

using Tag = SymbolTag;

template <class Action>
long allocations_of(Action action) {
  const long before = allocation_count();
  action();
  return allocation_count() - before;
}

TEST(TermMemory, AMillionTermsTakeAFewDozenAllocations) {
  TermManager mgr;
  const DataType* type = mgr.get_bv_type(32);
  std::vector<const Term*> variables;
  for (int i = 0; i < 1000; ++i) variables.push_back(mgr.make_constant("x" + std::to_string(i), type));
  const auto build = [&] {
    for (const Term* a : variables) {
      for (const Term* b : variables) mgr.make_bv_add(a, b);
    }
  };
  const std::size_t before = mgr.num_terms();
  // Terms of 32 bytes in chunks of a megabyte, and some doublings of the table.
  EXPECT_LE(allocations_of(build), 60);
  EXPECT_EQ(mgr.num_terms(), before + 1000000);
  EXPECT_EQ(allocations_of(build), 0);
  EXPECT_EQ(mgr.num_terms(), before + 1000000);
}

TEST(TermMemory, AMillionNumeralsTakeAFewHundredAllocations) {
  TermManager mgr;
  const DataType* type = mgr.get_bv_type(64);
  const auto build = [&] {
    for (long i = 0; i < 1000000; ++i) mgr.make_bv_number(QNumber(i), 64);
  };
  // A numeral is a term, a symbol, a slot in two tables, and a node of 32 bytes from chunks of 8192 nodes.
  EXPECT_LE(allocations_of(build), 400);
  EXPECT_EQ(allocations_of(build), 0);
  EXPECT_EQ(mgr.numbers.size(), 1000000U);
  EXPECT_EQ(mgr.type_of(mgr.make_bv_number(5, 64)), type);
}

TEST(TermMemory, NoConstructorAllocatesInSteadyState) {
  TermManager mgr;
  const Term* c = mgr.make_constant("c", mgr.bool_type);
  const Term* i = mgr.make_constant("i", mgr.int_type);
  const Term* j = mgr.make_constant("j", mgr.int_type);
  const DataType* v_type = mgr.get_bv_type(16);
  const Term* v = mgr.make_constant("v", v_type);
  const Term* f = mgr.make_constant("f", mgr.get_fp_type(5, 10));
  const DataType* array_type = mgr.get_array_type(mgr.int_type, mgr.int_type);
  const Term* array = mgr.make_constant("a", array_type);
  const Symbol* function = mgr.declare_fun("f", {mgr.int_type}, mgr.int_type);
  const Term* rne = mgr.make_rounding_even();
  const auto build = [&] {
    mgr.make_not(c);
    mgr.make_ite(c, i, j);
    mgr.make_equal(i, j);
    mgr.make_equal(array, array);
    mgr.make_plus(i, j);
    mgr.make_int_mod_congr(7, i, j);
    mgr.make_number(3);
    mgr.make_bv_number(3, 16);
    mgr.make_fp_bits_number(3, 5, 10);
    mgr.make_bv_extract(3, 1, v);
    mgr.make_bv_concat(v, v);
    mgr.make_bv_zero_extend(3, v);
    mgr.make_int_to_bv(5, i);
    mgr.make_array_read(array, i);
    mgr.make_array_write(array, i, j);
    mgr.make_array_const(array_type, i);
    mgr.make_fp_add(rne, f, f);
    mgr.make_fp_cast(8, 23, rne, f);
    mgr.make_fp_to_sbv(8, rne, f);
    mgr.make_fp_from_ieeebv(5, 10, v);
    mgr.make_term(function, {i});
    mgr.make_term(mgr.make_opaque_symbol("a name longer than a string holds in place", {v_type}, v_type),
                  {v});
    mgr.make_array_read(mgr.make_array_const(mgr.get_array_type(v_type, mgr.int_type), i), v);
  };
  build();
  EXPECT_EQ(allocations_of(build), 0);
}

/// Checks that a construction which runs out of memory, at whichever allocation, changes nothing that can be
/// seen and succeeds afterwards.
class OutOfMemory : public ::testing::Test {
 protected:
  using Build = std::function<const Term*()>;

  const Term* build_in_spite_of_failures(const Build& build) {
    for (long successes = 0;; ++successes) {
      const std::size_t terms = mgr.num_terms();
      const std::size_t numbers = mgr.numbers.size();
      try {
        const FailAllocations fail(successes);
        return build();
      } catch (const std::bad_alloc&) {
        ++failures;
      }
      // A numeral that belongs to the operator's symbol may stand already, but then it does so entirely.
      if (mgr.numbers.size() != numbers) {
        EXPECT_EQ(mgr.num_terms(), terms + 1);
        EXPECT_EQ(mgr.numbers.size(), numbers + 1);
      } else {
        EXPECT_EQ(mgr.num_terms(), terms);
      }
    }
  }

  TermManager mgr;
  long failures = 0;
};

TEST_F(OutOfMemory, Terms) {
  std::vector<const Term*> terms{mgr.make_constant("x", mgr.bool_type)};
  for (int i = 0; i < 20000; ++i) {
    const Term* last = terms.back();
    terms.push_back(build_in_spite_of_failures([&] { return mgr.make_not(last); }));
    ASSERT_EQ(terms.back()->id, last->id + 1);
  }
  EXPECT_GE(failures, 8) << "the arena and the table must have grown under it";
  for (std::size_t i = 1; i < terms.size(); ++i) ASSERT_EQ(mgr.make_not(terms[i - 1]), terms[i]);
}

TEST_F(OutOfMemory, Numerals) {
  std::vector<const Term*> terms;
  const auto value = [](long i) {
    return i % 8 == 0 ? QNumber::parse("123456789012345678901234567890") + QNumber(i) : QNumber(i, 7);
  };
  for (long i = 0; i < 10000; ++i) {
    const QNumber v = value(i);
    terms.push_back(build_in_spite_of_failures([&] { return mgr.make_number(v); }));
    ASSERT_EQ(terms.back()->id + 1, mgr.num_terms());
  }
  EXPECT_GE(failures, 20);
  EXPECT_EQ(mgr.numbers.size(), terms.size());
  for (long i = 0; i < 10000; ++i) {
    const Term* t = terms[static_cast<std::size_t>(i)];
    ASSERT_EQ(mgr.make_number(value(i)), t);
    ASSERT_EQ(*mgr.get_number(t), value(i));
  }
}

TEST_F(OutOfMemory, SymbolsAndTypes) {
  const Term* x = mgr.make_constant("x", mgr.bool_type);
  const Term* bound = mgr.fresh_bound_variable("b", mgr.bool_type);
  const Term* const bounds[] = {bound};
  const Attribute named[] = {{":named", "a name that does not fit into the string object itself", 0}};
  const std::vector<Build> builds{
      [&] { return mgr.make_constant("a long name, so that its copies need memory", mgr.int_type); },
      [&] { return mgr.make_constant("v", mgr.get_bv_type(77)); },
      [&] { return mgr.make_constant("f", mgr.get_fp_type(3, 4)); },
      [&] { return mgr.make_constant("a", mgr.get_array_type(mgr.int_type, mgr.get_bv_type(78))); },
      [&] { return mgr.make_constant("u", mgr.declare_sort("A long name of an uninterpreted sort")); },
      [&] { return mgr.make_bv_not(mgr.make_constant("v", mgr.get_bv_type(77))); },
      [&] {
        const Term* v = mgr.make_constant("v", mgr.get_bv_type(77));
        return mgr.make_equal(v, v);
      },
      [&] {
        const Term* i = mgr.make_constant("i", mgr.int_type);
        return mgr.make_int_mod_congr(12345, i, i);
      },
      [&] { return mgr.make_quantifier("forall", bounds, x); },
      [&] { return mgr.make_annotation(x, named, {}); },
      [&] {
        return mgr.make_term(
            mgr.make_opaque_symbol("a long name of an operator", {mgr.bool_type}, mgr.bool_type), {x});
      },
  };
  for (const Build& build : builds) {
    const Term* t = nullptr;
    // Here partial progress is visible, for a declared constant is a term too; what counts is the result.
    for (long successes = 0; t == nullptr; ++successes) {
      try {
        const FailAllocations fail(successes);
        t = build();
      } catch (const std::bad_alloc&) {
        ++failures;
      }
    }
    const std::size_t terms = mgr.num_terms();
    EXPECT_EQ(build(), t);
    EXPECT_EQ(mgr.num_terms(), terms);
  }
  EXPECT_GE(failures, static_cast<long>(builds.size()));
}

TEST_F(OutOfMemory, ManyParameterSymbols) {
  std::vector<const Symbol*> symbols;
  for (std::size_t w = 1; w <= 500; ++w) {
    const Symbol* s = nullptr;
    for (long successes = 0; s == nullptr; ++successes) {
      try {
        const FailAllocations fail(successes);
        s = mgr.make_bv_symbol(Tag::BV_ADD, w);
      } catch (const std::bad_alloc&) {
        ++failures;
      }
    }
    symbols.push_back(s);
  }
  EXPECT_GE(failures, 500);
  for (std::size_t w = 1; w <= 500; ++w) EXPECT_EQ(mgr.make_bv_symbol(Tag::BV_ADD, w), symbols[w - 1]);
}

TEST_F(OutOfMemory, EqualitySymbolsAreFoundInTheirSet) {
  for (std::size_t w = 1; w <= 200; ++w) {
    const DataType* type = mgr.get_bv_type(w);
    const Symbol* s = nullptr;
    for (long successes = 0; s == nullptr; ++successes) {
      try {
        const FailAllocations fail(successes);
        s = mgr.make_equal_symbol(type);
      } catch (const std::bad_alloc&) {
        ++failures;
        EXPECT_EQ(mgr.equality_symbols.size(), w - 1);
      }
    }
    EXPECT_TRUE(mgr.equality_symbols.contains(s));
  }
  EXPECT_GE(failures, 2);
}

}  // namespace
}  // namespace quarv
