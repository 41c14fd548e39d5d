// What is made since a mark is given back, and nothing else is touched.
#include <functional>
#include <string>
#include <support/allocation_counter.h>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

/// Builds something of every kind; the more, the larger `n` is.
std::vector<const Term*> build_all(TermManager& m, int n) {
  std::vector<const Term*> made;
  const auto keep = [&made](const Term* t) {
    made.push_back(t);
    return t;
  };
  for (int i = 0; i < n; ++i) {
    const std::string suffix = std::to_string(i);
    const std::size_t width = static_cast<std::size_t>(i) + 3;
    const Term* x = keep(m.make_constant("x" + suffix, m.get_bv_type(width)));
    const Term* p = keep(m.make_constant("p" + suffix, m.bool_type));
    const Term* k = keep(m.make_constant("k" + suffix, m.int_type));
    keep(m.make_bv_add(x, m.make_bv_number(i % 8, width)));
    keep(m.make_not(p));
    keep(m.make_bv_zero_extend(width, x));
    keep(m.make_number(QNumber(100000L + i)));
    keep(m.make_number(QNumber(i)));
    keep(m.make_number(QNumber::parse("1234567890123456789012345678901234567890") + QNumber(i)));
    keep(m.make_number(QNumber(1, 7 + i)));
    keep(m.make_equal(x, x));
    keep(m.make_ite(p, x, x));
    keep(m.make_int_mod_congr(QNumber(5 + i), k, k));
    const DataType* array = m.get_array_type(m.get_bv_type(width), m.int_type);
    const Term* a = keep(m.make_array_const(array, k));
    keep(m.make_array_read(keep(m.make_array_write(a, x, k)), x));
    const DataType* sort = m.declare_sort("S" + suffix);
    const Symbol* f = m.declare_fun("f" + suffix, {sort, m.int_type}, sort);
    keep(m.make_term(f, {m.make_constant("s" + suffix, sort), k}));
    keep(m.make_fp_isnan(m.make_constant("r" + suffix, m.get_fp_type(width, width))));
    keep(m.make_term(m.make_opaque_symbol("op" + suffix, {m.int_type}, m.int_type), {k}));
    const Term* b = m.fresh_bound_variable("b", m.bool_type);
    keep(m.make_quantifier("forall", {&b, 1}, b));
    const Attribute named[] = {{":named", "n" + suffix, 0}};
    keep(m.make_annotation(p, named, {}));
    keep(m.make_term(m.fresh_fun("f", {{m.int_type}}, m.int_type), {k}));
  }
  return made;
}

std::vector<std::uint64_t> ids(const std::vector<const Term*>& terms) {
  std::vector<std::uint64_t> result;
  for (const Term* t : terms) result.push_back(t->id);
  return result;
}

TEST(Marks, WhatIsReleasedCanBeMadeAgain) {
  for (const int before : {0, 1, 7}) {
    for (const int n : {1, 3, 200}) {
      TermManager m;
      build_all(m, before);
      const std::size_t terms = m.num_terms(), numbers = m.numbers.size();
      const std::size_t equalities = m.equality_symbols.size(), bytes = m.number_bytes();
      const TermMark first = m.mark();
      const std::vector<std::uint64_t> once = ids(build_all(m, n));
      m.release(first);
      EXPECT_EQ(m.num_terms(), terms);
      EXPECT_EQ(m.numbers.size(), numbers);
      EXPECT_EQ(m.equality_symbols.size(), equalities);
      EXPECT_EQ(m.number_bytes(), bytes);
      const TermMark second = m.mark();
      EXPECT_EQ(ids(build_all(m, n)), once) << "terms are numbered as they were";
      m.release(second);
      EXPECT_EQ(m.num_terms(), terms);
    }
  }
}

TEST(Marks, WhatWasThereStaysTheSame) {
  TermManager m;
  const std::vector<const Term*> kept = build_all(m, 20);
  for (const int n : {1, 21, 100, 3000}) {
    const TermMark mark = m.mark();
    build_all(m, n);
    m.release(mark);
    TermManager again;  // the same calls, without what came between
    const std::vector<const Term*> fresh = build_all(again, 20);
    for (std::size_t i = 0; i < kept.size(); ++i) {
      ASSERT_EQ(kept[i]->id, fresh[i]->id);
      if (m.is_quantifier(kept[i]->symbol) || m.arity(kept[i]) == 0) continue;
      ASSERT_EQ(m.do_make_term(kept[i]->symbol, m.args_of(kept[i])), kept[i]);
    }
    EXPECT_EQ(m.make_constant("x3", m.get_bv_type(6)), kept[kept.size() / 20 * 3]);
  }
}

/// A constant that was declared before, but of which there was no term.
TEST(Marks, AnOldSymbolHasNoTermAfterwards) {
  TermManager m;
  const Symbol* s = m.declare_fun("late", {}, m.int_type);
  const TermMark mark = m.mark();
  const std::uint64_t id = m.make_term(s)->id;
  m.make_number(QNumber(3));
  m.release(mark);
  m.make_constant("other", m.int_type);
  EXPECT_EQ(m.make_term(s)->id, id + 1);
}

TEST(Marks, AreNested) {
  TermManager m;
  const TermMark outer = m.mark();
  EXPECT_EQ(m.first_mark(), m.num_terms());
  const Term* x = m.make_constant("x", m.bool_type);
  const TermMark inner = m.mark();
  EXPECT_EQ(m.last_mark(), m.num_terms());
  m.make_not(x);
  m.release(inner);
  EXPECT_EQ(m.make_constant("x", m.bool_type), x);
  EXPECT_THROW(m.release(inner), std::invalid_argument);
  const TermMark other = m.mark();
  EXPECT_THROW(m.release(inner), std::invalid_argument) << "not the mark that stands in its place";
  m.release(outer);
  EXPECT_THROW(m.release(other), std::invalid_argument);
  EXPECT_THROW(m.release(TermMark()), std::invalid_argument);
  EXPECT_GT(m.last_mark(), m.num_terms());
}

TEST(Marks, SayWhichTermsHaveStayed) {
  TermManager m;
  const std::uint64_t start = m.num_releases();
  const Term* x = m.make_constant("x", m.bool_type);
  const TermMark a = m.mark();
  const Term* y = m.make_not(x);
  const std::uint64_t y_id = y->id;
  const TermMark b = m.mark();
  m.make_not(y);
  EXPECT_EQ(m.num_kept_since(start), m.num_terms());
  m.release(b);
  const std::uint64_t middle = m.num_releases();
  EXPECT_EQ(m.num_kept_since(start), y_id + 1);
  m.make_not(y);
  EXPECT_EQ(m.num_kept_since(start), y_id + 1);
  EXPECT_EQ(m.num_kept_since(middle), y_id + 2);
  m.release(a);
  EXPECT_EQ(m.num_kept_since(start), x->id + 1);
  EXPECT_EQ(m.num_kept_since(middle), x->id + 1);
  EXPECT_EQ(m.num_kept_since(m.num_releases()), m.num_terms());
}

/// A million terms, many times, in the memory of the first time.
TEST(Marks, MemoryIsThatOfBefore) {
  TermManager m;
  std::vector<const Term*> variables;
  for (int i = 0; i < 1000; ++i) variables.push_back(m.make_constant("x" + std::to_string(i), m.int_type));
  const auto use = [&](std::size_t rows) {
    const TermMark mark = m.mark();
    for (std::size_t i = 0; i < rows; ++i) {
      for (const Term* b : variables) m.make_plus(variables[i], b);
      m.make_number(QNumber(5000L + static_cast<long>(i)));
    }
    m.release(mark);
  };
  const TermMemory before = m.memory();
  use(1000);
  const TermMemory after = m.memory();
  EXPECT_EQ(after.numbers, before.numbers);
  EXPECT_EQ(after.tables, before.tables);
  EXPECT_LE(after.terms, before.terms + (std::size_t{5} << 20)) << "one chunk is kept";
  use(1000);
  const std::size_t total = m.memory().total();
  const long allocations = allocation_count();
  use(1000);
  const long each = allocation_count() - allocations;
  for (int i = 0; i < 7; ++i) use(1000);
  EXPECT_EQ(m.memory().total(), total);
  EXPECT_LE(allocation_count() - allocations, 8 * each);
}

/// Work that is small beside what is kept.
TEST(Marks, TakeTimeForWhatIsReleasedAlone) {
  TermManager m;
  std::vector<const Term*> variables;
  for (int i = 0; i < 1000; ++i) variables.push_back(m.make_constant("x" + std::to_string(i), m.int_type));
  for (const Term* a : variables) {
    for (const Term* b : variables) m.make_plus(a, b);
  }
  const std::size_t terms = m.num_terms();
  const long allocations = allocation_count();
  // If each took the time of a million terms, this would not end.
  for (int i = 0; i < 1000000; ++i) {
    const TermMark mark = m.mark();
    m.make_leq(variables[static_cast<std::size_t>(i) % 1000], variables[0]);
    m.release(mark);
  }
  EXPECT_EQ(m.num_terms(), terms);
  EXPECT_LE(allocation_count() - allocations, 20);
}

TEST(Marks, ReleaseManyOrFewOfALargeTable) {
  TermManager m;
  std::vector<const Term*> variables;
  for (int i = 0; i < 300; ++i) variables.push_back(m.make_constant("x" + std::to_string(i), m.int_type));
  std::vector<const Term*> kept;
  for (std::size_t n = 1; n < 300; n = n * 3 / 2 + 1) {
    const TermMark mark = m.mark();
    for (std::size_t i = 0; i < n; ++i) {
      for (const Term* b : variables) m.make_times(variables[i], b);
    }
    m.release(mark);
    for (const Term* b : variables) kept.push_back(m.make_plus(variables[n], b));
    for (const Term* t : kept) ASSERT_EQ(m.make_plus(t->args[0], t->args[1]), t);
  }
}

TEST(MemoryLimit, ThrowsAndLeavesTheManagerUsable) {
  TermManager m;
  const Term* x = m.make_constant("x", m.bool_type);
  m.set_memory_limit(m.memory().total() + (1 << 20));
  const TermMark mark = m.mark();
  const Term* last = x;
  std::size_t made = 0;
  EXPECT_THROW(
      {
        for (; made < 1000000; ++made) last = m.make_not(last);
      },
      MemoryLimitReached);
  EXPECT_GT(made, 1000U);
  EXPECT_LT(made, 1000000U);
  EXPECT_LE(m.memory().total(), (3U << 20));
  EXPECT_EQ(m.make_not(x), m.make_not(x));
  EXPECT_EQ(last->id + 1, m.num_terms());
  m.release(mark);
  EXPECT_NE(m.make_not(m.make_constant("y", m.bool_type)), nullptr);
  m.set_memory_limit(MemoryAccount::no_limit);
  for (last = x, made = 0; made < 100000; ++made) last = m.make_not(last);
}

TEST(MemoryLimit, HoldsForNumbersAndTables) {
  TermManager m;
  m.set_memory_limit(m.memory().total() + (1 << 20));
  QNumber large(1);
  for (int i = 0; i < 20; ++i) large = large * large + QNumber(3);
  EXPECT_THROW(
      {
        for (long i = 0; i < 1000; ++i) m.make_number(large + QNumber(i));
      },
      std::bad_alloc);
  const std::size_t numbers = m.numbers.size();
  EXPECT_NE(m.make_number(QNumber(7)), nullptr);
  EXPECT_LE(m.numbers.size(), numbers + 1);
}

TEST(MemoryLimit, BelowWhatIsThereRefusesWhatIsNew) {
  TermManager m;
  const Term* x = m.make_constant("x", m.bool_type);
  const Term* t = m.make_not(x);
  m.set_memory_limit(0);
  EXPECT_EQ(m.make_not(x), t);
  const std::size_t terms = m.num_terms();
  EXPECT_THROW(m.make_number(QNumber(7)), MemoryLimitReached);
  EXPECT_EQ(m.num_terms(), terms);
  m.set_memory_limit(MemoryAccount::no_limit);
  EXPECT_EQ(m.make_number(QNumber(7))->id, terms);
}

}  // namespace
}  // namespace quarv
