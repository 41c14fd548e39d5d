#include <quarv/simpl/bv/folding.h>
#include <quarv/simpl/bv/rotations.h>

namespace quarv::termsimpl {

namespace {

/// Rotates by 0 < bits < w. What comes to lie above w bits is left there.
void rotate_left(bv::Word& x, std::size_t bits, std::size_t w) {
  x = x << bits | x >> (w - bits);
}
void rotate_left(mpz_class& x, std::size_t bits, std::size_t w) {
  mpz_class& high = bv::wide_operands().y;
  mpz_fdiv_q_2exp(high.get_mpz_t(), x.get_mpz_t(), w - bits);
  x <<= bits;
  x |= high;
}

/// Rotates by as many bits to the left, out of `w`, as `left(amount, w)` says.
template <auto is_op, class Left>
const Term* fold_rotation(TermManager* mgr, const Symbol* s, const bv::Args& args, Left left) {
  std::size_t amount = 0;
  std::size_t w = 0;
  if (!(mgr->*is_op)(s, &amount, &w)) return mgr->do_make_term(s, args);
  const QNumber* const a = mgr->get_number(args[0]);
  if (a == nullptr || !bv::may_fold(mgr, w)) return mgr->do_make_term(s, args);
  const std::size_t bits = left(amount % w, w);
  if (bits == 0) return args[0];
  return bv::fold_literal(mgr, w, w, *a, [&](auto& x) { rotate_left(x, bits, w); });
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
