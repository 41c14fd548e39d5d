#include <stdexcept>
#include <string>
#include <vector>

#include <quarv/session/attached.h>
#include <quarv/session/session.h>
#include <quarv/term/given.h>
#include <quarv/term/walk.h>

namespace quarv {

namespace {

bool is_declared(const TermManager& m, const Symbol* s) {
  return m.get_tag(s) == SymbolTag::UF && !m.is_bound_variable(s);
}

/// Some value of a sort; null for a declared sort, and for arrays of such.
const Term* default_value(TermManager& m, const DataType* sort) {
  if (sort == m.bool_type) return m.false_term;
  if (m.is_arithmetic_type(sort)) return m.make_number(QNumber());
  if (m.is_bv_type(sort)) return m.make_bv_number(0, m.get_width_from_type(sort));
  if (sort == m.rounding_mode_type) return m.make_rounding_even();
  std::size_t ew, mw;
  if (m.is_fp_type(sort) && m.get_format_from_type(sort, &ew, &mw)) {
    return m.make_fp_bits_number(QNumber(), ew, mw);
  }
  // Elements of elements: sorts may be nested as deep as one likes.
  std::vector<const DataType*> arrays;
  for (; m.is_array_type(sort); sort = sort->get_component(2)) arrays.push_back(sort);
  if (arrays.empty()) return nullptr;
  const Term* value = default_value(m, sort);
  for (; value != nullptr && !arrays.empty(); arrays.pop_back())
    value = m.make_array_const(arrays.back(), value);
  return value;
}

}  // namespace

Model& Model::set(const Term* constant, const Term* value) {
  check_given(*manager_, "model", constant);
  check_given(*manager_, "model", value);
  if (!is_declared(*manager_, constant->symbol) || manager_->arity(constant) != 0) {
    throw std::invalid_argument("model: only declared constants have a value");
  }
  const DataType* wanted = manager_->type_of(constant);
  const DataType* found = manager_->type_of(value);
  if (manager_->get_supertype(wanted, found) != wanted) {
    throw SortError("model: a value of sort " + found->abbreviated() + " for a constant of sort " +
                    wanted->abbreviated());
  }
  constants_[constant] = value;
  return *this;
}

Model& Model::set(const Symbol* function, Function value) {
  check_given(*manager_, "model", function);
  if (!is_declared(*manager_, function) || manager_->arity(function) == 0) {
    throw std::invalid_argument("model: only declared functions have values");
  }
  functions_[function] = std::move(value);
  return *this;
}

const Term* Model::find(const Term* constant) const {
  const Term* const* value = constants_.find(constant);
  return value == nullptr ? nullptr : *value;
}

const Model::Function* Model::find(const Symbol* function) const {
  return functions_.find(function);
}

const Term* Session::substitute(const Term* t, const Substitution& substitution) {
  return quarv::substitute(manager_, t, substitution,
                           [this](const Symbol* symbol, Args args) { return make(symbol, args); });
}

const Term* Session::evaluate(const Term* t, const Model& model) {
  check_given(manager_, "evaluate", t);
  // All that holds by the standard, whatever the session does to terms otherwise.
  struct Others {
    Others(OwnSimplifications& own, TermSimplifier& now, TermSimplifier& then) : own_(own), then_(then) {
      own.set_others(now);
    }
    ~Others() { own_.set_others(then_); }
    OwnSimplifications& own_;
    TermSimplifier& then_;
  };
  TermSimplifier* folding = options_.library_semantics ? standard() : &extended_;
  const Others others(own_, *folding, *standard());
  const Attached attached(manager_, own_.size() == 0 ? folding : &own_);
  hsh::HashMap<const Term*, const Term*> values;
  std::vector<const Term*> args;
  const auto value_of_constant = [&](const Term* c) {
    if (!is_declared(manager_, c->symbol)) return c;
    const Term* value = model.find(c);
    if (value == nullptr && model.is_complete()) value = default_value(manager_, manager_.type_of(c));
    return value == nullptr ? c : value;
  };
  const auto value_of_application = [&](const Term* a) {
    args.clear();
    for (const Term* argument : manager_.args_of(a)) args.push_back(*values.find(argument));
    if (manager_.is_annotation(a->symbol)) return args[0];
    const Model::Function* function = model.find(a->symbol);
    const Term* value = function == nullptr ? nullptr : (*function)(args);
    if (value == nullptr) return make(a->symbol, args);
    check_given(manager_, "evaluate", value);
    const DataType* wanted = manager_.type_of(a);
    if (manager_.get_supertype(wanted, manager_.type_of(value)) != wanted) {
      throw SortError("evaluate: " + std::string(a->symbol->name) + " has a value of sort " +
                      manager_.type_of(value)->abbreviated() + ", expected " + wanted->abbreviated());
    }
    return value;
  };
  visit_post_order(manager_, t, [&](const Term* u) {
    values[u] = manager_.arity(u) == 0 ? value_of_constant(u) : value_of_application(u);
  });
  return normalize(*values.find(t));
}

}  // namespace quarv
