#include "replay/bit_proof.h"

#include <unordered_map>
#include <unordered_set>

namespace quarv::cli {

namespace {

using Bit = BitGraph::Bit;
using Node = BitGraph::Node;
using Literal = ClauseSet::Literal;

/// Says in clauses what nodes are.
class Encoding {
 public:
  Encoding(const BitGraph& graph, ClauseSet& clauses) : graph_(graph), clauses_(clauses) {
    constant_ = clauses_.variable();  // false
    clauses_.add({constant_ ^ 1U});
  }

  Literal literal(Bit bit) {
    const Bit b = graph_.find(bit);
    if (b <= BitGraph::yes) return constant_ ^ b;
    const auto [known, is_new] = literals_.try_emplace(b >> 1, 0);
    if (is_new) known->second = clauses_.variable();
    return known->second ^ (b & 1U);
  }

  void define(Node node) {
    std::vector<Literal> parts;
    for (const Bit part : graph_.parts(node)) parts.push_back(literal(part));
    const Literal whole = literal(2 * node);
    switch (graph_.kind(node)) {
      case BitGraph::Kind::conjunction:
        return conjunction(whole, std::move(parts));
      case BitGraph::Kind::parity:
        return parity(whole, parts);
      case BitGraph::Kind::choice:
        return choice(whole, parts[0], parts[1], parts[2]);
      case BitGraph::Kind::majority:
        for (const std::size_t i : {0, 1, 2}) {
          const Literal a = parts[i], b = parts[(i + 1) % 3];
          clauses_.add({a ^ 1U, b ^ 1U, whole});
          clauses_.add({a, b, whole ^ 1U});
        }
        return;
      default:
        return;
    }
  }

 private:
  void conjunction(Literal whole, std::vector<Literal> parts) {
    for (const Literal p : parts) clauses_.add({whole ^ 1U, p});
    for (Literal& p : parts) p ^= 1U;
    parts.push_back(whole);
    clauses_.add(std::move(parts));
  }
  void parity(Literal whole, const std::vector<Literal>& parts) {
    Literal so_far = parts[0];
    for (std::size_t i = 1; i < parts.size(); ++i) {
      const Literal next = i + 1 == parts.size() ? whole : clauses_.variable();
      const Literal part = parts[i];
      clauses_.add({next ^ 1U, so_far, part});
      clauses_.add({next ^ 1U, so_far ^ 1U, part ^ 1U});
      clauses_.add({next, so_far ^ 1U, part});
      clauses_.add({next, so_far, part ^ 1U});
      so_far = next;
    }
  }
  void choice(Literal whole, Literal c, Literal t, Literal e) {
    clauses_.add({c ^ 1U, t ^ 1U, whole});
    clauses_.add({c ^ 1U, t, whole ^ 1U});
    clauses_.add({c, e ^ 1U, whole});
    clauses_.add({c, e, whole ^ 1U});
    clauses_.add({t ^ 1U, e ^ 1U, whole});
    clauses_.add({t, e, whole ^ 1U});
  }

  const BitGraph& graph_;
  ClauseSet& clauses_;
  Literal constant_;
  std::unordered_map<Node, Literal> literals_;
};

}  // namespace

std::vector<Node> nearest_nodes(const BitGraph& graph, const std::vector<Bit>& bits, std::size_t most) {
  std::vector<Node> nodes;
  std::unordered_set<Node> seen;
  const auto visit = [&](Bit bit) {
    const Node n = graph.find(bit) >> 1;
    if (n != 0 && seen.insert(n).second) nodes.push_back(n);
  };
  for (const Bit bit : bits) visit(bit);
  for (std::size_t i = 0; i < nodes.size() && nodes.size() < most; ++i) {
    for (const Bit part : graph.parts(nodes[i])) visit(part);
  }
  return nodes;
}

bool BitProof::holds(Bit goal, const std::vector<Lemma>& lemmas, std::size_t most_nodes) {
  constexpr std::size_t first_nodes = 300, most_conflicts = 3000;
  goal = graph_.find(goal);
  if (goal == BitGraph::yes) return true;
  if ((goal == BitGraph::no && lemmas.empty()) || steps_left_ == 0) return false;
  std::vector<Bit> roots{goal};
  for (const Lemma& lemma : lemmas) roots.insert(roots.end(), lemma.begin(), lemma.end());
  for (std::size_t most = first_nodes;; most *= 10) {
    const std::vector<Node> nodes = nearest_nodes(graph_, roots, most);
    constexpr std::uint64_t steps_per_node = 20;
    steps_left_ -= std::min<std::uint64_t>(steps_left_, steps_per_node * nodes.size());
    const bool is_last = nodes.size() < most || most >= most_nodes;
    ClauseSet clauses;
    Encoding encoding(graph_, clauses);
    for (const Node n : nodes) encoding.define(n);
    for (const Lemma& lemma : lemmas) {
      std::vector<Literal> clause;
      for (const Bit b : lemma) clause.push_back(encoding.literal(b));
      clauses.add(std::move(clause));
    }
    clauses.add({encoding.literal(goal) ^ 1U});
    if (clauses.is_contradictory(most_conflicts, steps_left_)) return true;
    if (is_last || steps_left_ == 0) return false;
  }
}

}  // namespace quarv::cli
