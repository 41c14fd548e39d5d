#include <quarv/simpl/canonical_order.h>
#include <quarv/simpl/uf_arg_arith.h>
#include <quarv/term/term_manager.h>

namespace quarv::termsimpl {

UfArgArithSimpl::UfArgArithSimpl(TermManager* mgr) : rat_type_(mgr->rat_type), int_type_(mgr->int_type) {}

const Term* UfArgArithSimpl::operator()(TermManager* mgr, const Symbol* s,
                                        const std::vector<const Term*>& args) {
  for (std::size_t k = 0; k < args.size(); ++k) {
    const Term* t = args[k];
    const DataType* type = mgr->type_of(t);
    if (type != int_type_ && type != rat_type_) continue;
    // Everything but sums and products is in normal form: a numeral, or a single monomial.
    const SymbolTag::tag tag = mgr->get_tag(t->symbol);
    if (tag != SymbolTag::PLUS && tag != SymbolTag::TIMES) continue;
    const Term* normal = normalize(mgr, t);
    if (normal != t) writable(args)[k] = normal;
  }
  return mgr->do_make_term(s, args);
}

const Term* UfArgArithSimpl::normalize(TermManager* mgr, const Term* t) {
  if (!poly_.normalize(mgr, t, nullptr, false)) return t;
  const Term* sum = poly_.to_term(mgr);
  if (sum == nullptr) return mgr->make_number(poly_.constant);
  if (poly_.constant.is_zero()) return sum;
  // Not through the simplifier, which would put the two in order of id.
  const Term* constant = mgr->make_number(poly_.constant);
  const bool integer = mgr->type_of(t) == int_type_;
  return mgr->do_make_term(integer ? mgr->int_plus_symbol : mgr->rat_plus_symbol, {sum, constant});
}

}  // namespace quarv::termsimpl
