#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

int main() {
  quarv::TermManager mgr;
  quarv::StdTermSimplifier simplifier;
  quarv::termsimpl::register_standard_simplifications(&mgr, &simplifier);
  mgr.set_simplifier(&simplifier);
  const quarv::Term* p = mgr.make_constant("p", mgr.bool_type);
  const quarv::Term* q = mgr.make_and(p, mgr.make_not(p));
  return q == mgr.false_term ? 0 : 1;
}
