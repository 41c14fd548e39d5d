#include <optional>
#include <string>

#include <quarv/rules/language/result_resolver.h>
#include <quarv/rules/language/rule_lexer.h>

namespace quarv::rules {

namespace {

using ResultKind = ResultNode::Kind;

bool is_constant(const ResultTree& tree) {
  return tree.node.kind == ResultKind::literal || tree.node.kind == ResultKind::exponent ||
         tree.node.kind == ResultKind::constant;
}

/// True when the arguments of an operator have one width, so that a constant takes that of its neighbour.
bool shares_width(const OperatorWord& op) {
  return op.shape == Shape::equal_widths || op.shape == Shape::predicate || op.shape == Shape::bit;
}

class ResultBuilder {
 public:
  ResultBuilder(SortInference* sorts, Rule* rule) : sorts_(sorts), rule_(rule) {}

  /// Finds the sorts in `tree`, whose root has that of the pattern.
  void infer_sorts(ResultTree* tree) {
    infer(tree);
    const std::size_t wanted = rule_->pattern.front().sort;
    if (sorts_->unite_but_for_widths(sort_as_argument(*tree), wanted)) return;
    fail(*tree, "the pattern is " + std::string(description(sorts_->kind(wanted))) + ", its result is not");
  }

  /// Appends the nodes of `tree`, whose width, when it cannot be told from below, is that of `outer`. Returns
  /// the number of the root.
  std::size_t build(const ResultTree& tree, std::optional<WidthSource> outer) {
    ResultNode node = tree.node;
    if (is_constant(tree)) {
      resolve_constant(tree, outer, &node);
    } else if (node.kind == ResultKind::application) {
      node.arguments = build_arguments(tree, outer);
      if (node.op->tag == SymbolTag::ARRAY_CONST) {
        const auto like = position_of_sort(node.sort);
        if (!like) fail(tree, "the sort of this array cannot be inferred");
        node.width = *like;
      }
    }
    if (rule_->result.size() == max_result_nodes) fail(tree, "the result is too large");
    rule_->result.push_back(std::move(node));
    return rule_->result.size() - 1;
  }

  [[noreturn]] void fail(const ResultTree& tree, const std::string& reason) const {
    throw RuleError(rule_->line, tree.column, reason);
  }

 private:
  /// What the operator above finds there.
  std::size_t sort_as_argument(const ResultTree& tree) {
    if (!tree.node.as_real) return tree.node.sort;
    if (!sorts_->unite(tree.node.sort, sorts_->make(SortKind::integer))) {
      fail(tree, "to_real needs an integer here");
    }
    return sorts_->make(SortKind::real);
  }

  void infer(ResultTree* tree) {
    ResultNode& node = tree->node;
    switch (node.kind) {
      case ResultKind::subterm:
        node.sort = rule_->pattern[node.index].sort;
        return;
      case ResultKind::truth:
        node.sort = sorts_->make(SortKind::boolean);
        return;
      case ResultKind::constant:
        node.sort = sorts_->make(node.constant <= NamedConstant::toward_zero ? SortKind::rounding_mode
                                                                             : SortKind::floating_point);
        return;
      case ResultKind::exponent:
        node.sort = sorts_->make(SortKind::bit_vector);
        return;
      case ResultKind::literal:
      case ResultKind::number:
        node.sort = sorts_->make();
        return;
      case ResultKind::application:
        break;
    }
    std::vector<std::size_t> arguments;
    for (ResultTree& child : tree->children) {
      infer(&child);
      arguments.push_back(sort_as_argument(child));
    }
    std::optional<SortInference::Misfit> misfit;
    // The widths of operators that are not on bit-vectors alone follow from nothing else.
    node.sort = sorts_->apply(*node.op, arguments, node.op->shape == Shape::mixed, &misfit);
    if (!misfit) return;
    fail(tree->children[misfit->argument],
         quoted(node.op->word) + " needs " + std::string(description(misfit->needed)) + " here");
  }

  void resolve_constant(const ResultTree& tree, std::optional<WidthSource> outer, ResultNode* node) {
    const SortKind kind = sorts_->kind(node->sort);
    if (kind == SortKind::integer || kind == SortKind::real || kind == SortKind::number) {
      node->kind = ResultKind::number;
      return;
    }
    if (node->kind == ResultKind::literal && kind != SortKind::bit_vector && kind != SortKind::open) {
      fail(tree, "a numeral cannot be " + std::string(description(kind)));
    }
    if (kind == SortKind::rounding_mode) return;
    if (!outer) outer = position_of_sort(node->sort);
    if (!outer) fail(tree, "the width of this constant cannot be inferred");
    if (node->kind == ResultKind::literal && node->value < -1) {
      fail(tree, "of a bit-vector, the only negative constant is -1, all ones");
    }
    node->width = *outer;
    if (kind == SortKind::open) sorts_->make_bit_vector(node->sort);
  }

  /// A place of the pattern with that very sort.
  std::optional<WidthSource> position_of_sort(std::size_t sort) const {
    for (std::size_t i = 0; i < rule_->pattern.size(); ++i) {
      if (sorts_->are_same(rule_->pattern[i].sort, sort)) return WidthSource{false, i};
    }
    return std::nullopt;
  }

  std::vector<std::size_t> build_arguments(const ResultTree& tree, std::optional<WidthSource> outer) {
    const OperatorWord& op = *tree.node.op;
    std::vector<std::optional<std::size_t>> built(tree.children.size());
    std::optional<WidthSource> width;
    if (op.tag == SymbolTag::TERM_ITE && outer) {
      width = outer;
    } else if (shares_width(op) || op.tag == SymbolTag::TERM_ITE) {
      const std::size_t first = op.tag == SymbolTag::TERM_ITE ? 1 : 0;  // behind the condition
      width = variable_width(tree, first);
      for (std::size_t i = first; !width && i < tree.children.size(); ++i) {
        if (!has_own_width(tree.children[i])) continue;
        built[i] = build(tree.children[i], std::nullopt);
        width = WidthSource{true, *built[i]};
      }
      if (!width && op.shape == Shape::equal_widths) width = outer;
    }
    std::vector<std::size_t> arguments;
    for (std::size_t i = 0; i < tree.children.size(); ++i) {
      arguments.push_back(built[i] ? *built[i] : build(tree.children[i], width));
    }
    return arguments;
  }

  /// The width of the first argument, from `first` on, that is a term of the pattern.
  static std::optional<WidthSource> variable_width(const ResultTree& tree, std::size_t first) {
    for (std::size_t i = first; i < tree.children.size(); ++i) {
      const ResultNode& node = tree.children[i].node;
      if (node.kind == ResultKind::subterm) return WidthSource{false, node.index};
    }
    return std::nullopt;
  }

  /// True when the width of every constant in `tree` can be told from within.
  static bool has_own_width(const ResultTree& tree) {
    if (tree.node.kind != ResultKind::application) return tree.node.kind == ResultKind::subterm;
    if (tree.node.op->tag == SymbolTag::TERM_ITE) {
      return has_own_width(tree.children[1]) || has_own_width(tree.children[2]);
    }
    if (tree.node.op->shape == Shape::mixed) return true;
    bool any = false;
    bool all = true;
    for (const ResultTree& child : tree.children) {
      any = any || has_own_width(child);
      all = all && has_own_width(child);
    }
    return shares_width(*tree.node.op) ? any : all;
  }

  SortInference* sorts_;
  Rule* rule_;
};

}  // namespace

void resolve_result(ResultTree tree, SortInference* sorts, Rule* rule) {
  ResultBuilder builder(sorts, rule);
  builder.infer_sorts(&tree);
  // A constant at the root has the width of the term that it replaces.
  const bool has_width = sorts->kind(tree.node.sort) == SortKind::bit_vector;
  builder.build(tree, has_width ? std::optional(WidthSource{false, 0}) : std::nullopt);
}

}  // namespace quarv::rules
