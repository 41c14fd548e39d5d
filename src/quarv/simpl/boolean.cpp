#include <quarv/simpl/boolean.h>
#include <quarv/simpl/canonical_order.h>
#include <quarv/term/term_manager.h>

namespace quarv::termsimpl {

namespace {

/// One of the two is the negation of exactly the other. Only looked for when the heads differ.
bool complementary(const TermManager* mgr, const Term* a, const Term* b) {
  if (a->symbol == b->symbol) return false;
  return (a->symbol == mgr->not_symbol && a->args[0] == b) ||
         (b->symbol == mgr->not_symbol && b->args[0] == a);
}

/// Conjunction and disjunction: `neutral` is the argument that drops out, `absorbing` the one that remains
/// alone.
const Term* simplify_lattice(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args,
                             const Term* neutral, const Term* absorbing) {
  const Term* a = args[0];
  const Term* b = args[1];
  if (a == b) return a;
  if (a == neutral || b == absorbing) return b;
  if (b == neutral || a == absorbing) return a;
  if (complementary(mgr, a, b)) return absorbing;
  order_by_id(args);
  return mgr->do_make_term(s, args);
}

}  // namespace

const Term* AndSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return simplify_lattice(mgr, s, args, mgr->true_term, mgr->false_term);
}

const Term* OrSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return simplify_lattice(mgr, s, args, mgr->false_term, mgr->true_term);
}

const Term* NotSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  const Term* a = args[0];
  if (a == mgr->true_term) return mgr->false_term;
  if (a == mgr->false_term) return mgr->true_term;
  if (a->symbol == mgr->not_symbol) return a->args[0];
  return mgr->do_make_term(s, args);
}

const Term* IffSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  const Term* a = args[0];
  const Term* b = args[1];
  if (a == b) return mgr->true_term;
  if (a == mgr->true_term) return b;
  if (b == mgr->true_term) return a;
  if (a == mgr->false_term) return mgr->make_not(b);
  if (b == mgr->false_term) return mgr->make_not(a);
  if (complementary(mgr, a, b)) return mgr->false_term;
  order_by_id(args);
  return mgr->do_make_term(s, args);
}

const Term* TermIteSimpl::operator()(TermManager* mgr, const Symbol* s,
                                     const std::vector<const Term*>& args) {
  if (args[0] == mgr->true_term) return args[1];
  if (args[0] == mgr->false_term) return args[2];
  if (args[1] == args[2]) return args[1];
  return mgr->do_make_term(s, args);
}

}  // namespace quarv::termsimpl
