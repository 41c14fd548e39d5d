#include <quarv/simpl/bv/folding.h>
#include <quarv/simpl/bv/rotations.h>

namespace quarv::termsimpl {

namespace {

/// Repeats `step(x, width)`, which rotates by one bit, as often as the operator says.
template <auto is_op, class Step>
const Term* fold_rotation(TermManager* mgr, const Symbol* s, const bv::Args& args, Step step) {
  std::size_t amount = 0;
  std::size_t w = 0;
  if (!(mgr->*is_op)(s, &amount, &w)) return mgr->do_make_term(s, args);
  const QNumber* const a = mgr->get_number(args[0]);
  if (a == nullptr) return mgr->do_make_term(s, args);
  return bv::fold_literal(mgr, w, w, *a, [&](auto& x) {
    for (std::size_t i = 0; i != amount; ++i) step(x, w);
  });
}

}  // namespace

const Term* BVRolSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return fold_rotation<&TermManager::is_bv_rotate_left>(mgr, s, args, [](auto& x, std::size_t w) {
    const bool top = bv::bit(x, w - 1);
    x <<= 1;
    bv::reduce(x, w);
    if (top) bv::set_bit(x, 0);
  });
}

const Term* BVRorSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return fold_rotation<&TermManager::is_bv_rotate_right>(mgr, s, args, [](auto& x, std::size_t w) {
    const bool bottom = bv::bit(x, 0);
    x >>= 1;
    if (bottom) bv::set_bit(x, w - 1);
  });
}

}  // namespace quarv::termsimpl
