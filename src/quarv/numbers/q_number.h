/// \file
/// Exact rational numbers.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include <gmp.h>
#include <gmpxx.h>

#include <quarv/export.h>
#include <quarv/numbers/gcd_cache.h>
#include <quarv/numbers/integer_types.h>

namespace quarv {

/// An exact rational number in two machine words.
///
/// A number is held in one of two forms, which the second word tells apart:
/// - small: numerator and denominator are signed 64-bit words; the denominator is not 0;
/// - big: the second word is 0; the first is the address of a block that the number owns and that holds the
///   numerator and the denominator as GMP integers.
///
/// Both forms are canonical: the denominator is positive, numerator and denominator are coprime, and zero is
/// 0/1. The word -2^63 is never held small, so that negation and absolute value of a small word cannot
/// overflow.
///
/// Arithmetic on small operands allocates nothing. A result that does not fit moves to the big form by
/// itself. The result of an operation with a big operand stays big even when it would fit; `demoted` brings
/// it back. Every operation works on values: the two representations of one number are equal, hash alike and
/// print alike (the one exception is the rounding of `divmod`).
///
/// Threads may compute at the same time, each with numbers of its own: the scratch space `gmp_tmp` belongs to
/// the thread.
class QUARV_API QNumber {
 public:
  /// Scratch integers of the big arithmetic of this thread, initialised before any constructor runs. Every
  /// operation with a big operand or a big result may overwrite all of them.
  constinit static thread_local mpz_t gmp_tmp[8];

  /// Zero.
  QNumber() noexcept : num_(0), den_(1) {}

  /// The integer `value`.
  QNumber(std::int64_t value)
      : num_(value), den_(1) {  // NOLINT: numbers convert from words wherever they meet
    if (value == INT64_MIN) [[unlikely]]
      become_big(INT64_MIN, 1);
  }

  /// The integer `value`, of whatever width and sign.
  template <Integer T>
  QNumber(T value) : QNumber(words_of(value)) {}  // NOLINT: as above

  /// 0.5 and true are not integers; 0.5 is `QNumber(1, 2)`.
  template <NotAnInteger T>
  QNumber(T value) = delete;

  /// The fraction num/den, reduced.
  ///
  /// \pre den != 0
  QNumber(std::int64_t num, std::int64_t den);

  /// Likewise, of integers of whatever width and sign; in small form when it fits.
  ///
  /// \pre den != 0
  template <Integer Num, Integer Den>
  QNumber(Num num, Den den) : QNumber() {
    if constexpr (is_word<Num> && is_word<Den>) {
      *this = QNumber(static_cast<std::int64_t>(num), static_cast<std::int64_t>(den));
    } else {
      *this = (QNumber(num) / QNumber(den)).demoted();
    }
  }

  template <class Num, class Den>
  requires(NotAnInteger<Num> || NotAnInteger<Den>) QNumber(Num num, Den den)
  = delete;

  /// The fraction num/den in big form, whatever its size. It is reduced when `canonicalize` is true and must
  /// already be canonical otherwise.
  ///
  /// \pre den != 0
  QNumber(mpz_srcptr num, mpz_srcptr den, bool canonicalize);

  /// The fraction num/den, reduced: in small form when both integers fit an `int`, in big form otherwise.
  ///
  /// \pre den != 0
  QNumber(const mpz_class& num, const mpz_class& den);

  QNumber(const QNumber& other) : num_(other.num_), den_(other.den_) {
    if (den_ == 0) set_words(new_block(other.big_num(), other.big_den()));
  }

  /// Leaves 0 behind.
  QNumber(QNumber&& other) noexcept : num_(other.num_), den_(other.den_) {
    other.num_ = 0;
    other.den_ = 1;
  }

  ~QNumber() {
    if (den_ == 0) free_block();
  }

  /// Copies the value. A big target stays big and keeps its memory.
  QNumber& operator=(const QNumber& other) {
    if ((den_ != 0) & (other.den_ != 0)) {
      num_ = other.num_;
      den_ = other.den_;
    } else {
      assign_big(other);
    }
    return *this;
  }

  /// Takes over the value and its form and leaves 0 behind.
  QNumber& operator=(QNumber&& other) noexcept {
    if (this == &other) return *this;
    if (den_ == 0) free_block();
    num_ = other.num_;
    den_ = other.den_;
    other.num_ = 0;
    other.den_ = 1;
    return *this;
  }

  /// The integer `value`, in small form when it fits.
  static QNumber from_integer(mpz_srcptr value);

  /// Reads an integer ("7", "-12"), a decimal ("1.25", "-0.5") or a fraction of integers ("-3/2"; the sign
  /// comes first). The result is small when it fits.
  ///
  /// \throws std::invalid_argument if `text` is nothing of these, or if the denominator is 0
  static QNumber parse(std::string_view text);

  /// Assigns the integer `value`: in small form when it fits, otherwise in big form, which keeps its memory.
  void set_integer(mpz_srcptr value);

  /// The value in decimal: "7" for an integer, "-3/2" for any other number.
  std::string to_string() const;

  bool is_small() const { return den_ != 0; }
  bool is_integer() const { return den_ == 1 || (den_ == 0 && mpz_cmp_ui(big_den(), 1) == 0); }
  bool is_zero() const { return den_ != 0 ? num_ == 0 : mpz_sgn(big_num()) == 0; }

  /// -1, 0 or 1.
  int sign() const { return den_ != 0 ? (num_ > 0) - (num_ < 0) : mpz_sgn(big_num()); }

  /// Numerator word. \pre is_small()
  std::int64_t small_num() const {
    assert(den_ != 0);
    return num_;
  }

  /// Denominator word. \pre is_small()
  std::int64_t small_den() const {
    assert(den_ != 0);
    return den_;
  }

  /// Numerator; valid until this number changes. \pre !is_small()
  mpz_srcptr big_num() const {
    assert(den_ == 0);
    return mpq_numref(block());
  }

  /// Denominator; valid until this number changes. \pre !is_small()
  mpz_srcptr big_den() const {
    assert(den_ == 0);
    return mpq_denref(block());
  }

  /// Numerator, in either form.
  mpz_class num() const { return den_ != 0 ? mpz_class(num_) : mpz_class(big_num()); }

  /// Denominator, in either form.
  mpz_class den() const { return den_ != 0 ? mpz_class(den_) : mpz_class(big_den()); }

  /// The same value, in small form when it fits.
  QNumber demoted() const;

  /// The greatest integer that is not above this number.
  QNumber floor() const;

  /// Equal for equal values, whatever their form.
  std::size_t hash() const noexcept { return den_ != 0 ? hash_words(num_, den_) : hash_big(); }

  /// The opposite number.
  QNumber neg() const {
    if (den_ == 0) return neg_big();
    return QNumber(Words{-num_, den_});
  }
  QNumber operator-() const { return neg(); }

  QNumber& operator+=(const QNumber& y) {
    if (std::int64_t sum; integer_sum<false>(*this, y, &sum)) {
      num_ = sum;
    } else {
      add_general<false>(y);
    }
    return *this;
  }

  QNumber& operator-=(const QNumber& y) {
    if (std::int64_t difference; integer_sum<true>(*this, y, &difference)) {
      num_ = difference;
    } else {
      add_general<true>(y);
    }
    return *this;
  }

  QNumber& operator*=(const QNumber& y) {
    if (std::int64_t product; integer_product(*this, y, &product)) {
      num_ = product;
    } else {
      mul_general(y);
    }
    return *this;
  }

  /// \pre y is not 0
  QNumber& operator/=(const QNumber& y) {
    assert(!y.is_zero());
    if (y.den_ == 0) return div_big(y);
    return *this *= y.small_reciprocal();
  }

  /// Adds a * b.
  void self_addmul(const QNumber& a, const QNumber& b) {
    if (a.den_ != 0 && b.den_ != 0) {
      *this += a * b;
    } else {
      addmul_big(a, b);
    }
  }

  /// Divides integers: *this = q * d + r. If both operands are small, q is rounded toward zero and r has the
  /// sign of the dividend; if one is big, q is rounded down and r has the sign of d. For non-negative
  /// operands the two agree. Each result is small when it fits. A result may replace an operand.
  ///
  /// \pre both operands are integers; d is not 0; q and r are two numbers
  void divmod(const QNumber& d, QNumber& q, QNumber& r) const {
    if (den_ == 0 || d.den_ == 0) {
      divmod_big(d, q, r);
      return;
    }
    const Words quotient{num_ / d.num_, 1};
    const Words remainder{num_ % d.num_, 1};
    q = QNumber(quotient);
    r = QNumber(remainder);
  }

  friend QNumber operator+(const QNumber& a, const QNumber& b) {
    if (std::int64_t sum; integer_sum<false>(a, b, &sum)) return QNumber(Words{sum, 1});
    return QNumber(sum_general<false>(a, b));
  }
  friend QNumber operator+(const QNumber& a, std::int64_t b) { return a + QNumber(b); }
  template <Integer T>
  friend QNumber operator+(const QNumber& a, T b) {
    return a + QNumber(b);
  }
  template <NotAnInteger T>
  friend QNumber operator+(const QNumber& a, T b) = delete;
  friend QNumber operator-(const QNumber& a, const QNumber& b) {
    if (std::int64_t difference; integer_sum<true>(a, b, &difference)) return QNumber(Words{difference, 1});
    return QNumber(sum_general<true>(a, b));
  }
  friend QNumber operator-(const QNumber& a, std::int64_t b) { return a - QNumber(b); }
  template <Integer T>
  friend QNumber operator-(const QNumber& a, T b) {
    return a - QNumber(b);
  }
  template <NotAnInteger T>
  friend QNumber operator-(const QNumber& a, T b) = delete;
  friend QNumber operator*(const QNumber& a, const QNumber& b) {
    if (std::int64_t product; integer_product(a, b, &product)) return QNumber(Words{product, 1});
    return QNumber(product_general(a, b));
  }
  /// \pre b is not 0
  friend QNumber operator/(const QNumber& a, const QNumber& b) {
    if (b.den_ != 0) return a * b.small_reciprocal();
    QNumber result(a);
    result /= b;
    return result;
  }

  friend bool operator==(const QNumber& a, const QNumber& b) {
    if (a.den_ != 0 && b.den_ != 0) return a.num_ == b.num_ && a.den_ == b.den_;
    return equal_big(a, b);
  }
  friend bool operator<(const QNumber& a, const QNumber& b) {
    if (a.den_ != 0 && b.den_ != 0) return less_small(a, b);
    return compare_big(a, b) < 0;
  }
  friend bool operator>(const QNumber& a, const QNumber& b) { return b < a; }
  friend bool operator<=(const QNumber& a, const QNumber& b) { return !(b < a); }
  friend bool operator>=(const QNumber& a, const QNumber& b) { return !(a < b); }
  friend bool operator>=(const QNumber& a, std::int64_t b) { return a >= QNumber(b); }
  template <Integer T>
  friend bool operator>=(const QNumber& a, T b) {
    return a >= QNumber(b);
  }
  template <NotAnInteger T>
  friend bool operator>=(const QNumber& a, T b) = delete;
  friend bool operator<=(std::int64_t a, const QNumber& b) { return QNumber(a) <= b; }
  template <Integer T>
  friend bool operator<=(T a, const QNumber& b) {
    return QNumber(a) <= b;
  }
  template <NotAnInteger T>
  friend bool operator<=(T a, const QNumber& b) = delete;

  /// The greatest common divisor of two integers, never negative; gcd(x, 0) = |x|.
  friend QNumber gcd(const QNumber& a, const QNumber& b) {
    if (a.den_ == 0 || b.den_ == 0) return gcd_big(a, b);
    return QNumber(Words{static_cast<std::int64_t>(cached_gcd(magnitude(a.num_), magnitude(b.num_))), 1});
  }

  /// The least common multiple of two integers, never negative; lcm(x, 0) = 0.
  friend QNumber lcm(const QNumber& a, const QNumber& b) {
    std::int64_t multiple;
    if (a.den_ == 0 || b.den_ == 0 || !small_lcm(a.num_, b.num_, &multiple)) return lcm_big(a, b);
    return QNumber(Words{multiple, 1});
  }

 private:
  /// The memory of a big number: two GMP integers, the numerator first.
  using Block = __mpq_struct;

  /// The two words of a number, of whatever form.
  struct Words {
    std::int64_t num;
    std::int64_t den;
  };

  /// Takes over the words of a number.
  explicit QNumber(Words words) : num_(words.num), den_(words.den) {}

  /// Whether all values of an integer type are words.
  template <Integer T>
  static constexpr bool is_word = std::is_integral_v<T> &&
                                  (sizeof(T) < sizeof(std::int64_t) ||
                                   (sizeof(T) == sizeof(std::int64_t) && T(-1) < T(0)));

  /// The words of an integer.
  template <Integer T>
  static Words words_of(T value) {
    if constexpr (UnscopedEnum<T>) {
      return words_of(+value);
    } else if constexpr (is_word<T>) {
      const auto word =
          static_cast<std::int64_t>(value);  // NOLINT: a signed char is an integer like any other
      if (word != INT64_MIN) [[likely]]
        return {word, 1};
      return wide_integer(magnitude(INT64_MIN), true);
    } else {
      const bool negative = value < T(0);
      const auto bits = static_cast<unsigned __int128>(value);
      const unsigned __int128 size = negative ? -bits : bits;
      if (size > static_cast<std::uint64_t>(INT64_MAX)) return wide_integer(size, negative);
      const auto word = static_cast<std::int64_t>(size);
      return {negative ? -word : word, 1};
    }
  }

  Words words() const { return {num_, den_}; }

  /// Changes a small number, or gives a number that owns nothing its words.
  void set_words(Words words) {
    num_ = words.num;
    den_ = words.den;
  }

  /// Gives its words away and leaves 0 behind.
  Words release() {
    const Words result = words();
    num_ = 0;
    den_ = 1;
    return result;
  }

  QNumber small_reciprocal() const { return QNumber(num_ < 0 ? Words{-den_, -num_} : Words{den_, num_}); }

  static std::uint64_t magnitude(std::int64_t x) {
    return x < 0 ? -static_cast<std::uint64_t>(x) : static_cast<std::uint64_t>(x);
  }

  /// The sum (or difference), if it is a word; it may be -2^63.
  template <bool subtract>
  static bool word_sum(std::int64_t x, std::int64_t y, std::int64_t* sum) {
    return subtract ? !__builtin_sub_overflow(x, y, sum) : !__builtin_add_overflow(x, y, sum);
  }

  /// The product, if its magnitude is at most 2^63 - 1.
  static bool word_product(std::int64_t x, std::int64_t y, std::int64_t* product) {
    return !__builtin_mul_overflow(x, y, product) && *product != INT64_MIN;
  }

  /// The sum (or difference), if the operands are small integers and it is one.
  template <bool subtract>
  static bool integer_sum(const QNumber& x, const QNumber& y, std::int64_t* sum) {
    return x.den_ == 1 && y.den_ == 1 && word_sum<subtract>(x.num_, y.num_, sum) && *sum != INT64_MIN;
  }

  /// The product, if the operands are small integers and it is one.
  static bool integer_product(const QNumber& x, const QNumber& y, std::int64_t* product) {
    return x.den_ == 1 && y.den_ == 1 && word_product(x.num_, y.num_, product);
  }

  static bool small_lcm(std::int64_t x, std::int64_t y, std::int64_t* multiple) {
    *multiple = 0;
    if (x == 0 || y == 0) return true;
    const std::uint64_t divisor = cached_gcd(magnitude(x), magnitude(y));
    return word_product(static_cast<std::int64_t>(magnitude(x) / divisor),
                        static_cast<std::int64_t>(magnitude(y)), multiple);
  }

  static std::size_t hash_words(std::int64_t num, std::int64_t den) noexcept {
    const unsigned __int128 product =
        static_cast<unsigned __int128>(static_cast<std::uint64_t>(num) ^ std::uint64_t{0x9e3779b97f4a7c15}) *
        (static_cast<std::uint64_t>(den) * std::uint64_t{0xd6e8feb86659fd93});
    return static_cast<std::size_t>(product) ^ static_cast<std::size_t>(product >> 64);
  }
  std::size_t hash_big() const noexcept;

  static bool less_small(const QNumber& a, const QNumber& b) {
    if (a.den_ == b.den_) return a.num_ < b.num_;
    return static_cast<__int128>(a.num_) * b.den_ < static_cast<__int128>(b.num_) * a.den_;
  }

  Block* block() const { return reinterpret_cast<Block*>(num_); }
  static Words new_block();
  static Words new_block(mpz_srcptr num, mpz_srcptr den);
  static Words wide_integer(unsigned __int128 size, bool negative);
  void become_big(std::int64_t num, std::int64_t den);
  void become_big() {
    if (den_ != 0) become_big(num_, den_);
  }
  void free_block() noexcept;
  void assign_big(const QNumber& other);
  void reduce_big();
  QNumber neg_big() const;

  // What integers of one word do not need. Fractions of words are computed there too, without allocation:
  // beside their gcd a call is nothing, and inline they would burden every sum of integers.
  template <bool subtract>
  void add_general(const QNumber& y);
  template <bool subtract>
  static Words sum_general(const QNumber& x, const QNumber& y);
  template <bool subtract>
  static bool small_sum(const QNumber& x, const QNumber& y, Words* sum);
  template <bool subtract>
  void add_words(Words y);
  template <bool subtract>
  static void big_sum(mpq_srcptr x, mpq_srcptr y, mpq_ptr sum);
  void mul_general(const QNumber& y);
  static Words product_general(const QNumber& x, const QNumber& y);
  static bool small_product(const QNumber& x, const QNumber& y, Words* product);
  void mul_words(Words y);
  static void big_product(mpq_srcptr x, mpz_srcptr num, mpz_srcptr den, mpq_ptr product);
  QNumber& div_big(const QNumber& y);
  void addmul_big(const QNumber& a, const QNumber& b);
  void divmod_big(const QNumber& d, QNumber& q, QNumber& r) const;
  static QNumber gcd_big(const QNumber& a, const QNumber& b);
  static QNumber lcm_big(const QNumber& a, const QNumber& b);
  static bool equal_big(const QNumber& a, const QNumber& b);
  static int compare_big(const QNumber& a, const QNumber& b);

  std::int64_t num_;  ///< small form: the numerator; big form: the address of the `Block`
  std::int64_t den_;  ///< small form: the denominator; big form: 0
};

static_assert(sizeof(QNumber) == 2 * sizeof(std::int64_t) && sizeof(std::int64_t) == 8);

QNumber gcd(const QNumber& a, const QNumber& b);
QNumber lcm(const QNumber& a, const QNumber& b);

inline QNumber::QNumber(std::int64_t num, std::int64_t den) : num_(num), den_(den) {
  assert(den != 0);
  if (num == INT64_MIN || den == INT64_MIN) [[unlikely]] {
    become_big(num, den);
    reduce_big();
    return;
  }
  if (den == 1) return;
  if (num == 0) {
    den_ = 1;
    return;
  }
  const std::int64_t divisor = static_cast<std::int64_t>(cached_gcd(magnitude(num), magnitude(den)));
  if (divisor != 1) {
    num_ /= divisor;
    den_ /= divisor;
  }
  if (den_ < 0) {
    num_ = -num_;
    den_ = -den_;
  }
}

}  // namespace quarv

/// Hashes by value, so that both forms of a number are one key.
template <>
struct std::hash<quarv::QNumber> {
  std::size_t operator()(const quarv::QNumber& x) const noexcept { return x.hash(); }
};
