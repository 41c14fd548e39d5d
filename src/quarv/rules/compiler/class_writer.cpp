#include "quarv/rules/compiler/class_writer.h"

#include <quarv/rules/language/child_shapes.h>
#include <quarv/rules/language/rule_orders.h>
#include <quarv/term/operators.h>

namespace rulec {

using quarv::SymbolTag;
using quarv::rules::ChildShape;
using quarv::rules::Rule;

namespace {

std::string banner(std::string_view set) {
  return "// Made by rulec from " + std::string(set) + ".rules.\n";
}

/// The name of an enumerator of SymbolTag.
std::string tag_name(SymbolTag::tag tag) {
  return std::string("SymbolTag::").append(quarv::operator_row(tag).tag_name);
}

/// A rule text as a C++ string literal.
std::string literal(std::string_view text) {
  std::string out(1, '"');
  for (const char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out += '"';
}

std::string shape_text(const ChildShape& shape) {
  switch (shape.kind) {
    case ChildShape::Kind::headed_by:
      return "rules::ChildShape::headed_by(" + tag_name(shape.tag) + ")";
    case ChildShape::Kind::not_constant:
      return "rules::ChildShape::not_constant()";
    case ChildShape::Kind::any:
      break;
  }
  return "rules::ChildShape::any()";
}

std::string shapes_text(const quarv::rules::ChildShapes& shapes) {
  return "{{{" + shape_text(shapes[0]) + ", " + shape_text(shapes[1]) + "}}, {" +
         std::to_string(shapes.below.mask) + "U, " + std::to_string(shapes.below.value) + "U}}";
}

std::string order_members(const Rule& rule) {
  std::string shapes;
  std::size_t num_orders = 0;
  for (const Rule& order : quarv::rules::orders_of(rule)) {
    shapes += "        " + shapes_text(quarv::rules::child_shapes(order)) + ",\n";
    ++num_orders;
  }
  const std::string number = std::to_string(num_orders);
  return "  std::size_t num_orders() const override { return " + number +
         "; }\n  rules::ChildShapes get_order_shapes(std::size_t order) const override {\n"
         "    static constexpr rules::ChildShapes shapes[] = {\n" +
         shapes +
         "    };\n    return shapes[order];\n  }\n"
         "  bool apply_order(std::size_t order, TermManager* mgr, const Term* root, const Term** out) const "
         "override;\n";
}

std::string class_definition(const Rule& rule) {
  std::string text = "\n/// ";
  if (!rule.name.empty()) text += rule.name + ": ";
  text += rule.text;
  text += "\nclass " + class_name(rule) + " final : public TermNormalizer::norm_fun {\n public:\n";
  text += "  SymbolTag::tag get_applicant() override { return " + tag_name(rule.applicant()) + "; }\n";
  text += "  bool operator()(TermManager* mgr, const Term* root, const Term** out) const override;\n";
  if (!rule.name.empty()) {
    text += "  std::string_view get_name() const override { return " + literal(rule.name) + "; }\n";
  }
  text += "  std::string get_signature() override { return " + literal(rule.text) + "; }\n";
  text += "  int get_group() const override { return 2; }\n";
  if (rule.is_unordered) return text + order_members(rule) + "};\n";
  const auto shapes = quarv::rules::child_shapes(rule);
  if (shapes[0].kind != ChildShape::Kind::any || shapes[1].kind != ChildShape::Kind::any ||
      shapes.below.mask != 0) {
    text += "  rules::ChildShapes get_child_shapes() const override {\n";
    text += "    return " + shapes_text(shapes) + ";\n  }\n";
  }
  return text + "};\n";
}

}  // namespace

std::string class_header(std::string_view set, const std::vector<Rule>& rules) {
  std::string text = banner(set);
  text +=
      "#pragma once\n\n#include <string>\n#include <string_view>\n\n#include "
      "<quarv/rules/term_normalizer.h>\n\nnamespace quarv {\n";
  for (const Rule& rule : rules) text += class_definition(rule);
  return text + "\n}  // namespace quarv\n";
}

std::string registration(std::string_view set, const std::vector<Rule>& rules) {
  const std::string name(set);
  std::string text = banner(set);
  text += "#include <quarv/rules/" + name + "_rules.h>\n\n#include \"" + name +
          "_rule_classes.h\"\n\nnamespace quarv {\n\n";
  text += "void register_" + name + "_rules(TermNormalizer* normalizer) {\n";
  for (const Rule& rule : rules) text += "  normalizer->register_rule(new " + class_name(rule) + ");\n";
  return text + "}\n\n}  // namespace quarv\n";
}

}  // namespace rulec
