#include <pybind11/stl.h>

#include "module.h"

namespace quarv::python {

namespace {

PyManager new_manager(bool eager, bool extended, bool library_semantics, bool rules, bool standard) {
  SessionOptions options;
  options.eager = eager;
  options.extended = extended;
  options.library_semantics = library_semantics || standard;
  options.rules = rules;
  return PyManager(Shared(new PySession(options), [](PySession* session) {
    const LastTurn turn;
    delete session;
  }));
}

/// A sort, or the SMT-LIB text of one.
const DataType* sort_of(const Shared& session, py::handle sort) {
  if (py::isinstance<py::str>(sort)) return session->reader.sort(sort.cast<std::string>());
  if (!py::isinstance<PySort>(sort)) {
    throw py::type_error("a sort is given as a Sort or as its text, not as " +
                         std::string(py::str(py::type::handle_of(sort).attr("__name__"))));
  }
  const auto& given = sort.cast<const PySort&>();
  if (given.session != session) throw std::invalid_argument("the sort belongs to a different manager");
  return given.sort;
}

std::vector<const Term*> pointers_of(const Shared& session, const py::iterable& terms) {
  std::vector<const Term*> result;
  for (const py::handle t : terms) {
    if (!is_operand(t)) {
      throw py::type_error("a term is expected, not " +
                           std::string(py::str(py::type::handle_of(t).attr("__name__"))));
    }
    result.push_back(as_term(session, t, nullptr).term);
  }
  return result;
}

PySort sort(const PyManager& self, const std::string& text) {
  return {self.session(), self.session()->reader.sort(text)};
}

PySort declare_sort(const PyManager& self, const std::string& name, std::size_t num_parameters) {
  return {self.session(), self.session()->reader.declare_sort(name, num_parameters)};
}

PyTerm constant(const PyManager& self, const std::string& name, const py::object& sort) {
  const DataType* of = sort_of(self.session(), sort);
  return self.term(self.session()->reader.constant(name, of));
}

PyFunction function(const PyManager& self, const std::string& name, const std::vector<py::object>& arguments,
                    const py::object& result) {
  std::vector<const DataType*> sorts;
  sorts.reserve(arguments.size());
  for (const py::object& s : arguments) sorts.push_back(sort_of(self.session(), s));
  if (sorts.empty())
    throw std::invalid_argument("a function needs at least one argument; without arguments it is a constant");
  const DataType* to = sort_of(self.session(), result);
  return {self.session(), name, self.session()->reader.declare_function(name, sorts, to)};
}

PyTerm value(const PyManager& self, const py::object& value, const py::object& sort) {
  const DataType* wanted = sort_of(self.session(), sort);
  const PyTerm t = as_term(self.session(), value, wanted);
  TermManager& m = t.manager();
  const bool whole_real = wanted == m.rat_type && t.sort() == m.int_type;
  if (t.sort() != wanted && !whole_real) {
    throw SortError(smtlib::term_text(t.session->manager(), t.term) + " is not a constant of sort " +
                    wanted->abbreviated());
  }
  return t;
}

PyTerm term(const PyManager& self, const std::string& text) {
  return self.term(at_length([&] { return self.session()->reader.term(text); }));
}

PyTerm make_term(const PyManager& self, const std::string& op, const py::args& args) {
  return make(self.session(), op, args);
}

std::vector<PyTerm> parse_smt2(const PyManager& self, const std::string& text, const std::string& name) {
  std::vector<PyTerm> result;
  for (const Term* t : at_length([&] { return smtlib::read_assertions(*self.session(), text, name); })) {
    result.push_back(self.term(t));
  }
  return result;
}

std::string to_smt2(const PyManager& self, const py::iterable& assertions, bool smallest) {
  const std::vector<const Term*> terms = pointers_of(self.session(), assertions);
  const TermManager& m = self.session()->manager();
  return at_length(
      [&] { return smallest ? smtlib::smallest_text(m, terms) : smtlib::script_text(m, terms); });
}

std::size_t num_nodes(const PyManager& self, const py::iterable& terms) {
  const std::vector<const Term*> roots = pointers_of(self.session(), terms);
  return at_length([&] { return dag_size(self.session()->manager(), roots); });
}

void add_rules(const PyManager& self, const std::string& text, const std::string& name) {
  self.session()->add_rules({name, text});
}

}  // namespace

void bind_manager(py::module_& m) {
  const py::call_guard<Turn> in_turn;
  py::class_<PyManager>(m, "Manager", "Holds terms, simplifiers and rules.")
      .def(
          py::init(&new_manager), py::kw_only(), py::arg("eager") = false, py::arg("extended") = true,
          py::arg("library_semantics") = false, py::arg("rules") = true, py::arg("standard") = false, in_turn,
          "`eager` simplifies each term when it is built; without `extended`, only the standard simplifiers\n"
          "and rules are used; `library_semantics`, formerly `standard`, does also what does not hold by "
          "the\n"
          "SMT-LIB standard; without `rules`, `simplify` applies the simplifiers alone.")
      .def(
          "__eq__", [](const PyManager& a, const PyManager& b) { return a.session() == b.session(); },
          py::is_operator())
      .def("__hash__", [](const PyManager& self) { return std::hash<const void*>()(self.session().get()); })
      .def("sort", sort, py::arg("text"), in_turn, "The sort that an SMT-LIB text denotes.")
      .def("declare_sort", declare_sort, py::arg("name"), py::arg("num_parameters") = 0, in_turn,
           "An uninterpreted sort; the same name gives the same sort.")
      .def("constant", constant, py::arg("name"), py::arg("sort"), in_turn,
           "The declared constant of that name; `sort` is a Sort or its text.")
      .def("function", function, py::arg("name"), py::arg("arguments"), py::arg("result"), in_turn,
           "The declared function of that name, from sorts to a sort.")
      .def("value", value, py::arg("value"), py::arg("sort"), in_turn,
           "The constant of that sort which a Python value means.")
      .def("term", term, py::arg("text"), in_turn,
           "The term that an SMT-LIB text denotes; declared names may occur in it.")
      .def("make", make_term, py::arg("op"), in_turn,
           "Applies an operator by its SMT-LIB name, indices included, to terms and Python values.")
      .def("parse_smt2", parse_smt2, py::arg("text"), py::arg("name") = "<string>", in_turn,
           "The assertions of an SMT-LIB script that are in force at its end. `name` is for messages.")
      .def("to_smt2", to_smt2, py::arg("assertions"), py::kw_only(), py::arg("smallest") = false, in_turn,
           "A script that declares what occurs in the formulas and asserts them; the `smallest` one that "
           "says\n"
           "the same.")
      .def("num_nodes", num_nodes, py::arg("terms"), in_turn,
           "Number of distinct sub-terms, the terms themselves included.")
      .def("add_rules", add_rules, py::arg("text"), py::arg("name") = "<string>", in_turn,
           "Rewrite rules of your own, tried after those there are. `name` is for messages.")
      .def_property_readonly(
          "num_terms",
          py::cpp_function([](const PyManager& self) { return self.session()->manager().num_terms(); },
                           in_turn),
          "How many terms there are.");
}

}  // namespace quarv::python
