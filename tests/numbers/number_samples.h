/// \file
/// Random numbers near the borders where `QNumber` changes its way of computing.
#pragma once

#include <cstddef>
#include <ostream>
#include <random>
#include <support/test_scale.h>

#include <gmpxx.h>

#include <quarv/numbers/q_number.h>

namespace quarv {

/// How GoogleTest shows a number.
inline void PrintTo(const QNumber& x, std::ostream* out) {
  *out << x.to_string() << (x.is_small() ? " (small)" : " (big)");
}

class NumberSamples {
 public:
  explicit NumberSamples(unsigned seed) : engine_(seed) {}

  /// A number in 0 .. bound - 1.
  unsigned below(unsigned bound) { return static_cast<unsigned>(engine_() % bound); }

  bool coin() { return below(2) == 0; }

  /// An integer near 0, 2^10, 2^31, 2^32, 2^62, 2^63 or 2^64, of a random size up to 64 bits, or of hundreds
  /// of bits; of either sign.
  mpz_class integer() {
    static constexpr unsigned exponents[] = {10, 31, 32, 62, 63, 64};
    mpz_class result;
    switch (below(8)) {
      case 0:
      case 1:
        result = static_cast<long>(below(20)) - 10;
        break;
      case 2:
      case 3:
        result = (mpz_class(1) << exponents[below(6)]) + (static_cast<long>(below(7)) - 3);
        break;
      case 4:
      case 5:
      case 6:
        result = static_cast<unsigned long>(engine_() >> below(64));
        break;
      default:
        for (unsigned limbs = 1 + below(7); limbs != 0; --limbs) {
          result = (result << 64) + static_cast<unsigned long>(engine_());
        }
        result >>= below(64);
    }
    return coin() ? mpz_class(-result) : result;
  }

  /// A fraction of such integers; often an integer, often with a small denominator.
  mpq_class fraction() {
    mpz_class denominator = 1;
    switch (below(4)) {
      case 0:
        break;
      case 1:
        denominator = 1 + below(40);
        break;
      case 2:
        denominator = 1 + below(1U << 30);
        break;
      default:
        denominator = integer();
        if (denominator == 0) denominator = 1;
    }
    mpq_class result(integer(), denominator);
    result.canonicalize();
    return result;
  }

  /// The integer in small form, if it fits, or else, or at times, in big form.
  QNumber number(const mpz_class& value) {
    const QNumber big(value.get_mpz_t(), mpz_class(1).get_mpz_t(), false);
    return below(3) == 0 ? big : big.demoted();
  }

  /// The fraction in small form, if it fits, or else, or at times, in big form.
  QNumber number(const mpq_class& value) {
    const QNumber big(value.get_num_mpz_t(), value.get_den_mpz_t(), false);
    return below(3) == 0 ? big : big.demoted();
  }

  /// A width or a shift count: often one next to the size of a word.
  std::size_t width() {
    static constexpr unsigned borders[] = {0, 1, 31, 32, 61, 62, 63, 64, 65, 127, 128};
    return coin() ? borders[below(11)] : below(300);
  }

 private:
  std::mt19937_64 engine_;
};

}  // namespace quarv
