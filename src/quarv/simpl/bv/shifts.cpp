#include <quarv/simpl/bv/folding.h>
#include <quarv/simpl/bv/shifts.h>

namespace quarv::termsimpl {

const Term* BVLslSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_lshl>(
      mgr, s, args, [](auto& x, const auto& amount, std::size_t w) { bits::shift_left_by(x, amount, w); });
}

const Term* BVLsrSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_lshr, bv::Width::of_operand>(
      mgr, s, args, [](auto& x, const auto& amount, std::size_t w) { bits::shift_right_by(x, amount, w); });
}

const Term* BVAsrSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_ashr>(
      mgr, s, args,
      [](auto& x, const auto& amount, std::size_t w) { bits::shift_right_signed_by(x, amount, w); });
}

}  // namespace quarv::termsimpl
