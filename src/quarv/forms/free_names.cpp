#include <algorithm>

#include <quarv/forms/free_names.h>
#include <quarv/forms/grounded.h>

namespace quarv::forms {

FreeNames::FreeNames(const FormGraph& graph, std::span<const FormId> base, const Scopes& scopes)
    : g_(graph), scopes_(scopes), base_(base.begin(), base.end()) {
  if (find_free()) return;
  base_ = grounded(g_, base);
  is_grounded_ = true;
  find_free();
}

void FreeNames::Free::add(const Free& part) {
  variables |= part.variables;
  first = std::max(first, part.first);
  last = std::min(last, part.last);
}

/// By the base forms, children first. False when these go round in a circle.
bool FreeNames::find_free() {
  const std::size_t n = g_.num_classes();
  free_.assign(n, {});
  LargeVector<std::uint8_t> state(n);  // 1: on the stack, 2: done
  LargeVector<ClassId> stack;
  for (ClassId start = 0; start < n; ++start) {
    if (g_.find(start) != start || state[start] != 0) continue;
    if (is_endless(start)) {
      free_[start].variables = overflow_variable;  // no form may need it
      state[start] = 2;
      continue;
    }
    stack.push_back(start);
    while (!stack.empty()) {
      const ClassId c = stack.back();
      if (state[c] == 2) {
        stack.pop_back();
        continue;
      }
      const FormId f = base(c);
      if (f == none) return false;
      if (state[c] == 1) {
        free_[c] = free_in(f);
        state[c] = 2;
        stack.pop_back();
        continue;
      }
      state[c] = 1;
      for (ClassId child : g_.children(g_.form(f))) {
        child = g_.find(child);
        if (state[child] == 1 || is_endless(child)) return false;
        if (state[child] == 0) stack.push_back(child);
      }
    }
  }
  return true;
}

FreeNames::Free FreeNames::free_in(FormId f) const {
  const Form& form = g_.form(f);
  const Scope& own = scopes_[form.head];
  Free all{0, own.first, own.last};
  for (ClassId c : g_.children(form)) all.add(free_[g_.find(c)]);
  all.variables = (all.variables & ~own.binds) | own.variables;
  return all;
}

bool FreeNames::is_needed_within(ClassId c, const Free& free) const noexcept {
  return !needs_.first.empty() && needs_.first[c] > free.first && needs_.last[c] <= free.last;
}

bool FreeNames::is_admissible(ClassId c, FormId f) const {
  if (f == base(c)) return true;
  for (ClassId child : g_.children(g_.form(f))) {
    if (g_.find(child) == c) return false;
  }
  const Free free = free_in(f);
  if ((free.variables & (~free_[c].variables | overflow_variable)) != 0) return false;
  const bool is_definition = scopes_[g_.form(f).head].is_definition;
  return (!is_definition && free.is_visible_with(free_[c])) || is_needed_within(c, free);
}

}  // namespace quarv::forms
