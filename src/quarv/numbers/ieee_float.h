/// \file
/// Binary floating-point numbers of any format, computed in software as IEEE 754 prescribes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>

#include <quarv/export.h>
#include <quarv/numbers/q_number.h>
#include <quarv/numbers/swflt/exception_flags.h>
#include <quarv/numbers/swflt/rounding_mode.h>

namespace quarv {

namespace swflt {
template <std::size_t N>
struct WideUInt;
using WideEncoding = WideUInt<6>;
}  // namespace swflt

/// A binary floating-point number of a given format, with the mode in which operations on it round.
///
/// Every operation computes the exact result and rounds it once, for every format with at least one exponent
/// bit and one stored significand bit, as IEEE 754-2019 defines for its interchange formats. With a single
/// exponent bit the two exponents are those of the subnormal numbers and of infinity and NaN; there are no
/// normal numbers.
///
/// A number holds its encoding in itself if the format has up to 315 stored significand bits and 60 exponent
/// bits: arithmetic, comparing, rounding and converting between such formats allocates nothing. Numbers of
/// other formats hold it in a `QNumber`.
///
/// NaNs: `from_bits` keeps sign and payload, which then stay with the number and its copies. An operation
/// whose result is a NaN gives the one quiet, positive NaN of the format in which only the first stored
/// significand bit is set; only `self_neg` and `set_sign` change just the sign bit of a NaN.
///
/// Exceptions: operations set the bits of `swflt::float_exception_flags` that IEEE 754 (section 7) asks for.
/// Tininess is detected before rounding. `from_bits`, `get_bits`, copies, classification and the sign
/// operations set none.
class QUARV_API IEEEFloat {
 public:
  /// Widths of the fields of an encoding in bits. The encoding has `ew` + `mw` + 1 bits: sign, biased
  /// exponent, stored significand.
  struct format {
    std::size_t ew;  ///< exponent width
    std::size_t mw;  ///< width of the stored significand, which leaves out the hidden bit

    /// The bits of an encoding.
    std::size_t width() const { return ew + mw + 1; }
    bool operator==(const format&) const = default;
  };

  using rounding_mode = swflt::rounding_mode;
  static constexpr rounding_mode round_nearest_even = swflt::round_nearest_even;
  static constexpr rounding_mode round_toward_zero = swflt::round_toward_zero;
  static constexpr rounding_mode round_toward_positive = swflt::round_toward_positive;
  static constexpr rounding_mode round_toward_negative = swflt::round_toward_negative;

  /// +0 of the format (8, 23), rounding to nearest.
  IEEEFloat() : IEEEFloat(format{8, 23}, round_nearest_even) {}

  IEEEFloat(const IEEEFloat& other) : format_(other.format_), kind_and_mode_(other.kind_and_mode_) {
    construct_from(other);
  }

  ~IEEEFloat() {
    if (owns_memory()) number_.~QNumber();
  }

  /// Copies value, format and rounding mode. Between numbers of one format it allocates nothing, except where
  /// a `QNumber` does.
  IEEEFloat& operator=(const IEEEFloat& other) {
    if (owns_memory() || other.owns_memory()) {
      assign_number(other);
    } else {
      copy_words(other);
    }
    format_ = other.format_;
    kind_and_mode_ = other.kind_and_mode_;
    return *this;
  }

  /// The number with the encoding `bits`, an integer that is taken modulo 2^(ew + mw + 1). The result rounds
  /// to nearest until it is given another mode. \throws std::invalid_argument if a width of `f` is 0
  static IEEEFloat from_bits(const QNumber& bits, format f);

  /// `v`, rounded to the format `f` in the mode `r`, which the result keeps. 0 gives +0. Raises inexact,
  /// overflow and underflow. \throws std::invalid_argument if a width of `f` is 0
  static IEEEFloat from_number(const QNumber& v, format f, rounding_mode r);

  /// The encoding, from 0 to 2^(ew + mw + 1) − 1. A NaN gives the bits that it was made from.
  QNumber get_bits() const;

  /// Stores the encoding in `word` and returns true, if the format has at most 64 bits; else returns false.
  bool get_word(std::uint64_t* word) const {
    if (!fits_word()) return false;
    *word = kind() == word32 ? word32_ : word64_;
    return true;
  }

  format get_format() const { return format_; }

  /// Converts to another format and rounds in the current mode, which stays. Every NaN becomes the NaN of
  /// operations. Raises inexact, overflow and underflow, and invalid for a signalling NaN. \throws
  /// std::invalid_argument if a width of `f` is 0; nothing changes then
  void set_format(format f);

  /// The mode in which operations with this number on the left round.
  rounding_mode get_rounding_mode() const { return static_cast<rounding_mode>(kind_and_mode_ & mode_mask); }
  void set_rounding_mode(rounding_mode mode) { kind_and_mode_ = (kind_and_mode_ & ~mode_mask) | mode; }

  /// \name Arithmetic
  /// Rounded in the mode of the left operand. Raise inexact, overflow and underflow; and invalid for a
  /// signalling NaN, ∞ − ∞, 0 · ∞, 0 / 0 and ∞ / ∞, divide-by-zero for any other finite number divided by
  /// zero. \pre both operands have the same format
  ///@{
  IEEEFloat& operator+=(const IEEEFloat& b);
  IEEEFloat& operator-=(const IEEEFloat& b);
  IEEEFloat& operator*=(const IEEEFloat& b);
  IEEEFloat& operator/=(const IEEEFloat& b);
  ///@}

  /// Replaces the number by its square root; −0 stays −0, a number below 0 becomes NaN and raises invalid.
  void sqrt();

  /// Flips the sign bit, also that of a NaN.
  void self_neg();

  /// Makes the sign bit 1 (`negative`) or 0, also that of a NaN.
  void set_sign(bool negative);

  /// The sign bit; true: negative.
  bool get_sign() const;

  bool is_nan() const;
  bool is_inf() const;
  bool is_zero() const;
  bool is_subnormal() const;
  /// Whether the number is finite, and neither zero nor subnormal.
  bool is_normal() const;

  /// The number rounded to an integer in the current mode, for a bit-vector of `width` bits that is read
  /// signed or unsigned: a result below −2^(width − 1) becomes −2^(width − 1), one above 2^width − 1 becomes
  /// 2^width − 1, so also the infinities. NaN gives 0, and so does everything if `width` is 0. NaN and
  /// results that were replaced raise invalid, other results that differ from the number inexact.
  QNumber to_integer(std::size_t width) const;

  /// Whether both numbers have the same format and the same encoding, signs of zeros and payloads of NaNs
  /// included.
  bool identical(const IEEEFloat& other) const;

  /// "nan", "inf", "-inf", "0x0p+0", "-0x0p+0", or the exact value as a hexadecimal significand with a
  /// decimal exponent of two, such as "-0x1.8p+3" for −12.
  std::string to_string() const;

  /// Rounds to an integral value of the same format in the mode of `x`. A result of zero has the sign of `x`.
  /// Raises inexact if the value changes, invalid for a signalling NaN. If the format is so narrow that the
  /// integer next to its largest number is not one of its numbers, that integer overflows.
  friend IEEEFloat round(const IEEEFloat& x);

  /// \name Comparisons
  /// By value: zeros are equal, and a NaN is neither equal to nor ordered with any number. An order with a
  /// NaN raises invalid, equality only with a signalling NaN. \pre both operands have the same format
  ///@{
  friend bool operator==(const IEEEFloat& a, const IEEEFloat& b);
  friend bool operator<(const IEEEFloat& a, const IEEEFloat& b);
  friend bool operator<=(const IEEEFloat& a, const IEEEFloat& b);
  ///@}

 private:
  /// What holds the encoding.
  enum storage_kind : std::uint32_t { word32 = 0, word64 = 1, wide_float = 2, unbounded_number = 3 };

  /// The room for a `swflt::WideFloat`.
  struct alignas(16) WideStorage {
    std::uint64_t words[6];
  };

  static constexpr unsigned kind_shift = 30;
  static constexpr std::uint32_t mode_mask = (std::uint32_t{1} << kind_shift) - 1;

  /// +0.
  IEEEFloat(format f, rounding_mode mode);

  static storage_kind kind_of(format f);
  storage_kind kind() const { return static_cast<storage_kind>(kind_and_mode_ >> kind_shift); }
  bool owns_memory() const { return kind() == unbounded_number; }
  bool fits_word() const { return kind() <= word64; }

  void construct_from(const IEEEFloat& other) {
    if (other.owns_memory()) {
      new (&number_) QNumber(other.number_);
    } else {
      copy_words(other);
    }
  }
  void copy_words(const IEEEFloat& other) {
    if (other.kind() == word32) {
      word32_ = other.word32_;
    } else if (other.kind() == word64) {
      word64_ = other.word64_;
    } else {
      std::memcpy(&wide_, &other.wide_, sizeof(wide_));
    }
  }
  void assign_number(const IEEEFloat& other);

  /// The encoding, as the layout has it, for a storage that is known and that the layout fits.
  template <storage_kind kind, class L>
  decltype(auto) load(const L& f) const;
  template <storage_kind kind, class L>
  void store(const L& f, const typename L::Bits& bits);

  /// Makes a wide number one of this encoding.
  void store_encoding(const swflt::WideEncoding& encoding);

  /// The same for any storage that the layout fits.
  template <class L>
  typename L::Bits load_any(const L& f) const;
  template <class L>
  void store_any(const L& f, const typename L::Bits& bits);

  /// The layout of a format, and how its numbers store their encodings.
  template <class Layout, storage_kind stored_as>
  struct Access {
    using Bits = typename Layout::Bits;

    Layout layout;

    decltype(auto) load(const IEEEFloat& x) const { return x.load<stored_as>(layout); }
    void store(IEEEFloat& x, const Bits& bits) const { x.store<stored_as>(layout, bits); }
  };

  /// Calls operation(access, arguments...) with the `Access` that suits the format. The operation is a lambda
  /// without captures, so that nothing is put into memory on the way to it.
  template <class Operation, class... Arguments>
  auto with_layout(Operation operation, Arguments&... arguments) const;
  template <class Operation, class... Arguments>
  [[gnu::noinline]] auto with_other_layout(Operation operation, Arguments&... arguments) const;
  template <class Operation, class... Arguments>
  auto with_fixed_layout(Operation operation, Arguments&... arguments) const;
  template <class Operation, class... Arguments>
  auto with_word_layout(Operation operation, Arguments&... arguments) const;
  template <class Operation, class... Arguments>
  [[gnu::noinline]] auto with_wide_layout(Operation operation, Arguments&... arguments) const;
  template <class S, class Operation, class... Arguments>
  auto with_significand(Operation operation, Arguments&... arguments) const;
  template <class Operation, class... Arguments>
  [[gnu::noinline]] auto with_unbounded_layout(Operation operation, Arguments&... arguments) const;

  /// Replaces the encoding by operation(layout, mode, encoding), or operation(layout, mode, encoding,
  /// encoding of b).
  template <class Operation>
  void transform(Operation operation);
  template <class Operation>
  void transform(const IEEEFloat& b, Operation operation);

  /// relation(layout, encoding of a, encoding of b).
  template <class Relation>
  static bool compare(const IEEEFloat& a, const IEEEFloat& b, Relation relation);

  /// Stores this number, rounded to the format of `target` in the mode of this number, through the layout
  /// `L`.
  template <class L>
  void convert_to(IEEEFloat& target) const;

  /// predicate(layout, encoding without its sign).
  template <class Predicate>
  bool test_magnitude(Predicate predicate) const;

  format format_;
  std::uint32_t kind_and_mode_;  ///< storage kind in the top two bits, rounding mode in the others
  union {
    std::uint32_t word32_;
    std::uint64_t word64_;
    WideStorage wide_;
    QNumber number_;
  };
};

QUARV_API IEEEFloat round(const IEEEFloat& x);
QUARV_API bool operator==(const IEEEFloat& a, const IEEEFloat& b);
QUARV_API bool operator<(const IEEEFloat& a, const IEEEFloat& b);
QUARV_API bool operator<=(const IEEEFloat& a, const IEEEFloat& b);

}  // namespace quarv
