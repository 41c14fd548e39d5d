#include <climits>

#include <quarv/simpl/bv/folding.h>

namespace quarv::termsimpl::bv {

namespace {

/// Calls `make` with x as a number. A big number is lent for the call, so that it keeps its memory from one
/// call to the next.
template <class Make>
const Term* with_number(mpz_srcptr x, Make make) {
  if (mpz_fits_slong_p(x) && mpz_get_si(x) != INT64_MIN) return make(QNumber(mpz_get_si(x)));
  thread_local QNumber big;
  big.set_integer(x);
  return make(big);
}

}  // namespace

WideOperands& wide_operands() {
  thread_local WideOperands operands;
  return operands;
}

const Term* make_number(TermManager* mgr, mpz_srcptr x) {
  return with_number(x, [&](const QNumber& value) { return mgr->make_number(value); });
}

const Term* make_literal(TermManager* mgr, mpz_ptr x, std::size_t width) {
  bits::reduce(x, width);
  return with_number(x, [&](const QNumber& value) { return mgr->make_bv_number(value, width); });
}

const Term* make_top_bit_literal(TermManager* mgr, Word x, std::size_t width) {
  const mpz_ptr scratch = QNumber::gmp_tmp[0];
  mpz_set_ui(scratch, x);
  return with_number(scratch, [&](const QNumber& value) { return mgr->make_bv_number(value, width); });
}

}  // namespace quarv::termsimpl::bv
