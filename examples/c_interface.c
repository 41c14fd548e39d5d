/* From C: terms by the names of SMT-LIB, and the steps of a simplification. */
#include <stdio.h>

#include <quarv/c_api.h>

static void print_step(const quarv_step* step, void* manager) {
  char* before = quarv_term_to_string(manager, step->before);
  char* after = quarv_term_to_string(manager, step->after);
  printf("  %s becomes %s\n", before, after);
  quarv_free(before);
  quarv_free(after);
}

int main(void) {
  quarv_manager* m = quarv_manager_new(0);
  quarv_term x = quarv_constant(m, "x", quarv_bv_sort(m, 16));
  quarv_term low = quarv_make(m, "(_ extract 7 0)", &x, 1);
  quarv_term args[] = {low, quarv_bv(m, 0, 8)};
  quarv_term sum = quarv_make(m, "bvadd", args, 2);
  quarv_term simple = quarv_explain(m, sum, print_step, m);
  printf("%zu nodes became %zu\n", quarv_num_nodes(m, &sum, 1), quarv_num_nodes(m, &simple, 1));

  args[1] = x;
  if (quarv_make(m, "bvadd", args, 2) == NULL) printf("refused: %s\n", quarv_error_message(m));
  quarv_manager_delete(m);
  return 0;
}
