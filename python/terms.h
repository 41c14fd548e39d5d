#pragma once

#include <cstring>
#include <memory>
#include <new>
#include <pybind11/pybind11.h>
#include <stdexcept>
#include <string>
#include <vector>

#include "turn.h"
#include <quarv/smtlib.h>

/// What Python sees. Each object keeps the session alive that its term belongs to.
namespace quarv::python {

/// A session, and the reader that knows what is declared in it.
struct PySession : Session {
  using Session::Session;
  smtlib::Reader reader{*this, {.names = smtlib::Reader::Options::Names::session, .normalize = false}};
};

using Shared = std::shared_ptr<PySession>;

struct PySort {
  Shared session;
  const DataType* sort;

  std::string text() const { return sort->to_string(); }
};

struct PyTerm {
  Shared session;
  const Term* term;

  TermManager& manager() const { return session->manager(); }
  const DataType* sort() const { return manager().type_of(term); }
  PyTerm with(const Term* t) const { return {session, t}; }
};

class PyManager {
 public:
  explicit PyManager(Shared session) : session_(std::move(session)) {}

  /// \throws std::invalid_argument for an object that was made without its `__init__`
  const Shared& session() const {
    if (session_ == nullptr) throw std::invalid_argument("Manager.__init__ has not been called");
    return session_;
  }
  PyTerm term(const Term* t) const { return {session(), t}; }

  /// Of zeros, since pybind11 takes such memory for the object where `__init__` was not called: a null
  /// pointer.
  static void* operator new(std::size_t size) { return std::memset(::operator new(size), 0, size); }
  static void* operator new(std::size_t, void* place) noexcept { return place; }
  static void operator delete(void* p) { ::operator delete(p); }

 private:
  Shared session_;
};

/// What `==` and `!=` make of a term and something that no term can be equal to. As a truth value it is what
/// it seems; where a term is expected, it is the error that it was made for.
struct PyIncomparable {
  std::string reason;
  bool truth;
};

/// A declared function.
struct PyFunction {
  Shared session;
  std::string name;
  const Symbol* symbol;
};

struct PyStep {
  Shared session;
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
PyTerm as_term(const Shared& session, py::handle value, const DataType* wanted);

/// The integer that a Python integer is, however long.
QNumber integer_of(py::handle value);

/// How Python writes a value, cut short, for messages.
std::string shown(py::handle value);

/// Whether `as_term` may take the value at all.
bool is_operand(py::handle value);

/// Applies an operator to terms and Python values, which take the sort of the terms beside them.
PyTerm make(const Shared& session, const std::string& op, const py::args& args);

/// What a constant stands for in Python; None for other terms.
py::object value_of(const PyTerm& t);

/// An index of a part that a term does not have.
class BoundsError : public std::out_of_range {
 public:
  using std::out_of_range::out_of_range;
};

/// `x[high:low]`, `x[i]` and `a[i]`.
PyTerm item(const PyTerm& self, const py::object& key);

/// The bits of a bit-vector one by one, beginning with bit 0.
py::iterator bits(const PyTerm& self);

/// The width of a bit-vector.
std::size_t num_bits(const PyTerm& self);

/// Binds the class Term.
void bind_terms(py::module_& m);

}  // namespace quarv::python
