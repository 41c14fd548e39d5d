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
  return f == nullptr ? manager->do_make_term(symbol, args) : (*f)(manager, symbol, args);
}

}  // namespace quarv
