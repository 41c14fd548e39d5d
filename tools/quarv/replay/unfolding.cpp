#include "replay/unfolding.h"

#include <algorithm>
#include <map>
#include <set>

namespace quarv::cli {

using Id = TraceTerms::Id;

namespace {

/// What tells a function from others.
std::string function_key(const Expression& e) {
  Expression bare = e;
  bare.args.clear();
  return bare.key() + '@' + std::to_string(e.sort);
}

/// An Int may stand for a Real.
bool fits(const TraceTerms& terms, Id id, std::size_t wanted) {
  return terms.term(id).sort == wanted ||
         (terms.sort_of(id).kind == TraceSort::integer && terms.sort(wanted).kind == TraceSort::real);
}

bool is_variable(const TraceTerms& terms, Id id) {
  return terms.term(id).kind == Expression::function && terms.term(id).args.empty();
}

}  // namespace

void Unfolding::add(const TraceDefinition& definition, TraceTerms::Names& names) {
  Definition d;
  for (const TermName t : definition.parameters) d.parameters.push_back(names(t));
  for (const TermName t : definition.binds) d.binds.push_back(names(t));
  d.body = names(definition.body);
  const std::size_t sort = names.sort(definition.function.sort);
  Expression function = definition.function;
  function.sort = sort;
  d.function = function_key(function);
  list_functions(d.body);
  // Definitions that go round in circles may say anything.
  d.is_recursive = used_.contains(d.function) || !fits(terms_, d.body, sort);
  list_dependents(d);
  d.is_recursive = d.is_recursive || !binds_all(d);
  if (!by_function_.try_emplace(d.function, definitions_.size()).second) d.is_recursive = true;
  definitions_.push_back(std::move(d));
}

void Unfolding::list_functions(Id body) {
  std::vector<Id> pending{body};
  while (!pending.empty()) {
    const Id id = pending.back();
    pending.pop_back();
    if (!looked_through_.insert(id).second) continue;
    const Expression& e = terms_.term(id);
    if (e.kind == Expression::function) used_.insert(function_key(e));
    for (const TermName arg : e.args) pending.push_back(static_cast<Id>(arg));
  }
}

void Unfolding::list_dependents(Definition& d) const {
  std::unordered_set<Id> dependent(d.parameters.begin(), d.parameters.end());
  dependent.insert(d.binds.begin(), d.binds.end());
  for (const Id id : in_post_order(terms_, d.body)) {
    const Expression& e = terms_.term(id);
    const auto depends = [&](TermName t) { return dependent.contains(static_cast<Id>(t)); };
    if (dependent.contains(id)) continue;
    if (std::ranges::none_of(e.args, depends) && std::ranges::none_of(e.variables, depends)) continue;
    dependent.insert(id);
    d.order.push_back(id);
  }
}

/// Whether parameters and variables are all different, no quantifier binds a parameter, and each variable
/// occurs only below a quantifier that binds it.
bool Unfolding::binds_all(const Definition& d) const {
  std::set<Id> all(d.parameters.begin(), d.parameters.end());
  all.insert(d.binds.begin(), d.binds.end());
  if (all.size() != d.parameters.size() + d.binds.size()) return false;
  if (!std::ranges::all_of(all, [this](Id id) { return is_variable(terms_, id); })) return false;
  std::map<Id, std::set<Id>> free;  // those variables that are
  for (const Id id : d.binds) free[id] = {id};
  for (const Id id : d.order) {
    const Expression& e = terms_.term(id);
    std::set<Id> own;
    for (const TermName arg : e.args) {
      if (const auto known = free.find(static_cast<Id>(arg)); known != free.end()) {
        own.insert(known->second.begin(), known->second.end());
      }
    }
    for (const TermName v : e.variables) {
      own.erase(static_cast<Id>(v));
      if (std::ranges::find(d.binds, static_cast<Id>(v)) == d.binds.end()) return false;
    }
    if (!own.empty()) free[id] = std::move(own);
  }
  return !free.contains(d.body) && !std::ranges::count(d.binds, d.body);
}

/// Whether the variables are different, and none of them occurs in what is put in, or in the body where
/// something else is meant.
bool Unfolding::are_fresh(const Definition& d, const std::vector<TermName>& args,
                          const std::vector<Id>& binds) const {
  if (binds.empty()) return true;
  const std::set<Id> all(binds.begin(), binds.end());
  if (all.size() != binds.size()) return false;
  for (std::size_t i = 0; i < binds.size(); ++i) {
    if (!is_variable(terms_, binds[i]) || terms_.term(binds[i]).sort != terms_.term(d.binds[i]).sort)
      return false;
  }
  std::set<Id> others = all;
  for (const Id id : d.binds) others.erase(id);
  const auto occurs = [this](const std::set<Id>& wanted, std::vector<Id> pending) {
    std::unordered_set<Id> seen;
    while (!pending.empty()) {
      const Id id = pending.back();
      pending.pop_back();
      if (!seen.insert(id).second) continue;
      if (wanted.contains(id)) return true;
      const Expression& e = terms_.term(id);
      for (const TermName arg : e.args) pending.push_back(static_cast<Id>(arg));
    }
    return false;
  };
  if (!others.empty() && occurs(others, {d.body})) return false;
  return !occurs(all, std::vector<Id>(args.begin(), args.end()));
}

std::optional<Id> Unfolding::instance(const Expression& application, const std::vector<Id>& binds) {
  const auto known = by_function_.find(function_key(application));
  if (application.kind != Expression::function || known == by_function_.end()) return std::nullopt;
  const Definition& d = definitions_[known->second];
  const std::vector<TermName>& args = application.args;
  if (d.is_recursive || args.size() != d.parameters.size() || binds.size() != d.binds.size()) {
    return std::nullopt;
  }
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (!fits(terms_, static_cast<Id>(args[i]), terms_.term(d.parameters[i]).sort)) return std::nullopt;
  }
  if (!are_fresh(d, args, binds)) return std::nullopt;
  std::unordered_map<Id, Id> put_in;
  for (std::size_t i = 0; i < args.size(); ++i) put_in[d.parameters[i]] = static_cast<Id>(args[i]);
  for (std::size_t i = 0; i < binds.size(); ++i) put_in[d.binds[i]] = binds[i];
  const auto replacement = [&put_in](TermName t) {
    const auto found = put_in.find(static_cast<Id>(t));
    return found == put_in.end() ? static_cast<Id>(t) : found->second;
  };
  for (const Id id : d.order) {
    std::vector<Id> parts, variables;
    for (const TermName arg : terms_.term(id).args) parts.push_back(replacement(arg));
    for (const TermName v : terms_.term(id).variables) variables.push_back(replacement(v));
    put_in[id] = terms_.with_args(id, parts, variables);
  }
  return replacement(d.body);
}

}  // namespace quarv::cli
