#include <pybind11/stl.h>

#include "terms.h"
#include <quarv/term/walk.h>

namespace quarv::python {

namespace {

PyTerm substitute(const PyTerm& self, const py::dict& replacements) {
  Substitution substitution(self.manager());
  for (const auto& [what, by] : replacements) {
    const PyTerm key = as_term(self.session, what, nullptr);
    substitution.set(key.term, as_term(self.session, by, key.sort()).term);
  }
  const Term* t = self.term;
  return self.with(at_length([&] { return self.session->substitute(t, substitution); }));
}

PyTerm evaluate(const PyTerm& self, const py::dict& model, bool complete) {
  Model values(self.manager());
  for (const auto& [what, by] : model) {
    const PyTerm key = as_term(self.session, what, nullptr);
    values.set(key.term, as_term(self.session, by, key.sort()).term);
  }
  if (complete) values.complete();
  const Term* t = self.term;
  return self.with(at_length([&] { return self.session->evaluate(t, values); }));
}

std::vector<PyTerm> subterms(const PyTerm& self) {
  std::vector<PyTerm> result;
  visit_post_order(self.manager(), self.term, [&](const Term* t) { result.push_back(self.with(t)); });
  return result;
}

std::vector<PyTerm> constants(const PyTerm& self) {
  std::vector<PyTerm> result;
  for (const Term* c : free_constants(self.manager(), self.term)) result.push_back(self.with(c));
  return result;
}

bool contains(const PyTerm& self, const PyTerm& part) {
  if (part.session != self.session) return false;
  const Term* wanted = part.term;
  bool found = false;
  visit_post_order(self.manager(), self.term, [&](const Term* t) { found |= t == wanted; });
  return found;
}

}  // namespace

void bind_walks(py::class_<PyTerm>& type) {
  const py::call_guard<Turn> in_turn;
  type.def(
          "substitute", substitute, py::arg("replacements"), in_turn,
          "The term with all replacements made at the same time: a dictionary from terms to terms or values.")
      .def("evaluate", evaluate, py::arg("model"), py::kw_only(), py::arg("complete") = false, in_turn,
           "The term's value where constants have these values; where that does not determine it, a simpler\n"
           "term. With `complete`, other constants are false, zero, and the like.")
      .def("subterms", subterms, in_turn,
           "All distinct sub-terms, this one included, each after its arguments.")
      .def("constants", constants, in_turn, "The declared constants that occur, oldest first.")
      .def("__contains__", contains, in_turn);
  type.def_property_readonly(
      "depth", py::cpp_function([](const PyTerm& t) { return depth(t.manager(), t.term); }, in_turn),
      "Number of terms on the longest way down: 1 for a constant.");
}

}  // namespace quarv::python
