#include <pybind11/stl.h>
#include <sstream>
#include <utility>

#include "terms.h"

namespace quarv::python {

namespace {

/// A sort, or the SMT-LIB text of one.
const DataType* sort_of(const Shared& workspace, const py::object& sort) {
  if (py::isinstance<py::str>(sort)) return workspace->sort(sort.cast<std::string>());
  const auto& given = sort.cast<const PySort&>();
  if (given.workspace != workspace) throw std::invalid_argument("the sort belongs to a different manager");
  return given.sort;
}

std::vector<const Term*> plain(const Shared& workspace, const std::vector<PyTerm>& terms) {
  std::vector<const Term*> result;
  result.reserve(terms.size());
  for (const PyTerm& t : terms) {
    if (t.workspace != workspace) throw std::invalid_argument("the terms belong to different managers");
    result.push_back(t.term);
  }
  return result;
}

PyFunction declare(const PyManager& m, const std::string& name, const std::vector<py::object>& arguments,
                   const py::object& result) {
  std::vector<const DataType*> sorts;
  sorts.reserve(arguments.size());
  for (const py::object& s : arguments) sorts.push_back(sort_of(m.workspace, s));
  if (sorts.empty()) throw std::invalid_argument("a function has arguments; without, it is a constant");
  return {m.workspace, name, m.workspace->function(name, sorts, sort_of(m.workspace, result))};
}

PyTerm call(const PyFunction& f, const py::args& args) {
  TermManager& m = f.workspace->manager();
  std::vector<const Term*> terms;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const DataType* sort = i < m.arity(f.symbol) ? m.argument_type(f.symbol, i) : nullptr;
    terms.push_back(as_term(f.workspace, args[i], sort).term);
  }
  return {f.workspace, f.workspace->make(f.name, terms)};
}

std::vector<PyTerm> parse(const PyManager& m, const std::string& text, const std::string& name) {
  std::vector<PyTerm> result;
  for (const Term* t : m.workspace->parse(text, name)) result.push_back(m.term(t));
  return result;
}

std::string simplify_smt2(const std::string& text, const std::string& name, bool rules, bool standard) {
  smtlib::SimplifyOptions options;
  options.rules = rules;
  options.standard = standard;
  std::ostringstream out;
  smtlib::simplify_script(text, name, out, options);
  return std::move(out).str();
}

void bind_manager(py::module_& m) {
  py::class_<PyManager>(m, "Manager", "Holds terms, simplifiers and rules.")
      .def(py::init([](bool eager, bool standard, bool rules) {
             WorkspaceOptions options{eager, standard, rules};
             return PyManager{std::make_shared<Workspace>(options)};
           }),
           py::kw_only(), py::arg("eager") = false, py::arg("standard") = false, py::arg("rules") = true)
      .def(
          "sort",
          [](const PyManager& self, const std::string& text) {
            return PySort{self.workspace, self.workspace->sort(text)};
          },
          py::arg("text"))
      .def(
          "declare_sort",
          [](const PyManager& self, const std::string& name, std::size_t num_parameters) {
            return PySort{self.workspace, self.workspace->declare_sort(name, num_parameters)};
          },
          py::arg("name"), py::arg("num_parameters") = 0)
      .def(
          "constant",
          [](const PyManager& self, const std::string& name, const py::object& sort) {
            return self.term(self.workspace->constant(name, sort_of(self.workspace, sort)));
          },
          py::arg("name"), py::arg("sort"))
      .def("function", declare, py::arg("name"), py::arg("arguments"), py::arg("result"))
      .def(
          "value",
          [](const PyManager& self, const py::object& value, const py::object& sort) {
            return as_term(self.workspace, value, sort_of(self.workspace, sort));
          },
          py::arg("value"), py::arg("sort"))
      .def(
          "term",
          [](const PyManager& self, const std::string& text) {
            return self.term(self.workspace->term(text));
          },
          py::arg("text"))
      .def(
          "make",
          [](const PyManager& self, const std::string& op, const py::args& args) {
            return make(self.workspace, op, args);
          },
          py::arg("op"))
      .def("parse_smt2", parse, py::arg("text"), py::arg("name") = "<string>")
      .def(
          "to_smt2",
          [](const PyManager& self, const std::vector<PyTerm>& terms) {
            return self.workspace->script(plain(self.workspace, terms));
          },
          py::arg("assertions"))
      .def(
          "num_nodes",
          [](const PyManager& self, const std::vector<PyTerm>& terms) {
            return self.workspace->num_nodes(plain(self.workspace, terms));
          },
          py::arg("terms"))
      .def(
          "add_rules",
          [](const PyManager& self, const std::string& text, const std::string& name) {
            self.workspace->add_rules(text, name);
          },
          py::arg("text"), py::arg("name") = "<string>")
      .def_property_readonly("num_terms",
                             [](const PyManager& self) { return self.workspace->manager().num_terms(); });
}

void bind_rest(py::module_& m) {
  py::class_<PySort>(m, "Sort", "A sort.")
      .def("__str__", &PySort::text)
      .def(
          "__eq__", [](const PySort& a, const PySort& b) { return a.sort == b.sort; }, py::is_operator())
      .def("__hash__", [](const PySort& s) { return std::hash<const void*>()(s.sort); })
      .def_property_readonly(
          "width",
          [](const PySort& s) -> py::object {
            TermManager& manager = s.workspace->manager();
            if (!manager.is_bv_type(s.sort)) return py::none();
            return py::int_(manager.get_width_from_type(s.sort));
          },
          "Bits of a bit-vector sort, else None.");
  py::class_<PyFunction>(m, "Function", "A declared function; calling it builds a term.")
      .def("__call__", call)
      .def_readonly("name", &PyFunction::name);
  py::class_<PyStep>(m, "Step", "One step of a simplification.")
      .def_property_readonly(
          "rule",
          [](const PyStep& s) -> py::object {
            if (s.step.rule == 0) return py::none();
            return py::int_(s.step.rule);
          },
          "Number of the rewrite rule, from 1; None for a simplifier.")
      .def_property_readonly(
          "name", [](const PyStep& s) { return s.step.name; },
          "The rule's text, or the name of the simplifier's operator.")
      .def_property_readonly("before",
                             [](const PyStep& s) {
                               return PyTerm{s.workspace, s.step.before};
                             })
      .def_property_readonly("after", [](const PyStep& s) {
        return PyTerm{s.workspace, s.step.after};
      });
  py::class_<PyDerivation>(m, "Derivation", "How a term is simplified.")
      .def_readonly("before", &PyDerivation::before)
      .def_readonly("after", &PyDerivation::after)
      .def_readonly("steps", &PyDerivation::steps);
}

/// Every failure is a quarv.Error with a message of one line.
void bind_errors(py::module_& m) {
  static const py::exception<std::invalid_argument> error(m, "Error", PyExc_ValueError);
  static const py::exception<SortError> sort_error(m, "SortError", error.ptr());
  static const py::exception<smtlib::Error> parse_error(m, "ParseError", error.ptr());
  py::register_exception_translator([](std::exception_ptr thrown) {
    try {
      std::rethrow_exception(std::move(thrown));
    } catch (const smtlib::Error& e) {
      PyErr_SetString(parse_error.ptr(), e.what());
    } catch (const SortError& e) {
      PyErr_SetString(sort_error.ptr(), e.what());
    } catch (const std::invalid_argument& e) {
      PyErr_SetString(error.ptr(), e.what());
    }
  });
}

}  // namespace

PYBIND11_MODULE(_quarv, m) {
  bind_errors(m);
  bind_terms(m);
  bind_rest(m);
  bind_manager(m);
  m.attr("__version__") = QUARV_VERSION;
  m.def("simplify_smt2", simplify_smt2, py::arg("text"), py::arg("name") = "<string>", py::kw_only(),
        py::arg("rules") = true, py::arg("standard") = false);
  m.def(
      "make",
      [](const std::string& op, const py::args& args) {
        for (py::handle a : args) {
          if (py::isinstance<PyTerm>(a)) return make(a.cast<const PyTerm&>().workspace, op, args);
        }
        throw py::type_error(op + ": no argument is a term");
      },
      py::arg("op"));
}

}  // namespace quarv::python
