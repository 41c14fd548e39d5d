#include "reference/library_terms.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "reference/floats.h"
#include <quarv/term/operators.h>

namespace quarv::reference {

namespace {

/// Operators that are known by name: "fp.rem", "(_ to_fp 8 24)".
void set_named_operation(Expression& e, std::string_view name) {
  if (name.starts_with("(_ ")) {
    name = name.substr(3, name.size() - 4);
    const std::string_view all = name;
    name = name.substr(0, name.find(' '));
    const char* rest = all.data() + name.size();
    for (const char* const end = all.data() + all.size(); rest != end;) {
      rest = std::from_chars(rest + 1, end, e.indices.emplace_back()).ptr;
    }
  }
  e.op = &operation_named(name);
}

}  // namespace

std::size_t LibraryTerms::place(const Term* t) {
  const auto known = places_.find(t);
  if (known != places_.end()) return known->second;
  std::vector<const Term*> pending{t}, subterms;
  while (!pending.empty()) {
    const Term* u = pending.back();
    pending.pop_back();
    if (!places_.emplace(u, 0).second) continue;
    subterms.push_back(u);
    const auto args = manager_.args_of(u).first(manager_.rewritable_args(u->symbol));
    pending.insert(pending.end(), args.begin(), args.end());
  }
  // Arguments are created before the terms that have them.
  std::sort(subterms.begin(), subterms.end(), Term_lt());
  for (const Term* u : subterms) {
    places_[u] = manager_.is_annotation(u->symbol) ? places_.at(u->args[0]) : add(expression(u));
  }
  return places_.at(t);
}

std::size_t LibraryTerms::add(Expression e) {
  expressions_.push_back(std::move(e));
  return expressions_.size() - 1;
}

Expression LibraryTerms::expression(const Term* t) {
  Expression e{.kind = Expression::operation, .sort = sort_of(manager_.type_of(t))};
  for (const Term* arg : manager_.args_of(t)) e.args.push_back(places_.at(arg));
  const SymbolTag::tag tag = manager_.get_tag(t->symbol);
  if (const QNumber* number = manager_.get_number(t)) {
    e.kind = Expression::literal;
    e.value = mpq_class(number->num(), number->den());
    if (e.sort->kind == Sort::floating_point) {
      const FloatFormat format(e.sort->width, e.sort->mantissa);
      if (format.is_nan(e.value.get_num())) e.value = format.nan();
    }
  } else if (tag == SymbolTag::CONSTANT) {
    e.kind = Expression::literal;
    e.value = constant_value(t);
  } else if (tag == SymbolTag::UF) {
    e.kind = e.args.empty() ? Expression::variable : Expression::function;
    e.name = t->symbol->name;
  } else if (tag == SymbolTag::OPAQUE) {
    set_named_operation(e, t->symbol->name);
  } else {
    set_operation(e, t->symbol);
  }
  return e;
}

const Sort* LibraryTerms::sort_of(const DataType* type) {
  std::size_t ew, mw;
  if (type == manager_.bool_type) return sorts_.boolean();
  if (type == manager_.int_type) return sorts_.integer();
  if (type == manager_.rat_type) return sorts_.real();
  if (type == manager_.rounding_mode_type) return sorts_.rounding_mode();
  if (manager_.is_bv_type(type)) return sorts_.bit_vector(manager_.get_width_from_type(type));
  if (manager_.is_fp_type(type)) {
    manager_.get_format_from_type(type, &ew, &mw);
    return sorts_.floating_point(ew, mw);
  }
  if (manager_.is_array_type(type)) {
    const Sort* index = sort_of(type->get_component(1));
    return sorts_.array(index, sort_of(type->get_component(2)));
  }
  return sorts_.uninterpreted(type->to_string());
}

long LibraryTerms::constant_value(const Term* t) const {
  if (t == manager_.true_term) return 1;
  if (t == manager_.false_term) return 0;
  const auto is = {&TermManager::is_fprounding_even, &TermManager::is_fprounding_zero,
                   &TermManager::is_fprounding_plus_inf, &TermManager::is_fprounding_minus_inf,
                   &TermManager::is_fprounding_away};
  long i = 0;
  for (const auto rounding_mode : is) {
    if ((manager_.*rounding_mode)(t->symbol)) return i;
    ++i;
  }
  throw std::out_of_range("no value of " + std::string(t->symbol->name));
}

void LibraryTerms::set_operation(Expression& e, const Symbol* s) {
  const OperatorRow& row = operator_row(manager_.get_tag(s));
  std::string_view name = manager_.is_fp_to_sbv(s) ? row.synonym : row.smtlib;
  QNumber modulus;
  if (!row.has_format_as_index()) {
    const auto indices = manager_.parameters(s).subspan(row.first_index, row.num_indices);
    e.indices.assign(indices.begin(), indices.end());
  }
  if (manager_.is_int_modular_congruence(s, &modulus)) {
    name = "congruent";
    e.args.push_back(
        add({.kind = Expression::literal, .sort = sorts_.integer(), .value = mpq_class(modulus.num())}));
  }
  e.op = &operation_named(name);
}

std::size_t TermEvaluation::first_difference(const Term* a, const Term* b) {
  const std::size_t x = terms_.place(a), y = terms_.place(b);
  values_[std::max(x, y)];
  return reference::first_difference(expressions_[x].sort, values_[x], values_[y]);
}

}  // namespace quarv::reference
