#pragma once

#include <memory>
#include <pybind11/pybind11.h>
#include <string>
#include <vector>

#include <quarv/smtlib.h>

/// What Python sees. Each object keeps the workspace alive that its term belongs to.
namespace quarv::python {

namespace py = pybind11;

using Shared = std::shared_ptr<Workspace>;

struct PySort {
  Shared workspace;
  const DataType* sort;

  std::string text() const { return sort->to_string(std::string::npos - 1); }
};

struct PyTerm {
  Shared workspace;
  const Term* term;

  TermManager& manager() const { return workspace->manager(); }
  const DataType* sort() const { return manager().type_of(term); }
  PyTerm with(const Term* t) const { return {workspace, t}; }
};

struct PyManager {
  Shared workspace;

  PyTerm term(const Term* t) const { return {workspace, t}; }
};

/// A declared function.
struct PyFunction {
  Shared workspace;
  std::string name;
  const Symbol* symbol;
};

struct PyStep {
  Shared workspace;
  Step step;
};

/// A term, what it was simplified to, and how.
struct PyDerivation {
  PyTerm before;
  PyTerm after;
  std::vector<PyStep> steps;
};

/// The term that a Python value means where a term of sort `wanted` is expected: a term stays itself, `True`
/// and `False` are formulas, integers, fractions and floats are constants of that sort.
PyTerm as_term(const Shared& workspace, py::handle value, const DataType* wanted);

/// Whether `as_term` may take the value at all.
bool is_operand(py::handle value);

/// Applies an operator to terms and Python values, which take the sort of the terms beside them.
PyTerm make(const Shared& workspace, const std::string& op, const py::args& args);

/// What a constant stands for in Python; None for other terms.
py::object value_of(const PyTerm& t);

/// Binds the class Term.
void bind_terms(py::module_& m);

}  // namespace quarv::python
