#pragma once

#include <initializer_list>
#include <string_view>
#include <utility>

#include <quarv/numbers/bv_number.h>
#include <quarv/smtlib/read/operators.h>
#include <quarv/term/definitions.h>
#include <quarv/term/operators.h>

namespace quarv::smtlib::build {

/// Builds the definitions of quarv/term/definitions.h as terms.
class DefinedTerms {
 public:
  using Node = const Term*;

  explicit DefinedTerms(TermManager& manager) : m_(manager) {}

  std::size_t width(const Term* t) const {
    const DataType* type = m_.type_of(t);
    const std::size_t width = m_.is_bv_type(type) ? m_.get_width_from_type(type) : 0;
    if (width == 0) throw SortError("not a bit-vector");
    return width;
  }
  static std::size_t one_less(std::size_t width) { return width - 1; }
  static std::size_t fixed(std::size_t number) { return number; }

  const Term* make(SymbolTag::tag tag, std::initializer_list<const Term*> args) {
    if (tag == SymbolTag::NOT) return m_.make_not(*args.begin());
    if (tag == SymbolTag::AND) return m_.make_and(args.begin()[0], args.begin()[1]);
    if (tag == SymbolTag::LEQ) return m_.make_leq(args.begin()[0], args.begin()[1]);
    if (tag == SymbolTag::FLOOR) return m_.make_floor(*args.begin());
    return m_.make_operation(tag, args);
  }
  const Term* equal(const Term* a, const Term* b) { return m_.make_equal(a, b); }
  const Term* ite(const Term* p, const Term* a, const Term* b) { return m_.make_ite(p, a, b); }
  const Term* opposite(const Term* a) {
    const QNumber* value = m_.is_arithmetic_type(m_.type_of(a)) ? m_.get_number(a) : nullptr;
    if (value != nullptr) return m_.make_number(-*value);
    const Term* minus_one = m_.make_number(QNumber(-1));
    return m_.make_times(minus_one, a);
  }
  static const Term* as_real(const Term* t) { return t; }  // Int is a subtype of Real

  const Term* extract(std::size_t high, std::size_t low, const Term* t) {
    return m_.make_bv_extract(high, low, t);
  }
  const Term* zero_extend(std::size_t added, const Term* t) { return m_.make_bv_zero_extend(added, t); }
  const Term* sign_extend(std::size_t added, const Term* t) { return m_.make_bv_sign_extend(added, t); }

  const Term* zero(std::size_t width) { return m_.make_bv_number(0, width); }
  const Term* one(std::size_t width) { return m_.make_bv_number(1, width); }
  const Term* ones(std::size_t width) {
    QNumber value;
    BVNumber::pow2(width, &value);
    value -= QNumber(1);
    return m_.make_bv_number(value, width);
  }
  const Term* signed_minimum(std::size_t width) {
    QNumber value;
    BVNumber::pow2(width - 1, &value);
    return m_.make_bv_number(value, width);
  }
  const Term* number(int value) { return m_.make_number(QNumber(value)); }

 private:
  TermManager& m_;
};

template <std::size_t Number>
const Term* definition(OperatorContext& c, Args a) {
  DefinedTerms terms(c.manager);
  return definitions::all<DefinedTerms>[Number].build(terms, a);
}

template <std::size_t... Number>
constexpr OperatorDefinition defined(std::string_view name, std::string_view sorts,
                                     std::index_sequence<Number...>) {
  constexpr OperatorDefinition::Build builders[] = {definition<Number>...};
  const auto* const found = definitions::find<DefinedTerms>(name);
  return {name, found->num_args, found->num_args, 0, sorts, builders[found - definitions::all<DefinedTerms>]};
}

/// An operator that is read as its definition says.
constexpr OperatorDefinition defined(std::string_view name, std::string_view sorts) {
  return defined(name, sorts, std::make_index_sequence<std::size(definitions::all<DefinedTerms>)>());
}

}  // namespace quarv::smtlib::build
