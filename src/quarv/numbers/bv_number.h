/// \file
/// Bit-level operations on integers that stand for bit-vectors.
#pragma once

#include <cstddef>

#include <gmp.h>

#include <quarv/export.h>
#include <quarv/numbers/q_number.h>

namespace quarv {

/// Bit-level operations on integers.
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
    const QNumber power(1L << w);
    *out = power;
  }

  /// x = x mod 2^w. A number whose magnitude has no bits above w stays as it is, even if it is negative: a
  /// small one for w >= 64, a big one for every w. So x must not be negative when w can exceed 63.
  static void trim(QNumber& x, std::size_t w) {
    if (!x.is_small()) {
      trim_big(x, w);
      return;
    }
    if (w > 63) return;
    const unsigned long word = static_cast<unsigned long>(x.small_num());
    const unsigned long modulus = 1UL << w;
    if (word >= modulus) x = QNumber(static_cast<long>(word & (modulus - 1)));
  }

  /// out = 0 for x = 0, and 2^w - x otherwise: the two's-complement negation of x in 0 .. 2^w - 1.
  static void neg(std::size_t w, const QNumber& x, QNumber* out) {
    if (x.is_zero()) {
      *out = x;
    } else if (x.is_small() && x.small_num() > 0 && w <= 63) {
      *out = QNumber(static_cast<long>((1UL << w) - static_cast<unsigned long>(x.small_num())));
    } else {
      neg_big(w, x, out);
    }
  }

  /// out = x for x >= 0, and x + 2^w otherwise: the unsigned encoding of x in -2^(w-1) .. 2^(w-1) - 1.
  static void twos_complement(const QNumber& x, std::size_t w, QNumber* out) {
    if (x.sign() >= 0) {
      *out = x;
    } else if (x.is_small() && w <= 63) {
      *out = QNumber(static_cast<long>((1UL << w) + static_cast<unsigned long>(x.small_num())));
    } else {
      twos_complement_big(x, w, out);
    }
  }

  /// out = -x - 1, the complement of every bit.
  static void bit_complement(const QNumber& x, QNumber* out) {
    if (x.is_small()) {
      *out = QNumber(~x.small_num());
    } else {
      bit_complement_big(x, out);
    }
  }

  /// out = x * 2^n.
  static void bit_left_shift(const QNumber& x, std::size_t n, QNumber* out) {
    if (n == 0) {
      *out = x;
    } else if (x.is_small() && n <= max_word_power &&
               static_cast<unsigned long>(x.small_num()) >> (63 - n) == 0) {
      *out = QNumber(x.small_num() << n);
    } else {
      bit_left_shift_big(x, n, out);
    }
  }

  /// out = x / 2^n, rounded down; but 0 for every small x, negative ones too, when n >= 64.
  static void bit_right_shift(const QNumber& x, std::size_t n, QNumber* out) {
    if (n == 0) {
      *out = x;
    } else if (x.is_small()) {
      *out = QNumber(n < 64 ? x.small_num() >> n : 0L);
    } else {
      bit_right_shift_big(x, n, out);
    }
  }

  /// out = a op b for a bitwise operation, which is given twice: on words as `lop(long, long)` and on GMP
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

  static long bit_and_l(long a, long b) { return a & b; }
  static long bit_or_l(long a, long b) { return a | b; }
  static long bit_xor_l(long a, long b) { return a ^ b; }

 private:
  /// The greatest power of two that the word paths form before they look at the operand.
  static constexpr std::size_t max_word_power = 61;

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
  static void bit_complement_big(const QNumber& x, QNumber* out);
  static void bit_left_shift_big(const QNumber& x, std::size_t n, QNumber* out);
  static void bit_right_shift_big(const QNumber& x, std::size_t n, QNumber* out);
};

}  // namespace quarv
