#include "replay/trace_terms.h"

#include <algorithm>
#include <unordered_set>

namespace quarv::cli {

using Id = TraceTerms::Id;

void TraceTerms::Names::add_definitions() {
  for (; num_read_ < trace_.names().size(); ++num_read_) {
    const TermName name = trace_.names()[num_read_];
    ids_.emplace(name, convert(trace_.term(name)));
  }
}

Id TraceTerms::Names::operator()(TermName name) {
  add_definitions();
  return ids_.at(name);
}

Id TraceTerms::Names::operator()(const Expression& e) {
  add_definitions();
  return convert(e);
}

Id TraceTerms::Names::convert(Expression e) {
  for (TermName& arg : e.args) arg = ids_.at(arg);
  for (TermName& variable : e.variables) variable = ids_.at(variable);
  e.sort = sort(e.sort);
  return terms_.add(std::move(e));
}

std::size_t TraceTerms::Names::sort(std::size_t name) {
  while (sorts_.size() <= name) {
    TraceSort s = trace_.sort(sorts_.size());
    std::string text = s.name;
    for (std::size_t& arg : s.args) {
      arg = sorts_[arg];
      text += ' ' + terms_.sort_texts_[arg];
    }
    if (!s.args.empty()) text.insert(0, 1, '(') += ')';
    const auto [known, inserted] = terms_.sort_ids_.try_emplace(text, terms_.sorts_.size());
    if (inserted) {
      terms_.sorts_.push_back(std::move(s));
      terms_.sort_texts_.push_back(std::move(text));
    }
    sorts_.push_back(known->second);
  }
  return sorts_[name];
}

Id TraceTerms::add(Expression e) {
  const auto [known, inserted] =
      ids_.try_emplace(e.key() + '@' + std::to_string(e.sort), static_cast<Id>(terms_.size()));
  if (inserted) terms_.push_back(std::move(e));
  return known->second;
}

Id TraceTerms::with_args(Id id, const std::vector<Id>& args, const std::vector<Id>& variables) {
  Expression e = terms_[id];
  e.args.assign(args.begin(), args.end());
  if (!variables.empty()) e.variables.assign(variables.begin(), variables.end());
  return add(std::move(e));
}

Id TraceTerms::own_variable(std::size_t sort, std::size_t depth, std::size_t number) {
  Expression e;
  e.kind = Expression::function;
  e.indices = {std::to_string(depth), std::to_string(number)};  // which functions of traces do not have
  e.sort = sort;
  return add(std::move(e));
}

Id TraceTerms::truth(bool value, std::size_t sort) {
  Expression e;
  e.op = value ? "true" : "false";
  e.sort = sort;
  return add(std::move(e));
}

Id TraceTerms::any_read(std::size_t array_sort) {
  Expression e;
  e.op = "select";
  e.sort = sorts_[array_sort].args[1];
  e.args = {own_variable(array_sort, 0, 0), own_variable(sorts_[array_sort].args[0], 0, 0)};
  return add(std::move(e));
}

void TraceTerms::change(Id id, std::unordered_map<Id, Id>& changed) {
  std::vector<Id> args(terms_[id].args.begin(), terms_[id].args.end());
  bool same = true;
  for (Id& arg : args) {
    const auto other = changed.find(arg);
    if (other == changed.end()) continue;
    arg = other->second;
    same = false;
  }
  if (!same) changed.emplace(id, with_args(id, args));
}

Id TraceTerms::replaced(Id root, Id before, Id after) {
  std::unordered_map<Id, Id> changed{{before, after}};  // without what stays as it is
  for (Id id : in_post_order(*this, root)) {
    if (id != before) change(id, changed);
  }
  const auto result = changed.find(root);
  return result != changed.end() ? result->second : root;
}

bool binds_part_of(const TraceTerms& terms, Id in, Id root) {
  const std::vector<Id> parts = in_post_order(terms, root);
  return std::ranges::any_of(in_post_order(terms, in), [&](Id id) {
    return std::ranges::any_of(terms.term(id).variables, [&](TermName v) {
      return std::ranges::find(parts, static_cast<Id>(v)) != parts.end();
    });
  });
}

std::vector<Id> in_post_order(const TraceTerms& terms, Id root) {
  std::vector<Id> order;
  std::unordered_set<Id> seen{root};
  std::vector<std::pair<Id, std::size_t>> open{{root, 0}};
  while (!open.empty()) {
    auto& [id, next] = open.back();
    const std::vector<TermName>& args = terms.term(id).args;
    if (next == args.size()) {
      order.push_back(id);
      open.pop_back();
      continue;
    }
    const auto arg = static_cast<Id>(args[next++]);
    if (seen.insert(arg).second) open.emplace_back(arg, 0);
  }
  return order;
}

}  // namespace quarv::cli
