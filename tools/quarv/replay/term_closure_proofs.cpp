/// \file
/// What follows by the laws of Boolean operators where steps rewrite a part of a chain whose operands the
/// next step takes in another order: then no two terms are alike, and all that has been shown must be looked
/// at together.
#include <algorithm>

#include "replay/term_closure.h"

namespace quarv::cli {

using Id = TermClosure::Id;

namespace {

constexpr std::size_t most_classes = 100000, most_proof_nodes = 1000000;

bool is_connective(const Expression& e) {
  const std::size_t n = e.args.size();
  if (e.kind != Expression::operation) return false;
  return (e.op == "not" && n == 1) || ((e.op == "and" || e.op == "or") && n > 0) || (e.op == "=" && n == 2) ||
         (e.op == "ite" && n == 3);
}

}  // namespace

bool TermClosure::is_boolean(Id id) const {
  return terms_.sort_of(id).kind == TraceSort::boolean;
}

/// The terms of each class that say something of truth values.
void TermClosure::find_connectives() {
  connectives_.clear();
  num_connected_ = terms_.size();
  for (Id id = 0; id < terms_.size(); ++id) {
    const Expression& e = terms_.term(id);
    if (!is_boolean(id) || !is_connective(e) || !is_boolean(static_cast<Id>(e.args.back()))) continue;
    connectives_[find(id)].push_back(id);
  }
}

/// The bit of a class: the same one, negated, for its negation.
BitGraph::Bit TermClosure::bit_of(Id id) {
  const Literal l = literal(id);
  const auto [known, is_new] = bits_.try_emplace(l.of, 0);
  if (is_new) {
    const bool is_value = (true_ && literal(*true_).of == l.of);
    known->second = is_value ? (literal(*true_).negated ? BitGraph::no : BitGraph::yes) : graph_.variable();
    pending_.push_back(l.of);
  }
  return known->second ^ (l.negated ? 1U : 0U);
}

/// What a connective makes of the classes of its arguments.
BitGraph::Bit TermClosure::structure(const Expression& e) {
  std::vector<BitGraph::Bit> parts;
  for (const TermName arg : e.args) parts.push_back(bit_of(static_cast<Id>(arg)));
  if (e.op == "not") return parts[0] ^ 1U;
  if (e.op == "and") return graph_.conjunction(std::move(parts));
  if (e.op == "or") return graph_.disjunction(std::move(parts));
  if (e.op == "=") return graph_.same(parts[0], parts[1]);
  return graph_.choice(parts[0], parts[1], parts[2]);
}

bool TermClosure::are_shown_equal(Id a, Id b) {
  constexpr std::size_t most_pairs = 64;
  std::vector<std::pair<Id, Id>> pending{{a, b}};
  for (std::size_t i = 0; i < pending.size(); ++i) {
    const auto [x, y] = pending[i];
    if (are_equal(x, y) || have_equal_truth_values(x, y)) continue;
    // Applications are equal where their arguments are.
    const Expression &left = terms_.term(x), &right = terms_.term(y);
    if (left.args.empty() || left.args.size() != right.args.size() || head(left) != head(right)) return false;
    if (pending.size() + left.args.size() > most_pairs) return false;
    for (std::size_t k = 0; k < left.args.size(); ++k)
      pending.emplace_back(static_cast<Id>(left.args[k]), static_cast<Id>(right.args[k]));
  }
  return true;
}

bool TermClosure::have_equal_truth_values(Id a, Id b) {
  if (!is_boolean(a) || !is_boolean(b)) return false;
  if (num_connected_ != terms_.size()) find_connectives();
  try {
    bits_.clear();
    pending_.clear();
    const BitGraph::Bit goal[] = {bit_of(a), bit_of(b)};
    std::vector<BitProof::Lemma> lemmas;
    for (std::size_t i = 0; i < pending_.size() && i < most_classes; ++i) {
      const Id c = pending_[i];
      const auto negation = negations_.find(c);
      for (const Id member : {c, negation != negations_.end() ? find(negation->second) : c}) {
        const auto own = connectives_.find(member);
        if (own == connectives_.end()) continue;
        for (const Id id : own->second) {
          const BitGraph::Bit whole = bit_of(member);
          lemmas.push_back({graph_.same(whole, structure(terms_.term(id)))});
        }
      }
    }
    return proof_.holds(graph_.same(goal[0], goal[1]), lemmas, most_proof_nodes);
  } catch (const Exhausted&) {
    return false;
  }
}

}  // namespace quarv::cli
