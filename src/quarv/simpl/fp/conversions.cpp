#include <quarv/numbers/bv_number.h>
#include <quarv/simpl/bv/folding.h>
#include <quarv/simpl/fp/conversions.h>
#include <quarv/simpl/fp/folding.h>

namespace quarv::termsimpl {

namespace {

/// The value that a literal of w bits has in two's complement.
QNumber signed_value(const QNumber& bits, std::size_t w) {
  QNumber value;
  BVNumber::signed_value(bits, w, &value);
  return value;
}

/// The integer `value(bits, width)` of a bit-vector literal, rounded to the format of the result.
template <auto is_op, class Value>
const Term* from_integer(TermManager* mgr, const Symbol* s, const fp::Args& args, Value value) {
  std::size_t w = 0;
  fp::Format f{};
  if (!(mgr->*is_op)(s, &w, &f.ew, &f.mw)) return mgr->do_make_term(s, args);
  const auto mode = fp::rounding_mode(mgr, args[0]);
  const QNumber* const bits = mgr->get_number(args[1]);
  if (!mode || bits == nullptr || !mgr->may_compute(f.width())) return mgr->do_make_term(s, args);
  return fp::make_literal(mgr, IEEEFloat::from_number(value(*bits, w), f, *mode));
}

}  // namespace

const Term* FpCastSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  fp::Format source{};
  fp::Format target{};
  if (!mgr->is_fp_cast(s, &source.ew, &source.mw, &target.ew, &target.mw)) return mgr->do_make_term(s, args);
  const auto mode = fp::rounding_mode(mgr, args[0]);
  const QNumber* const bits = mgr->get_number(args[1]);
  if (!mode || bits == nullptr || !mgr->may_compute(target.width())) return mgr->do_make_term(s, args);
  IEEEFloat x = IEEEFloat::from_bits(*bits, source);
  x.set_rounding_mode(*mode);
  x.set_format(target);
  return fp::make_literal(mgr, x);
}

const Term* FpToBvSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  std::size_t w = 0;
  fp::Format f{};
  if (!mgr->is_fp_to_bv(s, &f.ew, &f.mw, &w)) return mgr->do_make_term(s, args);
  const auto mode = fp::rounding_mode(mgr, args[0]);
  const QNumber* const bits = mgr->get_number(args[1]);
  if (!mode || bits == nullptr || !mgr->may_compute(w)) return mgr->do_make_term(s, args);
  IEEEFloat x = IEEEFloat::from_bits(*bits, f);
  x.set_rounding_mode(*mode);
  return bv::fold_literal(mgr, w, w, x.to_integer(w), [](auto&) {});  // two's complement: modulo 2^w
}

const Term* FpFromSBvSimpl::operator()(TermManager* mgr, const Symbol* s,
                                       const std::vector<const Term*>& args) {
  return from_integer<&TermManager::is_fp_from_sbv>(mgr, s, args, signed_value);
}

const Term* FpFromUBvSimpl::operator()(TermManager* mgr, const Symbol* s,
                                       const std::vector<const Term*>& args) {
  return from_integer<&TermManager::is_fp_from_ubv>(
      mgr, s, args, [](const QNumber& bits, std::size_t) -> const QNumber& { return bits; });
}

const Term* FpAsIEEEBvSimpl::operator()(TermManager* mgr, const Symbol* s,
                                        const std::vector<const Term*>& args) {
  return fp::with_literal<&TermManager::is_fp_as_ieeebv>(
      mgr, s, args, [&](fp::Format f, const QNumber& bits) { return mgr->make_bv_number(bits, f.width()); });
}

const Term* FpFromIEEEBvSimpl::operator()(TermManager* mgr, const Symbol* s,
                                          const std::vector<const Term*>& args) {
  return fp::with_literal<&TermManager::is_fp_from_ieeebv>(
      mgr, s, args,
      [&](fp::Format f, const QNumber& bits) { return mgr->make_fp_bits_number(bits, f.ew, f.mw); });
}

}  // namespace quarv::termsimpl
