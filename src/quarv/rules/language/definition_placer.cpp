#include <algorithm>
#include <iterator>
#include <utility>

#include <quarv/rules/language/definition_placer.h>

namespace quarv::rules {

namespace {

template <class Change>
void for_positions(IntExpr* e, const Change& change) {
  if (e->kind == IntExpr::Kind::size || e->kind == IntExpr::Kind::value) e->index = change(e->index);
  for (IntExpr& operand : e->operands) for_positions(&operand, change);
}

std::string written(const Rule& rule, const IntExpr& e) {
  switch (e.kind) {
    case IntExpr::Kind::parameter:
      return rule.parameters[e.index].name;
    case IntExpr::Kind::size:
      return "size(" + rule.pattern[e.index].name + ')';
    case IntExpr::Kind::sum:
    case IntExpr::Kind::difference:
      return '_' + written(rule, e.operands[0]) + (e.kind == IntExpr::Kind::sum ? " + " : " - ") +
             written(rule, e.operands[1]) + '_';
    default:
      return std::to_string(e.index);
  }
}

}  // namespace

DefinitionPlacer::DefinitionPlacer(Rule* rule, std::size_t root, std::vector<Operand> operands,
                                   std::size_t column)
    : rule_(*rule), root_(root), operands_(std::move(operands)), column_(column) {
  for (Operand& operand : operands_) {
    const auto begin = rule_.pattern.begin() + static_cast<std::ptrdiff_t>(operand.position);
    const auto end = rule_.pattern.begin() + static_cast<std::ptrdiff_t>(operand.end);
    operand.nodes.assign(std::make_move_iterator(begin), std::make_move_iterator(end));
  }
  rule_.pattern.resize(root_ + 1);
}

bool DefinitionPlacer::place(const DefinedTree& tree) {
  put(tree, root_);
  for (Condition& c : sizes_) {
    const auto position_of = [this](std::size_t operand) { return operands_[operand].position; };
    for_positions(&c.right, position_of);
    c.text = '(' + written(rule_, c.left) + " == " + written(rule_, c.right) + ')';
    rule_.conditions.push_back(std::move(c));
  }
  return rule_.pattern.size() <= max_positions && rule_.parameters.size() <= max_parameters;
}

void DefinitionPlacer::put(const DefinedTree& tree, std::size_t position) {
  if (rule_.pattern.size() > max_positions || rule_.parameters.size() > max_parameters) return;
  rule_.pattern[position].as_real |= tree.as_real;
  switch (tree.kind) {
    case DefinedTree::Kind::operand: {
      Operand& operand = operands_[tree.operand];
      return operand.is_placed ? copy(operand, position) : move(operand, position);
    }
    case DefinedTree::Kind::literal:
      rule_.pattern[position].kind = PatternNode::Kind::literal;
      rule_.pattern[position].value = tree.value;
      return;
    case DefinedTree::Kind::signed_minimum:
      return put_signed_minimum(tree, position);
    case DefinedTree::Kind::application:
      return put_application(tree, position);
  }
}

void DefinitionPlacer::put_application(const DefinedTree& tree, std::size_t position) {
  rule_.pattern[position].kind = PatternNode::Kind::application;
  rule_.pattern[position].op = tree.op;
  for (std::size_t i = 0; i < tree.parameters.size(); ++i) {
    const std::size_t parameter = new_parameter(Parameter::Source::pattern, position, i);
    rule_.pattern[position].parameters.push_back(parameter);
    require({IntExpr::Kind::parameter, parameter, {}}, tree.parameters[i]);
  }
  for (std::size_t i = 0; i < tree.children.size(); ++i) {
    const std::size_t child = new_position(position, i);
    rule_.pattern[position].arguments.push_back(child);
    put(tree.children[i], child);
  }
}

/// A numeral of which only a condition says what it is, since that depends on its width.
void DefinitionPlacer::put_signed_minimum(const DefinedTree& tree, std::size_t position) {
  rule_.pattern[position].name = fresh_name("smallest");
  const std::size_t exponent = new_parameter(Parameter::Source::exponent, position, 0);
  Condition power;
  power.kind = Condition::Kind::power_of_two;
  power.a = position;
  power.b = exponent;
  power.text = "pow2(" + rule_.pattern[position].name + ", " + rule_.parameters[exponent].name + ')';
  rule_.conditions.push_back(std::move(power));
  const IntExpr one{IntExpr::Kind::literal, 1, {}};
  require({IntExpr::Kind::parameter, exponent, {}},
          {IntExpr::Kind::difference, 0, {tree.parameters[0], one}});
}

/// The operand to its first place, with all that refers to its positions.
void DefinitionPlacer::move(Operand& operand, std::size_t position) {
  const std::size_t from = operand.position;
  const auto moved = [&](std::size_t p) { return p - from + position; };
  for (std::size_t i = 0; i < operand.nodes.size(); ++i) {
    const std::size_t place =
        i == 0 ? position : new_position(moved(operand.nodes[i].parent), operand.nodes[i].child);
    PatternNode node = operand.nodes[i];
    node.parent = rule_.pattern[place].parent;
    node.child = rule_.pattern[place].child;
    node.as_real |= rule_.pattern[place].as_real;
    std::ranges::transform(node.arguments, node.arguments.begin(), moved);
    rule_.pattern[place] = std::move(node);
  }
  for (std::size_t i = operand.first_parameter; i < operand.end_parameter; ++i) {
    rule_.parameters[i].position = moved(rule_.parameters[i].position);
  }
  for (std::size_t i = operand.first_condition; i < operand.end_condition; ++i) {
    Condition& c = rule_.conditions[i];
    c.a = moved(c.a);
    if (c.kind == Condition::Kind::identity) c.b = moved(c.b);
    for_positions(&c.left, moved);
    for_positions(&c.right, moved);
  }
  operand.position = position;
  operand.is_placed = true;
}

void DefinitionPlacer::copy(const Operand& operand, std::size_t position) {
  for (std::size_t i = 0; i < operand.nodes.size(); ++i) {
    const std::size_t original = operand.position + i;
    if (i > 0) {
      new_position(rule_.pattern[original].parent - operand.position + position,
                   rule_.pattern[original].child);
    }
    const std::size_t place = position + i;
    const PatternNode& node = rule_.pattern[original];
    PatternNode copied = node;
    copied.parent = rule_.pattern[place].parent;
    copied.child = rule_.pattern[place].child;
    copied.as_real |= rule_.pattern[place].as_real;
    for (std::size_t& argument : copied.arguments) argument = argument - operand.position + position;
    copied.parameters.clear();
    const std::vector<std::size_t> parameters = node.parameters;
    if (node.kind == PatternNode::Kind::variable) copied.name = fresh_name(node.name, "_000");
    rule_.pattern[place] = std::move(copied);
    if (rule_.pattern[place].kind == PatternNode::Kind::variable) require_same(original, place);
    for (std::size_t k = 0; k < parameters.size(); ++k) {
      const std::size_t parameter = new_parameter(Parameter::Source::pattern, place, k);
      rule_.pattern[place].parameters.push_back(parameter);
      Condition same;
      same.kind = Condition::Kind::compare;
      same.left = {IntExpr::Kind::parameter, parameter, {}};
      same.right = {IntExpr::Kind::parameter, parameters[k], {}};
      same.text = '(' + written(rule_, same.left) + " == " + written(rule_, same.right) + ')';
      rule_.conditions.push_back(std::move(same));
    }
  }
}

std::size_t DefinitionPlacer::new_position(std::size_t parent, std::size_t child) {
  PatternNode& node = rule_.pattern.emplace_back();
  node.parent = parent;
  node.child = child;
  node.column = column_;
  return rule_.pattern.size() - 1;
}

std::size_t DefinitionPlacer::new_parameter(Parameter::Source source, std::size_t position,
                                            std::size_t index) {
  Parameter parameter;
  parameter.source = source;
  parameter.name = fresh_name("integer");
  parameter.position = position;
  parameter.index = index;
  rule_.parameters.push_back(std::move(parameter));
  return rule_.parameters.size() - 1;
}

void DefinitionPlacer::require(IntExpr left, IntExpr right) {
  Condition c;
  c.kind = Condition::Kind::compare;
  c.left = std::move(left);
  c.right = std::move(right);
  sizes_.push_back(std::move(c));
}

void DefinitionPlacer::require_same(std::size_t first, std::size_t second) {
  Condition same;
  same.kind = Condition::Kind::identity;
  same.a = first;
  same.b = second;
  same.text = "identity(" + rule_.pattern[first].name + ", " + rule_.pattern[second].name + ')';
  rule_.conditions.push_back(std::move(same));
}

/// A name that nobody writes, and that the pattern does not have.
std::string DefinitionPlacer::fresh_name(const std::string& name, const char* separator) const {
  for (std::size_t i = 0;; ++i) {
    std::string fresh = name.substr(0, name.find('_')) + separator + std::to_string(i);
    const bool is_taken =
        std::ranges::any_of(rule_.pattern, [&](const PatternNode& n) { return n.name == fresh; }) ||
        std::ranges::any_of(rule_.parameters, [&](const Parameter& p) { return p.name == fresh; });
    if (!is_taken) return fresh;
  }
}

}  // namespace quarv::rules
