/// \file
/// How an `IEEEFloat` reaches its encoding and the operations that suit its format; for the sources of
/// `IEEEFloat` only.
#pragma once

#include <quarv/numbers/ieee_float.h>
#include <quarv/numbers/swflt/layout.h>

namespace quarv {

namespace swflt {

using SingleLayout = Layout<std::uint64_t, std::int64_t, StaticWidths<8, 23>>;
using DoubleLayout = Layout<std::uint64_t, std::int64_t, StaticWidths<11, 52>>;
using WordLayout = Layout<std::uint64_t, std::int64_t, DynamicWidths>;
using QuadLayout = Layout<uint128, std::int64_t, StaticWidths<15, 112>>;
using DoubleWordLayout = Layout<uint128, std::int64_t, DynamicWidths>;
using FixedLayout = Layout<WideUInt<4>, std::int64_t, DynamicWidths>;
using UnboundedLayout = Layout<mpz_class, std::int64_t, DynamicWidths>;
/// For every format.
using GeneralLayout = Layout<mpz_class, mpz_class, DynamicWidths>;

/// Whether operations on the format fit the integers of the layout: the encoding, a significand with four
/// bits more, and exponents.
template <class L>
bool fits_layout(const IEEEFloat::format& f) {
  constexpr BitCount bits = bits_of<typename L::Bits>;
  return f.width() <= bits && f.mw + 5 <= bits && f.ew <= max_word_exponent_width;
}

template <class L>
L make_layout(const IEEEFloat::format& f) {
  return L(DynamicWidths{f.ew, f.mw});
}

}  // namespace swflt

inline IEEEFloat::storage_kind IEEEFloat::kind_of(format f) {
  if (f.width() <= 32) return word32;
  if (f.width() <= 64) return word64;
  return swflt::fits_layout<swflt::FixedLayout>(f) ? fixed_number : unbounded_number;
}

template <class Bits>
Bits IEEEFloat::load_number() const {
  if (number_.is_small()) return Bits(static_cast<std::uint64_t>(number_.small_num()));
  if constexpr (swflt::is_unbounded<Bits>) {
    return Bits(number_.big_num());
  } else {
    const std::size_t size = mpz_size(number_.big_num());
    const mp_limb_t* limbs = mpz_limbs_read(number_.big_num());
    if constexpr (std::same_as<Bits, swflt::uint128>) {
      if (size == 2) [[likely]]
        return swflt::uint128{limbs[1]} << 64 | limbs[0];
    }
    swflt::WideUInt<4> r;
    for (std::size_t i = 0; i < r.words; ++i) r.word[i] = i < size ? limbs[i] : 0;
    return swflt::convert_significand<Bits>(r);
  }
}

template <class Bits>
void IEEEFloat::store_number(const Bits& bits) {
  if constexpr (swflt::is_unbounded<Bits>) {
    number_.set_integer(bits.get_mpz_t());
  } else {
    const auto words =
        swflt::convert_significand<swflt::WideUInt<sizeof(Bits) / sizeof(std::uint64_t)>>(bits);
    int size = words.words;
    while (size > 0 && words.word[static_cast<std::size_t>(size) - 1] == 0) --size;
    const mpz_t integer = MPZ_ROINIT_N(const_cast<mp_limb_t*>(words.word.data()), size);
    number_.set_integer(integer);
  }
}

template <IEEEFloat::storage_kind kind, class Bits>
Bits IEEEFloat::load() const {
  if constexpr (kind == word32) {
    return Bits(std::uint64_t{word32_});
  } else if constexpr (kind == word64) {
    return Bits(word64_);
  } else {
    return load_number<Bits>();
  }
}

template <IEEEFloat::storage_kind kind, class Bits>
void IEEEFloat::store(const Bits& bits) {
  if constexpr (kind == word32) {
    word32_ = static_cast<std::uint32_t>(swflt::convert_significand<std::uint64_t>(bits));
  } else if constexpr (kind == word64) {
    word64_ = swflt::convert_significand<std::uint64_t>(bits);
  } else {
    store_number(bits);
  }
}

template <class Bits>
Bits IEEEFloat::load_any() const {
  switch (kind()) {
    case word32:
      return load<word32, Bits>();
    case word64:
      return load<word64, Bits>();
    default:
      return load_number<Bits>();
  }
}

template <class Bits>
void IEEEFloat::store_any(const Bits& bits) {
  switch (kind()) {
    case word32:
      return store<word32>(bits);
    case word64:
      return store<word64>(bits);
    default:
      return store_number(bits);
  }
}

template <class Operation, class... Arguments>
auto IEEEFloat::with_layout(Operation operation, Arguments&... arguments) const {
  using namespace swflt;
  // The common formats come first; those of one word are compiled into the caller.
  if (format_ == format{11, 52}) return operation(Access<DoubleLayout, word64>{}, arguments...);
  if (format_ == format{8, 23}) return operation(Access<SingleLayout, word32>{}, arguments...);
  if (format_ == format{15, 112}) return with_quad_layout(operation, arguments...);
  return with_other_layout(operation, arguments...);
}

template <class Operation, class... Arguments>
auto IEEEFloat::with_quad_layout(Operation operation, Arguments&... arguments) const {
  return operation(Access<swflt::QuadLayout, fixed_number>{}, arguments...);
}

template <class Operation, class... Arguments>
auto IEEEFloat::with_other_layout(Operation operation, Arguments&... arguments) const {
  using namespace swflt;
  switch (kind()) {
    case word32:
      return operation(Access<WordLayout, word32>{make_layout<WordLayout>(format_)}, arguments...);
    case word64:
      if (fits_layout<WordLayout>(format_)) {
        return operation(Access<WordLayout, word64>{make_layout<WordLayout>(format_)}, arguments...);
      }
      return operation(Access<DoubleWordLayout, word64>{make_layout<DoubleWordLayout>(format_)},
                       arguments...);
    case fixed_number:
      return with_fixed_layout(operation, arguments...);
    case unbounded_number:
      break;
  }
  return with_unbounded_layout(operation, arguments...);
}

template <class Operation, class... Arguments>
auto IEEEFloat::with_fixed_layout(Operation operation, Arguments&... arguments) const {
  using namespace swflt;
  if (fits_layout<DoubleWordLayout>(format_)) {
    return operation(Access<DoubleWordLayout, fixed_number>{make_layout<DoubleWordLayout>(format_)},
                     arguments...);
  }
  return operation(Access<FixedLayout, fixed_number>{make_layout<FixedLayout>(format_)}, arguments...);
}

template <class Operation, class... Arguments>
auto IEEEFloat::with_unbounded_layout(Operation operation, Arguments&... arguments) const {
  using namespace swflt;
  if (format_.ew <= max_word_exponent_width) {
    return operation(Access<UnboundedLayout, unbounded_number>{make_layout<UnboundedLayout>(format_)},
                     arguments...);
  }
  return operation(Access<GeneralLayout, unbounded_number>{make_layout<GeneralLayout>(format_)},
                   arguments...);
}

}  // namespace quarv
