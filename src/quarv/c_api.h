/**
 * \file
 * The C interface: terms, sorts, simplification and SMT-LIB texts, for C and for languages that call C.
 *
 * - A manager owns its terms and sorts; they are valid until it is deleted, or what was made since a mark is
 * released. Equal terms are equal pointers. Terms of one manager must not be handed to another.
 * - Texts are UTF-8 and end with a zero byte. Texts and arrays that a function returns are released by
 * quarv_free.
 * - No exception leaves these functions. Each that takes a manager sets the manager's status: QUARV_OK, or
 * what went wrong, with a message of one line. A function that returns a pointer then returns NULL.
 * - Any number of threads may use quarv at the same time, each with managers of its own.
 */
#ifndef QUARV_C_API_H
#define QUARV_C_API_H

#include <stddef.h>
#include <stdint.h>

#include <quarv/export.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct quarv_manager quarv_manager;
typedef const struct quarv_term_object* quarv_term;
typedef const struct quarv_sort_object* quarv_sort;

typedef enum quarv_status {
  QUARV_OK = 0,
  QUARV_INVALID_ARGUMENT =
      1,                /**< a null pointer, an unknown operator, a name that cannot be declared, no number */
  QUARV_SORT_ERROR = 2, /**< arguments do not fit an operator */
  QUARV_SYNTAX_ERROR = 3,  /**< an error in a text; the message begins with "file:line:column: error: " */
  QUARV_OUT_OF_MEMORY = 4, /**< also in GMP, unless the program has given it functions of its own; and at the
                              limit that quarv_set_memory_limit has set */
  QUARV_FAILURE = 5        /**< anything else */
} quarv_status;

/** Flags of quarv_manager_new. */
enum {
  QUARV_EAGER = 1, /**< terms are simplified when they are built; otherwise quarv_simplify does it */
  QUARV_LIBRARY_SEMANTICS = 2, /**< also what does not hold by the SMT-LIB standard */
  QUARV_STANDARD = 2,          /**< the former name of QUARV_LIBRARY_SEMANTICS */
  QUARV_NO_RULES = 4,          /**< simplifiers alone, no rewrite rules */
  QUARV_EXTENDED = 8 /**< simplifiers and rules beside the standard ones, as the program uses them */
};

/** "0.1.0" */
QUARV_API const char* quarv_version(void);

/** A manager with the standard simplifiers and rules; NULL when there is no memory. `flags` is 0 or a sum of
 * flags. */
QUARV_API quarv_manager* quarv_manager_new(unsigned flags);
/** Deletes a manager with all its terms; NULL is ignored. */
QUARV_API void quarv_manager_delete(quarv_manager* m);

/** How the last call with this manager ended, apart from these two functions and quarv_manager_delete. */
QUARV_API quarv_status quarv_error(const quarv_manager* m);
/** One line; "" after QUARV_OK. Valid until the next call with the manager. */
QUARV_API const char* quarv_error_message(const quarv_manager* m);

/** Releases a text or an array that a function returned; NULL is ignored. */
QUARV_API void quarv_free(void* answer);

/** \name Sorts
 * Equal sorts are equal pointers. @{ */
QUARV_API quarv_sort quarv_bool_sort(quarv_manager* m);
QUARV_API quarv_sort quarv_int_sort(quarv_manager* m);
QUARV_API quarv_sort quarv_real_sort(quarv_manager* m);
QUARV_API quarv_sort quarv_rounding_mode_sort(quarv_manager* m);
/** Bit-vectors of `width` bits, at least 1. */
QUARV_API quarv_sort quarv_bv_sort(quarv_manager* m, size_t width);
/** As SMT-LIB's (_ FloatingPoint eb sb): `sb` counts the hidden bit. */
QUARV_API quarv_sort quarv_fp_sort(quarv_manager* m, size_t eb, size_t sb);
QUARV_API quarv_sort quarv_array_sort(quarv_manager* m, quarv_sort index, quarv_sort element);
/** An uninterpreted sort; the same name gives the same sort. A name of a predefined sort, or of one with
 * parameters, cannot be declared; nor can a name with the characters | and \\, which SMT-LIB cannot write. */
QUARV_API quarv_sort quarv_declare_sort(quarv_manager* m, const char* name);
/** The sort of an SMT-LIB text: "(Array Int Bool)". */
QUARV_API quarv_sort quarv_parse_sort(quarv_manager* m, const char* text);
/** In SMT-LIB syntax. */
QUARV_API char* quarv_sort_to_string(quarv_manager* m, quarv_sort sort);
/** Bits of a bit-vector sort; 0 for other sorts. */
QUARV_API size_t quarv_bv_width(quarv_manager* m, quarv_sort sort);
/** @} */

/** \name Terms
 * @{ */
/** A declared constant; the same name with the same sort gives the same term. */
QUARV_API quarv_term quarv_constant(quarv_manager* m, const char* name, quarv_sort sort);
/** Declares a function with n > 0 arguments, to be applied by quarv_make with its name. */
QUARV_API quarv_status quarv_declare_function(quarv_manager* m, const char* name, const quarv_sort* arguments,
                                              size_t n, quarv_sort result);
QUARV_API quarv_term quarv_true(quarv_manager* m);
QUARV_API quarv_term quarv_false(quarv_manager* m);
/** An integer or rational number: "7", "-12", "1.25", "-3/2". */
QUARV_API quarv_term quarv_number(quarv_manager* m, const char* value);
/** A bit-vector of `width` bits that encodes `value` modulo 2^width. */
QUARV_API quarv_term quarv_bv(quarv_manager* m, uint64_t value, size_t width);
/** Likewise, of a decimal integer of any size and sign. */
QUARV_API quarv_term quarv_bv_number(quarv_manager* m, const char* value, size_t width);
/** A floating-point number by its encoding of eb + sb bits, a decimal integer. */
QUARV_API quarv_term quarv_fp_bits(quarv_manager* m, const char* bits, size_t eb, size_t sb);
/** An operator of SMT-LIB by its name, with indices where it has any ("bvadd", "(_ extract 7 0)",
 *  "(as const (Array Int Int))"), or a declared function, applied to n arguments. Associative operators take
 *  any number of them, and comparisons of more than two compare neighbours. */
QUARV_API quarv_term quarv_make(quarv_manager* m, const char* op, const quarv_term* args, size_t n);
/** The term of an SMT-LIB text, in which declared names may occur: "(bvadd x #x01)". */
QUARV_API quarv_term quarv_parse_term(quarv_manager* m, const char* text);

QUARV_API quarv_sort quarv_sort_of(quarv_manager* m, quarv_term t);
/** Creation number: an older term has a smaller one. */
QUARV_API uint64_t quarv_term_id(quarv_term t);
QUARV_API size_t quarv_num_args(quarv_manager* m, quarv_term t);
QUARV_API quarv_term quarv_arg(quarv_manager* m, quarv_term t, size_t i);
/** The value of a number or literal (of literals the unsigned encoding) as "7" or "-3/2"; NULL, with
 * QUARV_OK, for any other term. */
QUARV_API char* quarv_value(quarv_manager* m, quarv_term t);
/** On one line, shared sub-terms as `let`. */
QUARV_API char* quarv_term_to_string(quarv_manager* m, quarv_term t);
/** Number of distinct sub-terms of n terms, themselves included. */
QUARV_API size_t quarv_num_nodes(quarv_manager* m, const quarv_term* terms, size_t n);
/** Number of terms on the longest way down: 1 for a constant; 0 after an error. */
QUARV_API size_t quarv_depth(quarv_manager* m, quarv_term t);
/** The name of the operator or function at the top, as quarv_make takes it: "bvadd", "(_ extract 7 0)". */
QUARV_API char* quarv_head(quarv_manager* m, quarv_term t);
/** Calls `visit` for each distinct sub-term of n terms, themselves included, arguments first, and of these
 * the first one first. It may build terms, but must neither throw nor release any. */
QUARV_API quarv_status quarv_visit(quarv_manager* m, const quarv_term* terms, size_t n,
                                   void (*visit)(quarv_term t, void* data), void* data);
/** The declared constants that occur in n terms, oldest first. `*constants` gets an array to be released by
 * quarv_free. */
QUARV_API quarv_status quarv_free_constants(quarv_manager* m, const quarv_term* terms, size_t n,
                                            quarv_term** constants, size_t* num_constants);
/** The term with each `what[i]` replaced by `by[i]`, of the same sort, at the same time; of n terms that
 * contain each other the outermost. Bound variables are respected. */
QUARV_API quarv_term quarv_substitute(quarv_manager* m, quarv_term t, const quarv_term* what,
                                      const quarv_term* by, size_t n);
/** The term's value where n declared constants have these values; if `complete` is not 0, others are false,
 * zero, and the like. A simpler term where that does not determine the value. */
QUARV_API quarv_term quarv_evaluate(quarv_manager* m, quarv_term t, const quarv_term* constants,
                                    const quarv_term* values, size_t n, int complete);
/** The term of `from` in another manager, with functions and sorts of the same names; `to` gets the status.
 */
QUARV_API quarv_term quarv_translate(quarv_manager* from, quarv_term t, quarv_manager* to);
/** @} */

/** \name Memory
 * @{ */
/** Remembers what terms, sorts and declarations there are. The number of the mark; 0 after an error. */
QUARV_API uint64_t quarv_mark(quarv_manager* m);
/** Gives back all that was made and declared since the mark, in time proportional to it; terms and sorts made
 * since are invalid then. The mark and later ones are used up. */
QUARV_API quarv_status quarv_release(quarv_manager* m, uint64_t mark);
/** Bytes that terms, symbols, numbers and their tables take. */
QUARV_API size_t quarv_memory(quarv_manager* m);
/** Limits these bytes: what needs more fails with QUARV_OUT_OF_MEMORY, and the manager can be used as before.
 * (size_t)-1 is no limit. */
QUARV_API quarv_status quarv_set_memory_limit(quarv_manager* m, size_t bytes);
/** @} */

/** \name Simplification
 * @{ */
/** A term equal to `t`, simplified as far as the manager can. */
QUARV_API quarv_term quarv_simplify(quarv_manager* m, quarv_term t);

/** One step of a simplification. */
typedef struct quarv_step {
  size_t rule;      /**< number of the rewrite rule, from 1; 0 for a simplifier */
  const char* name; /**< the rule's text, or the operator's name; valid during the call */
  quarv_term before;
  quarv_term after;
  const char* rule_name; /**< the rule's name, "" where there is none; valid during the call */
} quarv_step;

/** As quarv_simplify, and then calls `step` for each thing that was done, in order. `step` must not throw. */
QUARV_API quarv_term quarv_explain(quarv_manager* m, quarv_term t,
                                   void (*step)(const quarv_step*, void* data), void* data);

/** Rewrite rules of your own, one a line, tried after the standard ones; `name` is for messages. */
QUARV_API quarv_status quarv_add_rules(quarv_manager* m, const char* text, const char* name);

/** A simplification of your own: gets the simplified arguments of an operator or of a declared function, and
 * returns an equal term, or NULL when there is nothing to do. `op` is as quarv_make takes it, `args` has `n`
 * terms; both are valid during the call. It may build terms, but not that very application, and must neither
 * throw nor release any. */
typedef quarv_term (*quarv_simplification)(quarv_manager* m, const char* op, const quarv_term* args, size_t n,
                                           void* data);
/** Has it called for all applications of an operator of SMT-LIB, by its name without indices, or of a
 * declared function: before the standard simplifiers or, if `after` is not 0, when these have left the
 * operator in place. When it returns a term of another sort, what is under way fails with QUARV_SORT_ERROR.
 * It is gone when a mark that was set before is released. */
QUARV_API quarv_status quarv_add_simplification(quarv_manager* m, const char* op, int after,
                                                quarv_simplification simplification, void* data);

/** One thing that was done while terms were simplified: a rule made `after` of `before`, or a simplifier of
 * the application of `name` to `args`. */
typedef struct quarv_event {
  size_t rule;       /**< number of the rewrite rule, from 1; 0 for a simplifier */
  const char* name;  /**< the rule's name, "" where there is none, or the operator; valid during the call */
  quarv_term before; /**< NULL for a simplifier */
  const quarv_term* args; /**< NULL for a rule; valid during the call */
  size_t n;               /**< the number of `args` */
  quarv_term after;
} quarv_event;

/** Has `observer` called for all that is done while terms are simplified, as it is done; NULL ends that. It
 * must neither build terms, nor throw, nor release any. */
QUARV_API quarv_status quarv_observe(quarv_manager* m, void (*observer)(const quarv_event* event, void* data),
                                     void* data);
/** @} */

/** \name SMT-LIB scripts
 * @{ */
/** The assertions of a script that are in force at its end. `name` is for messages. `*assertions` gets an
 * array to be released by quarv_free. */
QUARV_API quarv_status quarv_parse_script(quarv_manager* m, const char* text, const char* name,
                                          quarv_term** assertions, size_t* n);
/** A script that declares what occurs in n formulas and asserts them. */
QUARV_API char* quarv_script(quarv_manager* m, const quarv_term* assertions, size_t n);
/** The smallest script that asserts what n formulas say. */
QUARV_API char* quarv_smallest_script(quarv_manager* m, const quarv_term* assertions, size_t n);
/** The whole script simplified, command by command, as `quarv simplify` does it. Of the manager it uses the
 * status alone. */
QUARV_API char* quarv_simplify_script(quarv_manager* m, const char* text, const char* name);
/** The whole script in the normal form, as `quarv simplify --canonical` prints it: for comparing. Of the
 * manager it uses the status alone. */
QUARV_API char* quarv_normalize_script(quarv_manager* m, const char* text, const char* name);
/** @} */

#ifdef __cplusplus
}
#endif

#endif
