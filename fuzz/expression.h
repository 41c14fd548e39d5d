#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sort.h"
#include "value.h"

namespace quarv::fuzz {

struct Call;

/// An operator of an SMT-LIB theory and what it means.
struct Operation {
  std::string_view name;
  Value (*evaluate)(const Call&);
};

/// The operators of the theories Core and ArraysEx.
std::span<const Operation> core_operations();
/// The operators of Reals_Ints.
std::span<const Operation> arithmetic_operations();
/// The operators of FixedSizeBitVectors and the usual extensions.
std::span<const Operation> bit_vector_operations();
/// The operators of FloatingPoint.
std::span<const Operation> float_operations();

/// The operator of that name. \throws std::out_of_range if there is none
const Operation& operation_named(std::string_view name);

/// A term without quantifiers. Its arguments stand before it in the same sequence of expressions.
struct Expression {
  enum Kind : std::uint8_t { literal, variable, function, operation };

  Kind kind;
  const Sort* sort;
  mpq_class value{};              ///< of a literal; literals have no array sort
  std::string name{};             ///< of a variable or a declared function
  const Operation* op = nullptr;  ///< of an operation
  std::vector<std::size_t> indices{};
  std::vector<std::size_t> args{};  ///< positions in the sequence
};

using Expressions = std::vector<Expression>;

/// An operator together with its evaluated arguments.
struct Call {
  const Expression& expression;
  std::vector<const Sort*> sorts;
  std::vector<const Value*> args;
  const Interpretation& model;

  std::size_t count() const { return args.size(); }
  const Sort* sort() const { return expression.sort; }
  std::size_t index(std::size_t i) const { return expression.indices.at(i); }
  const mpq_class& number(std::size_t i) const { return args.at(i)->number; }
  mpz_class integer(std::size_t i) const { return args.at(i)->number.get_num(); }
  bool truth(std::size_t i) const { return sgn(number(i)) != 0; }
  std::size_t width(std::size_t i) const { return sorts.at(i)->width; }

  /// What the model chooses where the standard leaves the value open: it depends on the operator, its indices
  /// and its arguments, or on the first `num_args` of them.
  Random open(std::size_t num_args) const;
  Value open_value(std::size_t num_args) const {
    Random random = open(num_args);
    return random_value(sort(), random);
  }
};

inline Value truth_value(bool x) {
  return {x ? 1 : 0, nullptr};
}

/// The values of all expressions, in their order.
std::vector<Value> evaluate(const Expressions& expressions, const Interpretation& model);

/// The expressions in SMT-LIB, each by the texts of its arguments.
std::string to_smtlib(const Expression& e, std::span<const std::string> argument_texts);

}  // namespace quarv::fuzz
