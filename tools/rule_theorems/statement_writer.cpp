#include "statement_writer.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>
#include <utility>

#include "batch/sha256.h"
#include <quarv/rules/language/rule_orders.h>

namespace rule_theorems {

using namespace quarv::rules;
using quarv::SymbolTag;

namespace {

/// What an operator is called in Bv.v, or by Coq if it is one of truth values.
std::string_view coq_name(const OperatorWord& op) {
  switch (op.tag) {
    case SymbolTag::EQ:
      return "bveq";
    case SymbolTag::NOT:
      return "negb";
    case SymbolTag::AND:
      return "andb";
    case SymbolTag::OR:
      return "orb";
    case SymbolTag::IFF:
      return "Bool.eqb";
    default:
      return op.smtlib;
  }
}

/// Names that mean something else in a statement.
constexpr std::array<std::string_view, 56> taken_names = {
    "Bool",      "Definition", "IF",      "Prop",       "SProp",      "Set",         "Type",       "Z",
    "all_ones",  "also",       "andb",    "applies",    "as",         "at",          "bool",       "bv",
    "bv2nat",    "bveq",       "by",      "can_concat", "can_extend", "can_extract", "cofix",      "else",
    "end",       "exists",     "exists2", "false",      "fix",        "for",         "forall",     "fun",
    "has_value", "if",         "in",      "is_bv",      "is_index",   "let",         "literal",    "match",
    "mod",       "multimatch", "nat2bv",  "negb",       "orb",        "return",      "same_width", "then",
    "true",      "using",      "where",   "width",      "with",       "word",        "word_add",   "word_sub",
};

std::string application(std::string_view head, const std::vector<std::string>& arguments) {
  std::string text = "(";
  text += head;
  for (const std::string& argument : arguments) text += ' ' + argument;
  return text + ')';
}

using Names = std::vector<std::string>;

/// The terms and integers of which a statement speaks.
struct Variables {
  Names bit_vectors, truth_values, integers;

  std::string binders() const {
    std::string text;
    for (const auto& [names, sort] : by_sort()) {
      if (names->empty()) continue;
      text += text.empty() ? "(" : " (";
      for (const std::string& name : *names) text += name + ' ';
      text.append(": ").append(sort) += ')';
    }
    return text;
  }

  /// As the sorts of a function's arguments.
  std::string sorts() const {
    std::string text;
    for (const auto& [names, sort] : by_sort()) {
      for (std::size_t i = 0; i < names->size(); ++i) text.append(sort) += " -> ";
    }
    return text;
  }

  std::string arguments() const {
    std::string text;
    for (const auto& [names, sort] : by_sort()) {
      for (const std::string& name : *names) text += ' ' + name;
    }
    return text;
  }

 private:
  std::array<std::pair<const Names*, std::string_view>, 3> by_sort() const {
    return {{{&bit_vectors, "bv"}, {&truth_values, "bool"}, {&integers, "Z"}}};
  }
};

std::string definition(const std::string& name, const Variables& variables, const std::string& claim) {
  return "Definition " + name + ' ' + variables.binders() + " : Prop :=\n  " + claim + ".\n";
}

std::string joined(const Names& claims, std::string_view sign) {
  std::string text;
  for (const std::string& claim : claims) {
    if (!text.empty()) text.append(sign).append("\n  ");
    text += claim;
  }
  return text;
}

/// What a rule says that is matched as it is written.
class OrderWriter {
 public:
  explicit OrderWriter(const Rule& rule) : rule_(rule), terms_(rule.pattern.size()) {
    name_leaves();
    for (const Parameter& parameter : rule_.parameters) {
      if (parameter.source == Parameter::Source::computed) continue;
      variables_.integers.push_back(own_name(parameter.name));
      conditions_.push_back("is_index " + variables_.integers.back());
    }
    for (std::size_t i = rule_.pattern.size(); i-- > 0;) write_application(i);
    std::ranges::move(sorts_, std::back_inserter(conditions_));
    for (std::size_t i = 0; i < rule_.pattern.size(); ++i) add_literal(i);
    for (const Condition& c : rule_.conditions) add_condition(c);
    sorts_.clear();
    const std::string result = write_result();
    sorts_.push_back(terms_[0] + " = " + result);
  }

  const Variables& variables() const { return variables_; }

  /// `variables` are the rule's own, in an order that may be another.
  std::string definitions(const std::string& number, const Variables& variables) const {
    return definition("applies_" + number, variables, joined(conditions_, " /\\")) +
           definition("rule_" + number, variables,
                      "applies_" + number + variables.arguments() + " ->\n  " + joined(sorts_, " /\\"));
  }

 private:
  static std::string own_name(const std::string& name) {
    return std::ranges::find(taken_names, name) == taken_names.end() ? name : name + "'";
  }

  /// Rules have no names with a quote, so a literal's is unique.
  std::string literal_name(const PatternNode& node) const {
    std::string name = node.value < 0 ? "ones'" : "c" + std::to_string(node.value) + "'";
    while (std::ranges::find(variables_.bit_vectors, name) != variables_.bit_vectors.end()) name += "'";
    return name;
  }

  bool is_bit_vector(std::size_t sort) const { return rule_.sorts[sort].kind == SortKind::bit_vector; }

  void name_leaves() {
    for (std::size_t i = 0; i < rule_.pattern.size(); ++i) {
      const PatternNode& node = rule_.pattern[i];
      if (node.kind == PatternNode::Kind::application) continue;
      if (node.kind == PatternNode::Kind::constant) {
        terms_[i] = word_of(node.constant);
        continue;
      }
      terms_[i] = node.kind == PatternNode::Kind::literal ? literal_name(node) : own_name(node.name);
      if (!is_bit_vector(node.sort)) {
        variables_.truth_values.push_back(terms_[i]);
        continue;
      }
      variables_.bit_vectors.push_back(terms_[i]);
      conditions_.push_back("is_bv " + terms_[i]);
    }
  }

  /// An application; what its sort demands becomes a member of `sorts_`.
  std::string sorted_application(const OperatorWord& op, std::size_t sort, const Names& indices,
                                 const Names& arguments) {
    Names all = indices;
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::string text = application(coq_name(op), all);
    const auto demand_of = [&](std::string_view property, const Names& operands) {
      const std::string claim = application(property, operands);
      sorts_.push_back(claim.substr(1, claim.size() - 2));
    };
    const auto demand = [&](std::string_view property) { demand_of(property, all); };
    switch (op.shape) {
      case Shape::concat:
        demand("can_concat");
        break;
      case Shape::extract:
        demand("can_extract");
        break;
      case Shape::extend:
        demand("can_extend");
        break;
      case Shape::equal_widths:
      case Shape::predicate:
      case Shape::bit:
        if (op.num_arguments == 2) demand("same_width");
        break;
      case Shape::negation:
        break;
      case Shape::mixed:  // of truth values, or if-then-else
        if (is_bit_vector(sort)) demand_of("same_width", {arguments[1], arguments[2]});
        break;
    }
    return text;
  }

  void write_application(std::size_t i) {
    const PatternNode& node = rule_.pattern[i];
    if (node.kind != PatternNode::Kind::application) return;
    Names indices, arguments;
    for (std::size_t p : node.parameters) indices.push_back(own_name(rule_.parameters[p].name));
    for (std::size_t a : node.arguments) arguments.push_back(terms_[a]);
    terms_[i] = sorted_application(*node.op, node.sort, indices, arguments);
  }

  void require_value(std::size_t position, std::int64_t value) {
    conditions_.push_back(value < 0 ? "all_ones " + terms_[position]
                                    : "has_value " + terms_[position] + ' ' + std::to_string(value));
  }

  void add_literal(std::size_t i) {
    if (rule_.pattern[i].kind == PatternNode::Kind::literal) require_value(i, rule_.pattern[i].value);
  }

  std::string integer(const IntExpr& e) const {
    switch (e.kind) {
      case IntExpr::Kind::literal:
        return std::to_string(e.index);
      case IntExpr::Kind::parameter: {
        const Parameter& parameter = rule_.parameters[e.index];
        const bool computed = parameter.source == Parameter::Source::computed;
        return computed ? integer(parameter.value) : own_name(parameter.name);
      }
      case IntExpr::Kind::size:
        return "(width " + terms_[e.index] + ')';
      case IntExpr::Kind::value:
        return "(bv2nat " + terms_[e.index] + ')';
      case IntExpr::Kind::product:
        return exact(e, " * ");
      case IntExpr::Kind::conjunction:
        return "(Z.land " + integer(e.operands[0]) + ' ' + integer(e.operands[1]) + ')';
      case IntExpr::Kind::power:
        return "(2 ^ " + integer(e.operands[0]) + ')';
      case IntExpr::Kind::sum:
        if (is_exact(e)) return exact(e, " + ");
        return "(word_add " + integer(e.operands[0]) + ' ' + integer(e.operands[1]) + ')';
      case IntExpr::Kind::difference:
        if (is_exact(e)) return exact(e, " - ");
        return "(word_sub " + integer(e.operands[0]) + ' ' + integer(e.operands[1]) + ')';
    }
    return {};
  }

  std::string exact(const IntExpr& e, const char* sign) const {
    return '(' + integer(e.operands[0]) + sign + integer(e.operands[1]) + ')';
  }

  void add_condition(const Condition& c) {
    switch (c.kind) {
      case Condition::Kind::identity:
        conditions_.push_back(terms_[c.a] + " = " + terms_[c.b]);
        return;
      case Condition::Kind::has_value:
        return require_value(c.a, c.value);
      case Condition::Kind::power_of_two:
        conditions_.push_back("has_value " + terms_[c.a] + " (2 ^ " + own_name(rule_.parameters[c.b].name) +
                              ')');
        return;
      case Condition::Kind::compare:
      case Condition::Kind::compare_values: {
        static constexpr std::array<std::string_view, 6> signs = {"=", "<>", "<", "<=", ">", ">="};
        std::string text = integer(c.left) + ' ';
        text += signs[static_cast<std::size_t>(c.relation)];
        conditions_.push_back(text + ' ' + integer(c.right));
        return;
      }
      case Condition::Kind::fits:
        conditions_.push_back(integer(c.left) + " + " + integer(c.right) + " < 2 ^ width " + terms_[c.a]);
        return;
      case Condition::Kind::states_literal:
      case Condition::Kind::is_const:
      case Condition::Kind::is_not_const:
      case Condition::Kind::precedes:
      case Condition::Kind::binding:
      case Condition::Kind::has_sort:
      case Condition::Kind::has_constant:  // the statement has the constant itself
      case Condition::Kind::has_number:    // not of bit-vectors
        return;
    }
  }

  std::string write_result() {
    Names results;
    for (const ResultNode& node : rule_.result) results.push_back(write_node(node, results));
    return results.back();
  }

  std::string write_node(const ResultNode& node, const Names& results) {
    switch (node.kind) {
      case ResultNode::Kind::subterm:
        return terms_[node.index];
      case ResultNode::Kind::truth:
        return node.value != 0 ? "true" : "false";
      case ResultNode::Kind::literal:
      case ResultNode::Kind::exponent: {
        std::string value = node.kind == ResultNode::Kind::exponent
                                ? own_name(rule_.parameters[node.index].name)
                                : std::to_string(node.value);
        if (node.kind == ResultNode::Kind::literal && node.value < 0) value = '(' + value + ')';
        const std::string& like =
            node.width.from_result ? results[node.width.index] : terms_[node.width.index];
        return "(literal " + value + " (width " + like + "))";
      }
      case ResultNode::Kind::number:
      case ResultNode::Kind::constant:
        return {};  // not of bit-vectors
      case ResultNode::Kind::application:
        break;
    }
    Names indices, arguments;
    for (const IntExpr& parameter : node.parameters) indices.push_back(integer(parameter));
    for (std::size_t a : node.arguments) arguments.push_back(results[a]);
    return sorted_application(*node.op, node.sort, indices, arguments);
  }

  const Rule& rule_;
  Names terms_;  // by position
  Variables variables_;
  Names conditions_;
  Names sorts_;
};

/// The definitions of `applies_N` and `rule_N`.
std::string definitions(const std::vector<Rule>& orders, const std::string& number,
                        const Variables& variables) {
  if (orders.size() == 1) return OrderWriter(orders[0]).definitions(number, variables);
  std::string text;
  Names applies, holds;
  for (std::size_t i = 0; i < orders.size(); ++i) {
    const std::string name = number + "_order_" + std::to_string(i + 1);
    text += OrderWriter(orders[i]).definitions(name, variables);
    applies.push_back("applies_" + name + variables.arguments());
    holds.push_back("rule_" + name + variables.arguments());
  }
  return text + definition("applies_" + number, variables, joined(applies, " \\/")) +
         definition("rule_" + number, variables, joined(holds, " /\\"));
}

}  // namespace

Statement statement(const Rule& rule, std::size_t number) {
  const std::vector<Rule> orders = orders_of(rule);
  const Variables variables = OrderWriter(orders[0]).variables();
  const std::string n = std::to_string(number);
  const std::string each = " : Prop := forall " + variables.binders() + ", ";
  const std::string arguments = variables.arguments();
  std::string text = "\n(** Rule " + n + ": " + rule.text + " *)\n" + definitions(orders, n, variables) +
                     "Definition holds_" + n + each + "rule_" + n + arguments + ".\nDefinition holds_" + n +
                     "_where (also : " + variables.sorts() + "Prop)" + each + "also" + arguments +
                     " -> rule_" + n + arguments + ".\nDefinition never_" + n + each + "~ applies_" + n +
                     arguments + ".\n";
  std::string digest = quarv::cli::sha256(text).substr(0, 16);
  return {std::move(text), std::move(digest)};
}

}  // namespace rule_theorems
