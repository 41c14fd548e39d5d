#include "module.h"

#include <pybind11/stl.h>
#include <sstream>
#include <utility>

namespace quarv::python {

namespace {

std::string simplify_smt2(const std::string& text, const std::string& name, bool rules, bool canonical,
                          bool extended, bool library_semantics, bool standard) {
  smtlib::SimplifyOptions options;
  options.smallest = !canonical;
  options.extended = extended;
  options.rules = rules;
  options.library_semantics = library_semantics || standard;
  return at_length([&] {
    std::ostringstream out;
    smtlib::simplify_script(text, name, out, options);
    return std::move(out).str();
  });
}

PyTerm make_term_of_arguments(const std::string& op, const py::args& args) {
  for (py::handle a : args) {
    if (py::isinstance<PyTerm>(a)) return make(a.cast<const PyTerm&>().session, op, args);
    if (py::isinstance<PyIncomparable>(a)) throw SortError(a.cast<const PyIncomparable&>().reason);
  }
  throw py::type_error(op + ": no argument is a term");
}

/// Every failure is a quarv.Error with a message of one line.
void bind_errors(py::module_& m) {
  static const py::exception<std::invalid_argument> error(m, "Error", PyExc_ValueError);
  static const py::exception<SortError> sort_error(m, "SortError", error.ptr());
  static const py::exception<InputError> parse_error(m, "ParseError", error.ptr());
  const py::tuple bases = py::make_tuple(error, py::handle(PyExc_IndexError));
  static const py::exception<BoundsError> bounds_error(m, "BoundsError", bases);
  error.doc() = "What the library refuses.";
  sort_error.doc() = "Arguments do not fit an operator.";
  parse_error.doc() = "A text is not what it should be; the message says where.";
  bounds_error.doc() = "A bit-vector has no such bits.";
  py::register_exception_translator([](std::exception_ptr thrown) {
    try {
      std::rethrow_exception(std::move(thrown));
    } catch (const InputError& e) {
      PyErr_SetString(parse_error.ptr(), e.what());
    } catch (const SortError& e) {
      PyErr_SetString(sort_error.ptr(), e.what());
    } catch (const BoundsError& e) {
      PyErr_SetString(bounds_error.ptr(), e.what());
    } catch (const std::invalid_argument& e) {
      PyErr_SetString(error.ptr(), e.what());
    } catch (const MemoryLimitReached& e) {
      PyErr_SetString(PyExc_MemoryError, e.what());
    } catch (const std::bad_alloc&) {
      PyErr_SetString(PyExc_MemoryError, "out of memory");
    }
  });
}

}  // namespace

PYBIND11_MODULE(_quarv, m) {
  bind_errors(m);
  bind_terms(m);
  bind_derivations(m);
  bind_manager(m);
  m.attr("__version__") = QUARV_VERSION;
  m.def("simplify_smt2", simplify_smt2, py::arg("text"), py::arg("name") = "<string>", py::kw_only(),
        py::arg("rules") = true, py::arg("canonical") = false, py::arg("extended") = true,
        py::arg("library_semantics") = false, py::arg("standard") = false, py::call_guard<Turn>(),
        "Simplifies an SMT-LIB script: a text in, a text out, as `quarv simplify` does. `canonical` writes "
        "the\n"
        "normal form, not the smallest one; without `extended` only the standard simplifiers and rules are\n"
        "used. `name` is for messages.");
  m.def("make", make_term_of_arguments, py::arg("op"), py::call_guard<Turn>(),
        "Applies an operator by its SMT-LIB name, indices included, to terms and Python values.");
}

}  // namespace quarv::python
