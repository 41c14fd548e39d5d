#include "rules/order/added_rules.h"

#include <utility>
#include <vector>

#include "rules/order/loop_search.h"
#include "rules/order/order_constraints.h"
#include "rules/rule_catalogue.h"

namespace quarv::cli {

ReductionOrder order_of_added(std::span<const rules::Rule> added, bool beside_extended, SolverProcess& solver,
                              std::chrono::milliseconds limit) {
  std::vector<rules::Rule> all = standard_rules();
  // Of these it is known that they have no place in such an order.
  std::erase_if(
      all, [](const rules::Rule& rule) { return why_it_ends(rule.name) != nullptr || rearranges(rule); });
  if (beside_extended) {
    for (rules::Rule& rule : extended_rules()) all.push_back(std::move(rule));
  }
  const auto num_others = static_cast<std::ptrdiff_t>(all.size());
  all.insert(all.end(), added.begin(), added.end());
  ReductionOrder order = find_order(all, solver, limit);
  order.rules.erase(order.rules.begin(), order.rules.begin() + num_others);
  return order;
}

}  // namespace quarv::cli
