#include <algorithm>
#include <optional>
#include <span>

#include <quarv/simpl/extended/definitions.h>
#include <quarv/simpl/extended/linear_sum.h>
#include <quarv/simpl/extended/values.h>
#include <quarv/term/substitution.h>
#include <quarv/util/checkpoint.h>
#include <quarv/util/hash_map.h>

namespace quarv::termsimpl::extended {

namespace {

/// The only value of a variable for which an equation holds; null where it does not say that.
struct Definition {
  const Term* variable = nullptr;
  const Term* value = nullptr;
  const Term* atom = nullptr;  // that says so, by holding or not
  bool holds = true;
};

/// Of several variables the last one is replaced: what is computed of others is mostly bound behind them.
Definition solved_sum(TermManager& m, FreeVariables& free, const BoundVariables& variables,
                      const Term* equation) {
  LinearSum sum(m);
  if (!sum.add(equation->args[0], QNumber(1)) || !sum.add(equation->args[1], QNumber(-1))) return {};
  sum.drop_zeros();
  const LinearSum::Monomial* last = nullptr;
  std::size_t last_place = 0;
  for (const LinearSum::Monomial& x : sum) {
    const std::optional<std::size_t> place = variables.place_of(x.term);
    if (!place || (last != nullptr && *place < last_place)) continue;
    const std::vector<const Term*> alone{x.term};
    if (!is_linear_in(m, free, BoundVariables(alone), equation)) continue;
    last = &x;
    last_place = *place;
  }
  if (last == nullptr) return {};
  const Term* variable = last->term;
  const QNumber factor = QNumber(-1) / last->coefficient;
  LinearSum value(m);
  if (!value.add(equation->args[0], factor) || !value.add(equation->args[1], -factor)) return {};
  if (!value.add(variable, QNumber(1))) return {};
  value.drop_zeros();
  return {variable, value.to_term(), equation};
}

/// What a formula that is known to hold, or not to hold, says.
Definition definition(TermManager& m, FreeVariables& free, const BoundVariables& variables, const Term* atom,
                      bool holds) {
  if (variables.contains(atom)) return {atom, m.make_bool(holds), atom, holds};
  if (!holds || !(has_tag(m, atom, SymbolTag::EQ) || has_tag(m, atom, SymbolTag::IFF))) return {};
  if (m.is_arithmetic_type(m.type_of(atom->args[0]))) return solved_sum(m, free, variables, atom);
  for (int i = 0; i < 2; ++i) {
    const Term* x = atom->args[i];
    const Term* value = atom->args[1 - i];
    if (variables.contains(x) && !free.may_occur(m, x, value)) return {x, value, atom};
  }
  return {};
}

/// Definitions of variables by terms in which others may occur, put into each other.
///
/// Where definitions go round in a circle, one variable of it stays. Replacing variables by what they are
/// defined as never changes what a quantifier says, as long as the definitions are among what is replaced in.
class Definitions {
 public:
  /// Of several definitions of one variable the first one counts.
  Definitions(TermManager& m, std::span<const Definition> list) : m_(m) {
    for (const Definition& d : list) {
      if (values_.contains(d.variable)) continue;
      values_[d.variable] = d.value;
      used_.push_back(d);
    }
  }

  /// What stands for the variables, and for what defines them.
  Substitution resolved() {
    Substitution result(m_);
    for (const Definition& d : used_) resolve(d.variable);
    for (const Definition& d : used_) {
      const Term* value = *done_.find(d.variable);
      if (value == d.variable) continue;
      result.set(d.atom, m_.make_bool(d.holds));
      result.set(d.variable, value);
    }
    return result;
  }

 private:
  void resolve(const Term* variable) {
    std::vector<const Term*> pending{variable};
    while (!pending.empty()) {
      Checkpoint::pass();
      const Term* t = pending.back();
      const std::size_t before = pending.size();
      if (!done_.contains(t)) {
        if (const Term* const* value = values_.find(t)) {
          open_.insert(t);
          ask_for(*value, pending);
          if (pending.size() != before) continue;
          done_[t] = *done_.find(*value);
        } else {
          for (std::size_t i = m_.arity(t); i-- > 0;) ask_for(t->args[i], pending);
          if (pending.size() != before) continue;
          finish(t);
        }
      }
      pending.pop_back();
    }
  }

  void ask_for(const Term* t, std::vector<const Term*>& pending) {
    if (done_.contains(t)) return;
    if (open_.contains(t)) {
      done_[t] = t;  // a variable defined by itself
    } else {
      pending.push_back(t);
    }
  }

  void finish(const Term* t) {
    std::vector<const Term*> args;
    bool changed = false;
    for (const Term* arg : m_.args_of(t)) {
      args.push_back(*done_.find(arg));
      changed |= args.back() != arg;
    }
    done_[t] = changed ? m_.make_term_unchecked(t->symbol, args) : t;
  }

  TermManager& m_;
  std::vector<Definition> used_;
  hsh::HashMap<const Term*, const Term*> values_;
  hsh::HashMap<const Term*, const Term*> done_;
  hsh::HashSet<const Term*> open_;  // variables whose values are under way
};

/// Calls `visit(atom, holds)` for what a conjunction that holds says of the variables; the negation of a
/// disjunction is a conjunction of negations. At most `most` of them.
template <class Visit>
void each_conjunct(TermManager& m, FreeVariables& free, const BoundVariables& variables, const Term* body,
                   bool holds, std::size_t most, Visit visit) {
  struct Part {
    const Term* formula;
    bool holds;
  };
  constexpr std::size_t cost = 8;  // of a conjunct, in steps from term to term
  hsh::HashSet<const Term*> seen;  // connectives, which may share parts
  std::vector<Part> pending{{body, holds}};
  std::size_t num = 0;
  for (; !pending.empty() && num < most; ++num) {
    Part s = pending.back();
    pending.pop_back();
    for (; s.formula->symbol == m.not_symbol; s.formula = s.formula->args[0]) s.holds = !s.holds;
    if (!free.any_may_occur(m, variables, s.formula)) continue;
    if (s.formula->symbol != (s.holds ? m.and_symbol : m.or_symbol)) {
      visit(s.formula, s.holds);
    } else if (seen.insert(s.formula)) {
      pending.insert(pending.end(), {{s.formula->args[1], s.holds}, {s.formula->args[0], s.holds}});
    }
  }
  m.count_visits(cost * num);
}

}  // namespace

bool is_linear_in(TermManager& m, FreeVariables& free, const BoundVariables& variables,
                  const Term* equation) {
  LinearSum sum(m);
  if (!sum.add(equation->args[0], QNumber(1)) || !sum.add(equation->args[1], QNumber(-1))) return false;
  sum.drop_zeros();
  const bool integral = sum.constant.is_integer() && std::all_of(sum.begin(), sum.end(), [&m](const auto& x) {
                          return m.type_of(x.term) == m.int_type && x.coefficient.is_integer();
                        });
  return std::any_of(sum.begin(), sum.end(), [&](const LinearSum::Monomial& x) {
    if (!variables.contains(x.term)) return false;
    const bool counts_once = x.coefficient == QNumber(1) || x.coefficient == QNumber(-1);
    if (m.type_of(x.term) == m.int_type && !(integral && counts_once)) return false;
    return std::all_of(sum.begin(), sum.end(), [&](const LinearSum::Monomial& y) {
      return y.term == x.term || !free.may_occur(m, x.term, y.term);
    });
  });
}

const Term* with_definitions(TermManager& m, FreeVariables& free, bool universal,
                             const BoundVariables& variables, const Term* body,
                             std::vector<const Term*>& others) {
  constexpr std::size_t few = 24;
  const std::size_t most = m.may_visit() ? std::size_t{1} << 20 : few;
  std::vector<Definition> definitions;
  bool has_quantifier = false;
  each_conjunct(m, free, variables, body, !universal, most, [&](const Term* atom, bool holds) {
    if (has_quantifier) return;
    const Definition d = definition(m, free, variables, atom, holds);
    if (d.variable == nullptr) return;
    // A quantifier within a value may bind what is to be replaced there: such a value is put in alone.
    has_quantifier = free.has_quantifier(m, d.value);
    if (!has_quantifier || definitions.empty()) definitions.push_back(d);
  });
  if (definitions.empty()) return nullptr;
  const Substitution replacements = Definitions(m, definitions).resolved();
  others.clear();
  for (const Term* v : variables.list()) {
    if (replacements.find(v) == nullptr) others.push_back(v);
  }
  return substitute(m, body, replacements);
}

}  // namespace quarv::termsimpl::extended
