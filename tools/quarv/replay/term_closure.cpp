#include "replay/term_closure.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace quarv::cli {

using Id = TermClosure::Id;

namespace {

constexpr std::size_t most_chain_parts = 1000;  // of a chain or a sum that is looked through

template <std::size_t N>
bool is_one_of(std::string_view op, const std::array<std::string_view, N>& ops) {
  return std::ranges::find(ops, op) != ops.end();
}

/// Two arguments may be exchanged.
bool is_commutative(std::string_view op) {
  constexpr std::array<std::string_view, 14> ops = {"and",   "or",    "=",      "xor",   "+",
                                                    "*",     "bvadd", "bvmul",  "bvand", "bvor",
                                                    "bvxor", "fp.eq", "bvcomp", "bvxnor"};
  return is_one_of(op, ops);
}

/// A chain may be nested in any way.
bool is_associative(std::string_view op) {
  constexpr std::array<std::string_view, 8> ops = {"and",   "or",    "xor",  "bvadd",
                                                   "bvmul", "bvand", "bvor", "bvxor"};
  return is_one_of(op, ops);
}

/// What is there twice counts once.
bool is_idempotent(std::string_view op) {
  return op == "bvand" || op == "bvor";
}

/// Applied to constants it may have the bits of its other argument, and zeros.
bool consists_of_slices(std::string_view op) {
  constexpr std::array<std::string_view, 6> ops = {"concat", "zero_extend", "extract",
                                                   "bvand",  "bvshl",       "bvlshr"};
  return is_one_of(op, ops);
}

}  // namespace

Id TermClosure::find(Id id) {
  for (Id next = static_cast<Id>(parents_.size()); next < terms_.size(); ++next) parents_.push_back(next);
  while (parents_[id] != id) {
    parents_[id] = parents_[parents_[id]];
    id = parents_[id];
  }
  return id;
}

void TermClosure::merge(Id a, Id b) {
  a = find(a);
  b = find(b);
  if (a == b) return;
  parents_[std::max(a, b)] = std::min(a, b);
  changed_ = true;
}

void TermClosure::close() {
  constexpr int most_rounds = 64;
  for (int round = 0; round < most_rounds && close_once(); ++round) {
  }
}

/// Looks at each term once, arguments before what consists of them; whether anything was found.
bool TermClosure::close_once() {
  changed_ = false;
  noted_.clear();
  noted_literals_.clear();
  negations_.clear();
  find_truth_values();
  find_conditions_of_bits();
  for (Id id = 0; id < terms_.size(); ++id) {
    const Expression& e = terms_.term(id);
    note_bit(id);
    if (e.args.empty()) continue;
    note_application(id);
    if (e.kind != Expression::operation) continue;
    const bool extends = e.op == "zero_extend" || e.op == "sign_extend";
    if (extends && e.args.size() == 1 && e.indices == std::vector<std::string>{"0"}) {
      merge(id, static_cast<Id>(e.args[0]));
    }
    if (is_associative(e.op)) note_chain(id);
    if (e.op == "concat" || e.op == "zero_extend") note_concatenation(id);
    if (consists_of_slices(e.op)) note_slices(id);
    if (terms_.sort_of(id).kind == TraceSort::boolean || e.op == "ite") note_boolean(id);
    if (e.op == "+" || e.op == "*") note_sum(id);
    if (e.op == "<=" || e.op == "=") note_comparison(id);
  }
  return changed_;
}

/// What has been noted under one signature is equal.
void TermClosure::note(const std::string& signature, Id id) {
  const auto [known, is_new] = noted_.try_emplace(signature, id);
  if (!is_new) merge(known->second, id);
}

/// All that tells an application from others but its arguments.
std::string TermClosure::head(const Expression& e) const {
  Expression bare = e;
  bare.args.clear();
  return bare.key() + '@' + std::to_string(e.sort) + ' ';
}

void TermClosure::note_application(Id id) {
  const Expression& e = terms_.term(id);
  std::vector<Id> args;
  for (TermName arg : e.args) args.push_back(find(static_cast<Id>(arg)));
  if (e.kind == Expression::operation && is_commutative(e.op)) std::ranges::sort(args);
  std::string signature = head(e);
  for (Id arg : args) signature += ',' + std::to_string(arg);
  note(signature, id);
}

/// A chain by all its parts; in any order, but for concatenation.
void TermClosure::note_chain(Id id) {
  const Expression& e = terms_.term(id);
  std::vector<Id> parts, pending{id};  // from right to left
  while (!pending.empty()) {
    const Id next = pending.back();
    pending.pop_back();
    const Expression& link = terms_.term(next);
    if (link.kind == Expression::operation && link.op == e.op) {
      for (TermName arg : link.args) pending.push_back(static_cast<Id>(arg));
    } else {
      parts.push_back(find(next));
    }
    if (parts.size() + pending.size() > most_chain_parts) return;
  }
  if (is_commutative(e.op)) std::ranges::sort(parts);
  if (is_idempotent(e.op)) {
    parts.erase(std::unique(parts.begin(), parts.end()), parts.end());
    if (parts.size() == 1) return merge(id, parts[0]);
  }
  std::string signature = "chain " + head(e);
  for (Id part : parts) signature += ',' + std::to_string(part);
  note(signature, id);
}

/// By its parts from left to right; zeros next to each other are one part.
void TermClosure::note_concatenation(Id id) {
  std::vector<Id> pending{id};
  std::string signature = "concatenation";
  std::size_t zeros = 0;
  for (std::size_t parts = 0; !pending.empty(); ++parts) {
    if (parts == most_chain_parts) return;
    const Id next = pending.back();
    pending.pop_back();
    const Expression& e = terms_.term(next);
    const std::size_t width = terms_.sort_of(next).width;
    if (e.kind == Expression::operation && e.op == "concat") {
      for (auto arg = e.args.rbegin(); arg != e.args.rend(); ++arg) pending.push_back(static_cast<Id>(*arg));
    } else if (e.kind == Expression::operation && e.op == "zero_extend" && e.args.size() == 1) {
      pending.push_back(static_cast<Id>(e.args[0]));
      zeros += width - terms_.sort_of(pending.back()).width;
    } else if (e.kind == Expression::value && e.number == 0) {
      zeros += width;
    } else {
      if (zeros != 0) signature += " 0:" + std::to_string(std::exchange(zeros, 0));
      signature += ' ' + std::to_string(find(next));
    }
  }
  if (zeros != 0) signature += " 0:" + std::to_string(zeros);
  note(signature, id);
}

bool TermClosure::is_arithmetic(Id id) const {
  const TraceSort::Kind kind = terms_.sort_of(id).kind;
  return kind == TraceSort::integer || kind == TraceSort::real;
}

/// Adds a multiple of a term to a sum. False when it has too many parts.
bool TermClosure::add(Id id, const mpq_class& factor, Sum& sum, std::size_t& budget) {
  std::vector<std::pair<Id, mpq_class>> pending{{id, factor}};
  while (!pending.empty()) {
    const auto [next, multiple] = std::move(pending.back());
    pending.pop_back();
    if (budget-- == 0) return false;
    const Expression& e = terms_.term(next);
    if (e.kind == Expression::value) {
      sum.constant += multiple * e.number;
    } else if (e.kind == Expression::operation && e.op == "+") {
      for (TermName arg : e.args) pending.emplace_back(static_cast<Id>(arg), multiple);
    } else if (e.kind == Expression::operation && e.op == "*" && e.args.size() == 2 &&
               terms_.term(static_cast<Id>(e.args[0])).kind == Expression::value) {
      pending.emplace_back(static_cast<Id>(e.args[1]),
                           multiple * terms_.term(static_cast<Id>(e.args[0])).number);
    } else {
      sum.coefficients[find(next)] += multiple;
    }
  }
  std::erase_if(sum.coefficients, [](const auto& c) { return c.second == 0; });
  return true;
}

std::string TermClosure::text(const Sum& sum) {
  std::string text;
  for (const auto& [id, coefficient] : sum.coefficients) {
    text += coefficient.get_str() + '*' + std::to_string(id) + '+';
  }
  return text + sum.constant.get_str();
}

void TermClosure::note_sum(Id id) {
  if (!is_arithmetic(id)) return;
  Sum sum;
  std::size_t budget = most_chain_parts;
  if (!add(id, 1, sum, budget)) return;
  if (sum.constant == 0 && sum.coefficients.size() == 1 && sum.coefficients.begin()->second == 1 &&
      terms_.term(sum.coefficients.begin()->first).sort == terms_.term(id).sort) {
    return merge(id, sum.coefficients.begin()->first);
  }
  note("sum " + std::to_string(terms_.term(id).sort) + ' ' + text(sum), id);
}

/// A comparison is the sign of a difference; what the difference is a positive multiple of has the same one.
void TermClosure::note_comparison(Id id) {
  const Expression& e = terms_.term(id);
  if (e.args.size() != 2 || !is_arithmetic(static_cast<Id>(e.args[0]))) return;
  Sum difference;
  std::size_t budget = most_chain_parts;
  if (!add(static_cast<Id>(e.args[0]), 1, difference, budget) ||
      !add(static_cast<Id>(e.args[1]), -1, difference, budget))
    return;
  if (difference.coefficients.empty()) {
    const bool holds = e.op == "<=" ? difference.constant <= 0 : difference.constant == 0;
    if (const auto value = holds ? true_ : false_) merge(id, *value);
    return;
  }
  if (e.op == "<=" && std::ranges::all_of(difference.coefficients, [this](const auto& c) {
        return terms_.sort_of(c.first).kind == TraceSort::integer;
      })) {
    return note_integer_comparison(id, difference);
  }
  mpq_class unit = difference.coefficients.begin()->second;
  if (e.op == "<=" && unit < 0) unit = -unit;
  scale(difference, 1 / unit);
  note(e.op + " 0 " + text(difference), id);
}

void TermClosure::scale(Sum& sum, const mpq_class& factor) {
  for (auto& [part, coefficient] : sum.coefficients) coefficient *= factor;
  sum.constant *= factor;
}

/// Integers with coprime coefficients: p + k <= 0 is p + ceil(k) <= 0, and not (1 - k - p <= 0).
void TermClosure::note_integer_comparison(Id id, Sum& difference) {
  mpz_class denominators = 1, numerators;
  for (const auto& [part, c] : difference.coefficients) denominators = lcm(denominators, c.get_den());
  scale(difference, denominators);
  for (const auto& [part, c] : difference.coefficients) numerators = gcd(numerators, c.get_num());
  scale(difference, mpq_class(1) / numerators);
  mpz_class constant;
  mpz_cdiv_q(constant.get_mpz_t(), difference.constant.get_num_mpz_t(), difference.constant.get_den_mpz_t());
  difference.constant = constant;
  const bool negated = difference.coefficients.begin()->second < 0;
  if (negated) {
    scale(difference, -1);
    difference.constant += 1;
  }
  note_literal("<= " + text(difference), id, negated);
}

}  // namespace quarv::cli
