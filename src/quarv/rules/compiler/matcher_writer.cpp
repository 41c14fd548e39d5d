#include "quarv/rules/compiler/matcher_writer.h"

#include <vector>

#include <quarv/rules/language/match_plan.h>
#include <quarv/rules/language/rule_orders.h>

namespace rulec {

using namespace quarv::rules;
using quarv::SymbolTag;

namespace {

constexpr std::string_view letters_and_digits =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";

/// The enumerator of a constant that has a name.
std::string constant_name(NamedConstant constant) {
  static constexpr std::string_view names[] = {
      "true_value",  "false_value", "nearest_even",  "nearest_away",   "toward_positive", "toward_negative",
      "toward_zero", "nan",         "plus_infinity", "minus_infinity", "plus_zero",       "minus_zero",
  };
  return "rules::NamedConstant::" + std::string(names[static_cast<std::size_t>(constant)]);
}

std::string sort_name(SortKind kind) {
  static constexpr std::string_view names[] = {"open",       "boolean",        "integer",
                                               "real",       "number",         "rounding_mode",
                                               "bit_vector", "floating_point", "array"};
  return std::string(names[static_cast<std::size_t>(kind)]);
}

class MatcherWriter {
 public:
  explicit MatcherWriter(const Rule& rule)
      : rule_(rule),
        plan_(plan_match(rule)),
        width_known_(rule.pattern.size(), false),
        value_known_(rule.pattern.size(), false) {}

  /// The function of that name; `qualifiers` stand behind its parameters.
  std::string write(const std::string& function, const std::string& qualifiers) {
    write_recognizers();
    write_variables();
    for (const Condition& test : plan_.tests) write_test(test);
    for (const Condition& binding : plan_.bindings) write_binding(binding);
    write_result();
    return "bool " + function + "(" + parameters() + ")" + qualifiers + " {\n" + body_ + "}\n";
  }

 private:
  std::string parameters() const {
    std::string text = uses_manager_ ? "TermManager* mgr, " : "[[maybe_unused]] TermManager* mgr, ";
    return text + "const Term* root, const Term** out";
  }

  void line(const std::string& text) { body_.append("  ").append(text).append("\n"); }

  /// Ends the rule unless `test`, a call of the manager or of a helper, holds.
  void require(const std::string& test) {
    uses_manager_ = true;
    line("if (!" + test + ") return false;");
  }

  /// The C++ expression for the term at a position.
  std::string term(std::size_t position) const {
    const PatternNode& node = rule_.pattern[position];
    if (position == 0) return "root";
    switch (node.kind) {
      case PatternNode::Kind::variable:
        return node.name;
      case PatternNode::Kind::application: {
        const bool is_name = node.op->word.find_first_not_of(letters_and_digits) == std::string_view::npos;
        std::string name(is_name ? node.op->word : node.op->tag_name);
        return name + "_" + std::to_string(position);
      }
      case PatternNode::Kind::literal:
      case PatternNode::Kind::constant:
        break;
    }
    return argument(position);
  }

  /// The same, reached from the term above it.
  std::string argument(std::size_t position) const {
    const PatternNode& node = rule_.pattern[position];
    return term(node.parent) + "->args[" + std::to_string(node.child) + "]";
  }

  /// Recognises the operators below the root, and gets the integer parameters of all of them.
  void write_recognizers() {
    for (std::size_t position = 0; position < rule_.pattern.size(); ++position) {
      const PatternNode& node = rule_.pattern[position];
      if (node.kind != PatternNode::Kind::application) continue;
      if (position > 0) line("const Term* " + term(position) + " = " + argument(position) + ";");
      bool any_parameter = false;
      std::string outputs;
      for (const std::size_t parameter : node.parameters) {
        const std::string& name = rule_.parameters[parameter].name;
        const bool used = plan_.parameter_used[parameter];
        if (used) line("std::size_t " + name + ";");
        outputs += used ? ", &" + name : std::string(", nullptr");
        any_parameter = any_parameter || used;
      }
      if (node.op->tag == SymbolTag::OPAQUE && !node.op->has_format) {
        require("rules::is_named_operation(mgr, " + term(position) + ", \"" + std::string(node.op->smtlib) +
                "\")");
        continue;
      }
      if (node.op->is_made_for_more() && node.op->tag != SymbolTag::ARRAY_CONST) {
        write_indexed_recognizer(position);
        continue;
      }
      if (position == 0 && !any_parameter) continue;
      // Equality has no recogniser either.
      if (node.op->shape == Shape::mixed || node.op->shape == Shape::negation ||
          node.op->tag == SymbolTag::EQ) {
        uses_manager_ = true;
        line("if (mgr->get_tag(" + term(position) +
             "->symbol) != SymbolTag::" + std::string(node.op->tag_name) + ") return false;");
        continue;
      }
      require(std::string("mgr->is_").append(node.op->name) + "(" + term(position) + "->symbol" + outputs +
              remaining_outputs(*node.op) + ")");
    }
  }

  /// Of an operator that its tag does not tell, or whose indices are not got by a recogniser.
  void write_indexed_recognizer(std::size_t position) {
    const PatternNode& node = rule_.pattern[position];
    const std::string number = std::to_string(position);
    line("static const rules::OperatorWord& operator_" + number + " = *rules::find_operator(\"" +
         std::string(node.op->word) + "\");");
    line("std::size_t indices_" + number + "[2];");
    require("rules::recognize(mgr, operator_" + number + ", " + term(position) + "->symbol, indices_" +
            number + ")");
    for (std::size_t i = 0; i < node.parameters.size(); ++i) {
      if (!plan_.parameter_used[node.parameters[i]]) continue;
      line(rule_.parameters[node.parameters[i]].name + " = indices_" + number + "[" + std::to_string(i) +
           "];");
    }
  }

  /// A recogniser returns widths after the parameters, which come from the types here.
  static std::string remaining_outputs(const OperatorWord& op) {
    return op.shape == Shape::concat ? ", nullptr, nullptr" : ", nullptr";
  }

  void write_variables() {
    for (std::size_t position = 0; position < rule_.pattern.size(); ++position) {
      if (rule_.pattern[position].kind == PatternNode::Kind::variable && is_used(position)) {
        line("const Term* " + term(position) + " = " + argument(position) + ";");
      }
    }
  }

  bool is_used(std::size_t position) const {
    for (const auto* conditions : {&plan_.tests, &plan_.bindings}) {
      for (const Condition& condition : *conditions) {
        if (reads(condition, position)) return true;
      }
    }
    for (const ResultNode& node : rule_.result) {
      if (node.kind == ResultNode::Kind::subterm && node.index == position) return true;
      const bool has_like =
          is_constant(node) || node.kind == ResultNode::Kind::constant || is_constant_array(node);
      if (has_like && !node.width.from_result && node.width.index == position) return true;
    }
    return false;
  }

  static bool reads(const Condition& condition, std::size_t position) {
    bool found = false;
    for (const IntExpr* side : {&condition.left, &condition.right}) {
      visit(*side, [&](const IntExpr& e) {
        found = found ||
                ((e.kind == IntExpr::Kind::size || e.kind == IntExpr::Kind::value) && e.index == position);
      });
    }
    switch (condition.kind) {
      case Condition::Kind::compare:
      case Condition::Kind::compare_values:
      case Condition::Kind::binding:
        return found;
      case Condition::Kind::identity:
      case Condition::Kind::precedes:
        return condition.a == position || condition.b == position;
      default:
        return found || condition.a == position;
    }
  }

  void write_test(const Condition& test) {
    const std::string a = term(test.a);
    switch (test.kind) {
      case Condition::Kind::is_const:
        return require("rules::is_number(mgr, " + a + ")");
      case Condition::Kind::is_not_const:
        uses_manager_ = true;
        return line("if (rules::is_number(mgr, " + a + ")) return false;");
      case Condition::Kind::identity:
        return line("if (" + a + " != " + term(test.b) + ") return false;");
      case Condition::Kind::precedes:
        return line("if (" + a + "->id >= " + term(test.b) + "->id) return false;");
      case Condition::Kind::has_value:
        if (test.value < 0) return require("rules::is_all_ones(mgr, " + a + ")");
        [[fallthrough]];
      case Condition::Kind::has_number:
        return require("rules::has_value(mgr, " + a + ", " + std::to_string(test.value) + ")");
      case Condition::Kind::has_constant:
        return require("rules::is_constant(mgr, " + a + ", " + constant_name(test.constant) + ")");
      case Condition::Kind::has_sort:
        return require("rules::has_sort(mgr, " + a + ", rules::SortKind::" + sort_name(test.sort) + ")");
      case Condition::Kind::compare_values:
        return write_value_comparison(test);
      case Condition::Kind::compare: {
        const std::string left = integer(test.left);
        const std::string right = integer(test.right);
        return line("if (!(" + left + " " + std::string(relation_sign(test.relation)) + " " + right +
                    ")) return false;");
      }
      case Condition::Kind::power_of_two:
        line("std::size_t " + rule_.parameters[test.b].name + ";");
        return require("rules::is_power_of_two(mgr, " + a + ", &" + rule_.parameters[test.b].name + ")");
      case Condition::Kind::fits:
        return require("rules::sum_fits(mgr, " + term(test.left.index) + ", " + term(test.right.index) +
                       ", " + width(test.a) + ")");
      case Condition::Kind::binding:
        return write_binding(test);
      case Condition::Kind::states_literal:
        return;
    }
  }

  void write_value_comparison(const Condition& test) {
    const std::string left = number(test.left);
    const std::string right = number(test.right);
    line("if (!(" + left + " " + std::string(relation_sign(test.relation)) + " " + right +
         ")) return false;");
  }

  /// A side of a comparison of values, as a QNumber. A term's value is got once.
  std::string number(const IntExpr& side) {
    if (!is_exact(side)) return "rules::to_number(" + integer(side) + ")";
    if (side.kind == IntExpr::Kind::power) {
      return get_number("rules::get_power(" + integer(side.operands[0]) + ", ");
    }
    if (side.kind == IntExpr::Kind::conjunction) {
      const std::string left = number(side.operands[0]);
      return get_number("rules::get_conjunction(" + left + ", " + number(side.operands[1]) + ", ");
    }
    if (side.kind != IntExpr::Kind::value) {
      const std::string left = number(side.operands[0]);
      const std::string right = number(side.operands[1]);
      const char* const sign = side.kind == IntExpr::Kind::sum          ? " + "
                               : side.kind == IntExpr::Kind::difference ? " - "
                                                                        : " * ";
      return "(" + left + sign + right + ")";
    }
    const std::string name = "value_" + term(side.index);
    if (!value_known_[side.index]) {
      value_known_[side.index] = true;
      uses_manager_ = true;
      line("const QNumber* " + name + " = mgr->get_number(" + term(side.index) + "->symbol);");
      line("if (" + name + " == nullptr) return false;");
    }
    return "*" + name;
  }

  /// A new number that `call`, which lacks its last argument, computes, or there is none.
  std::string get_number(const std::string& call) {
    std::string name = "number_" + std::to_string(num_numbers_++);
    line("QNumber " + name + ";");
    require(call + "&" + name + ")");
    return name;
  }

  void write_binding(const Condition& binding) {
    const std::string value = integer(binding.left);
    line("const std::size_t " + rule_.parameters[binding.b].name + " = " + value + ";");
  }

  /// The width of the term at a position; the code to get it is written at its first use.
  std::string width(std::size_t position) {
    std::string name = "width_" + (position == 0 ? std::string("root") : rule_.pattern[position].name);
    if (!width_known_[position]) {
      width_known_[position] = true;
      line("std::size_t " + name + ";");
      require("rules::get_width(mgr, " + term(position) + ", &" + name + ")");
    }
    return name;
  }

  std::string integer(const IntExpr& expression) {
    switch (expression.kind) {
      case IntExpr::Kind::literal:
        return std::to_string(expression.index);
      case IntExpr::Kind::parameter:
        return rule_.parameters[expression.index].name;
      case IntExpr::Kind::size:
        return width(expression.index);
      case IntExpr::Kind::sum:
      case IntExpr::Kind::difference: {
        const std::string left = integer(expression.operands[0]);
        const std::string right = integer(expression.operands[1]);
        return left + (expression.kind == IntExpr::Kind::sum ? " + " : " - ") +
               nested(expression.operands[1], right);
      }
      case IntExpr::Kind::product:
      case IntExpr::Kind::conjunction:
      case IntExpr::Kind::power:
      case IntExpr::Kind::value:
        break;
    }
    return {};
  }

  static std::string nested(const IntExpr& expression, const std::string& text) {
    return expression.operands.empty() ? text : "(" + text + ")";
  }

  void write_result() {
    for (const ResultNode& node : rule_.result) {
      if (!node.width.from_result && is_constant(node)) width(node.width.index);
    }
    std::vector<std::string> terms;
    for (std::size_t i = 0; i < rule_.result.size(); ++i) {
      const ResultNode& node = rule_.result[i];
      const std::string text = result_term(node, terms);
      const bool is_last = i + 1 == rule_.result.size();
      if (is_last) {
        line("*out = " + text + ";");
      } else if (node.kind == ResultNode::Kind::subterm) {
        terms.push_back(text);
      } else {
        terms.push_back("result_" + std::to_string(i));
        line("const Term* " + terms.back() + " = " + text + ";");
      }
    }
    line("return true;");
  }

  static bool is_constant(const ResultNode& node) {
    return node.kind == ResultNode::Kind::literal || node.kind == ResultNode::Kind::exponent;
  }

  static bool is_constant_array(const ResultNode& node) {
    return node.kind == ResultNode::Kind::application && node.op->tag == SymbolTag::ARRAY_CONST;
  }

  std::string result_term(const ResultNode& node, const std::vector<std::string>& terms) {
    if (node.kind == ResultNode::Kind::subterm) return term(node.index);
    uses_manager_ = true;
    switch (node.kind) {
      case ResultNode::Kind::truth:
        return node.value != 0 ? "mgr->true_term" : "mgr->false_term";
      case ResultNode::Kind::literal:
        return constant(std::to_string(node.value), node, terms);
      case ResultNode::Kind::number:
        return "mgr->make_number(QNumber(" + std::to_string(node.value) + "L))";
      case ResultNode::Kind::constant: {
        const std::string like = rule_.sorts[node.sort].kind != SortKind::floating_point ? "nullptr"
                                 : node.width.from_result ? terms[node.width.index]
                                                          : term(node.width.index);
        return "rules::make_constant(mgr, " + constant_name(node.constant) + ", " + like + ")";
      }
      case ResultNode::Kind::exponent:
        return constant("static_cast<std::int64_t>(" + rule_.parameters[node.index].name + ")", node, terms);
      default:
        break;
    }
    if (node.op->is_made_for_more()) return indexed_application(node, terms);
    if (node.op->shape == Shape::mixed) return mixed_application(node, terms);
    std::string text = std::string("mgr->make_").append(node.op->name) + "(";
    for (const IntExpr& parameter : node.parameters) text += integer(parameter) + ", ";
    for (std::size_t i = 0; i < node.arguments.size(); ++i)
      text += (i > 0 ? ", " : "") + terms[node.arguments[i]];
    return text + ")";
  }

  std::string indexed_application(const ResultNode& node, const std::vector<std::string>& terms) {
    if (node.op->tag == SymbolTag::ARRAY_CONST) {
      const std::string like = node.width.from_result ? terms[node.width.index] : term(node.width.index);
      return "mgr->make_array_const(mgr->type_of(" + like + "), " + terms[node.arguments[0]] + ")";
    }
    const std::string number = std::to_string(++num_indexed_);
    line("static const rules::OperatorWord& result_operator_" + number + " = *rules::find_operator(\"" +
         std::string(node.op->word) + "\");");
    std::string indices = "const std::size_t result_indices_" + number + "[] = {";
    for (const IntExpr& parameter : node.parameters) indices += integer(parameter) + ", ";
    line(indices + "0};");
    std::string arguments = "const Term* const result_arguments_" + number + "[] = {";
    for (const std::size_t a : node.arguments) arguments += terms[a] + ", ";
    line(arguments + "};");
    return "rules::make_application(mgr, result_operator_" + number + ", result_indices_" + number +
           ", result_arguments_" + number + ")";
  }

  static std::string mixed_application(const ResultNode& node, const std::vector<std::string>& terms) {
    const OperatorWord& op = *node.op;
    std::string text = op.tag == SymbolTag::OPAQUE
                           ? "rules::make_named_operation(mgr, \"" + std::string(op.smtlib) + "\", {"
                           : "mgr->make_operation(SymbolTag::" + std::string(op.tag_name) + ", {";
    for (std::size_t i = 0; i < node.arguments.size(); ++i) {
      text += (i > 0 ? ", " : "") + terms[node.arguments[i]];
    }
    return text + "})";
  }

  std::string constant(const std::string& value, const ResultNode& node,
                       const std::vector<std::string>& terms) {
    const std::string bits = node.width.from_result ? "rules::width_of(mgr, " + terms[node.width.index] + ")"
                                                    : width(node.width.index);
    return "rules::make_constant(mgr, " + value + ", " + bits + ")";
  }

  const Rule& rule_;
  MatchPlan plan_;
  std::vector<bool> width_known_;
  std::vector<bool> value_known_;
  bool uses_manager_ = false;
  std::size_t num_numbers_ = 0;  // that conditions compute
  std::size_t num_indexed_ = 0;  // applications of the result that have indices
  std::string body_;
};

}  // namespace

std::string matcher_prologue(std::string_view set) {
  const std::string name(set);
  std::string text = "// Made by rulec from " + name + ".rules.\n";
  text +=
      "#include <cstddef>\n#include <cstdint>\n\n#include <quarv/rules/rule_helpers.h>\n"
      "#include <quarv/rules/rule_operations.h>\n\n";
  return text + "#include \"" + name + "_rule_classes.h\"\n\nnamespace quarv {\n";
}

namespace {

/// A function for each order, and the two members that call them.
std::string unordered_matcher(const Rule& rule) {
  const std::string name = class_name(rule);
  std::string text = "\n// " + rule.text + "\nnamespace {\n";
  std::string cases;
  std::size_t number = 0;
  for (const Rule& order : orders_of(rule)) {
    const std::string function = name + "_ORDER_" + std::to_string(number);
    text += "\n// " + pattern_in_order(order) + "\n" + MatcherWriter(order).write(function, "");
    cases += "    case " + std::to_string(number) + ":\n      return " + function + "(mgr, root, out);\n";
    ++number;
  }
  text += "\n}  // namespace\n";
  text += "\nbool " + name +
          "::apply_order(std::size_t order, TermManager* mgr, const Term* root, const Term** out) const {\n"
          "  switch (order) {\n" +
          cases + "    default:\n      return false;\n  }\n}\n";
  return text + "\nbool " + name +
         "::operator()(TermManager* mgr, const Term* root, const Term** out) const {\n"
         "  for (std::size_t order = 0; order < " +
         std::to_string(number) +
         "; ++order) {\n    if (apply_order(order, mgr, root, out)) return true;\n  }\n  return false;\n}\n";
}

}  // namespace

std::string matcher(const Rule& rule) {
  if (rule.is_unordered) return unordered_matcher(rule);
  return "\n// " + rule.text + "\n" + MatcherWriter(rule).write(class_name(rule) + "::operator()", " const");
}

}  // namespace rulec
