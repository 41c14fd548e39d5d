#include <utility>

#include <quarv/simpl/arith/plus_times.h>
#include <quarv/simpl/canonical_order.h>
#include <quarv/term/term_manager.h>

namespace quarv::termsimpl {

namespace {

bool may_add(const TermManager* mgr, const QNumber& a, const QNumber& b) {
  return (a.is_small() && b.is_small()) || mgr->may_compute(sum_bits(a, b));
}

bool may_multiply(const TermManager* mgr, const QNumber& a, const QNumber& b) {
  return (a.is_small() && b.is_small()) || mgr->may_compute(product_bits(a, b));
}

}  // namespace

const Term* PlusSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  const QNumber* a = mgr->get_number(args[0]);
  const QNumber* b = mgr->get_number(args[1]);
  if (a != nullptr && b != nullptr && may_add(mgr, *a, *b)) return mgr->make_number(*a + *b);
  if (b != nullptr && b->is_zero()) return args[0];
  if (a != nullptr && a->is_zero()) return args[1];
  order_by_id(args);
  return mgr->do_make_term(s, args);
}

const Term* TimesSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  const QNumber* a = mgr->get_number(args[0]);
  const QNumber* b = mgr->get_number(args[1]);
  if (a != nullptr && b != nullptr && may_multiply(mgr, *a, *b)) return mgr->make_number(*a * *b);
  if ((a == nullptr) == (b == nullptr)) {  // two numbers: their product would be too large
    order_by_id(args);
    return mgr->do_make_term(s, args);
  }
  if (b != nullptr) {
    std::swap(writable(args)[0], writable(args)[1]);
    a = b;
  }
  if (a->is_zero()) return mgr->make_number(QNumber());
  if (*a == QNumber(1)) return args[1];
  return mgr->do_make_term(s, args);
}

}  // namespace quarv::termsimpl
