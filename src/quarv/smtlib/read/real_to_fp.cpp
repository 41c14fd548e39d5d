#include <quarv/numbers/ieee_float.h>
#include <quarv/simpl/fp/folding.h>
#include <quarv/smtlib/read/real_to_fp.h>

namespace quarv::smtlib {

const Term* fold_real_to_fp(TermManager& manager, const Term* rounding, const QNumber& value, std::size_t ew,
                            std::size_t mw) {
  const auto mode = termsimpl::fp::rounding_mode(&manager, rounding);
  if (!mode || !manager.may_compute(ew + mw + 1)) return nullptr;
  return termsimpl::fp::make_literal(&manager, IEEEFloat::from_number(value, {ew, mw}, *mode));
}

}  // namespace quarv::smtlib
