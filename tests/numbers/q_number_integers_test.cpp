// Which types numbers are made from: every integer type, at its value, and nothing else.
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <climits>
#include <gtest/gtest.h>

#include <quarv/numbers/q_number.h>

namespace quarv {
namespace {

template <class T>
concept SumWith = requires(const QNumber& x, T y) {
  x + y;
};
template <class T>
concept DifferenceWith = requires(const QNumber& x, T y) {
  x - y;
};
template <class T>
concept ProductWith = requires(const QNumber& x, T y) {
  x* y;
};
template <class T>
concept ComparableWith = requires(const QNumber& x, T y) {
  x == y;
  x >= y;
  y <= x;
};
template <class T>
concept AtLeast = requires(const QNumber& x, T y) {
  x >= y;
};
template <class T>
concept AtMost = requires(const QNumber& x, T y) {
  y <= x;
};

template <class... T>
constexpr bool all_taken = ((std::is_convertible_v<T, QNumber> && std::is_constructible_v<QNumber, T, T> &&
                             std::is_constructible_v<QNumber, long, T> && std::is_assignable_v<QNumber&, T> &&
                             SumWith<T> && DifferenceWith<T> && ProductWith<T> && ComparableWith<T>)&&...);

template <class... T>
constexpr bool none_taken =
    ((!std::is_constructible_v<QNumber, T> && !std::is_constructible_v<QNumber, T, T> &&
      !std::is_constructible_v<QNumber, int, T> && !std::is_constructible_v<QNumber, T, long> &&
      !std::is_constructible_v<QNumber, const mpz_class&, T> && !std::is_assignable_v<QNumber&, T> &&
      !SumWith<T> && !DifferenceWith<T> && !ProductWith<T> && !AtLeast<T> && !AtMost<T>)&&...);

enum Small { minus_one = -1, seven = 7 };
enum Wide : std::uint64_t { most = UINT64_MAX };
enum class Scoped { one = 1 };

static_assert(
    all_taken<short, unsigned short, int, unsigned, long, unsigned long, long long, unsigned long long,
              signed char, unsigned char, std::int8_t, std::uint8_t, std::size_t, std::ptrdiff_t,
              std::intmax_t, std::uintmax_t, __int128, unsigned __int128, Small, Wide>);
static_assert(none_taken<float, double, long double, bool, char, wchar_t, char8_t, char16_t, char32_t, Scoped,
                         std::nullptr_t, std::byte, const char*, int*>);

template <class T>
QNumber least() {
  return QNumber(static_cast<T>(T(1) << (sizeof(T) * CHAR_BIT - 1)));
}

TEST(QNumberIntegers, AreTakenAtTheirValue) {
  EXPECT_EQ(QNumber(UINT64_MAX).to_string(), "18446744073709551615");
  EXPECT_EQ(QNumber(ULLONG_MAX).to_string(), "18446744073709551615");
  EXPECT_EQ(QNumber(ULLONG_MAX / 2), QNumber(LONG_MAX));
  EXPECT_TRUE(QNumber(ULLONG_MAX / 2).is_small());
  EXPECT_EQ(QNumber(std::uint64_t{1} << 63).to_string(), "9223372036854775808");
  EXPECT_EQ(QNumber(std::uint32_t{0xffffffff}).to_string(), "4294967295");
  EXPECT_EQ(QNumber(std::uint8_t{255}).small_num(), 255);
  EXPECT_EQ(QNumber(std::int8_t{-128}).small_num(), -128);
  EXPECT_EQ(QNumber(LLONG_MIN).to_string(), "-9223372036854775808");
  EXPECT_FALSE(QNumber(LLONG_MIN).is_small());
  EXPECT_EQ(QNumber(-5LL).small_num(), -5);
  EXPECT_EQ(QNumber(minus_one).small_num(), -1);
  EXPECT_EQ(QNumber(most).to_string(), "18446744073709551615");
}

TEST(QNumberIntegers, OfTwoWordsAreTakenAtTheirValue) {
  const auto two_words = (static_cast<__int128>(0x1234) << 64) + 5;
  EXPECT_EQ(QNumber(two_words).num(), (mpz_class(0x1234) << 64) + 5);
  EXPECT_EQ(QNumber(-two_words).num(), -((mpz_class(0x1234) << 64) + 5));
  EXPECT_EQ(QNumber(~static_cast<unsigned __int128>(0)).num(), (mpz_class(1) << 128) - 1);
  EXPECT_EQ(least<__int128>().num(), -(mpz_class(1) << 127));
  EXPECT_EQ(QNumber(static_cast<__int128>(LONG_MIN)), QNumber(LONG_MIN));
  EXPECT_TRUE(QNumber(static_cast<__int128>(-LONG_MAX)).is_small());
  EXPECT_EQ(QNumber(static_cast<__int128>(-LONG_MAX)).small_num(), -LONG_MAX);
}

TEST(QNumberIntegers, MakeFractions) {
  EXPECT_EQ(QNumber(1U, -2).to_string(), "-1/2");
  EXPECT_EQ(QNumber(UINT64_MAX, 5).to_string(), "3689348814741910323");
  EXPECT_TRUE(QNumber(UINT64_MAX, 5).is_small());
  EXPECT_EQ(QNumber(-1, UINT64_MAX).to_string(), "-1/18446744073709551615");
  EXPECT_EQ(QNumber(seven, 14).to_string(), "1/2");
  EXPECT_EQ(QNumber(mpz_class(3), 6).to_string(), "1/2");
}

TEST(QNumberIntegers, AreOperands) {
  const QNumber one(1);
  EXPECT_EQ((one + UINT64_MAX).to_string(), "18446744073709551616");
  EXPECT_EQ((one - UINT64_MAX).to_string(), "-18446744073709551614");
  EXPECT_EQ((one * UINT64_MAX).to_string(), "18446744073709551615");
  EXPECT_EQ((UINT64_MAX + one).to_string(), "18446744073709551616");
  EXPECT_FALSE(one >= UINT64_MAX);
  EXPECT_FALSE(UINT64_MAX <= one);
  EXPECT_FALSE(one == UINT64_MAX);
  EXPECT_TRUE(one < UINT64_MAX);
}

}  // namespace
}  // namespace quarv
