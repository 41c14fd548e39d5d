#include <map>
#include <pybind11/stl.h>

#include "module.h"
#include "z3_interface.h"
#include <quarv/term/attribute.h>
#include <quarv/term/walk.h>

namespace quarv::python {

namespace {

/// What z3's own reader makes of an operator, once for each and the sorts of its arguments.
struct Pattern {
  const Symbol* symbol;
  std::vector<const DataType*> sorts;
  std::size_t text;  // its place in the list that Python gets
  z3::Ast term = nullptr;
  std::vector<z3::Ast> arguments;  // the constants that stand for them
  z3::Ast declaration = nullptr;   // where the term is one application to just these
};

/// Builds in one of z3's contexts. Python has it read the operators and sorts that occur; all else is made
/// through z3's interface, with as many calls as there are terms.
class Writer {
 public:
  /// `declarations` are those of z3's that functions of these names have there.
  Writer(TermManager& manager, const py::function& address, std::uintptr_t context,
         const std::map<std::string, std::uintptr_t>& declarations)
      : manager_(manager), z3_(address, context), own_declarations_(declarations) {
    for (const auto& [name, declaration] : declarations) names_.try_emplace(name, nullptr);
  }

  void collect(const Term* root);

  /// Has sorts and operators read: `read` takes the texts of the sorts, and for each operator its text and
  /// the places of its arguments' sorts; it returns the addresses of the sorts and of the operators applied
  /// to the constants quarv!PLACE!SORT.
  void read(const py::function& read);

  /// The address of z3's term, which lasts until `keep` has returned.
  py::object write(const py::function& keep);

 private:
  std::size_t sort_place(const DataType* sort);
  std::string text(const Term* t) const;
  Pattern& pattern_of(const Term* t);
  z3::Ast sort(const DataType* sort) { return sorts_[sort_place(sort)]; }

  z3::Ast made(const Term* t);
  z3::Ast number(const QNumber& value, const DataType* sort);
  z3::Ast bits(const mpz_class& value, std::size_t width);
  z3::Ast floating(const mpz_class& bits, const DataType* sort);
  z3::Ast declaration(const Symbol* s);
  z3::Ast applied(const Term* t);
  z3::Ast declared(const Term* t);
  z3::Ast quantifier(const Term* t);

  TermManager& manager_;
  z3::Library z3_;
  const std::map<std::string, std::uintptr_t>& own_declarations_;
  z3::Breath breath_;
  std::vector<const Term*> terms_;
  hsh::HashMap<const DataType*, std::size_t> sort_places_;
  py::list sort_texts_, operator_texts_;
  std::vector<z3::Ast> sorts_;
  hsh::HashMap<const Symbol*, std::vector<Pattern>> patterns_;
  hsh::HashMap<const Symbol*, z3::Ast> declarations_;
  std::map<std::string, const Symbol*> names_;  // what has them in z3
  hsh::HashMap<std::size_t, z3::Ast> widths_;
  hsh::HashMap<const Term*, z3::Ast> made_;
};

std::size_t Writer::sort_place(const DataType* sort) {
  if (const std::size_t* known = sort_places_.find(sort)) return *known;
  const std::size_t place = py::len(sort_texts_);
  sort_texts_.append(to_string(sort));
  return sort_places_[sort] = place;
}

/// A constant, or an operator; a congruence, for which SMT-LIB has none, with its modulus.
std::string Writer::text(const Term* t) const {
  QNumber modulus;
  if (manager_.is_int_modular_congruence(t->symbol, &modulus)) return "congruent " + modulus.to_string();
  return manager_.arity(t) == 0 ? to_string(t) : to_string(t->symbol);
}

Pattern& Writer::pattern_of(const Term* t) {
  std::vector<Pattern>& known = patterns_[t->symbol];
  const auto fits = [&](const Pattern& p) {
    for (std::size_t i = 0; i < p.sorts.size(); ++i) {
      if (p.sorts[i] != manager_.type_of(t->args[i])) return false;
    }
    return true;
  };
  for (Pattern& p : known) {
    if (fits(p)) return p;
  }
  Pattern p{t->symbol, {}, py::len(operator_texts_), nullptr, {}, nullptr};
  py::list places;
  for (std::size_t i = 0; i < manager_.arity(t); ++i) {
    p.sorts.push_back(manager_.type_of(t->args[i]));
    places.append(sort_place(p.sorts.back()));
  }
  operator_texts_.append(py::make_tuple(text(t), std::move(places)));
  known.push_back(std::move(p));
  return known.back();
}

void Writer::collect(const Term* root) {
  visit_post_order(manager_, root, [&](const Term* t) {
    breath_();
    const Symbol* s = t->symbol;
    terms_.push_back(t);
    if (manager_.is_annotation(s)) return;
    if (manager_.is_quantifier(s)) {
      for (const Term* v : manager_.quantifier_variables(s)) sort_place(manager_.type_of(v));
    } else if (manager_.get_number(t) != nullptr) {
      sort_place(manager_.type_of(t));
    } else if (manager_.get_tag(s) == SymbolTag::UF) {
      sort_place(s->get_output_type());
      for (std::size_t i = 0; i < manager_.arity(s); ++i) sort_place(manager_.argument_type(s, i));
      if (!manager_.is_bound_variable(s)) names_.try_emplace(s->name, s);
    } else {
      pattern_of(t);
    }
  });
}

void Writer::read(const py::function& read) {
  const auto [sorts, operators] =
      read(sort_texts_, operator_texts_)
          .cast<std::pair<std::vector<std::uintptr_t>, std::vector<std::uintptr_t>>>();
  for (const std::uintptr_t s : sorts) sorts_.push_back(z3_.kept(reinterpret_cast<z3::Ast>(s)));
  for (const std::uintptr_t p : operators) z3_.kept(reinterpret_cast<z3::Ast>(p));
  const z3::Functions& f = z3_();
  const z3::Context c = z3_.context();
  for (auto& [symbol, patterns] : patterns_) {
    for (Pattern& p : patterns) {
      p.term = reinterpret_cast<z3::Ast>(operators.at(p.text));
      for (std::size_t i = 0; i < p.sorts.size(); ++i) {
        const std::string name = "quarv!" + std::to_string(i) + '!' + std::to_string(sort_place(p.sorts[i]));
        p.arguments.push_back(z3_.kept(f.mk_const(c, f.mk_string_symbol(c, name.c_str()), sort(p.sorts[i]))));
      }
      bool is_plain =
          f.get_ast_kind(c, p.term) == z3::application_ast && f.get_app_num_args(c, p.term) == p.sorts.size();
      for (std::size_t i = 0; is_plain && i < p.sorts.size(); ++i) {
        is_plain = f.get_app_arg(c, p.term, static_cast<unsigned>(i)) == p.arguments[i];
      }
      if (is_plain) p.declaration = z3_.kept(f.get_app_decl(c, p.term));
    }
  }
}

z3::Ast Writer::bits(const mpz_class& value, std::size_t width) {
  z3::Ast& sort = widths_[width];
  if (sort == nullptr) sort = z3_.kept(z3_().mk_bv_sort(z3_.context(), static_cast<unsigned>(width)));
  return z3_.kept(z3_().mk_numeral(z3_.context(), value.get_str().c_str(), sort));
}

z3::Ast Writer::floating(const mpz_class& bits, const DataType* sort) {
  std::size_t ew = 0;
  std::size_t mw = 0;
  manager_.get_format_from_type(sort, &ew, &mw);
  const mpz_class significand = bits & ((mpz_class(1) << mw) - 1);
  const mpz_class exponent = (bits >> mw) & ((mpz_class(1) << ew) - 1);
  const bool negative = mpz_tstbit(bits.get_mpz_t(), ew + mw) != 0;
  const z3::Functions& f = z3_();
  const z3::Context c = z3_.context();
  const z3::Ast to = this->sort(sort);
  if (exponent + 1 == mpz_class(1) << ew) {
    return z3_.kept(significand == 0 ? f.mk_fpa_inf(c, to, negative) : f.mk_fpa_nan(c, to));
  }
  if (exponent == 0 && significand == 0) return z3_.kept(f.mk_fpa_zero(c, to, negative));
  return z3_.kept(
      f.mk_fpa_fp(c, this->bits(negative ? 1 : 0, 1), this->bits(exponent, ew), this->bits(significand, mw)));
}

z3::Ast Writer::number(const QNumber& value, const DataType* sort) {
  if (manager_.is_bv_type(sort)) return bits(value.num(), manager_.get_width_from_type(sort));
  if (manager_.is_fp_type(sort)) return floating(value.num(), sort);
  return z3_.kept(z3_().mk_numeral(z3_.context(), value.to_string().c_str(), this->sort(sort)));
}

/// A bound variable is a constant until it is bound: no other must have its name.
z3::Ast Writer::declaration(const Symbol* s) {
  z3::Ast& known = declarations_[s];
  if (known != nullptr) return known;
  std::string name = s->name;
  if (!manager_.is_bound_variable(s)) {
    const auto own = own_declarations_.find(name);
    if (own != own_declarations_.end()) return known = z3_.kept(reinterpret_cast<z3::Ast>(own->second));
  }
  for (std::size_t i = 1; names_.try_emplace(name, s).first->second != s; ++i) {
    name = s->name + ('!' + std::to_string(i));
  }
  std::vector<z3::Ast> domain;
  for (std::size_t i = 0; i < manager_.arity(s); ++i) domain.push_back(sort(manager_.argument_type(s, i)));
  const z3::Functions& f = z3_();
  const z3::Context c = z3_.context();
  const auto n = static_cast<unsigned>(domain.size());
  return known = z3_.kept(f.mk_func_decl(c, f.mk_string_symbol(c, name.c_str()), n, domain.data(),
                                         sort(s->get_output_type())));
}

/// Patterns are kept, other attributes mean nothing to z3.
z3::Ast Writer::quantifier(const Term* t) {
  const z3::Functions& f = z3_();
  const z3::Context c = z3_.context();
  std::vector<z3::Ast> variables, patterns;
  for (const Term* v : manager_.quantifier_variables(t->symbol)) {
    variables.push_back(z3_.kept(f.mk_app(c, declaration(v->symbol), 0, nullptr)));
  }
  const Term* body = t->args[0];
  if (manager_.is_annotation(body->symbol)) {
    std::size_t next = 1;
    for (const Attribute& a : manager_.annotation_attributes(body->symbol)) {
      std::vector<z3::Ast> terms;
      for (const std::size_t end = next + a.num_terms; next < end; ++next) {
        terms.push_back(*made_.find(body->args[next]));
      }
      if (a.keyword == ":pattern" && !terms.empty()) {
        patterns.push_back(z3_.kept(f.mk_pattern(c, static_cast<unsigned>(terms.size()), terms.data())));
      }
    }
  }
  constexpr unsigned usual_weight = 1;
  return z3_.kept(f.mk_quantifier_const(
      c, std::string_view(t->symbol->name) == "forall", usual_weight, static_cast<unsigned>(variables.size()),
      variables.data(), static_cast<unsigned>(patterns.size()), patterns.data(), *made_.find(body)));
}

z3::Ast Writer::declared(const Term* t) {
  std::vector<z3::Ast> args;
  for (std::size_t i = 0; i < manager_.arity(t); ++i) {
    const bool is_whole_real = manager_.type_of(t->args[i]) == manager_.int_type &&
                               manager_.argument_type(t->symbol, i) == manager_.rat_type;
    const z3::Ast arg = *made_.find(t->args[i]);
    args.push_back(is_whole_real ? z3_.kept(z3_().mk_int2real(z3_.context(), arg)) : arg);
  }
  return z3_.kept(
      z3_().mk_app(z3_.context(), declaration(t->symbol), static_cast<unsigned>(args.size()), args.data()));
}

z3::Ast Writer::applied(const Term* t) {
  const Pattern& p = pattern_of(t);
  if (p.sorts.empty()) return p.term;
  std::vector<z3::Ast> args;
  for (std::size_t i = 0; i < p.sorts.size(); ++i) args.push_back(*made_.find(t->args[i]));
  const auto n = static_cast<unsigned>(args.size());
  if (p.declaration != nullptr) return z3_.kept(z3_().mk_app(z3_.context(), p.declaration, n, args.data()));
  return z3_.kept(z3_().substitute(z3_.context(), p.term, n, p.arguments.data(), args.data()));
}

z3::Ast Writer::made(const Term* t) {
  if (const QNumber* value = manager_.get_number(t)) return number(*value, manager_.type_of(t));
  if (manager_.is_annotation(t->symbol)) return *made_.find(t->args[0]);
  if (manager_.is_quantifier(t->symbol)) return quantifier(t);
  return manager_.get_tag(t->symbol) == SymbolTag::UF ? declared(t) : applied(t);
}

py::object Writer::write(const py::function& keep) {
  for (const Term* t : terms_) {
    breath_();
    const z3::Ast ast = made(t);
    made_[t] = ast;
  }
  return keep(reinterpret_cast<std::uintptr_t>(*made_.find(terms_.back())));
}

/// What `keep` makes of the address of z3's term.
py::object write(const PyTerm& self, const py::function& address, std::uintptr_t context,
                 const std::map<std::string, std::uintptr_t>& declarations, const py::function& read,
                 const py::function& keep) {
  Writer writer(self.manager(), address, context, declarations);
  writer.collect(self.term);
  writer.read(read);
  return writer.write(keep);
}

}  // namespace

void bind_z3_writer(py::class_<PyTerm>& type) {
  type.def("_to_z3", write, py::call_guard<Turn>());
}

}  // namespace quarv::python
