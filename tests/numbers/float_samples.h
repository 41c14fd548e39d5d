/// \file
/// Random floating-point encodings of any format, most of them near the borders where arithmetic changes its
/// ways.
#pragma once

#include <cstdint>
#include <random>
#include <utility>

#include <gmpxx.h>

#include <quarv/numbers/ieee_float.h>

namespace quarv {

class FloatSamples {
 public:
  FloatSamples(IEEEFloat::format f, std::uint64_t seed) : format_(f), engine_(seed) {}

  /// An encoding for formats of up to 64 bits.
  std::uint64_t next_word() {
    const std::uint64_t field = exponent_field();
    return sign_and_exponent(field) << format_.mw | word_significand();
  }

  /// A pair in which the exponents are often close, or the numbers are.
  std::pair<std::uint64_t, std::uint64_t> next_word_pair() {
    const std::uint64_t a = next_word();
    if (below(8) == 0) return {a, (a + below(5) - 2) & mask(format_.width())};
    if (below(2) == 0) return {a, next_word()};
    return {a, sign_and_exponent(near_field(a >> format_.mw)) << format_.mw | word_significand()};
  }

  /// The same for every format.
  mpz_class next() {
    const std::uint64_t field = exponent_field();
    return with_significand(sign_and_exponent(field));
  }

  std::pair<mpz_class, mpz_class> next_pair() {
    const mpz_class a = next();
    if (below(2) == 0) return {a, next()};
    const mpz_class field = a >> format_.mw;
    return {a, with_significand(sign_and_exponent(near_field(field.get_ui())))};
  }

  std::uint64_t below(std::uint64_t bound) { return engine_() % bound; }

 private:
  static std::uint64_t mask(std::size_t bits) { return ~std::uint64_t{0} >> (64 - bits); }

  std::uint64_t sign_and_exponent(std::uint64_t field) { return below(2) << format_.ew | field; }

  /// Subnormal, least, greatest and special exponents, those near 1, and any.
  std::uint64_t exponent_field() {
    const std::uint64_t last = mask(format_.ew), bias = last >> 1;
    switch (below(8)) {
      case 0:
        return below(3) & last;
      case 1:
        return below(4) == 0 ? last : last - 1 - below(3) % last;
      case 2:
      case 3:
        return (bias + below(2 * format_.mw + 5) - format_.mw - 2) & last;
      case 4:  // where products of two are near the border of the subnormal or the infinite
        return (bias / 2 * (below(2) == 0 ? 1 : 3) + below(format_.mw + 3)) & last;
      default:
        return engine_() & last;
    }
  }

  std::uint64_t near_field(std::uint64_t field) {
    return (field + below(2 * format_.mw + 7) - format_.mw - 3) & mask(format_.ew);
  }

  /// Zero, one bit, ones, few leading bits, or any.
  std::uint64_t word_significand() {
    const std::uint64_t all = mask(format_.mw);
    switch (below(8)) {
      case 0:
        return 0;
      case 1:
        return std::uint64_t{1} << below(format_.mw);
      case 2:
        return all;
      case 3:
        return all ^ std::uint64_t{1} << below(format_.mw);
      case 4:
        return (engine_() << below(format_.mw)) & all;
      default:
        return engine_() & all;
    }
  }

  mpz_class with_significand(std::uint64_t sign_and_exponent) {
    const mpz_class bit = mpz_class(1) << below(format_.mw), all = (mpz_class(1) << format_.mw) - 1;
    mpz_class random = 0;
    for (std::size_t bits = 0; bits < format_.mw; bits += 64) random = (random << 64) + mpz_class(engine_());
    mpz_class significand;
    switch (below(8)) {
      case 0:
        break;
      case 1:
        significand = bit;
        break;
      case 2:
        significand = all;
        break;
      case 3:
        significand = all - bit;
        break;
      case 4:
        significand = (random * bit) & all;
        break;
      default:
        significand = random & all;
    }
    return (mpz_class(sign_and_exponent) << format_.mw) + significand;
  }

  IEEEFloat::format format_;
  std::mt19937_64 engine_;
};

}  // namespace quarv
