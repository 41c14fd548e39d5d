#include "replay/bit_graph.h"

#include <algorithm>

namespace quarv::cli {

namespace {

using Bit = BitGraph::Bit;

constexpr std::size_t most_nodes = 6'000'000, most_operands = 40'000'000;

bool contains(const std::vector<Bit>& sorted, Bit bit) {
  return std::ranges::binary_search(sorted, bit);
}

}  // namespace

BitGraph::BitGraph() : nodes_{{Kind::constant, 0, 0}}, representatives_{no}, table_(1024) {}

/// Longer lists are not flattened, so that a chain of any length takes linear space.
std::size_t BitGraph::most_parts() const {
  return operands_.size() < most_operands / 4 ? 64 : 4;
}

Bit BitGraph::find(Bit bit) const {
  Bit& of_node = representatives_[bit >> 1];
  while (representatives_[of_node >> 1] != (of_node & ~1U)) {
    of_node = representatives_[of_node >> 1] ^ (of_node & 1U);
  }
  return of_node ^ (bit & 1U);
}

void BitGraph::equate(Bit a, Bit b) {
  a = find(a);
  b = find(b);
  if (a >> 1 == b >> 1) return;
  if (a < b) std::swap(a, b);
  representatives_[a >> 1] = b ^ (a & 1U);
}

std::size_t BitGraph::slot(Kind kind, std::span<const Bit> parts) const {
  std::uint64_t hash = static_cast<std::uint64_t>(kind);
  for (Bit p : parts) hash = (hash ^ p) * 0x9e3779b97f4a7c15U, hash ^= hash >> 29;
  std::size_t at = hash & (table_.size() - 1);
  for (; table_[at] != 0; at = (at + 1) & (table_.size() - 1)) {
    const Node n = table_[at];
    if (nodes_[n].kind == kind && std::ranges::equal(this->parts(n), parts)) break;
  }
  return at;
}

void BitGraph::rehash() {
  table_.assign(table_.size() * 2, 0);
  for (Node n = 1; n < nodes_.size(); ++n) {
    if (nodes_[n].kind != Kind::variable) table_[slot(nodes_[n].kind, parts(n))] = n;
  }
}

Bit BitGraph::variable() {
  if (nodes_.size() >= most_nodes) throw Exhausted();
  nodes_.push_back({Kind::variable, 0, 0});
  representatives_.push_back(static_cast<Bit>(2 * (nodes_.size() - 1)));
  return representatives_.back();
}

Bit BitGraph::node(Kind kind, std::span<const Bit> parts) {
  const std::size_t at = slot(kind, parts);
  if (table_[at] != 0) return find(table_[at] * 2);
  if (nodes_.size() >= most_nodes || operands_.size() >= most_operands) throw Exhausted();
  const auto n = static_cast<Node>(nodes_.size());
  nodes_.push_back(
      {kind, static_cast<std::uint32_t>(operands_.size()), static_cast<std::uint32_t>(parts.size())});
  operands_.insert(operands_.end(), parts.begin(), parts.end());
  representatives_.push_back(2 * n);
  table_[at] = n;
  if (nodes_.size() * 2 > table_.size()) rehash();
  return 2 * n;
}

/// Sorts the parts of a conjunction, each once. False when they contradict each other.
bool BitGraph::normalize(std::vector<Bit>& parts) const {
  std::vector<Bit> flat;
  for (const Bit part : parts) {
    const Bit p = find(part);
    if (p == no) return false;
    if (p == yes) continue;
    const auto inner = this->parts(p >> 1);
    if ((p & 1U) == 0 && kind(p >> 1) == Kind::conjunction && flat.size() + inner.size() <= most_parts()) {
      flat.insert(flat.end(), inner.begin(), inner.end());
    } else {
      flat.push_back(p);
    }
  }
  std::ranges::sort(flat);
  flat.erase(std::unique(flat.begin(), flat.end()), flat.end());
  parts = std::move(flat);
  return std::ranges::adjacent_find(parts, [](Bit a, Bit b) { return (a ^ 1U) == b; }) == parts.end();
}

/// a and not (a and b) is a and not b; not a and not (a and b) is not a. False for a contradiction.
bool BitGraph::absorb(std::vector<Bit>& parts, bool& changed) {
  changed = false;
  if (parts.size() > 256) return true;
  std::vector<Bit> result, rest;
  for (const Bit p : parts) {
    const bool negated = (p & 1U) != 0 && kind(p >> 1) == Kind::conjunction;
    if (!negated) {
      result.push_back(p);
      continue;
    }
    rest.clear();
    bool holds = false;
    for (const Bit inner : this->parts(p >> 1)) {
      holds = holds || contains(parts, inner ^ 1U);
      if (!contains(parts, inner)) rest.push_back(inner);
    }
    if (rest.empty()) return false;
    const bool smaller = rest.size() != this->parts(p >> 1).size();
    changed = changed || holds || smaller;
    if (holds) continue;
    if (!smaller) {
      result.push_back(p);
    } else {
      result.push_back(rest.size() == 1 ? rest[0] ^ 1U : node(Kind::conjunction, rest) ^ 1U);
    }
  }
  parts = std::move(result);
  return true;
}

Bit BitGraph::conjunction(std::vector<Bit> parts) {
  constexpr int most_rounds = 4;
  bool changed = true;
  for (int round = 0; changed && round < most_rounds; ++round) {
    if (!normalize(parts) || !absorb(parts, changed)) return no;
  }
  if (changed && !normalize(parts)) return no;
  if (parts.empty()) return yes;
  return parts.size() == 1 ? parts[0] : node(Kind::conjunction, parts);
}

Bit BitGraph::disjunction(std::vector<Bit> parts) {
  for (Bit& p : parts) p ^= 1U;
  return conjunction(std::move(parts)) ^ 1U;
}

Bit BitGraph::parity(Bit a, Bit b) {
  a = find(a);
  b = find(b);
  const Bit negated = (a ^ b) & 1U;
  std::vector<Bit> parts;
  for (const Bit side : {a & ~1U, b & ~1U}) {
    const auto inner = this->parts(side >> 1);
    if (side == no) continue;
    if (kind(side >> 1) == Kind::parity && parts.size() + inner.size() <= most_parts()) {
      parts.insert(parts.end(), inner.begin(), inner.end());
    } else {
      parts.push_back(side);
    }
  }
  std::ranges::sort(parts);
  std::vector<Bit> odd;  // what is there twice is not there
  for (const Bit p : parts) {
    if (!odd.empty() && odd.back() == p) {
      odd.pop_back();
    } else {
      odd.push_back(p);
    }
  }
  if (odd.empty()) return negated;
  return (odd.size() == 1 ? odd[0] : node(Kind::parity, odd)) ^ negated;
}

Bit BitGraph::choice(Bit c, Bit t, Bit e) {
  c = find(c);
  t = find(t);
  e = find(e);
  if ((c & 1U) != 0) std::swap(t, e), c ^= 1U;
  // A branch that asks the same question knows the answer.
  const auto inner = [&](Bit branch, std::size_t which) {
    if (kind(branch >> 1) != Kind::choice || parts(branch >> 1)[0] != c) return branch;
    return find(parts(branch >> 1)[which]) ^ (branch & 1U);
  };
  t = inner(t, 1);
  e = inner(e, 2);
  if (c == no) return e;
  if (t >> 1 == c >> 1) t = t == c ? yes : no;
  if (e >> 1 == c >> 1) e = e == c ? no : yes;
  if (t == e) return t;
  if (t == (e ^ 1U)) return same(c, t);
  if (t == no) return both(c ^ 1U, e);
  if (t == yes) return either(c, e);
  if (e == no) return both(c, t);
  if (e == yes) return either(c ^ 1U, t);
  const Bit negated = t & 1U;
  const Bit parts[] = {c, t ^ negated, e ^ negated};
  return node(Kind::choice, parts) ^ negated;
}

Bit BitGraph::majority(Bit a, Bit b, Bit c) {
  Bit parts[] = {find(a), find(b), find(c)};
  std::ranges::sort(parts);
  const auto [x, y, z] = parts;
  if (x == y || y == z) return y;
  if ((x ^ 1U) == y) return z;
  if ((y ^ 1U) == z) return x;
  if (x == no) return both(y, z);
  if (x == yes) return either(y, z);
  const Bit negated = x & 1U;
  for (Bit& p : parts) p ^= negated;
  return node(Kind::majority, parts) ^ negated;
}

}  // namespace quarv::cli
