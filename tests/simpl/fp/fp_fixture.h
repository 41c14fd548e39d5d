#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <vector>

#include <gmpxx.h>
#include <gtest/gtest.h>

#include <quarv/numbers/ieee_float.h>
#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

namespace quarv {

/// A term manager whose constructors simplify, and short ways to write floating-point terms.
class FloatingPoints : public ::testing::Test {
 protected:
  using Format = IEEEFloat::format;
  static constexpr Format binary16{5, 10};
  static constexpr Format binary32{8, 23};
  static constexpr Format binary64{11, 52};
  static constexpr Format binary128{15, 112};

  /// The formats that the edge cases are tried in: tiny, of one and of two words, and beyond.
  static constexpr Format formats[] = {{2, 1},   {3, 2},   {1, 3},  binary16,  {8, 7},    binary32,
                                       {10, 53}, binary64, {4, 80}, binary128, {11, 200}, {62, 5}};

  FloatingPoints() {
    termsimpl::register_standard_simplifications(&mgr, &simplifier);
    mgr.set_simplifier(&simplifier);
    rounding_modes = {mgr.make_rounding_even(), mgr.make_rounding_zero(), mgr.make_rounding_plus_inf(),
                      mgr.make_rounding_minus_inf()};
    even = rounding_modes[0];
    away = mgr.make_rounding_away();
    any_rounding = mgr.make_constant("r", mgr.rounding_mode_type);
  }

  static QNumber number(const mpz_class& value) { return QNumber::from_integer(value.get_mpz_t()); }
  static mpz_class pow2(std::size_t n) { return mpz_class(1) << n; }

  const Term* literal(const mpz_class& bits, Format f) {
    return mgr.make_fp_bits_number(number(bits), f.ew, f.mw);
  }
  const Term* literal(bool negative, const mpz_class& exponent, const mpz_class& significand, Format f) {
    return literal((negative ? pow2(f.ew + f.mw) : mpz_class(0)) + (exponent << f.mw) + significand, f);
  }
  const Term* zero(Format f, bool negative = false) { return literal(negative, 0, 0, f); }
  const Term* infinity(Format f, bool negative = false) { return literal(negative, pow2(f.ew) - 1, 0, f); }
  const Term* nan(Format f, bool negative, const mpz_class& payload) {
    return literal(negative, pow2(f.ew) - 1, payload, f);
  }
  /// The NaN that operations give.
  const Term* nan(Format f) { return nan(f, false, pow2(f.mw - 1)); }

  /// The number closest to `value`.
  const Term* value(const QNumber& value, Format f) {
    const IEEEFloat x = IEEEFloat::from_number(value, f, IEEEFloat::round_nearest_even);
    return mgr.make_fp_bits_number(x.get_bits(), f.ew, f.mw);
  }
  const Term* value(const char* text, Format f) { return value(QNumber::parse(text), f); }

  const Term* bv(const mpz_class& value, std::size_t w) { return mgr.make_bv_number(number(value), w); }
  const Term* bv_variable(std::size_t w) { return mgr.make_constant("b", mgr.get_bv_type(w)); }
  const Term* variable(Format f, const char* name) {
    return mgr.make_constant(name, mgr.get_fp_type(f.ew, f.mw));
  }

  /// Whether `t` is the application of the operator of this tag to these arguments.
  bool is_application(const Term* t, SymbolTag::tag tag, const std::vector<const Term*>& args) {
    const auto actual = mgr.args_of(t);
    return mgr.get_tag(t->symbol) == tag && std::vector<const Term*>(actual.begin(), actual.end()) == args;
  }

  StdTermSimplifier simplifier;
  TermManager mgr;
  std::vector<const Term*> rounding_modes;  ///< in the order of `IEEEFloat::rounding_mode`
  const Term* even;
  const Term* away;          ///< roundNearestTiesToAway
  const Term* any_rounding;  ///< a variable
};

}  // namespace quarv
