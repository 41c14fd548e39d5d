#include <algorithm>
#include <array>
#include <optional>
#include <vector>

#include <quarv/rules/language/child_shapes.h>

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

/// What a pattern asks of the term at a position.
ChildShape shape_at(const Rule& rule, std::size_t position) {
  const PatternNode& node = rule.pattern[position];
  switch (node.kind) {
    case PatternNode::Kind::variable:
      return variable_shape(rule, position);
    case PatternNode::Kind::literal:
      return ChildShape::headed_by(SymbolTag::CONSTANT);
    case PatternNode::Kind::constant:
      if (node.constant >= NamedConstant::nan) return ChildShape::headed_by(SymbolTag::CONSTANT);
      break;
    case PatternNode::Kind::application:
      return ChildShape::headed_by(node.op->tag);
  }
  return ChildShape::any();
}

using Position = std::optional<std::size_t>;

bool is_write(const PatternNode& node) {
  return node.op != nullptr && node.op->tag == SymbolTag::ARRAY_WRITE;
}

/// The two arguments that count of what stands at a position, or the single one. In a chain of writes they
/// are array and index.
std::array<Position, 2> two_arguments(const Rule& rule, Position position) {
  if (!position) return {};
  const std::vector<std::size_t>& arguments = rule.pattern[*position].arguments;
  if (arguments.empty()) return {};
  if (arguments.size() == 1) return {arguments[0], std::nullopt};
  const bool in_chain = is_write(rule.pattern[0]) && is_write(rule.pattern[*position]);
  if (in_chain) return {arguments[0], arguments[1]};
  return {arguments[arguments.size() - 2], arguments.back()};
}

TermShape shape_below(const Rule& rule) {
  const auto [x, y] = two_arguments(rule, 0);
  const auto [x0, x1] = two_arguments(rule, x);
  const auto [y0, y1] = two_arguments(rule, is_write(rule.pattern[0]) ? x0 : y);
  const Position places[TermShape::num_places] = {x, y, x0, x1, y0, y1};
  const std::vector<std::size_t> same_as = united_positions(rule);
  TermShape below;
  for (std::size_t a = 0; a < TermShape::num_places; ++a) {
    if (!places[a]) continue;
    const auto place = static_cast<TermShape::Place>(a);
    const ChildShape shape = shape_at(rule, *places[a]);
    if (place != TermShape::x && shape.kind == ChildShape::Kind::headed_by)
      below.require_tag(place, shape.tag);
    for (std::size_t b = a + 1; b < TermShape::num_places; ++b) {
      if (!places[b] || same_as[*places[a]] != same_as[*places[b]]) continue;
      below.require_same(place, static_cast<TermShape::Place>(b));
    }
  }
  return below;
}

}  // namespace

ChildShapes child_shapes(const Rule& rule) {
  ChildShapes shapes;
  const PatternNode& root = rule.pattern.front();
  for (std::size_t i = 0; i < root.arguments.size() && i < shapes.children.size(); ++i) {
    shapes[i] = shape_at(rule, root.arguments[i]);
  }
  shapes.below = shape_below(rule);
  return shapes;
}

}  // namespace quarv::rules
