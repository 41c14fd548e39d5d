/* Simplifications and observers of a user's own, in C. */
#include <stdlib.h>

#include "expect.h"

/* What a user's functions get, and have been told. */
struct own {
  quarv_manager* m;
  int calls;
  quarv_term foreign;
  uint64_t mark;
  char text[500];
};

static quarv_term fold_square(quarv_manager* m, const char* op, const quarv_term* args, size_t n,
                              void* data) {
  struct own* told = data;
  ++told->calls;
  EXPECT(m == told->m && n == 1 && strcmp(op, "square") == 0);
  char* value = quarv_value(m, args[0]);
  EXPECT(quarv_make(m, "no such operator", args, 1) == NULL); /* which is not the end of the simplification */
  if (told->mark != 0) {
    EXPECT(quarv_release(m, told->mark) == QUARV_INVALID_ARGUMENT);
    EXPECT(quarv_observe(m, NULL, NULL) == QUARV_INVALID_ARGUMENT);
  }
  const quarv_term factors[] = {args[0], args[0]};
  const quarv_term result = value == NULL ? NULL : quarv_make(m, "*", factors, 2);
  quarv_free(value);
  return result;
}

static quarv_term give(quarv_manager* m, const char* op, const quarv_term* args, size_t n, void* data) {
  (void)m, (void)op, (void)args, (void)n;
  return ((struct own*)data)->foreign;
}

static quarv_term expand(quarv_manager* m, const char* op, const quarv_term* args, size_t n, void* data) {
  EXPECT(n == 2 && strcmp(op, "bvudiv") == 0);
  ++((struct own*)data)->calls;
  return args[0] == args[1] ? quarv_parse_term(m, "(ite (= x #x00) #xff #x01)") : NULL;
}

static void hear(const quarv_event* event, void* data) {
  struct own* told = data;
  char* after = quarv_term_to_string(told->m, event->after);
  EXPECT((event->rule == 0) == (event->before == NULL) && (event->rule == 0) == (event->args != NULL));
  sprintf(told->text + strlen(told->text), "%s %d: %s;", event->name, (int)event->n, after);
  quarv_free(after);
}

static void calls_simplifications_and_observers(void) {
  const char* const heard = "* 2: 9;square 1: 9;* 2: 81;square 1: 81;= 2: (= (+ k (square k)) 81);";
  quarv_manager* m = quarv_manager_new(0);
  struct own told = {m, 0, NULL, 0, ""};
  const quarv_sort integer = quarv_int_sort(m);
  EXPECT(quarv_declare_function(m, "square", &integer, 1, integer) == QUARV_OK);
  EXPECT(quarv_add_simplification(m, "square", 0, fold_square, &told) == QUARV_OK);
  EXPECT(quarv_observe(m, hear, &told) == QUARV_OK);
  told.mark = quarv_mark(m);
  const quarv_term k = quarv_constant(m, "k", integer);
  const quarv_term simple =
      quarv_simplify(m, quarv_parse_term(m, "(= (square (square 3)) (+ k (square k)))"));
  EXPECT(quarv_error(m) == QUARV_OK && strcmp(quarv_error_message(m), "") == 0);
  EXPECT_TEXT(quarv_term_to_string(m, simple), "(= (+ k (square k)) 81)");
  EXPECT(told.calls >= 3);
  EXPECT(strcmp(told.text, heard) == 0);
  EXPECT(quarv_observe(m, NULL, NULL) == QUARV_OK);
  EXPECT(quarv_simplify(m, quarv_parse_term(m, "(square 4)")) == quarv_number(m, "16"));
  EXPECT(strlen(told.text) == strlen(heard));

  /* What was added since a mark goes with it. */
  EXPECT(quarv_add_simplification(m, "bvudiv", 1, expand, &told) == QUARV_OK);
  told.calls = 0;
  EXPECT(quarv_constant(m, "x", quarv_bv_sort(m, 8)) != NULL);
  EXPECT_TEXT(quarv_term_to_string(m, quarv_simplify(m, quarv_parse_term(m, "(bvudiv x x)"))),
              "(ite (= x #x00) #xff #x01)");
  EXPECT(told.calls > 0);
  EXPECT(quarv_release(m, told.mark) == QUARV_OK);
  told.calls = 0;
  EXPECT(quarv_constant(m, "x", quarv_bv_sort(m, 8)) != NULL);
  EXPECT_TEXT(quarv_term_to_string(m, quarv_simplify(m, quarv_parse_term(m, "(bvudiv x x)"))),
              "(bvudiv x x)");
  EXPECT(told.calls == 0);

  EXPECT(quarv_add_simplification(m, "bvnot", 0, give, &told) == QUARV_OK);
  told.foreign = quarv_true(m);
  EXPECT(quarv_simplify(m, quarv_parse_term(m, "(bvnot x)")) == NULL && quarv_error(m) == QUARV_SORT_ERROR);
  quarv_manager* other = quarv_manager_new(0);
  told.foreign = quarv_constant(other, "x", quarv_bv_sort(other, 8));
  EXPECT(quarv_simplify(m, quarv_parse_term(m, "(bvnot x)")) == NULL && quarv_error(m) == QUARV_SORT_ERROR);
  told.foreign = NULL;
  EXPECT(quarv_simplify(m, quarv_parse_term(m, "(bvnot x)")) != NULL);
  EXPECT(quarv_add_simplification(m, "no such operator", 0, give, &told) == QUARV_INVALID_ARGUMENT);
  EXPECT(quarv_add_simplification(m, "bvnot", 0, NULL, &told) == QUARV_INVALID_ARGUMENT);
  EXPECT(quarv_add_simplification(m, NULL, 0, give, &told) == QUARV_INVALID_ARGUMENT);
  EXPECT(quarv_add_simplification(NULL, "bvnot", 0, give, &told) == QUARV_INVALID_ARGUMENT);
  quarv_manager_delete(other);
  EXPECT(k != NULL);
  quarv_manager_delete(m);
}

int main(void) {
  calls_simplifications_and_observers();
  return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
