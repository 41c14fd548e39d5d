/// \file
/// How an `IEEEFloat` reaches its encoding and the operations that suit its format; for the sources of
/// `IEEEFloat` only.
#pragma once

#include <quarv/numbers/ieee_float.h>
#include <quarv/numbers/swflt/wide_layout.h>

namespace quarv {

namespace swflt {

using SingleLayout = Layout<std::uint64_t, std::int64_t, StaticWidths<8, 23>>;
using DoubleLayout = Layout<std::uint64_t, std::int64_t, StaticWidths<11, 52>>;
using WordLayout = Layout<std::uint64_t, std::int64_t, DynamicWidths>;
template <class S>
using DynamicWideLayout = WideLayout<S, DynamicWidths>;
using QuadLayout = WideLayout<uint128, StaticWidths<15, 112>>;
/// For every format of which the numbers are `WideFloat`s.
using WidestLayout = DynamicWideLayout<WideUInt<5>>;
using UnboundedLayout = Layout<mpz_class, std::int64_t, DynamicWidths>;
/// For every format.
using GeneralLayout = Layout<mpz_class, mpz_class, DynamicWidths>;

/// Whether operations on the format fit the integers of the layout: the encoding, a significand with four
/// bits more, and exponents.
template <class L>
bool fits_layout(const IEEEFloat::format& f) {
  constexpr BitCount bits = bits_of<typename L::Significand>;
  return (is_wide_layout<L> || f.width() <= bits) && f.mw + 5 <= bits && f.ew <= max_word_exponent_width;
}

template <class L>
L make_layout(const IEEEFloat::format& f) {
  return L(DynamicWidths{f.ew, f.mw});
}

}  // namespace swflt

inline IEEEFloat::storage_kind IEEEFloat::kind_of(format f) {
  if (f.width() <= 32) return word32;
  if (f.width() <= 64) return word64;
  return swflt::fits_layout<swflt::WidestLayout>(f) ? wide_float : unbounded_number;
}

template <IEEEFloat::storage_kind kind, class L>
decltype(auto) IEEEFloat::load(const L& f) const {
  using Bits = typename L::Bits;
  if constexpr (kind == word32) {
    return Bits(std::uint64_t{word32_});
  } else if constexpr (kind == wide_float) {
    return *std::launder(reinterpret_cast<const Bits*>(&wide_));
  } else if constexpr (kind == unbounded_number) {
    return number_.is_small() ? Bits(number_.small_num()) : Bits(number_.big_num());
  } else if constexpr (swflt::is_wide_layout<L>) {
    return f.from_encoding(swflt::WideEncoding(word64_));
  } else {
    return Bits(word64_);
  }
}

template <IEEEFloat::storage_kind kind, class L>
void IEEEFloat::store(const L& f, const typename L::Bits& bits) {
  if constexpr (kind == word32) {
    word32_ = static_cast<std::uint32_t>(bits);
  } else if constexpr (kind == wide_float) {
    static_assert(sizeof(bits) <= sizeof(wide_) && alignof(typename L::Bits) <= alignof(WideStorage));
    new (&wide_) typename L::Bits(bits);
  } else if constexpr (kind == unbounded_number) {
    number_.set_integer(bits.get_mpz_t());
  } else if constexpr (swflt::is_wide_layout<L>) {
    word64_ = f.encoding(bits).word[0];
  } else {
    word64_ = bits;
  }
}

template <class Operation, class... Arguments>
auto IEEEFloat::with_layout(Operation operation, Arguments&... arguments) const {
  using namespace swflt;
  // The common formats come first; those of one word are compiled into the caller.
  if (format_ == format{11, 52}) return operation(Access<DoubleLayout, word64>{}, arguments...);
  if (format_ == format{8, 23}) return operation(Access<SingleLayout, word32>{}, arguments...);
  if (kind() == wide_float) return with_wide_layout(operation, arguments...);
  return with_other_layout(operation, arguments...);
}

template <class Operation, class... Arguments>
auto IEEEFloat::with_other_layout(Operation operation, Arguments&... arguments) const {
  if (kind() == unbounded_number) return with_unbounded_layout(operation, arguments...);
  return with_word_layout(operation, arguments...);
}

template <class Operation, class... Arguments>
auto IEEEFloat::with_fixed_layout(Operation operation, Arguments&... arguments) const {
  if (kind() == wide_float) return with_wide_layout(operation, arguments...);
  return with_word_layout(operation, arguments...);
}

template <class Operation, class... Arguments>
auto IEEEFloat::with_word_layout(Operation operation, Arguments&... arguments) const {
  using namespace swflt;
  if (kind() == word32) {
    return operation(Access<WordLayout, word32>{make_layout<WordLayout>(format_)}, arguments...);
  }
  if (fits_layout<WordLayout>(format_)) {
    return operation(Access<WordLayout, word64>{make_layout<WordLayout>(format_)}, arguments...);
  }
  using L = DynamicWideLayout<uint128>;
  return operation(Access<L, word64>{make_layout<L>(format_)}, arguments...);
}

template <class Operation, class... Arguments>
auto IEEEFloat::with_wide_layout(Operation operation, Arguments&... arguments) const {
  using namespace swflt;
  if (format_ == format{15, 112}) return operation(Access<QuadLayout, wide_float>{}, arguments...);
  switch (significand_words(format_.mw + 1)) {
    case 5:
      return with_significand<WideUInt<5>>(operation, arguments...);
    case 4:
      return with_significand<WideUInt<4>>(operation, arguments...);
    case 3:
      return with_significand<WideUInt<3>>(operation, arguments...);
    default:
      return with_significand<uint128>(operation, arguments...);
  }
}

template <class S, class Operation, class... Arguments>
auto IEEEFloat::with_significand(Operation operation, Arguments&... arguments) const {
  using L = swflt::DynamicWideLayout<S>;
  return operation(Access<L, wide_float>{swflt::make_layout<L>(format_)}, arguments...);
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
