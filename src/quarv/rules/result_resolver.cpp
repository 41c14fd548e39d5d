#include <optional>
#include <string>

#include <quarv/rules/result_resolver.h>
#include <quarv/rules/rule_lexer.h>

namespace quarv::rules {

namespace {

using Kind = ResultNode::Kind;

bool is_constant(const ResultTree& tree) {
  return tree.node.kind == Kind::literal || tree.node.kind == Kind::exponent;
}

bool is_boolean(const ResultTree& tree) {
  if (tree.node.kind == Kind::application) return tree.node.op->is_boolean();
  return tree.node.kind == Kind::truth;
}

/// True when the arguments of an operator have one width, so that a constant takes that of its neighbour.
bool shares_width(const Operator& op) {
  return op.shape == Shape::equal_widths || op.shape == Shape::predicate || op.shape == Shape::bit;
}

class ResultBuilder {
 public:
  explicit ResultBuilder(Rule* rule) : rule_(rule) {}

  /// Appends the nodes of `tree`, whose width, when it cannot be told from below, is that of `outer`. Returns
  /// the number of the root.
  std::size_t build(const ResultTree& tree, std::optional<WidthSource> outer) {
    ResultNode node = tree.node;
    if (is_constant(tree)) {
      if (!outer) fail(tree, "the width of this constant cannot be inferred");
      node.width = *outer;
    } else if (node.kind == Kind::application) {
      node.arguments = build_arguments(tree, outer);
    }
    if (rule_->result.size() == max_result_nodes) fail(tree, "the result is too large");
    rule_->result.push_back(std::move(node));
    return rule_->result.size() - 1;
  }

  void check_sorts(const ResultTree& tree) const {
    if (tree.node.kind != Kind::application) return;
    const bool wants_boolean = tree.node.op->shape == Shape::negation;
    for (const ResultTree& child : tree.children) {
      if (is_boolean(child) != wants_boolean) {
        fail(child, quoted(tree.node.op->word) + " needs a " +
                        (wants_boolean ? "truth value" : "bit-vector") + " here");
      }
      check_sorts(child);
    }
  }

  [[noreturn]] void fail(const ResultTree& tree, const std::string& reason) const {
    throw RuleError(rule_->line, tree.column, reason);
  }

 private:
  std::vector<std::size_t> build_arguments(const ResultTree& tree, std::optional<WidthSource> outer) {
    const Operator& op = *tree.node.op;
    std::vector<std::optional<std::size_t>> built(tree.children.size());
    std::optional<WidthSource> width;
    if (shares_width(op)) {
      width = variable_width(tree);
      for (std::size_t i = 0; !width && i < tree.children.size(); ++i) {
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

  /// The width of the first argument that is a term of the pattern.
  static std::optional<WidthSource> variable_width(const ResultTree& tree) {
    for (const ResultTree& child : tree.children) {
      if (child.node.kind == Kind::subterm) return WidthSource{false, child.node.index};
    }
    return std::nullopt;
  }

  /// True when the width of every constant in `tree` can be told from within.
  static bool has_own_width(const ResultTree& tree) {
    if (tree.node.kind != Kind::application) return tree.node.kind == Kind::subterm;
    bool any = false;
    bool all = true;
    for (const ResultTree& child : tree.children) {
      any = any || has_own_width(child);
      all = all && has_own_width(child);
    }
    return shares_width(*tree.node.op) ? any : all;
  }

  Rule* rule_;
};

}  // namespace

void resolve_result(const ResultTree& tree, Rule* rule) {
  ResultBuilder builder(rule);
  builder.check_sorts(tree);
  const bool rewrites_boolean = rule->pattern.front().op->is_boolean();
  if (is_boolean(tree) != rewrites_boolean) {
    builder.fail(tree, rewrites_boolean ? "the pattern is a truth value, its result is not"
                                        : "the pattern is a bit-vector, its result is not");
  }
  // A constant at the root has the width of the term that it replaces.
  builder.build(tree, rewrites_boolean ? std::nullopt : std::optional(WidthSource{false, 0}));
}

}  // namespace quarv::rules
