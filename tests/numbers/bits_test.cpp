// The operations on bit-vectors, on words and on integers, against what they mean for integers: all operands
// of small widths, and random ones of any width.
#include <gmpxx.h>
#include <gtest/gtest.h>

#include "numbers/number_samples.h"
#include <quarv/numbers/bits.h>
#include <quarv/numbers/bv_number.h>

namespace quarv::bits {
namespace {

mpz_class power(std::size_t w) {
  return mpz_class(1) << w;
}

mpz_class residue(const mpz_class& x, std::size_t w) {
  mpz_class result;
  mpz_mod(result.get_mpz_t(), x.get_mpz_t(), power(w).get_mpz_t());
  return result;
}

mpz_class signed_value(const mpz_class& x, std::size_t w) {
  return x < power(w - 1) ? x : mpz_class(x - power(w));
}

mpz_class floor_quotient(const mpz_class& x, const mpz_class& y) {
  mpz_class result;
  mpz_fdiv_q(result.get_mpz_t(), x.get_mpz_t(), y.get_mpz_t());
  return result;
}

/// What `of_bits(x_i, y_i)` gives for each bit.
mpz_class bit_by_bit(const mpz_class& x, const mpz_class& y, std::size_t w, bool of_bits(bool, bool)) {
  mpz_class result;
  for (std::size_t i = w; i-- != 0;) {
    const bool a = mpz_class(x / power(i)) % 2 != 0;
    const bool b = mpz_class(y / power(i)) % 2 != 0;
    result = 2 * result + (of_bits(a, b) ? 1 : 0);
  }
  return result;
}

/// An operation as `run(x, y, w)`, for words and for integers, and as integers are to define it, modulo 2^w.
struct Operation {
  const char* name;
  void (*on_words)(Word& x, Word& y, std::size_t w);
  void (*on_integers)(mpz_ptr x, mpz_ptr y, std::size_t w);
  mpz_class (*expected)(const mpz_class& x, const mpz_class& y, std::size_t w);
};

/// One generic callable for both.
template <class Run>
Operation operation(const char* name, Run,
                    mpz_class expected(const mpz_class&, const mpz_class&, std::size_t)) {
  return {name, [](Word& x, Word& y, std::size_t w) { Run()(x, y, w); },
          [](mpz_ptr x, mpz_ptr y, std::size_t w) { Run()(x, y, w); }, expected};
}

using Z = const mpz_class&;
using W = std::size_t;

const Operation operations[] = {
    operation(
        "and", [](auto&& x, auto&& y, W) { and_with(x, y); },
        [](Z x, Z y, W w) { return bit_by_bit(x, y, w, [](bool a, bool b) { return a && b; }); }),
    operation(
        "or", [](auto&& x, auto&& y, W) { or_with(x, y); },
        [](Z x, Z y, W w) { return bit_by_bit(x, y, w, [](bool a, bool b) { return a || b; }); }),
    operation(
        "xor", [](auto&& x, auto&& y, W) { xor_with(x, y); },
        [](Z x, Z y, W w) { return bit_by_bit(x, y, w, [](bool a, bool b) { return a != b; }); }),
    operation(
        "complement", [](auto&& x, auto&&, W) { complement(x); },
        [](Z x, Z, W w) { return mpz_class(power(w) - 1 - x); }),
    operation(
        "negate", [](auto&& x, auto&&, W) { negate(x); }, [](Z x, Z, W) { return mpz_class(-x); }),
    operation(
        "add", [](auto&& x, auto&& y, W) { add(x, y); }, [](Z x, Z y, W) { return mpz_class(x + y); }),
    operation(
        "subtract", [](auto&& x, auto&& y, W) { subtract(x, y); },
        [](Z x, Z y, W) { return mpz_class(x - y); }),
    operation(
        "multiply", [](auto&& x, auto&& y, W) { multiply(x, y); },
        [](Z x, Z y, W) { return mpz_class(x * y); }),
    operation(
        "divide", [](auto&& x, auto&& y, W) { divide(x, y); },
        [](Z x, Z y, W) { return y == 0 ? mpz_class(-1) : floor_quotient(x, y); }),
    operation(
        "take_remainder", [](auto&& x, auto&& y, W) { take_remainder(x, y); },
        [](Z x, Z y, W) { return y == 0 ? x : mpz_class(x - y * floor_quotient(x, y)); }),
    operation(
        "divide_signed", [](auto&& x, auto&& y, W w) { divide_signed(x, y, w); },
        [](Z x, Z y, W w) {
          const mpz_class a = signed_value(x, w), b = signed_value(y, w);
          return b == 0 ? mpz_class(a < 0 ? 1 : -1) : mpz_class(a / b);
        }),
    operation(
        "take_signed_remainder", [](auto&& x, auto&& y, W w) { take_signed_remainder(x, y, w); },
        [](Z x, Z y, W w) {
          const mpz_class a = signed_value(x, w), b = signed_value(y, w);
          return b == 0 ? a : mpz_class(a % b);
        }),
    operation(
        "sign_extend", [](auto&& x, auto&&, W w) { sign_extend(x, w); },
        [](Z x, Z, W w) { return signed_value(x, w); }),
    operation(
        "shift_left_by", [](auto&& x, auto&& y, W w) { shift_left_by(x, y, w); },
        [](Z x, Z y, W w) { return y < w ? mpz_class(x * power(y.get_ui())) : mpz_class(); }),
    operation(
        "shift_right_by", [](auto&& x, auto&& y, W w) { shift_right_by(x, y, w); },
        [](Z x, Z y, W w) { return y < w ? floor_quotient(x, power(y.get_ui())) : mpz_class(); }),
    operation(
        "shift_right_signed_by", [](auto&& x, auto&& y, W w) { shift_right_signed_by(x, y, w); },
        [](Z x, Z y, W w) { return floor_quotient(signed_value(x, w), power(y < w ? y.get_ui() : w)); }),
    // The upper half of the bits behind the lower one of y, and rotations by as many bits.
    operation(
        "append",
        [](auto&& x, auto&& y, W w) {
          shift_right(x, w - w / 2);
          reduce(y, w - w / 2);
          append(x, y, w - w / 2);
        },
        [](Z x, Z y, W w) {
          const mpz_class low = power(w - w / 2);
          return mpz_class(floor_quotient(x, low) * low + residue(y, w - w / 2));
        }),
    operation(
        "rotate_left",
        [](auto&& x, auto&& y, W w) {
          if (w < 2) return;
          subtract(y, y);
          add(y, x);
          rotate_left(x, y, w / 2, w);
        },
        [](Z x, Z, W w) { return mpz_class(x * power(w / 2) + floor_quotient(x, power(w - w / 2))); }),
};

void check(const Operation& op, const mpz_class& x, const mpz_class& y, std::size_t w) {
  const mpz_class expected = residue(op.expected(x, y, w), w);
  mpz_class a = x;
  mpz_class b = y;
  op.on_integers(a.get_mpz_t(), b.get_mpz_t(), w);
  reduce(a.get_mpz_t(), w);
  ASSERT_EQ(a, expected) << op.name << " of " << x << " and " << y << " at width " << w;
  if (w > word_bits) return;
  Word c = x.get_ui();
  Word d = y.get_ui();
  op.on_words(c, d, w);
  reduce(c, w);
  ASSERT_EQ(c, expected) << op.name << " of the words " << x << " and " << y << " at width " << w;
}

TEST(Bits, AllOperandsOfSmallWidths) {
  for (std::size_t w = 1; w <= 5; ++w) {
    for (unsigned long x = 0; x < 1UL << w; ++x) {
      for (unsigned long y = 0; y < 1UL << w; ++y) {
        for (const Operation& op : operations) ASSERT_NO_FATAL_FAILURE(check(op, x, y, w));
      }
    }
  }
}

TEST(Bits, RandomOperands) {
  NumberSamples samples(20250311);
  const int count = num_cases(2000);
  for (int i = 0; i < count; ++i) {
    // Half of them as wide as a word at most, and half of the amounts of shifts within the width.
    const std::size_t w = 1 + (samples.coin() ? samples.below(64) : samples.below(512));
    const mpz_class x = residue(samples.integer(), w);
    const mpz_class y = samples.coin() ? residue(samples.integer(), w) : residue(samples.below(w + 2), w);
    for (const Operation& op : operations) ASSERT_NO_FATAL_FAILURE(check(op, x, y, w));
  }
}

TEST(Bits, SignedRepresentationsHaveTheirValue) {
  for (std::size_t w = 1; w <= 64; ++w) {
    for (const mpz_class& x :
         {mpz_class(0), mpz_class(power(w - 1) - 1), power(w - 1), mpz_class(power(w) - 1)}) {
      Word word = x.get_ui();
      sign_extend(word, w);
      EXPECT_EQ(static_cast<long>(word), signed_value(x, w)) << x << " at width " << w;
      mpz_class integer = x;
      sign_extend(integer.get_mpz_t(), w);
      EXPECT_EQ(integer, signed_value(x, w)) << x << " at width " << w;
    }
  }
}

/// A number, in either form, whose value is `expected` and which is small wherever it can be.
void expect_canonical(const QNumber& x, const mpz_class& expected) {
  ASSERT_EQ(x.num(), expected);
  ASSERT_EQ(x.den(), 1);
  ASSERT_EQ(x.is_small(), abs(expected) < power(63)) << expected;
}

/// What holds of all integers, and of all values of a width, in either form.
TEST(BVNumberValues, ResiduesSignsAndBits) {
  NumberSamples samples(20250312);
  const int count = num_cases(50000);
  for (int i = 0; i < count; ++i) {
    const mpz_class value = samples.integer();
    const QNumber x = samples.number(value);
    const std::size_t w = samples.width();
    QNumber out = x;
    BVNumber::residue(out, w, &out);
    ASSERT_EQ(out.num(), residue(value, w)) << value << " " << w;
    if (value < 0 || value >= power(w)) {
      ASSERT_NO_FATAL_FAILURE(expect_canonical(out, residue(value, w)));
    }
    ASSERT_EQ(BVNumber::to_word(x), residue(value, 64)) << value;
    ASSERT_EQ(BVNumber::bit(x, w), floor_quotient(value, power(w)) % 2 != 0) << value << " " << w;
    if (w == 0) continue;
    const mpz_class reduced = residue(value, w);
    out = samples.number(reduced);
    BVNumber::signed_value(out, w, &out);
    ASSERT_EQ(out.num(), signed_value(reduced, w)) << reduced << " " << w;
    if (w <= 64 || reduced >= power(w - 1)) {
      ASSERT_NO_FATAL_FAILURE(expect_canonical(out, signed_value(reduced, w)));
    }
  }
}

}  // namespace
}  // namespace quarv::bits
