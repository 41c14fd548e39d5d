#include <algorithm>
#include <unordered_set>
#include <utility>

#include <quarv/smtlib/read/unfolder.h>
#include <quarv/util/checkpoint.h>

namespace quarv::smtlib {

/// Takes a body apart, once for all applications.
class Unfolder::Reading {
 public:
  Reading(Unfolder& unfolder, const Symbol* f, std::span<const Term* const> parameters)
      : u_(unfolder), m_(unfolder.m_), f_(f) {
    for (const Term* p : parameters) variable(p);
    body_.num_parameters = static_cast<std::uint32_t>(parameters.size());
  }

  /// False where the function is to stay.
  bool read(const Term* root) {
    pending_.push_back(root);
    while (!pending_.empty()) {
      Checkpoint::pass();
      const Term* t = pending_.back();
      if (is_done(t)) {
        pending_.pop_back();
        continue;
      }
      if (u_.is_unclear(t, f_)) return false;
      const std::size_t before = pending_.size();
      const auto args = m_.args_of(t);
      for (std::size_t i = args.size(); i-- > 0;) {
        if (!is_done(args[i])) pending_.push_back(args[i]);
      }
      if (pending_.size() != before) continue;
      pending_.pop_back();
      finish(t);
    }
    body_.result = part(root);
    number_nodes();
    return true;
  }
  Body take() { return std::move(body_); }

 private:
  bool is_done(const Term* t) const { return indices_.contains(t) || u_.fixed_.contains(t); }

  void variable(const Term* v) {
    if (indices_.contains(v)) return;
    indices_[v] = static_cast<std::uint32_t>(body_.variables.size());
    body_.variables.push_back(v);
    note(v);
  }
  void note(const Term* t) { body_.last_term = std::max<std::uint64_t>(body_.last_term, t->id); }

  void finish(const Term* t) {
    if (m_.is_bound_variable(t->symbol)) return variable(t);
    const auto args = m_.args_of(t);
    const bool binds = m_.is_quantifier(t->symbol);
    if (binds) {
      for (const Term* v : m_.quantifier_variables(t->symbol)) variable(v);
    }
    const bool depends =
        binds || std::ranges::any_of(args, [&](const Term* a) { return indices_.contains(a); });
    if (!depends) {
      u_.fixed_.insert(t);
      return;
    }
    const auto first = static_cast<std::uint32_t>(body_.parts.size());
    for (const Term* a : args) body_.parts.push_back(part(a));
    if (binds) {
      for (const Term* v : m_.quantifier_variables(t->symbol)) body_.parts.push_back(part(v));
    }
    indices_[t] = node_bit | static_cast<std::uint32_t>(body_.nodes.size());
    body_.nodes.push_back({t, first});
    note(t);
  }

  Part part(const Term* t) {
    note(t);
    const std::uint32_t* index = indices_.find(t);
    return index == nullptr ? Part{t, 0} : Part{nullptr, *index};
  }

  /// Only now is it known how many variables there are.
  void number_nodes() {
    const auto num_variables = static_cast<std::uint32_t>(body_.variables.size());
    const auto number = [&](Part& p) {
      if (p.fixed == nullptr && (p.index & node_bit) != 0) p.index = (p.index & ~node_bit) + num_variables;
    };
    for (Part& p : body_.parts) number(p);
    number(body_.result);
  }

  static constexpr std::uint32_t node_bit = std::uint32_t{1} << 31;

  Unfolder& u_;
  TermManager& m_;
  const Symbol* f_;
  Body body_;
  std::vector<const Term*> pending_;
  hsh::HashMap<const Term*, std::uint32_t> indices_;  // of what depends on variables
};

/// What has a name of its own cannot stand in two places; what is known by its name alone cannot be built.
bool Unfolder::is_unclear(const Term* t, const Symbol* f) const {
  if (t->symbol == f || m_.is_annotation(t->symbol)) return true;
  return m_.get_tag(t->symbol) == SymbolTag::OPAQUE && !m_.is_quantifier(t->symbol);
}

bool Unfolder::define(const Symbol* f, std::span<const Term* const> parameters, const Term* body) {
  Reading reading(*this, f, parameters);
  if (!reading.read(body)) return false;
  bodies_.insert_or_assign(f, reading.take());
  return true;
}

/// Variables of quantifiers that would catch what an argument brings in get other names, each its own.
void Unfolder::rename_variables(const Body& body, const Rename& rename) {
  const Args bound = Unfolder::bound(body);
  std::unordered_set<const Term*> taken(bound.begin(), bound.end());
  for (std::size_t i = 0; i < bound.size(); ++i) {
    const Term* v = rename(bound[i], 0);
    for (std::uint32_t attempt = 1; v == nullptr; ++attempt) {
      v = rename(bound[i], attempt);
      if (v != nullptr && !taken.insert(v).second) v = nullptr;
    }
    values_.push_back(v);
  }
}

const Term* Unfolder::built(const Body& body, const Node& node) {
  const Term* t = node.term;
  const auto old = m_.args_of(t);
  const Part* part = body.parts.data() + node.first_part;
  bool changed = false;
  const auto next = [&](const Term* before) {
    const Term* after = value(*part++);
    changed |= after != before;
    return after;
  };
  args_.clear();
  for (const Term* a : old) args_.push_back(next(a));
  if (!m_.is_quantifier(t->symbol)) return changed ? m_.make_term_unchecked(t->symbol, args_) : t;
  std::vector<const Term*> variables;
  for (const Term* v : m_.quantifier_variables(t->symbol)) variables.push_back(next(v));
  return changed ? m_.make_quantifier(t->symbol->name, variables, args_[0]) : t;
}

const Term* Unfolder::unfolded(const Body& body, Args args, const Rename& rename) {
  values_.assign(args.begin(), args.end());
  if (body.variables.size() != body.num_parameters) rename_variables(body, rename);
  values_.reserve(values_.size() + body.nodes.size());
  for (const Node& node : body.nodes) {
    Checkpoint::pass();
    values_.push_back(built(body, node));
  }
  return value(body.result);
}

void Unfolder::forget_from(std::uint64_t first) {
  std::erase_if(bodies_, [first](const auto& entry) { return entry.second.last_term >= first; });
  fixed_.clear(false);
}

}  // namespace quarv::smtlib
