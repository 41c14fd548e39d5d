#pragma once

#include <cstddef>
#include <cstdint>

#include <quarv/term/symbol_tag.h>

namespace quarv {

class DataType;
class QNumber;
struct Term;

/// The head of a term: a declared function, an operator together with its integer parameters, or a constant.
/// Interned and owned by the manager, which alone reads what is private here.
class Symbol {
 public:
  Symbol(const Symbol&) = delete;
  Symbol& operator=(const Symbol&) = delete;

  /// The type of the terms that this symbol heads; never null.
  const DataType* get_output_type() const noexcept { return output_type_; }

 private:
  friend class TermManager;
  friend class TermTable;
  Symbol() = default;

  enum Kind : std::uint8_t { ordinary, number, bound_variable, quantifier, annotation };

  // The first word.
  std::uint8_t tag_ = 0;
  std::uint8_t kind_ = ordinary;
  std::uint16_t flag_ = 0;  // of FP_TO_BV: the signed conversion
  std::uint32_t arity_ = 0;

 public:
  /// The name's characters, ended by a zero byte and without SMT-LIB quotes; "" for numbers. A name that
  /// begins with "@" marks a model value of an uninterpreted sort.
  const char* name = "";

 private:
  const DataType* output_type_ = nullptr;
  union {
    const DataType* const* arg_types_ = nullptr;  // arity_ > 0
    mutable const Term* constant_;                // arity_ == 0: the one term that the symbol heads
  };
  union {
    std::size_t params_[4] = {};  // widths, bit positions, amounts, formats, in the order of the recognisers
    const QNumber* number_;       // of a number: its value; of a modular congruence: its modulus
  };
};

}  // namespace quarv
