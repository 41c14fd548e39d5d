#include <pybind11/stl.h>
#include <set>
#include <span>
#include <tuple>
#include <utility>
#include <vector>

#include "module.h"
#include "terms.h"
#include <quarv/term/declared_sorts.h>
#include <quarv/term/walk.h>

/// How terms travel: each node once, however many terms that have it are sent one after the other.
namespace quarv::python {

namespace {

/// What a text needs to be read: sorts with the numbers of their parameters, functions with their sorts.
class Declarations {
 public:
  explicit Declarations(const TermManager& m) : m_(m) {}

  void add(const Term* t) {
    const Symbol* s = t->symbol;
    const std::string result = sort(s->get_output_type());
    if (m_.is_quantifier(s)) {
      for (const Term* v : m_.quantifier_variables(s)) sort(m_.type_of(v));
    }
    if (m_.get_tag(s) != SymbolTag::UF || m_.is_bound_variable(s) || !seen_.insert(s)) return;
    py::list arguments;
    for (std::size_t i = 0; i < m_.arity(s); ++i) arguments.append(sort(m_.argument_type(s, i)));
    functions_.append(py::make_tuple(s->name, arguments, result));
  }

  /// What was added since the last call.
  py::tuple taken() {
    const py::tuple all = py::make_tuple(sorts_, functions_);
    sorts_ = py::list();
    functions_ = py::list();
    return all;
  }

 private:
  std::string sort(const DataType* s) {
    for_each_declared_sort(
        m_, s,
        [this](const DataType* declared, std::size_t num_parameters) {
          std::string name = declared->to_string();
          if (name.starts_with('|')) name = name.substr(1, name.size() - 2);
          if (named_.insert(name).second) sorts_.append(py::make_tuple(name, num_parameters));
        },
        seen_sorts_);
    return s->to_string();
  }

  const TermManager& m_;
  py::list sorts_, functions_;
  std::set<const DataType*> seen_sorts_;
  std::set<std::string> named_;
  hsh::HashSet<const Symbol*> seen_;
};

py::tuple declarations(const PyTerm& t) {
  Declarations all(t.manager());
  visit_post_order(t.manager(), t.term, [&](const Term* part) { all.add(part); });
  return all.taken();
}

/// Sends terms of one manager. A node is a text, or an operator and the numbers of the nodes that it is
/// applied to; of an annotation, whose names texts do not tell, the list of its attributes and those numbers.
class Sender {
 public:
  explicit Sender(const PyManager& manager)
      : session_(manager.session()),
        num_releases_(session_->manager().num_releases()),
        declarations_(session_->manager()) {}

  /// Declarations and nodes that were not sent before, and the number of the term; None when the manager
  /// has released terms meanwhile, so that what was sent is not known any more.
  py::object send(const PyTerm& t) {
    if (t.session != session_ || session_->manager().num_releases() != num_releases_) return py::none();
    py::list nodes;
    const std::size_t number = send_parts(t.term, nodes);
    const py::tuple needed = declarations_.taken();
    return py::make_tuple(needed[0], needed[1], nodes, number);
  }

 private:
  /// Quantifiers are sent as a whole, since variables mean nothing outside, and so is what no operator of
  /// SMT-LIB makes.
  bool is_whole(const Term* t) const {
    TermManager& m = session_->manager();
    if (m.arity(t) == 0 || m.is_quantifier(t->symbol)) return true;
    // An Int that was written as a Real is annotated as such.
    if (m.is_annotation(t->symbol)) return m.type_of(t) != m.type_of(t->args[0]);
    try {
      return session_->reader.make(to_string(t->symbol), m.args_of(t)) != t;
    } catch (const std::invalid_argument&) {
      return true;
    }
  }

  std::size_t send_parts(const Term* root, py::list& nodes) {
    struct Open {
      const Term* term;
      bool whole;
      std::size_t next;
    };
    const TermManager& m = session_->manager();
    std::vector<Open> open;
    const auto visit = [&](const Term* t) {
      if (sent_.find(t->id) == nullptr) open.push_back({t, is_whole(t), 0});
    };
    visit(root);
    while (!open.empty()) {
      Open& top = open.back();
      if (!top.whole && top.next < m.arity(top.term)) {
        visit(top.term->args[top.next++]);
        continue;
      }
      Checkpoint::pass();
      const Open done = top;
      open.pop_back();
      if (sent_.find(done.term->id) != nullptr) continue;  // it occurs in two places of what was open
      if (done.whole) {
        visit_post_order(m, done.term, [&](const Term* part) { declarations_.add(part); });
        nodes.append(to_string(done.term));
      } else {
        nodes.append(application(done.term));
      }
      sent_[done.term->id] = num_sent_++;
    }
    return *sent_.find(root->id);
  }

  py::tuple application(const Term* t) {
    declarations_.add(t);
    const TermManager& m = session_->manager();
    py::tuple node(1 + m.arity(t));
    if (m.is_annotation(t->symbol)) {
      node[0] = attributes(m.annotation_attributes(t->symbol));
    } else {
      node[0] = to_string(t->symbol);
    }
    for (std::size_t i = 1; i < node.size(); ++i) node[i] = *sent_.find(t->args[i - 1]->id);
    return node;
  }

  static py::list attributes(std::span<const Attribute> all) {
    py::list list;
    for (const Attribute& a : all) list.append(py::make_tuple(a.keyword, a.text, a.num_terms));
    return list;
  }

  Shared session_;
  std::uint64_t num_releases_;
  Declarations declarations_;
  hsh::HashMap<std::uint64_t, std::size_t> sent_;  // by id
  std::size_t num_sent_ = 0;
};

/// Builds what a sender sends.
class Receiver {
 public:
  explicit Receiver(const PyManager& manager) : session_(manager.session()) {}

  PyTerm receive(const py::list& nodes, std::size_t number) {
    for (const py::handle node : nodes) {
      terms_.push_back({session_, py::isinstance<py::str>(node)
                                      ? session_->reader.term(node.cast<std::string>())
                                      : applied(node.cast<py::tuple>())});
    }
    return terms_.at(number);
  }

 private:
  const Term* applied(const py::tuple& node) const {
    std::vector<const Term*> args;
    for (std::size_t i = 1; i < node.size(); ++i) {
      args.push_back(terms_.at(node[i].cast<std::size_t>()).term);
    }
    if (py::isinstance<py::str>(node[0])) return session_->reader.make(node[0].cast<std::string>(), args);
    std::vector<Attribute> attributes;
    for (const py::handle a : node[0].cast<py::list>()) {
      auto [keyword, text, num_terms] = a.cast<std::tuple<std::string, std::string, std::size_t>>();
      attributes.push_back({std::move(keyword), std::move(text), num_terms});
    }
    return session_->manager().make_annotation(args.at(0), attributes, std::span(args).subspan(1));
  }

  Shared session_;
  std::vector<PyTerm> terms_;
};

}  // namespace

void bind_shipments(py::module_& m, py::class_<PyTerm>& type) {
  const py::call_guard<Turn> in_turn;
  type.def("_declarations", declarations, in_turn);
  py::class_<Sender>(m, "_Sender")
      .def(py::init<const PyManager&>(), in_turn)
      .def("send", &Sender::send, in_turn);
  py::class_<Receiver>(m, "_Receiver")
      .def(py::init<const PyManager&>(), in_turn)
      .def("receive", &Receiver::receive, in_turn);
}

}  // namespace quarv::python
