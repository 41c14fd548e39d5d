#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace quarv::fuzz {

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
  std::string text{};  ///< in SMT-LIB

  bool is_arithmetic() const { return kind == integer || kind == real; }
};

class Sorts {
 public:
  const Sort* boolean() { return basic(Sort::boolean, "Bool"); }
  const Sort* integer() { return basic(Sort::integer, "Int"); }
  const Sort* real() { return basic(Sort::real, "Real"); }
  const Sort* rounding_mode() { return basic(Sort::rounding_mode, "RoundingMode"); }
  const Sort* uninterpreted(const std::string& name) { return basic(Sort::uninterpreted, name); }
  const Sort* bit_vector(std::size_t width) {
    return intern(
        {.kind = Sort::bit_vector, .width = width, .text = "(_ BitVec " + std::to_string(width) + ')'});
  }
  const Sort* floating_point(std::size_t ew, std::size_t mw) {
    return intern({.kind = Sort::floating_point,
                   .width = ew,
                   .mantissa = mw,
                   .text = "(_ FloatingPoint " + std::to_string(ew) + ' ' + std::to_string(mw + 1) + ')'});
  }
  const Sort* array(const Sort* index, const Sort* element) {
    return intern({.kind = Sort::array,
                   .index = index,
                   .element = element,
                   .text = "(Array " + index->text + ' ' + element->text + ')'});
  }

 private:
  const Sort* basic(Sort::Kind kind, const std::string& text) { return intern({.kind = kind, .text = text}); }
  const Sort* intern(Sort sort) {
    std::unique_ptr<const Sort>& place = sorts_[sort.text];
    if (!place) place = std::make_unique<const Sort>(std::move(sort));
    return place.get();
  }

  std::map<std::string, std::unique_ptr<const Sort>> sorts_;
};

}  // namespace quarv::fuzz
