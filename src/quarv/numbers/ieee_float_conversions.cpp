#include <limits>
#include <utility>

#include <quarv/numbers/ieee_float_storage.h>
#include <quarv/numbers/swflt/conversions.h>

namespace quarv {

namespace {

using swflt::BitCount;

/// The bound of the range of `width` bits, read signed if `negative` or else unsigned, which stands for all
/// beyond it.
QNumber saturated(bool negative, std::size_t width) {
  swflt::raise(swflt::flag_invalid);
  if (width == 0) return QNumber();
  if (width < 64) {
    const std::uint64_t word = std::uint64_t{1} << (negative ? width - 1 : width);
    return QNumber(negative ? -static_cast<std::int64_t>(word) : static_cast<std::int64_t>(word - 1));
  }
  mpz_class bound;
  mpz_setbit(bound.get_mpz_t(), negative ? width - 1 : width);
  bound = negative ? mpz_class(-bound) : mpz_class(bound - 1);
  return QNumber::from_integer(bound.get_mpz_t());
}

/// Whether ±integer · 2^shift, which is not 0, is in the range of `width` bits, read signed or unsigned.
template <class S>
bool fits_width(bool negative, const S& integer, BitCount shift, std::size_t width) {
  const BitCount length = swflt::bit_length(integer);
  if (shift > width || length > width - shift) return false;
  return !negative || length + shift < width || swflt::is_power_of_two(integer);
}

/// ±integer · 2^shift.
template <class S>
QNumber signed_number(bool negative, const S& integer, BitCount shift) {
  if (swflt::is_zero(integer)) return QNumber();
  if (swflt::bit_length(integer) + shift < 64) {
    const auto word = static_cast<std::int64_t>(swflt::convert_significand<std::uint64_t>(integer) << shift);
    return QNumber(negative ? -word : word);
  }
  mpz_class value = swflt::convert_significand<mpz_class>(integer) << shift;
  if (negative) value = -value;
  return QNumber::from_integer(value.get_mpz_t());
}

/// `to_integer` of the encoding `a`.
template <class L>
QNumber integer_of(const L& f, swflt::rounding_mode mode, const typename L::Bits& a, std::size_t width) {
  using S = typename L::Bits;
  using Exponent = typename L::Exponent;
  const S m = f.magnitude(a);
  const bool negative = f.sign(a);
  if (f.is_nan(m)) {
    swflt::raise(swflt::flag_invalid);
    return QNumber();
  }
  if (!f.is_finite(m)) return saturated(negative, width);
  if (swflt::is_zero(m)) return QNumber();
  const swflt::Magnitude<S, Exponent> value = swflt::decode<S, Exponent>(f, m);
  S integer = value.significand;
  BitCount shift = 0;
  bool inexact = false;
  if (value.exponent >= 0) {
    shift = swflt::shift_count(value.exponent);
  } else {
    const BitCount fraction_bits = swflt::shift_count(Exponent(-value.exponent));
    integer = swflt::round_to_integer(mode, negative, integer, fraction_bits, inexact);
  }
  if (!swflt::is_zero(integer) && !fits_width(negative, integer, shift, width))
    return saturated(negative, width);
  if (inexact) swflt::raise(swflt::flag_inexact);
  return signed_number(negative, integer, shift);
}

using WordMagnitude = swflt::Magnitude<std::uint64_t, std::int64_t>;
using DoubleWordMagnitude = swflt::Magnitude<swflt::uint128, std::int64_t>;
using UnboundedMagnitude = swflt::Magnitude<mpz_class, std::int64_t>;

/// num / den, jammed to at least 65 bits. Both are above 0 and below 2^63, and den is at least 2.
DoubleWordMagnitude word_quotient(std::uint64_t num, std::uint64_t den) {
  const unsigned shift = 63 + swflt::leading_zeros(num);
  const swflt::uint128 dividend = swflt::uint128{num} << shift;
  const swflt::uint128 quotient = dividend / den;
  return {quotient << 1 | (quotient * den != dividend), -static_cast<std::int64_t>(shift) - 1};
}

/// |v|, which is not 0, to at least `precision` + 2 bits, jammed.
UnboundedMagnitude unbounded_magnitude(const QNumber& v, BitCount precision) {
  const mpz_class num = abs(v.num());
  if (v.is_integer()) return {num, 0};
  const swflt::Scaled<mpz_class> quotient = swflt::quotient(num, v.den(), precision);
  return {quotient.significand, quotient.scale};
}

/// Whether |v| is a fraction of words, or an integer of one word that is not held small.
bool fits_words(const QNumber& v) {
  return v.is_small() || (v.is_integer() && mpz_size(v.big_num()) == 1);
}

template <class L>
typename L::Bits encode_words(const L& f, swflt::rounding_mode mode, const QNumber& v) {
  if (!v.is_small()) {
    return swflt::encode(f, mode, v.sign() < 0, WordMagnitude{mpz_get_ui(v.big_num()), 0});
  }
  const bool negative = v.small_num() < 0;
  const auto num = static_cast<std::uint64_t>(negative ? -v.small_num() : v.small_num());
  if (v.small_den() == 1) return swflt::encode(f, mode, negative, WordMagnitude{num, 0});
  return swflt::encode(f, mode, negative, word_quotient(num, static_cast<std::uint64_t>(v.small_den())));
}

template <class L>
typename L::Bits encode_number(const L& f, swflt::rounding_mode mode, const QNumber& v) {
  return swflt::encode(f, mode, v.sign() < 0, unbounded_magnitude(v, f.precision()));
}

}  // namespace

IEEEFloat IEEEFloat::from_number(const QNumber& v, format f, rounding_mode r) {
  using namespace swflt;
  IEEEFloat x(f, r);
  if (v.is_zero()) return x;
  if (fits_words(v) && fits_layout<WordLayout>(f)) {
    x.store_any(encode_words(make_layout<WordLayout>(f), r, v));
  } else if (fits_layout<FixedLayout>(f)) {
    x.store_any(encode_number(make_layout<FixedLayout>(f), r, v));
  } else {
    x.store_any(encode_number(make_layout<GeneralLayout>(f), r, v));
  }
  return x;
}

QNumber IEEEFloat::to_integer(std::size_t width) const {
  return with_layout(
      [](const auto& access, const IEEEFloat& x, std::size_t& bits) {
        return integer_of(access.layout, x.get_rounding_mode(), access.load(x), bits);
      },
      *this, width);
}

IEEEFloat round(const IEEEFloat& x) {
  IEEEFloat result = x;
  result.with_layout(
      [](const auto& access, IEEEFloat& y) {
        access.store(y, swflt::round_to_integral(access.layout, y.get_rounding_mode(), access.load(y)));
      },
      result);
  return result;
}

template <class L>
void IEEEFloat::convert_to(IEEEFloat& target) const {
  using Bits = typename L::Bits;
  const L from = swflt::make_layout<L>(format_), to = swflt::make_layout<L>(target.format_);
  target.store_any(
      swflt::convert<Bits, typename L::Exponent>(from, to, get_rounding_mode(), load_any<Bits>()));
}

void IEEEFloat::set_format(format f) {
  using namespace swflt;
  IEEEFloat target(f, get_rounding_mode());
  // One layout that fits both formats reads the one and writes the other.
  if (fits_layout<WordLayout>(format_) && fits_layout<WordLayout>(f)) {
    convert_to<WordLayout>(target);
  } else if (fits_layout<FixedLayout>(format_) && fits_layout<FixedLayout>(f)) {
    convert_to<FixedLayout>(target);
  } else {
    convert_to<GeneralLayout>(target);
  }
  *this = target;
}

std::string IEEEFloat::to_string() const {
  if (is_nan()) return "nan";
  const std::string sign = get_sign() ? "-" : "";
  if (is_inf()) return sign + "inf";
  if (is_zero()) return sign + "0x0p+0";
  const auto f = swflt::make_layout<swflt::GeneralLayout>(format_);
  const auto value = swflt::decode<mpz_class, mpz_class>(f, f.magnitude(load_any<mpz_class>()));
  const BitCount fraction_bits = swflt::bit_length(value.significand) - 1;
  const mpz_class exponent = value.exponent + mpz_class(fraction_bits);
  const BitCount padding = (4 - fraction_bits % 4) % 4;
  std::string digits = mpz_class(value.significand << padding).get_str(16);
  digits.erase(digits.find_last_not_of('0') + 1);
  if (digits.size() > 1) digits.insert(1, 1, '.');
  return sign + "0x" + digits + (sgn(exponent) < 0 ? "p" : "p+") + exponent.get_str();
}

}  // namespace quarv
