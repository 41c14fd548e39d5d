#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <span>
#include <vector>

namespace quarv::cli {

/// There is no more room for what is to be found out.
class Exhausted : public std::exception {
 public:
  const char* what() const noexcept override { return "this is too large to be looked at"; }
};

/// Truth functions of variables, with what is shared stored once. Functions that are built alike are one
/// node: operands are sorted and flattened, and constants, repetitions and contradictions are decided. What
/// has been proved equal becomes one node for all that is built later.
class BitGraph {
 public:
  /// A node or its negation: twice the node's number, plus one for the negation.
  using Bit = std::uint32_t;
  using Node = std::uint32_t;
  static constexpr Bit no = 0, yes = 1;

  enum class Kind : std::uint8_t { constant, variable, conjunction, parity, choice, majority };

  BitGraph();

  Bit variable();
  Bit conjunction(std::vector<Bit> parts);
  Bit both(Bit a, Bit b) { return conjunction({a, b}); }
  Bit either(Bit a, Bit b) { return conjunction({a ^ 1U, b ^ 1U}) ^ 1U; }
  Bit disjunction(std::vector<Bit> parts);
  Bit parity(Bit a, Bit b);
  Bit same(Bit a, Bit b) { return parity(a, b) ^ 1U; }
  /// `yes_bit` where the condition holds, else `no_bit`.
  Bit choice(Bit condition, Bit yes_bit, Bit no_bit);
  /// Whether at least two hold.
  Bit majority(Bit a, Bit b, Bit c);

  /// What stands for all that has been proved equal to the bit.
  Bit find(Bit bit) const;
  /// Both have been proved equal.
  void equate(Bit a, Bit b);

  std::size_t size() const noexcept { return nodes_.size(); }
  Kind kind(Node node) const { return nodes_[node].kind; }
  /// The operands: of a choice the condition first.
  std::span<const Bit> parts(Node node) const {
    return {operands_.data() + nodes_[node].begin, nodes_[node].size};
  }

 private:
  struct Entry {
    Kind kind;
    std::uint32_t begin, size;  // in operands_
  };

  Bit node(Kind kind, std::span<const Bit> parts);
  void rehash();
  std::size_t slot(Kind kind, std::span<const Bit> parts) const;
  std::size_t most_parts() const;
  bool normalize(std::vector<Bit>& parts) const;
  bool absorb(std::vector<Bit>& parts, bool& changed);

  std::vector<Entry> nodes_;
  std::vector<Bit> operands_;
  mutable std::vector<Bit> representatives_;  // by node
  std::vector<Node> table_;                   // 0 where free
};

}  // namespace quarv::cli
