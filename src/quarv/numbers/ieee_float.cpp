#include <cassert>
#include <stdexcept>

#include <quarv/numbers/ieee_float.h>
#include <quarv/numbers/ieee_float_storage.h>
#include <quarv/numbers/swflt/arithmetic.h>
#include <quarv/numbers/swflt/comparison.h>

namespace quarv {

IEEEFloat::IEEEFloat(format f, rounding_mode mode) : format_(f) {
  if (f.ew == 0 || f.mw == 0) {
    throw std::invalid_argument(
        "a floating-point format needs at least one exponent and one significand bit");
  }
  kind_and_mode_ = kind_of(f) << kind_shift | mode;
  switch (kind()) {
    case word32:
      word32_ = 0;
      break;
    case word64:
      word64_ = 0;
      break;
    case wide_float:
      wide_ = {};
      break;
    case unbounded_number:
      new (&number_) QNumber();
  }
}

void IEEEFloat::assign_number(const IEEEFloat& other) {
  if (this == &other) return;
  if (owns_memory() && other.owns_memory()) {
    number_ = other.number_;
  } else {
    if (owns_memory()) number_.~QNumber();
    kind_and_mode_ = 0;
    construct_from(other);
  }
}

bool IEEEFloat::identical(const IEEEFloat& other) const {
  if (format_ != other.format_) return false;
  return with_layout([](const auto& access, const IEEEFloat& x,
                        const IEEEFloat& y) { return access.load(x) == access.load(y); },
                     *this, other);
}

template <class Operation>
void IEEEFloat::transform(Operation) {
  with_layout(
      [](const auto& access, IEEEFloat& x) {
        access.store(x, Operation()(access.layout, x.get_rounding_mode(), access.load(x)));
      },
      *this);
}

template <class Operation>
void IEEEFloat::transform(const IEEEFloat& b, Operation) {
  assert(format_ == b.format_);
  with_layout(
      [](const auto& access, IEEEFloat& x, const IEEEFloat& y) {
        access.store(x, Operation()(access.layout, x.get_rounding_mode(), access.load(x), access.load(y)));
      },
      *this, b);
}

template <class Relation>
bool IEEEFloat::compare(const IEEEFloat& a, const IEEEFloat& b, Relation) {
  assert(a.format_ == b.format_);
  return a.with_layout(
      [](const auto& access, const IEEEFloat& x, const IEEEFloat& y) {
        return Relation()(access.layout, access.load(x), access.load(y));
      },
      a, b);
}

template <class Predicate>
bool IEEEFloat::test_magnitude(Predicate) const {
  return with_layout(
      [](const auto& access, const IEEEFloat& x) {
        return Predicate()(access.layout, access.layout.magnitude(access.load(x)));
      },
      *this);
}

IEEEFloat& IEEEFloat::operator+=(const IEEEFloat& b) {
  transform(b,
            [](const auto& f, auto mode, const auto& x, const auto& y) { return swflt::add(f, mode, x, y); });
  return *this;
}

IEEEFloat& IEEEFloat::operator-=(const IEEEFloat& b) {
  transform(b, [](const auto& f, auto mode, const auto& x, const auto& y) {
    return swflt::add(f, mode, x, f.negated(y));
  });
  return *this;
}

IEEEFloat& IEEEFloat::operator*=(const IEEEFloat& b) {
  transform(b, [](const auto& f, auto mode, const auto& x, const auto& y) {
    return swflt::multiply(f, mode, x, y);
  });
  return *this;
}

IEEEFloat& IEEEFloat::operator/=(const IEEEFloat& b) {
  transform(
      b, [](const auto& f, auto mode, const auto& x, const auto& y) { return swflt::divide(f, mode, x, y); });
  return *this;
}

void IEEEFloat::sqrt() {
  transform([](const auto& f, auto mode, const auto& x) { return swflt::square_root(f, mode, x); });
}

void IEEEFloat::self_neg() {
  transform([](const auto& f, auto, const auto& x) { return f.negated(x); });
}

void IEEEFloat::set_sign(bool negative) {
  if (get_sign() != negative) self_neg();
}

bool IEEEFloat::get_sign() const {
  return with_layout(
      [](const auto& access, const IEEEFloat& x) { return access.layout.sign(access.load(x)); }, *this);
}

bool IEEEFloat::is_nan() const {
  return test_magnitude([](const auto& f, const auto& m) { return f.is_nan(m); });
}

bool IEEEFloat::is_inf() const {
  return test_magnitude([](const auto& f, const auto& m) { return f.is_infinite(m); });
}

bool IEEEFloat::is_zero() const {
  return test_magnitude([](const auto& f, const auto& m) { return f.is_zero(m); });
}

bool IEEEFloat::is_subnormal() const {
  return test_magnitude([](const auto& f, const auto& m) { return f.is_subnormal(m); });
}

bool IEEEFloat::is_normal() const {
  return test_magnitude([](const auto& f, const auto& m) { return f.is_normal(m); });
}

bool operator==(const IEEEFloat& a, const IEEEFloat& b) {
  return IEEEFloat::compare(
      a, b, [](const auto& f, const auto& x, const auto& y) { return swflt::equal(f, x, y); });
}

bool operator<(const IEEEFloat& a, const IEEEFloat& b) {
  return IEEEFloat::compare(a, b,
                            [](const auto& f, const auto& x, const auto& y) { return swflt::less(f, x, y); });
}

bool operator<=(const IEEEFloat& a, const IEEEFloat& b) {
  return IEEEFloat::compare(
      a, b, [](const auto& f, const auto& x, const auto& y) { return swflt::less_or_equal(f, x, y); });
}

}  // namespace quarv
