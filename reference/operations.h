#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <initializer_list>
#include <span>
#include <string_view>

#include "reference/bit_vectors.h"
#include "reference/values.h"

namespace quarv::reference {

struct Operation;

/// An operator applied to values.
struct Call {
  const Operation& op;
  const Sort* sort;  ///< of the result
  std::span<const std::size_t> indices;
  std::span<const Sort* const> sorts;
  std::span<const Value* const> args;
  const Interpretation* model;  ///< or null, when there is no one to choose open values

  std::size_t count() const { return args.size(); }
  std::size_t index(std::size_t i) const { return indices[i]; }
  const mpq_class& number(std::size_t i) const { return args[i]->number; }
  mpz_class integer(std::size_t i) const { return args[i]->number.get_num(); }
  bool truth(std::size_t i) const { return sgn(number(i)) != 0; }
  std::size_t width(std::size_t i) const { return sorts[i]->width; }

  /// What the model chooses where the standard leaves the value open: it depends on the operator, its indices
  /// and its arguments, or on the first `num_args` of them. \throws OpenValue if there is no model
  Random open(std::size_t num_args) const;
  Value open_value(std::size_t num_args) const {
    Random random = open(num_args);
    return random_value(sort, random);
  }
};

/// The standard leaves a value open.
class OpenValue : public std::exception {
 public:
  const char* what() const noexcept override { return "the standard leaves the value open"; }
};

/// An operator of an SMT-LIB theory and what it means: a function on values, or one on integers that stand
/// for bit-vectors and truth values. The latter is there for words too.
struct Operation {
  std::string_view name;
  Value (*on_values)(const Call&) = nullptr;
  BitFunction<mpz_class> on_integers = nullptr;
  BitFunction<Word> on_words = nullptr;

  Value operator()(const Call& call) const;

  /// The value on bit-vectors.
  mpz_class operator()(const Operands<mpz_class>& operands) const { return on_integers(operands); }
  Word operator()(const Operands<Word>& operands) const { return on_words(operands); }
};

/// The operators of the theories Core and ArraysEx.
std::span<const Operation> core_operations();
/// The operators of Reals_Ints.
std::span<const Operation> arithmetic_operations();
/// The operators of FixedSizeBitVectors and the usual extensions.
std::span<const Operation> bit_vector_operations();
/// The operators of FloatingPoint.
std::span<const Operation> float_operations();

/// The operator of that name; null if there is none.
const Operation* find_operation(std::string_view name);
/// \throws std::out_of_range if there is none
const Operation& operation_named(std::string_view name);

/// The rounding modes of SMT-LIB by their numbers.
inline constexpr std::string_view rounding_mode_names[] = {"RNE", "RTZ", "RTP", "RTN", "RNA"};

/// A bit-vector operator on numbers of these widths.
template <class Integer>
Integer bit_vector_value(std::string_view name, std::initializer_list<Integer> values,
                         std::initializer_list<std::size_t> widths,
                         std::initializer_list<std::size_t> indices = {}) {
  return operation_named(name)(Operands<Integer>{values, widths, indices});
}

}  // namespace quarv::reference
