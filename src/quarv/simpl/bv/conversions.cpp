#include <quarv/simpl/bv/conversions.h>
#include <quarv/simpl/bv/folding.h>

namespace quarv::termsimpl {

const Term* IntToBvSimpl::operator()(TermManager* mgr, const Symbol* s,
                                     const std::vector<const Term*>& args) {
  std::size_t w = 0;
  if (!mgr->is_int_to_bv(s, &w)) return mgr->do_make_term(s, args);
  const Term* const integer = args[0];
  if (const QNumber* const value = mgr->get_number(integer)) {
    if (!bv::may_fold(mgr, w)) return mgr->do_make_term(s, args);
    return bv::fold_literal(mgr, w, w, *value, [](auto&) {});
  }
  std::size_t source = 0;
  if (mgr->is_int_from_sbv(integer->symbol, &source) && w >= source) {
    const Term* const bits = integer->args[0];
    return w == source ? bits : mgr->make_bv_sign_extend(w - source, bits);
  }
  if (mgr->is_int_from_ubv(integer->symbol, &source) && w >= source) {
    const Term* const bits = integer->args[0];
    return w == source ? bits : mgr->make_bv_zero_extend(w - source, bits);
  }
  return mgr->do_make_term(s, args);
}

const Term* IntFromUBvSimpl::operator()(TermManager* mgr, const Symbol* s,
                                        const std::vector<const Term*>& args) {
  const QNumber* const a = mgr->get_number(args[0]);
  return a == nullptr ? mgr->do_make_term(s, args) : mgr->make_number(*a);
}

const Term* IntFromSBvSimpl::operator()(TermManager* mgr, const Symbol* s,
                                        const std::vector<const Term*>& args) {
  std::size_t w = 0;
  if (!mgr->is_int_from_sbv(s, &w)) return mgr->do_make_term(s, args);
  const QNumber* const a = mgr->get_number(args[0]);
  if (a == nullptr || !bv::may_fold(mgr, w)) return mgr->do_make_term(s, args);
  if (w < bv::word_bits) {
    bv::Word x = BVNumber::to_word(*a);
    bits::sign_extend(x, w);
    return mgr->make_number(QNumber(static_cast<std::int64_t>(x)));
  }
  const mpz_ptr x = bv::load(bv::wide_operands().x, *a);
  bits::sign_extend(x, w);
  return bv::make_number(mgr, x);
}

}  // namespace quarv::termsimpl
