#include <algorithm>

#include "replay/bit_proof.h"

namespace quarv::cli {

using Literal = ClauseSet::Literal;

Literal ClauseSet::variable() {
  const auto v = static_cast<std::uint32_t>(levels_.size());
  values_.push_back(Value::open);
  phases_.push_back(false);
  seen_.push_back(false);
  levels_.push_back(0);
  reasons_.push_back(none);
  activity_.push_back(0);
  watches_.resize(watches_.size() + 2);
  heap_places_.push_back(none);
  insert(v);
  return 2 * v;
}

void ClauseSet::add(std::vector<Literal> clause) {
  std::ranges::sort(clause);
  clause.erase(std::unique(clause.begin(), clause.end()), clause.end());
  if (std::ranges::adjacent_find(clause, [](Literal a, Literal b) { return (a ^ 1U) == b; }) != clause.end())
    return;
  std::erase_if(clause, [this](Literal l) { return value(l) == Value::fails; });
  if (clause.empty()) {
    contradiction_ = true;
  } else if (clause.size() == 1) {
    if (value(clause[0]) == Value::open) assign(clause[0], none);
  } else if (std::ranges::none_of(clause, [this](Literal l) { return value(l) == Value::holds; })) {
    clauses_.push_back(std::move(clause));
    attach(static_cast<Clause>(clauses_.size() - 1));
  }
}

void ClauseSet::attach(Clause clause) {
  for (const std::size_t i : {0, 1}) watches_[clauses_[clause][i]].push_back(clause);
}

void ClauseSet::assign(Literal l, Clause reason) {
  values_[l >> 1] = (l & 1U) != 0 ? Value::fails : Value::holds;
  levels_[l >> 1] = level();
  reasons_[l >> 1] = reason;
  trail_.push_back(l);
}

/// Looks at a clause of which a watched literal has come to fail; whether it goes on being watched there.
bool ClauseSet::keep_watch(Clause clause, Literal failed, bool& conflict) {
  std::vector<Literal>& c = clauses_[clause];
  if (c[0] == failed) std::swap(c[0], c[1]);
  if (value(c[0]) == Value::holds) return true;
  for (std::size_t i = 2; i < c.size(); ++i) {
    if (value(c[i]) == Value::fails) continue;
    std::swap(c[1], c[i]);
    watches_[c[1]].push_back(clause);
    return false;
  }
  conflict = value(c[0]) == Value::fails;
  if (!conflict) assign(c[0], clause);
  return true;
}

/// Finds what follows; the clause that cannot hold any more, if there is one.
ClauseSet::Clause ClauseSet::propagate(std::uint64_t& steps_left) {
  while (propagated_ < trail_.size()) {
    const Literal failed = trail_[propagated_++] ^ 1U;
    std::vector<Clause>& watching = watches_[failed];
    steps_left -= std::min<std::uint64_t>(steps_left, 1 + watching.size());
    Clause found = none;
    std::size_t kept = 0;
    for (const Clause clause : watching) {
      bool conflict = false;
      if (found != none || keep_watch(clause, failed, conflict)) watching[kept++] = clause;
      if (conflict) found = clause;
    }
    watching.resize(kept);
    if (found != none) return found;
  }
  return none;
}

/// The clause that keeps the conflict from arising again, its literal of the present level first; the level
/// on which that literal follows.
std::size_t ClauseSet::learn(Clause conflict, std::vector<Literal>& learned) {
  learned.assign(1, 0);
  std::vector<Literal> marked;
  std::size_t open = 0, at = trail_.size();
  Literal pivot = none;
  for (Clause clause = conflict;; clause = reasons_[pivot >> 1]) {
    for (const Literal l : clauses_[clause]) {
      if (l == pivot || seen_[l >> 1] || levels_[l >> 1] == 0) continue;
      seen_[l >> 1] = true;
      marked.push_back(l);
      raise(l >> 1);
      if (levels_[l >> 1] == level()) {
        ++open;
      } else {
        learned.push_back(l);
      }
    }
    while (!seen_[trail_[--at] >> 1]) {
    }
    pivot = trail_[at];
    if (--open == 0) break;
  }
  learned[0] = pivot ^ 1U;
  for (const Literal l : marked) seen_[l >> 1] = false;
  if (learned.size() == 1) return 0;
  const auto last = std::max_element(learned.begin() + 1, learned.end(), [this](Literal a, Literal b) {
    return levels_[a >> 1] < levels_[b >> 1];
  });
  std::iter_swap(learned.begin() + 1, last);
  return levels_[learned[1] >> 1];
}

void ClauseSet::backtrack(std::size_t to) {
  if (level() <= to) return;
  for (std::size_t i = level_begins_[to]; i < trail_.size(); ++i) {
    const std::uint32_t v = trail_[i] >> 1;
    phases_[v] = values_[v] == Value::holds;
    values_[v] = Value::open;
    insert(v);
  }
  trail_.resize(level_begins_[to]);
  propagated_ = trail_.size();
  level_begins_.resize(to);
}

/// Assumes something of an open variable; false if there is none.
bool ClauseSet::decide() {
  while (!heap_.empty()) {
    const std::uint32_t v = pop();
    if (values_[v] != Value::open) continue;
    level_begins_.push_back(trail_.size());
    assign(2 * v + (phases_[v] ? 0 : 1), none);
    return true;
  }
  return false;
}

bool ClauseSet::is_contradictory(std::size_t most_conflicts, std::uint64_t& steps_left) {
  constexpr std::size_t first_restart = 100;
  std::vector<Literal> learned;
  std::size_t until_restart = first_restart, restart = first_restart;
  while (!contradiction_) {
    const Clause conflict = propagate(steps_left);
    if (conflict == none) {
      if (until_restart == 0) {
        restart += restart / 2;
        until_restart = restart;
        backtrack(0);
      } else if (!decide()) {
        return false;
      }
      continue;
    }
    if (level() == 0) return contradiction_ = true;
    if (most_conflicts-- == 0 || steps_left == 0) return false;
    if (until_restart != 0) --until_restart;
    backtrack(learn(conflict, learned));
    Clause reason = none;
    if (learned.size() > 1) {
      clauses_.push_back(learned);
      reason = static_cast<Clause>(clauses_.size() - 1);
      attach(reason);
    }
    assign(learned[0], reason);
    increment_ *= 1.05;
  }
  return true;
}

// The heap.

void ClauseSet::raise(std::uint32_t variable) {
  activity_[variable] += increment_;
  if (activity_[variable] > 1e100) {
    for (double& a : activity_) a *= 1e-100;
    increment_ *= 1e-100;
  }
  if (heap_places_[variable] != none) sift_up(heap_places_[variable]);
}

void ClauseSet::sift_up(std::size_t at) {
  const std::uint32_t v = heap_[at];
  for (; at > 0 && activity_[heap_[(at - 1) / 2]] < activity_[v]; at = (at - 1) / 2) {
    heap_[at] = heap_[(at - 1) / 2];
    heap_places_[heap_[at]] = static_cast<std::uint32_t>(at);
  }
  heap_[at] = v;
  heap_places_[v] = static_cast<std::uint32_t>(at);
}

void ClauseSet::sift_down(std::size_t at) {
  const std::uint32_t v = heap_[at];
  for (std::size_t child = 2 * at + 1; child < heap_.size(); child = 2 * at + 1) {
    if (child + 1 < heap_.size() && activity_[heap_[child + 1]] > activity_[heap_[child]]) ++child;
    if (activity_[heap_[child]] <= activity_[v]) break;
    heap_[at] = heap_[child];
    heap_places_[heap_[at]] = static_cast<std::uint32_t>(at);
    at = child;
  }
  heap_[at] = v;
  heap_places_[v] = static_cast<std::uint32_t>(at);
}

void ClauseSet::insert(std::uint32_t variable) {
  if (heap_places_[variable] != none) return;
  heap_.push_back(variable);
  heap_places_[variable] = static_cast<std::uint32_t>(heap_.size() - 1);
  sift_up(heap_.size() - 1);
}

std::uint32_t ClauseSet::pop() {
  const std::uint32_t top = heap_[0];
  heap_places_[top] = none;
  const std::uint32_t last = heap_.back();
  heap_.pop_back();
  if (!heap_.empty()) {
    heap_[0] = last;
    heap_places_[last] = 0;
    sift_down(0);
  }
  return top;
}

}  // namespace quarv::cli
