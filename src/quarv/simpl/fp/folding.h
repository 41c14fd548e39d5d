#pragma once

#include <optional>
#include <vector>

#include <quarv/export.h>
#include <quarv/numbers/ieee_float.h>
#include <quarv/term/term_manager.h>

/// What all floating-point simplifiers share: read the format from the operator, look its operands up, and
/// fold them when all are literals, or else rebuild the term.
///
/// Folding in a format that fits a word allocates the literal that the result is interned as, if it is new,
/// and nothing else.
namespace quarv::termsimpl::fp {

using Args = std::vector<const Term*>;
using Format = IEEEFloat::format;

/// The mode that a rounding argument stands for. None for a term that is not a constant, and none for
/// roundNearestTiesToAway, under which nothing folds.
inline std::optional<IEEEFloat::rounding_mode> rounding_mode(const TermManager* mgr, const Term* rounding) {
  const Symbol* const s = rounding->symbol;
  if (mgr->is_fprounding_even(s)) return IEEEFloat::round_nearest_even;
  if (mgr->is_fprounding_zero(s)) return IEEEFloat::round_toward_zero;
  if (mgr->is_fprounding_plus_inf(s)) return IEEEFloat::round_toward_positive;
  if (mgr->is_fprounding_minus_inf(s)) return IEEEFloat::round_toward_negative;
  return std::nullopt;
}

/// The literal of x, in the format of x.
QUARV_API const Term* make_literal(TermManager* mgr, const IEEEFloat& x);

/// The operator that `is_op` recognises, on one operand and with its format as only parameter: returns
/// `make(format, encoding)` for a literal.
template <auto is_op, class Make>
const Term* with_literal(TermManager* mgr, const Symbol* s, const Args& args, Make make) {
  Format f{};
  if (!(mgr->*is_op)(s, &f.ew, &f.mw)) return mgr->do_make_term(s, args);
  const QNumber* const bits = mgr->get_number(args[0]);
  if (bits == nullptr || !mgr->may_compute(f.width())) return mgr->do_make_term(s, args);
  return make(f, *bits);
}

}  // namespace quarv::termsimpl::fp
