#include "rules/order/reduction_order.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include <fmt/core.h>

#include "rules/order/order_constraints.h"

namespace quarv::cli {

namespace {

using Names = std::vector<const rules::OperatorWord*>;

Names all_symbols() {
  Names all{nullptr};
  for (const rules::OperatorWord& op : rules::operators()) all.push_back(&op);
  return all;
}

/// Weights and precedence of every Knuth-Bendix order: variables weigh 1, constants no less; of the unary
/// operators only one that is greater than all others may weigh nothing.
std::string beginning() {
  std::string text = "(set-option :produce-models true)\n(set-logic QF_LIA)\n";
  for (const rules::OperatorWord* op : all_symbols()) {
    text += fmt::format(
        "(declare-const {0} Int)\n(declare-const {1} Int)\n(assert (<= {2} {0} 1000))\n"
        "(assert (<= 0 {1} 100))\n",
        weight_name(op), precedence_name(op), op == nullptr ? 1 : 0);
  }
  for (const rules::OperatorWord& op : rules::operators()) {
    if (op.num_arguments != 1) continue;
    text += fmt::format("(assert (or (> {} 0) (and true", weight_name(&op));
    for (const rules::OperatorWord* other : all_symbols()) {
      if (other != &op) text += fmt::format(" (> {} {})", precedence_name(&op), precedence_name(other));
    }
    text += ")))\n";
  }
  return text;
}

class Search {
 public:
  Search(std::span<const rules::Rule> rules, SolverProcess& solver, std::chrono::milliseconds limit)
      : rules_(rules), solver_(solver), limit_(limit), script_(beginning()) {
    order_.rules.resize(rules.size());
  }

  ReductionOrder run() {
    std::vector<std::size_t> candidates;
    for (std::size_t i = 0; i < rules_.size(); ++i) {
      if (rearranges(rules_[i])) order_.rules[i].kind = RuleOrder::Kind::rearranges;
    }
    // What goes down need not be excused.
    for (std::size_t i = 0; i < rules_.size(); ++i) candidates.push_back(i);
    order_.decided = true;
    if (satisfiable(script_)) add(candidates);
    if (satisfiable(script_)) read_order();
    return std::move(order_);
  }

 private:
  bool satisfiable(const std::string& script) {
    if (!order_.decided) return false;
    const std::optional<std::string> answer = solver_.run(script + "(check-sat)\n", limit_);
    order_.decided = answer == "sat" || answer == "unsat";
    return answer == "sat";
  }

  /// Adds as many of the rules as can be, halving what does not go together.
  void add(std::span<const std::size_t> some) {
    std::vector<std::span<const std::size_t>> pending{some};
    while (!pending.empty() && order_.decided) {
      const std::span<const std::size_t> part = pending.back();
      pending.pop_back();
      std::string more = script_;
      for (const std::size_t i : part) more += "(assert " + goes_down(rules_[i]) + ")\n";
      if (satisfiable(more)) {
        script_ = std::move(more);
        for (const std::size_t i : part) order_.rules[i].kind = RuleOrder::Kind::decreases;
      } else if (part.size() > 1) {
        pending.push_back(part.subspan(part.size() / 2));
        pending.push_back(part.first(part.size() / 2));
      }
    }
  }

  long number(const std::string& name) {
    const std::optional<std::string> answer = solver_.ask("(get-value (" + name + "))");
    if (!answer) return 0;
    // "((name value))"
    const std::size_t begin = answer->find_last_of(" \n");
    return begin == std::string::npos ? 0 : std::strtol(answer->c_str() + begin, nullptr, 10);
  }

  void read_order() {
    std::vector<std::pair<long, std::string>> weights, precedence;
    for (const rules::OperatorWord* op : all_symbols()) {
      const std::string word = op == nullptr ? "constant" : std::string(op->word);
      weights.emplace_back(number(weight_name(op)), word);
      precedence.emplace_back(number(precedence_name(op)), word);
    }
    const auto descending = [](const auto& a, const auto& b) { return a.first > b.first; };
    std::ranges::stable_sort(weights, descending);
    std::ranges::stable_sort(precedence, descending);
    for (const auto& [n, word] : weights) order_.weights.push_back(fmt::format("{} {}", word, n));
    for (auto& [n, word] : precedence) order_.precedence.push_back(std::move(word));
  }

  std::span<const rules::Rule> rules_;
  SolverProcess& solver_;
  std::chrono::milliseconds limit_;
  std::string script_;
  ReductionOrder order_;
};

}  // namespace

ReductionOrder find_order(std::span<const rules::Rule> rules, SolverProcess& solver,
                          std::chrono::milliseconds limit) {
  return Search(rules, solver, limit).run();
}

}  // namespace quarv::cli
