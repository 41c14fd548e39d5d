/// \file
/// Floating-point numbers of any format with two or more exponent bits, as MPFR computes with them.
#pragma once

#include <cstddef>

#include <gmpxx.h>
#include <mpfr.h>

namespace quarv {

/// A number of one format. The exponent range of MPFR is that of the format made last: make the result's
/// last.
class MpfrFloat {
 public:
  /// \param ew exponent bits \param mw stored significand bits
  MpfrFloat(std::size_t ew, std::size_t mw) : ew_(ew), mw_(mw) {
    mpfr_set_emin(2 - bias() - static_cast<long>(mw));
    mpfr_set_emax(bias() + 1);
    mpfr_init2(value_, static_cast<mpfr_prec_t>(mw + 1));
  }
  MpfrFloat(const MpfrFloat&) = delete;
  MpfrFloat& operator=(const MpfrFloat&) = delete;
  ~MpfrFloat() { mpfr_clear(value_); }

  mpfr_ptr get() { return value_; }

  void decode(const mpz_class& bits) {
    const mpz_class hidden = mpz_class(1) << mw_, last = (mpz_class(1) << ew_) - 1;
    const mpz_class field = (bits >> mw_) & last;
    mpz_class significand = bits & (hidden - 1);
    const bool negative = mpz_tstbit(bits.get_mpz_t(), ew_ + mw_) != 0;
    if (field == last && significand != 0) {
      mpfr_set_nan(value_);
    } else if (field == last) {
      mpfr_set_inf(value_, negative ? -1 : 1);
    } else {
      if (field != 0) significand += hidden;
      const long exponent = (field == 0 ? 1 : field.get_si()) - bias() - static_cast<long>(mw_);
      mpfr_set_z_2exp(value_, significand.get_mpz_t(), exponent, MPFR_RNDN);
      mpfr_setsign(value_, value_, negative, MPFR_RNDN);
    }
  }

  /// Ends an operation with that rounding and ternary value: subnormal numbers have fewer bits.
  void finish(int ternary, mpfr_rnd_t rounding) {
    mpfr_subnormalize(value_, mpfr_check_range(value_, ternary, rounding), rounding);
  }

  bool is_nan() const { return mpfr_nan_p(value_) != 0; }

  /// Of what is not NaN.
  mpz_class encode() const {
    const mpz_class hidden = mpz_class(1) << mw_, last = (mpz_class(1) << ew_) - 1;
    const mpz_class sign = mpfr_signbit(value_) ? mpz_class(1) << (ew_ + mw_) : mpz_class(0);
    if (mpfr_zero_p(value_)) return sign;
    if (mpfr_inf_p(value_)) return sign + last * hidden;
    mpz_class significand;
    const long exponent = mpfr_get_z_2exp(significand.get_mpz_t(), value_);
    significand = abs(significand);
    const long field = exponent + bias() + static_cast<long>(mw_);
    if (field < 1) return sign + (significand >> static_cast<unsigned long>(1 - field));
    return sign + mpz_class(field) * hidden + (significand - hidden);
  }

 private:
  long bias() const { return (1L << (ew_ - 1)) - 1; }

  std::size_t ew_, mw_;
  mpfr_t value_;
};

}  // namespace quarv
