// Null pointers, terms of another manager, too few arguments: errors that say so, whatever the build.
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/sort_errors.h"
#include <quarv/rules/term_normalizer.h>
#include <quarv/term/dag_size.h>
#include <quarv/term/substitution.h>
#include <quarv/term/term_manager.h>
#include <quarv/term/translation.h>
#include <quarv/term/walk.h>

namespace quarv {
namespace {

class WrongArguments : public ::testing::Test {
 protected:
  using Make = std::function<const Term*(const Term*)>;

  TermManager m;
  TermManager other;
  const Term* p = m.make_constant("p", m.bool_type);
  const Term* v = m.make_constant("v", m.get_bv_type(8));
  const Term* k = m.make_constant("k", m.int_type);
  const Term* f = m.make_constant("f", m.get_fp_type(5, 10));
  const DataType* array_type = m.get_array_type(m.int_type, m.int_type);
  const Term* a = m.make_constant("a", array_type);
  const Term* rne = m.make_rounding_even();

  struct Case {
    const char* op;
    int position;
    const Term* foreign;
    Make make;
  };
  std::vector<Case> cases() {
    const Term* p2 = other.make_constant("p", other.bool_type);
    const Term* v2 = other.make_constant("v", other.get_bv_type(8));
    const Term* k2 = other.make_constant("k", other.int_type);
    const Term* f2 = other.make_constant("f", other.get_fp_type(5, 10));
    const Term* a2 = other.make_constant("a", other.get_array_type(other.int_type, other.int_type));
    return {
        {"not", 1, p2, [&](const Term* t) { return m.make_not(t); }},
        {"and", 1, p2, [&](const Term* t) { return m.make_and(t, p); }},
        {"and", 2, p2, [&](const Term* t) { return m.make_and(p, t); }},
        {"=", 1, v2, [&](const Term* t) { return m.make_equal(t, v); }},
        {"=", 2, v2, [&](const Term* t) { return m.make_equal(v, t); }},
        {"=", 1, v2, [&](const Term* t) { return m.make_equal(t, t); }},
        {"ite", 1, p2, [&](const Term* t) { return m.make_ite(t, v, v); }},
        {"ite", 2, v2, [&](const Term* t) { return m.make_ite(p, t, v); }},
        {"ite", 2, v2, [&](const Term* t) { return m.make_ite(p, t, t); }},
        {"ite", 3, v2, [&](const Term* t) { return m.make_ite(p, v, t); }},
        {"+", 1, k2, [&](const Term* t) { return m.make_plus(t, k); }},
        {"+", 2, k2, [&](const Term* t) { return m.make_plus(k, t); }},
        {"+", 1, k2, [&](const Term* t) { return m.make_plus(t, t); }},
        {"to_int", 1, k2, [&](const Term* t) { return m.make_floor(t); }},
        {"divisible", 2, k2, [&](const Term* t) { return m.make_int_mod_congr(3, k, t); }},
        {"bvnot", 1, v2, [&](const Term* t) { return m.make_bv_not(t); }},
        {"bvadd", 1, v2, [&](const Term* t) { return m.make_bv_add(t, v); }},
        {"bvadd", 2, v2, [&](const Term* t) { return m.make_bv_add(v, t); }},
        {"bvadd", 1, v2, [&](const Term* t) { return m.make_bv_add(t, t); }},
        {"concat", 2, v2, [&](const Term* t) { return m.make_bv_concat(v, t); }},
        {"extract", 1, v2, [&](const Term* t) { return m.make_bv_extract(1, 0, t); }},
        {"int_to_bv", 1, k2, [&](const Term* t) { return m.make_int_to_bv(8, t); }},
        {"select", 1, a2, [&](const Term* t) { return m.make_array_read(t, k); }},
        {"select", 2, k2, [&](const Term* t) { return m.make_array_read(a, t); }},
        {"store", 3, k2, [&](const Term* t) { return m.make_array_write(a, k, t); }},
        {"const", 1, k2, [&](const Term* t) { return m.make_array_const(array_type, t); }},
        {"fp.abs", 1, f2, [&](const Term* t) { return m.make_fp_abs(t); }},
        {"fp.eq", 2, f2, [&](const Term* t) { return m.make_fp_eq(f, t); }},
        {"fp.eq", 1, f2, [&](const Term* t) { return m.make_fp_eq(t, t); }},
        {"fp.add", 1, other.make_rounding_even(), [&](const Term* t) { return m.make_fp_add(t, f, f); }},
        {"fp.add", 2, f2, [&](const Term* t) { return m.make_fp_add(rne, t, f); }},
        {"to_fp (from bits)", 1, v2, [&](const Term* t) { return m.make_fp_from_ieeebv(3, 4, t); }},
        {"fp.to_ubv", 2, f2, [&](const Term* t) { return m.make_fp_to_ubv(8, rne, t); }},
        {"g", 1, k2,
         [&](const Term* t) { return m.make_term(m.declare_fun("g", {m.int_type}, m.int_type), {t}); }},
        {"forall", 1, p2, [&](const Term* t) { return m.make_quantifier("forall", {}, t); }},
    };
  }
};

TEST_F(WrongArguments, NullPointers) {
  for (const Case& c : cases()) {
    EXPECT_EQ(error_of([&] { c.make(nullptr); }),
              std::string(c.op) + ": argument " + std::to_string(c.position) + " is a null pointer");
  }
  EXPECT_EQ(error_of([&] { m.make_annotation(nullptr, {}, {}); }), "!: argument 1 is a null pointer");
}

TEST_F(WrongArguments, TermsOfAnotherManager) {
  for (const Case& c : cases()) {
    const std::size_t terms = m.num_terms();
    EXPECT_EQ(error_of([&] { c.make(c.foreign); }),
              std::string(c.op) + ": argument " + std::to_string(c.position) + " belongs to another manager");
    EXPECT_EQ(m.num_terms(), terms);
  }
}

TEST_F(WrongArguments, SymbolsOfAnotherManager) {
  const Symbol* g = other.declare_fun("g", {other.int_type}, other.int_type);
  const Term* k2 = other.make_constant("k", other.int_type);
  EXPECT_EQ(error_of([&] { m.make_term(g, {k2}); }), "g: the symbol belongs to another manager");
  EXPECT_EQ(error_of([&] { m.make_term(k2->symbol); }), "k: the symbol belongs to another manager");
}

TEST_F(WrongArguments, TheirNumber) {
  const Symbol* g = m.declare_fun("g", {m.int_type}, m.int_type);
  EXPECT_EQ(error_of([&] { m.make_term(g, {k, k}); }), "g: 2 arguments given, 1 expected");
  EXPECT_EQ(error_of([&] { m.do_make_term(g, {k, k}); }), "g: 2 arguments given, 1 expected");
  EXPECT_EQ(error_of([&] { m.do_make_term(m.and_symbol, {p}); }), "and: 1 argument given, 2 expected");
  EXPECT_EQ(error_of([&] { m.do_make_term(k->symbol, {k}); }), "k: 1 argument given, 0 expected");
}

TEST_F(WrongArguments, OfWalksAndTheNormalizer) {
  const Term* foreign = other.make_constant("k", other.int_type);
  TermNormalizer normalizer;
  const std::function<void(const Term*)> calls[] = {
      [&](const Term* t) { visit_post_order(m, t, [](const Term*) {}); },
      [&](const Term* t) { free_constants(m, t); },
      [&](const Term* t) { free_functions(m, t); },
      [&](const Term* t) { quarv::size(m, t); },
      [&](const Term* t) { tree_size(m, t); },
      [&](const Term* t) { depth(m, t); },
      [&](const Term* t) {
        dag_size(m, {&t, 1});
      },
      [&](const Term* t) { normalizer.normalize(&m, t); },
      [&](const Term* t) { substitute(m, t, Substitution(m)); },
      [&](const Term* t) { Substitution(m).set(k, t); },
      [&](const Term* t) { Substitution(m).set(t, k); },
  };
  for (const auto& call : calls) {
    const std::string null = error_of([&] { call(nullptr); }), mixed = error_of([&] { call(foreign); });
    EXPECT_TRUE(null.ends_with(": a term is a null pointer")) << null;
    EXPECT_TRUE(mixed.ends_with(": a term belongs to another manager")) << mixed;
  }
  EXPECT_EQ(normalizer.normalize(&m, k), k);
}

TEST_F(WrongArguments, OfTranslation) {
  TermManager third;
  Translator translate(m, other);
  const Term* null = nullptr;
  const DataType* no_sort = nullptr;
  const Symbol* no_symbol = nullptr;
  EXPECT_EQ(error_of([&] { translate(null); }), "translate: the term is a null pointer");
  EXPECT_EQ(error_of([&] { translate(no_sort); }), "translate: a sort is a null pointer");
  EXPECT_EQ(error_of([&] { translate(no_symbol); }), "translate: the symbol is a null pointer");
  EXPECT_EQ(error_of([&] { translate(third.int_type); }), "translate: a sort belongs to another manager");
  EXPECT_EQ(error_of([&] { translate(third.not_symbol); }),
            "translate: the symbol belongs to another manager");
  EXPECT_EQ(translate(m.int_type), other.int_type);
}

TEST_F(WrongArguments, Sorts) {
  const std::function<void(const DataType*)> calls[] = {
      [&](const DataType* s) { m.make_constant("q", s); },
      [&](const DataType* s) {
        m.declare_fun("q", {m.int_type, s}, m.int_type);
      },
      [&](const DataType* s) { m.declare_fun("q", {m.int_type}, s); },
      [&](const DataType* s) { m.get_array_type(s, m.int_type); },
      [&](const DataType* s) { m.get_array_type(m.int_type, s); },
      [&](const DataType* s) { m.apply_sort(s, {}); },
      [&](const DataType* s) {
        m.apply_sort(m.declare_sort("Box", 1), {&s, 1});
      },
      [&](const DataType* s) { m.make_array_const(s, k); },
      [&](const DataType* s) { m.make_array_const_symbol(s); },
      [&](const DataType* s) { m.make_array_read_symbol(s); },
      [&](const DataType* s) { m.make_array_write_symbol(s); },
      [&](const DataType* s) { m.make_equal_symbol(s); },
      [&](const DataType* s) { m.make_ite_symbol(s); },
  };
  const std::size_t terms = m.num_terms();
  for (const auto& call : calls) {
    const std::string null = error_of([&] { call(nullptr); }),
                      mixed = error_of([&] { call(other.int_type); });
    EXPECT_TRUE(null.ends_with(": a sort is a null pointer")) << null;
    EXPECT_TRUE(mixed.ends_with(": a sort belongs to another manager")) << mixed;
  }
  EXPECT_EQ(m.num_terms(), terms);
}

/// Those that make what is printed and nothing else take sorts of any manager.
TEST_F(WrongArguments, NoSort) {
  const std::function<void(const DataType*)> calls[] = {
      [&](const DataType* s) { m.fresh_fun("q", {{s}}, m.int_type); },
      [&](const DataType* s) { m.fresh_fun("q", {}, s); },
      [&](const DataType* s) { m.make_opaque_symbol("q", {s}, m.int_type); },
      [&](const DataType* s) { m.make_opaque_symbol("q", {m.int_type}, s); },
      [&](const DataType* s) { m.fresh_bound_variable("q", s); },
  };
  for (const auto& call : calls) {
    EXPECT_EQ(error_of([&] { call(nullptr); }), "q: a sort is a null pointer");
    EXPECT_EQ(error_of([&] { call(other.int_type); }), "none");
  }
}

TEST_F(WrongArguments, SymbolsAndBinders) {
  EXPECT_EQ(error_of([&] { m.make_term(nullptr, {k}); }), "make_term: the symbol is a null pointer");
  EXPECT_EQ(error_of([&] { m.make_annotation_symbol({}, {}); }), "!: 0 arguments given, at least 1 expected");
  const Term* const variable = m.fresh_bound_variable("v", m.bool_type);
  const Term* const foreign = other.fresh_bound_variable("v", other.bool_type);
  const std::size_t terms = m.num_terms();
  EXPECT_EQ(error_of([&] {
              m.make_quantifier("forall", {&foreign, 1}, m.true_term);
            }),
            "forall: variable 1 belongs to another manager");
  EXPECT_EQ(error_of([&] { m.make_annotation(foreign, {}, {}); }),
            "!: argument 1 belongs to another manager");
  const Attribute pattern{":pattern", "", 1};
  EXPECT_EQ(error_of([&] {
              m.make_annotation(p, {&pattern, 1}, {&foreign, 1});
            }),
            "!: argument 2 belongs to another manager");
  EXPECT_EQ(m.num_terms(), terms);
  EXPECT_EQ(m.make_quantifier("forall", {&variable, 1}, p)->symbol,
            m.make_quantifier_symbol("forall", {&variable, 1}));
}

}  // namespace
}  // namespace quarv
