/// \file
/// What the bit-vector operators compute, in plain arithmetic on integers: +, -, *, / and % only, so that
/// nothing here works as the simplifiers do. `Integer` is `long long` for widths up to 16 or so, or
/// `mpz_class`. Operands are unsigned encodings, in 0 .. 2^w - 1.
#pragma once

#include <cstddef>

#include <gmpxx.h>

#include <quarv/term/symbol_tag.h>

namespace quarv::reference {

template <class Integer>
Integer pow2(std::size_t w) {
  Integer power = 1;
  for (; w >= 30; w -= 30) power *= 1L << 30;
  return power * (1L << w);
}

/// x modulo 2^w, in 0 .. 2^w - 1.
template <class Integer>
Integer wrap(const Integer& x, std::size_t w) {
  const Integer modulus = pow2<Integer>(w);
  const Integer rest = x % modulus;
  return rest < 0 ? Integer(rest + modulus) : rest;
}

/// The value that the encoding has in two's complement.
template <class Integer>
Integer signed_value(const Integer& x, std::size_t w) {
  return x < pow2<Integer>(w - 1) ? x : Integer(x - pow2<Integer>(w));
}

/// Combines the bits of x and y: the result has a one where `table` has one, which holds the answers for the
/// bits (0, 0), (0, 1), (1, 0) and (1, 1).
template <class Integer>
Integer bitwise(Integer x, Integer y, std::size_t w, const int (&table)[4]) {
  Integer result = 0;
  Integer weight = 1;
  for (std::size_t i = 0; i < w; ++i) {
    const bool in_x = x % 2 != 0;
    const bool in_y = y % 2 != 0;
    if (table[2 * in_x + in_y] != 0) result += weight;
    x /= 2;
    y /= 2;
    weight *= 2;
  }
  return result;
}

/// The amount of a shift, at most w.
template <class Integer>
std::size_t limited(const Integer& amount, std::size_t w) {
  std::size_t result = 0;
  while (result < w && Integer(static_cast<long>(result)) < amount) ++result;
  return result;
}

/// x / 2^n for a signed x, rounded down.
template <class Integer>
Integer shift_down(const Integer& x, std::size_t n) {
  return (x - wrap(x, n)) / pow2<Integer>(n);
}

template <class Integer>
struct BinaryOperator {
  SymbolTag::tag tag;
  const char* smtlib;
  Integer (*value)(const Integer& a, const Integer& b, std::size_t w);  ///< 0 and 1 for truth values
};

/// The operators on two bit-vectors of equal width, except for comparisons.
template <class Integer>
inline const BinaryOperator<Integer> binary_operators[] = {
    {SymbolTag::BV_AND, "bvand",
     [](const Integer& a, const Integer& b, std::size_t w) {
       return bitwise(a, b, w, {0, 0, 0, 1});
     }},
    {SymbolTag::BV_OR, "bvor",
     [](const Integer& a, const Integer& b, std::size_t w) {
       return bitwise(a, b, w, {0, 1, 1, 1});
     }},
    {SymbolTag::BV_XOR, "bvxor",
     [](const Integer& a, const Integer& b, std::size_t w) {
       return bitwise(a, b, w, {0, 1, 1, 0});
     }},
    {SymbolTag::BV_ADD, "bvadd",
     [](const Integer& a, const Integer& b, std::size_t w) { return wrap<Integer>(a + b, w); }},
    {SymbolTag::BV_SUB, "bvsub",
     [](const Integer& a, const Integer& b, std::size_t w) { return wrap<Integer>(a - b, w); }},
    {SymbolTag::BV_MUL, "bvmul",
     [](const Integer& a, const Integer& b, std::size_t w) { return wrap<Integer>(a * b, w); }},
    {SymbolTag::BV_UDIV, "bvudiv",
     [](const Integer& a, const Integer& b, std::size_t w) {
       return b == 0 ? wrap<Integer>(-1, w) : Integer(a / b);
     }},
    {SymbolTag::BV_UREM, "bvurem",
     [](const Integer& a, const Integer& b, std::size_t) { return b == 0 ? a : Integer(a % b); }},
    {SymbolTag::BV_SDIV, "bvsdiv",
     [](const Integer& a, const Integer& b, std::size_t w) {
       const Integer dividend = signed_value(a, w);
       if (b == 0) return wrap<Integer>(dividend < 0 ? 1 : -1, w);
       return wrap<Integer>(dividend / signed_value(b, w), w);
     }},
    {SymbolTag::BV_SREM, "bvsrem",
     [](const Integer& a, const Integer& b, std::size_t w) {
       if (b == 0) return a;
       return wrap<Integer>(signed_value(a, w) % signed_value(b, w), w);
     }},
    {SymbolTag::BV_LSL, "bvshl",
     [](const Integer& a, const Integer& b, std::size_t w) {
       return wrap<Integer>(a * pow2<Integer>(limited(b, w)), w);
     }},
    {SymbolTag::BV_LSR, "bvlshr",
     [](const Integer& a, const Integer& b, std::size_t w) { return shift_down(a, limited(b, w)); }},
    {SymbolTag::BV_ASR, "bvashr",
     [](const Integer& a, const Integer& b, std::size_t w) {
       return wrap(shift_down(signed_value(a, w), limited(b, w)), w);
     }},
};

/// The comparisons. `BV_COMP` gives one bit, the others truth values.
template <class Integer>
inline const BinaryOperator<Integer> comparisons[] = {
    {SymbolTag::BV_ULT, "bvult",
     [](const Integer& a, const Integer& b, std::size_t) { return Integer(a < b); }},
    {SymbolTag::BV_ULE, "bvule",
     [](const Integer& a, const Integer& b, std::size_t) { return Integer(a <= b); }},
    {SymbolTag::BV_SLT, "bvslt",
     [](const Integer& a, const Integer& b, std::size_t w) {
       return Integer(signed_value(a, w) < signed_value(b, w));
     }},
    {SymbolTag::BV_SLE, "bvsle",
     [](const Integer& a, const Integer& b, std::size_t w) {
       return Integer(signed_value(a, w) <= signed_value(b, w));
     }},
    {SymbolTag::BV_COMP, "bvcomp",
     [](const Integer& a, const Integer& b, std::size_t) { return Integer(a == b); }},
};

template <class Integer>
Integer complement(const Integer& a, std::size_t w) {
  return pow2<Integer>(w) - 1 - a;
}

template <class Integer>
Integer negate(const Integer& a, std::size_t w) {
  return wrap<Integer>(-a, w);
}

template <class Integer>
Integer rotate_left(const Integer& a, std::size_t amount, std::size_t w) {
  const std::size_t n = amount % w;
  return wrap<Integer>(a * pow2<Integer>(n), w) + a / pow2<Integer>(w - n);
}

template <class Integer>
Integer rotate_right(const Integer& a, std::size_t amount, std::size_t w) {
  return rotate_left(a, w - amount % w, w);
}

template <class Integer>
Integer concat(const Integer& high, const Integer& low, std::size_t low_width) {
  return high * pow2<Integer>(low_width) + low;
}

template <class Integer>
Integer extract(const Integer& a, std::size_t msb, std::size_t lsb) {
  return wrap<Integer>(a / pow2<Integer>(lsb), msb - lsb + 1);
}

template <class Integer>
Integer sign_extend(const Integer& a, std::size_t added, std::size_t w) {
  return wrap(signed_value(a, w), w + added);
}

}  // namespace quarv::reference
