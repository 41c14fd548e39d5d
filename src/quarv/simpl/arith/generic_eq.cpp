#include <utility>

#include <quarv/simpl/arith/generic_eq.h>
#include <quarv/simpl/array_value.h>
#include <quarv/simpl/canonical_order.h>
#include <quarv/simpl/is_value.h>
#include <quarv/term/term_manager.h>

namespace quarv::termsimpl {

namespace {

bool is_array_const(const TermManager* mgr, const Term* t) {
  return mgr->is_array_const(t->symbol, nullptr, nullptr);
}

/// What most arrays that are not values lack, at the root already.
bool has_array_constructor(const TermManager* mgr, const Term* t) {
  return is_array_const(mgr, t) || mgr->is_array_write(t->symbol, nullptr, nullptr);
}

/// Counts a look at all writes of an array; false when it is long and too many looks have been taken.
bool may_look_at(TermManager* mgr, const Term* array) {
  constexpr std::size_t few = 1024;
  std::size_t writes = 0;
  for (; mgr->is_array_write(array->symbol, nullptr, nullptr); array = array->args[0]) {
    if (++writes == few && !mgr->may_visit()) return false;
  }
  if (writes > few) mgr->count_visits(writes);
  return true;
}

/// Decides or reduces an equality of two different arrays; null when there is nothing to say.
const Term* simplify_array_equality(TermManager* mgr, const Term* a, const Term* b) {
  if (is_array_const(mgr, a) && is_array_const(mgr, b)) {
    // Index types are not empty, so constant arrays are equal exactly when their elements are; these may be
    // constant arrays again, to any depth.
    do {
      a = a->args[0];
      b = b->args[0];
    } while (a != b && is_array_const(mgr, a) && is_array_const(mgr, b));
    return mgr->make_equal(a, b);
  }
  if (!has_array_constructor(mgr, a) || !has_array_constructor(mgr, b)) return nullptr;
  if (!may_look_at(mgr, a) || !may_look_at(mgr, b)) return nullptr;
  if (!is_value(mgr, a, true) || !is_value(mgr, b, true)) return nullptr;
  switch (compare_array_values(mgr, a, b)) {
    case Comparison::equal:
      return mgr->true_term;
    case Comparison::different:
      return mgr->false_term;
    case Comparison::undecided:
      break;
  }
  return nullptr;
}

}  // namespace

const Term* GenericEqSimpl::operator()(TermManager* mgr, const Symbol* s,
                                       const std::vector<const Term*>& args) {
  const Term* a = args[0];
  const Term* b = args[1];
  if (a == b) return mgr->true_term;
  const bool a_is_numeral = mgr->get_number(a) != nullptr;
  const bool b_is_numeral = mgr->get_number(b) != nullptr;
  if (a_is_numeral && b_is_numeral) return mgr->false_term;
  if (mgr->is_array_type(mgr->type_of(a))) {
    if (const Term* simpler = simplify_array_equality(mgr, a, b)) return simpler;
  }
  if (a_is_numeral) {
    std::swap(writable(args)[0], writable(args)[1]);
  } else if (!b_is_numeral) {
    order_by_id(args);
  }
  return mgr->do_make_term(s, args);
}

}  // namespace quarv::termsimpl
