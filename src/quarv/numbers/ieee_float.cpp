#include <cassert>
#include <stdexcept>

#include <quarv/numbers/ieee_float.h>
#include <quarv/numbers/ieee_float_storage.h>
#include <quarv/numbers/swflt/arithmetic.h>
#include <quarv/numbers/swflt/comparison.h>

namespace quarv {

namespace {

/// The integer type of the encodings of a layout.
template <class L>
using BitsOf = typename std::decay_t<L>::Bits;

}  // namespace

IEEEFloat::IEEEFloat(format f, rounding_mode mode) : format_(f) {
  if (f.ew == 0 || f.mw == 0) {
    throw std::invalid_argument(
        "a floating-point format needs at least one exponent and one significand bit");
  }
  kind_and_mode_ = kind_of(f) << kind_shift | mode;
  if (holds_number()) {
    new (&number_) QNumber();
  } else {
    word64_ = 0;
    store(std::uint64_t{0});
  }
}

void IEEEFloat::assign_number(const IEEEFloat& other) {
  if (this == &other) return;
  if (holds_number() && other.holds_number()) {
    number_ = other.number_;
  } else {
    if (holds_number()) number_.~QNumber();
    kind_and_mode_ = 0;
    construct_from(other);
  }
}

IEEEFloat IEEEFloat::from_bits(const QNumber& bits, format f) {
  IEEEFloat x(f, round_nearest_even);
  if (!x.holds_number()) {
    std::uint64_t word = static_cast<std::uint64_t>(bits.is_small() ? bits.small_num() : 0);
    if (!bits.is_small()) {
      word = mpz_getlimbn(bits.big_num(), 0);
      if (mpz_sgn(bits.big_num()) < 0) word = -word;
    }
    x.store(word << (64 - f.width()) >> (64 - f.width()));
  } else if (bits.is_small() && bits.small_num() >= 0) {
    x.number_ = bits;
  } else {
    mpz_class reduced = bits.num();
    mpz_fdiv_r_2exp(reduced.get_mpz_t(), reduced.get_mpz_t(), f.width());
    x.number_.set_integer(reduced.get_mpz_t());
  }
  return x;
}

QNumber IEEEFloat::get_bits() const {
  if (kind() == word32) return QNumber(static_cast<long>(word32_));
  if (kind() != word64) return number_;
  if (static_cast<long>(word64_) >= 0) return QNumber(static_cast<long>(word64_));
  const mp_limb_t limb = word64_;
  mpz_t integer;
  return QNumber::from_integer(mpz_roinit_n(integer, &limb, 1));
}

bool IEEEFloat::identical(const IEEEFloat& other) const {
  if (format_ != other.format_) return false;
  if (kind() == word32) return word32_ == other.word32_;
  if (kind() == word64) return word64_ == other.word64_;
  return number_ == other.number_;
}

IEEEFloat& IEEEFloat::operator+=(const IEEEFloat& b) {
  assert(format_ == b.format_);
  with_layout([&](const auto& f) {
    using Bits = BitsOf<decltype(f)>;
    store(swflt::add(f, get_rounding_mode(), load<Bits>(), b.load<Bits>()));
  });
  return *this;
}

IEEEFloat& IEEEFloat::operator-=(const IEEEFloat& b) {
  assert(format_ == b.format_);
  with_layout([&](const auto& f) {
    using Bits = BitsOf<decltype(f)>;
    store(swflt::add(f, get_rounding_mode(), load<Bits>(), f.negated(b.load<Bits>())));
  });
  return *this;
}

IEEEFloat& IEEEFloat::operator*=(const IEEEFloat& b) {
  assert(format_ == b.format_);
  with_layout([&](const auto& f) {
    using Bits = BitsOf<decltype(f)>;
    store(swflt::multiply(f, get_rounding_mode(), load<Bits>(), b.load<Bits>()));
  });
  return *this;
}

IEEEFloat& IEEEFloat::operator/=(const IEEEFloat& b) {
  assert(format_ == b.format_);
  with_layout([&](const auto& f) {
    using Bits = BitsOf<decltype(f)>;
    store(swflt::divide(f, get_rounding_mode(), load<Bits>(), b.load<Bits>()));
  });
  return *this;
}

void IEEEFloat::sqrt() {
  with_layout([&](const auto& f) {
    using Bits = BitsOf<decltype(f)>;
    store(swflt::square_root(f, get_rounding_mode(), load<Bits>()));
  });
}

void IEEEFloat::self_neg() {
  set_sign(!get_sign());
}

void IEEEFloat::set_sign(bool negative) {
  with_layout([&](const auto& f) {
    using Bits = BitsOf<decltype(f)>;
    store(f.with_sign(f.magnitude(load<Bits>()), negative));
  });
}

bool IEEEFloat::get_sign() const {
  return with_layout([&](const auto& f) { return f.sign(load<BitsOf<decltype(f)>>()); });
}

bool IEEEFloat::is_nan() const {
  return test_magnitude([](const auto& f, const auto& m) { return f.is_nan(m); });
}

bool IEEEFloat::is_inf() const {
  return test_magnitude([](const auto& f, const auto& m) { return m == f.infinity(); });
}

bool IEEEFloat::is_zero() const {
  return test_magnitude([](const auto&, const auto& m) { return swflt::is_zero(m); });
}

bool IEEEFloat::is_subnormal() const {
  return test_magnitude([](const auto& f, const auto& m) { return f.is_subnormal(m); });
}

bool IEEEFloat::is_normal() const {
  return test_magnitude([](const auto& f, const auto& m) { return f.is_normal(m); });
}

bool operator==(const IEEEFloat& a, const IEEEFloat& b) {
  assert(a.format_ == b.format_);
  return a.with_layout([&](const auto& f) {
    using Bits = BitsOf<decltype(f)>;
    return swflt::equal(f, a.load<Bits>(), b.load<Bits>());
  });
}

bool operator<(const IEEEFloat& a, const IEEEFloat& b) {
  assert(a.format_ == b.format_);
  return a.with_layout([&](const auto& f) {
    using Bits = BitsOf<decltype(f)>;
    return swflt::less(f, a.load<Bits>(), b.load<Bits>());
  });
}

bool operator<=(const IEEEFloat& a, const IEEEFloat& b) {
  assert(a.format_ == b.format_);
  return a.with_layout([&](const auto& f) {
    using Bits = BitsOf<decltype(f)>;
    return swflt::less_or_equal(f, a.load<Bits>(), b.load<Bits>());
  });
}

}  // namespace quarv
