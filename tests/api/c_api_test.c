/* The C interface, from C. Each failed expectation is reported; the exit status says whether there was one.
 */
#define _XOPEN_SOURCE 700
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <unistd.h>

#include "expect.h"

static quarv_term make1(quarv_manager* m, const char* op, quarv_term a) {
  return quarv_make(m, op, &a, 1);
}

static quarv_term make2(quarv_manager* m, const char* op, quarv_term a, quarv_term b) {
  const quarv_term args[] = {a, b};
  return quarv_make(m, op, args, 2);
}

static quarv_term make3(quarv_manager* m, const char* op, quarv_term a, quarv_term b, quarv_term c) {
  const quarv_term args[] = {a, b, c};
  return quarv_make(m, op, args, 3);
}

static void builds_and_simplifies(void) {
  quarv_manager* m = quarv_manager_new(0);
  const quarv_sort byte = quarv_bv_sort(m, 8);
  const quarv_term x = quarv_constant(m, "x", byte);
  const quarv_term sum = make2(m, "bvadd", x, quarv_bv(m, 0, 8));
  EXPECT_TEXT(quarv_term_to_string(m, sum), "(bvadd x #x00)");
  EXPECT(quarv_simplify(m, sum) == x);
  EXPECT(quarv_error(m) == QUARV_OK);
  EXPECT(strcmp(quarv_error_message(m), "") == 0);

  EXPECT(quarv_constant(m, "x", byte) == x);
  EXPECT(quarv_sort_of(m, sum) == byte);
  EXPECT(quarv_bv_width(m, byte) == 8);
  EXPECT(quarv_bv_width(m, quarv_int_sort(m)) == 0);
  EXPECT(quarv_num_args(m, sum) == 2);
  EXPECT(quarv_arg(m, sum, 0) == x);
  EXPECT(quarv_num_nodes(m, &sum, 1) == 3);
  EXPECT(quarv_num_nodes(m, NULL, 0) == 0);
  EXPECT(quarv_term_id(x) < quarv_term_id(sum));
  quarv_manager_delete(m);
}

static void simplifies_at_once_when_eager(void) {
  quarv_manager* m = quarv_manager_new(QUARV_EAGER);
  EXPECT(make2(m, "bvadd", quarv_bv(m, 255, 8), quarv_bv(m, 2, 8)) == quarv_bv(m, 1, 8));
  quarv_manager_delete(m);
}

static void numbers(void) {
  quarv_manager* m = quarv_manager_new(0);
  EXPECT_TEXT(quarv_value(m, quarv_number(m, "-3/2")), "-3/2");
  EXPECT_TEXT(quarv_value(m, quarv_number(m, "100000000000000000000000")), "100000000000000000000000");
  EXPECT_TEXT(quarv_value(m, quarv_bv_number(m, "-1", 70)), "1180591620717411303423");
  EXPECT_TEXT(quarv_value(m, quarv_bv(m, 18446744073709551615u, 4)), "15");
  EXPECT(quarv_value(m, quarv_true(m)) == NULL);
  EXPECT(quarv_error(m) == QUARV_OK);
  EXPECT(quarv_bv_number(m, "1.5", 8) == NULL);
  EXPECT_ERROR(m, QUARV_SORT_ERROR, "BitVec: 3/2 is not an integer");
  EXPECT(quarv_number(m, "one") == NULL);
  EXPECT(quarv_error(m) == QUARV_INVALID_ARGUMENT);
  EXPECT(quarv_bv(m, 0, 0) == NULL);
  EXPECT(quarv_error(m) == QUARV_SORT_ERROR);
  EXPECT(quarv_bv_number(m, "-1", (size_t)1 << 60) == NULL);
  EXPECT(quarv_error(m) == QUARV_SORT_ERROR);
  EXPECT_TEXT(quarv_term_to_string(m, quarv_fp_bits(m, "16256", 8, 8)), "(fp #b0 #x7f #b0000000)");
  EXPECT(quarv_fp_bits(m, "0", 8, 1) == NULL);
  EXPECT(quarv_error(m) == QUARV_SORT_ERROR);
  quarv_manager_delete(m);
}

static void every_kind_of_operator(void) {
  quarv_manager* m = quarv_manager_new(0);
  const quarv_term x = quarv_constant(m, "x", quarv_bv_sort(m, 8));
  const quarv_term p = quarv_constant(m, "p", quarv_bool_sort(m));
  const quarv_term i = quarv_constant(m, "i", quarv_int_sort(m));
  const quarv_term f = quarv_constant(m, "f", quarv_fp_sort(m, 8, 24));
  const quarv_term rne = quarv_parse_term(m, "RNE");
  const quarv_term array = make1(m, "(as const (Array Int Bool))", p);

  EXPECT_TEXT(quarv_term_to_string(m, make1(m, "(_ extract 7 4)", x)), "((_ extract 7 4) x)");
  EXPECT_TEXT(quarv_term_to_string(m, make1(m, "(_  zero_extend 2 )", x)), "((_ zero_extend 2) x)");
  EXPECT_TEXT(quarv_term_to_string(m, make3(m, "ite", p, x, quarv_bv(m, 1, 8))), "(ite p x #x01)");
  EXPECT_TEXT(quarv_term_to_string(m, make3(m, "fp.add", rne, f, f)), "(fp.add RNE f f)");
  EXPECT_TEXT(quarv_term_to_string(m, make2(m, "(_ to_fp 5 11)", rne, f)), "((_ to_fp 5 11) RNE f)");
  EXPECT_TEXT(quarv_term_to_string(m, make2(m, "mod", i, quarv_number(m, "4"))), "(mod i 4)");
  EXPECT_TEXT(quarv_term_to_string(m, make1(m, "(_ divisible 3)", i)), "(= (mod i 3) 0)");
  EXPECT_TEXT(quarv_term_to_string(m, make2(m, "select", array, i)),
              "(select ((as const (Array Int Bool)) p) i)");
  EXPECT(quarv_simplify(m, make2(m, "select", array, i)) == p);
  EXPECT(quarv_simplify(m, make2(m, "div", quarv_number(m, "7"), quarv_number(m, "2"))) ==
         quarv_number(m, "3"));

  const quarv_sort u = quarv_declare_sort(m, "U");
  const quarv_sort arguments[] = {u, quarv_int_sort(m)};
  EXPECT(quarv_declare_function(m, "g", arguments, 2, quarv_bool_sort(m)) == QUARV_OK);
  const quarv_term applied = make2(m, "g", quarv_constant(m, "a", u), i);
  EXPECT_TEXT(quarv_script(m, &applied, 1),
              "(set-logic ALL)\n(declare-sort U 0)\n(declare-fun i () Int)\n(declare-fun a () U)\n"
              "(declare-fun g (U Int) Bool)\n(assert (g a i))\n");
  EXPECT(quarv_parse_sort(m, "(Array U (_ BitVec 8))") == quarv_array_sort(m, u, quarv_bv_sort(m, 8)));
  EXPECT_TEXT(quarv_sort_to_string(m, quarv_array_sort(m, u, quarv_real_sort(m))), "(Array U Real)");
  EXPECT(quarv_sort_of(m, rne) == quarv_rounding_mode_sort(m));
  quarv_manager_delete(m);
}

static void says_what_is_wrong(void) {
  quarv_manager* m = quarv_manager_new(0);
  const quarv_term x = quarv_constant(m, "x", quarv_bv_sort(m, 8));
  const quarv_term y = quarv_constant(m, "y", quarv_bv_sort(m, 16));
  EXPECT(make2(m, "bvadd", x, y) == NULL);
  EXPECT_ERROR(m, QUARV_SORT_ERROR, "bvadd: argument 2 has sort (_ BitVec 16), expected (_ BitVec 8)");
  EXPECT(make1(m, "bvadd", x) == NULL);
  EXPECT_ERROR(m, QUARV_INVALID_ARGUMENT, "bvadd: 1 argument given, at least 2 expected");
  EXPECT(make1(m, "(_ extract 3)", x) == NULL);
  EXPECT_ERROR(m, QUARV_INVALID_ARGUMENT, "extract: 1 index given, 2 expected");
  EXPECT(make1(m, "(_ extract 99999999999999999999 0)", x) == NULL);
  EXPECT_ERROR(m, QUARV_INVALID_ARGUMENT,
               "extract: the index 99999999999999999999 is not a numeral of at most 64 bits");
  EXPECT(make1(m, "bvfoo", x) == NULL);
  EXPECT_ERROR(m, QUARV_INVALID_ARGUMENT, "unknown operator bvfoo");
  EXPECT(make1(m, "(extract 3 0)", x) == NULL);
  EXPECT_ERROR(m, QUARV_INVALID_ARGUMENT, "not an operator: (extract 3 0)");
  EXPECT(make2(m, NULL, x, x) == NULL);
  EXPECT_ERROR(m, QUARV_INVALID_ARGUMENT, "a null pointer was given");
  EXPECT(make2(m, "bvadd", x, NULL) == NULL);
  EXPECT_ERROR(m, QUARV_INVALID_ARGUMENT, "a null pointer was given");
  EXPECT(quarv_arg(m, x, 0) == NULL);
  EXPECT_ERROR(m, QUARV_INVALID_ARGUMENT, "the term has 0 arguments");
  EXPECT(quarv_constant(m, "x", quarv_int_sort(m)) == NULL);
  EXPECT_ERROR(m, QUARV_INVALID_ARGUMENT, "x is already declared with different sorts");
  EXPECT(quarv_constant(m, "true", quarv_int_sort(m)) == NULL);
  EXPECT_ERROR(m, QUARV_INVALID_ARGUMENT, "true already has another meaning");
  EXPECT(quarv_constant(m, "a|b", quarv_int_sort(m)) == NULL);
  EXPECT_ERROR(m, QUARV_INVALID_ARGUMENT, "a name must not contain '|'");
  EXPECT(quarv_declare_sort(m, "a\\b") == NULL);
  EXPECT_ERROR(m, QUARV_INVALID_ARGUMENT, "a name must not contain '\\'");
  EXPECT(quarv_constant(m, "x", quarv_bv_sort(m, 8)) == x); /* goes on as if nothing had been */
  EXPECT(quarv_error(m) == QUARV_OK);

  EXPECT(quarv_parse_term(m, "(bvadd x z)") == NULL);
  EXPECT_ERROR(m, QUARV_SYNTAX_ERROR, "term:1:10: error: unknown symbol z");
  EXPECT(quarv_parse_term(m, "x) (reset") == NULL);
  EXPECT_ERROR(m, QUARV_SYNTAX_ERROR, "term:1:2: error: unmatched ')'");
  EXPECT(quarv_parse_term(m, "(bvadd x\n (bvnot x)") == NULL);
  EXPECT_ERROR(m, QUARV_SYNTAX_ERROR,
               "term:2:11: error: unexpected end of input, expected ')' to match '(' at 1:1");
  EXPECT(quarv_parse_term(m, "(bvadd x #x01) ; with a comment") != NULL);
  EXPECT(quarv_parse_sort(m, "(_ BitVec 0)") == NULL);
  EXPECT(quarv_error(m) == QUARV_SYNTAX_ERROR);
  EXPECT(quarv_bv_sort(NULL, 8) == NULL);
  EXPECT(quarv_error(NULL) == QUARV_INVALID_ARGUMENT);
  quarv_manager_delete(m);
  quarv_manager_delete(NULL);
  quarv_free(NULL);
}

/* Sorts whose declaration no reader would take. */
static void declares_sorts_once(void) {
  quarv_manager* m = quarv_manager_new(0);
  const char* predefined[] = {"Bool",  "Int",    "Real",          "RoundingMode", "Float32",
                              "Array", "BitVec", "FloatingPoint", "String",       "RegLan"};
  for (size_t i = 0; i < sizeof predefined / sizeof *predefined; ++i) {
    EXPECT(quarv_declare_sort(m, predefined[i]) == NULL);
    EXPECT(quarv_error(m) == QUARV_INVALID_ARGUMENT);
  }
  EXPECT_ERROR(m, QUARV_INVALID_ARGUMENT, "sort RegLan is predefined");

  quarv_term* assertions = NULL;
  size_t n = 0;
  const quarv_sort u = quarv_declare_sort(m, "U");
  EXPECT(quarv_declare_sort(m, "U") == u);
  EXPECT(quarv_declare_sort(m, "declared twice") != NULL);
  EXPECT(quarv_parse_script(m, "(declare-sort U 1)(declare-const a (U Int))(assert (= a a))", "a.smt2",
                            &assertions, &n) == QUARV_INVALID_ARGUMENT);
  EXPECT_ERROR(m, QUARV_INVALID_ARGUMENT, "sort U has a different number of parameters");
  EXPECT(quarv_parse_script(
             m,
             "(declare-sort U 0)(declare-sort P 1)(declare-sort |S s| 0)(declare-fun b (|S s|) (P U))"
             "(declare-const c |S s|)(assert (= (b c) (b c)))",
             "b.smt2", &assertions, &n) == QUARV_OK);
  EXPECT(quarv_declare_sort(m, "P") == NULL);
  EXPECT_ERROR(m, QUARV_INVALID_ARGUMENT, "sort P has a different number of parameters");
  EXPECT(quarv_parse_sort(m, "(P U)") != NULL);
  EXPECT(quarv_declare_sort(m, "S s") == quarv_parse_sort(m, "|S s|"));
  EXPECT_TEXT(quarv_script(m, assertions, n),
              "(set-logic ALL)\n(declare-sort P 1)\n(declare-sort U 0)\n(declare-sort |S s| 0)\n"
              "(declare-fun c () |S s|)\n(declare-fun b (|S s|) (P U))\n(assert (= (b c) (b c)))\n");
  quarv_free(assertions);
  quarv_manager_delete(m);
}

static void refuses_names_that_cannot_be_written(void) {
  quarv_manager* m = quarv_manager_new(0);
  const quarv_sort integer = quarv_int_sort(m);
  EXPECT(quarv_declare_sort(m, "a|b") == NULL);
  EXPECT_ERROR(m, QUARV_INVALID_ARGUMENT, "a name must not contain '|'");
  EXPECT(quarv_constant(m, "x| () Int)(declare-const |y", integer) == NULL);
  EXPECT(quarv_error(m) == QUARV_INVALID_ARGUMENT);
  EXPECT(quarv_constant(m, "a\\b", integer) == NULL);
  EXPECT(quarv_error(m) == QUARV_INVALID_ARGUMENT);
  EXPECT(quarv_declare_function(m, "|f|", &integer, 1, integer) == QUARV_INVALID_ARGUMENT);
  EXPECT_TEXT(quarv_term_to_string(m, quarv_constant(m, "let", integer)), "|let|");
  EXPECT_TEXT(quarv_term_to_string(m, quarv_parse_term(m, "(+ |let| 1)")), "(+ |let| 1)");
  EXPECT_TEXT(quarv_term_to_string(m, quarv_constant(m, "", integer)), "||");
  EXPECT_TEXT(quarv_term_to_string(m, quarv_constant(m, "two words", integer)), "|two words|");
  quarv_manager_delete(m);
}

static void scripts(void) {
  quarv_manager* m = quarv_manager_new(0);
  const quarv_term x = quarv_constant(m, "x", quarv_bv_sort(m, 8));
  const char* text =
      "(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))\n"
      "(assert (= x #x01))(push 1)(assert (= x y))(pop 1)(assert (bvule y x))";
  quarv_term* assertions = NULL;
  size_t n = 0;
  EXPECT(quarv_parse_script(m, text, "a.smt2", &assertions, &n) == QUARV_OK);
  EXPECT(n == 2);
  EXPECT(assertions[0] == make2(m, "=", x, quarv_bv(m, 1, 8))); /* the script's x is x */
  EXPECT_TEXT(quarv_term_to_string(m, assertions[1]), "(bvule y x)");
  EXPECT_TEXT(quarv_term_to_string(m, quarv_parse_term(m, "(bvnot y)")), "(bvnot y)");
  quarv_free(assertions);

  EXPECT(quarv_parse_script(m, "", "empty.smt2", &assertions, &n) == QUARV_OK);
  EXPECT(n == 0);
  quarv_free(assertions);
  EXPECT(quarv_parse_script(m, "(assert\n  q)", "b.smt2", &assertions, &n) == QUARV_SYNTAX_ERROR);
  EXPECT_ERROR(m, QUARV_SYNTAX_ERROR, "b.smt2:2:3: error: unknown symbol q");
  EXPECT(assertions == NULL);
  EXPECT(quarv_parse_script(m, "(define-fun f ((a Int)) Int a)", "c.smt2", &assertions, &n) ==
         QUARV_INVALID_ARGUMENT);
  EXPECT(quarv_parse_script(m, "(declare-const x Int)", "d.smt2", &assertions, &n) == QUARV_OK);
  quarv_free(assertions);
  EXPECT(quarv_parse_script(m, "(declare-const x Int)(assert (= x 1))", "d.smt2", &assertions, &n) ==
         QUARV_INVALID_ARGUMENT);

  EXPECT_TEXT(quarv_simplify_script(m, "(declare-const p Bool)(assert (and p (not p)))", "e.smt2"),
              "(declare-const p Bool)\n(assert false)\n");
  EXPECT_TEXT(quarv_simplify_script(m, "(declare-const x Int)(assert (< x 5))", "e.smt2"),
              "(declare-const x Int)\n(assert (< x 5))\n");
  EXPECT_TEXT(quarv_normalize_script(m, "(declare-const x Int)(assert (< x 5))", "e.smt2"),
              "(declare-const x Int)\n(assert (not (<= 5 x)))\n");
  EXPECT(quarv_parse_script(m, "(declare-const i Int)(assert (and (< i 5) (< i 5)))", "f.smt2", &assertions,
                            &n) == QUARV_OK);
  EXPECT_TEXT(quarv_smallest_script(m, assertions, n),
              "(set-logic ALL)\n(declare-fun i () Int)\n(assert (< i 5))\n");
  quarv_free(assertions);
  quarv_manager_delete(m);
}

struct told {
  size_t rules;
  size_t simplifiers;
  quarv_manager* m;
};

static void count(const quarv_step* step, void* data) {
  struct told* told = (struct told*)data;
  EXPECT(step->before != NULL && step->after != NULL && step->before != step->after);
  EXPECT(quarv_sort_of(told->m, step->before) == quarv_sort_of(told->m, step->after));
  EXPECT(strlen(step->name) != 0);
  EXPECT((strlen(step->rule_name) != 0) == (step->rule != 0)); /* all standard rules have names */
  ++*(step->rule != 0 ? &told->rules : &told->simplifiers);
}

static void explains(void) {
  quarv_manager* m = quarv_manager_new(0);
  struct told told = {0, 0, m};
  quarv_constant(m, "x", quarv_bv_sort(m, 8));
  const quarv_term t = quarv_parse_term(m, "(bvnot (bvnot (bvadd x (bvmul #x02 #x80))))");
  const quarv_term simple = quarv_explain(m, t, count, &told);
  EXPECT(simple == quarv_constant(m, "x", quarv_bv_sort(m, 8)));
  EXPECT(told.rules >= 1);
  EXPECT(told.simplifiers >= 1);
  const size_t rules = told.rules;
  EXPECT(quarv_explain(m, t, count, &told) == simple); /* again, although the result is known by now */
  EXPECT(told.rules == 2 * rules);
  EXPECT(quarv_explain(m, t, NULL, NULL) == NULL);
  quarv_manager_delete(m);
}

static void takes_rules(void) {
  quarv_manager* m = quarv_manager_new(0);
  const quarv_sort byte = quarv_bv_sort(m, 8);
  const quarv_term x = quarv_constant(m, "x", byte);
  const quarv_term either = make2(m, "bvor", x, make2(m, "bvand", quarv_constant(m, "y", byte), x));
  EXPECT(quarv_simplify(m, either) != x);
  EXPECT(quarv_add_rules(m,
                         "rewrite(bvor(t1, bvand(t2, t1_0)), identity(t1, t1_0)) >> t1\n"
                         "rewrite(bvor(t1, bvand(t1_0, t2)), identity(t1, t1_0)) >> t1\n",
                         "my.rules") == QUARV_OK);
  EXPECT(quarv_simplify(m, either) == x);
  EXPECT(quarv_add_rules(m, "rewrite(bvfoo(t), ) >> t", "my.rules") == QUARV_SYNTAX_ERROR);
  EXPECT(strncmp(quarv_error_message(m), "my.rules:1:", 11) == 0);
  quarv_manager_delete(m);
}

static void keeps_what_the_standard_leaves_open(void) {
  const unsigned flags[] = {0, QUARV_LIBRARY_SEMANTICS};
  for (int i = 0; i < 2; ++i) {
    quarv_manager* m = quarv_manager_new(flags[i]);
    quarv_constant(m, "x", quarv_bv_sort(m, 8));
    const quarv_term quotient = quarv_parse_term(m, "(bvsdiv x x)");
    EXPECT((quarv_simplify(m, quotient) == quarv_bv(m, 1, 8)) == (flags[i] == QUARV_LIBRARY_SEMANTICS));
    quarv_manager_delete(m);
  }
}

static void takes_deep_terms(void) {
  quarv_manager* m = quarv_manager_new(0);
  quarv_term t = quarv_constant(m, "x", quarv_bv_sort(m, 8));
  for (int i = 0; i < 1000000; ++i) t = make1(m, "bvnot", t);
  EXPECT(quarv_num_nodes(m, &t, 1) == 1000001);
  EXPECT(quarv_simplify(m, t) == quarv_constant(m, "x", quarv_bv_sort(m, 8)));
  quarv_manager_delete(m);
}

#ifndef SANITIZED
/* The limit of the process's address space, so much above what it has. */
static void allow_more_memory(size_t bytes) {
  size_t pages = 0;
  FILE* file = fopen("/proc/self/statm", "r");
  EXPECT(file != NULL && fscanf(file, "%zu", &pages) == 1);
  fclose(file);
  struct rlimit limit;
  getrlimit(RLIMIT_AS, &limit);
  limit.rlim_cur = bytes == 0 ? limit.rlim_max : pages * (size_t)sysconf(_SC_PAGESIZE) + bytes;
  EXPECT(setrlimit(RLIMIT_AS, &limit) == 0);
}

/* Nearly all of the memory is what GMP asks for. */
static void reports_lack_of_memory_in_gmp(void) {
  const size_t width = (size_t)1 << 23;
  quarv_manager* m = quarv_manager_new(QUARV_EAGER);
  const quarv_term minus_one = quarv_bv_number(m, "-1", width);
  quarv_term product = minus_one;
  allow_more_memory(256 << 10);
  for (int i = 3; i < 1000 && product != NULL; ++i) {
    char factor[20];
    snprintf(factor, sizeof factor, "-%d", i);
    const quarv_term other = quarv_bv_number(m, factor, width);
    product = other == NULL ? NULL : make2(m, "bvmul", minus_one, other);
  }
  EXPECT(product == NULL);
  EXPECT_ERROR(m, QUARV_OUT_OF_MEMORY, "out of memory");
  allow_more_memory(0);
  EXPECT(make2(m, "bvmul", minus_one, minus_one) == quarv_bv(m, 1, width));
  EXPECT(quarv_error(m) == QUARV_OK);
  quarv_manager_delete(m);
}
#endif

struct walk {
  quarv_manager* m;
  char text[200];
};

static void note(quarv_term t, void* data) {
  struct walk* w = data;
  char* head = quarv_head(w->m, t);
  strcat(strcat(w->text, head), ";");
  quarv_free(head);
}

static void walks_and_substitutes(void) {
  quarv_manager* m = quarv_manager_new(0);
  quarv_manager* other = quarv_manager_new(0);
  const quarv_term x = quarv_constant(m, "x", quarv_bv_sort(m, 8));
  const quarv_term y = quarv_constant(m, "y", quarv_bv_sort(m, 8));
  const quarv_term t = quarv_parse_term(m, "(= (bvadd x y) ((_ rotate_left 3) x))");
  struct walk w = {m, ""};
  EXPECT(quarv_visit(m, &t, 1, note, &w) == QUARV_OK);
  EXPECT(strcmp(w.text, "x;y;bvadd;(_ rotate_left 3);=;") == 0);
  EXPECT(quarv_visit(m, &t, 1, NULL, NULL) == QUARV_INVALID_ARGUMENT);
  EXPECT(quarv_depth(m, t) == 3);
  EXPECT(quarv_depth(m, NULL) == 0);
  quarv_term* constants = NULL;
  size_t n = 0;
  EXPECT(quarv_free_constants(m, &t, 1, &constants, &n) == QUARV_OK);
  EXPECT(n == 2 && constants[0] == x && constants[1] == y);
  quarv_free(constants);
  const quarv_term swapped_from[] = {x, y}, swapped_to[] = {y, x};
  EXPECT_TEXT(quarv_term_to_string(m, quarv_substitute(m, t, swapped_from, swapped_to, 2)),
              "(= (bvadd y x) ((_ rotate_left 3) y))");
  const quarv_term values[] = {quarv_bv(m, 0x11, 8), quarv_bv(m, 0x77, 8)};
  EXPECT(quarv_evaluate(m, t, swapped_from, values, 2, 0) == quarv_true(m));
  EXPECT(quarv_evaluate(m, t, swapped_from, values, 1, 1) == quarv_false(m));
  const quarv_term formula = quarv_true(m);
  EXPECT(quarv_substitute(m, t, &x, &formula, 1) == NULL);
  EXPECT_ERROR(m, QUARV_SORT_ERROR,
               "substitute: a term of sort Bool cannot stand for one of sort (_ BitVec 8)");
  const quarv_term carried = quarv_translate(m, t, other);
  EXPECT_TEXT(quarv_term_to_string(other, carried), "(= (bvadd x y) ((_ rotate_left 3) x))");
  EXPECT(quarv_arg(other, quarv_arg(other, carried, 0), 0) ==
         quarv_constant(other, "x", quarv_bv_sort(other, 8)));
  EXPECT(quarv_translate(m, carried, other) == NULL);
  EXPECT_ERROR(other, QUARV_SORT_ERROR, "translate: the term does not belong to the source");
  quarv_manager_delete(other);
  quarv_manager_delete(m);
}

static void releases_memory(void) {
  quarv_manager* m = quarv_manager_new(QUARV_EAGER);
  const quarv_term x = quarv_constant(m, "x", quarv_bv_sort(m, 8));
  size_t memory = 0;
  for (int i = 0; i < 100; ++i) {
    const uint64_t mark = quarv_mark(m);
    EXPECT(mark != 0);
    quarv_term t = quarv_constant(m, "y", quarv_bv_sort(m, 8));
    const uint64_t id = quarv_term_id(t);
    EXPECT(id == quarv_term_id(x) + 1);
    for (int k = 0; k < 1000; ++k) t = make2(m, k % 2 == 0 ? "bvmul" : "bvxor", t, x);
    EXPECT(quarv_release(m, mark) == QUARV_OK);
    EXPECT(quarv_release(m, mark) == QUARV_INVALID_ARGUMENT);
    if (i == 1) memory = quarv_memory(m);
  }
  EXPECT(quarv_memory(m) == memory);
  /* The name is free again. */
  EXPECT(quarv_constant(m, "y", quarv_int_sort(m)) != NULL);

  EXPECT(quarv_set_memory_limit(m, memory + 100000) == QUARV_OK);
  const uint64_t mark = quarv_mark(m);
  quarv_term t = x;
  quarv_term last = x;
  for (int k = 0; t != NULL && k < 1000000; ++k) {
    last = t;
    t = make2(m, k % 2 == 0 ? "bvmul" : "bvxor", t, x);
  }
  EXPECT(t == NULL);
  EXPECT_ERROR(m, QUARV_OUT_OF_MEMORY, "the limit on memory is reached");
  EXPECT(quarv_num_args(m, last) == 2);
  EXPECT(quarv_release(m, mark) == QUARV_OK);
  EXPECT(make2(m, "bvmul", x, x) != NULL);
  quarv_manager_delete(m);
}

int main(void) {
  EXPECT(strncmp(quarv_version(), "0.", 2) == 0);
  builds_and_simplifies();
  simplifies_at_once_when_eager();
  numbers();
  every_kind_of_operator();
  says_what_is_wrong();
  declares_sorts_once();
  refuses_names_that_cannot_be_written();
  scripts();
  explains();
  takes_rules();
  keeps_what_the_standard_leaves_open();
  takes_deep_terms();
  walks_and_substitutes();
  releases_memory();
#ifndef SANITIZED
  reports_lack_of_memory_in_gmp();
#endif
  return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
