#include <quarv/simpl/bv/folding.h>
#include <quarv/simpl/bv/rotations.h>

namespace quarv::termsimpl {

namespace {

/// Rotates by as many bits to the left, out of `w`, as `left(amount, w)` says.
template <auto is_op, class Left>
const Term* fold_rotation(TermManager* mgr, const Symbol* s, const bv::Args& args, Left left) {
  std::size_t amount = 0;
  std::size_t w = 0;
  if (!(mgr->*is_op)(s, &amount, &w)) return mgr->do_make_term(s, args);
  const QNumber* const a = mgr->get_number(args[0]);
  if (a == nullptr || !bv::may_fold(mgr, w)) return mgr->do_make_term(s, args);
  const std::size_t places = left(amount % w, w);
  if (places == 0) return args[0];
  return bv::fold_literals(mgr, w, w, *a, *a, [&](auto& x, auto& y) { bits::rotate_left(x, y, places, w); });
}

}  // namespace

const Term* BVRolSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return fold_rotation<&TermManager::is_bv_rotate_left>(
      mgr, s, args, [](std::size_t amount, std::size_t) { return amount; });
}

const Term* BVRorSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return fold_rotation<&TermManager::is_bv_rotate_right>(
      mgr, s, args, [](std::size_t amount, std::size_t w) { return amount == 0 ? 0 : w - amount; });
}

}  // namespace quarv::termsimpl
