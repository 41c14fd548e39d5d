#include <algorithm>
#include <vector>

#include <quarv/simpl/extended/bounds_of_variables.h>
#include <quarv/simpl/extended/definitions.h>
#include <quarv/simpl/extended/families.h>
#include <quarv/simpl/extended/linear_sum.h>
#include <quarv/simpl/extended/values.h>
#include <quarv/util/hash_map.h>

namespace quarv::termsimpl::extended {

namespace {

/// Numbers have no bounds: a linear inequality holds for some values of a variable that occurs in it once,
/// and does not hold for others.
bool is_unbounded(TermManager& m, FreeVariables& free, const BoundVariables& variables, const Term* formula) {
  const Term* atom = formula->symbol == m.not_symbol ? formula->args[0] : formula;
  if (!has_tag(m, atom, SymbolTag::LEQ)) return false;
  LinearSum sum(m);
  if (!sum.add(atom->args[0], QNumber(1)) || !sum.add(atom->args[1], QNumber(-1))) return false;
  sum.drop_zeros();
  return std::any_of(sum.begin(), sum.end(), [&](const LinearSum::Monomial& x) {
    return variables.contains(x.term) &&
           std::all_of(sum.begin(), sum.end(), [&](const LinearSum::Monomial& y) {
             return y.term == x.term || !free.may_occur(m, x.term, y.term);
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

/// The negation of a conjunction is a disjunction of negations. What has none of the variables stays whole.
std::vector<const Term*> operands_of(TermManager& m, FreeVariables& free, const BoundVariables& variables,
                                     bool universal, const Term* body) {
  const Symbol* connective = universal ? m.or_symbol : m.and_symbol;
  const Symbol* dual = universal ? m.and_symbol : m.or_symbol;
  constexpr std::size_t few = 12;
  constexpr std::size_t many = 1 << 16;
  const std::size_t most = m.may_visit() ? many : few;
  std::vector<const Term*> operands;
  std::vector<const Term*> pending{body};
  hsh::HashSet<const Term*> seen;  // chains may share parts
  while (!pending.empty()) {
    const Term* t = pending.back();
    pending.pop_back();
    const bool has_room = operands.size() + pending.size() < most;
    const Term* negated = t->symbol == m.not_symbol ? t->args[0] : nullptr;
    const bool is_link = t->symbol == connective || (negated != nullptr && negated->symbol == dual);
    if (!has_room || !is_link || !free.any_may_occur(m, variables, t)) {
      operands.push_back(t);
    } else if (!seen.insert(t)) {
      continue;
    } else if (t->symbol == connective) {
      pending.insert(pending.end(), {t->args[1], t->args[0]});
    } else {
      const Term* second = m.make_not(negated->args[1]);
      const Term* first = m.make_not(negated->args[0]);
      pending.insert(pending.end(), {second, first});
    }
  }
  m.count_visits(8 * operands.size());
  return operands;
}

/// Operands without the variables go outside, and a Boolean variable that is an operand, and occurs in no
/// other, decides nothing.
const Term* without_free_operands(TermManager& m, FreeVariables& free, const Symbol* s,
                                  const BoundVariables& variables, const std::vector<const Term*>& operands) {
  const bool universal = is_universal(s);
  std::vector<std::size_t> num_using(variables.list().size());  // operands, by place
  std::vector<bool> is_free;
  for (const Term* t : operands) {
    const std::vector<const Term*> used = free.among(m, variables, t);
    for (const Term* v : used) ++num_using[*variables.place_of(v)];
    is_free.push_back(used.empty());
  }
  const auto is_lone_literal = [&](const Term* t) {
    const auto place = variables.place_of(t->symbol == m.not_symbol ? t->args[0] : t);
    return place && num_using[*place] == 1;
  };
  const Term* outside = m.make_bool(!universal);
  const Term* inside = outside;
  bool any = false;
  for (std::size_t i = operands.size(); i-- > 0;) {
    const bool stays = !is_free[i] && !is_lone_literal(operands[i]);
    any |= !stays;
    if (stays) inside = join(m, universal, operands[i], inside);
    if (is_free[i]) outside = join(m, universal, operands[i], outside);
  }
  if (!any) return nullptr;
  return join(m, universal, outside,
              is_value(m, inside) ? inside : m.make_quantifier(s->name, variables.list(), inside));
}

/// Whether a bit-vector takes every value when `variable`, a part of it, does, whatever the other parts are:
/// steps that can be undone lead from one to the other.
bool takes_all_values(TermManager& m, FreeVariables& free, const Term* t, const Term* variable) {
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
    const bool in_first = free.may_occur(m, variable, t->args[0]);
    if (in_first && free.may_occur(m, variable, t->args[1])) return false;
    t = t->args[in_first ? 0 : 1];
  }
  return t == variable;
}

/// An equation of a variable with a term in which it does not occur: some value solves it. Of bit-vectors,
/// the variable may also be a part of a sum.
bool is_solvable(TermManager& m, FreeVariables& free, const BoundVariables& variables, const Term* body) {
  if (!has_tag(m, body, SymbolTag::EQ)) return false;
  if (m.is_arithmetic_type(m.type_of(body->args[0]))) return is_linear_in(m, free, variables, body);
  for (int i = 0; i < 2; ++i) {
    const Term* x = body->args[i];
    const Term* other = body->args[1 - i];
    if (variables.contains(x) && !free.may_occur(m, x, other)) return true;
    if (!m.is_bv_type(m.type_of(x))) continue;
    for (const Term* v : variables.list()) {
      if (!free.may_occur(m, v, other) && takes_all_values(m, free, x, v)) return true;
    }
  }
  return false;
}

/// Whether a truth value is compared with a term in which it does not occur: both outcomes are possible.
bool is_open_equivalence(TermManager& m, FreeVariables& free, const BoundVariables& variables,
                         const Term* formula) {
  const Term* atom = formula->symbol == m.not_symbol ? formula->args[0] : formula;
  if (!has_tag(m, atom, SymbolTag::IFF)) return false;
  for (int i = 0; i < 2; ++i) {
    const Term* x = atom->args[i];
    if (variables.contains(x) && !free.may_occur(m, x, atom->args[1 - i])) return true;
  }
  return false;
}

}  // namespace

/// Sorts are not empty, so a variable that does not occur needs no quantifier.
const Term* simplify_quantifier(TermManager& m, FreeVariables& free, const Symbol* s, Args args) {
  const Term* body = args[0];
  const bool annotated = m.is_annotation(body->symbol);
  const Term* formula = annotated ? body->args[0] : body;
  if (is_value(m, formula)) return formula;
  free.follow(m);
  const BoundVariables variables(m.quantifier_variables(s));
  const bool universal = is_universal(s);
  if (!universal && is_solvable(m, free, variables, formula)) return m.true_term;
  if (universal && formula->symbol == m.not_symbol && is_solvable(m, free, variables, formula->args[0])) {
    return m.false_term;
  }
  if (is_unbounded(m, free, variables, formula) || is_open_equivalence(m, free, variables, formula))
    return m.make_bool(!universal);
  // Without variables the patterns and the name of a quantifier are of no use.
  if (annotated) return free.among(m, variables, formula).empty() ? formula : nullptr;
  std::vector<const Term*> others;
  const auto quantified = [&](const Term* t) {
    return others.empty() || is_value(m, t) ? t : m.make_quantifier(s->name, others, t);
  };
  if (const Term* t = with_definitions(m, free, universal, variables, body, others)) return quantified(t);
  const std::vector<const Term*> operands = operands_of(m, free, variables, universal, body);
  if (const Term* t = without_free_operands(m, free, s, variables, operands)) return t;
  if (const Term* t = without_bounded_variable(m, free, universal, variables, operands, others))
    return quantified(t);
  const std::vector<const Term*> used = free.among(m, variables, body);
  if (used.empty()) return body;
  return used.size() < variables.list().size() ? m.make_quantifier(s->name, used, body) : nullptr;
}

}  // namespace quarv::termsimpl::extended
