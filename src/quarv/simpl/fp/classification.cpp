#include <quarv/simpl/fp/classification.h>
#include <quarv/simpl/fp/folding.h>

namespace quarv::termsimpl {

namespace {

template <auto is_op, class Test>
const Term* classify(TermManager* mgr, const Symbol* s, const fp::Args& args, Test test) {
  return fp::with_literal<is_op>(mgr, s, args, [&](fp::Format f, const QNumber& bits) {
    return mgr->make_bool(test(IEEEFloat::from_bits(bits, f)));
  });
}

}  // namespace

const Term* FpIsNaNSimpl::operator()(TermManager* mgr, const Symbol* s,
                                     const std::vector<const Term*>& args) {
  return classify<&TermManager::is_fp_isnan>(mgr, s, args, [](const IEEEFloat& x) { return x.is_nan(); });
}

const Term* FpIsInfSimpl::operator()(TermManager* mgr, const Symbol* s,
                                     const std::vector<const Term*>& args) {
  return classify<&TermManager::is_fp_isinf>(mgr, s, args, [](const IEEEFloat& x) { return x.is_inf(); });
}

const Term* FpIsZeroSimpl::operator()(TermManager* mgr, const Symbol* s,
                                      const std::vector<const Term*>& args) {
  return classify<&TermManager::is_fp_iszero>(mgr, s, args, [](const IEEEFloat& x) { return x.is_zero(); });
}

const Term* FpIsSubnormalSimpl::operator()(TermManager* mgr, const Symbol* s,
                                           const std::vector<const Term*>& args) {
  return classify<&TermManager::is_fp_issubnormal>(mgr, s, args,
                                                   [](const IEEEFloat& x) { return x.is_subnormal(); });
}

const Term* FpIsNormalSimpl::operator()(TermManager* mgr, const Symbol* s,
                                        const std::vector<const Term*>& args) {
  return classify<&TermManager::is_fp_isnormal>(mgr, s, args,
                                                [](const IEEEFloat& x) { return x.is_normal(); });
}

const Term* FpIsNegSimpl::operator()(TermManager* mgr, const Symbol* s,
                                     const std::vector<const Term*>& args) {
  return classify<&TermManager::is_fp_isneg>(mgr, s, args,
                                             [](const IEEEFloat& x) { return !x.is_nan() && x.get_sign(); });
}

const Term* FpIsPosSimpl::operator()(TermManager* mgr, const Symbol* s,
                                     const std::vector<const Term*>& args) {
  return classify<&TermManager::is_fp_ispos>(mgr, s, args,
                                             [](const IEEEFloat& x) { return !x.is_nan() && !x.get_sign(); });
}

}  // namespace quarv::termsimpl
