#include <quarv/term/given.h>
#include <quarv/term/operators.h>
#include <quarv/term/translation.h>
#include <quarv/term/walk.h>

namespace quarv {

const Term* translate(const TermManager& from, const Term* t, TermManager& to) {
  return Translator(from, to)(t);
}

const Term* Translator::operator()(const Term* root) {
  if (root == nullptr) throw SortError("translate: the term is a null pointer");
  if (&from_.type_of(root)->manager() != &from_) {
    throw SortError("translate: the term does not belong to the source");
  }
  if (releases_from_ != from_.num_releases() || releases_to_ != to_.num_releases()) {
    terms_.clear(false);  // some of them may be gone
    sorts_.clear();
    releases_from_ = from_.num_releases();
    releases_to_ = to_.num_releases();
  }
  visit_post_order(from_, root, [this](const Term* t) {
    if (terms_.find(t->id) == nullptr) terms_[t->id] = made(t);
  });
  return *terms_.find(root->id);
}

const Term* Translator::made(const Term* t) {
  const Symbol* s = t->symbol;
  if (from_.is_bound_variable(s)) return to_.fresh_bound_variable(s->name, (*this)(s->get_output_type()));
  if (from_.get_tag(s) == SymbolTag::CONSTANT) return constant(t);
  std::vector<const Term*> args;
  for (const Term* a : from_.args_of(t)) args.push_back(*terms_.find(a->id));
  if (from_.is_quantifier(s)) {
    std::vector<const Term*> variables;
    for (const Term* v : from_.quantifier_variables(s)) variables.push_back(variable(v));
    return to_.make_quantifier(s->name, variables, args[0]);
  }
  if (from_.is_annotation(s)) {
    return to_.make_annotation(args[0], from_.annotation_attributes(s), std::span(args).subspan(1));
  }
  return to_.make_term(operation(s), args);
}

/// A variable that a quantifier binds need not occur below it.
const Term* Translator::variable(const Term* v) {
  const Term*& known = terms_[v->id];
  if (known == nullptr) known = made(v);
  return known;
}

const Term* Translator::constant(const Term* t) {
  const Symbol* s = t->symbol;
  const QNumber* value = from_.get_number(s);
  if (value == nullptr) {
    if (t == from_.true_term) return to_.true_term;
    if (t == from_.false_term) return to_.false_term;
    if (from_.is_fprounding_even(s)) return to_.make_rounding_even();
    if (from_.is_fprounding_zero(s)) return to_.make_rounding_zero();
    if (from_.is_fprounding_plus_inf(s)) return to_.make_rounding_plus_inf();
    if (from_.is_fprounding_minus_inf(s)) return to_.make_rounding_minus_inf();
    return to_.make_rounding_away();
  }
  const DataType* sort = from_.type_of(t);
  std::size_t ew, mw;
  if (from_.is_arithmetic_type(sort)) return to_.make_number(*value);
  if (from_.get_format_from_type(sort, &ew, &mw)) return to_.make_fp_bits_number(*value, ew, mw);
  return to_.make_bv_number(*value, from_.get_width_from_type(sort));
}

const Symbol* Translator::operator()(const Symbol* function) {
  check_given(from_, "translate", function);
  return operation(function);
}

const Symbol* Translator::operation(const Symbol* s) {
  std::vector<const DataType*> sorts;
  for (std::size_t i = 0; i < from_.arity(s); ++i) sorts.push_back((*this)(from_.argument_type(s, i)));
  const DataType* result = (*this)(s->get_output_type());
  const SymbolTag::tag tag = from_.get_tag(s);
  const auto p = [&](std::size_t i) { return from_.parameters(s)[i]; };
  const bool integer = !sorts.empty() && sorts[0] == to_.int_type;
  QNumber modulus;
  switch (tag) {
    case SymbolTag::UF:
      return to_.declare_fun(s->name, sorts, result);
    case SymbolTag::OPAQUE:
      return to_.make_opaque_symbol(s->name, sorts, result);
    case SymbolTag::AND:
      return to_.and_symbol;
    case SymbolTag::OR:
      return to_.or_symbol;
    case SymbolTag::NOT:
      return to_.not_symbol;
    case SymbolTag::IFF:
      return to_.iff_symbol;
    case SymbolTag::FLOOR:
      return to_.floor_symbol;
    case SymbolTag::PLUS:
      return integer ? to_.int_plus_symbol : to_.rat_plus_symbol;
    case SymbolTag::TIMES:
      return integer ? to_.int_times_symbol : to_.rat_times_symbol;
    case SymbolTag::LEQ:
      return integer ? to_.int_leq_symbol : to_.rat_leq_symbol;
    case SymbolTag::EQ:
      return to_.make_equal_symbol(sorts[0]);
    case SymbolTag::TERM_ITE:
      return to_.make_ite_symbol(result);
    case SymbolTag::INT_MOD_CONGR:
      from_.is_int_modular_congruence(s, &modulus);
      return to_.make_int_mod_congr_symbol(modulus);
    case SymbolTag::ARRAY_READ:
      return to_.make_array_read_symbol(sorts[0]);
    case SymbolTag::ARRAY_WRITE:
      return to_.make_array_write_symbol(result);
    case SymbolTag::ARRAY_CONST:
      return to_.make_array_const_symbol(result);
    case SymbolTag::BV_CONCAT:
      return to_.make_bv_concat_symbol(p(0), p(1));
    case SymbolTag::BV_SELECT:
      return to_.make_bv_extract_symbol(p(0), p(1), p(2));
    case SymbolTag::BV_ROL:
      return to_.make_bv_rotate_left_symbol(p(0), p(1));
    case SymbolTag::BV_ROR:
      return to_.make_bv_rotate_right_symbol(p(0), p(1));
    case SymbolTag::BV_ZEXT:
      return to_.make_bv_zero_extend_symbol(p(0), p(1));
    case SymbolTag::BV_SEXT:
      return to_.make_bv_sign_extend_symbol(p(0), p(1));
    case SymbolTag::FP_CAST:
      return to_.make_fp_cast_symbol(p(0), p(1), p(2), p(3));
    case SymbolTag::FP_FROM_SBV:
      return to_.make_fp_from_sbv_symbol(p(0), p(1), p(2));
    case SymbolTag::FP_FROM_UBV:
      return to_.make_fp_from_ubv_symbol(p(0), p(1), p(2));
    case SymbolTag::FP_TO_BV:
      return from_.is_fp_to_sbv(s) ? to_.make_fp_to_sbv_symbol(p(0), p(1), p(2))
                                   : to_.make_fp_to_ubv_symbol(p(0), p(1), p(2));
    default:
      return operator_row(tag).signature.has_format ? to_.make_fp_symbol(tag, p(0), p(1))
                                                    : to_.make_bv_symbol(tag, p(0));
  }
}

const DataType* Translator::operator()(const DataType* root) {
  check_given(from_, "translate", root);
  std::vector<const DataType*> pending{root};
  while (!pending.empty()) {
    const DataType* sort = pending.back();
    const std::size_t before = pending.size();
    const bool has_parts = sort->is_constructed() && !from_.is_bv_type(sort) && !from_.is_fp_type(sort);
    for (std::size_t i = 1; has_parts && i < sort->components.size(); ++i) {
      if (!sorts_.contains(sort->components[i])) pending.push_back(sort->components[i]);
    }
    if (pending.size() != before) continue;
    pending.pop_back();
    if (!sorts_.contains(sort)) sorts_.emplace(sort, sort_of_known_parts(sort));
  }
  return sorts_.at(root);
}

const DataType* Translator::sort_of_known_parts(const DataType* sort) {
  std::size_t ew, mw;
  if (sort == from_.bool_type) return to_.bool_type;
  if (sort == from_.int_type) return to_.int_type;
  if (sort == from_.rat_type) return to_.rat_type;
  if (sort == from_.rounding_mode_type) return to_.rounding_mode_type;
  if (from_.is_bv_type(sort)) return to_.get_bv_type(from_.get_width_from_type(sort));
  if (from_.is_fp_type(sort) && from_.get_format_from_type(sort, &ew, &mw)) return to_.get_fp_type(ew, mw);
  if (!sort->is_constructed()) return to_.declare_sort(sort->to_string());
  std::vector<const DataType*> parts;
  for (std::size_t i = 1; i < sort->components.size(); ++i) parts.push_back(sorts_.at(sort->components[i]));
  if (from_.is_array_type(sort)) return to_.get_array_type(parts[0], parts[1]);
  return to_.apply_sort(to_.declare_sort(sort->components[0]->to_string(), parts.size()), parts);
}

}  // namespace quarv
