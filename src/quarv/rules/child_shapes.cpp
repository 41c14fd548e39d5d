#include <algorithm>

#include <quarv/rules/child_shapes.h>

namespace quarv::rules {

namespace {

/// What the conditions say of the variable at `position`. A numeral is a constant, so whatever needs one
/// narrows alike.
ChildShape variable_shape(const Rule& rule, std::size_t position) {
  constexpr ChildShape constant = ChildShape::headed_by(SymbolTag::CONSTANT);
  const auto reads_value = [&](const auto& self, const IntExpr& e) -> bool {
    return (e.kind == IntExpr::Kind::value && e.index == position) ||
           std::ranges::any_of(e.operands, [&](const IntExpr& operand) { return self(self, operand); });
  };
  for (const Condition& condition : rule.conditions) {
    switch (condition.kind) {
      case Condition::Kind::is_const:
      case Condition::Kind::has_value:
      case Condition::Kind::has_number:
      case Condition::Kind::power_of_two:
        if (condition.a == position) return constant;
        break;
      case Condition::Kind::is_not_const:
        if (condition.a == position) return ChildShape::not_constant();
        break;
      case Condition::Kind::compare_values:
      case Condition::Kind::fits:
        if (reads_value(reads_value, condition.left) || reads_value(reads_value, condition.right)) {
          return constant;
        }
        break;
      default:
        break;
    }
  }
  return ChildShape::any();
}

}  // namespace

ChildShapes child_shapes(const Rule& rule) {
  ChildShapes shapes;
  const PatternNode& root = rule.pattern.front();
  for (std::size_t i = 0; i < root.arguments.size() && i < shapes.size(); ++i) {
    const PatternNode& node = rule.pattern[root.arguments[i]];
    switch (node.kind) {
      case PatternNode::Kind::variable:
        shapes[i] = variable_shape(rule, root.arguments[i]);
        break;
      case PatternNode::Kind::literal:
        shapes[i] = ChildShape::headed_by(SymbolTag::CONSTANT);
        break;
      case PatternNode::Kind::constant:
        if (node.constant >= NamedConstant::nan) shapes[i] = ChildShape::headed_by(SymbolTag::CONSTANT);
        break;
      case PatternNode::Kind::application:
        shapes[i] = ChildShape::headed_by(node.op->tag);
        break;
    }
  }
  return shapes;
}

}  // namespace quarv::rules
