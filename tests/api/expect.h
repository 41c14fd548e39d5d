/* Expectations: each that fails is reported, and counted. */
#ifndef EXPECT_H
#define EXPECT_H

#include <stdio.h>
#include <string.h>

#include <quarv/c_api.h>

static int failures = 0;

static inline void expect(int condition, const char* what, const char* file, int line) {
  if (condition) return;
  fprintf(stderr, "%s:%d: expected %s\n", file, line, what);
  ++failures;
}
#define EXPECT(condition) expect(condition, #condition, __FILE__, __LINE__)

/* Compares and releases a text that the library answered. */
static inline void expect_text(char* found, const char* wanted, const char* file, int line) {
  if (found == NULL || strcmp(found, wanted) != 0) {
    fprintf(stderr, "%s:%d: expected %s, found %s\n", file, line, wanted, found == NULL ? "nothing" : found);
    ++failures;
  }
  quarv_free(found);
}
#define EXPECT_TEXT(found, wanted) expect_text(found, wanted, __FILE__, __LINE__)

static inline void expect_error(quarv_manager* m, quarv_status status, const char* message, const char* file,
                                int line) {
  if (quarv_error(m) == status && strcmp(quarv_error_message(m), message) == 0) return;
  fprintf(stderr, "%s:%d: expected error %d, %s\n  found %d, %s\n", file, line, (int)status, message,
          (int)quarv_error(m), quarv_error_message(m));
  ++failures;
}
#define EXPECT_ERROR(m, status, message) expect_error(m, status, message, __FILE__, __LINE__)

#endif
