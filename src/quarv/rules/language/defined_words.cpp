#include <algorithm>
#include <array>
#include <bit>
#include <iterator>
#include <span>
#include <utility>

#include <quarv/rules/language/defined_words.h>
#include <quarv/term/definitions.h>
#include <quarv/term/operators.h>

namespace quarv::rules {

namespace definition_trees {

namespace {

using Kind = DefinedTree::Kind;
using Trees = std::vector<DefinedTree>;

IntExpr integer(std::uint64_t value) {
  return {IntExpr::Kind::literal, value, {}};
}

DefinedTree literal(std::int64_t value) {
  DefinedTree tree;
  tree.kind = Kind::literal;
  tree.value = value;
  return tree;
}

DefinedTree application(std::string_view word, Trees children, std::vector<IntExpr> parameters = {}) {
  DefinedTree tree;
  tree.kind = Kind::application;
  tree.op = find_operator(word);
  tree.parameters = std::move(parameters);
  tree.children = std::move(children);
  return tree;
}

/// Builds the definitions of quarv/term/definitions.h as trees.
struct TreeBuilder {
  using Node = DefinedTree;

  /// The definitions ask for the widths of operands alone.
  static IntExpr width(const DefinedTree& operand) { return {IntExpr::Kind::size, operand.operand, {}}; }
  static IntExpr one_less(const IntExpr& width) {
    return {IntExpr::Kind::difference, 0, {width, integer(1)}};
  }
  static IntExpr fixed(std::uint64_t value) { return integer(value); }

  static DefinedTree make(SymbolTag::tag tag, Trees children) {
    const auto op = std::ranges::find(operators(), tag, &OperatorWord::tag);
    return application(op->word, std::move(children));
  }
  static DefinedTree equal(DefinedTree a, DefinedTree b) {
    return application("==", {std::move(a), std::move(b)});
  }
  static DefinedTree ite(DefinedTree p, DefinedTree a, DefinedTree b) {
    return application("ite", {std::move(p), std::move(a), std::move(b)});
  }
  static DefinedTree opposite(DefinedTree a) { return application("*", {literal(-1), std::move(a)}); }
  static DefinedTree as_real(DefinedTree a) {
    a.as_real = true;
    return a;
  }
  static DefinedTree extract(const IntExpr& high, const IntExpr& low, DefinedTree a) {
    return application("extract", {std::move(a)}, {high, low});
  }
  static DefinedTree zero_extend(const IntExpr& added, DefinedTree a) {
    return application("zext", {std::move(a)}, {added});
  }
  static DefinedTree sign_extend(const IntExpr& added, DefinedTree a) {
    return application("sext", {std::move(a)}, {added});
  }
  static DefinedTree zero(const IntExpr&) { return literal(0); }
  static DefinedTree one(const IntExpr&) { return literal(1); }
  static DefinedTree ones(const IntExpr&) { return literal(-1); }
  static DefinedTree signed_minimum(const IntExpr& width) {
    DefinedTree tree;
    tree.kind = Kind::signed_minimum;
    tree.parameters = {width};
    return tree;
  }
  static DefinedTree number(int value) { return literal(value); }
};

Trees operands(std::size_t n) {
  Trees all(n);
  for (std::size_t i = 0; i < n; ++i) all[i].operand = i;
  return all;
}

/// An operator, or a word that is another one's, swapped or negated, on two operands.
DefinedTree pair(std::string_view word, DefinedTree a, DefinedTree b) {
  const DerivedOperator* derived = find_derived_operator(word);
  if (derived == nullptr) return application(word, {std::move(a), std::move(b)});
  if (derived->swapped) std::swap(a, b);
  DefinedTree tree = application(derived->of, {std::move(a), std::move(b)});
  return derived->negation.empty() ? tree : application(derived->negation, {std::move(tree)});
}

DefinedTree right_chain(std::string_view word, Trees all) {
  DefinedTree chain = std::move(all.back());
  for (std::size_t i = all.size() - 1; i-- > 0;)
    chain = application(word, {std::move(all[i]), std::move(chain)});
  return chain;
}

DefinedTree left_chain(std::string_view word, Trees all) {
  DefinedTree chain = std::move(all.front());
  for (std::size_t i = 1; i < all.size(); ++i) chain = pair(word, std::move(chain), std::move(all[i]));
  return chain;
}

DefinedTree neighbours(std::string_view word, const Trees& all) {
  Trees links;
  for (std::size_t i = 0; i + 1 < all.size(); ++i) links.push_back(pair(word, all[i], all[i + 1]));
  return right_chain("and", std::move(links));
}

/// Pairwise different.
DefinedTree distinct(const Trees& all) {
  Trees pairs;
  for (std::size_t i = 0; i < all.size(); ++i) {
    for (std::size_t j = i + 1; j < all.size(); ++j) pairs.push_back(pair("distinct", all[i], all[j]));
  }
  return right_chain("and", std::move(pairs));
}

DefinedTree implication(Trees all) {
  for (std::size_t i = 0; i + 1 < all.size(); ++i) all[i] = application("~", {std::move(all[i])});
  return right_chain("or", std::move(all));
}

DefinedTree difference(Trees all) {
  if (all.size() == 1) return TreeBuilder::opposite(std::move(all[0]));
  for (std::size_t i = 1; i < all.size(); ++i) all[i] = TreeBuilder::opposite(std::move(all[i]));
  return right_chain("+", std::move(all));
}

/// By doubling, as the reader does.
DefinedTree repetition(std::size_t times) {
  const DefinedTree operand;
  DefinedTree tree = operand;
  for (std::size_t bit = std::bit_floor(times) / 2; bit != 0; bit /= 2) {
    tree = application("concat", {tree, tree});
    if ((times & bit) != 0) tree = application("concat", {operand, std::move(tree)});
  }
  return tree;
}

/// Sign, exponent and significand, whose highest bit is hidden.
DefinedTree float_of_parts(Trees parts) {
  const IntExpr exponent = TreeBuilder::width(parts[1]);
  const IntExpr significand = {IntExpr::Kind::sum, 0, {TreeBuilder::width(parts[2]), integer(1)}};
  return application("to_fp_bits", {right_chain("concat", std::move(parts))}, {exponent, significand});
}

/// How the reader takes more operands than an operator has.
Chain chain_of(std::string_view word) {
  const DerivedOperator* derived = find_derived_operator(word);
  if (derived == nullptr) {
    const OperatorWord* op = find_operator(word);
    return op == nullptr ? Chain::none : op->chain;
  }
  if (word == "xor" || word == "bvxnor") return Chain::left;
  const OperatorWord* op = find_operator(derived->of);
  return op->chain == Chain::pairs ? Chain::pairs : Chain::none;
}

std::optional<DefinedTree> longer(std::string_view word, std::size_t n) {
  if (n < 3) return std::nullopt;
  switch (chain_of(word)) {
    case Chain::right:
      return right_chain(word, operands(n));
    case Chain::left:
      return left_chain(word, operands(n));
    case Chain::pairs:
      return neighbours(word, operands(n));
    case Chain::none:
      break;
  }
  return std::nullopt;
}

constexpr std::array<std::string_view, 4> own = {"-", "=>", "fp", "repeat"};

std::optional<DefinedTree> meaning_of(std::string_view word, std::size_t n, std::size_t times) {
  if (const auto* const definition = definitions::find<TreeBuilder>(word)) {
    TreeBuilder trees;
    const Trees all = operands(n);
    return definition->num_args == n ? std::optional(definition->build(trees, all)) : std::nullopt;
  }
  if (word == "-") return n >= 1 ? std::optional(difference(operands(n))) : std::nullopt;
  if (word == "=>") return n >= 2 ? std::optional(implication(operands(n))) : std::nullopt;
  if (word == "fp") return n == 3 ? std::optional(float_of_parts(operands(n))) : std::nullopt;
  if (word == "repeat") return n == 1 && times >= 1 ? std::optional(repetition(times)) : std::nullopt;
  if (word == "distinct") return n >= 3 ? std::optional(distinct(operands(n))) : std::nullopt;
  return longer(word, n);
}

}  // namespace
}  // namespace definition_trees

bool is_defined_word(std::string_view word) {
  using namespace definition_trees;
  return std::ranges::find(own, word) != own.end() || definitions::find<TreeBuilder>(word) != nullptr;
}

bool has_repetitions(std::string_view word) {
  return word == "repeat";
}

std::optional<DefinedTree> definition_of(std::string_view word, std::size_t num_operands, std::size_t times) {
  return definition_trees::meaning_of(word, num_operands, times);
}

}  // namespace quarv::rules
