#include <optional>
#include <pybind11/stl.h>
#include <utility>

#include "module.h"
#include <quarv/session/named_operator.h>
#include <quarv/term/translation.h>

namespace quarv::python {

namespace {

std::unique_ptr<PyManager> new_manager(bool eager, bool extended, bool library_semantics, bool rules,
                                       bool standard) {
  SessionOptions options;
  options.eager = eager;
  options.extended = extended;
  options.library_semantics = library_semantics || standard;
  options.rules = rules;
  return std::make_unique<PyManager>(Shared(new PySession(options), [](PySession* session) {
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

}  // namespace

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

namespace {

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

// Levels and memory.

void push(const PyManager& self, std::size_t levels) {
  self.session()->push(levels);
}

void pop(const PyManager& self, std::size_t levels) {
  PySession& s = *self.session();
  if (s.is_busy) throw std::invalid_argument("a simplification or an observer must not close levels");
  s.pop(levels);
}

std::uint64_t mark(const PyManager& self) {
  PySession& s = *self.session();
  s.marks.push_back({s.num_marks + 1, {}, std::make_shared<bool>(true)});
  try {
    s.marks.back().mark = s.reader.mark();
  } catch (...) {
    s.marks.pop_back();
    throw;
  }
  return ++s.num_marks;
}

void release(const PyManager& self, std::uint64_t mark) {
  PySession& s = *self.session();
  if (s.is_busy) throw std::invalid_argument("a simplification or an observer must not release anything");
  std::size_t i = s.marks.size();
  while (i > 0 && s.marks[i - 1].number > mark) --i;
  if (i == 0 || s.marks[i - 1].number != mark) {
    throw std::invalid_argument("the mark is not in force: it, or an earlier one, has been released");
  }
  s.reader.release(s.marks[i - 1].mark);
  for (; s.marks.size() >= i; s.marks.pop_back()) *s.marks.back().in_force = false;
}

py::dict memory(const PyManager& self) {
  const TermMemory m = self.session()->manager().memory();
  py::dict result;
  result["terms"] = m.terms;
  result["symbols"] = m.symbols;
  result["tables"] = m.tables;
  result["numbers"] = m.numbers;
  return result;
}

void limit_memory(const PyManager& self, std::optional<std::size_t> bytes) {
  self.session()->manager().set_memory_limit(bytes.value_or(MemoryAccount::no_limit));
}

// What is called in Python while terms are simplified.

/// Terms must stay where they are meanwhile.
class Busy {
 public:
  explicit Busy(PySession& s) : session_(s), before_(std::exchange(s.is_busy, true)) {}
  ~Busy() { session_.is_busy = before_; }
  Busy(const Busy&) = delete;
  Busy& operator=(const Busy&) = delete;

 private:
  PySession& session_;
  bool before_;
};

/// A function of Python that is destroyed, and called, where Python's lock is held.
std::shared_ptr<py::object> kept(const py::object& function) {
  return {new py::object(function), [](py::object* f) {
            const py::gil_scoped_acquire python;
            delete f;
          }};
}

const Term* simplified_in_python(const std::weak_ptr<PySession>& owner, const py::object& function,
                                 const Symbol* symbol, std::span<const Term* const> args) {
  const py::gil_scoped_acquire python;
  const Shared session = owner.lock();
  const Busy busy(*session);
  py::tuple terms(args.size());
  for (std::size_t i = 0; i < args.size(); ++i) terms[i] = py::cast(PyTerm{session, args[i]});
  const py::object result = function(*terms);
  if (result.is_none()) return nullptr;
  return as_term(session, result, symbol->get_output_type()).term;
}

void add_simplification(const PyManager& self, const py::object& what, const py::object& function,
                        bool after) {
  if (!PyCallable_Check(function.ptr())) throw py::type_error("a simplification is a function");
  const Shared& session = self.session();
  const auto when = after ? OwnSimplifications::When::after : OwnSimplifications::When::before;
  const auto f = [owner = std::weak_ptr(session), function = kept(function)](
                     TermManager&, const Symbol* symbol, std::span<const Term* const> args) {
    return simplified_in_python(owner, *function, symbol, args);
  };
  if (py::isinstance<PyFunction>(what)) {
    const auto& declared = what.cast<const PyFunction&>();
    if (declared.session != session)
      throw std::invalid_argument("the function belongs to a different manager");
    return session->add_simplification(declared.symbol.get(), f, when);
  }
  session->add_simplification(operator_named(what.cast<std::string>()).tag, f, when);
}

/// Tells a function of Python of each step, as it is done.
class PyObserver : public SimplificationObserver {
 public:
  PyObserver(PySession& session, std::shared_ptr<py::object> function)
      : session_(session), function_(std::move(function)) {}

  void on_rule(std::size_t rule, const Term* before, const Term* after) override {
    TermNormalizer::norm_fun& r = session_.simplifier().normalizer.get_rule(rule);
    const std::string name(r.get_name());
    const py::gil_scoped_acquire python;
    tell(name.empty() ? std::to_string(rule + 1) : name, py::cast(held(before)), after);
  }
  void on_simplification(const Symbol* op, TermManager::Args args, const Term* after) override {
    // Its arguments alone: making the term would change what is simplified next.
    const py::gil_scoped_acquire python;
    py::tuple terms(args.size());
    for (std::size_t i = 0; i < args.size(); ++i) terms[i] = py::cast(held(args[i]));
    tell(to_string(op), terms, after);
  }

 private:
  PyTerm held(const Term* t) const { return {session_.shared_from_this(), t}; }
  void tell(const std::string& by, const py::object& before, const Term* after) {
    const Busy busy(session_);
    (*function_)(by, before, held(after));
  }

  PySession& session_;
  std::shared_ptr<py::object> function_;
};

void observe(const PyManager& self, const py::object& function) {
  PySession& s = *self.session();
  if (!function.is_none() && !PyCallable_Check(function.ptr()))
    throw py::type_error("an observer is a function");
  s.simplifier().set_observer(nullptr);
  s.observer.reset();
  if (function.is_none()) return;
  s.observer = std::make_unique<PyObserver>(s, kept(function));
  s.simplifier().set_observer(s.observer.get());
}

PyTerm copy(const PyManager& self, const PyTerm& t) {
  const Term* from = t.term;
  const Shared& to = self.session();
  if (t.session == to) return t;
  return self.term(at_length([&] { return smtlib::translate(t.session->manager(), from, *to); }));
}

}  // namespace

void bind_manager(py::module_& m) {
  const py::call_guard<Turn> in_turn;
  py::class_<PyManager> type(m, "Manager", "Holds terms, simplifiers and rules.");
  type.def(
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
      .def("push", push, py::arg("levels") = 1, in_turn,
           "Opens levels. What is declared from now on is forgotten when they are closed; terms stay.")
      .def("pop", pop, py::arg("levels") = 1, in_turn, "Closes levels.")
      .def("mark", mark, in_turn, "Remembers what there is; a number for `release`. See also `scope`.")
      .def("release", release, py::arg("mark"), in_turn,
           "Gives back all terms, sorts and declarations made since the mark, in time proportional to them.\n"
           "What Python still has of them can be used no more: that is an Error.")
      .def("memory", memory, in_turn, "What is allocated, in bytes, by what it is for.")
      .def("limit_memory", limit_memory, py::arg("bytes").none(true), in_turn,
           "Limits what is allocated, in bytes; None lifts the limit. What needs more is a MemoryError.")
      .def("add_simplification", add_simplification, py::arg("what"), py::arg("function"), py::kw_only(),
           py::arg("after") = false, in_turn,
           "A simplification of your own, for an operator of SMT-LIB or a Function: called with the\n"
           "simplified arguments, it returns an equal term, or None. It is tried before the standard ones, "
           "or\n"
           "after them.")
      .def(
          "observe", observe, py::arg("observer").none(true), in_turn,
          "Has a function called for each step of simplification: with the rule's name, the term before and\n"
          "the term after; or with the operator, a tuple of its arguments, and the term after. None ends\n"
          "that.")
      .def("copy", copy, py::arg("term"), in_turn,
           "The term of another manager in this one, with functions and sorts of the same names.")
      .def_property_readonly(
          "num_levels", [](const PyManager& self) { return self.session()->num_levels(); },
          "How many levels are open.")
      .def_property_readonly(
          "options",
          [](const PyManager& self) {
            const SessionOptions& o = self.session()->options();
            py::dict result;
            result["eager"] = o.eager;
            result["extended"] = o.extended;
            result["library_semantics"] = o.library_semantics;
            result["rules"] = o.rules;
            return result;
          },
          "The arguments that it was made with.")
      .def_property_readonly(
          "num_terms",
          py::cpp_function([](const PyManager& self) { return self.session()->manager().num_terms(); },
                           in_turn),
          "How many terms there are.");
  bind_z3_reader(type);
}

}  // namespace quarv::python
