#include <utility>

#include <quarv/simpl/arith/eq_leq.h>
#include <quarv/simpl/canonical_order.h>
#include <quarv/term/term_manager.h>

namespace quarv::termsimpl {

namespace {

/// An equality of two terms of which neither is an operation of some theory: there is no polynomial to look
/// at.
const Term* equality_of_atoms(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  if (mgr->get_number(args[0]) != nullptr) {
    std::swap(writable(args)[0], writable(args)[1]);
  } else if (mgr->get_number(args[1]) == nullptr) {
    order_by_id(args);
    return mgr->do_make_term(s, args);
  }
  const bool integer = mgr->type_of(args[0]) == mgr->int_type;
  if (integer && !mgr->get_number(args[1])->is_integer()) return mgr->false_term;
  return mgr->do_make_term(s, args);
}

/// The least integer above, or the greatest below, a bound that is not an integer.
void tighten(QNumber& bound, bool is_lower_bound) {
  bound = bound.floor();
  if (is_lower_bound) bound += QNumber(1);
}

}  // namespace

EqLeqSimpl::EqLeqSimpl(TermManager* mgr) : rat_type_(mgr->rat_type), int_type_(mgr->int_type) {}

const Term* EqLeqSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  const Term* a = args[0];
  const Term* b = args[1];
  if (a == b) return mgr->true_term;
  const DataType* type = mgr->type_of(a);
  if (type != rat_type_ && type != int_type_) return generic_(mgr, s, args);

  const bool is_equality = mgr->get_tag(s) == SymbolTag::EQ;
  const QNumber* a_value = mgr->get_number(a);
  const QNumber* b_value = mgr->get_number(b);
  if (a_value != nullptr && b_value != nullptr) {
    return mgr->make_bool(is_equality ? *a_value == *b_value : *a_value <= *b_value);
  }
  const bool a_is_operation = a_value == nullptr && mgr->is_interpreted(a->symbol);
  const bool b_is_operation = b_value == nullptr && mgr->is_interpreted(b->symbol);
  if (is_equality && !a_is_operation && !b_is_operation) return equality_of_atoms(mgr, s, args);
  return polynomial_atom(mgr, s, args, is_equality);
}

const Term* EqLeqSimpl::polynomial_atom(TermManager* mgr, const Symbol* s,
                                        const std::vector<const Term*>& args, bool is_equality) {
  if (!poly_.normalize(mgr, args[0], args[1], true)) {
    if (is_equality) order_by_id(args);
    return mgr->do_make_term(s, args);
  }
  QNumber& k = poly_.constant;  // so far: polynomial + k compared with 0
  if (poly_.monomials.empty()) return mgr->make_bool(is_equality ? k.is_zero() : k.sign() <= 0);

  const bool flipped = poly_.leading_coefficient_is_negative();
  if (flipped) {
    poly_.negate_coefficients();  // from here: k <= polynomial
  } else {
    k = k.neg();  // from here: polynomial <= k
  }
  if (poly_.all_integer && !k.is_integer()) {
    if (is_equality) return mgr->false_term;
    tighten(k, flipped);
  }
  const Term* numeral = mgr->make_number(k);
  const Term* polynomial = poly_.to_term(mgr);
  const bool numeral_first = flipped && !is_equality;
  writable(args)[0] = numeral_first ? numeral : polynomial;
  writable(args)[1] = numeral_first ? polynomial : numeral;
  return mgr->do_make_term(s, args);
}

}  // namespace quarv::termsimpl
