#include <algorithm>
#include <span>
#include <vector>

#include <quarv/rules/queries/rule_in_words.h>

namespace quarv::rules {

namespace {

/// A term with its operators between their arguments, as far as they have a sign.
struct Phrase {
  std::string text;
  bool is_compound = false;

  std::string inner() const { return is_compound ? '(' + text + ')' : text; }
};

Phrase apply(const OperatorWord& op, const std::vector<std::string>& parameters,
             const std::vector<Phrase>& arguments) {
  const std::string sign(op.sign);
  if (!sign.empty() && arguments.size() == 1) return {sign + arguments[0].inner(), false};
  if (!sign.empty()) return {arguments[0].inner() + ' ' + sign + ' ' + arguments[1].inner(), true};
  std::string list;
  const auto add = [&list](const std::string& text) { list += (list.empty() ? "" : ", ") + text; };
  for (const std::string& p : parameters) add(p);
  for (const Phrase& a : arguments) add(a.text);
  return {std::string(op.word) + '(' + list + ')', false};
}

std::string literal(std::int64_t value, SortKind kind = SortKind::bit_vector) {
  return value < 0 && kind == SortKind::bit_vector ? "all ones" : std::to_string(value);
}

class Reader {
 public:
  explicit Reader(const Rule& rule) : rule_(rule), names_(rule.pattern.size()) {
    for (std::size_t i = 0; i < names_.size(); ++i) names_[i] = rule.pattern[i].name;
    for (const Condition& c : rule.conditions) {
      if (c.kind == Condition::Kind::identity) names_[std::max(c.a, c.b)] = names_[std::min(c.a, c.b)];
    }
  }

  std::string read() const {
    std::string text = pattern();
    if (rule_.is_unordered) text += ", with operands in any order,";
    text += " becomes " + result();
    std::vector<std::string> ifs, wheres;
    for (const Condition& c : rule_.conditions) add_condition(c, ifs, wheres);
    if (!ifs.empty()) text += " if " + joined(ifs);
    if (!wheres.empty()) text += ", where " + joined(wheres);
    return text + '.';
  }

 private:
  std::string pattern() const {
    std::vector<Phrase> phrases(rule_.pattern.size());
    for (std::size_t i = phrases.size(); i-- > 0;) {
      const PatternNode& node = rule_.pattern[i];
      if (node.kind == PatternNode::Kind::variable) {
        phrases[i].text = names_[i];
      } else if (node.kind == PatternNode::Kind::literal) {
        phrases[i].text = literal(node.value, rule_.sorts[node.sort].kind);
      } else if (node.kind == PatternNode::Kind::constant) {
        phrases[i].text = word_of(node.constant);
      } else {
        std::vector<std::string> parameters;
        for (std::size_t p : node.parameters) parameters.push_back(rule_.parameters[p].name);
        std::vector<Phrase> arguments;
        for (std::size_t a : node.arguments) arguments.push_back(phrases[a]);
        phrases[i] = apply(*node.op, parameters, arguments);
      }
    }
    return phrases[0].text;
  }

  std::string result() const {
    std::vector<Phrase> phrases;
    for (const ResultNode& node : rule_.result) phrases.push_back(result_phrase(node, phrases));
    return phrases.back().text;
  }

  Phrase result_phrase(const ResultNode& node, const std::vector<Phrase>& phrases) const {
    switch (node.kind) {
      case ResultNode::Kind::subterm:
        return {names_[node.index], false};
      case ResultNode::Kind::literal:
        return {literal(node.value), false};
      case ResultNode::Kind::number:
        return {std::to_string(node.value), false};
      case ResultNode::Kind::constant:
        return {std::string(word_of(node.constant)), false};
      case ResultNode::Kind::exponent:
        return {rule_.parameters[node.index].name, false};
      case ResultNode::Kind::truth:
        return {node.value != 0 ? "true" : "false", false};
      case ResultNode::Kind::application:
        break;
    }
    std::vector<std::string> parameters;
    for (const IntExpr& p : node.parameters) parameters.push_back(expression(p));
    std::vector<Phrase> arguments;
    for (std::size_t a : node.arguments) arguments.push_back(phrases[a]);
    return apply(*node.op, parameters, arguments);
  }

  std::string expression(const IntExpr& e) const {
    switch (e.kind) {
      case IntExpr::Kind::literal:
        return std::to_string(e.index);
      case IntExpr::Kind::parameter:
        return rule_.parameters[e.index].name;
      case IntExpr::Kind::size:
        return "size(" + names_[e.index] + ')';
      case IntExpr::Kind::value:
        return names_[e.index];
      case IntExpr::Kind::sum:
      case IntExpr::Kind::difference:
      case IntExpr::Kind::product:
      case IntExpr::Kind::conjunction:
        break;
      case IntExpr::Kind::power: {
        const std::string exponent = expression(e.operands[0]);
        return e.operands[0].operands.empty() ? "2^" + exponent : "2^(" + exponent + ')';
      }
    }
    const bool is_conjunction = e.kind == IntExpr::Kind::conjunction;
    const bool is_product = is_conjunction || e.kind == IntExpr::Kind::product;  // binds more closely
    const std::string sign = is_conjunction                 ? " & "
                             : is_product                   ? " * "
                             : e.kind == IntExpr::Kind::sum ? " + "
                                                            : " - ";
    const bool nested = !e.operands[1].operands.empty();
    const std::string right = expression(e.operands[1]);
    const bool left_nested = is_product && !e.operands[0].operands.empty();
    const std::string left = expression(e.operands[0]);
    return (left_nested ? '(' + left + ')' : left) + sign + (nested ? '(' + right + ')' : right);
  }

  void add_condition(const Condition& c, std::vector<std::string>& ifs,
                     std::vector<std::string>& wheres) const {
    const std::string relation(relation_sign(c.relation));
    switch (c.kind) {
      case Condition::Kind::states_literal:
      case Condition::Kind::identity:
        return;  // seen in the pattern
      case Condition::Kind::is_const:
        return ifs.push_back(names_[c.a] + " is a constant");
      case Condition::Kind::is_not_const:
        return ifs.push_back(names_[c.a] + " is not a constant");
      case Condition::Kind::precedes:
        return ifs.push_back(names_[c.a] + " is older than " + names_[c.b]);
      case Condition::Kind::has_value:
        return ifs.push_back(names_[c.a] + " is " + literal(c.value));
      case Condition::Kind::has_number:
        return ifs.push_back(names_[c.a] + " is " + std::to_string(c.value));
      case Condition::Kind::has_sort:
        return ifs.push_back(names_[c.a] + " is " + std::string(description(c.sort)));
      case Condition::Kind::has_constant:
        return;  // seen in the pattern
      case Condition::Kind::compare_values:
      case Condition::Kind::compare:
        return ifs.push_back(expression(c.left) + ' ' + relation + ' ' + expression(c.right));
      case Condition::Kind::power_of_two:
        return ifs.push_back(names_[c.a] + " is the constant 2^" + rule_.parameters[c.b].name);
      case Condition::Kind::fits:
        return ifs.push_back(expression(c.left) + " + " + expression(c.right) + " < 2^size(" + names_[c.a] +
                             ')');
      case Condition::Kind::binding:
        return wheres.push_back(rule_.parameters[c.b].name + " is " + expression(c.left));
    }
  }

  static std::string joined(std::span<const std::string> parts) {
    std::string text = parts[0];
    for (std::size_t i = 1; i < parts.size(); ++i) text += (i + 1 < parts.size() ? ", " : " and ") + parts[i];
    return text;
  }

  const Rule& rule_;
  std::vector<std::string> names_;  // by position; what must be the same has one name
};

}  // namespace

std::string in_words(const Rule& rule) {
  return Reader(rule).read();
}

}  // namespace quarv::rules
