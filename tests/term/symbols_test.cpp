// Declared, fresh and opaque symbols, binders and annotations.
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

class Symbols : public ::testing::Test {
 protected:
  TermManager mgr;
  const DataType* i = mgr.int_type;
  const DataType* b = mgr.bool_type;
};

TEST_F(Symbols, DeclaredFunctionsAreInternedByNameAndSignature) {
  const Symbol* f = mgr.declare_fun("f", {i, b}, i);
  EXPECT_EQ(mgr.declare_fun(std::string("f"), {i, b}, i), f);
  EXPECT_NE(mgr.declare_fun("g", {i, b}, i), f);
  EXPECT_NE(mgr.declare_fun("f", {b, i}, i), f);
  EXPECT_NE(mgr.declare_fun("f", {i, b}, b), f);
  EXPECT_NE(mgr.declare_fun("f", {i}, b), mgr.declare_fun("f", {i, b}, b));
  EXPECT_EQ(mgr.arity(f), 2U);
  EXPECT_EQ(f->get_output_type(), i);
  EXPECT_STREQ(f->name, "f");
  EXPECT_EQ(mgr.get_tag(f), SymbolTag::UF);
  EXPECT_FALSE(mgr.is_interpreted(f));
}

TEST_F(Symbols, NamesAreCopied) {
  const Symbol* f;
  {
    const std::string text = "a name that is not kept by its owner, and that is long";
    f = mgr.declare_fun(std::string_view(text).substr(0, 6), {}, i);
  }
  EXPECT_STREQ(f->name, "a name");
  EXPECT_STREQ(mgr.declare_fun("", {}, i)->name, "");
}

TEST_F(Symbols, NoNameIsCutAtANul) {
  const std::string_view name("a\0b", 3);
  EXPECT_THROW(mgr.declare_fun(name, {}, i), std::invalid_argument);
  EXPECT_THROW(mgr.fresh_fun(name, {}, i), std::invalid_argument);
  EXPECT_THROW(mgr.make_opaque_symbol(name, {}, i), std::invalid_argument);
  EXPECT_THROW(mgr.fresh_bound_variable(name, i), std::invalid_argument);
  EXPECT_THROW(mgr.declare_sort(name), std::invalid_argument);
}

TEST_F(Symbols, DeclaredConstants) {
  const Term* x = mgr.make_constant("x", i);
  EXPECT_EQ(mgr.make_constant("x", i), x);
  EXPECT_EQ(mgr.make_term(mgr.declare_fun("x", {}, i)), x);
  EXPECT_NE(mgr.make_constant("x", b), x);
  EXPECT_EQ(mgr.type_of(x), i);
  EXPECT_EQ(mgr.arity(x), 0U);
  EXPECT_TRUE(mgr.args_of(x).empty());
}

TEST_F(Symbols, ModelValuesKeepTheirMark) {
  const Term* v = mgr.make_constant("@u!3", mgr.declare_sort("U"));
  EXPECT_EQ(v->symbol->name[0], '@');
  EXPECT_FALSE(mgr.is_interpreted(v->symbol));
}

TEST_F(Symbols, FreshFunctionsDiffer) {
  const DataType* const types[] = {i};
  const Symbol* f = mgr.fresh_fun("f", types, i);
  EXPECT_NE(mgr.fresh_fun("f", types, i), f);
  EXPECT_NE(mgr.declare_fun("f", {i}, i), f);
  EXPECT_STREQ(f->name, "f");
  EXPECT_FALSE(mgr.is_interpreted(f));
  const Term* one = mgr.make_number(1);
  EXPECT_EQ(mgr.make_term(f, {one}), mgr.make_term(f, {one}));
}

TEST_F(Symbols, OpaqueOperators) {
  const Symbol* rem = mgr.make_opaque_symbol("mod", {i, i}, i);
  EXPECT_EQ(mgr.make_opaque_symbol("mod", {i, i}, i), rem);
  EXPECT_NE(mgr.make_opaque_symbol("div", {i, i}, i), rem);
  EXPECT_NE(mgr.declare_fun("mod", {i, i}, i), rem);
  EXPECT_EQ(mgr.get_tag(rem), SymbolTag::OPAQUE);
  EXPECT_TRUE(mgr.is_interpreted(rem));
  EXPECT_STREQ(rem->name, "mod");
}

// An opaque operator may happen to be called like an operator that the manager knows.
TEST_F(Symbols, OpaqueOperatorsAreNoKnownOperators) {
  const DataType* array = mgr.get_array_type(i, b);
  const Symbol* before = mgr.make_opaque_symbol("select", {array, i}, b);
  const Symbol* read = mgr.make_array_read_symbol(array);
  EXPECT_EQ(mgr.get_tag(read), SymbolTag::ARRAY_READ);
  EXPECT_NE(before, read);
  const Symbol* write = mgr.make_array_write_symbol(array);
  EXPECT_NE(mgr.make_opaque_symbol("store", {array, i, b}, array), write);
  EXPECT_EQ(mgr.make_array_read_symbol(array), read);
  EXPECT_EQ(mgr.make_array_write_symbol(array), write);
  EXPECT_EQ(mgr.make_opaque_symbol("select", {array, i}, b), before);
}

TEST_F(Symbols, BoundVariablesDiffer) {
  const Term* x = mgr.fresh_bound_variable("x", i);
  EXPECT_NE(mgr.fresh_bound_variable("x", i), x);
  EXPECT_NE(mgr.make_constant("x", i), x);
  EXPECT_TRUE(mgr.is_bound_variable(x->symbol));
  EXPECT_FALSE(mgr.is_bound_variable(mgr.make_constant("x", i)->symbol));
  EXPECT_STREQ(x->symbol->name, "x");
  EXPECT_EQ(mgr.type_of(x), i);
  EXPECT_EQ(mgr.make_term(x->symbol), x);
}

TEST_F(Symbols, Quantifiers) {
  const Term* x = mgr.fresh_bound_variable("x", i);
  const Term* y = mgr.fresh_bound_variable("y", i);
  const Term* body = mgr.make_leq(x, y);
  const Term* const xy[] = {x, y};
  const Term* const yx[] = {y, x};
  const Term* all = mgr.make_quantifier("forall", xy, body);
  EXPECT_EQ(mgr.make_quantifier("forall", xy, body), all);
  EXPECT_NE(mgr.make_quantifier("exists", xy, body), all);
  EXPECT_NE(mgr.make_quantifier("forall", yx, body), all);
  EXPECT_NE(mgr.make_quantifier("forall", {xy, 1}, body), all);
  EXPECT_EQ(mgr.make_quantifier("forall", xy, mgr.true_term)->symbol, all->symbol);
  EXPECT_TRUE(mgr.is_quantifier(all->symbol));
  EXPECT_FALSE(mgr.is_annotation(all->symbol));
  EXPECT_FALSE(mgr.is_quantifier(mgr.not_symbol));
  EXPECT_STREQ(all->symbol->name, "forall");
  EXPECT_TRUE(mgr.is_interpreted(all->symbol));
  EXPECT_EQ(mgr.quantifier_variables(all->symbol), std::vector<const Term*>({x, y}));
  EXPECT_EQ(mgr.type_of(all), b);
  ASSERT_EQ(mgr.arity(all), 1U);
  EXPECT_EQ(all->args[0], body);
  EXPECT_EQ(mgr.rewritable_args(all->symbol), 1U);
}

TEST_F(Symbols, AnnotationsKeepTheirPatterns) {
  const Term* x = mgr.make_constant("x", i);
  const Term* y = mgr.make_constant("y", i);
  const Term* body = mgr.make_leq(x, y);
  const Attribute attributes[] = {{":named", "a", 0}, {":pattern", "", 2}, {":pattern", "", 1}};
  const Term* const patterns[] = {x, y, x};
  const Term* t = mgr.make_annotation(body, attributes, patterns);
  EXPECT_EQ(mgr.make_annotation(body, attributes, patterns), t);
  EXPECT_TRUE(mgr.is_annotation(t->symbol));
  EXPECT_FALSE(mgr.is_quantifier(t->symbol));
  EXPECT_EQ(mgr.type_of(t), b);
  ASSERT_EQ(mgr.arity(t), 4U);
  EXPECT_EQ(t->args[0], body);
  EXPECT_EQ(t->args[2], y);
  EXPECT_EQ(mgr.rewritable_args(t->symbol), 1U);
  EXPECT_EQ(mgr.annotation_attributes(t->symbol),
            std::vector<Attribute>(std::begin(attributes), std::end(attributes)));
  const Attribute other[] = {{":named", "b", 0}, {":pattern", "", 2}, {":pattern", "", 1}};
  EXPECT_NE(mgr.make_annotation(body, other, patterns), t);
  const Attribute regrouped[] = {{":named", "a", 0}, {":pattern", "", 1}, {":pattern", "", 2}};
  EXPECT_NE(mgr.make_annotation(body, regrouped, patterns), t);
}

TEST_F(Symbols, TextsOfAttributesAreKeptApart) {
  const Attribute one[] = {{":a", "b 0 :c 0 d", 0}};
  const Attribute two[] = {{":a", "b", 0}, {":c", "d", 0}};
  const Attribute odd[] = {{":a", "b :c 0 1 d", 0}};
  const Term* t = mgr.make_annotation(mgr.true_term, two, {});
  EXPECT_NE(mgr.make_annotation(mgr.true_term, one, {}), t);
  EXPECT_NE(mgr.make_annotation(mgr.true_term, odd, {}), t);
}

TEST_F(Symbols, AnnotationsOfAnyType) {
  const Attribute named[] = {{":named", "n", 0}};
  const Term* of_int = mgr.make_annotation(mgr.make_number(1), named, {});
  const Term* of_bool = mgr.make_annotation(mgr.true_term, named, {});
  EXPECT_EQ(mgr.type_of(of_int), i);
  EXPECT_NE(of_int->symbol, of_bool->symbol);
}

}  // namespace
}  // namespace quarv
