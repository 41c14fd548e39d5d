#include <quarv/simpl/bv/bitwise.h>
#include <quarv/simpl/bv/folding.h>

namespace quarv::termsimpl {

const Term* BVAndSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_and>(
      mgr, s, args, [](auto& x, const auto& y, std::size_t) { bits::and_with(x, y); });
}

const Term* BVOrSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_or>(
      mgr, s, args, [](auto& x, const auto& y, std::size_t) { bits::or_with(x, y); });
}

const Term* BVXorSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_xor>(
      mgr, s, args, [](auto& x, const auto& y, std::size_t) { bits::xor_with(x, y); });
}

const Term* BVNotSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_unary<&TermManager::is_bv_not>(mgr, s, args,
                                                 [](auto& x, std::size_t) { bits::complement(x); });
}

}  // namespace quarv::termsimpl
