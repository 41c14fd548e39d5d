#include <quarv/simpl/bv/arithmetic.h>
#include <quarv/simpl/bv/folding.h>

namespace quarv::termsimpl {

const Term* BVAddSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_add>(
      mgr, s, args, [](auto& x, const auto& y, std::size_t) { bits::add(x, y); });
}

const Term* BVSubSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_sub>(
      mgr, s, args, [](auto& x, const auto& y, std::size_t) { bits::subtract(x, y); });
}

const Term* BVMulSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_mul>(
      mgr, s, args, [](auto& x, const auto& y, std::size_t) { bits::multiply(x, y); });
}

const Term* BVNegSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_unary<&TermManager::is_bv_neg>(mgr, s, args, [](auto& x, std::size_t) { bits::negate(x); });
}

const Term* BVUdivSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_udiv>(
      mgr, s, args, [](auto& x, const auto& y, std::size_t) { bits::divide(x, y); });
}

const Term* BVUremSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_urem>(
      mgr, s, args, [](auto& x, const auto& y, std::size_t) { bits::take_remainder(x, y); });
}

const Term* BVSdivSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_sdiv>(
      mgr, s, args, [](auto& x, auto& y, std::size_t w) { bits::divide_signed(x, y, w); });
}

const Term* BVSremSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_srem>(
      mgr, s, args, [](auto& x, auto& y, std::size_t w) { bits::take_signed_remainder(x, y, w); });
}

}  // namespace quarv::termsimpl
