#include <quarv/simpl/arith/int_mod_congr.h>
#include <quarv/simpl/canonical_order.h>
#include <quarv/term/term_manager.h>

namespace quarv::termsimpl {

namespace {

QNumber remainder(const QNumber& x, const QNumber& modulus) {
  QNumber quotient, rest;
  x.divmod(modulus, quotient, rest);
  return rest;
}

}  // namespace

const Term* IntModCongrSimpl::operator()(TermManager* mgr, const Symbol* s,
                                         const std::vector<const Term*>& args) {
  QNumber modulus;
  mgr->is_int_modular_congruence(s, &modulus);
  const QNumber* a = mgr->get_number(args[0]);
  const QNumber* b = mgr->get_number(args[1]);
  if (a != nullptr && b != nullptr) return mgr->make_bool(remainder(*a - *b, modulus).is_zero());

  if (!poly_.normalize(mgr, args[0], args[1], false)) return mgr->do_make_term(s, args);
  QNumber& k = poly_.constant;
  if (poly_.monomials.empty()) return mgr->make_bool(remainder(k, modulus).is_zero());
  if (poly_.leading_coefficient_is_negative()) {
    poly_.negate_coefficients();
  } else {
    k = k.neg();
  }
  const Term* polynomial = poly_.to_term(mgr);
  const Term* numeral = mgr->make_number(remainder(k, modulus));
  writable(args)[0] = polynomial;
  writable(args)[1] = numeral;
  return mgr->do_make_term(s, args);
}

}  // namespace quarv::termsimpl
