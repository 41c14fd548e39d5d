#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <quarv/term/given.h>
#include <quarv/term/substitution.h>
#include <quarv/term/walk.h>

namespace quarv {

namespace {

/// Makes the replacements. Below a quantifier that binds what occurs in replacements others are in force:
/// such a part of the term is a scope of its own, with results of its own.
class Substituter {
 public:
  Substituter(TermManager& m, const Substitution& substitution, const MakeTerm& make) : m_(m), make_(make) {
    add_scope(substitution);
  }

  const Term* operator()(const Term* root) {
    pending_.push_back({root, 0});
    while (!pending_.empty()) {
      Checkpoint::pass();
      const Task task = pending_.back();
      if (scopes_[task.scope]->done.contains(task.term)) {
        pending_.pop_back();
      } else if (const Term* result = result_of(task)) {
        scopes_[task.scope]->done[task.term] = result;
        pending_.pop_back();
      }
    }
    return *scopes_[0]->done.find(root);
  }

 private:
  struct Scope {
    Substitution replacements;
    hsh::HashSet<const Term*> variables;  // bound ones that occur in replacements, on either side
    hsh::HashMap<const Term*, const Term*> done;
    hsh::HashMap<const Term*, std::size_t> inner;  // scopes of quantifiers
  };
  struct Task {
    const Term* term;
    std::size_t scope;
  };

  std::size_t add_scope(const Substitution& replacements) {
    auto scope = std::make_unique<Scope>(Scope{replacements_of(replacements), {}, {}, {}});
    std::vector<const Term*> sides;  // which may share parts
    for (const auto& [what, by] : replacements) sides.insert(sides.end(), {what, by});
    visit_post_order(m_, sides, [&](const Term* t) {
      if (m_.is_bound_variable(t->symbol)) scope->variables.insert(t);
    });
    scopes_.push_back(std::move(scope));
    return scopes_.size() - 1;
  }

  Substitution replacements_of(const Substitution& from) const {
    Substitution copy(m_);
    for (const auto& [what, by] : from) copy.set(what, by);
    return copy;
  }

  /// The result; null when other terms have to be done first.
  const Term* result_of(const Task& task) {
    const auto [t, s] = task;
    Scope& scope = *scopes_[s];
    if (const Term* by = scope.replacements.find(t)) return by;
    if (m_.is_quantifier(t->symbol) && binds_some(t, scope)) return quantifier(t, scope);
    const TermManager::Args args = m_.args_of(t);
    bool changed = false;
    args_.clear();
    const std::size_t before = pending_.size();
    // The first argument is to be built first: it stands on top.
    for (std::size_t i = args.size(); i-- > 0;) {
      const Term* const* done = scope.done.find(args[i]);
      if (done == nullptr) pending_.push_back({args[i], s});
    }
    if (pending_.size() != before) return nullptr;
    for (const Term* a : args) {
      args_.push_back(*scope.done.find(a));
      changed |= args_.back() != a;
    }
    return changed ? make_(t->symbol, args_) : t;
  }

  bool binds_some(const Term* quantifier, const Scope& scope) const {
    return !scope.variables.empty() &&
           std::ranges::any_of(m_.quantifier_variables(quantifier->symbol),
                               [&](const Term* v) { return scope.variables.contains(v); });
  }

  const Term* quantifier(const Term* t, Scope& scope) {
    const Term* body = t->args[0];
    if (const std::size_t* inner = scope.inner.find(t)) {
      const Term* done = *scopes_[*inner]->done.find(body);
      std::vector<const Term*> variables;
      bool renamed = false;
      for (const Term* v : m_.quantifier_variables(t->symbol)) {
        const Term* fresh = scopes_[*inner]->replacements.find(v);
        renamed |= fresh != nullptr;
        variables.push_back(fresh == nullptr ? v : fresh);
      }
      if (done == body && !renamed) return t;
      return m_.make_quantifier(t->symbol->name, variables, done);
    }
    const std::size_t inner = add_scope(below(t, scope));
    scope.inner[t] = inner;
    pending_.push_back({body, inner});
    return nullptr;
  }

  /// The replacements that are in force below a quantifier, with those of variables that would catch others.
  Substitution below(const Term* quantifier, const Scope& scope) {
    const std::vector<const Term*>& variables = m_.quantifier_variables(quantifier->symbol);
    hsh::HashSet<const Term*> bound, caught;
    for (const Term* v : variables) bound.insert(v);
    Substitution inner(m_);
    for (const auto& [what, by] : scope.replacements) {
      if (mentions(what, bound, nullptr)) continue;
      inner.set(what, by);
      mentions(by, bound, &caught);
    }
    for (const Term* v : variables) {
      if (caught.contains(v)) inner.set(v, m_.fresh_bound_variable(v->symbol->name, m_.type_of(v)));
    }
    return inner;
  }

  /// Whether one of the variables occurs in the term; enters those that do.
  bool mentions(const Term* t, const hsh::HashSet<const Term*>& variables,
                hsh::HashSet<const Term*>* found) const {
    bool some = false;
    visit_post_order(m_, t, [&](const Term* u) {
      if (!variables.contains(u)) return;
      some = true;
      if (found != nullptr) found->insert(u);
    });
    return some;
  }

  TermManager& m_;
  const MakeTerm& make_;
  std::vector<std::unique_ptr<Scope>> scopes_;  // the first one is that of the whole term
  std::vector<Task> pending_;
  std::vector<const Term*> args_;
};

}  // namespace

Substitution::Substitution(const TermManager& manager,
                           std::initializer_list<std::pair<const Term*, const Term*>> replacements)
    : manager_(&manager) {
  for (const auto& [what, by] : replacements) set(what, by);
}

Substitution& Substitution::set(const Term* what, const Term* by) {
  check_given(*manager_, "substitute", what);
  check_given(*manager_, "substitute", by);
  const DataType* wanted = manager_->type_of(what);
  const DataType* found = manager_->type_of(by);
  if (manager_->get_supertype(wanted, found) != wanted) {
    throw SortError("substitute: a term of sort " + found->abbreviated() + " cannot stand for one of sort " +
                    wanted->abbreviated());
  }
  replacements_[what] = by;
  return *this;
}

const Term* substitute(TermManager& m, const Term* t, const Substitution& substitution) {
  return substitute(m, t, substitution, [&m](const Symbol* symbol, TermManager::Args args) {
    return m.make_term_unchecked(symbol, args);
  });
}

const Term* substitute(TermManager& m, const Term* t, const Substitution& substitution,
                       const MakeTerm& make) {
  check_given(m, "substitute", t);
  return Substituter(m, substitution, make)(t);
}

}  // namespace quarv
