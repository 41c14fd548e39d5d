#include <quarv/simpl/canonical_order.h>
#include <quarv/simpl/fp/arithmetic.h>
#include <quarv/simpl/fp/folding.h>

namespace quarv::termsimpl {

const Term* fp_eval_bin_op(SymbolTag::tag op, TermManager* mgr, std::size_t ew, std::size_t mw,
                           const Term* rounding, const Term* a, const Term* b) {
  const auto mode = fp::rounding_mode(mgr, rounding);
  if (!mode) return nullptr;
  const QNumber* const a_bits = mgr->get_number(a);
  if (a_bits == nullptr) return nullptr;
  const fp::Format f{ew, mw};
  if (!mgr->may_compute(f.width())) return nullptr;
  IEEEFloat x = IEEEFloat::from_bits(*a_bits, f);
  IEEEFloat y;
  if (b != nullptr) {
    const QNumber* const b_bits = mgr->get_number(b);
    if (b_bits == nullptr) return nullptr;
    y = IEEEFloat::from_bits(*b_bits, f);
  }
  x.set_rounding_mode(*mode);
  switch (op) {
    case SymbolTag::FP_ADD:
      x += y;
      break;
    case SymbolTag::FP_SUB:
      x -= y;
      break;
    case SymbolTag::FP_MUL:
      x *= y;
      break;
    case SymbolTag::FP_DIV:
      x /= y;
      break;
    case SymbolTag::FP_SQRT:
      x.sqrt();
      break;
    case SymbolTag::FP_ROUND_TO_INT:
      x = round(x);  // raises the exceptions of the operation, whose result is not used
      return nullptr;
    default:
      return nullptr;
  }
  return fp::make_literal(mgr, x);
}

namespace {

/// The literal that `op`, which `is_op` recognises, gives for `num_operands` operands after the rounding
/// mode; null if it does not fold.
template <SymbolTag::tag op, auto is_op, int num_operands>
const Term* fold(TermManager* mgr, const Symbol* s, const fp::Args& args) {
  std::size_t ew = 0, mw = 0;
  if (!(mgr->*is_op)(s, &ew, &mw)) return nullptr;
  return fp_eval_bin_op(op, mgr, ew, mw, args[0], args[1], num_operands == 2 ? args[2] : nullptr);
}

template <SymbolTag::tag op, auto is_op, int num_operands = 2>
const Term* fold_or_rebuild(TermManager* mgr, const Symbol* s, const fp::Args& args) {
  const Term* const folded = fold<op, is_op, num_operands>(mgr, s, args);
  return folded != nullptr ? folded : mgr->do_make_term(s, args);
}

template <SymbolTag::tag op, auto is_op>
const Term* fold_or_order(TermManager* mgr, const Symbol* s, const fp::Args& args) {
  const Term* const folded = fold<op, is_op, 2>(mgr, s, args);
  if (folded != nullptr) return folded;
  order_by_id(args, 1);
  return mgr->do_make_term(s, args);
}

}  // namespace

const Term* FpAddSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return fold_or_order<SymbolTag::FP_ADD, &TermManager::is_fp_add>(mgr, s, args);
}

const Term* FpSubSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return fold_or_rebuild<SymbolTag::FP_SUB, &TermManager::is_fp_sub>(mgr, s, args);
}

const Term* FpMulSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return fold_or_order<SymbolTag::FP_MUL, &TermManager::is_fp_mul>(mgr, s, args);
}

const Term* FpDivSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return fold_or_rebuild<SymbolTag::FP_DIV, &TermManager::is_fp_div>(mgr, s, args);
}

const Term* FpSqrtSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return fold_or_rebuild<SymbolTag::FP_SQRT, &TermManager::is_fp_sqrt, 1>(mgr, s, args);
}

const Term* FpRoundToIntSimpl::operator()(TermManager* mgr, const Symbol* s,
                                          const std::vector<const Term*>& args) {
  return fold_or_rebuild<SymbolTag::FP_ROUND_TO_INT, &TermManager::is_fp_round_to_int, 1>(mgr, s, args);
}

}  // namespace quarv::termsimpl
