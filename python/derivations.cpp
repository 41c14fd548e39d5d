#include <pybind11/stl.h>

#include "module.h"

namespace quarv::python {

namespace {

PyTerm call(const PyFunction& f, const py::args& args) {
  TermManager& m = f.session->manager();
  std::vector<const Term*> terms;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const DataType* sort = i < m.arity(f.symbol) ? m.argument_type(f.symbol, i) : nullptr;
    terms.push_back(as_term(f.session, args[i], sort).term);
  }
  return {f.session, f.session->reader.make(f.name, terms)};
}

py::tuple arguments_of(const PyFunction& f) {
  TermManager& m = f.session->manager();
  py::tuple result(m.arity(f.symbol));
  for (std::size_t i = 0; i < result.size(); ++i) {
    result[i] = py::cast(PySort{f.session, m.argument_type(f.symbol, i)});
  }
  return result;
}

PySort result_of(const PyFunction& f) {
  return {f.session, f.symbol->get_output_type()};
}

py::object width(const PySort& s) {
  TermManager& manager = s.session->manager();
  if (!manager.is_bv_type(s.sort)) return py::none();
  return py::int_(manager.get_width_from_type(s.sort));
}

py::object rule_of(const PyStep& s) {
  if (s.step.rule == 0) return py::none();
  return py::int_(s.step.rule);
}

py::object rule_name_of(const PyStep& s) {
  if (s.step.rule_name.empty()) return py::none();
  return py::str(s.step.rule_name);
}

/// Whoever uses it as a term is told what was wrong; Python itself asks objects for attributes with
/// underscores, of which there are none.
void no_attribute(const PyIncomparable& self, const std::string& name) {
  if (!name.starts_with('_')) throw SortError(self.reason);
  throw py::attribute_error(name);
}

/// Objects of these classes are found, never made from nothing.
void forbid_construction(py::handle type) {
  reinterpret_cast<PyTypeObject*>(type.ptr())->tp_new = [](PyTypeObject* t, PyObject*, PyObject*) {
    PyErr_Format(PyExc_TypeError, "objects of %s come from a Manager", t->tp_name);
    return static_cast<PyObject*>(nullptr);
  };
}

}  // namespace

void bind_derivations(py::module_& m) {
  const py::call_guard<Turn> in_turn;
  py::class_<PySort> sort(m, "Sort", "A sort.");
  sort.def("__str__", &PySort::text, in_turn)
      .def(
          "__eq__", [](const PySort& a, const PySort& b) { return a.sort.get() == b.sort.get(); },
          py::is_operator())
      .def("__hash__", [](const PySort& s) { return std::hash<const void*>()(s.sort.get()); })
      .def_property_readonly("width", py::cpp_function(width, in_turn),
                             "Bits of a bit-vector sort, else None.");
  py::class_<PyFunction> function(m, "Function", "A declared function; calling it builds a term.");
  function
      .def_property_readonly("arguments", py::cpp_function(arguments_of, in_turn),
                             "The sorts of its arguments.")
      .def_property_readonly("result", py::cpp_function(result_of, in_turn), "The sort of its values.");
  function.def("__call__", call, in_turn).def_readonly("name", &PyFunction::name, "Its name.");
  py::class_<PyStep> step(m, "Step", "One step of a simplification.");
  step.def_property_readonly("rule", rule_of, "Number of the rewrite rule, from 1; None for a simplifier.")
      .def_property_readonly("rule_name", rule_name_of, "Name of the rewrite rule; None where there is none.")
      .def_property_readonly(
          "name", [](const PyStep& s) { return s.step.name; },
          "The rule's text, or the name of the simplifier's operator.")
      .def_property_readonly(
          "before",
          [](const PyStep& s) {
            return PyTerm{s.session, s.before};
          },
          "What was replaced.")
      .def_property_readonly(
          "after",
          [](const PyStep& s) {
            return PyTerm{s.session, s.after};
          },
          "What it was replaced by.");
  py::class_<PyDerivation> derivation(m, "Derivation", "How a term is simplified.");
  derivation.def_readonly("before", &PyDerivation::before, "The term.")
      .def_readonly("after", &PyDerivation::after, "What it is simplified to.")
      .def_readonly("steps", &PyDerivation::steps, "What was done, in the order in which it was done.");
  py::class_<PyIncomparable> incomparable(m, "Incomparable",
                                          "A comparison with what no term can be equal to.");
  incomparable.def("__bool__", [](const PyIncomparable& self) { return self.truth; })
      .def("__repr__",
           [](const PyIncomparable& self) {
             return std::string(self.truth ? "True" : "False") + " (" + self.reason + ')';
           })
      .def("__getattr__", no_attribute);

  for (const char* name : {"Term", "Sort", "Function", "Step", "Derivation", "Incomparable"}) {
    forbid_construction(m.attr(name));
  }
}

}  // namespace quarv::python
