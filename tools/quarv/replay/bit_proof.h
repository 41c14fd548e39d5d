#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "replay/bit_graph.h"

namespace quarv::cli {

/// Clauses over variables from 0; a literal is twice its variable, plus one for the negation. Whether they
/// contradict each other is searched for by propagation, learning a clause from each conflict.
class ClauseSet {
 public:
  using Literal = std::uint32_t;

  Literal variable();
  void add(std::vector<Literal> clause);
  /// False also when that has not been found out with so many conflicts and steps.
  bool is_contradictory(std::size_t most_conflicts, std::uint64_t& steps_left);

  std::size_t num_variables() const noexcept { return levels_.size(); }

 private:
  using Clause = std::uint32_t;
  static constexpr Clause none = ~Clause{0};
  enum class Value : std::uint8_t { open, holds, fails };

  Value value(Literal l) const {
    const Value v = values_[l >> 1];
    if (v == Value::open || (l & 1U) == 0) return v;
    return v == Value::holds ? Value::fails : Value::holds;
  }
  void assign(Literal l, Clause reason);
  Clause propagate(std::uint64_t& steps_left);
  bool keep_watch(Clause clause, Literal failed, bool& conflict);
  std::size_t learn(Clause conflict, std::vector<Literal>& learned);
  void backtrack(std::size_t level);
  bool decide();
  void attach(Clause clause);
  void raise(std::uint32_t variable);
  std::size_t level() const { return level_begins_.size(); }

  // The heap of open variables by activity.
  void sift_up(std::size_t at);
  void sift_down(std::size_t at);
  void insert(std::uint32_t variable);
  std::uint32_t pop();

  bool contradiction_ = false;
  std::vector<std::vector<Literal>> clauses_;
  std::vector<std::vector<Clause>> watches_;  // by the literal that fails
  std::vector<Value> values_;
  std::vector<bool> phases_, seen_;
  std::vector<std::size_t> levels_;
  std::vector<Clause> reasons_;
  std::vector<double> activity_;
  std::vector<std::uint32_t> heap_, heap_places_;
  double increment_ = 1;
  std::vector<Literal> trail_;
  std::size_t propagated_ = 0;
  std::vector<std::size_t> level_begins_;
};

/// Proofs of truth functions.
class BitProof {
 public:
  using Bit = BitGraph::Bit;
  /// What is known to hold: one of these bits.
  using Lemma = std::vector<Bit>;

  explicit BitProof(const BitGraph& graph) : graph_(graph) {}

  /// Whether the bit holds whatever the variables are. What is too far away from it, in the end all but
  /// `most_nodes` nodes, is taken to be anything, and so is what would take too long.
  bool holds(Bit goal, const std::vector<Lemma>& lemmas, std::size_t most_nodes);

 private:
  const BitGraph& graph_;
  std::uint64_t steps_left_ = 400'000'000;  // for all proofs together
};

/// The nodes that the bits depend on, the nearest first, at most about so many.
std::vector<BitGraph::Node> nearest_nodes(const BitGraph& graph, const std::vector<BitGraph::Bit>& bits,
                                          std::size_t most);

}  // namespace quarv::cli
