#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

int main() {
  quarv::TermManager mgr;
  quarv::StdTermSimplifier simplifier;
  quarv::termsimpl::register_standard_simplifications(&mgr, &simplifier);
  mgr.set_simplifier(&simplifier);  // from here on, what is built is simplified at once

  const quarv::Term* x = mgr.make_constant("x", mgr.get_bv_type(32));
  const quarv::Term* sum = mgr.make_bv_add(x, mgr.make_bv_number(0, 32));
  const quarv::Term* normal = simplifier.normalizer.normalize(&mgr, sum);  // by rewrite rules
  return normal == x ? 0 : 1;                                              // equal terms are one object
}
