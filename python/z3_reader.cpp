#include <algorithm>

#include "module.h"
#include "z3_interface.h"
#include <quarv/term/attribute.h>

namespace quarv::python {

namespace {

/// Takes over terms of one of z3's contexts. What a declaration of z3's means, and a sort, Python finds out,
/// once for each; all else is seen through z3's interface.
class Reader {
 public:
  Reader(const Shared& session, const py::function& address, std::uintptr_t context, const py::object& python,
         bool may_rename)
      : session_(session),
        manager_(session->manager()),
        z3_(address, context),
        uninterpreted_(python.attr("uninterpreted").cast<int>()),
        float_literal_(python.attr("float_literal").cast<int>()),
        sort_text_(python.attr("sort")),
        operator_text_(python.attr("operator")),
        may_rename_(may_rename) {}

  const Term* read(z3::Ast root);
  /// The addresses of z3's functions, by what they are called here.
  py::dict declarations() const;

 private:
  /// What a declaration means: the first of these that it has.
  struct Meaning {
    const Term* variable = nullptr;
    const Symbol* function = nullptr;
    py::object call;  // of Python, from terms to a term
    std::string op;
  };

  /// A term of z3's that binds variables: what it binds, its body and the terms of its patterns.
  struct Bound {
    std::vector<const Term*> variables;
    std::vector<z3::Ast> parts;
    std::vector<Attribute> patterns;
  };

  const Term* read_when_ready(z3::Ast e);
  /// The term itself where its arguments have been read.
  const Term* made(z3::Ast e, int kind, std::span<const Term* const> args);
  const Term* quantifier(z3::Ast e, std::span<const Term* const> args);
  const Bound& bound(z3::Ast e);
  void add_arguments(z3::Ast e, int kind);
  std::string name(z3::Symbol symbol) const;
  const Term* number(z3::Ast e);
  const Term* literal(z3::Ast e);
  const Term* application(z3::Ast e, std::span<const Term* const> args);
  const Meaning& meaning(z3::Ast e, z3::Ast declaration);
  const Symbol* function(z3::Ast declaration);
  const DataType* sort(z3::Ast sort);
  const Term* term_of(const py::object& result) const { return as_term(session_, result, nullptr).term; }
  static std::uintptr_t address(z3::Ast a) { return reinterpret_cast<std::uintptr_t>(a); }

  Shared session_;
  TermManager& manager_;
  z3::Library z3_;
  int uninterpreted_, float_literal_;  // kinds of declarations
  py::object sort_text_, operator_text_;
  bool may_rename_;
  std::size_t num_renamed_ = 0;
  z3::Breath breath_;
  hsh::HashMap<z3::Ast, const Term*> done_;
  hsh::HashMap<z3::Ast, const DataType*> sorts_;
  hsh::HashMap<z3::Ast, Meaning> meanings_;
  hsh::HashMap<z3::Ast, Bound> bound_;
  hsh::HashMap<const Symbol*, z3::Ast> declarations_;
  std::vector<z3::Ast> pending_, arguments_;
  std::vector<const Term*> args_;
};

const DataType* Reader::sort(z3::Ast sort) {
  const DataType*& known = sorts_[sort];
  if (known == nullptr) known = session_->reader.sort(sort_text_(address(sort)).cast<std::string>());
  return known;
}

std::string Reader::name(z3::Symbol symbol) const {
  const z3::Functions& f = z3_();
  const z3::Context c = z3_.context();
  if (f.get_symbol_kind(c, symbol) == z3::integer_symbol) {
    return "k!" + std::to_string(f.get_symbol_int(c, symbol));  // as z3 writes it
  }
  return f.get_symbol_string(c, symbol);
}

/// In z3, functions may have the same name and differ, and have names that no SMT-LIB text can have.
const Symbol* Reader::function(z3::Ast declaration) {
  const z3::Functions& f = z3_();
  const z3::Context c = z3_.context();
  std::vector<const DataType*> arguments;
  for (unsigned i = 0; i < f.get_arity(c, declaration); ++i) {
    arguments.push_back(sort(f.get_domain(c, declaration, i)));
  }
  const DataType* result = sort(f.get_range(c, declaration));
  for (std::string name = this->name(f.get_decl_name(c, declaration));;
       name = "z3!" + std::to_string(++num_renamed_)) {
    const Symbol* symbol = nullptr;
    try {
      symbol = session_->reader.declare_function(name, arguments, result);
    } catch (const std::invalid_argument&) {
      if (!may_rename_) throw;
      continue;
    }
    z3::Ast& known = declarations_[symbol];
    if (known == nullptr) {
      known = declaration;
      return symbol;
    }
    if (!may_rename_) throw std::invalid_argument("z3 has more than one function of the name " + name);
  }
}

py::dict Reader::declarations() const {
  py::dict result;
  for (const auto& [symbol, declaration] : declarations_)
    result[py::str(symbol->name)] = address(declaration);
  return result;
}

const Reader::Meaning& Reader::meaning(z3::Ast e, z3::Ast declaration) {
  if (const Meaning* known = meanings_.find(declaration)) return *known;
  Meaning found;
  if (z3_().get_decl_kind(z3_.context(), declaration) == uninterpreted_) {
    found.function = function(declaration);
  } else {
    const py::object text = operator_text_(address(e));
    if (py::isinstance<py::str>(text))
      found.op = text.cast<std::string>();
    else
      found.call = text;
  }
  return meanings_[declaration] = std::move(found);
}

const Term* Reader::application(z3::Ast e, std::span<const Term* const> args) {
  const z3::Ast declaration = z3_().get_app_decl(z3_.context(), e);
  // There is a declaration for each number.
  if (args.empty() && z3_().get_decl_kind(z3_.context(), declaration) == float_literal_) return literal(e);
  const Meaning& m = meaning(e, declaration);
  if (m.variable != nullptr) return m.variable;
  if (m.function != nullptr) return manager_.make_term(m.function, args);
  if (m.call) {
    py::tuple terms(args.size());
    for (std::size_t i = 0; i < args.size(); ++i) terms[i] = py::cast(PyTerm{session_, args[i]});
    return term_of(m.call(*terms));
  }
  return session_->reader.make(m.op, args);
}

/// A number: of three literal parts, which are quicker put together than read, or whatever z3 writes.
const Term* Reader::literal(z3::Ast e) {
  const z3::Functions& f = z3_();
  const z3::Context c = z3_.context();
  if (f.get_app_num_args(c, e) == 3) {
    std::vector<const Term*> parts;
    for (unsigned i = 0; i < 3; ++i) parts.push_back(number(f.get_app_arg(c, e, i)));
    return session_->reader.make("fp", parts);
  }
  return session_->reader.term(f.ast_to_string(c, e));
}

const Term* Reader::number(z3::Ast e) {
  const z3::Functions& f = z3_();
  const z3::Context c = z3_.context();
  const z3::Ast sort = f.get_sort(c, e);
  switch (f.get_sort_kind(c, sort)) {
    case z3::integer_sort:
    case z3::real_sort:
      return manager_.make_number(QNumber::parse(f.get_numeral_string(c, e)));
    case z3::bit_vector_sort:
      return smtlib::build::bit_vector(manager_, QNumber::parse(f.get_numeral_string(c, e)),
                                       f.get_bv_sort_size(c, sort));
    default:
      return session_->reader.term(f.ast_to_string(c, e));
  }
}

/// Its variables are constants of z3's while its parts are read.
const Reader::Bound& Reader::bound(z3::Ast e) {
  if (const Bound* known = bound_.find(e)) return *known;
  const z3::Functions& f = z3_();
  const z3::Context c = z3_.context();
  if (!f.is_quantifier_forall(c, e) && !f.is_quantifier_exists(c, e)) {
    throw std::invalid_argument("lambda expressions are not taken over");
  }
  Bound found;
  const unsigned n = f.get_quantifier_num_bound(c, e);
  std::vector<z3::Ast> constants(n);
  for (unsigned i = 0; i < n; ++i) {
    const z3::Ast sort = f.get_quantifier_bound_sort(c, e, i);
    const std::string name = this->name(f.get_quantifier_bound_name(c, e, i));
    session_->reader.check_name(name);
    found.variables.push_back(manager_.fresh_bound_variable(name, this->sort(sort)));
    // Variables are counted from the innermost one.
    const z3::Ast constant = constants[n - 1 - i] = z3_.kept(f.mk_fresh_const(c, name.c_str(), sort));
    meanings_[f.get_app_decl(c, constant)].variable = found.variables.back();
  }
  const auto add = [&](z3::Ast part) {
    found.parts.push_back(z3_.kept(f.substitute_vars(c, part, n, constants.data())));
  };
  add(f.get_quantifier_body(c, e));
  for (unsigned i = 0; i < f.get_quantifier_num_patterns(c, e); ++i) {
    const z3::Ast pattern = f.get_quantifier_pattern_ast(c, e, i);
    const unsigned num_terms = f.get_pattern_num_terms(c, pattern);
    for (unsigned j = 0; j < num_terms; ++j) add(f.get_pattern(c, pattern, j));
    found.patterns.push_back({":pattern", {}, num_terms});
  }
  return bound_[e] = std::move(found);
}

const Term* Reader::quantifier(z3::Ast e, std::span<const Term* const> args) {
  const Bound& b = bound(e);
  const Term* body =
      b.patterns.empty() ? args[0] : manager_.make_annotation(args[0], b.patterns, args.subspan(1));
  const char* binder = z3_().is_quantifier_forall(z3_.context(), e) ? "forall" : "exists";
  return manager_.make_quantifier(binder, b.variables, body);
}

const Term* Reader::made(z3::Ast e, int kind, std::span<const Term* const> args) {
  switch (kind) {
    case z3::numeral_ast:
      return number(e);
    case z3::application_ast:
      return application(e, args);
    case z3::quantifier_ast:
      return quantifier(e, args);
    default:
      throw std::invalid_argument("a variable stands outside of its quantifier");
  }
}

void Reader::add_arguments(z3::Ast e, int kind) {
  const z3::Functions& f = z3_();
  const z3::Context c = z3_.context();
  arguments_.clear();
  if (kind == z3::quantifier_ast) {
    arguments_ = bound(e).parts;
  } else if (kind == z3::application_ast) {
    const unsigned n = f.get_app_num_args(c, e);
    for (unsigned i = 0; i < n; ++i) arguments_.push_back(f.get_app_arg(c, e, i));
  }
}

/// The term, or null when arguments are to be read first.
const Term* Reader::read_when_ready(z3::Ast e) {
  const int kind = z3_().get_ast_kind(z3_.context(), e);
  add_arguments(e, kind);
  args_.clear();
  for (const z3::Ast a : arguments_) {
    if (const Term* const* known = done_.find(a)) args_.push_back(*known);
  }
  if (args_.size() == arguments_.size()) return made(e, kind, args_);
  for (std::size_t i = arguments_.size(); i-- > 0;) {
    if (done_.find(arguments_[i]) == nullptr) pending_.push_back(arguments_[i]);
  }
  return nullptr;
}

const Term* Reader::read(z3::Ast root) {
  pending_.push_back(root);
  while (!pending_.empty()) {
    breath_();
    const z3::Ast e = pending_.back();
    if (done_.find(e) != nullptr) {
      pending_.pop_back();
    } else if (const Term* t = read_when_ready(e)) {
      z3_.check();
      done_[e] = t;
      pending_.pop_back();
    }
  }
  return *done_.find(root);
}

/// The term at an address in a context of z3's, and its declarations; `python` knows z3's sorts and
/// operators.
py::tuple read(const PyManager& self, std::uintptr_t root, const py::function& address,
               std::uintptr_t context, const py::object& python, bool may_rename) {
  Reader reader(self.session(), address, context, python, may_rename);
  const PyTerm term = self.term(reader.read(reinterpret_cast<z3::Ast>(root)));
  return py::make_tuple(term, reader.declarations());
}

}  // namespace

void bind_z3_reader(py::class_<PyManager>& type) {
  type.def("_from_z3", read, py::call_guard<Turn>());
}

}  // namespace quarv::python
