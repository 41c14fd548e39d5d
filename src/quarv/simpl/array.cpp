#include <algorithm>

#include <quarv/simpl/array.h>
#include <quarv/simpl/canonical_order.h>
#include <quarv/term/term_manager.h>

namespace quarv::termsimpl {

const Term* ArrayReadSimpl::operator()(TermManager* mgr, const Symbol* s,
                                       const std::vector<const Term*>& args) {
  if (mgr->is_array_const(args[0]->symbol, nullptr, nullptr)) return args[0]->args[0];
  return normalize_args_(mgr, s, args);
}

const Term* ArrayWriteSimpl::reduce(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  const Term* array = args[0];
  const Term* index = args[1];
  const Term* element = args[2];
  if (mgr->is_array_write(array->symbol, nullptr, nullptr)) {
    if (array->args[1] == index) {
      if (array->args[2] == element) return array;
      writable(args)[0] = array->args[0];
      return normalize_args_(mgr, s, args);
    }
  } else if (mgr->is_array_const(array->symbol, nullptr, nullptr) && array->args[0] == element) {
    return array;
  }
  const bool writes_back = mgr->is_array_read(element->symbol, nullptr, nullptr) &&
                           element->args[0] == array && element->args[1] == index;
  return writes_back ? array : nullptr;
}

const Term* ArrayWriteSimpl::operator()(TermManager* mgr, const Symbol* s,
                                        const std::vector<const Term*>& args) {
  for (;;) {
    const Term* reduced = reduce(mgr, s, args);
    if (reduced == nullptr) return normalize_args_(mgr, s, args);
    if (reduced->symbol != s) return reduced;
    // Still a write of the same type: what it writes to may be subject to the same reductions.
    std::copy_n(reduced->args, 3, writable(args).begin());
  }
}

}  // namespace quarv::termsimpl
