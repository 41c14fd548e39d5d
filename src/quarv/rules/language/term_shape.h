#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <quarv/term/symbol_tag.h>

namespace quarv::rules {

/// What a rule asks of the two levels below the root, beside the operators of the first two arguments: which
/// operators head the arguments of the last two arguments, and which of all these are one term. A term's own
/// shape is worked out once, for all rules of its operator.
///
/// The last two arguments are X and Y, of a single one X alone; the last two arguments of these are X0, X1,
/// Y0, Y1. Of a write to an array, array and index count, and Y0, Y1 are taken from X0: writes form chains.
/// What a term does not have has the tag `absent`.
struct TermShape {
  enum Place : std::uint8_t { x, y, x0, x1, y0, y1, num_places };
  static constexpr std::uint8_t absent = 255;
  static_assert(SymbolTag::count < absent);

  std::uint64_t mask = 0;
  std::uint64_t value = 0;

  bool admits(std::uint64_t shape_of_term) const { return (shape_of_term & mask) == value; }

  /// The tag at a place, which is not x.
  static constexpr std::uint64_t tag(Place place, std::uint8_t t) {
    constexpr unsigned first = 16;
    constexpr unsigned bits = 8;
    return std::uint64_t{t} << (first + bits * (place - y));
  }
  /// The bits that say that two places hold one term; 0 for a pair that is not looked at.
  static constexpr std::uint64_t same(Place a, Place b) {
    constexpr Place pairs[][2] = {{x, y},   {x, y0},  {x, y1},  {y, x0},  {y, x1},  {x0, y0},
                                  {x0, y1}, {x1, y0}, {x1, y1}, {x0, x1}, {y0, y1}, {y, y1}};
    for (std::size_t i = 0; i < sizeof pairs / sizeof pairs[0]; ++i) {
      if (pairs[i][0] == a && pairs[i][1] == b) return std::uint64_t{1} << i;
    }
    return 0;
  }

  void require_tag(Place place, std::uint8_t t) {
    mask |= tag(place, 255);
    value |= tag(place, t);
  }
  void require_same(Place a, Place b) {
    mask |= same(a, b);
    value |= same(a, b);
  }
};

/// What a rule asks of an argument of the root.
struct ChildShape {
  enum class Kind : std::uint8_t {
    any,
    headed_by,     ///< its root has tag `tag`; numerals have the tag CONSTANT
    not_constant,  ///< its root has another tag than CONSTANT
  };
  Kind kind = Kind::any;
  SymbolTag::tag tag = SymbolTag::UF;

  static constexpr ChildShape any() { return {}; }
  static constexpr ChildShape headed_by(SymbolTag::tag t) { return {Kind::headed_by, t}; }
  static constexpr ChildShape not_constant() { return {Kind::not_constant, SymbolTag::UF}; }

  bool admits(SymbolTag::tag t) const {
    return kind == Kind::any || (kind == Kind::headed_by ? t == tag : t != SymbolTag::CONSTANT);
  }
};

/// For the first and the second argument, and for what is below.
struct ChildShapes {
  std::array<ChildShape, 2> children{};
  TermShape below{};

  ChildShape& operator[](std::size_t i) { return children[i]; }
  const ChildShape& operator[](std::size_t i) const { return children[i]; }
};

}  // namespace quarv::rules
