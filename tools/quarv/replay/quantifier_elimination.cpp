#include "replay/quantifier_elimination.h"

#include <algorithm>
#include <string>

namespace quarv::cli {

namespace {

using Id = TraceTerms::Id;

constexpr std::size_t most_operands = 64, most_summands = 64, most_pairs = 16;

bool contains(const std::vector<Id>& variables, Id id) {
  return std::ranges::find(variables, id) != variables.end();
}

/// The largest integer that is at most the bound, or the smallest that is at least that; another one than the
/// bound itself where that does not count.
mpz_class nearest_integer(const mpq_class& bound, bool from_above, bool is_open) {
  mpz_class n;
  (from_above ? mpz_fdiv_q : mpz_cdiv_q)(n.get_mpz_t(), bound.get_num_mpz_t(), bound.get_den_mpz_t());
  if (is_open && bound.get_den() == 1) n += from_above ? -1 : 1;
  return n;
}

}  // namespace

bool QuantifierElimination::is_quantifier(Id id) const {
  const Expression& e = terms_.term(id);
  return !e.variables.empty() && e.args.size() == 1 && (e.op == "forall" || e.op == "exists");
}

std::optional<Id> QuantifierElimination::simpler(Id id) {
  if (!is_quantifier(id) || has_own_variables(id) || !asked_.insert(id).second) return std::nullopt;
  const auto known = known_.find(id);
  return known != known_.end() ? std::optional(known->second) : without_inner(id);
}

/// It has been looked at.
bool QuantifierElimination::has_own_variables(Id quantifier) const {
  return terms_.is_own_variable(static_cast<Id>(terms_.term(quantifier).variables[0]));
}

/// The innermost first, so that those around them see what has become of them.
std::optional<Id> QuantifierElimination::without_inner(Id root) {
  std::unordered_map<Id, Id> changed;
  for (const Id id : in_post_order(terms_, root)) {
    if (effort_left_ == 0) return std::nullopt;
    --effort_left_;
    const auto known = known_.find(id);
    if (known != known_.end()) {
      changed.emplace(id, known->second);
      continue;
    }
    terms_.change(id, changed);
    const auto now = changed.find(id);
    const Id current = now == changed.end() ? id : now->second;
    if (!is_quantifier(current) || has_own_variables(current)) continue;
    const Id result = eliminated(current);
    if (effort_left_ == 0) return std::nullopt;
    changed[id] = result;
    known_[id] = result;
  }
  const auto result = changed.find(root);
  return result == changed.end() ? std::nullopt : std::optional(result->second);
}

/// What does not speak of the variables stands outside, so that it does not count for their names.
Id QuantifierElimination::eliminated(Id id) {
  const Expression quantifier = terms_.term(id);
  Formula f = opened(quantifier);
  while (remove_one(f)) continue;
  // Not that of std::ranges: clang 14 does not compile the range that it returns in the library that g++ 12
  // brings.
  const auto outside = std::stable_partition(f.operands.begin(), f.operands.end(), [&](Id operand) {
    return std::ranges::any_of(f.variables, [&](Id v) { return occurs(v, operand); });
  });
  std::vector<Id> all(outside, f.operands.end());
  f.operands.erase(outside, f.operands.end());
  if (!f.operands.empty() && !is_decided(f)) all.insert(all.begin(), renamed(closed(f, quantifier)));
  return joined(all, f.for_all, quantifier.sort);
}

QuantifierElimination::Formula QuantifierElimination::opened(const Expression& quantifier) {
  const bool for_all = quantifier.op == "forall";
  Formula f{for_all, {}, operands(static_cast<Id>(quantifier.args[0]), for_all)};
  for (const TermName v : quantifier.variables) f.variables.push_back(static_cast<Id>(v));
  return f;
}

/// Of a disjunction or of a conjunction. Annotations say nothing, and of a negated conjunction the operands
/// are those of a disjunction.
std::vector<Id> QuantifierElimination::operands(Id root, bool of_or) {
  std::vector<Id> found;
  std::vector<std::pair<Id, bool>> open{{root, false}};
  while (!open.empty()) {
    const auto [id, negated] = open.back();
    open.pop_back();
    const Expression& e = terms_.term(id);
    const bool fits = found.size() + open.size() + e.args.size() <= most_operands;
    if (e.kind == Expression::operation && e.op == "!" && !e.args.empty()) {
      open.emplace_back(static_cast<Id>(e.args[0]), negated);
    } else if (e.is("not", 1)) {
      open.emplace_back(static_cast<Id>(e.args[0]), !negated);
    } else if (e.kind == Expression::operation && e.op == (of_or != negated ? "or" : "and") && fits) {
      for (auto arg = e.args.rbegin(); arg != e.args.rend(); ++arg)
        open.emplace_back(static_cast<Id>(*arg), negated);
    } else {
      found.push_back(negated ? negation(id) : id);
    }
  }
  return found;
}

Id QuantifierElimination::negation(Id id) {
  Expression e;
  e.op = "not";
  e.sort = terms_.term(id).sort;
  e.args = {id};
  return terms_.entered(std::move(e));
}

/// Together again, with the variables that are left.
Id QuantifierElimination::closed(const Formula& f, const Expression& quantifier) {
  const Id body = joined(f.operands, f.for_all, quantifier.sort);
  if (f.variables.empty()) return body;
  Expression e = quantifier;
  e.variables.assign(f.variables.begin(), f.variables.end());
  e.args = {body};
  return terms_.entered(std::move(e));
}

Id QuantifierElimination::joined(const std::vector<Id>& operands, bool by_or, std::size_t sort) {
  if (operands.empty()) return terms_.truth(!by_or, sort);
  if (operands.size() == 1) return operands[0];
  Expression e;
  e.op = by_or ? "or" : "and";
  e.sort = sort;
  e.args.assign(operands.begin(), operands.end());
  return terms_.entered(std::move(e));
}

/// Removes a variable that does not occur, or one of which an operand says all.
bool QuantifierElimination::remove_one(Formula& f) {
  for (auto v = f.variables.begin(); v != f.variables.end(); ++v) {
    const bool used = std::ranges::any_of(f.operands, [&](Id operand) { return occurs(*v, operand); });
    if (used) continue;
    f.variables.erase(v);
    return true;
  }
  for (std::size_t i = 0; i < f.operands.size(); ++i) {
    const auto point = one_point(f, f.operands[i]);
    if (!point) continue;
    const bool may = std::ranges::all_of(f.operands, [&](const Id& operand) {
      return &operand == &f.operands[i] || (!binds_part_of(terms_, operand, point->variable) &&
                                            !binds_part_of(terms_, operand, point->value));
    });
    if (!may || effort_left_ == 0) continue;
    f.operands.erase(f.operands.begin() + static_cast<std::ptrdiff_t>(i));
    for (Id& operand : f.operands) operand = terms_.replaced(operand, point->variable, point->value);
    std::erase(f.variables, point->variable);
    return true;
  }
  return remove_bounded(f);
}

/// A linear bound of a variable, which is integral if that is.
std::optional<QuantifierElimination::Bound> QuantifierElimination::bound(const Formula& f, Id operand,
                                                                         Id variable) const {
  const Expression& atom = terms_.term(atom_of(operand));
  if (!atom.is("<=", 2)) return std::nullopt;
  const auto sum = difference(atom);
  if (!sum || !sum->coefficients.contains(variable) || !is_single(*sum, variable)) return std::nullopt;
  // The sum is at most 0, or greater.
  const bool is_greater = (atom_of(operand) != operand) != f.for_all;
  Bound b;
  b.is_open = is_greater;
  for (const auto& [part, c] : sum->coefficients) {
    (part == variable ? b.coefficient : b.rest.coefficients[part]) = is_greater ? mpq_class(-c) : c;
  }
  b.rest.constant = is_greater ? mpq_class(-sum->constant) : sum->constant;
  if (terms_.sort_of(variable).kind != TraceSort::integer) return b;
  const auto is_integral = [this](const auto& c) {
    return c.second.get_den() == 1 && terms_.sort_of(c.first).kind == TraceSort::integer;
  };
  if (b.coefficient.get_den() != 1 || b.rest.constant.get_den() != 1 ||
      !std::ranges::all_of(b.rest.coefficients, is_integral)) {
    return std::nullopt;
  }
  if (b.is_open) b.rest.constant += 1;
  b.is_open = false;
  mpz_class divisor = abs(b.coefficient.get_num());
  for (const auto& [part, c] : b.rest.coefficients) divisor = gcd(divisor, c.get_num());
  b.coefficient /= divisor;
  for (auto& [part, c] : b.rest.coefficients) c /= divisor;
  b.rest.constant = nearest_integer(b.rest.constant / divisor, false, false);
  return b;
}

/// What holds of the rest, under `exists`, where a number lies between two bounds; under `forall` the
/// negation.
Id QuantifierElimination::between(const Formula& f, const Bound& low, const Bound& high, Id variable,
                                  std::size_t sort) {
  Sum sum;
  for (const auto& [bound, factor] : {std::pair(&low, mpq_class(abs(high.coefficient))),
                                      std::pair(&high, mpq_class(abs(low.coefficient)))}) {
    for (const auto& [part, c] : bound->rest.coefficients) sum.coefficients[part] += c * factor;
    sum.constant += bound->rest.constant * factor;
  }
  std::erase_if(sum.coefficients, [](const auto& c) { return c.second == 0; });
  const std::size_t numbers = terms_.term(variable).sort;
  const bool is_open = low.is_open || high.is_open;
  Expression e;
  e.op = "<=";
  e.sort = sort;
  e.args = {term(sum, numbers), term({}, numbers)};
  if (is_open) std::swap(e.args[0], e.args[1]);
  const Id atom = terms_.entered(std::move(e));
  return is_open != f.for_all ? negation(atom) : atom;
}

/// Removes a variable of which operands say no more than bounds, by the method of Fourier and Motzkin.
/// Between two bounds lies an integer if one of them is.
bool QuantifierElimination::remove_bounded(Formula& f) {
  for (const Id v : f.variables) {
    std::vector<Bound> low, high;
    std::vector<Id> others;
    bool is_linear = true;
    for (const Id operand : f.operands) {
      if (!occurs(v, operand)) {
        others.push_back(operand);
        continue;
      }
      const auto b = bound(f, operand, v);
      is_linear = is_linear && b;
      if (!is_linear) break;
      (b->coefficient < 0 ? low : high).push_back(*b);
    }
    const auto is_unit = [](const Bound& b) { return abs(b.coefficient) == 1; };
    const bool is_exact = terms_.sort_of(v).kind != TraceSort::integer || std::ranges::all_of(low, is_unit) ||
                          std::ranges::all_of(high, is_unit);
    if (!is_linear || !is_exact || low.size() * high.size() > most_pairs || effort_left_ == 0) continue;
    for (const Bound& from : low) {
      for (const Bound& to : high) others.push_back(between(f, from, to, v, terms_.term(f.operands[0]).sort));
    }
    f.operands = std::move(others);
    std::erase(f.variables, v);
    return true;
  }
  return false;
}

/// What an operand says of a variable: of it holds `x = t`, or `x`, or `not x`. Under `forall` nothing needs
/// to be shown where it does not.
std::optional<QuantifierElimination::OnePoint> QuantifierElimination::one_point(const Formula& f,
                                                                                Id operand) {
  const Id atom = atom_of(operand);
  const bool negated = atom != operand;
  const Expression& e = terms_.term(atom);
  if (contains(f.variables, atom)) return OnePoint{atom, terms_.truth(negated == f.for_all, e.sort)};
  if (negated != f.for_all || !e.is("=", 2)) return std::nullopt;
  for (const int side : {0, 1}) {
    const Id x = static_cast<Id>(e.args[static_cast<std::size_t>(side)]);
    const Id value = static_cast<Id>(e.args[static_cast<std::size_t>(1 - side)]);
    const bool same_sort = terms_.term(x).sort == terms_.term(value).sort;
    if (same_sort && contains(f.variables, x) && !occurs(x, value)) return OnePoint{x, value};
  }
  return solved(f, e);
}

/// The last variable for which a linear equation can be solved.
std::optional<QuantifierElimination::OnePoint> QuantifierElimination::solved(const Formula& f,
                                                                             const Expression& equation) {
  const auto sum = difference(equation);
  if (!sum) return std::nullopt;
  for (auto v = f.variables.rbegin(); v != f.variables.rend(); ++v) {
    const auto found = sum->coefficients.find(*v);
    if (found == sum->coefficients.end() || !is_single(*sum, *v)) continue;
    Sum value;
    for (const auto& [part, c] : sum->coefficients) {
      if (part != *v) value.coefficients[part] = -c / found->second;
    }
    value.constant = -sum->constant / found->second;
    const bool of_integers = terms_.sort_of(*v).kind == TraceSort::integer;
    const bool integral =
        value.constant.get_den() == 1 && std::ranges::all_of(value.coefficients, [&](const auto& c) {
          return c.second.get_den() == 1 && terms_.sort_of(c.first).kind == TraceSort::integer;
        });
    if (!of_integers || integral) return OnePoint{*v, term(value, terms_.term(*v).sort)};
  }
  return std::nullopt;
}

/// Whether what is left holds for some values of its variables under `exists`, and does not hold for others
/// under `forall`, whatever all else is.
bool QuantifierElimination::is_decided(const Formula& f) {
  if (are_constant_bounds(f)) return true;
  if (f.operands.size() != 1) return false;
  return std::ranges::any_of(operands(f.operands[0], !f.for_all),
                             [&](Id part) { return is_unbounded(f, part) || is_solvable(f, part); });
}

/// Numbers have no bounds: a linear inequality holds for some values of a variable that occurs in it once,
/// and does not hold for others.
bool QuantifierElimination::is_unbounded(const Formula& f, Id part) const {
  const Expression& atom = terms_.term(atom_of(part));
  if (!atom.is("<=", 2)) return false;
  const auto sum = difference(atom);
  return sum && std::ranges::any_of(
                    f.variables, [&](Id v) { return sum->coefficients.contains(v) && is_single(*sum, v); });
}

/// Bounds of one number by constants, between which there is one.
bool QuantifierElimination::are_constant_bounds(const Formula& f) const {
  std::optional<Id> variable;
  std::optional<mpq_class> low, high;
  bool is_open = false;
  for (const Id operand : f.operands) {
    const Expression& atom = terms_.term(atom_of(operand));
    if (!atom.is("<=", 2)) return false;
    const auto sum = difference(atom);
    if (!sum || sum->coefficients.size() != 1) return false;
    const auto [v, c] = *sum->coefficients.begin();
    if (!contains(f.variables, v) || (variable && *variable != v)) return false;
    variable = v;
    // c v + k is at most 0, or greater.
    const bool is_greater = (atom_of(operand) != operand) != f.for_all;
    const bool is_integer = terms_.sort_of(v).kind == TraceSort::integer;
    const bool from_above = is_greater == (c < 0);
    mpq_class bound = -sum->constant / c;
    if (is_integer) bound = nearest_integer(bound, from_above, is_greater);
    is_open = is_open || (is_greater && !is_integer);
    std::optional<mpq_class>& known = from_above ? high : low;
    if (!known || (from_above ? bound < *known : bound > *known)) known = bound;
  }
  return variable && (!low || !high || *low < *high || (*low == *high && !is_open));
}

Id QuantifierElimination::atom_of(Id literal) const {
  const Expression& e = terms_.term(literal);
  return e.is("not", 1) ? static_cast<Id>(e.args[0]) : literal;
}

/// Whether some value of the variable makes the word what is wanted, whatever that is: from the one to the
/// other lead only steps that can be undone.
bool QuantifierElimination::takes_all_values(Id word, Id variable) const {
  while (word != variable) {
    const Expression& e = terms_.term(word);
    const bool of_one = e.is("bvnot", 1) || e.is("bvneg", 1);
    if (!of_one && !e.is("bvadd", 2) && !e.is("bvsub", 2) && !e.is("bvxor", 2)) return false;
    const Id first = static_cast<Id>(e.args[0]), last = static_cast<Id>(e.args.back());
    const bool in_first = occurs(variable, first);
    if (!of_one && in_first && occurs(variable, last)) return false;
    word = in_first ? first : last;
  }
  return true;
}

/// An equation of words that some value of a variable solves; of truth values another one does not.
bool QuantifierElimination::is_solvable(const Formula& f, Id part) const {
  const Id atom = atom_of(part);
  const Expression& e = terms_.term(atom);
  if (!e.is("=", 2)) return false;
  const Id a = static_cast<Id>(e.args[0]), b = static_cast<Id>(e.args[1]);
  if ((atom != part) != f.for_all && terms_.sort_of(a).kind != TraceSort::boolean) return false;
  return std::ranges::any_of(f.variables, [&](Id v) {
    return (!occurs(v, b) && takes_all_values(a, v)) || (!occurs(v, a) && takes_all_values(b, v));
  });
}

// Linear combinations.
// ------------------------------------------------------------------------------------------------------------

bool QuantifierElimination::add(Id root, const mpq_class& factor, Sum& sum) const {
  std::vector<std::pair<Id, mpq_class>> open{{root, factor}};
  for (std::size_t steps = 0; !open.empty(); ++steps) {
    if (steps == most_summands) return false;
    const auto [id, c] = open.back();
    open.pop_back();
    const Expression& e = terms_.term(id);
    const auto number = [&](std::size_t i) { return terms_.term(static_cast<Id>(e.args[i])); };
    if (e.kind == Expression::value) {
      sum.constant += c * e.number;
    } else if (e.kind == Expression::operation && e.op == "+" && !e.args.empty()) {
      for (const TermName arg : e.args) open.emplace_back(static_cast<Id>(arg), c);
    } else if (terms_.term(id).is("*", 2) && number(0).kind == Expression::value) {
      open.emplace_back(static_cast<Id>(e.args[1]), c * number(0).number);
    } else if (terms_.term(id).is("to_real", 1)) {
      open.emplace_back(static_cast<Id>(e.args[0]), c);
    } else {
      sum.coefficients[id] += c;
    }
  }
  return true;
}

/// The left-hand side less the right-hand side, of numbers.
std::optional<QuantifierElimination::Sum> QuantifierElimination::difference(
    const Expression& relation) const {
  const TraceSort::Kind kind = terms_.sort_of(static_cast<Id>(relation.args[0])).kind;
  Sum sum;
  if (kind != TraceSort::integer && kind != TraceSort::real) return std::nullopt;
  if (!add(static_cast<Id>(relation.args[0]), 1, sum) || !add(static_cast<Id>(relation.args[1]), -1, sum))
    return std::nullopt;
  std::erase_if(sum.coefficients, [](const auto& c) { return c.second == 0; });
  return sum;
}

/// The variable occurs in no other summand.
bool QuantifierElimination::is_single(const Sum& sum, Id variable) const {
  return std::ranges::all_of(
      sum.coefficients, [&](const auto& c) { return c.first == variable || !occurs(variable, c.first); });
}

Id QuantifierElimination::term(const Sum& sum, std::size_t sort) {
  const auto operation = [&](std::string op, std::vector<TermName> args) {
    Expression e;
    e.op = std::move(op);
    e.sort = sort;
    e.args = std::move(args);
    return terms_.entered(std::move(e));
  };
  const auto number = [&](const mpq_class& value) {
    Expression e;
    e.kind = Expression::value;
    e.sort = sort;
    e.number = value;
    return terms_.entered(std::move(e));
  };
  std::vector<TermName> summands;
  for (const auto& [part, c] : sum.coefficients) {
    summands.push_back(c == 1 ? TermName{part} : TermName{operation("*", {number(c), part})});
  }
  if (sum.constant != 0 || summands.empty()) summands.push_back(number(sum.constant));
  return summands.size() == 1 ? static_cast<Id>(summands[0]) : operation("+", std::move(summands));
}

// Variables.
// ----------------------------------------------------------------------------------------------------------------

bool QuantifierElimination::occurs(Id variable, Id in) const {
  const std::vector<Id> parts = in_post_order(terms_, in);
  effort_left_ -= std::min(effort_left_, parts.size());
  return effort_left_ == 0 || contains(parts, variable);
}

/// The variables by how deep quantifiers are nested below, and by their places.
Id QuantifierElimination::renamed(Id id) {
  if (!is_quantifier(id)) return id;
  const Expression e = terms_.term(id);
  const Id body = static_cast<Id>(e.args[0]);
  std::size_t depth = 0;
  for (const Id part : in_post_order(terms_, body)) {
    if (is_quantifier(part)) {
      const Expression& variable = terms_.term(static_cast<Id>(terms_.term(part).variables[0]));
      if (variable.indices.empty()) return id;
      depth = std::max<std::size_t>(depth, std::stoul(variable.indices[0]));
    }
  }
  std::unordered_map<Id, Id> changed;
  std::vector<Id> variables;
  for (const TermName v : e.variables) {
    variables.push_back(
        terms_.own_variable(terms_.term(static_cast<Id>(v)).sort, depth + 1, variables.size()));
    changed.emplace(static_cast<Id>(v), variables.back());
  }
  // A quantifier that binds a variable twice is none that a script can have.
  if (changed.size() != e.variables.size()) return id;
  for (const Id part : in_post_order(terms_, body)) {
    const bool binds_one = std::ranges::any_of(
        terms_.term(part).variables, [&](TermName v) { return changed.contains(static_cast<Id>(v)); });
    if (binds_one) return id;
  }
  for (const Id part : in_post_order(terms_, body)) {
    if (!changed.contains(part)) terms_.change(part, changed);
  }
  const auto now = changed.find(body);
  return terms_.with_args(id, {now == changed.end() ? body : now->second}, variables);
}

}  // namespace quarv::cli
