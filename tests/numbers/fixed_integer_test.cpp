// Division and square roots of fixed-size integers, and the arithmetic of wide ones, against GMP.

#include <random>

#include <gmpxx.h>
#include <gtest/gtest.h>

#include "numbers/number_samples.h"
#include <quarv/numbers/swflt/significand.h>

namespace quarv::swflt {
namespace {

class WordSamples {
 public:
  /// A word, often with few bits that differ from their neighbours.
  std::uint64_t word() {
    const std::uint64_t any = engine_();
    switch (engine_() % 6) {
      case 0:
        return ~std::uint64_t{0} << any % 64;
      case 1:
        return ~std::uint64_t{0} >> any % 64;
      case 2:
        return (std::uint64_t{1} << any % 64) - engine_() % 3;
      case 3:
        return 0 - engine_() % 4;
      default:
        return any;
    }
  }
  std::uint64_t top_word() { return word() | std::uint64_t{1} << 63; }
  uint128 top_double_word() { return uint128{top_word()} << 64 | word(); }
  template <std::size_t N = 4>
  WideUInt<N> wide() {
    WideUInt<N> r;
    for (std::uint64_t& w : r.word) w = word();
    return r;
  }
  unsigned below(unsigned bound) { return static_cast<unsigned>(engine_() % bound); }

 private:
  std::mt19937_64 engine_{60};
};

template <class S>
mpz_class exact(const S& s) {
  return convert_significand<mpz_class>(s);
}

/// floor(n / d) with the last bit set if the division leaves a remainder.
mpz_class quotient_jam(const mpz_class& n, const mpz_class& d) {
  const mpz_class q = n / d;
  return q * d == n ? q : mpz_class(q | 1);
}

mpz_class root_jam(const mpz_class& n) {
  const mpz_class r = sqrt(n);
  return r * r == n ? r : mpz_class(r | 1);
}

/// What is left of n when its bits below the first `precision` ones and the one after are or-ed into one.
mpz_class rounding_bits(const mpz_class& n, unsigned precision) {
  return exact(shift_right_jam(n, bit_length(n) - precision - 2));
}

TEST(FixedInteger, Quotients) {
  WordSamples samples;
  for (int round = 0; round < num_cases(100000); ++round) {
    const std::uint64_t a = samples.top_word(), b = samples.top_word();
    ASSERT_EQ(exact(fraction_quotient_jam(a, b)), quotient_jam(exact(a) << 63, exact(b)));
    const uint128 c = samples.top_double_word(), d = samples.top_double_word();
    ASSERT_EQ(exact(fraction_quotient_jam(c, d)), quotient_jam(exact(c) << 127, exact(d)));
    const auto check = [&samples](auto e, auto f) {
      constexpr std::size_t last = e.words - 1;
      e.word[last] |= std::uint64_t{1} << 63;
      f.word[last] |= std::uint64_t{1} << 63;
      // Often the two high words of divisor and remainder are the same, at the start or later.
      if (samples.below(4) == 0) f.set_double_word(last - 1, e.double_word(last - 1) >> samples.below(2));
      f.word[last] |= std::uint64_t{1} << 63;
      ASSERT_EQ(exact(fraction_quotient_jam(e, f)), quotient_jam(exact(e) << (e.bits - 1), exact(f)));
    };
    check(samples.wide<3>(), samples.wide<3>());
    check(samples.wide<4>(), samples.wide<4>());
    check(samples.wide<5>(), samples.wide<5>());
  }
}

TEST(FixedInteger, QuotientsWhoseRemaindersBeginLikeTheDivisor) {
  WordSamples samples;
  const std::uint64_t all = ~std::uint64_t{0}, top = std::uint64_t{1} << 63;
  for (int round = 0; round < num_cases(20000); ++round) {
    // a / b is q + r / b where r is b less a small number: the next word of the quotient is all ones.
    WideUInt<4> b = samples.wide<4>();
    b.word[3] |= top;
    const mpz_class q = exact(samples.word()) | top;
    const mpz_class small = exact(samples.wide<2>()) >> samples.below(128);
    const mpz_class n = (q * exact(b) + exact(b) - 1 - small) >> 63;
    if (bit_length(n) > 256) continue;
    const auto a = convert_significand<WideUInt<4>>(n);
    if (a.word[3] < top) continue;
    ASSERT_EQ(exact(fraction_quotient_jam(a, b)), quotient_jam(n << 255, exact(b)));
  }
  const std::uint64_t words[] = {0, 1, top - 1, top, top + 1, all - 1, all};
  const auto choose = [&] { return words[samples.below(7)]; };
  for (int round = 0; round < num_cases(100000); ++round) {
    WideUInt<3> a, b;
    for (std::size_t i = 0; i < 3; ++i) {
      a.word[i] = choose();
      b.word[i] = choose();
    }
    a.word[2] |= top;
    b.word[2] |= top;
    ASSERT_EQ(exact(fraction_quotient_jam(a, b)), quotient_jam(exact(a) << 191, exact(b)));
    const uint128 c = a.double_word(1), d = b.double_word(1);
    ASSERT_EQ(exact(fraction_quotient_jam(c, d)), quotient_jam(exact(c) << 127, exact(d)));
  }
}

TEST(FixedInteger, SquareRoots) {
  WordSamples samples;
  for (int round = 0; round < num_cases(100000); ++round) {
    const std::uint64_t a = samples.top_word() >> samples.below(2);
    for (const unsigned precision : {3u, 24u, 53u, 60u}) {
      const std::uint64_t root = fraction_sqrt_jam(a, precision);
      ASSERT_EQ(rounding_bits(exact(root), precision), rounding_bits(root_jam(exact(a) << 64), precision))
          << a;
    }
    const uint128 b = samples.top_double_word() >> samples.below(2);
    ASSERT_EQ(exact(fraction_sqrt_jam(b, 0)), root_jam(exact(b) << 128));
    const RootAndRemainder root = sqrt_with_remainder(b);
    ASSERT_EQ(exact(root.root), mpz_class(sqrt(exact(b))));
    ASSERT_EQ(exact(root.root) * exact(root.root) + exact(root.remainder), exact(b));
  }
}

TEST(FixedInteger, SquareRootsOfSquaresAndTheirNeighbours) {
  WordSamples samples;
  for (int round = 0; round < num_cases(100000); ++round) {
    const std::uint64_t root = samples.top_word();
    const uint128 square = uint128{root} * root;
    for (const uint128 n : {square - 1, square, square + 1}) {
      if (n >> 126 == 0) continue;
      ASSERT_EQ(exact(sqrt_with_remainder(n).root), mpz_class(sqrt(exact(n))));
      ASSERT_EQ(exact(fraction_sqrt_jam(n, 0)), root_jam(exact(n) << 128));
    }
    const std::uint64_t half = root >> 32, small = half * half;
    if (small >> 62 != 0) {
      ASSERT_EQ(exact(fraction_sqrt_jam(small, 53)), root_jam(exact(small) << 64));
    }
  }
}

template <std::size_t N>
void check_wide_words(int rounds) {
  WordSamples samples;
  const mpz_class modulus = mpz_class(1) << WideUInt<N>::bits;
  for (int round = 0; round < rounds; ++round) {
    const WideUInt<N> a = samples.wide<N>(), b = samples.wide<N>();
    const unsigned count = samples.below(WideUInt<N>::bits);
    ASSERT_EQ(exact(a + b), mpz_class((exact(a) + exact(b)) % modulus));
    ASSERT_EQ(exact(a - b), mpz_class((exact(a) - exact(b) + modulus) % modulus));
    ASSERT_EQ(exact(a << count), mpz_class((exact(a) << count) % modulus));
    ASSERT_EQ(exact(a >> count), mpz_class(exact(a) >> count));
    ASSERT_EQ(a < b, exact(a) < exact(b));
    ASSERT_EQ(exact(full_product(a, b)), exact(a) * exact(b));
    ASSERT_EQ(a.word_at(count), mpz_class((exact(a) >> count) % (mpz_class(1) << 64)));
    ASSERT_EQ(exact(WideUInt<N>::from_word(a.word[0], count)),
              mpz_class((exact(a.word[0]) << count) % modulus));
    ASSERT_EQ(test_bit(a, count), mpz_tstbit(exact(a).get_mpz_t(), count) != 0);
    ASSERT_EQ(a == b, exact(a) == exact(b));
    ASSERT_TRUE(a == convert_significand<WideUInt<N>>(exact(a)));
    ASSERT_EQ(exact(leading_part<WideUInt<N + 2>>(a)), mpz_class(exact(a) << 128));
    ASSERT_EQ(exact(leading_part<WideUInt<2>>(a)), shift_right_jam(exact(a), a.bits - 128));
    if (is_zero(a)) continue;
    ASSERT_EQ(bit_length(a), bit_length(exact(a)));
    ASSERT_EQ(trailing_zeros(a), trailing_zeros(exact(a)));
    ASSERT_EQ(exact(shift_right_jam(a, count)), shift_right_jam(exact(a), count));
    ASSERT_EQ(exact(shift_right_jam(a, a.bits + count)), 1);
  }
}

TEST(FixedInteger, WideWords) {
  check_wide_words<3>(num_cases(30000));
  check_wide_words<4>(num_cases(30000));
  check_wide_words<5>(num_cases(30000));
}

TEST(FixedInteger, BitsShiftedOut) {
  WordSamples samples;
  for (int round = 0; round < num_cases(100000); ++round) {
    const BitCount count = 1 + samples.below(300);
    const auto check = [&](auto s) {
      if (is_zero(s)) return;
      mpz_class wanted = exact(s);
      const unsigned tail = shift_out(wanted, count);
      ASSERT_EQ(shift_out(s, count), tail);
      ASSERT_EQ(exact(s), wanted);
    };
    check(samples.word());
    check(uint128{samples.word()} << 64 | samples.word());
    check(samples.wide());
  }
}

TEST(FixedInteger, Products) {
  WordSamples samples;
  for (int round = 0; round < num_cases(100000); ++round) {
    const auto check = [](const auto& a, const auto& b) {
      const auto p = product(a, b);
      ASSERT_EQ(exact(p.significand),
                shift_right_jam(mpz_class(exact(a) * exact(b)), static_cast<BitCount>(p.scale)));
    };
    check(samples.top_word(), samples.top_word());
    check(samples.top_double_word(), samples.top_double_word());
    check(samples.wide(), samples.wide());
  }
}

}  // namespace
}  // namespace quarv::swflt
