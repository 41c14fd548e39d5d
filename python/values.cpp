#include <bit>
#include <cmath>
#include <stdexcept>

#include "terms.h"

namespace quarv::python {

namespace {

bool is_fraction(py::handle value) {
  return py::hasattr(value, "numerator") && py::hasattr(value, "denominator");
}

QNumber number_of(py::handle value) {
  return QNumber::parse(std::string(py::str(value)));
}

const Term* float_constant(Workspace& workspace, double value, const DataType* sort) {
  TermManager& m = workspace.manager();
  std::size_t ew = 0;
  std::size_t mw = 0;
  m.get_format_from_type(sort, &ew, &mw);
  const std::string format = std::to_string(ew) + ' ' + std::to_string(mw + 1);
  if (std::isnan(value)) return workspace.term("(_ NaN " + format + ")");
  const auto encoding = QNumber::parse(std::to_string(std::bit_cast<std::uint64_t>(value)));
  const Term* as_double = m.make_fp_bits_number(encoding, 11, 52);
  if (ew == 11 && mw == 52) return as_double;
  const Term* args[] = {m.make_rounding_even(), as_double};
  return workspace.simplify(workspace.make("(_ to_fp " + format + ")", args));
}

[[noreturn]] void no_constant(py::handle value, const DataType* wanted) {
  throw SortError(std::string(py::repr(value)) + " is no constant of sort " + wanted->to_string());
}

}  // namespace

bool is_operand(py::handle value) {
  return py::isinstance<PyTerm>(value) || py::isinstance<py::float_>(value) || is_fraction(value);
}

PyTerm as_term(const Shared& workspace, py::handle value, const DataType* wanted) {
  TermManager& m = workspace->manager();
  if (py::isinstance<PyTerm>(value)) {
    const auto& t = value.cast<const PyTerm&>();
    if (t.workspace != workspace) throw std::invalid_argument("the terms belong to different managers");
    return t;
  }
  if (py::isinstance<py::bool_>(value)) return {workspace, m.make_bool(value.cast<bool>())};
  if (wanted == nullptr) {
    throw py::type_error("a term is expected, not " + std::string(py::repr(value)) +
                         ": no other argument tells the sort");
  }
  const bool integer = py::isinstance<py::int_>(value);
  const bool floating = py::isinstance<py::float_>(value);
  if (m.is_bv_type(wanted) && integer) {
    return {workspace, workspace->bit_vector(number_of(value), m.get_width_from_type(wanted))};
  }
  if (m.is_fp_type(wanted) && (integer || floating)) {
    return {workspace, float_constant(*workspace, value.cast<double>(), wanted)};
  }
  if (m.is_arithmetic_type(wanted)) {
    if (integer || is_fraction(value)) return {workspace, m.make_number(number_of(value))};
    if (floating && std::isfinite(value.cast<double>())) {
      const py::object exact = py::module_::import("fractions").attr("Fraction")(value);
      return {workspace, m.make_number(number_of(exact))};
    }
  }
  no_constant(value, wanted);
}

PyTerm make(const Shared& workspace, const std::string& op, const py::args& args) {
  TermManager& m = workspace->manager();
  // The sort that Python values take: that of the first term that says it.
  const DataType* sort = nullptr;
  const DataType* index = nullptr;
  const std::size_t first = op == "ite" ? 1 : 0;
  for (std::size_t i = first; i < args.size() && sort == nullptr; ++i) {
    if (!py::isinstance<PyTerm>(args[i])) continue;
    const DataType* found = args[i].cast<const PyTerm&>().sort();
    if (found == m.rounding_mode_type) continue;
    sort = found;
    if ((op != "select" && op != "store") || !m.is_array_type(found)) continue;
    index = found->get_component(1);
    sort = found->get_component(2);
  }
  std::vector<const Term*> terms;
  for (std::size_t i = 0; i < args.size(); ++i) {
    terms.push_back(as_term(workspace, args[i], index != nullptr && i == 1 ? index : sort).term);
  }
  return {workspace, workspace->make(op, terms)};
}

py::object value_of(const PyTerm& t) {
  TermManager& m = t.manager();
  if (t.term == m.true_term) return py::bool_(true);
  if (t.term == m.false_term) return py::bool_(false);
  const QNumber* value = m.get_number(t.term);
  if (value == nullptr || m.is_fp_type(t.sort())) return py::none();
  const py::str text(value->to_string());
  if (value->is_integer()) return py::int_(py::reinterpret_steal<py::object>(PyNumber_Long(text.ptr())));
  return py::module_::import("fractions").attr("Fraction")(text);
}

}  // namespace quarv::python
