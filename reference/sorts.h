#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace quarv::reference {

/// A sort of SMT-LIB. Equal sorts are one object of their `Sorts`.
struct Sort {
  enum Kind : std::uint8_t {
    boolean,
    integer,
    real,
    bit_vector,
    floating_point,
    rounding_mode,
    uninterpreted,
    array
  };

  Kind kind;
  std::size_t width = 0;     ///< of a bit-vector; exponent bits of a floating-point number
  std::size_t mantissa = 0;  ///< stored significand bits of a floating-point number
  const Sort* index = nullptr;
  const Sort* element = nullptr;
  std::string text{};      ///< in SMT-LIB
  std::uint64_t hash = 0;  ///< of the text; Int and Real have the same

  bool is_arithmetic() const { return kind == integer || kind == real; }

  /// Whether the values are natural numbers below 2^63.
  bool is_word() const {
    return kind == boolean || kind == rounding_mode || (kind == bit_vector && width < 64);
  }
};

class Sorts {
 public:
  const Sort* boolean() { return basic(Sort::boolean, "Bool"); }
  const Sort* integer() { return basic(Sort::integer, "Int"); }
  const Sort* real() { return basic(Sort::real, "Real"); }
  const Sort* rounding_mode() { return basic(Sort::rounding_mode, "RoundingMode"); }
  const Sort* uninterpreted(const std::string& name) { return basic(Sort::uninterpreted, name); }
  const Sort* bit_vector(std::size_t width);
  /// \param ew exponent bits \param mw stored significand bits, without the hidden one
  const Sort* floating_point(std::size_t ew, std::size_t mw);
  const Sort* array(const Sort* index, const Sort* element);

 private:
  const Sort* basic(Sort::Kind kind, const std::string& text) { return intern({.kind = kind, .text = text}); }
  const Sort* intern(Sort sort);

  std::map<std::string, std::unique_ptr<const Sort>> sorts_;
};

}  // namespace quarv::reference
