#include <utility>

#include <quarv/numbers/bv_number.h>
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
  using S = typename L::Significand;
  using Exponent = typename L::Exponent;
  const auto& m = f.magnitude(a);
  const bool negative = f.sign(a);
  if (f.is_nan(m)) {
    swflt::raise(swflt::flag_invalid);
    return QNumber();
  }
  if (!f.is_finite(m)) return saturated(negative, width);
  if (f.is_zero(m)) return QNumber();
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
using WideMagnitude = swflt::Magnitude<swflt::WidestLayout::Significand, std::int64_t>;
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

/// The same in a significand of fixed size.
WideMagnitude wide_magnitude(const QNumber& v, BitCount precision) {
  using S = swflt::WidestLayout::Significand;
  UnboundedMagnitude exact = unbounded_magnitude(v, precision);
  const BitCount length = swflt::bit_length(exact.significand);
  if (length > swflt::bits_of<S>) {
    const BitCount excess = length - swflt::bits_of<S>;
    exact.significand = swflt::shift_right_jam(exact.significand, excess);
    exact.exponent += static_cast<std::int64_t>(excess);
  }
  return {swflt::convert_significand<S>(exact.significand), exact.exponent};
}

template <class L>
typename L::Bits encode_number(const L& f, swflt::rounding_mode mode, const QNumber& v) {
  return swflt::encode(f, mode, v.sign() < 0, unbounded_magnitude(v, f.precision()));
}

/// An integer of no more bits than a wide encoding that is not below 0, and the number of a wide integer.
swflt::WideEncoding wide_integer(const QNumber& x) {
  if (x.is_small()) return swflt::WideEncoding(static_cast<std::uint64_t>(x.small_num()));
  swflt::WideEncoding r;
  for (std::size_t i = 0; i < r.words; ++i) r.word[i] = mpz_getlimbn(x.big_num(), static_cast<mp_size_t>(i));
  return r;
}
template <std::size_t N>
QNumber number_of(const swflt::WideUInt<N>& x) {
  mp_size_t size = N;
  while (size > 0 && x.word[static_cast<std::size_t>(size) - 1] == 0) --size;
  mpz_t integer;
  return QNumber::from_integer(mpz_roinit_n(integer, x.word.data(), size));
}

}  // namespace

template <>
std::uint64_t IEEEFloat::load_any(const swflt::WordLayout& /*f*/) const {
  return kind() == word32 ? word32_ : word64_;
}
template <>
void IEEEFloat::store_any(const swflt::WordLayout& /*f*/, const std::uint64_t& word) {
  if (kind() == word32) {
    word32_ = static_cast<std::uint32_t>(word);
  } else {
    word64_ = word;
  }
}

template <>
swflt::WidestLayout::Bits IEEEFloat::load_any(const swflt::WidestLayout& f) const {
  if (fits_word()) return f.from_encoding(swflt::WideEncoding(kind() == word32 ? word32_ : word64_));
  return with_wide_layout(
      [](const auto& access, const IEEEFloat& x) {
        return swflt::with_significand_type<swflt::WidestLayout::Significand>(access.load(x));
      },
      *this);
}

template <>
mpz_class IEEEFloat::load_any(const swflt::GeneralLayout& f) const {
  switch (kind()) {
    case word32:
      return mpz_class(word32_);
    case word64:
      return mpz_class(word64_);
    case wide_float:
      return swflt::convert_significand<mpz_class>(
          swflt::WidestLayout(f).encoding(load_any(swflt::WidestLayout(f))));
    case unbounded_number:
      break;
  }
  return number_.num();
}
template <>
void IEEEFloat::store_any(const swflt::GeneralLayout& f, const mpz_class& bits) {
  switch (kind()) {
    case word32:
    case word64:
      return store_any(swflt::WordLayout(f), bits.get_ui());
    case wide_float:
      return store_encoding(swflt::convert_significand<swflt::WideEncoding>(bits));
    case unbounded_number:
      break;
  }
  number_.set_integer(bits.get_mpz_t());
}

void IEEEFloat::store_encoding(const swflt::WideEncoding& encoding) {
  with_wide_layout([](const auto& access, IEEEFloat& x,
                      const swflt::WideEncoding& e) { access.store(x, access.layout.from_encoding(e)); },
                   *this, encoding);
}

IEEEFloat IEEEFloat::from_bits(const QNumber& bits, format f) {
  using namespace swflt;
  IEEEFloat x(f, round_nearest_even);
  if (x.fits_word()) {
    bits::Word word = BVNumber::to_word(bits);
    bits::reduce(word, f.width());
    x.store_any(make_layout<WordLayout>(f), word);
  } else if (x.kind() == unbounded_number) {
    BVNumber::residue(bits, f.width(), &x.number_);
  } else {
    QNumber residue;
    BVNumber::residue(bits, f.width(), &residue);
    x.store_encoding(wide_integer(residue));
  }
  return x;
}

QNumber IEEEFloat::get_bits() const {
  if (kind() == word32) return QNumber(static_cast<std::int64_t>(word32_));
  if (kind() == unbounded_number) return number_;
  if (kind() == word64) return number_of(swflt::WideUInt<1>(word64_));
  const auto layout = swflt::make_layout<swflt::WidestLayout>(format_);
  return number_of(layout.encoding(load_any(layout)));
}

IEEEFloat IEEEFloat::from_number(const QNumber& v, format f, rounding_mode r) {
  using namespace swflt;
  IEEEFloat x(f, r);
  if (v.is_zero()) return x;
  if (fits_words(v) && fits_layout<WordLayout>(f)) {
    const auto layout = make_layout<WordLayout>(f);
    x.store_any(layout, encode_words(layout, r, v));
  } else if (fits_layout<WidestLayout>(f)) {
    const WideMagnitude magnitude = wide_magnitude(v, make_layout<WidestLayout>(f).precision());
    const bool negative = v.sign() < 0;
    x.with_fixed_layout(
        [](const auto& access, IEEEFloat& y, const bool& sign, const WideMagnitude& exact) {
          access.store(y, swflt::encode(access.layout, y.get_rounding_mode(), sign, exact));
        },
        x, negative, magnitude);
  } else {
    const auto layout = make_layout<GeneralLayout>(f);
    x.store_any(layout, encode_number(layout, r, v));
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
  const L from = swflt::make_layout<L>(format_), to = swflt::make_layout<L>(target.format_);
  target.store_any(to, swflt::convert<typename L::Significand, typename L::Exponent>(
                           from, to, get_rounding_mode(), load_any(from)));
}

void IEEEFloat::set_format(format f) {
  using namespace swflt;
  IEEEFloat target(f, get_rounding_mode());
  if (fits_layout<WordLayout>(format_) && fits_layout<WordLayout>(f)) {
    convert_to<WordLayout>(target);
  } else if (kind() == wide_float && target.kind() == wide_float &&
             significand_words(format_.mw + 1) == significand_words(f.mw + 1)) {
    target.with_wide_layout(
        [](const auto& access, IEEEFloat& y, const IEEEFloat& x) {
          using S = typename std::remove_cvref_t<decltype(access.layout)>::Significand;
          const auto from = make_layout<DynamicWideLayout<S>>(x.format_);
          const auto& bits = x.load<wide_float>(from);
          access.store(y, swflt::convert<S, std::int64_t>(from, access.layout, y.get_rounding_mode(), bits));
        },
        target, *this);
  } else if (fits_layout<WidestLayout>(format_) && fits_layout<WidestLayout>(f)) {
    const auto from = make_layout<WidestLayout>(format_);
    const WidestLayout::Bits bits = load_any(from);
    target.with_fixed_layout(
        [](const auto& access, IEEEFloat& x, const WidestLayout& layout, const WidestLayout::Bits& y) {
          access.store(x, swflt::convert<WidestLayout::Significand, std::int64_t>(layout, access.layout,
                                                                                  x.get_rounding_mode(), y));
        },
        target, from, bits);
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
  const auto value = swflt::decode<mpz_class, mpz_class>(f, f.magnitude(load_any(f)));
  const BitCount fraction_bits = swflt::bit_length(value.significand) - 1;
  const mpz_class exponent = value.exponent + mpz_class(fraction_bits);
  const BitCount padding = (4 - fraction_bits % 4) % 4;
  std::string digits = mpz_class(value.significand << padding).get_str(16);
  digits.erase(digits.find_last_not_of('0') + 1);
  if (digits.size() > 1) digits.insert(1, 1, '.');
  return sign + "0x" + digits + (sgn(exponent) < 0 ? "p" : "p+") + exponent.get_str();
}

}  // namespace quarv
