// Null pointers, terms of another manager, too few arguments: errors that say so, whatever the build.
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/sort_errors.h"
#include <quarv/term/term_manager.h>

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

}  // namespace
}  // namespace quarv
