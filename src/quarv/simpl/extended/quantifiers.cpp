#include <algorithm>
#include <vector>

#include <quarv/simpl/extended/families.h>
#include <quarv/simpl/extended/linear_sum.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

namespace {

/// The variables that occur in a term, in their order; all of them when the term is too large to be searched.
std::vector<const Term*> occurring(TermManager& m, const std::vector<const Term*>& variables,
                                   const Term* body) {
  constexpr std::size_t small = 256;
  constexpr std::size_t most = 1 << 16;
  std::vector<bool> occurs(variables.size());
  std::size_t missing = variables.size();
  hsh::HashSet<const Term*> seen;
  std::vector<const Term*> pending{body};
  std::size_t visited = 0;
  for (; !pending.empty() && missing > 0; ++visited) {
    if (visited == most || (visited == small && !m.may_visit())) return variables;
    const Term* t = pending.back();
    pending.pop_back();
    if (!seen.insert(t)) continue;
    if (m.is_bound_variable(t->symbol)) {
      for (std::size_t i = 0; i < variables.size(); ++i) {
        if (variables[i] != t || occurs[i]) continue;
        occurs[i] = true;
        --missing;
      }
    }
    for (const Term* arg : m.args_of(t)) pending.push_back(arg);
  }
  m.count_visits(visited);
  std::vector<const Term*> used;
  for (std::size_t i = 0; i < variables.size(); ++i) {
    if (occurs[i]) used.push_back(variables[i]);
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

/// An equation of a variable with a term in which it does not occur: some value solves it.
bool is_solvable(TermManager& m, const std::vector<const Term*>& variables, const Term* body) {
  if (!has_tag(m, body, SymbolTag::EQ)) return false;
  if (m.is_arithmetic_type(m.type_of(body->args[0]))) return is_linear_in(m, variables, body);
  for (int i = 0; i < 2; ++i) {
    const Term* x = body->args[i];
    if (contains(variables, x) && occurring(m, {x}, body->args[1 - i]).empty()) return true;
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
  const bool universal = std::string_view(s->name) == "forall";
  if (!universal && is_solvable(m, variables, formula)) return m.true_term;
  if (universal && formula->symbol == m.not_symbol && is_solvable(m, variables, formula->args[0])) {
    return m.false_term;
  }
  if (annotated) return nullptr;
  const std::vector<const Term*> used = occurring(m, variables, body);
  if (used.empty()) return body;
  return used.size() < variables.size() ? m.make_quantifier(s->name, used, body) : nullptr;
}

}  // namespace quarv::termsimpl::extended
