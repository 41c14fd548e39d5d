#include "module.h"

namespace quarv::python {

namespace {

/// An infix operator of Python, by the sort of its left operand. Where bit-vectors have a signed and an
/// unsigned operation, Python's operator means neither.
struct Infix {
  const char* method;
  const char* reflected;  // null when Python has none
  const char* boolean;
  const char* arithmetic;
  const char* bit_vector;
  const char* floating_point;
  const char* ambiguous;  // what to use for bit-vectors instead
};

constexpr Infix infix_operators[] = {
    {"__add__", "__radd__", nullptr, "+", "bvadd", "fp.add", nullptr},
    {"__sub__", "__rsub__", nullptr, "-", "bvsub", "fp.sub", nullptr},
    {"__mul__", "__rmul__", nullptr, "*", "bvmul", "fp.mul", nullptr},
    {"__truediv__", "__rtruediv__", nullptr, "/", nullptr, "fp.div", "udiv or sdiv"},
    {"__floordiv__", "__rfloordiv__", nullptr, "div", nullptr, nullptr, "udiv or sdiv"},
    {"__mod__", "__rmod__", nullptr, "mod", nullptr, nullptr, "urem, srem or smod"},
    {"__and__", "__rand__", "and", nullptr, "bvand", nullptr, nullptr},
    {"__or__", "__ror__", "or", nullptr, "bvor", nullptr, nullptr},
    {"__xor__", "__rxor__", "xor", nullptr, "bvxor", nullptr, nullptr},
    {"__lshift__", "__rlshift__", nullptr, nullptr, "bvshl", nullptr, nullptr},
    {"__rshift__", "__rrshift__", nullptr, nullptr, nullptr, nullptr, "lshr or ashr"},
    {"__lt__", nullptr, nullptr, "<", nullptr, "fp.lt", "ult or slt"},
    {"__le__", nullptr, nullptr, "<=", nullptr, "fp.leq", "ule or sle"},
    {"__gt__", nullptr, nullptr, ">", nullptr, "fp.gt", "ugt or sgt"},
    {"__ge__", nullptr, nullptr, ">=", nullptr, "fp.geq", "uge or sge"},
};

bool rounds(const std::string& op) {
  return op == "fp.add" || op == "fp.sub" || op == "fp.mul" || op == "fp.div";
}

PyTerm apply(const PyTerm& self, const char* op, const Term* a, const Term* b) {
  if (rounds(op)) {
    const Term* args[] = {self.manager().make_rounding_even(), a, b};
    return self.with(self.session->reader.make(op, args));
  }
  const Term* args[] = {a, b};
  return self.with(self.session->reader.make(op, args));
}

/// The name of the operation on the operand's sort. \throws py::type_error when there is none
const char* operation(const PyTerm& self, const Infix& infix) {
  TermManager& m = self.manager();
  const DataType* sort = self.sort();
  const char* op = sort == m.bool_type          ? infix.boolean
                   : m.is_arithmetic_type(sort) ? infix.arithmetic
                   : m.is_bv_type(sort)         ? infix.bit_vector
                   : m.is_fp_type(sort)         ? infix.floating_point
                                                : nullptr;
  if (op != nullptr) return op;
  std::string message = std::string(infix.method) + " means nothing for terms of sort " + sort->abbreviated();
  if (m.is_bv_type(sort) && infix.ambiguous != nullptr) message += std::string(": use ") + infix.ambiguous;
  throw py::type_error(message);
}

enum class Order : bool { given, reflected };

/// What Python's operator means; `NotImplemented` for values that cannot be operands.
py::object infix_term(const PyTerm& self, const Infix& infix, py::handle other, Order order) {
  if (!is_operand(other)) return py::reinterpret_borrow<py::object>(Py_NotImplemented);
  const char* op = operation(self, infix);
  const Term* operand = as_term(self.session, other, self.sort()).term;
  return py::cast(order == Order::given ? apply(self, op, self.term, operand)
                                        : apply(self, op, operand, self.term));
}

void bind_infix(py::class_<PyTerm>& type) {
  for (const Infix& infix : infix_operators) {
    type.def(
        infix.method,
        [&infix](const PyTerm& self, py::handle other) {
          return infix_term(self, infix, other, Order::given);
        },
        py::call_guard<Turn>());
    if (infix.reflected == nullptr) continue;
    type.def(
        infix.reflected,
        [&infix](const PyTerm& self, py::handle other) {
          return infix_term(self, infix, other, Order::reflected);
        },
        py::call_guard<Turn>());
  }
}

PyTerm unary(const PyTerm& self, const char* method, const char* boolean, const char* arithmetic,
             const char* bit_vector, const char* floating_point) {
  const char* op =
      operation(self, {method, nullptr, boolean, arithmetic, bit_vector, floating_point, nullptr});
  const Term* args[] = {self.term};
  return self.with(self.session->reader.make(op, args));
}

template <bool equal>
py::object comparison(const PyTerm& self, py::handle other) {
  if (!is_operand(other)) return py::reinterpret_borrow<py::object>(Py_NotImplemented);
  try {
    const Term* operand = as_term(self.session, other, self.sort()).term;
    return py::cast(apply(self, equal ? "=" : "distinct", self.term, operand));
  } catch (const std::invalid_argument& e) {
    // Lists and sets compare whatever is in them, of other sorts and managers too.
    return py::cast(PyIncomparable{e.what(), !equal});
  }
}

/// So that terms can be members of sets and lists: an equality is true exactly for one and the same term.
bool truth(const PyTerm& self) {
  TermManager& m = self.manager();
  if (self.term == m.true_term) return true;
  if (self.term == m.false_term) return false;
  const Term* t = self.term;
  const bool negated = t->symbol == m.not_symbol;
  if (negated) t = t->args[0];
  const SymbolTag::tag tag = m.get_tag(t->symbol);
  if (tag == SymbolTag::EQ || tag == SymbolTag::IFF) return (t->args[0] == t->args[1]) != negated;
  throw py::type_error("a term is neither true nor false by itself");
}

std::string text_of(const PyTerm& self) {
  return at_length([&] { return smtlib::term_text(self.session->manager(), self.term); });
}

PyDerivation explain(const PyTerm& self) {
  std::vector<Step> steps;
  const Term* after = at_length([&] { return self.session->simplify(self.term, steps); });
  PyDerivation result{self, self.with(after), {}};
  for (Step& s : steps) result.steps.push_back({self.session, std::move(s)});
  return result;
}

py::tuple args_of(const PyTerm& self) {
  const TermManager::Args args = self.manager().args_of(self.term);
  py::tuple result(args.size());
  for (std::size_t i = 0; i < args.size(); ++i) result[i] = py::cast(self.with(args[i]));
  return result;
}

std::string head(const PyTerm& self) {
  const SymbolTag::tag tag = self.manager().get_tag(self.term->symbol);
  if (tag == SymbolTag::UF || tag == SymbolTag::CONSTANT || tag == SymbolTag::OPAQUE) {
    const std::string name = self.term->symbol->name;
    return name.empty() ? smtlib::term_text(self.session->manager(), self.term) : name;
  }
  return SymbolTag::name(tag);
}

}  // namespace

void bind_terms(py::module_& m) {
  const py::call_guard<Turn> in_turn;
  py::class_<PyTerm> type(m, "Term", "A term; equal terms of a manager are the same term.");
  bind_infix(type);
  const auto property = [&](const char* name, const auto& getter, const char* text) {
    type.def_property_readonly(name, py::cpp_function(getter, in_turn), text);
  };
  type.def("__eq__", comparison<true>, in_turn)
      .def("__ne__", comparison<false>, in_turn)
      .def("__hash__", [](const PyTerm& t) { return t.term.id(); })
      .def("__bool__", truth, in_turn)
      .def(
          "__neg__", [](const PyTerm& t) { return unary(t, "__neg__", nullptr, "-", "bvneg", "fp.neg"); },
          in_turn)
      .def(
          "__abs__", [](const PyTerm& t) { return unary(t, "__abs__", nullptr, "abs", nullptr, "fp.abs"); },
          in_turn)
      .def(
          "__invert__",
          [](const PyTerm& t) { return unary(t, "__invert__", "not", nullptr, "bvnot", nullptr); }, in_turn)
      .def("__getitem__", item, in_turn)
      .def("__iter__", bits, in_turn)
      .def("__len__", num_bits, in_turn)
      .def("__str__", text_of, in_turn)
      .def(
          "same", [](const PyTerm& a, const PyTerm& b) { return a.term.get() == b.term.get(); },
          py::arg("other"), "Whether both are one and the same term.")
      .def("to_smt2", text_of, in_turn, "The term on one line.")
      .def(
          "simplify",
          [](const PyTerm& t) { return t.with(at_length([&] { return t.session->simplify(t.term); })); },
          in_turn, "A term equal to this one, simplified.")
      .def("explain", explain, in_turn, "How this term is simplified, step by step.");
  property(
      "manager",
      [](const PyTerm& t) {
        return py::cast(PyManager::of(t.session), py::return_value_policy::take_ownership);
      },
      "The manager that holds the term.");
  property(
      "sort",
      [](const PyTerm& t) {
        return PySort{t.session, t.sort()};
      },
      "The term's sort.");
  property("op", head, "The name of the operator, function or constant at the top.");
  property("args", args_of, "The arguments of the operator or function at the top.");
  property(
      "id", [](const PyTerm& t) { return t.term->id; }, "Creation number: an older term has a smaller one.");
  property(
      "num_nodes",
      [](const PyTerm& t) {
        const Term* root = t.term;
        return at_length([&] { return dag_size(t.session->manager(), {&root, 1}); });
      },
      "Number of distinct sub-terms, this one included.");
  bind_walks(type);
  bind_shipments(m, type);
  bind_z3_writer(type);
  property("value", value_of,
           "A bool, int or Fraction for constants (of bit-vectors the unsigned value), else None.");
}

}  // namespace quarv::python
