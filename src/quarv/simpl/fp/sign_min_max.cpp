#include <quarv/simpl/fp/folding.h>
#include <quarv/simpl/fp/sign_min_max.h>

namespace quarv::termsimpl {

namespace {

/// The literal x after `change(x)`, which is left out for NaN.
template <auto is_op, class Change>
const Term* change_sign(TermManager* mgr, const Symbol* s, const fp::Args& args, Change change) {
  return fp::with_literal<is_op>(mgr, s, args, [&](fp::Format f, const QNumber& bits) {
    IEEEFloat x = IEEEFloat::from_bits(bits, f);
    if (!x.is_nan()) change(x);
    return fp::make_literal(mgr, x);
  });
}

/// The one of two literals for which `precedes(one, other)` holds; or else, in this order, the one that is
/// not NaN, the first of two NaNs, and +0 for two zeros.
template <auto is_op, class Precedes>
const Term* choose(TermManager* mgr, const Symbol* s, const fp::Args& args, Precedes precedes) {
  return fp::with_literal<is_op>(mgr, s, args, [&](fp::Format f, const QNumber& a_bits) {
    const QNumber* const b_bits = mgr->get_number(args[1]);
    if (b_bits == nullptr) return mgr->do_make_term(s, args);
    IEEEFloat a = IEEEFloat::from_bits(a_bits, f);
    const IEEEFloat b = IEEEFloat::from_bits(*b_bits, f);
    swflt::float_exception_flags = 0;
    if (a.identical(b) || precedes(a, b) || b.is_nan()) return fp::make_literal(mgr, a);
    if (precedes(b, a) || a.is_nan()) return fp::make_literal(mgr, b);
    a.set_sign(false);
    return fp::make_literal(mgr, a);
  });
}

}  // namespace

const Term* FpNegSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return change_sign<&TermManager::is_fp_neg>(mgr, s, args, [](IEEEFloat& x) { x.self_neg(); });
}

const Term* FpAbsSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return change_sign<&TermManager::is_fp_abs>(mgr, s, args, [](IEEEFloat& x) { x.set_sign(false); });
}

const Term* FpMinSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return choose<&TermManager::is_fp_min>(mgr, s, args,
                                         [](const IEEEFloat& x, const IEEEFloat& y) { return x < y; });
}

const Term* FpMaxSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return choose<&TermManager::is_fp_max>(mgr, s, args,
                                         [](const IEEEFloat& x, const IEEEFloat& y) { return y < x; });
}

}  // namespace quarv::termsimpl
