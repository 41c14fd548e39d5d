#include <quarv/simpl/bv/folding.h>
#include <quarv/simpl/bv/shifts.h>

namespace quarv::termsimpl {

namespace {

template <class Value>
void shift_left(Value& x, const Value& amount, std::size_t w) {
  if (amount >= w) {
    x = 0;
  } else {
    x <<= bv::low_word(amount);
  }
}

template <class Value>
void shift_right(Value& x, const Value& amount, std::size_t w) {
  if (amount >= w) {
    x = 0;
  } else {
    x >>= bv::low_word(amount);
  }
}

}  // namespace

const Term* BVLslSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_lshl>(
      mgr, s, args, [](auto& x, const auto& amount, std::size_t w) { shift_left(x, amount, w); });
}

const Term* BVLsrSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_lshr, bv::Width::of_operand>(
      mgr, s, args, [](auto& x, const auto& amount, std::size_t w) { shift_right(x, amount, w); });
}

const Term* BVAsrSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_ashr>(mgr, s, args,
                                                   [](auto& x, const auto& amount, std::size_t w) {
                                                     // The ones that come into a negative value are the zeros
                                                     // that come into its complement.
                                                     const bool negative = bv::bit(x, w - 1);
                                                     if (negative) bv::complement(x, w);
                                                     shift_right(x, amount, w);
                                                     if (negative) x = ~x;
                                                   });
}

}  // namespace quarv::termsimpl
