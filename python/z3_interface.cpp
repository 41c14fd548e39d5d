#include "z3_interface.h"

#include <stdexcept>

namespace quarv::python::z3 {

namespace {

template <class Function>
void load(Function*& function, const py::function& address, const char* name) {
  function = reinterpret_cast<Function*>(address(name).cast<std::uintptr_t>());
}

}  // namespace

Functions functions(const py::function& address) {
  Functions f{};
  load(f.inc_ref, address, "Z3_inc_ref");
  load(f.dec_ref, address, "Z3_dec_ref");
  load(f.get_error_code, address, "Z3_get_error_code");
  load(f.get_error_msg, address, "Z3_get_error_msg");
  load(f.mk_string_symbol, address, "Z3_mk_string_symbol");
  load(f.mk_const, address, "Z3_mk_const");
  load(f.mk_func_decl, address, "Z3_mk_func_decl");
  load(f.mk_app, address, "Z3_mk_app");
  load(f.mk_numeral, address, "Z3_mk_numeral");
  load(f.mk_int2real, address, "Z3_mk_int2real");
  load(f.mk_bv_sort, address, "Z3_mk_bv_sort");
  load(f.mk_fpa_fp, address, "Z3_mk_fpa_fp");
  load(f.mk_fpa_nan, address, "Z3_mk_fpa_nan");
  load(f.mk_fpa_inf, address, "Z3_mk_fpa_inf");
  load(f.mk_fpa_zero, address, "Z3_mk_fpa_zero");
  load(f.substitute, address, "Z3_substitute");
  load(f.get_ast_kind, address, "Z3_get_ast_kind");
  load(f.get_app_decl, address, "Z3_get_app_decl");
  load(f.get_app_num_args, address, "Z3_get_app_num_args");
  load(f.get_app_arg, address, "Z3_get_app_arg");
  load(f.get_sort, address, "Z3_get_sort");
  load(f.get_sort_kind, address, "Z3_get_sort_kind");
  load(f.get_bv_sort_size, address, "Z3_get_bv_sort_size");
  load(f.get_numeral_string, address, "Z3_get_numeral_string");
  load(f.ast_to_string, address, "Z3_ast_to_string");
  load(f.get_decl_kind, address, "Z3_get_decl_kind");
  load(f.get_decl_name, address, "Z3_get_decl_name");
  load(f.get_arity, address, "Z3_get_arity");
  load(f.get_domain, address, "Z3_get_domain");
  load(f.get_range, address, "Z3_get_range");
  load(f.mk_pattern, address, "Z3_mk_pattern");
  load(f.mk_quantifier_const, address, "Z3_mk_quantifier_const");
  load(f.is_quantifier_forall, address, "Z3_is_quantifier_forall");
  load(f.is_quantifier_exists, address, "Z3_is_quantifier_exists");
  load(f.get_quantifier_num_bound, address, "Z3_get_quantifier_num_bound");
  load(f.get_quantifier_bound_name, address, "Z3_get_quantifier_bound_name");
  load(f.get_quantifier_bound_sort, address, "Z3_get_quantifier_bound_sort");
  load(f.get_quantifier_body, address, "Z3_get_quantifier_body");
  load(f.get_quantifier_num_patterns, address, "Z3_get_quantifier_num_patterns");
  load(f.get_quantifier_pattern_ast, address, "Z3_get_quantifier_pattern_ast");
  load(f.get_pattern_num_terms, address, "Z3_get_pattern_num_terms");
  load(f.get_pattern, address, "Z3_get_pattern");
  load(f.mk_fresh_const, address, "Z3_mk_fresh_const");
  load(f.substitute_vars, address, "Z3_substitute_vars");
  load(f.get_symbol_kind, address, "Z3_get_symbol_kind");
  load(f.get_symbol_int, address, "Z3_get_symbol_int");
  load(f.get_symbol_string, address, "Z3_get_symbol_string");
  return f;
}

Library::Library(const py::function& address, std::uintptr_t context)
    : functions_(functions(address)), context_(reinterpret_cast<Context>(context)) {}

Library::~Library() {
  for (const Ast a : kept_) functions_.dec_ref(context_, a);
}

void Library::check() const {
  const int code = functions_.get_error_code(context_);
  if (code != 0) throw std::invalid_argument(std::string("z3: ") + functions_.get_error_msg(context_, code));
}

Ast Library::kept(Ast made) {
  if (made == nullptr) {
    check();
    throw std::invalid_argument("z3 does not make such a term");
  }
  functions_.inc_ref(context_, made);
  try {
    kept_.push_back(made);
  } catch (...) {
    functions_.dec_ref(context_, made);
    throw;
  }
  return made;
}

void Breath::operator()() {
  if (++steps_ % steps_between != 0) return;
  { const py::gil_scoped_release others_run; }
  try {
    watch_();
  } catch (const SignalWatch::Interrupted&) {
    throw py::error_already_set();
  }
}

}  // namespace quarv::python::z3
