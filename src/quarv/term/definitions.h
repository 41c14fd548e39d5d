/// \file
/// Operators of SMT-LIB that others define. The definitions are written once, for whatever builds them: the
/// reader makes terms of them, the rule language trees.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include <quarv/term/symbol_tag.h>

namespace quarv::definitions {

/// A builder has nodes, widths of bit-vectors, and these members:
///
///     width(node)   one_less(width)   fixed(number)
///     make(tag, {nodes})              equal(a, b)   ite(p, a, b)   opposite(a), -1 * a of numbers
///     extract(high, low, a)           zero_extend(added, a)        sign_extend(added, a)
///     zero(width)   ones(width)   one(width)   signed_minimum(width)   number(value)
///
/// Parts are named one after the other, since the order in which terms are made decides how they look.
template <class B>
using Node = typename B::Node;
template <class B>
using Nodes = std::span<const typename B::Node>;

/// The sign bit as a formula.
template <class B>
Node<B> is_negative(B& b, const Node<B>& t) {
  const auto top = b.one_less(b.width(t));
  const Node<B> sign = b.extract(top, top, t);
  return b.equal(sign, b.one(b.fixed(1)));
}

/// The signed remainder with the sign of the divisor.
template <class B>
Node<B> signed_modulo(B& b, Nodes<B> a) {
  const Node<B>& s = a[0];
  const Node<B>& t = a[1];
  const auto width = b.width(s);
  const Node<B> minus_s = b.make(SymbolTag::BV_NEG, {s});
  const Node<B> minus_t = b.make(SymbolTag::BV_NEG, {t});
  const Node<B> s_negative = is_negative(b, s);
  const Node<B> t_negative = is_negative(b, t);
  const Node<B> abs_s = b.ite(s_negative, minus_s, s);
  const Node<B> abs_t = b.ite(t_negative, minus_t, t);
  const Node<B> u = b.make(SymbolTag::BV_UREM, {abs_s, abs_t});
  const Node<B> minus_u = b.make(SymbolTag::BV_NEG, {u});
  const Node<B> s_alone = b.make(SymbolTag::BV_ADD, {minus_u, t});
  const Node<B> t_alone = b.make(SymbolTag::BV_ADD, {u, t});
  const Node<B> for_negative_s = b.ite(t_negative, minus_u, s_alone);
  const Node<B> for_other_s = b.ite(t_negative, t_alone, u);
  const Node<B> signed_result = b.ite(s_negative, for_negative_s, for_other_s);
  return b.ite(b.equal(u, b.zero(width)), u, signed_result);
}

template <class B>
Node<B> reduce_and(B& b, Nodes<B> a) {
  return b.make(SymbolTag::BV_COMP, {a[0], b.ones(b.width(a[0]))});
}

template <class B>
Node<B> reduce_or(B& b, Nodes<B> a) {
  const Node<B> none = b.make(SymbolTag::BV_COMP, {a[0], b.zero(b.width(a[0]))});
  return b.make(SymbolTag::BV_NOT, {none});
}

// Overflow predicates: does the exact result fit the width?

template <class B>
Node<B> neg_overflow(B& b, Nodes<B> a) {
  return b.equal(a[0], b.signed_minimum(b.width(a[0])));
}

/// The exact result in a wider vector, compared with what its low part stands for.
template <SymbolTag::tag Operation, bool Signed, bool Doubled, class B>
Node<B> wide_overflow(B& b, Nodes<B> a) {
  const auto width = b.width(a[0]);
  const auto extra = Doubled ? width : b.fixed(1);
  const auto extended = [&](const Node<B>& t) {
    return Signed ? b.sign_extend(extra, t) : b.zero_extend(extra, t);
  };
  const Node<B> x = extended(a[0]);
  const Node<B> y = extended(a[1]);
  const Node<B> exact = b.make(Operation, {x, y});
  const Node<B> low = b.extract(b.one_less(width), b.fixed(0), exact);
  const Node<B> read_back = extended(low);
  return b.make(SymbolTag::NOT, {b.equal(exact, read_back)});
}

template <class B>
Node<B> sdiv_overflow(B& b, Nodes<B> a) {
  const auto width = b.width(a[0]);
  const Node<B> smallest = b.equal(a[0], b.signed_minimum(width));
  const Node<B> minus_one = b.equal(a[1], b.ones(width));
  return b.make(SymbolTag::AND, {smallest, minus_one});
}

template <class B>
Node<B> usub_overflow(B& b, Nodes<B> a) {
  return b.make(SymbolTag::BV_ULT, {a[0], a[1]});
}

// Numbers.

template <class B>
Node<B> absolute(B& b, Nodes<B> a) {
  const Node<B> zero = b.number(0);
  const Node<B> non_negative = b.make(SymbolTag::LEQ, {zero, a[0]});
  const Node<B> opposite = b.opposite(a[0]);
  return b.ite(non_negative, a[0], opposite);
}

template <class B>
Node<B> is_integer(B& b, Nodes<B> a) {
  return b.equal(a[0], b.as_real(b.make(SymbolTag::FLOOR, {a[0]})));
}

/// A name with so many arguments, and what it means.
template <class B>
struct Definition {
  std::string_view name;
  std::uint32_t num_args;
  Node<B> (*build)(B&, Nodes<B>);
};

template <class B>
inline constexpr Definition<B> all[] = {
    {"bvsmod", 2, signed_modulo<B>},
    {"bvredor", 1, reduce_or<B>},
    {"bvredand", 1, reduce_and<B>},
    {"bvnego", 1, neg_overflow<B>},
    {"bvuaddo", 2, wide_overflow<SymbolTag::BV_ADD, false, false, B>},
    {"bvsaddo", 2, wide_overflow<SymbolTag::BV_ADD, true, false, B>},
    {"bvumulo", 2, wide_overflow<SymbolTag::BV_MUL, false, true, B>},
    {"bvsmulo", 2, wide_overflow<SymbolTag::BV_MUL, true, true, B>},
    {"bvusubo", 2, usub_overflow<B>},
    {"bvssubo", 2, wide_overflow<SymbolTag::BV_SUB, true, false, B>},
    {"bvsdivo", 2, sdiv_overflow<B>},
    {"abs", 1, absolute<B>},
    {"is_int", 1, is_integer<B>},
};

/// The definition of that name; null if there is none.
template <class B>
constexpr const Definition<B>* find(std::string_view name) {
  for (const Definition<B>& definition : all<B>) {
    if (definition.name == name) return &definition;
  }
  return nullptr;
}

}  // namespace quarv::definitions
