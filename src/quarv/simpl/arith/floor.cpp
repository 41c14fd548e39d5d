#include <cstddef>
#include <limits>

#include <quarv/simpl/arith/floor.h>
#include <quarv/simpl/canonical_order.h>
#include <quarv/term/term_manager.h>

namespace quarv::termsimpl {

namespace {

bool is_sum(const TermManager* mgr, const Term* t) {
  return mgr->get_tag(t->symbol) == SymbolTag::PLUS;
}

/// Visits the summands of a sum from right to left, with sums of the integer type as one summand. Stops and
/// returns false after `most` nodes.
template <class Visit>
bool for_each_summand(const TermManager* mgr, const Term* sum, std::size_t most, Visit&& visit) {
  std::vector<const Term*> pending{sum};
  for (; !pending.empty(); --most) {
    if (most == 0) return false;
    const Term* t = pending.back();
    pending.pop_back();
    if (mgr->type_of(t) != mgr->int_type && is_sum(mgr, t)) {
      pending.push_back(t->args[0]);
      pending.push_back(t->args[1]);
    } else {
      visit(t);
    }
  }
  return true;
}

/// The distinct nodes of a sum, without what is below its summands.
std::size_t num_nodes(const TermManager* mgr, const Term* sum) {
  hsh::HashSet<const Term*> seen;
  std::vector<const Term*> pending{sum};
  while (!pending.empty()) {
    const Term* t = pending.back();
    pending.pop_back();
    if (!seen.insert(t) || mgr->type_of(t) == mgr->int_type || !is_sum(mgr, t)) continue;
    pending.push_back(t->args[0]);
    pending.push_back(t->args[1]);
  }
  return seen.size();
}

/// Whether to split a sum, which has to be worth it: there must be an integer summand, and because the sum is
/// written out once for every path through its shared parts, their number must not explode. A sum without
/// sharing is not refused for its size.
bool is_worth_splitting(TermManager* mgr, const Term* sum) {
  constexpr std::size_t small = 64;
  constexpr std::size_t most_paths_per_node = 4;
  bool has_integer_summand = false;
  const auto look = [&](const Term* t) { has_integer_summand |= mgr->type_of(t) == mgr->int_type; };
  if (for_each_summand(mgr, sum, small, look)) return has_integer_summand;
  if (!mgr->may_expand() || !mgr->may_visit()) return false;
  const std::size_t nodes = num_nodes(mgr, sum);
  mgr->count_visits(nodes);
  return for_each_summand(mgr, sum, most_paths_per_node * nodes, look) && has_integer_summand;
}

/// floor(t) for what remains of a sum.
const Term* floor_of_rest(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args,
                          const Term* t) {
  if (const QNumber* value = mgr->get_number(t)) return mgr->make_number(value->floor());
  writable(args)[0] = t;
  return mgr->do_make_term(s, args);
}

}  // namespace

const Term* FloorSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  const Term* x = args[0];
  if (mgr->type_of(x) == mgr->int_type) return x;
  if (const QNumber* value = mgr->get_number(x)) return mgr->make_number(value->floor());
  if (!is_sum(mgr, x)) return mgr->do_make_term(s, args);

  if (!is_worth_splitting(mgr, x)) return mgr->do_make_term(s, args);

  const Term* integer_part = nullptr;
  const Term* rest = nullptr;
  const std::size_t terms_before = mgr->num_terms();
  for_each_summand(mgr, x, std::numeric_limits<std::size_t>::max(), [&](const Term* t) {
    const Term*& part = mgr->type_of(t) == mgr->int_type ? integer_part : rest;
    part = part == nullptr ? t : mgr->make_plus(part, t);
  });
  mgr->count_expansion(mgr->num_terms() - terms_before);
  if (rest == nullptr) return integer_part;
  const Term* floor = floor_of_rest(mgr, s, args, rest);
  return mgr->make_plus(integer_part, floor);
}

}  // namespace quarv::termsimpl
