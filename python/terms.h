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

class PyManager;

/// A session, and the reader that knows what is declared in it.
struct PySession : Session, std::enable_shared_from_this<PySession> {
  using Session::Session;
  smtlib::Reader reader{*this, {.names = smtlib::Reader::Options::Names::session, .normalize = false}};

  struct PyMark {
    std::uint64_t number;
    smtlib::Reader::Mark mark;
    std::shared_ptr<bool> in_force;
  };
  std::vector<PyMark> marks;  // those in force
  std::uint64_t num_marks = 0;
  bool is_busy = false;  // a function of Python is called in the midst of simplifying
  std::unique_ptr<SimplificationObserver> observer;
  PyManager* shown = nullptr;  // what Python has of it, while it has it
};

using Shared = std::shared_ptr<PySession>;

/// An object that Python has was released.
class Released : public std::invalid_argument {
 public:
  Released() : std::invalid_argument("it has been released with its manager's mark") {}
};

/// A term that Python has: whoever uses it after it was released is told so.
class HeldTerm {
 public:
  HeldTerm(const PySession& session, const Term* t)
      : manager_(&session.manager()), term_(t), id_(t->id), num_releases_(manager_->num_releases()) {}

  const Term* get() const {
    if (manager_->num_releases() != num_releases_ && id_ >= manager_->num_kept_since(num_releases_)) {
      throw Released();
    }
    return term_;
  }
  operator const Term*() const { return get(); }
  const Term* operator->() const { return get(); }
  /// For comparing alone.
  std::uint64_t id() const noexcept { return id_; }

 private:
  const TermManager* manager_;
  const Term* term_;
  std::uint64_t id_;
  std::uint64_t num_releases_;
};

/// A sort or a symbol that Python has: it was there when the mark was set that is the last one in force, or
/// it may be gone when that one is.
template <class T>
class Held {
 public:
  Held(const PySession& session, const T* object)
      : object_(object), mark_(session.marks.empty() ? nullptr : session.marks.back().in_force) {}

  const T* get() const {
    if (mark_ != nullptr && !*mark_) throw Released();
    return object_;
  }
  operator const T*() const { return get(); }
  const T* operator->() const { return get(); }

 private:
  const T* object_;
  std::shared_ptr<const bool> mark_;
};

struct PySort {
  PySort(Shared of, const DataType* s) : session(std::move(of)), sort(*session, s) {}

  Shared session;
  Held<DataType> sort;

  std::string text() const { return sort->to_string(); }
};

struct PyTerm {
  PyTerm(Shared of, const Term* t) : session(std::move(of)), term(*session, t) {}

  Shared session;
  HeldTerm term;

  TermManager& manager() const { return session->manager(); }
  const DataType* sort() const { return manager().type_of(term); }
  PyTerm with(const Term* t) const { return {session, t}; }
};

class PyManager {
 public:
  explicit PyManager(Shared session) : session_(std::move(session)) { session_->shown = this; }
  PyManager(const PyManager&) = delete;
  PyManager& operator=(const PyManager&) = delete;
  ~PyManager() {
    if (session_ != nullptr) session_->shown = nullptr;
  }
  /// The one of a session, whose object Python may have already: a new one, where it does not.
  static PyManager* of(const Shared& session) {
    return session->shown != nullptr ? session->shown : new PyManager(session);
  }

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
  PyFunction(Shared of, std::string n, const Symbol* s)
      : session(std::move(of)), name(std::move(n)), symbol(*session, s) {}

  Shared session;
  std::string name;
  Held<Symbol> symbol;
};

struct PyStep {
  PyStep(Shared of, Step s)
      : session(std::move(of)),
        step(std::move(s)),
        before(*session, step.before),
        after(*session, step.after) {}

  Shared session;
  Step step;
  HeldTerm before;
  HeldTerm after;
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

/// Adds to it what looks at terms as a whole: substitution, values, walks, copies.
void bind_walks(py::class_<PyTerm>& type);

/// Terms of a Python iterable.
std::vector<const Term*> pointers_of(const Shared& session, const py::iterable& terms);

}  // namespace quarv::python
