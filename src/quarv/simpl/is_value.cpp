#include <vector>

#include <quarv/simpl/is_value.h>
#include <quarv/term/term_manager.h>

namespace quarv::termsimpl {

namespace {

/// The test for every type but arrays.
bool is_basic_value(const TermManager* mgr, const Symbol* s, bool accept_model_values) {
  const DataType* type = s->get_output_type();
  if (type == mgr->bool_type) return s == mgr->true_symbol || s == mgr->false_symbol;
  if (mgr->is_arithmetic_type(type) || mgr->is_bv_type(type) || mgr->is_fp_type(type)) {
    return mgr->get_number(s) != nullptr;
  }
  if (type == mgr->rounding_mode_type) {
    return mgr->is_fprounding_even(s) || mgr->is_fprounding_zero(s) || mgr->is_fprounding_plus_inf(s) ||
           mgr->is_fprounding_minus_inf(s);
  }
  return accept_model_values && s->name[0] == '@';
}

/// Arrays that are still to be tested. Elements may be arrays themselves, to any depth, and shared; each
/// distinct array is tested once.
class PendingArrays {
 public:
  void push(const Term* array) {
    if (seen_.contains(array)) return;
    seen_.insert(array);
    pending_.push_back(array);
  }
  const Term* pop() {
    if (pending_.empty()) return nullptr;
    const Term* array = pending_.back();
    pending_.pop_back();
    return array;
  }

 private:
  std::vector<const Term*> pending_;
  hsh::HashSet<const Term*> seen_;
};

}  // namespace

bool is_value(TermManager* mgr, const Term* t, bool accept_model_values) {
  if (!mgr->is_array_type(mgr->type_of(t))) return is_basic_value(mgr, t->symbol, accept_model_values);

  PendingArrays arrays;
  arrays.push(t);
  const auto acceptable = [&](const Term* part) {
    if (!mgr->is_array_type(mgr->type_of(part)))
      return is_basic_value(mgr, part->symbol, accept_model_values);
    arrays.push(part);
    return true;
  };
  while (const Term* array = arrays.pop()) {
    while (mgr->is_array_write(array->symbol, nullptr, nullptr)) {
      if (!acceptable(array->args[1]) || !acceptable(array->args[2])) return false;
      array = array->args[0];
    }
    if (!mgr->is_array_const(array->symbol, nullptr, nullptr) || !acceptable(array->args[0])) return false;
  }
  return true;
}

}  // namespace quarv::termsimpl
