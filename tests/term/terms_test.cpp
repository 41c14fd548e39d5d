// Terms and symbols: layout, identity, ids.
#include <cstdint>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

class Terms : public ::testing::Test {
 protected:
  TermManager mgr;
  const Term* x = mgr.make_constant("x", mgr.bool_type);
  const Term* y = mgr.make_constant("y", mgr.bool_type);
};

TEST_F(Terms, Layout) {
  const Term* t = mgr.make_and(x, y);
  const char* base = reinterpret_cast<const char*>(t);
  EXPECT_EQ(sizeof(t->id), 8U);
  EXPECT_EQ(reinterpret_cast<const char*>(&t->id), base);
  EXPECT_EQ(reinterpret_cast<const char*>(&t->symbol), base + 8);
  EXPECT_EQ(reinterpret_cast<const char*>(&t->args), base + 16);
  EXPECT_EQ(t->args[0], x);
  EXPECT_EQ(t->args[1], y);
  const char* symbol = reinterpret_cast<const char*>(t->symbol);
  EXPECT_EQ(reinterpret_cast<const char*>(&t->symbol->name), symbol + 8);
}

TEST_F(Terms, TheSameSymbolAndArgumentsAreTheSameTerm) {
  const Term* t = mgr.do_make_term(mgr.and_symbol, {x, y});
  EXPECT_EQ(mgr.do_make_term(mgr.and_symbol, {x, y}), t);
  const std::vector<const Term*> args{x, y};
  EXPECT_EQ(mgr.do_make_term(mgr.and_symbol, args), t);
  EXPECT_EQ(mgr.do_make_term(mgr.and_symbol, mgr.args_of(t)), t);
  EXPECT_NE(mgr.do_make_term(mgr.and_symbol, {y, x}), t);
  EXPECT_NE(mgr.do_make_term(mgr.or_symbol, {x, y}), t);
  EXPECT_NE(mgr.do_make_term(mgr.and_symbol, {x, x}), t);
}

TEST_F(Terms, IdsAreDenseInOrderOfCreation) {
  TermManager fresh;
  EXPECT_EQ(fresh.false_term->id, 0U);
  EXPECT_EQ(fresh.true_term->id, 1U);
  const std::size_t before = mgr.num_terms();
  const Term* t = mgr.make_not(x);
  EXPECT_EQ(t->id, before);
  EXPECT_EQ(mgr.num_terms(), before + 1);
  mgr.make_not(x);
  EXPECT_EQ(mgr.num_terms(), before + 1) << "a term that exists gets no new id";
  EXPECT_EQ(mgr.make_not(t)->id, before + 1);
  EXPECT_TRUE(Term_lt()(x, t));
  EXPECT_FALSE(Term_lt()(t, x));
  EXPECT_FALSE(Term_lt()(x, x));
  EXPECT_EQ(hsh::hash<const Term*>()(t), t->id);
}

TEST_F(Terms, BooleanConstants) {
  EXPECT_EQ(mgr.true_term->symbol, mgr.true_symbol);
  EXPECT_EQ(mgr.false_term->symbol, mgr.false_symbol);
  EXPECT_EQ(mgr.do_make_term(mgr.true_symbol, {}), mgr.true_term);
  EXPECT_EQ(mgr.make_term(mgr.false_symbol), mgr.false_term);
  EXPECT_EQ(mgr.make_bool(true), mgr.true_term);
  EXPECT_EQ(mgr.make_bool(false), mgr.false_term);
  EXPECT_EQ(mgr.type_of(mgr.true_term), mgr.bool_type);
  EXPECT_TRUE(mgr.is_interpreted(mgr.true_symbol));
  EXPECT_EQ(mgr.get_tag(mgr.true_symbol), SymbolTag::CONSTANT);
  EXPECT_STREQ(mgr.true_symbol->name, "true");
  EXPECT_EQ(mgr.arity(mgr.true_term), 0U);
  EXPECT_EQ(mgr.get_number(mgr.true_term), nullptr);
}

TEST_F(Terms, TheSingleSymbols) {
  const std::set<const Symbol*> symbols{mgr.true_symbol,      mgr.false_symbol,    mgr.not_symbol,
                                        mgr.and_symbol,       mgr.or_symbol,       mgr.iff_symbol,
                                        mgr.rat_leq_symbol,   mgr.int_leq_symbol,  mgr.rat_plus_symbol,
                                        mgr.rat_times_symbol, mgr.int_plus_symbol, mgr.int_times_symbol,
                                        mgr.floor_symbol};
  EXPECT_EQ(symbols.size(), 13U);
  EXPECT_EQ(mgr.rat_plus_symbol->get_output_type(), mgr.rat_type);
  EXPECT_EQ(mgr.int_plus_symbol->get_output_type(), mgr.int_type);
  EXPECT_EQ(mgr.rat_leq_symbol->get_output_type(), mgr.bool_type);
  for (const Symbol* s : symbols) EXPECT_FALSE(mgr.equality_symbols.contains(s));
}

TEST_F(Terms, EqualitySymbolsAreASet) {
  EXPECT_EQ(mgr.equality_symbols.size(), 0U);
  const Symbol* of_int = mgr.make_equal_symbol(mgr.int_type);
  const Symbol* of_rat = mgr.make_equal_symbol(mgr.rat_type);
  EXPECT_NE(of_int, of_rat);
  EXPECT_EQ(of_int, mgr.make_equal_symbol(mgr.int_type));
  EXPECT_TRUE(mgr.equality_symbols.contains(of_int));
  EXPECT_TRUE(mgr.equality_symbols.contains(of_rat));
  EXPECT_EQ(mgr.equality_symbols.size(), 2U);
  const Symbol* impostor = mgr.declare_fun("=", {mgr.int_type, mgr.int_type}, mgr.bool_type);
  EXPECT_FALSE(mgr.equality_symbols.contains(impostor));
}

TEST_F(Terms, DeepTerms) {
  const Term* t = x;
  for (int i = 0; i < 1000000; ++i) t = mgr.make_not(t);
  const Term* again = x;
  for (int i = 0; i < 1000000; ++i) again = mgr.make_not(again);
  EXPECT_EQ(t, again);
  EXPECT_EQ(mgr.num_terms(), y->id + 1 + 1000000);
}

TEST_F(Terms, WideTerms) {
  constexpr std::size_t n = 100000;
  const std::vector<const DataType*> types(n, mgr.bool_type);
  const Symbol* f = mgr.declare_fun("f", types, mgr.bool_type);
  std::vector<const Term*> args(n, x);
  const Term* t = mgr.make_term(f, args);
  EXPECT_EQ(mgr.arity(t), n);
  EXPECT_EQ(mgr.make_term(f, args), t);
  args[n - 1] = y;
  EXPECT_NE(mgr.make_term(f, args), t);
}

TEST_F(Terms, ManagersAreIndependent) {
  TermManager other;
  EXPECT_NE(other.true_term, mgr.true_term);
  EXPECT_NE(other.bool_type, mgr.bool_type);
  EXPECT_EQ(other.num_terms(), 2U);
}

}  // namespace
}  // namespace quarv
