#pragma once

#include <pybind11/pybind11.h>
#include <string>
#include <vector>

#include "turn.h"

/// z3's C interface, in whichever library z3's own Python interface has loaded: quarv is not linked against
/// it.
namespace quarv::python::z3 {

struct AstObject;
struct SymbolObject;
struct ContextObject;
/// Terms, and the sorts and declarations that the interface lets stand for terms.
using Ast = AstObject*;
using Symbol = SymbolObject*;
using Context = ContextObject*;

// The values that z3's interface has had from the beginning.
constexpr int numeral_ast = 0;
constexpr int application_ast = 1;
constexpr int quantifier_ast = 3;
constexpr int integer_symbol = 0;
constexpr int integer_sort = 2;
constexpr int real_sort = 3;
constexpr int bit_vector_sort = 4;

struct Functions {
  void (*inc_ref)(Context, Ast);
  void (*dec_ref)(Context, Ast);
  int (*get_error_code)(Context);
  const char* (*get_error_msg)(Context, int);

  Symbol (*mk_string_symbol)(Context, const char*);
  Ast (*mk_const)(Context, Symbol, Ast sort);
  Ast (*mk_func_decl)(Context, Symbol, unsigned, const Ast* domain, Ast range);
  Ast (*mk_app)(Context, Ast decl, unsigned, const Ast* args);
  Ast (*mk_numeral)(Context, const char*, Ast sort);
  Ast (*mk_int2real)(Context, Ast);
  Ast (*mk_bv_sort)(Context, unsigned);
  Ast (*mk_fpa_fp)(Context, Ast sign, Ast exponent, Ast significand);
  Ast (*mk_fpa_nan)(Context, Ast sort);
  Ast (*mk_fpa_inf)(Context, Ast sort, bool negative);
  Ast (*mk_fpa_zero)(Context, Ast sort, bool negative);
  Ast (*substitute)(Context, Ast, unsigned, const Ast* from, const Ast* to);
  Ast (*mk_pattern)(Context, unsigned, const Ast* terms);
  Ast (*mk_quantifier_const)(Context, bool is_forall, unsigned weight, unsigned, const Ast* bound, unsigned,
                             const Ast* patterns, Ast body);

  int (*get_ast_kind)(Context, Ast);
  Ast (*get_app_decl)(Context, Ast);
  unsigned (*get_app_num_args)(Context, Ast);
  Ast (*get_app_arg)(Context, Ast, unsigned);
  Ast (*get_sort)(Context, Ast);
  int (*get_sort_kind)(Context, Ast);
  unsigned (*get_bv_sort_size)(Context, Ast);
  const char* (*get_numeral_string)(Context, Ast);
  const char* (*ast_to_string)(Context, Ast);
  int (*get_decl_kind)(Context, Ast);
  Symbol (*get_decl_name)(Context, Ast);
  unsigned (*get_arity)(Context, Ast);
  Ast (*get_domain)(Context, Ast, unsigned);
  Ast (*get_range)(Context, Ast);
  bool (*is_quantifier_forall)(Context, Ast);
  bool (*is_quantifier_exists)(Context, Ast);
  unsigned (*get_quantifier_num_bound)(Context, Ast);
  Symbol (*get_quantifier_bound_name)(Context, Ast, unsigned);
  Ast (*get_quantifier_bound_sort)(Context, Ast, unsigned);
  Ast (*get_quantifier_body)(Context, Ast);
  unsigned (*get_quantifier_num_patterns)(Context, Ast);
  Ast (*get_quantifier_pattern_ast)(Context, Ast, unsigned);
  unsigned (*get_pattern_num_terms)(Context, Ast);
  Ast (*get_pattern)(Context, Ast, unsigned);
  Ast (*mk_fresh_const)(Context, const char* prefix, Ast sort);
  Ast (*substitute_vars)(Context, Ast, unsigned, const Ast* to);
  int (*get_symbol_kind)(Context, Symbol);
  int (*get_symbol_int)(Context, Symbol);
  const char* (*get_symbol_string)(Context, Symbol);
};

/// Looks up the functions: `address` takes a name to an address.
Functions functions(const py::function& address);

/// One context, and the references to what was made in it, which last as long as this object.
class Library {
 public:
  Library(const py::function& address, std::uintptr_t context);
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  const Functions& operator()() const noexcept { return functions_; }
  Context context() const noexcept { return context_; }

  /// What was just made, kept alive. \throws std::invalid_argument when z3 did not make it
  Ast kept(Ast made);
  /// \throws std::invalid_argument when the last call failed
  void check() const;

 private:
  Functions functions_;
  Context context_;
  std::vector<Ast> kept_;
};

/// Between steps of a conversion: other threads of Python run now and then, and signals are heard.
class Breath {
 public:
  void operator()();

 private:
  static constexpr unsigned steps_between = 4096;

  unsigned steps_ = 0;
  SignalWatch watch_;
};

}  // namespace quarv::python::z3
