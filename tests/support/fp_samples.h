/// \file
/// Random terms without variables over floating-point numbers and bit-vectors, each with its text in SMT-LIB.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gmpxx.h>

#include "reference/floats.h"
#include <quarv/numbers/ieee_float.h>
#include <quarv/term/term_manager.h>

namespace quarv {

struct FpSample {
  const Term* term;
  std::string text;
  bool open;  ///< the standard does not fix the value of the term
};

/// Makes the terms with the full constructors of the manager that it is given.
///
/// The standard leaves open: the minimum and the maximum of two zeros of opposite sign; conversions to
/// bit-vectors of NaN, infinities, and numbers whose rounded value is out of range; and, as it does not
/// define `fp.to_ieee_bv`, the encoding of NaN. A term is open when one of its operands is.
class FpSamples {
 public:
  using Format = IEEEFloat::format;

  /// \param encodings whether the encoding of a number, `fp.to_ieee_bv`, is among the operators.
  FpSamples(TermManager& manager, std::vector<Format> formats, bool encodings, unsigned seed)
      : mgr_(manager), formats_(std::move(formats)), encodings_(encodings), engine_(seed) {}

  /// A term of any sort, at most `depth` operators deep.
  FpSample any(int depth) {
    switch (below(4)) {
      case 0:
        return boolean(depth);
      case 1:
        return bit_vector(depth);
      default:
        return number(any_format(), depth);
    }
  }

  /// The text of a literal or truth value; empty for any other term.
  std::string literal_text(const Term* t) const {
    if (t == mgr_.true_term) return "true";
    if (t == mgr_.false_term) return "false";
    const QNumber* const value = mgr_.get_number(t);
    if (value == nullptr) return "";
    const DataType* const type = mgr_.type_of(t);
    if (mgr_.is_bv_type(type)) return "#b" + digits(value->num(), mgr_.get_width_from_type(type));
    Format f{};
    mgr_.get_format_from_type(type, &f.ew, &f.mw);
    const std::string bits = digits(value->num(), f.width());
    return list({"fp", "#b" + bits.substr(0, 1), "#b" + bits.substr(1, f.ew), "#b" + bits.substr(1 + f.ew)});
  }

  static std::string list(std::initializer_list<std::string_view> parts) {
    std::string result = "(";
    for (const std::string_view part : parts) {
      if (result.size() > 1) result += ' ';
      result += part;
    }
    result += ')';
    return result;
  }

 private:
  struct Rounding {
    const Term* term;
    const char* text;
    int mode;
  };

  std::size_t below(std::size_t bound) { return engine_() % bound; }
  Format any_format() { return formats_[below(formats_.size())]; }

  Rounding rounding() {
    const Rounding modes[] = {{mgr_.make_rounding_even(), "RNE", 0},
                              {mgr_.make_rounding_zero(), "RTZ", 1},
                              {mgr_.make_rounding_plus_inf(), "RTP", 2},
                              {mgr_.make_rounding_minus_inf(), "RTN", 3}};
    return modes[below(4)];
  }

  static mpz_class pow2(std::size_t n) { return mpz_class(1) << n; }
  static QNumber number_of(const mpz_class& x) { return QNumber::from_integer(x.get_mpz_t()); }

  static std::string digits(const mpz_class& x, std::size_t w) {
    const std::string text = x.get_str(2);
    return std::string(w - text.size(), '0') + text;
  }

  static std::string sort_index(const char* name, Format f) {
    return list({"_", name, std::to_string(f.ew), std::to_string(f.mw + 1)});
  }

  /// An integer of w bits: a border, or any, with a random number of zeros at the end.
  mpz_class bits(std::size_t w) {
    const mpz_class borders[] = {0, 1, pow2(w - 1), pow2(w) - 1, pow2(w - 1) - 1};
    if (below(3) == 0) return borders[below(5)];
    mpz_class x;
    for (std::size_t i = 0; i < w; i += 64) x = (x << 64) + static_cast<unsigned long>(engine_());
    x %= pow2(w);
    const std::size_t zeros = below(2) == 0 ? 0 : below(w);
    return x >> zeros << zeros;
  }

  FpSample literal(Format f) {
    const mpz_class last = pow2(f.ew) - 1;
    const mpz_class bias = pow2(f.ew - 1) - 1;
    const mpz_class exponents[] = {0, 1, last, mpz_class(last - 1), mpz_class(last / 2 + below(f.mw + 3))};
    mpz_class exponent;
    switch (below(3)) {
      case 0:
        exponent = exponents[below(5)];
        break;
      case 1:
        exponent = bias + static_cast<long>(below(12)) - 4;
        break;
      default:
        exponent = bits(f.ew);
    }
    if (exponent < 0 || exponent > last) exponent = bias;
    const mpz_class encoding = below(2) * pow2(f.ew + f.mw) + (exponent << f.mw) + bits(f.mw);
    const Term* const t = mgr_.make_fp_bits_number(number_of(encoding), f.ew, f.mw);
    return {t, literal_text(t), false};
  }

  FpSample bit_vector_literal(std::size_t w) {
    const Term* const t = mgr_.make_bv_number(number_of(bits(w)), w);
    return {t, literal_text(t), false};
  }

  reference::FloatFormat format_of(const FpSample& x) const {
    Format f{};
    mgr_.get_format_from_type(mgr_.type_of(x.term), &f.ew, &f.mw);
    return {f.ew, f.mw};
  }

  // Of literals only.

  mpz_class encoding(const FpSample& x) const { return mgr_.get_number(x.term)->num(); }
  bool is_nan(const FpSample& x) const { return format_of(x).is_nan(encoding(x)); }

  bool fits(const FpSample& x, int mode, std::size_t w, bool is_signed) const {
    return format_of(x)
        .to_integer(encoding(x), w, is_signed, static_cast<reference::Rounding>(mode))
        .has_value();
  }

  bool are_opposite_zeros(const FpSample& a, const FpSample& b) const {
    const reference::FloatFormat f = format_of(a);
    return f.is_zero(encoding(a)) && f.is_zero(encoding(b)) && encoding(a) != encoding(b);
  }

  FpSample boolean(int depth) {
    const Format f = any_format();
    const FpSample a = number(f, depth - 1);
    struct Classification {
      const Term* (TermManager::*make)(const Term*);
      const char* text;
    };
    static constexpr Classification classifications[] = {
        {&TermManager::make_fp_isnan, "fp.isNaN"},
        {&TermManager::make_fp_isinf, "fp.isInfinite"},
        {&TermManager::make_fp_iszero, "fp.isZero"},
        {&TermManager::make_fp_issubnormal, "fp.isSubnormal"},
        {&TermManager::make_fp_isnormal, "fp.isNormal"},
        {&TermManager::make_fp_isneg, "fp.isNegative"},
        {&TermManager::make_fp_ispos, "fp.isPositive"}};
    if (below(2) == 0) {
      const Classification& c = classifications[below(7)];
      return {(mgr_.*c.make)(a.term), list({c.text, a.text}), a.open};
    }
    const FpSample b = number(f, depth - 1);
    const bool open = a.open || b.open;
    switch (below(3)) {
      case 0:
        return {mgr_.make_fp_eq(a.term, b.term), list({"fp.eq", a.text, b.text}), open};
      case 1:
        return {mgr_.make_fp_lt(a.term, b.term), list({"fp.lt", a.text, b.text}), open};
      default:
        return {mgr_.make_fp_le(a.term, b.term), list({"fp.leq", a.text, b.text}), open};
    }
  }

  FpSample bit_vector(int depth) {
    const Format f = any_format();
    const FpSample a = number(f, depth - 1);
    if (encodings_ && below(4) == 0) {
      const bool open = a.open || is_nan(a);
      return {mgr_.make_fp_as_ieeebv(a.term), list({"fp.to_ieee_bv", a.text}), open};
    }
    const std::size_t w = 1 + below(below(2) == 0 ? 8 : 130);
    const Rounding r = rounding();
    const bool is_signed = below(2) == 0;
    const bool open = a.open || !fits(a, r.mode, w, is_signed);
    const std::string op = list({"_", is_signed ? "fp.to_sbv" : "fp.to_ubv", std::to_string(w)});
    return {is_signed ? mgr_.make_fp_to_sbv(w, r.term, a.term) : mgr_.make_fp_to_ubv(w, r.term, a.term),
            list({op, r.text, a.text}), open};
  }

  FpSample number(Format f, int depth) {
    if (depth <= 0) return literal(f);
    switch (below(7)) {
      case 0:
      case 1:
      case 2:
        return rounded_operation(f, depth);
      case 3:
        return minimum_or_maximum(f, depth);
      case 4:
        return changed_sign(f, depth);
      case 5: {
        const Format source = any_format();
        const FpSample a = number(source, depth - 1);
        const Rounding r = rounding();
        return {mgr_.make_fp_cast(f.ew, f.mw, r.term, a.term), list({sort_index("to_fp", f), r.text, a.text}),
                a.open};
      }
      default:
        return from_bit_vector(f, depth);
    }
  }

  FpSample rounded_operation(Format f, int depth) {
    struct Operation {
      const Term* (TermManager::*make)(const Term*, const Term*, const Term*);
      const char* text;
    };
    static constexpr Operation operations[] = {{&TermManager::make_fp_add, "fp.add"},
                                               {&TermManager::make_fp_sub, "fp.sub"},
                                               {&TermManager::make_fp_mul, "fp.mul"},
                                               {&TermManager::make_fp_div, "fp.div"}};
    const Rounding r = rounding();
    const FpSample a = number(f, depth - 1);
    if (below(5) == 0) return {mgr_.make_fp_sqrt(r.term, a.term), list({"fp.sqrt", r.text, a.text}), a.open};
    const FpSample b = number(f, depth - 1);
    const Operation& op = operations[below(4)];
    return {(mgr_.*op.make)(r.term, a.term, b.term), list({op.text, r.text, a.text, b.text}),
            a.open || b.open};
  }

  FpSample minimum_or_maximum(Format f, int depth) {
    const FpSample a = number(f, depth - 1);
    const FpSample b = number(f, depth - 1);
    const bool open = a.open || b.open || are_opposite_zeros(a, b);
    if (below(2) == 0) return {mgr_.make_fp_min(a.term, b.term), list({"fp.min", a.text, b.text}), open};
    return {mgr_.make_fp_max(a.term, b.term), list({"fp.max", a.text, b.text}), open};
  }

  FpSample changed_sign(Format f, int depth) {
    const FpSample a = number(f, depth - 1);
    if (below(2) == 0) return {mgr_.make_fp_neg(a.term), list({"fp.neg", a.text}), a.open};
    return {mgr_.make_fp_abs(a.term), list({"fp.abs", a.text}), a.open};
  }

  FpSample from_bit_vector(Format f, int depth) {
    if (below(3) == 0) {
      const FpSample a = bit_vector_literal(f.width());
      return {mgr_.make_fp_from_ieeebv(f.ew, f.mw, a.term), list({sort_index("to_fp", f), a.text}), false};
    }
    const FpSample a = below(2) == 0 ? bit_vector_literal(1 + below(130)) : bit_vector(depth - 1);
    const Rounding r = rounding();
    if (below(2) == 0) {
      return {mgr_.make_fp_from_sbv(f.ew, f.mw, r.term, a.term),
              list({sort_index("to_fp", f), r.text, a.text}), a.open};
    }
    return {mgr_.make_fp_from_ubv(f.ew, f.mw, r.term, a.term),
            list({sort_index("to_fp_unsigned", f), r.text, a.text}), a.open};
  }

  TermManager& mgr_;
  std::vector<Format> formats_;
  bool encodings_;
  std::mt19937_64 engine_;
};

}  // namespace quarv
