#pragma once

#include <cstddef>
#include <vector>

#include <quarv/numbers/bits.h>
#include <quarv/numbers/bv_number.h>
#include <quarv/term/term_manager.h>

/// What all bit-vector simplifiers share: recognise the operator, look its operands up, and fold them when
/// all are literals, or else rebuild the term.
///
/// A fold is a generic callable over `bits` that replaces its first operand by the result, which the shape
/// then reduces to the result's width. It is applied to machine words when every width involved is at most
/// 64, and to GMP integers, which keep their memory from one fold to the next, otherwise. What is allocated
/// is the literal that the result is interned as, if it is new. As all arithmetic on wide numbers, folding is
/// for one thread at a time.
namespace quarv::termsimpl::bv {

using Args = std::vector<const Term*>;

using bits::Word;
using bits::word_bits;

/// A place for the operands that are too wide for words.
struct WideOperands {
  mpz_class x;
  mpz_class y;
};
WideOperands& wide_operands();

inline mpz_ptr load(mpz_class& x, const QNumber& value) {
  if (value.is_small()) {
    x = value.small_num();
  } else {
    mpz_set(x.get_mpz_t(), value.big_num());
  }
  return x.get_mpz_t();
}

/// The integer constant x, and the literal of `width` bits with the value x modulo 2^width.
const Term* make_number(TermManager* mgr, mpz_srcptr x);
const Term* make_literal(TermManager* mgr, mpz_ptr x, std::size_t width);
const Term* make_top_bit_literal(TermManager* mgr, Word x, std::size_t width);
inline const Term* make_literal(TermManager* mgr, Word x, std::size_t width) {
  bits::reduce(x, width);
  if (bits::bit(x, word_bits - 1)) return make_top_bit_literal(mgr, x, width);
  return mgr->make_bv_number(QNumber(static_cast<std::int64_t>(x)), width);
}

/// Whether literals of `width` bits may be computed.
inline bool may_fold(const TermManager* mgr, std::size_t width) {
  return width <= word_bits || mgr->may_compute(width);
}

/// The literal of `width` bits to which the fold turns `a`; no width involved exceeds `widest`.
template <class Fold>
const Term* fold_literal(TermManager* mgr, std::size_t widest, std::size_t width, const QNumber& a,
                         Fold fold) {
  if (widest <= word_bits) {
    Word x = BVNumber::to_word(a);
    fold(x);
    return make_literal(mgr, x, width);
  }
  const mpz_ptr x = load(wide_operands().x, a);
  fold(x);
  return make_literal(mgr, x, width);
}

/// The same of two operands.
template <class Fold>
const Term* fold_literals(TermManager* mgr, std::size_t widest, std::size_t width, const QNumber& a,
                          const QNumber& b, Fold fold) {
  if (widest <= word_bits) {
    Word x = BVNumber::to_word(a);
    Word y = BVNumber::to_word(b);
    fold(x, y);
    return make_literal(mgr, x, width);
  }
  WideOperands& wide = wide_operands();
  const mpz_ptr x = load(wide.x, a);
  const mpz_ptr y = load(wide.y, b);
  fold(x, y);
  return make_literal(mgr, x, width);
}

/// Where the width of an operator is read: in its symbol, or, by those whose rule turns on the place of the
/// first operand's last bit, in the type of that operand.
enum class Width { of_symbol, of_operand };

/// The width of a bit-vector term, `otherwise` for a term of another type.
inline std::size_t width_of(const TermManager* mgr, const Term* t, std::size_t otherwise) {
  const DataType* type = mgr->type_of(t);
  return mgr->is_bv_type(type) ? mgr->get_width_from_type(type->get_component(1)) : otherwise;
}

/// The operator that `is_op` recognises, with two operands: returns `make(width, a, b)` for literals.
template <auto is_op, Width width_from, class Make>
const Term* with_two_literals(TermManager* mgr, const Symbol* s, const Args& args, Make make) {
  std::size_t w = 0;
  if (!(mgr->*is_op)(s, &w)) return mgr->do_make_term(s, args);
  if constexpr (width_from == Width::of_operand) w = width_of(mgr, args[0], w);
  const QNumber* const a = mgr->get_number(args[0]);
  if (a == nullptr) return mgr->do_make_term(s, args);
  const QNumber* const b = mgr->get_number(args[1]);
  if (b == nullptr || !may_fold(mgr, w)) return mgr->do_make_term(s, args);
  return make(w, *a, *b);
}

/// An operator on one operand whose result has the operand's width; the fold is `fold(x, width)`.
template <auto is_op, class Fold>
const Term* fold_unary(TermManager* mgr, const Symbol* s, const Args& args, Fold fold) {
  std::size_t w = 0;
  if (!(mgr->*is_op)(s, &w)) return mgr->do_make_term(s, args);
  const QNumber* const a = mgr->get_number(args[0]);
  if (a == nullptr || !may_fold(mgr, w)) return mgr->do_make_term(s, args);
  return fold_literal(mgr, w, w, *a, [&](auto& x) { fold(x, w); });
}

/// An operator on two operands whose result has their width; the fold is `fold(x, y, width)`.
template <auto is_op, Width width_from = Width::of_symbol, class Fold>
const Term* fold_binary(TermManager* mgr, const Symbol* s, const Args& args, Fold fold) {
  return with_two_literals<is_op, width_from>(
      mgr, s, args, [&](std::size_t w, const QNumber& a, const QNumber& b) {
        return fold_literals(mgr, w, w, a, b, [&](auto& x, auto& y) { fold(x, y, w); });
      });
}

}  // namespace quarv::termsimpl::bv
