#include <quarv/simpl/bv/folding.h>
#include <quarv/simpl/bv/structure.h>

namespace quarv::termsimpl {

const Term* BVConcatSimpl::operator()(TermManager* mgr, const Symbol* s,
                                      const std::vector<const Term*>& args) {
  std::size_t high_width = 0;
  std::size_t low_width = 0;
  if (!mgr->is_bv_concat(s, &high_width, &low_width)) return mgr->do_make_term(s, args);
  const QNumber* const high = mgr->get_number(args[0]);
  if (high == nullptr) return mgr->do_make_term(s, args);
  const QNumber* const low = mgr->get_number(args[1]);
  const std::size_t width = high_width + low_width;
  if (low == nullptr || !bv::may_fold(mgr, width)) return mgr->do_make_term(s, args);
  return bv::fold_literals(mgr, width, width, *high, *low,
                           [&](auto& x, const auto& y) { bits::append(x, y, low_width); });
}

const Term* BVSelectSimpl::operator()(TermManager* mgr, const Symbol* s,
                                      const std::vector<const Term*>& args) {
  std::size_t msb = 0;
  std::size_t lsb = 0;
  std::size_t w = 0;
  if (!mgr->is_bv_extract(s, &msb, &lsb, &w)) return mgr->do_make_term(s, args);
  const QNumber* const a = mgr->get_number(args[0]);
  if (a == nullptr || !bv::may_fold(mgr, w)) return mgr->do_make_term(s, args);
  return bv::fold_literal(mgr, w, msb + 1 - lsb, *a, [&](auto& x) { bits::shift_right(x, lsb); });
}

const Term* BVZextSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  std::size_t added = 0;
  std::size_t w = 0;
  if (!mgr->is_bv_zero_extend(s, &added, &w)) return mgr->do_make_term(s, args);
  const QNumber* const a = mgr->get_number(args[0]);
  if (a == nullptr) return mgr->do_make_term(s, args);
  return mgr->make_bv_number(*a, w + added);
}

const Term* BVSextSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  std::size_t added = 0;
  std::size_t w = 0;
  if (!mgr->is_bv_sign_extend(s, &added, &w)) return mgr->do_make_term(s, args);
  const QNumber* const a = mgr->get_number(args[0]);
  w = bv::width_of(mgr, args[0], w);
  if (a == nullptr || !bv::may_fold(mgr, w + added)) return mgr->do_make_term(s, args);
  return bv::fold_literal(mgr, w + added, w + added, *a, [&](auto& x) { bits::sign_extend(x, w); });
}

}  // namespace quarv::termsimpl
