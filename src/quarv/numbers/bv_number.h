/// \file
/// Bit-level operations on integers that stand for bit-vectors.
#pragma once

#include <algorithm>
#include <cstddef>

#include <gmp.h>

#include <quarv/export.h>
#include <quarv/numbers/bits.h>
#include <quarv/numbers/q_number.h>

namespace quarv {

/// Bit-level operations on integers: those of `bits`, on words or on GMP integers, whichever form an operand
/// has.
///
/// A bit-vector constant of width w is an integer in 0 .. 2^w - 1, read as an unsigned binary number; its
/// width is kept beside it. The helpers that take a width map such values to such values. The others work on
/// all integers in two's complement with infinitely many sign bits, and the caller brings their results into
/// range.
///
/// A number in small form is computed with in machine words and without allocation; any other in
/// `QNumber::gmp_tmp`, of the thread. A
/// computed result is small whenever it fits. The result may replace an operand. Operands are integers;
/// nothing is defined for fractions. Nothing is thrown but `std::bad_alloc`.
class QUARV_API BVNumber {
 public:
  BVNumber() = delete;

  /// out = 2^w. An `out` in big form keeps its memory for w <= 61.
  static void pow2(std::size_t w, QNumber* out) {
    if (w > max_word_power) {
      pow2_big(w, out);
      return;
    }
    bits::Word power = 0;
    bits::set_power(power, w);
    const QNumber number = small(power);
    *out = number;  // a copy, which goes where `out` holds its number
  }

  /// x = x mod 2^w. A number whose magnitude has no bits above w stays as it is, even if it is negative: a
  /// small one for w >= 64, a big one for every w. So x must not be negative when w can exceed 63.
  static void trim(QNumber& x, std::size_t w) {
    if (!x.is_small()) {
      trim_big(x, w);
      return;
    }
    if (w > 63) return;
    bits::Word word = to_word(x);
    bits::reduce(word, w);
    x = small(word);
  }

  /// out = 0 for x = 0, and 2^w - x otherwise: the two's-complement negation of x in 0 .. 2^w - 1.
  static void neg(std::size_t w, const QNumber& x, QNumber* out) {
    if (x.is_zero()) {
      *out = x;
    } else if (x.is_small() && x.small_num() > 0 && w <= 63) {
      bits::Word difference = 0;
      bits::set_power(difference, w);
      bits::subtract(difference, to_word(x));
      *out = small(difference);
    } else {
      neg_big(w, x, out);
    }
  }

  /// out = x for x >= 0, and x + 2^w otherwise: the unsigned encoding of x in -2^(w-1) .. 2^(w-1) - 1.
  static void twos_complement(const QNumber& x, std::size_t w, QNumber* out) {
    if (x.sign() >= 0) {
      *out = x;
    } else if (x.is_small() && w <= 63) {
      bits::Word sum = 0;
      bits::set_power(sum, w);
      bits::add(sum, to_word(x));
      *out = small(sum);
    } else {
      twos_complement_big(x, w, out);
    }
  }

  /// out = x for x < 2^(w-1), and x - 2^w otherwise: what x in 0 .. 2^w - 1 encodes. \pre w > 0
  static void signed_value(const QNumber& x, std::size_t w, QNumber* out) {
    if (w <= bits::word_bits) {
      bits::Word word = to_word(x);
      bits::sign_extend(word, w);
      *out = small(word);
    } else if (x.is_small()) {
      *out = x;
    } else {
      signed_value_big(x, w, out);
    }
  }

  /// out = x mod 2^w, which is in 0 .. 2^w - 1 for every integer x.
  static void residue(const QNumber& x, std::size_t w, QNumber* out) {
    if (w <= bits::word_bits) {
      bits::Word word = to_word(x);
      bits::reduce(word, w);
      *out = QNumber(word);
    } else if (x.is_small() && x.small_num() >= 0) {
      *out = x;
    } else {
      residue_big(x, w, out);
    }
  }

  /// x mod 2^64.
  static bits::Word to_word(const QNumber& x) {
    if (x.is_small()) return static_cast<bits::Word>(x.small_num());
    const bits::Word magnitude = mpz_get_ui(x.big_num());
    return x.sign() < 0 ? -magnitude : magnitude;
  }

  /// Bit i of x, the bits of whose sign go on without end.
  static bool bit(const QNumber& x, std::size_t i) {
    return x.is_small() ? bits::bit(to_word(x), std::min(i, bits::word_bits - 1)) : bits::bit(x.big_num(), i);
  }

  /// out = -x - 1, the complement of every bit.
  static void bit_complement(const QNumber& x, QNumber* out) {
    if (x.is_small()) {
      bits::Word word = to_word(x);
      bits::complement(word);
      *out = small(word);
    } else {
      bit_complement_big(x, out);
    }
  }

  /// out = x * 2^n.
  static void bit_left_shift(const QNumber& x, std::size_t n, QNumber* out) {
    if (n == 0) {
      *out = x;
    } else if (x.is_small() && n <= max_word_power &&
               static_cast<std::uint64_t>(x.small_num()) >> (63 - n) == 0) {
      bits::Word word = to_word(x);
      bits::shift_left(word, n);
      *out = small(word);
    } else {
      bit_left_shift_big(x, n, out);
    }
  }

  /// out = x / 2^n, rounded down; but 0 for every small x, negative ones too, when n >= 64.
  static void bit_right_shift(const QNumber& x, std::size_t n, QNumber* out) {
    if (n == 0) {
      *out = x;
    } else if (x.is_small()) {
      bits::Word word = n < bits::word_bits ? to_word(x) : 0;
      bits::shift_right_signed(word, n % bits::word_bits);
      *out = small(word);
    } else {
      bit_right_shift_big(x, n, out);
    }
  }

  /// out = a op b for a bitwise operation, which is given twice: on words as `lop(a, b)` and on GMP
  /// integers as `mop(result, a, b)`, where the result may be an operand. The pairs in use are `bit_and_l`
  /// and `mpz_and`, `bit_or_l` and `mpz_ior`, `bit_xor_l` and `mpz_xor`.
  template <class LongOp, class MpzOp>
  static void bit_op(const QNumber& a, const QNumber& b, LongOp lop, MpzOp mop, QNumber* out) {
    if (a.is_small() && b.is_small()) {
      *out = QNumber(lop(a.small_num(), b.small_num()));
      return;
    }
    const mpz_srcptr left = numerator(a);
    const mpz_srcptr right = numerator(b);
    mop(QNumber::gmp_tmp[0], left, right);
    out->set_integer(QNumber::gmp_tmp[0]);
  }

  static std::int64_t bit_and_l(std::int64_t a, std::int64_t b) { return on_words(bits::and_with, a, b); }
  static std::int64_t bit_or_l(std::int64_t a, std::int64_t b) { return on_words(bits::or_with, a, b); }
  static std::int64_t bit_xor_l(std::int64_t a, std::int64_t b) { return on_words(bits::xor_with, a, b); }

 private:
  /// The greatest power of two that the word paths form before they look at the operand.
  static constexpr std::size_t max_word_power = 61;

  /// The number that a word is, read as a signed one.
  static QNumber small(bits::Word x) { return QNumber(static_cast<std::int64_t>(x)); }

  static std::int64_t on_words(void op(bits::Word&, bits::Word), std::int64_t a, std::int64_t b) {
    bits::Word x = static_cast<bits::Word>(a);
    op(x, static_cast<bits::Word>(b));
    return static_cast<std::int64_t>(x);
  }

  /// The numerator as a GMP integer: that of a small number is put into `gmp_tmp[0]`.
  static mpz_srcptr numerator(const QNumber& x) {
    if (!x.is_small()) return x.big_num();
    mpz_set_si(QNumber::gmp_tmp[0], x.small_num());
    return QNumber::gmp_tmp[0];
  }

  static void pow2_big(std::size_t w, QNumber* out);
  static void trim_big(QNumber& x, std::size_t w);
  static void neg_big(std::size_t w, const QNumber& x, QNumber* out);
  static void twos_complement_big(const QNumber& x, std::size_t w, QNumber* out);
  static void signed_value_big(const QNumber& x, std::size_t w, QNumber* out);
  static void residue_big(const QNumber& x, std::size_t w, QNumber* out);
  static void bit_complement_big(const QNumber& x, QNumber* out);
  static void bit_left_shift_big(const QNumber& x, std::size_t n, QNumber* out);
  static void bit_right_shift_big(const QNumber& x, std::size_t n, QNumber* out);
};

}  // namespace quarv
