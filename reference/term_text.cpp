// How expressions are written in SMT-LIB.

#include <stdexcept>

#include "reference/floats.h"
#include "reference/terms.h"

namespace quarv::reference {

namespace {

std::string bits_text(const mpz_class& bits, std::size_t width) {
  const std::string digits = bits.get_str(2);
  return std::string(width - digits.size(), '0') + digits;
}

std::string float_text(const Sort* sort, const mpz_class& bits) {
  const FloatFormat f(sort->width, sort->mantissa);
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
  switch (sort->kind) {
    case Sort::boolean:
      return sgn(value) != 0 ? "true" : "false";
    case Sort::bit_vector:
      return "#b" + bits_text(value.get_num(), sort->width);
    case Sort::floating_point:
      return float_text(sort, value.get_num());
    case Sort::rounding_mode:
      return std::string(rounding_mode_names[value.get_num().get_ui()]);
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

std::string to_smtlib(const Expression& e, std::span<const std::string> argument_texts) {
  if (e.kind == Expression::literal) return literal_text(e.sort, e.value);
  if (e.kind == Expression::variable) return e.name;
  std::string result = '(' + head_text(e);
  for (const std::size_t arg : e.args) result += ' ' + argument_texts[arg];
  return result + ')';
}

}  // namespace quarv::reference
