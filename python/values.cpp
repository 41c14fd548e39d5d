#include <bit>
#include <cmath>
#include <stdexcept>

#include "terms.h"

namespace quarv::python {

namespace {

constexpr int hexadecimal = 16;  // Python writes and reads such numbers however long they are

bool is_fraction(py::handle value) {
  return py::hasattr(value, "numerator") && py::hasattr(value, "denominator");
}

/// Of an integer or a fraction.
QNumber number_of(py::handle value) {
  if (py::isinstance<py::int_>(value)) return integer_of(value);
  const QNumber numerator = integer_of(value.attr("numerator"));
  return numerator / integer_of(value.attr("denominator"));
}

py::int_ python_integer(const mpz_class& value) {
  const std::string digits = value.get_str(hexadecimal);
  PyObject* result = PyLong_FromString(digits.c_str(), nullptr, hexadecimal);
  if (result == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::int_>(result);
}

/// A format as it is written in indices: "8 24".
std::string format_of(TermManager& m, const DataType* sort, std::size_t* ew, std::size_t* mw) {
  m.get_format_from_type(sort, ew, mw);
  return std::to_string(*ew) + ' ' + std::to_string(*mw + 1);
}

/// The float next to an integer, rounded once.
const Term* float_constant(PySession& session, const QNumber& value, const DataType* sort) {
  TermManager& m = session.manager();
  std::size_t ew = 0;
  std::size_t mw = 0;
  const std::string format = format_of(m, sort, &ew, &mw);
  const Term* args[] = {m.make_rounding_even(), m.make_number(value)};
  return session.simplify(session.reader.make("(_ to_fp " + format + ")", args));
}

const Term* float_constant(PySession& session, double value, const DataType* sort) {
  TermManager& m = session.manager();
  std::size_t ew = 0;
  std::size_t mw = 0;
  const std::string format = format_of(m, sort, &ew, &mw);
  if (std::isnan(value)) return session.reader.term("(_ NaN " + format + ")");
  const auto encoding = QNumber::parse(std::to_string(std::bit_cast<std::uint64_t>(value)));
  const Term* as_double = m.make_fp_bits_number(encoding, 11, 52);
  if (ew == 11 && mw == 52) return as_double;
  const Term* args[] = {m.make_rounding_even(), as_double};
  return session.simplify(session.reader.make("(_ to_fp " + format + ")", args));
}

[[noreturn]] void no_constant(py::handle value, const DataType* wanted) {
  throw SortError(shown(value) + " is not a constant of sort " + wanted->abbreviated());
}

}  // namespace

std::string shown(py::handle value) {
  constexpr std::size_t longest = 100;
  const auto text = py::reinterpret_steal<py::object>(PyObject_Repr(value.ptr()));
  if (!text) {
    PyErr_Clear();  // such as an integer that it does not want to write
    return "a value of type " + std::string(py::str(py::type::handle_of(value).attr("__name__")));
  }
  std::string result(py::str(text[py::slice(0, longest, 1)]));
  if (py::len(text) > longest) result += " ...";
  return result;
}

QNumber integer_of(py::handle value) {
  const auto integer = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
  if (!integer) throw py::error_already_set();
  const auto text = py::reinterpret_steal<py::object>(PyNumber_ToBase(integer.ptr(), hexadecimal));
  if (!text) throw py::error_already_set();
  const mpz_class parsed(std::string(py::str(text)), 0);  // the text says its base
  return QNumber::from_integer(parsed.get_mpz_t());
}

bool is_operand(py::handle value) {
  return py::isinstance<PyTerm>(value) || py::isinstance<PyIncomparable>(value) ||
         py::isinstance<py::float_>(value) || is_fraction(value);
}

PyTerm as_term(const Shared& session, py::handle value, const DataType* wanted) {
  TermManager& m = session->manager();
  if (py::isinstance<PyTerm>(value)) {
    const auto& t = value.cast<const PyTerm&>();
    if (t.session != session) throw std::invalid_argument("the terms belong to different managers");
    return t;
  }
  if (py::isinstance<PyIncomparable>(value)) throw SortError(value.cast<const PyIncomparable&>().reason);
  if (py::isinstance<py::bool_>(value)) return {session, m.make_bool(value.cast<bool>())};
  if (wanted == nullptr) {
    throw py::type_error("a term is expected, not " + shown(value) +
                         ": no other argument determines the sort");
  }
  const bool integer = py::isinstance<py::int_>(value);
  const bool floating = py::isinstance<py::float_>(value);
  if (m.is_bv_type(wanted) && integer) {
    return {session,
            smtlib::build::bit_vector(session->manager(), number_of(value), m.get_width_from_type(wanted))};
  }
  if (m.is_fp_type(wanted) && integer) {
    return {session, float_constant(*session, number_of(value), wanted)};
  }
  if (m.is_fp_type(wanted) && floating) {
    return {session, float_constant(*session, value.cast<double>(), wanted)};
  }
  if (m.is_arithmetic_type(wanted)) {
    if (integer || is_fraction(value)) return {session, m.make_number(number_of(value))};
    if (floating && std::isfinite(value.cast<double>())) {
      const py::object exact = py::module_::import("fractions").attr("Fraction")(value);
      return {session, m.make_number(number_of(exact))};
    }
  }
  no_constant(value, wanted);
}

PyTerm make(const Shared& session, const std::string& op, const py::args& args) {
  TermManager& m = session->manager();
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
    terms.push_back(as_term(session, args[i], index != nullptr && i == 1 ? index : sort).term);
  }
  return {session, session->reader.make(op, terms)};
}

py::object value_of(const PyTerm& t) {
  TermManager& m = t.manager();
  if (t.term == m.true_term) return py::bool_(true);
  if (t.term == m.false_term) return py::bool_(false);
  const QNumber* value = m.get_number(t.term);
  if (value == nullptr || m.is_fp_type(t.sort())) return py::none();
  const py::int_ numerator = python_integer(value->num());
  if (value->is_integer()) return numerator;
  return py::module_::import("fractions").attr("Fraction")(numerator, python_integer(value->den()));
}

}  // namespace quarv::python
