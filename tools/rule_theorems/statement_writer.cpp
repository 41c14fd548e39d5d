#include "statement_writer.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "batch/sha256.h"

namespace rule_theorems {

using namespace quarv::rules;
using quarv::SymbolTag;

namespace {

/// What an operator is called in Bv.v.
std::string_view coq_name(const Operator& op) {
  return op.tag == SymbolTag::EQ ? "bveq" : op.tag == SymbolTag::NOT ? "negb" : op.smtlib;
}

/// Names that mean something else in a statement.
constexpr std::array<std::string_view, 41> taken_names = {
    "Bool",    "Definition", "IF",    "Prop",       "SProp",  "Set",    "Type",   "Z",    "also",
    "applies", "as",         "at",    "bv",         "bv2nat", "by",     "cofix",  "else", "end",
    "exists",  "exists2",    "false", "fix",        "for",    "forall", "fun",    "if",   "in",
    "let",     "match",      "mod",   "multimatch", "nat2bv", "negb",   "return", "then", "true",
    "using",   "where",      "width", "with",       "word",
};

std::string application(std::string_view head, const std::vector<std::string>& arguments) {
  std::string text = "(";
  text += head;
  for (const std::string& argument : arguments) text += ' ' + argument;
  return text + ')';
}

class StatementWriter {
 public:
  StatementWriter(const Rule& rule, std::size_t number)
      : rule_(rule), number_(std::to_string(number)), terms_(rule.pattern.size()) {}

  std::string write() {
    name_leaves();
    for (const Parameter& parameter : rule_.parameters) {
      if (parameter.source == Parameter::Source::computed) continue;
      integers_.push_back(own_name(parameter.name));
      conditions_.push_back("is_index " + integers_.back());
    }
    for (std::size_t i = rule_.pattern.size(); i-- > 0;) write_application(i);
    std::ranges::move(sorts_, std::back_inserter(conditions_));
    for (std::size_t i = 0; i < rule_.pattern.size(); ++i) add_literal(i);
    for (const Condition& c : rule_.conditions) add_condition(c);
    sorts_.clear();
    const std::string result = write_result();
    sorts_.push_back(terms_[0] + " = " + result);
    const std::string each = " : Prop := forall " + binders() + ", ";
    return "\n(** Rule " + number_ + ": " + rule_.text + " *)\n" + definition("applies", conditions_) +
           definition("rule", sorts_) + "Definition holds_" + number_ + each + "rule_" + number_ +
           arguments() + ".\nDefinition holds_" + number_ + "_where (also : " + sorts_of_binders() + "Prop)" +
           each + "also" + arguments() + " -> rule_" + number_ + arguments() + ".\nDefinition never_" +
           number_ + each + "~ applies_" + number_ + arguments() + ".\n";
  }

 private:
  static std::string own_name(const std::string& name) {
    return std::ranges::find(taken_names, name) == taken_names.end() ? name : name + "'";
  }

  /// Rules have no names with a quote, so a literal's is unique.
  std::string literal_name(const PatternNode& node) const {
    std::string name = node.value < 0 ? "ones'" : "c" + std::to_string(node.value) + "'";
    while (std::ranges::find(variables_, name) != variables_.end()) name += "'";
    return name;
  }

  void name_leaves() {
    for (std::size_t i = 0; i < rule_.pattern.size(); ++i) {
      const PatternNode& node = rule_.pattern[i];
      if (node.kind == PatternNode::Kind::application) continue;
      terms_[i] = node.kind == PatternNode::Kind::literal ? literal_name(node) : own_name(node.name);
      variables_.push_back(terms_[i]);
      conditions_.push_back("is_bv " + terms_[i]);
    }
  }

  std::string binders() const {
    std::string text = "(";
    for (const std::string& variable : variables_) text += variable + ' ';
    text += ": bv)";
    if (integers_.empty()) return text;
    text += " (";
    for (const std::string& integer : integers_) text += integer + ' ';
    return text + ": Z)";
  }

  std::string sorts_of_binders() const {
    std::string text;
    for (std::size_t i = 0; i < variables_.size(); ++i) text += "bv -> ";
    for (std::size_t i = 0; i < integers_.size(); ++i) text += "Z -> ";
    return text;
  }

  std::string arguments() const {
    std::string text;
    for (const std::string& variable : variables_) text += ' ' + variable;
    for (const std::string& integer : integers_) text += ' ' + integer;
    return text;
  }

  std::string definition(const std::string& name, const std::vector<std::string>& conjuncts) const {
    std::string text = "Definition " + name + '_' + number_ + ' ' + binders() + " : Prop :=\n  ";
    if (name == "rule") text += "applies_" + number_ + arguments() + " ->\n  ";
    for (std::size_t i = 0; i < conjuncts.size(); ++i) text += (i > 0 ? " /\\\n  " : "") + conjuncts[i];
    return text + ".\n";
  }

  /// An application; what its sort demands becomes a member of `sorts_`.
  std::string sorted_application(const Operator& op, const std::vector<std::string>& indices,
                                 const std::vector<std::string>& arguments) {
    std::vector<std::string> all = indices;
    all.insert(all.end(), arguments.begin(), arguments.end());
    const std::string text = application(coq_name(op), all);
    const auto demand = [&](std::string_view property) {
      const std::string claim = application(property, all);
      sorts_.push_back(claim.substr(1, claim.size() - 2));
    };
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
      case Shape::mixed:
        break;
    }
    return text;
  }

  void write_application(std::size_t i) {
    const PatternNode& node = rule_.pattern[i];
    if (node.kind != PatternNode::Kind::application) return;
    std::vector<std::string> indices, arguments;
    for (std::size_t p : node.parameters) indices.push_back(own_name(rule_.parameters[p].name));
    for (std::size_t a : node.arguments) arguments.push_back(terms_[a]);
    terms_[i] = sorted_application(*node.op, indices, arguments);
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
      case IntExpr::Kind::sum:
        if (reads_value(e)) return exact(e, " + ");
        return "(word_add " + integer(e.operands[0]) + ' ' + integer(e.operands[1]) + ')';
      case IntExpr::Kind::difference:
        if (reads_value(e)) return exact(e, " - ");
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
        return;
      case Condition::Kind::has_number:
      case Condition::Kind::has_constant:
        return;  // not of bit-vectors
    }
  }

  std::string write_result() {
    std::vector<std::string> results;
    for (const ResultNode& node : rule_.result) results.push_back(write_node(node, results));
    return results.back();
  }

  std::string write_node(const ResultNode& node, const std::vector<std::string>& results) {
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
    std::vector<std::string> indices, arguments;
    for (const IntExpr& parameter : node.parameters) indices.push_back(integer(parameter));
    for (std::size_t a : node.arguments) arguments.push_back(results[a]);
    return sorted_application(*node.op, indices, arguments);
  }

  const Rule& rule_;
  std::string number_;
  std::vector<std::string> terms_;  // by position
  std::vector<std::string> variables_;
  std::vector<std::string> integers_;
  std::vector<std::string> conditions_;
  std::vector<std::string> sorts_;
};

}  // namespace

Statement statement(const Rule& rule, std::size_t number) {
  std::string text = StatementWriter(rule, number).write();
  std::string digest = quarv::cli::sha256(text).substr(0, 16);
  return {std::move(text), std::move(digest)};
}

}  // namespace rule_theorems
