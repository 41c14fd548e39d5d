#include "replay/context.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace quarv::cli {

namespace {

using Id = TraceTerms::Id;

constexpr std::size_t most_in_context = 24, most_facts = 64, most_terms_in_context = 4000;

/// A formula, or its negation.
struct Operand {
  Id formula;
  bool holds;
};

bool is_number(const TraceTerms& terms, Id id) {
  const TraceSort::Kind kind = terms.sort_of(id).kind;
  return kind == TraceSort::integer || kind == TraceSort::real;
}

bool is_literal(const Expression& e) {
  return e.kind == Expression::value;
}

bool is_truth_value(const Expression& e) {
  return e.kind == Expression::operation && e.args.empty();
}

bool is_operation(const Expression& e, const char* op) {
  return e.kind == Expression::operation && e.op == op;
}

Operand without_negations(const TraceTerms& terms, Operand o) {
  for (; terms.term(o.formula).is("not", 1); o.holds = !o.holds) {
    o.formula = static_cast<Id>(terms.term(o.formula).args[0]);
  }
  return o;
}

/// What terms are where some formulas hold, or do not: literals.
class Facts {
 public:
  explicit Facts(TraceTerms& terms) : terms_(terms) {}

  void assume(Operand assumed);
  /// The term where the facts hold.
  Id applied_to(Id root, std::size_t& effort_left) const;

 private:
  void add_value(const Expression& equation);
  bool may_capture(const std::vector<Id>& parts, Id term) const;

  TraceTerms& terms_;
  std::unordered_map<Id, Id> values_;
};

/// Of a conjunction all operands hold, of a disjunction that does not hold none.
void Facts::assume(Operand assumed) {
  std::vector<Operand> open{assumed};
  while (!open.empty() && values_.size() < most_facts) {
    const auto [formula, holds] = without_negations(terms_, open.back());
    open.pop_back();
    const Expression& e = terms_.term(formula);
    if (is_truth_value(e)) continue;
    values_.emplace(formula, terms_.truth(holds, e.sort));
    if (is_operation(e, holds ? "and" : "or")) {
      for (auto arg = e.args.rbegin(); arg != e.args.rend(); ++arg) {
        open.push_back({static_cast<Id>(*arg), holds});
      }
    } else if (holds && e.is("=", 2)) {
      add_value(e);
    }
  }
}

void Facts::add_value(const Expression& equation) {
  for (const std::size_t i : {0, 1}) {
    const Id x = static_cast<Id>(equation.args[i]), value = static_cast<Id>(equation.args[1 - i]);
    const bool fits = terms_.term(x).sort == terms_.term(value).sort || is_number(terms_, x);
    if (fits && !is_literal(terms_.term(x)) && is_literal(terms_.term(value))) values_.emplace(x, value);
  }
}

/// Whether one of the parts binds a variable of the term, which then is another one there.
bool Facts::may_capture(const std::vector<Id>& parts, Id term) const {
  std::unordered_set<Id> bound;
  for (const Id part : parts) {
    for (const TermName v : terms_.term(part).variables) bound.insert(static_cast<Id>(v));
  }
  if (bound.empty()) return false;
  const std::vector<Id> own = in_post_order(terms_, term);
  return std::ranges::any_of(own, [&bound](Id id) { return bound.contains(id); });
}

Id Facts::applied_to(Id root, std::size_t& effort_left) const {
  const std::vector<Id> parts = in_post_order(terms_, root);
  effort_left -= std::min(effort_left, parts.size());
  std::unordered_map<Id, Id> changed;  // without what stays as it is
  for (const Id part : parts) {
    const auto known = values_.find(part);
    if (known != values_.end() && !may_capture(parts, part)) {
      changed.emplace(part, known->second);
    } else {
      terms_.change(part, changed);
    }
  }
  const auto result = changed.find(root);
  return result != changed.end() ? result->second : root;
}

/// The operands of a chain in their order, also of those that are negated in it.
std::vector<Operand> operands(const TraceTerms& terms, Operand root, bool conjunction) {
  std::vector<Operand> all, open{root};
  while (!open.empty()) {
    const auto [formula, holds] = without_negations(terms, open.back());
    open.pop_back();
    const Expression& e = terms.term(formula);
    const bool fits = all.size() + open.size() + e.args.size() <= most_in_context;
    if (is_operation(e, conjunction == holds ? "and" : "or") && fits) {
      for (auto arg = e.args.rbegin(); arg != e.args.rend(); ++arg) {
        open.push_back({static_cast<Id>(*arg), holds});
      }
    } else {
      all.push_back({formula, holds});
    }
  }
  return all;
}

bool is_small(const TraceTerms& terms, Id root) {
  std::vector<Id> met{root};
  std::unordered_set<Id> seen{root};
  for (std::size_t i = 0; i < met.size(); ++i) {
    if (met.size() > most_terms_in_context) return false;
    for (const TermName arg : terms.term(met[i]).args) {
      if (seen.insert(static_cast<Id>(arg)).second) met.push_back(static_cast<Id>(arg));
    }
  }
  return true;
}

Id choice_in_context(TraceTerms& terms, Id id, std::size_t& effort_left) {
  std::vector<Id> args(terms.term(id).args.begin(), terms.term(id).args.end());
  for (const std::size_t branch : {1, 2}) {
    Facts facts(terms);
    facts.assume({args[0], branch == 1});
    args[branch] = facts.applied_to(args[branch], effort_left);
  }
  return terms.with_args(id, args);
}

/// Each operand where those before it, as they have become, and those after it, as they are, hold.
Id chain_in_context(TraceTerms& terms, const Expression& root, std::vector<Operand> all, bool conjunction,
                    std::size_t& effort_left) {
  for (const Operand& known : all) {
    Facts facts(terms);
    facts.assume({known.formula, known.holds == conjunction});
    for (Operand& other : all) {
      if (&other != &known) other.formula = facts.applied_to(other.formula, effort_left);
    }
  }
  const auto entered = [&](const char* op, std::vector<TermName> args) {
    Expression e;
    e.op = op;
    e.sort = root.sort;
    e.args = std::move(args);
    return terms.entered(std::move(e));
  };
  std::vector<TermName> args;
  for (const auto& [formula, holds] : all) args.push_back(holds ? formula : entered("not", {formula}));
  return entered(conjunction ? "and" : "or", std::move(args));
}

}  // namespace

Id in_context(TraceTerms& terms, Id id, std::size_t& effort_left) {
  if (effort_left == 0 || !is_small(terms, id)) return id;
  if (terms.term(id).is("ite", 3)) return choice_in_context(terms, id, effort_left);
  const auto [formula, holds] = without_negations(terms, {id, true});
  const Expression e = terms.term(formula);
  if (!is_operation(e, "and") && !is_operation(e, "or")) return id;
  const bool conjunction = (e.op == "and") == holds;
  return chain_in_context(terms, e, operands(terms, {formula, holds}, conjunction), conjunction, effort_left);
}

}  // namespace quarv::cli
