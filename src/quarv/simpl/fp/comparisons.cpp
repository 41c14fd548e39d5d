#include <functional>

#include <quarv/simpl/canonical_order.h>
#include <quarv/simpl/fp/comparisons.h>
#include <quarv/simpl/fp/folding.h>

namespace quarv::termsimpl {

namespace {

/// The truth value of `relation(a, b)` for literals, else null. The format is that of the first operand's
/// type.
template <class Relation>
const Term* compare(TermManager* mgr, const fp::Args& args, Relation relation) {
  fp::Format f{};
  const DataType* const type = mgr->type_of(args[0]);
  if (!mgr->is_fp_type(type) || !mgr->get_format_from_type(type, &f.ew, &f.mw)) return nullptr;
  const QNumber* const a = mgr->get_number(args[0]);
  if (a == nullptr) return nullptr;
  const QNumber* const b = mgr->get_number(args[1]);
  if (b == nullptr) return nullptr;
  return mgr->make_bool(relation(IEEEFloat::from_bits(*a, f), IEEEFloat::from_bits(*b, f)));
}

template <class Relation>
const Term* compare_or_rebuild(TermManager* mgr, const Symbol* s, const fp::Args& args, Relation relation) {
  const Term* const truth = compare(mgr, args, relation);
  return truth != nullptr ? truth : mgr->do_make_term(s, args);
}

}  // namespace

const Term* FpEqSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  const Term* const truth = compare(mgr, args, std::equal_to<IEEEFloat>());
  if (truth != nullptr) return truth;
  order_by_id(args);
  return mgr->do_make_term(s, args);
}

const Term* FpLtSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return compare_or_rebuild(mgr, s, args, std::less<IEEEFloat>());
}

const Term* FpLeSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return compare_or_rebuild(mgr, s, args, std::less_equal<IEEEFloat>());
}

}  // namespace quarv::termsimpl
