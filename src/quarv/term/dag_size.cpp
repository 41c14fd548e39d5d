#include <vector>

#include <quarv/term/dag_size.h>
#include <quarv/term/given.h>
#include <quarv/util/checkpoint.h>

namespace quarv {

std::size_t dag_size(const TermManager& manager, std::span<const Term* const> terms) {
  check_given(manager, "a walk", terms);
  std::vector<bool> seen(manager.num_terms());
  std::vector<const Term*> pending;
  std::size_t count = 0;
  const auto visit = [&](const Term* t) {
    if (seen[t->id]) return;
    seen[t->id] = true;
    ++count;
    pending.push_back(t);
  };
  for (const Term* t : terms) visit(t);
  while (!pending.empty()) {
    Checkpoint::pass();
    const Term* t = pending.back();
    pending.pop_back();
    for (const Term* a : manager.args_of(t)) visit(a);
  }
  return count;
}

}  // namespace quarv
