#include "rules/mine/enumeration.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include <fmt/core.h>

namespace quarv::cli {

namespace {

using Node = SmallTerm::Node;
using rules::OperatorWord;
using rules::Shape;

constexpr std::size_t most_terms = 1 << 18;
constexpr std::size_t most_variables = 6;

bool compares(const OperatorWord& op) {
  return op.shape == Shape::predicate || op.tag == SymbolTag::EQ;
}

class Enumeration {
 public:
  Enumeration(std::span<const OperatorWord* const> operators, std::size_t width)
      : operators_(operators), width_(width), shapes_(1) {
    shapes_[0].push_back({{Node()}});
  }

  std::vector<Sample> run(std::size_t most_operators) {
    for (std::size_t n = 1; n <= most_operators; ++n) {
      shapes_.emplace_back();
      for (const OperatorWord* op : operators_) {
        if (!compares(*op)) grow(*op, n, shapes_[n]);
      }
      for (const SmallTerm& shape : shapes_[n]) name_leaves(shape);
      std::vector<SmallTerm> comparisons;
      for (const OperatorWord* op : operators_) {
        if (compares(*op)) grow(*op, n, comparisons);
      }
      for (const SmallTerm& shape : comparisons) name_leaves(shape);
    }
    return std::move(found_);
  }

 private:
  /// Appends the shapes of `n` operators with that one at the root: leaves have no names yet.
  void grow(const OperatorWord& op, std::size_t n, std::vector<SmallTerm>& all) {
    Node root{.kind = Node::Kind::application, .width = compares(op) ? 0 : width_, .op = &op};
    if (op.num_arguments == 1) {
      for (const SmallTerm& arg : shapes_[n - 1]) join(root, {&arg}, all);
      return;
    }
    for (std::size_t left = 0; left < n; ++left) {
      for (const SmallTerm& a : shapes_[left]) {
        for (const SmallTerm& b : shapes_[n - 1 - left]) join(root, {&a, &b}, all);
      }
    }
  }

  void join(Node root, std::initializer_list<const SmallTerm*> args, std::vector<SmallTerm>& all) {
    if (all.size() >= most_terms) too_many();
    SmallTerm term;
    for (const SmallTerm* arg : args) {
      const std::size_t first = term.nodes.size();
      for (Node node : arg->nodes) {
        for (std::size_t& a : node.args) a += first;
        term.nodes.push_back(std::move(node));
      }
      root.args.push_back(term.nodes.size() - 1);
    }
    term.nodes.push_back(std::move(root));
    all.push_back(std::move(term));
  }

  /// All ways to put variables and constants in the places of leaves; variables are numbered as they are
  /// first read. The depth of the recursion is the number of leaves.
  void name_leaves(SmallTerm shape) { name_leaves(shape, 0, 0); }
  void name_leaves(SmallTerm& term, std::size_t i, std::size_t num_variables) {
    while (i < term.nodes.size() && term.nodes[i].kind == Node::Kind::application) ++i;
    if (i == term.nodes.size()) {
      if (num_variables != 0) add(term);
      return;
    }
    Node& leaf = term.nodes[i];
    const Node before = leaf;
    for (std::size_t v = 1; v <= std::min(num_variables + 1, most_variables); ++v) {
      leaf = {.kind = Node::Kind::variable, .width = width_, .number = v};
      name_leaves(term, i + 1, std::max(num_variables, v));
    }
    for (const std::uint64_t value : {std::uint64_t{0}, std::uint64_t{1}, all_ones(width_)}) {
      if (value == 1 && width_ == 1) continue;  // all ones
      term.nodes[i] = {.kind = Node::Kind::constant, .width = width_, .value = value};
      name_leaves(term, i + 1, num_variables);
    }
    term.nodes[i] = before;
    term.nodes[i].kind = Node::Kind::variable;
  }

  void add(const SmallTerm& term) {
    if (found_.size() >= most_terms) too_many();
    found_.push_back({term, false, 1, {}});
  }

  [[noreturn]] static void too_many() {
    throw std::invalid_argument(
        fmt::format("there are more than {} terms: name fewer operators, or a smaller --size", most_terms));
  }

  std::span<const OperatorWord* const> operators_;
  std::size_t width_;
  std::vector<std::vector<SmallTerm>> shapes_;  // by the number of operators, without comparisons
  std::vector<Sample> found_;
};

}  // namespace

std::vector<const OperatorWord*> enumerable_operators(std::span<const std::string> words) {
  std::vector<const OperatorWord*> all;
  for (const std::string& word : words) {
    const OperatorWord* op = rules::find_operator(word == "=" ? "==" : word);
    if (op == nullptr) throw std::invalid_argument(fmt::format("there is no operator \"{}\"", word));
    const bool is_uniform = op->shape == Shape::equal_widths && op->num_parameters == 0;
    if (!is_uniform && !compares(*op)) {
      throw std::invalid_argument(
          fmt::format("terms with {} are not enumerated: it is not on bit-vectors of one width", word));
    }
    if (std::ranges::find(all, op) == all.end()) all.push_back(op);
  }
  return all;
}

std::vector<Sample> enumerate_terms(std::span<const OperatorWord* const> operators,
                                    std::size_t most_operators, std::size_t width) {
  return Enumeration(operators, width).run(most_operators);
}

}  // namespace quarv::cli
