#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

#include <quarv/rules/language/rule_orders.h>

namespace quarv::rules {

namespace {

/// A pattern with its operands in some order. Where applications of an associative operator are grouped anew,
/// `position` is that of the outermost one for all of them.
struct Tree {
  std::size_t position = 0;
  std::vector<Tree> arguments;
};
using Trees = std::vector<Tree>;

class Arranger {
 public:
  explicit Arranger(const Rule& rule) : rule_(rule) {}

  Trees arrange(std::size_t position) const {
    const PatternNode& node = rule_.pattern[position];
    if (node.kind != PatternNode::Kind::application) return {{position, {}}};
    if (node.op->associates) {
      std::vector<std::size_t> operands;
      collect_operands(position, *node.op, &operands);
      return arrange_operands(position, std::move(operands));
    }
    Trees trees = arrange_arguments(position, node.arguments);
    const std::size_t first = node.op->commutes_from;
    if (first + 1 < node.arguments.size()) {
      std::vector<std::size_t> swapped = node.arguments;
      std::swap(swapped[first], swapped[first + 1]);
      std::ranges::move(arrange_arguments(position, swapped), std::back_inserter(trees));
    }
    return checked(std::move(trees));
  }

 private:
  void collect_operands(std::size_t position, const OperatorWord& op,
                        std::vector<std::size_t>* operands) const {
    const PatternNode& node = rule_.pattern[position];
    if (node.kind != PatternNode::Kind::application || node.op != &op) return operands->push_back(position);
    for (std::size_t argument : node.arguments) collect_operands(argument, op, operands);
  }

  /// All sequences of the operands, and all ways to put parentheses around them.
  Trees arrange_operands(std::size_t position, std::vector<std::size_t> operands) const {
    constexpr std::size_t most = 4;  // with five, there are 1680 ways
    if (operands.size() > most) too_many();
    Trees all;
    std::ranges::sort(operands);
    do {
      std::ranges::move(group(position, operands.begin(), operands.end()), std::back_inserter(all));
    } while (std::ranges::next_permutation(operands).found);
    return checked(std::move(all));
  }

  using Operands = std::vector<std::size_t>::const_iterator;
  Trees group(std::size_t position, Operands begin, Operands end) const {
    if (end - begin == 1) return arrange(*begin);
    Trees all;
    for (auto middle = begin + 1; middle != end; ++middle) {
      const Trees right = group(position, middle, end);
      for (const Tree& l : group(position, begin, middle)) {
        for (const Tree& r : right) all.push_back({position, {l, r}});
      }
    }
    return checked(std::move(all));
  }

  Trees arrange_arguments(std::size_t position, const std::vector<std::size_t>& arguments) const {
    Trees all = {{position, {}}};
    for (const std::size_t argument : arguments) {
      const Trees last = arrange(argument);
      Trees longer;
      for (const Tree& tree : all) {
        for (const Tree& t : last) {
          longer.push_back(tree);
          longer.back().arguments.push_back(t);
        }
      }
      all = checked(std::move(longer));
    }
    return all;
  }

  Trees checked(Trees trees) const {
    constexpr std::size_t most = 16 * max_orders;  // those that say the same are not sorted out yet
    if (trees.size() > most) too_many();
    return trees;
  }

  [[noreturn]] void too_many() const {
    throw RuleError(rule_.line, 1, "the pattern has too many orders: at most " + std::to_string(max_orders));
  }

  const Rule& rule_;
};

/// The rule with its pattern in the order of a tree, and all that refers to positions renumbered.
class Renumbering {
 public:
  explicit Renumbering(const Rule& rule) : rule_(rule), place_(rule.pattern.size(), 0) {}

  Rule apply(const Tree& tree) {
    Rule result = rule_;
    result.pattern.clear();
    append(tree, &result.pattern, 0, 0);
    for (Parameter& parameter : result.parameters) {
      parameter.position = place_[parameter.position];
      renumber(&parameter.value);
    }
    for (Condition& c : result.conditions) {
      c.a = place_[c.a];
      if (c.kind == Condition::Kind::identity || c.kind == Condition::Kind::precedes) c.b = place_[c.b];
      renumber(&c.left);
      renumber(&c.right);
    }
    for (Condition& test : result.sort_tests) test.a = place_[test.a];
    for (ResultNode& node : result.result) {
      if (node.kind == ResultNode::Kind::subterm) node.index = place_[node.index];
      if (!node.width.from_result) node.width.index = place_[node.width.index];
      for (IntExpr& parameter : node.parameters) renumber(&parameter);
    }
    return result;
  }

 private:
  void append(const Tree& tree, std::vector<PatternNode>* pattern, std::size_t parent, std::size_t child) {
    const std::size_t position = pattern->size();
    place_[tree.position] = position;
    pattern->push_back(rule_.pattern[tree.position]);
    pattern->back().parent = parent;
    pattern->back().child = child;
    pattern->back().arguments.clear();
    for (std::size_t i = 0; i < tree.arguments.size(); ++i) {
      (*pattern)[position].arguments.push_back(pattern->size());
      append(tree.arguments[i], pattern, position, i);
    }
    place_[tree.position] = position;  // of those that are grouped anew, the outermost
  }

  void renumber(IntExpr* e) const {
    if (e->kind == IntExpr::Kind::size || e->kind == IntExpr::Kind::value) e->index = place_[e->index];
    for (IntExpr& operand : e->operands) renumber(&operand);
  }

  const Rule& rule_;
  std::vector<std::size_t> place_;  // by position in the rule as it is written
};

/// Writes what a rule says with names by their order in the pattern, so that rules that differ in names, or
/// in the order of a commutative result, are written alike.
class Saying {
 public:
  explicit Saying(const Rule& rule)
      : rule_(rule),
        same_as_(united_positions(rule)),
        names_(rule.pattern.size()),
        integers_(rule.parameters.size()) {}

  std::string write() {
    std::string text = pattern(0);
    std::set<std::string> conditions;
    for (const Condition& c : rule_.conditions) conditions.insert(condition(c));
    for (const std::string& c : conditions) text += ", " + c;
    std::vector<std::string> results;
    for (const ResultNode& node : rule_.result) results.push_back(result(node, results));
    return text + " >> " + results.back();
  }

 private:
  std::string name(std::string* given) {
    if (given->empty()) *given = '#' + std::to_string(num_names_++);
    return *given;
  }
  std::string term(std::size_t position) { return name(&names_[same_as_[position]]); }

  std::string pattern(std::size_t position) {
    const PatternNode& node = rule_.pattern[position];
    if (node.kind == PatternNode::Kind::variable) return term(position);
    if (node.kind == PatternNode::Kind::literal) return std::to_string(node.value);
    if (node.kind == PatternNode::Kind::constant) return std::string(word_of(node.constant));
    std::string text(node.op->word);
    for (std::size_t p : node.parameters) text += ' ' + name(&integers_[p]);
    for (std::size_t a : node.arguments) text += ' ' + pattern(a);
    return '(' + text + ')';
  }

  std::string expression(const IntExpr& e) {
    switch (e.kind) {
      case IntExpr::Kind::literal:
        return std::to_string(e.index);
      case IntExpr::Kind::parameter: {
        const Parameter& p = rule_.parameters[e.index];
        return p.source == Parameter::Source::computed ? expression(p.value) : name(&integers_[e.index]);
      }
      case IntExpr::Kind::size:
        return "size " + term(e.index);
      case IntExpr::Kind::value:
        return "value " + term(e.index);
      case IntExpr::Kind::sum:
      case IntExpr::Kind::difference:
      case IntExpr::Kind::product:
      case IntExpr::Kind::conjunction:
        break;
      case IntExpr::Kind::power:
        return "(2 ^ " + expression(e.operands[0]) + ')';
    }
    const std::string left = expression(e.operands[0]);
    const std::string right = expression(e.operands[1]);
    const std::string sign = e.kind == IntExpr::Kind::sum       ? " + "
                             : e.kind == IntExpr::Kind::product ? " * "
                                                                : " & ";
    if (e.kind == IntExpr::Kind::difference) return '(' + left + " - " + right + ')';
    return '(' + std::min(left, right) + sign + std::max(left, right) + ')';
  }

  std::string condition(const Condition& c) {
    switch (c.kind) {
      case Condition::Kind::states_literal:
      case Condition::Kind::identity:
      case Condition::Kind::binding:
        return {};  // seen where it matters
      case Condition::Kind::power_of_two:
        return "pow2 " + term(c.a) + ' ' + name(&integers_[c.b]);
      case Condition::Kind::compare:
      case Condition::Kind::compare_values: {
        const std::string left = expression(c.left);
        const std::string right = expression(c.right);
        const bool turns = c.relation == Relation::eq || c.relation == Relation::ne;
        const bool turned = turns && right < left;
        return (turned ? right : left) + std::string(relation_sign(c.relation)) + (turned ? left : right);
      }
      default:
        break;
    }
    std::string text =
        std::to_string(static_cast<int>(c.kind)) + ' ' + term(c.a) + ' ' + std::to_string(c.value);
    if (c.kind == Condition::Kind::has_sort) text += std::to_string(static_cast<int>(c.sort));
    if (c.kind == Condition::Kind::precedes) text += ' ' + term(c.b);
    if (c.kind == Condition::Kind::fits) text += ' ' + expression(c.left) + ' ' + expression(c.right);
    return text;
  }

  std::string result(const ResultNode& node, const std::vector<std::string>& results) {
    switch (node.kind) {
      case ResultNode::Kind::subterm:
        return term(node.index);
      case ResultNode::Kind::exponent:
        return "exponent " + name(&integers_[node.index]);
      case ResultNode::Kind::literal:
      case ResultNode::Kind::number:
      case ResultNode::Kind::truth:
        return std::to_string(node.value);
      case ResultNode::Kind::constant:
        return std::string(word_of(node.constant));
      case ResultNode::Kind::application:
        break;
    }
    std::string text(node.op->word);
    for (const IntExpr& p : node.parameters) text += ' ' + expression(p);
    std::vector<std::string> arguments;
    for (std::size_t a : node.arguments) arguments.push_back(results[a]);
    if (node.op->commutes_from + 1U < arguments.size()) {
      std::sort(arguments.begin() + node.op->commutes_from, arguments.end());
    }
    for (const std::string& a : arguments) text += ' ' + a;
    return '(' + text + ')';
  }

  const Rule& rule_;
  std::vector<std::size_t> same_as_;
  std::vector<std::string> names_;     // by position
  std::vector<std::string> integers_;  // by parameter
  std::size_t num_names_ = 0;
};

std::string node_in_order(const Rule& rule, std::size_t position) {
  const PatternNode& node = rule.pattern[position];
  if (node.kind == PatternNode::Kind::variable) return node.name;
  if (node.kind == PatternNode::Kind::literal) return std::to_string(node.value);
  if (node.kind == PatternNode::Kind::constant) return std::string(word_of(node.constant));
  std::vector<std::string> parts;
  for (std::size_t p : node.parameters) parts.push_back(rule.parameters[p].name);
  for (std::size_t a : node.arguments) parts.push_back(node_in_order(rule, a));
  if (node.op->tag == SymbolTag::EQ) return '(' + parts[0] + " == " + parts[1] + ')';
  std::string list;
  for (const std::string& part : parts) list += (list.empty() ? "" : ", ") + part;
  return std::string(node.op->word) + '(' + list + ')';
}

}  // namespace

std::vector<Rule> orders_of(const Rule& rule) {
  if (!rule.is_unordered) return {rule};
  std::vector<Rule> orders = {rule};
  std::set<std::string> said = {Saying(rule).write()};
  for (const Tree& tree : Arranger(rule).arrange(0)) {
    Rule order = Renumbering(rule).apply(tree);
    if (said.insert(Saying(order).write()).second) orders.push_back(std::move(order));
  }
  if (orders.size() > max_orders) {
    throw RuleError(rule.line, 1,
                    "the pattern has " + std::to_string(orders.size()) + " orders: at most " +
                        std::to_string(max_orders));
  }
  return orders;
}

std::string pattern_in_order(const Rule& rule) {
  return node_in_order(rule, 0);
}

}  // namespace quarv::rules
