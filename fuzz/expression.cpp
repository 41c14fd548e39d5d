#include "expression.h"

#include <stdexcept>
#include <unordered_map>

#include "exact_float.h"

namespace quarv::fuzz {

const Operation& operation_named(std::string_view name) {
  static const auto table = [] {
    std::unordered_map<std::string_view, const Operation*> result;
    for (const auto operations :
         {core_operations(), arithmetic_operations(), bit_vector_operations(), float_operations()}) {
      for (const Operation& op : operations) result.emplace(op.name, &op);
    }
    return result;
  }();
  const auto found = table.find(name);
  if (found == table.end()) throw std::out_of_range("no operator " + std::string(name));
  return *found->second;
}

Random Call::open(std::size_t num_args) const {
  std::string text(expression.op->name);
  for (const std::size_t i : expression.indices) text += ' ' + std::to_string(i);
  for (std::size_t i = 0; i < num_args; ++i) text += ' ' + number(i).get_str();
  // Operands of different formats or widths may have the same encoding.
  for (const Sort* s : sorts) text += ' ' + (s->is_arithmetic() ? "Real" : s->text);
  return model.random(text);
}

namespace {

Value evaluate(const Expression& e, const Expressions& expressions, const std::vector<Value>& values,
               const Interpretation& model) {
  switch (e.kind) {
    case Expression::literal:
      return {e.value, nullptr};
    case Expression::variable:
      return model.value(e.name, e.sort);
    case Expression::function: {
      std::string text = e.name;
      for (const std::size_t arg : e.args) text += ' ' + values[arg].number.get_str();
      return model.value(text, e.sort);
    }
    default:
      break;
  }
  Call call{e, {}, {}, model};
  for (const std::size_t arg : e.args) {
    call.sorts.push_back(expressions[arg].sort);
    call.args.push_back(&values[arg]);
  }
  return e.op->evaluate(call);
}

std::string bits_text(const mpz_class& bits, std::size_t width) {
  const std::string digits = bits.get_str(2);
  return std::string(width - digits.size(), '0') + digits;
}

std::string float_text(const Sort* sort, const mpz_class& bits) {
  const ExactFloat f(sort->width, sort->mantissa);
  if (f.is_nan(bits)) {
    return "(_ NaN " + std::to_string(sort->width) + ' ' + std::to_string(sort->mantissa + 1) + ')';
  }
  const std::string text = bits_text(bits, 1 + sort->width + sort->mantissa);
  return "(fp #b" + text.substr(0, 1) + " #b" + text.substr(1, sort->width) + " #b" +
         text.substr(1 + sort->width) + ')';
}

std::string number_text(const Sort* sort, const mpq_class& value) {
  if (sgn(value) < 0) return "(- " + number_text(sort, -value) + ')';
  if (sort->kind == Sort::integer) return value.get_str();
  const std::string numerator = value.get_num().get_str() + ".0";
  if (value.get_den() == 1) return numerator;
  return "(/ " + numerator + ' ' + value.get_den().get_str() + ".0)";
}

std::string literal_text(const Sort* sort, const mpq_class& value) {
  static constexpr const char* rounding_modes[] = {"RNE", "RTZ", "RTP", "RTN", "RNA"};
  switch (sort->kind) {
    case Sort::boolean:
      return sgn(value) != 0 ? "true" : "false";
    case Sort::bit_vector:
      return "#b" + bits_text(value.get_num(), sort->width);
    case Sort::floating_point:
      return float_text(sort, value.get_num());
    case Sort::rounding_mode:
      return rounding_modes[value.get_num().get_ui()];
    case Sort::integer:
    case Sort::real:
      return number_text(sort, value);
    default:
      throw std::logic_error("no literals of sort " + sort->text);
  }
}

std::string head_text(const Expression& e) {
  if (e.kind == Expression::function) return e.name;
  if (e.op->name == "const") return "(as const " + e.sort->text + ')';
  if (e.indices.empty()) return std::string(e.op->name);
  std::string result = "(_ " + std::string(e.op->name);
  for (const std::size_t i : e.indices) result += ' ' + std::to_string(i);
  return result + ')';
}

}  // namespace

std::vector<Value> evaluate(const Expressions& expressions, const Interpretation& model) {
  std::vector<Value> values;
  values.reserve(expressions.size());
  for (const Expression& e : expressions) values.push_back(evaluate(e, expressions, values, model));
  return values;
}

std::string to_smtlib(const Expression& e, std::span<const std::string> argument_texts) {
  if (e.kind == Expression::literal) return literal_text(e.sort, e.value);
  if (e.kind == Expression::variable) return e.name;
  std::string result = '(' + head_text(e);
  for (const std::size_t arg : e.args) result += ' ' + argument_texts[arg];
  return result + ')';
}

}  // namespace quarv::fuzz
