#include <algorithm>

#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

namespace quarv {

void StdTermSimplifier::register_simplification(SymbolTag::tag t, simpl_fun* f) {
  std::unique_ptr<simpl_fun> owned(f);
  registered_tags_.push_back(t);
  table_[t] = std::move(owned);
}

const Term* StdTermSimplifier::simplify(TermManager* manager, const Symbol* symbol,
                                        const std::vector<const Term*>& args) {
  simpl_fun* f = table_[manager->get_tag(symbol)].get();
  if (f == nullptr) return manager->do_make_term(symbol, args);
  return observer_ == nullptr ? (*f)(manager, symbol, args) : simplify_observed(f, manager, symbol, args);
}

const Term* StdTermSimplifier::simplify_observed(simpl_fun* f, TermManager* manager, const Symbol* symbol,
                                                 const std::vector<const Term*>& args) {
  const std::vector<const Term*> before = args;  // a simplifier may overwrite its arguments
  const Term* const after = (*f)(manager, symbol, args);
  if (after->symbol != symbol || !std::ranges::equal(before, manager->args_of(after))) {
    observer_->on_simplification(symbol, before, after);
  }
  return after;
}

}  // namespace quarv
