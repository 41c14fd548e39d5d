/// \file
/// What follows by the laws of Boolean operators: a class and its negation are looked at together.
#include <algorithm>

#include "replay/term_closure.h"

namespace quarv::cli {

using Id = TermClosure::Id;

void TermClosure::find_truth_values() {
  for (Id id = 0; id < terms_.size() && !(true_ && false_); ++id) {
    const Expression& e = terms_.term(id);
    if (e.kind != Expression::operation || !e.args.empty()) continue;
    if (e.op == "true") true_ = id;
    if (e.op == "false") false_ = id;
  }
  if (true_ && false_) negate(*true_, *false_);
}

/// Of an equation of a word of one bit with a constant: that word, and whether the constant is 0.
std::optional<std::pair<Id, bool>> TermClosure::compared_bit(Id id) const {
  const Expression& e = terms_.term(id);
  if (!e.is("=", 2) || terms_.sort_of(static_cast<Id>(e.args[0])).width != 1) return std::nullopt;
  for (const std::size_t side : {0, 1}) {
    const Id value = static_cast<Id>(e.args[side]), other = static_cast<Id>(e.args[1 - side]);
    const bool is_bit = terms_.sort_of(value).kind == TraceSort::bit_vector;
    if (is_bit && terms_.term(value).kind == Expression::value) {
      return std::pair(other, terms_.term(value).number == 0);
    }
  }
  return std::nullopt;
}

/// A word of one bit is 1 under some condition; what is 1 under that condition and else 0 is it, extended.
void TermClosure::find_conditions_of_bits() {
  conditions_.clear();
  for (Id id = 0; id < terms_.size(); ++id) {
    if (terms_.term(id).is("not", 1)) negate(id, static_cast<Id>(terms_.term(id).args[0]));
    const auto compared = compared_bit(id);
    if (!compared) continue;
    const auto [known, is_new] = conditions_.try_emplace(find(compared->first), id, compared->second);
    if (!is_new) equate(id, compared->second, literal(known->second.first, known->second.second));
  }
}

/// Each is the other's negation.
void TermClosure::negate(Id a, Id b) {
  a = find(a);
  b = find(b);
  const auto [of_a, a_is_new] = negations_.try_emplace(a, b);
  if (!a_is_new) merge(of_a->second, b);
  const auto [of_b, b_is_new] = negations_.try_emplace(b, a);
  if (!b_is_new) merge(of_b->second, a);
}

/// One of the two ways to say it, always the same.
TermClosure::Literal TermClosure::literal(Id id, bool negated) {
  const Id c = find(id);
  const auto negation = negations_.find(c);
  if (negation == negations_.end()) return {c, negated};
  const Id other = find(negation->second);
  return other < c ? Literal{other, !negated} : Literal{c, negated};
}

/// The term, or its negation, is the literal.
void TermClosure::equate(Id id, bool negated, const Literal& literal) {
  if (negated == literal.negated) {
    merge(id, literal.of);
  } else {
    negate(id, literal.of);
  }
}

/// What has been noted under one signature is equal.
void TermClosure::note_literal(const std::string& signature, Id id, bool negated) {
  const auto [known, is_new] = noted_literals_.try_emplace(signature, id, negated);
  if (!is_new) equate(id, negated, {known->second.first, known->second.second});
}

void TermClosure::note_boolean(Id id) {
  const Expression& e = terms_.term(id);
  if (e.op == "not") return negate(id, static_cast<Id>(e.args[0]));
  if (e.op == "and" || e.op == "or") return note_conjunction(id);
  if (e.op == "=" && e.args.size() == 2) return note_equivalence(id);
  if (e.op == "ite") return note_choice(id);
}

/// A conjunction by all its parts; a disjunction is the negation of one.
void TermClosure::note_conjunction(Id id) {
  constexpr std::size_t most_parts = 1000;
  const bool negated = terms_.term(id).op == "or";
  std::vector<Literal> parts, pending{{id, negated}};
  while (!pending.empty()) {
    const auto [next, negative] = pending.back();
    pending.pop_back();
    const Expression& e = terms_.term(next);
    const bool is_operation = e.kind == Expression::operation;
    if (is_operation && e.op == "not") {
      pending.push_back({static_cast<Id>(e.args[0]), !negative});
    } else if (is_operation && e.op == (negative ? "or" : "and")) {
      for (TermName arg : e.args) pending.push_back({static_cast<Id>(arg), negative});
    } else {
      parts.push_back(literal(next, negative));
    }
    if (parts.size() + pending.size() > most_parts) return;
  }
  std::ranges::sort(parts);
  parts.erase(std::unique(parts.begin(), parts.end()), parts.end());
  const auto is = [this](const Literal& part, std::optional<Id> value) {
    return value && literal(*value) == part;
  };
  std::erase_if(parts, [&](const Literal& part) { return is(part, true_); });
  const auto is_false = [&](const Literal& part) { return is(part, false_); };
  const auto contradict = [](const Literal& a, const Literal& b) { return a.of == b.of; };
  if (std::ranges::any_of(parts, is_false) || std::ranges::adjacent_find(parts, contradict) != parts.end()) {
    if (false_) equate(id, negated, literal(*false_));
    return;
  }
  if (parts.empty()) {
    if (true_) equate(id, negated, literal(*true_));
    return;
  }
  if (parts.size() == 1) return equate(id, negated, parts[0]);
  std::string signature = "and";
  for (const Literal& part : parts) signature += (part.negated ? " -" : " ") + std::to_string(part.of);
  note_literal(signature, id, negated);
}

/// An equation; of truth values, by what it is the same as with an operand negated.
void TermClosure::note_equivalence(Id id) {
  const Expression& e = terms_.term(id);
  const Id args[] = {static_cast<Id>(e.args[0]), static_cast<Id>(e.args[1])};
  if (are_equal(args[0], args[1])) {
    if (true_) merge(id, *true_);
    return;
  }
  if (terms_.sort_of(args[0]).kind != TraceSort::boolean) return;
  const auto [a, b] = std::minmax({literal(args[0]), literal(args[1])});
  for (const auto& [value, other] : {std::pair(a, b), std::pair(b, a)}) {
    if (true_ && value.of == literal(*true_).of) {
      return equate(id, value.negated != literal(*true_).negated, other);
    }
  }
  const bool negated = a.negated != b.negated;
  if (a.of == b.of) {
    if (true_) equate(id, negated, literal(*true_));
    return;
  }
  note_literal("= " + std::to_string(a.of) + ' ' + std::to_string(b.of), id, negated);
}

/// A choice by its condition; a negated one exchanges the branches.
void TermClosure::note_choice(Id id) {
  const Expression& e = terms_.term(id);
  if (e.args.size() != 3) return;
  const Literal condition = literal(static_cast<Id>(e.args[0]));
  Id yes = find(static_cast<Id>(e.args[1]));
  Id no = find(static_cast<Id>(e.args[2]));
  if (condition.negated) std::swap(yes, no);
  if (yes == no) return merge(id, yes);
  // Here `yes` is what holds where the condition's class does.
  if (true_ && condition.of == literal(*true_).of) return merge(id, literal(*true_).negated ? no : yes);
  const Expression &x = terms_.term(static_cast<Id>(e.args[1])), &y = terms_.term(static_cast<Id>(e.args[2]));
  const bool of_constants = x.kind == Expression::value && y.kind == Expression::value;
  if (of_constants && terms_.sort_of(id).kind == TraceSort::bit_vector && x.number + y.number == 1) {
    note_condition(id, {condition.of, condition.negated != (x.number == 0)});
  }
  note("ite " + std::to_string(condition.of) + ' ' + std::to_string(yes) + ' ' + std::to_string(no), id);
}

/// The word is 1 where the condition holds, else 0.
void TermClosure::note_condition(Id id, const Literal& condition) {
  const std::string width = std::to_string(terms_.sort_of(id).width);
  note("1 of " + width + (condition.negated ? " where not " : " where ") + std::to_string(condition.of), id);
}

/// A word of one bit, or one to which zeros have been added.
void TermClosure::note_bit(Id id) {
  if (conditions_.empty()) return;
  const Expression& e = terms_.term(id);
  const auto known = conditions_.find(find(e.is("zero_extend", 1) ? static_cast<Id>(e.args[0]) : id));
  if (known != conditions_.end()) note_condition(id, literal(known->second.first, known->second.second));
}

}  // namespace quarv::cli
