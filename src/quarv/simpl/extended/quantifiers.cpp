#include <algorithm>
#include <vector>

#include <quarv/simpl/extended/families.h>
#include <quarv/simpl/extended/linear_sum.h>
#include <quarv/simpl/extended/values.h>
#include <quarv/term/substitution.h>

namespace quarv::termsimpl::extended {

namespace {

/// The variables that occur in a term, in their order; all of them when the term is too large to be searched.
/// Most occur near their quantifier, so that the search goes down level by level: quantifiers may be nested
/// thousands of levels deep.
std::vector<const Term*> occurring(TermManager& m, const std::vector<const Term*>& variables,
                                   const Term* body) {
  constexpr std::size_t small = 256;
  constexpr std::size_t most = 1 << 16;
  constexpr std::size_t cost = 8;  // of a look-up among the terms seen, in steps from term to term
  std::vector<const Term*> sorted(variables);  // there may be thousands
  std::sort(sorted.begin(), sorted.end(), Term_lt());
  const auto place_of = [&sorted](const Term* t) {
    return static_cast<std::size_t>(std::lower_bound(sorted.begin(), sorted.end(), t, Term_lt()) -
                                    sorted.begin());
  };
  std::vector<bool> occurs(variables.size());
  std::size_t missing = variables.size();
  hsh::HashSet<const Term*> seen;
  std::vector<const Term*> met{body};
  std::size_t visited = 0;
  for (; visited < met.size() && missing > 0; ++visited) {
    if (visited == small && !m.may_visit()) return variables;
    if (visited == most) {
      m.count_visits(cost * visited);
      return variables;
    }
    const Term* t = met[visited];
    if (m.is_bound_variable(t->symbol)) {
      const std::size_t i = place_of(t);
      if (i < sorted.size() && sorted[i] == t && !occurs[i]) {
        occurs[i] = true;
        --missing;
      }
    }
    for (const Term* arg : m.args_of(t)) {
      if (seen.insert(arg)) met.push_back(arg);
    }
  }
  m.count_visits(cost * visited);
  std::vector<const Term*> used;
  for (const Term* v : variables) {
    if (occurs[place_of(v)]) used.push_back(v);
  }
  return used;
}

bool contains(const std::vector<const Term*>& variables, const Term* t) {
  return std::find(variables.begin(), variables.end(), t) != variables.end();
}

/// A linear equation has a solution for a variable that occurs in it once, of sort Real; of sort Int, when it
/// counts once or minus once and all the rest is integral.
bool is_linear_in(TermManager& m, const std::vector<const Term*>& variables, const Term* equation) {
  LinearSum sum(m);
  if (!sum.add(equation->args[0], QNumber(1)) || !sum.add(equation->args[1], QNumber(-1))) return false;
  sum.drop_zeros();
  const bool integral = sum.constant.is_integer() && std::all_of(sum.begin(), sum.end(), [&m](const auto& x) {
                          return m.type_of(x.term) == m.int_type && x.coefficient.is_integer();
                        });
  return std::any_of(sum.begin(), sum.end(), [&](const LinearSum::Monomial& x) {
    if (!contains(variables, x.term)) return false;
    const bool counts_once = x.coefficient == QNumber(1) || x.coefficient == QNumber(-1);
    if (m.type_of(x.term) == m.int_type && !(integral && counts_once)) return false;
    return std::all_of(sum.begin(), sum.end(), [&](const LinearSum::Monomial& y) {
      return y.term == x.term || occurring(m, {x.term}, y.term).empty();
    });
  });
}

/// Numbers have no bounds: a linear inequality holds for some values of a variable that occurs in it once,
/// and does not hold for others.
bool is_unbounded(TermManager& m, const std::vector<const Term*>& variables, const Term* formula) {
  const Term* atom = formula->symbol == m.not_symbol ? formula->args[0] : formula;
  if (!has_tag(m, atom, SymbolTag::LEQ)) return false;
  LinearSum sum(m);
  if (!sum.add(atom->args[0], QNumber(1)) || !sum.add(atom->args[1], QNumber(-1))) return false;
  sum.drop_zeros();
  return std::any_of(sum.begin(), sum.end(), [&](const LinearSum::Monomial& x) {
    return contains(variables, x.term) &&
           std::all_of(sum.begin(), sum.end(), [&](const LinearSum::Monomial& y) {
             return y.term == x.term || occurring(m, {x.term}, y.term).empty();
           });
  });
}

bool is_universal(const Symbol* quantifier) {
  return std::string_view(quantifier->name) == "forall";
}

/// Operands of a disjunction under `forall`, of a conjunction under `exists`.
const Term* join(TermManager& m, bool universal, const Term* a, const Term* b) {
  return universal ? m.make_or(a, b) : m.make_and(a, b);
}

/// The negation of a conjunction is a disjunction of negations.
std::vector<const Term*> operands_of(TermManager& m, bool universal, const Term* body) {
  const Symbol* connective = universal ? m.or_symbol : m.and_symbol;
  const Symbol* dual = universal ? m.and_symbol : m.or_symbol;
  constexpr std::size_t most_operands = 12;
  std::vector<const Term*> operands;
  std::vector<const Term*> pending{body};
  while (!pending.empty()) {
    const Term* t = pending.back();
    pending.pop_back();
    const bool has_room = operands.size() + pending.size() < most_operands;
    const Term* negated = t->symbol == m.not_symbol ? t->args[0] : nullptr;
    if (t->symbol == connective && has_room) {
      pending.insert(pending.end(), {t->args[1], t->args[0]});
    } else if (negated != nullptr && negated->symbol == dual && has_room) {
      const Term* second = m.make_not(negated->args[1]);
      const Term* first = m.make_not(negated->args[0]);
      pending.insert(pending.end(), {second, first});
    } else {
      operands.push_back(t);
    }
  }
  return operands;
}

/// Operands without the variables go outside, and a Boolean variable that is an operand, and occurs in no
/// other, decides nothing.
const Term* without_free_operands(TermManager& m, const Symbol* s, const std::vector<const Term*>& variables,
                                  const std::vector<const Term*>& operands) {
  const bool universal = is_universal(s);
  std::vector<std::vector<const Term*>> used;
  for (const Term* t : operands) used.push_back(occurring(m, variables, t));
  const auto is_lone_literal = [&](std::size_t i) {
    const Term* t = operands[i];
    const Term* atom = t->symbol == m.not_symbol ? t->args[0] : t;
    if (!contains(variables, atom)) return false;
    return std::count_if(used.begin(), used.end(), [&](const auto& u) { return contains(u, atom); }) == 1;
  };
  const Term* outside = m.make_bool(!universal);
  const Term* inside = outside;
  bool any = false;
  for (std::size_t i = operands.size(); i-- > 0;) {
    const bool stays = !used[i].empty() && !is_lone_literal(i);
    any |= !stays;
    if (stays) inside = join(m, universal, operands[i], inside);
    if (used[i].empty()) outside = join(m, universal, operands[i], outside);
  }
  if (!any) return nullptr;
  return join(m, universal, outside,
              is_value(m, inside) ? inside : m.make_quantifier(s->name, variables, inside));
}

/// The only value of a variable for which an equation holds; null where it does not say that.
struct OnePoint {
  const Term* variable = nullptr;
  const Term* value = nullptr;
};

/// Of several variables the last one is replaced: what is computed of others is mostly bound behind them.
OnePoint solved_sum(TermManager& m, const std::vector<const Term*>& variables, const Term* equation) {
  LinearSum sum(m);
  if (!sum.add(equation->args[0], QNumber(1)) || !sum.add(equation->args[1], QNumber(-1))) return {};
  sum.drop_zeros();
  const LinearSum::Monomial* last = nullptr;
  auto place = variables.begin();
  for (const LinearSum::Monomial& x : sum) {
    const auto found = std::find(place, variables.end(), x.term);
    if (found == variables.end() || !is_linear_in(m, {x.term}, equation)) continue;
    last = &x;
    place = found;
  }
  if (last == nullptr) return {};
  const Term* variable = last->term;
  const QNumber factor = QNumber(-1) / last->coefficient;
  LinearSum value(m);
  if (!value.add(equation->args[0], factor) || !value.add(equation->args[1], -factor)) return {};
  if (!value.add(variable, QNumber(1))) return {};
  value.drop_zeros();
  return {variable, value.to_term()};
}

OnePoint one_point(TermManager& m, const std::vector<const Term*>& variables, const Term* formula) {
  const bool negated = formula->symbol == m.not_symbol;
  const Term* atom = negated ? formula->args[0] : formula;
  if (contains(variables, atom)) return {atom, m.make_bool(!negated)};
  if (negated || !(has_tag(m, atom, SymbolTag::EQ) || has_tag(m, atom, SymbolTag::IFF))) return {};
  if (m.is_arithmetic_type(m.type_of(atom->args[0]))) return solved_sum(m, variables, atom);
  for (int i = 0; i < 2; ++i) {
    const Term* x = atom->args[i];
    if (contains(variables, x) && occurring(m, {x}, atom->args[1 - i]).empty()) return {x, atom->args[1 - i]};
  }
  return {};
}

/// A conjunct under `exists`, a premise under `forall`, that leaves a variable one value: that stands for the
/// variable in the others.
const Term* at_one_point(TermManager& m, const Symbol* s, const std::vector<const Term*>& variables,
                         const std::vector<const Term*>& operands) {
  const bool universal = is_universal(s);
  for (std::size_t k = 0; k < operands.size() && m.may_visit(); ++k) {
    const OnePoint point = one_point(m, variables, universal ? m.make_not(operands[k]) : operands[k]);
    if (point.variable == nullptr) continue;
    const Term* others = m.make_bool(!universal);
    for (std::size_t i = operands.size(); i-- > 0;) {
      if (i != k) others = join(m, universal, operands[i], others);
    }
    const Term* body = substitute(m, others, Substitution(m, {{point.variable, point.value}}));
    return is_value(m, body) ? body : m.make_quantifier(s->name, variables, body);
  }
  return nullptr;
}

/// Whether a bit-vector takes every value when `variable`, a part of it, does, whatever the other parts are:
/// steps that can be undone lead from one to the other.
bool takes_all_values(TermManager& m, const Term* t, const Term* variable) {
  constexpr int most_steps = 12;
  for (int step = 0; step < most_steps && t != variable; ++step) {
    switch (m.get_tag(t->symbol)) {
      case SymbolTag::BV_NOT:
      case SymbolTag::BV_NEG:
        t = t->args[0];
        continue;
      case SymbolTag::BV_ADD:
      case SymbolTag::BV_SUB:
      case SymbolTag::BV_XOR:
        break;
      default:
        return false;
    }
    const bool in_first = !occurring(m, {variable}, t->args[0]).empty();
    if (in_first && !occurring(m, {variable}, t->args[1]).empty()) return false;
    t = t->args[in_first ? 0 : 1];
  }
  return t == variable;
}

/// An equation of a variable with a term in which it does not occur: some value solves it. Of bit-vectors,
/// the variable may also be a part of a sum.
bool is_solvable(TermManager& m, const std::vector<const Term*>& variables, const Term* body) {
  if (!has_tag(m, body, SymbolTag::EQ)) return false;
  if (m.is_arithmetic_type(m.type_of(body->args[0]))) return is_linear_in(m, variables, body);
  for (int i = 0; i < 2; ++i) {
    const Term* x = body->args[i];
    const Term* other = body->args[1 - i];
    if (contains(variables, x) && occurring(m, {x}, other).empty()) return true;
    if (!m.is_bv_type(m.type_of(x))) continue;
    for (const Term* v : variables) {
      if (occurring(m, {v}, other).empty() && takes_all_values(m, x, v)) return true;
    }
  }
  return false;
}

}  // namespace

/// Sorts are not empty, so a variable that does not occur needs no quantifier.
const Term* simplify_quantifier(TermManager& m, const Symbol* s, Args args) {
  const Term* body = args[0];
  const bool annotated = m.is_annotation(body->symbol);
  const Term* formula = annotated ? body->args[0] : body;
  if (is_value(m, formula)) return formula;
  const std::vector<const Term*>& variables = m.quantifier_variables(s);
  const bool universal = is_universal(s);
  if (!universal && is_solvable(m, variables, formula)) return m.true_term;
  if (universal && formula->symbol == m.not_symbol && is_solvable(m, variables, formula->args[0])) {
    return m.false_term;
  }
  if (is_unbounded(m, variables, formula)) return m.make_bool(!universal);
  if (annotated) return nullptr;
  const std::vector<const Term*> operands = operands_of(m, universal, body);
  if (const Term* t = without_free_operands(m, s, variables, operands)) return t;
  if (const Term* t = at_one_point(m, s, variables, operands)) return t;
  const std::vector<const Term*> used = occurring(m, variables, body);
  if (used.empty()) return body;
  return used.size() < variables.size() ? m.make_quantifier(s->name, used, body) : nullptr;
}

}  // namespace quarv::termsimpl::extended
