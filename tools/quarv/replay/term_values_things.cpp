/// \file
/// Values that do not consist of bits: choices between such, equations.
#include <algorithm>

#include "replay/term_values.h"

namespace quarv::cli {

namespace {

constexpr std::size_t most_leaves = 24;

}  // namespace

TermValues::Value TermValues::thing(Thing t, const std::string& key) {
  const auto [known, is_new] = known_things_.try_emplace(key, static_cast<Value>(things_.size()));
  if (is_new) {
    things_found_.push_back(static_cast<Value>(things_.size()));
    things_.push_back(std::move(t));
  }
  return found(known->second);
}

TermValues::Value TermValues::found(Value v) const {
  while (things_found_[v] != v) {
    things_found_[v] = things_found_[things_found_[v]];
    v = things_found_[v];
  }
  return v;
}

/// A choice by all its leaves: nested ones are one.
TermValues::Value TermValues::choice(Bit condition, Value a, Value b) {
  if (condition <= BitGraph::yes) return condition == BitGraph::yes ? a : b;
  const auto num_leaves = [this](Value v) { return at(v).kind == Thing::choice ? at(v).cases.size() : 1; };
  const bool opens = num_leaves(a) + num_leaves(b) <= most_leaves;
  std::vector<Case> cases;
  for (const auto& [side, holds] : {std::pair(a, condition), std::pair(b, condition ^ 1U)}) {
    if (!opens || at(side).kind != Thing::choice) {
      cases.emplace_back(side, holds);
      continue;
    }
    for (const auto& [leaf, c] : at(side).cases) cases.emplace_back(found(leaf), graph_.both(c, holds));
  }
  return choice(std::move(cases));
}

TermValues::Value TermValues::choice(std::vector<Case> cases) {
  spend(cases.size());
  std::map<Value, std::vector<Bit>> by_leaf;
  for (const auto& [leaf, c] : cases) by_leaf[leaf].push_back(c);
  Thing t;
  t.kind = Thing::choice;
  t.is_number = at(cases[0].first).is_number;
  t.is_integer = true;
  std::string key = "choice";
  for (auto& [leaf, conditions] : by_leaf) {
    const Bit c = graph_.disjunction(std::move(conditions));
    if (c == BitGraph::yes) return leaf;
    if (c == BitGraph::no) continue;
    t.cases.emplace_back(leaf, c);
    t.is_integer = t.is_integer && at(leaf).is_integer;
    key += ' ' + std::to_string(leaf) + ':' + std::to_string(c);
  }
  if (t.cases.size() == 1) return t.cases[0].first;
  return thing(std::move(t), key);
}

/// Of words, numbers or other things.
BitGraph::Bit TermValues::equal(Argument a, Argument b) {
  if (a == b) return BitGraph::yes;
  if (a.second) return words_.equal(a.first, b.first);
  if (!at(a.first).is_number) return equal(a.first, b.first);
  Sum difference = sum_of(a.first);
  add(difference, sum_of(b.first), -1);
  return compare(std::move(difference), true);
}

BitGraph::Bit TermValues::equal(Value a, Value b) {
  if (a == b) return BitGraph::yes;
  if (is_among_literals(a) && is_among_literals(b)) return equal_literals(a, b);
  if (at(a).kind != Thing::choice) std::swap(a, b);
  if (at(a).kind == Thing::choice && budget_ >= at(a).cases.size()) {
    budget_ -= at(a).cases.size();
    std::vector<Bit> any;
    for (const auto& [leaf, c] : at(a).cases) any.push_back(graph_.both(c, equal(found(leaf), b)));
    return graph_.disjunction(std::move(any));
  }
  if (a > b) std::swap(a, b);
  return atom({.kind = Atom::equality, .a = a, .b = b, .form = 0, .bound = {}},
              "= " + std::to_string(a) + ' ' + std::to_string(b));
}

/// Whether this is a literal, or a choice between some.
bool TermValues::is_among_literals(Value v) const {
  const auto is_literal = [this](Value x) { return at(x).kind == Thing::literal; };
  return is_literal(v) ||
         (at(v).kind == Thing::choice && std::ranges::all_of(at(v).cases, is_literal, &Case::first));
}

/// Literals differ from each other.
BitGraph::Bit TermValues::equal_literals(Value a, Value b) {
  const auto cases = [this](Value v) {
    return at(v).kind == Thing::choice ? at(v).cases : std::vector<Case>{{v, BitGraph::yes}};
  };
  std::vector<Bit> any;
  for (const auto& [x, if_x] : cases(a)) {
    for (const auto& [y, if_y] : cases(b)) {
      if (x == y) any.push_back(graph_.both(if_x, if_y));
    }
  }
  return graph_.disjunction(std::move(any));
}

/// A variable that says this.
BitGraph::Bit TermValues::atom(Atom says, const std::string& key) {
  const auto [known, is_new] = known_bits_.try_emplace(key, 0);
  if (is_new) {
    known->second = graph_.variable();
    atoms_.emplace(known->second >> 1, std::move(says));
  }
  return graph_.find(known->second);
}

}  // namespace quarv::cli
