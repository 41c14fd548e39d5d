#include <functional>

#include <quarv/numbers/bv_number.h>
#include <quarv/simpl/bv/comparisons.h>
#include <quarv/simpl/bv/folding.h>

namespace quarv::termsimpl {

namespace {

/// The truth value of `order(a, b)`, which is `<` or `<=`, for the unsigned values.
template <auto is_op, class Order>
const Term* compare_unsigned(TermManager* mgr, const Symbol* s, const bv::Args& args, Order order) {
  return bv::with_two_literals<is_op, bv::Width::of_symbol>(
      mgr, s, args,
      [&](std::size_t, const QNumber& a, const QNumber& b) { return mgr->make_bool(order(a, b)); });
}

/// The same for the signed values: encodings of equal sign are in the order of the values.
template <auto is_op, class Order>
const Term* compare_signed(TermManager* mgr, const Symbol* s, const bv::Args& args, Order order) {
  return bv::with_two_literals<is_op, bv::Width::of_operand>(
      mgr, s, args, [&](std::size_t w, const QNumber& a, const QNumber& b) {
        const bool negative = BVNumber::bit(a, w - 1);
        return mgr->make_bool(negative != BVNumber::bit(b, w - 1) ? negative : order(a, b));
      });
}

}  // namespace

const Term* BVUltSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return compare_unsigned<&TermManager::is_bv_ult>(mgr, s, args, std::less<QNumber>());
}

const Term* BVUleSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return compare_unsigned<&TermManager::is_bv_ule>(mgr, s, args, std::less_equal<QNumber>());
}

const Term* BVSltSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return compare_signed<&TermManager::is_bv_slt>(mgr, s, args, std::less<QNumber>());
}

const Term* BVSleSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return compare_signed<&TermManager::is_bv_sle>(mgr, s, args, std::less_equal<QNumber>());
}

const Term* BVCompSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::with_two_literals<&TermManager::is_bv_comp, bv::Width::of_symbol>(
      mgr, s, args, [&](std::size_t, const QNumber& a, const QNumber& b) {
        return mgr->make_bv_number(a == b ? 1 : 0, 1);
      });
}

}  // namespace quarv::termsimpl
