// binary32 and binary64 against the arithmetic of the host.

#include <bit>
#include <cfenv>
#include <cmath>
#include <cstdint>

#include <gtest/gtest.h>

#include "numbers/float_operations.h"
#include "numbers/float_samples.h"
#include "numbers/number_samples.h"
#include <quarv/numbers/ieee_float.h>

namespace quarv {
namespace {

struct HostMode {
  IEEEFloat::rounding_mode mode;
  int host;
};

constexpr HostMode host_modes[] = {{IEEEFloat::round_nearest_even, FE_TONEAREST},
                                   {IEEEFloat::round_toward_zero, FE_TOWARDZERO},
                                   {IEEEFloat::round_toward_positive, FE_UPWARD},
                                   {IEEEFloat::round_toward_negative, FE_DOWNWARD}};

template <class Real>
struct HostTraits;
template <>
struct HostTraits<float> {
  using Word = std::uint32_t;
  static constexpr IEEEFloat::format format{8, 23};
};
template <>
struct HostTraits<double> {
  using Word = std::uint64_t;
  static constexpr IEEEFloat::format format{11, 52};
};

/// The host's results in its current rounding mode; the volatile operands keep the compiler from computing
/// them.
template <class Real>
void host_results(Real a, Real b, Real (&result)[num_operations]) {
  volatile Real x = a, y = b;
  result[op_add] = x + y;
  result[op_subtract] = x - y;
  result[op_multiply] = x * y;
  result[op_divide] = x / y;
  result[op_square_root] = std::sqrt(x);
}

template <class Real>
std::uint64_t bits_of(Real x) {
  return std::bit_cast<typename HostTraits<Real>::Word>(x);
}

template <class Real>
IEEEFloat number(Real x) {
  return IEEEFloat::from_bits(QNumber::from_integer(mpz_class(bits_of(x)).get_mpz_t()),
                              HostTraits<Real>::format);
}

/// Whether the number is the host's, where any NaN is as good as any other.
template <class Real>
bool agrees(const IEEEFloat& x, Real host) {
  if (std::isnan(host)) return x.is_nan();
  const QNumber bits = x.get_bits();
  return (bits.is_small() ? static_cast<std::uint64_t>(bits.small_num()) : mpz_get_ui(bits.big_num())) ==
         bits_of(host);
}

template <class Real>
class HostArithmetic : public testing::Test {};
using HostTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(HostArithmetic, HostTypes);

TYPED_TEST(HostArithmetic, Agrees) {
  using Real = TypeParam;
  using Word = typename HostTraits<Real>::Word;
  FloatSamples samples(HostTraits<Real>::format, 20);
  for (int round = 0; round < num_cases(100000); ++round) {
    const auto [a, b] = samples.next_word_pair();
    const Real x = std::bit_cast<Real>(static_cast<Word>(a)), y = std::bit_cast<Real>(static_cast<Word>(b));
    const IEEEFloat right = number(y);
    IEEEFloat left = number(x), result;
    for (const HostMode& mode : host_modes) {
      Real wanted[num_operations];
      std::fesetround(mode.host);
      host_results(x, y, wanted);
      std::fesetround(FE_TONEAREST);
      left.set_rounding_mode(mode.mode);
      for (int operation = 0; operation < num_operations; ++operation) {
        result = left;
        apply(static_cast<Operation>(operation), result, right);
        ASSERT_TRUE(agrees(result, wanted[operation]))
            << std::hexfloat << x << ' ' << y << " operation " << operation << " mode " << mode.mode
            << " gives " << result.to_string();
      }
    }
    ASSERT_EQ(left == right, x == y);
    ASSERT_EQ(left < right, x < y);
    ASSERT_EQ(left <= right, x <= y);
  }
}

TYPED_TEST(HostArithmetic, Conversions) {
  using Real = TypeParam;
  using Word = typename HostTraits<Real>::Word;
  using Other = std::conditional_t<std::is_same_v<Real, float>, double, float>;
  FloatSamples samples(HostTraits<Real>::format, 21);
  for (int round = 0; round < num_cases(100000); ++round) {
    const Real x = std::bit_cast<Real>(static_cast<Word>(samples.next_word()));
    const auto integer =
        static_cast<long>(samples.below(~0ull) >> samples.below(64)) * (round % 2 == 0 ? 1 : -1);
    const IEEEFloat exact = number(x);
    for (const HostMode& mode : host_modes) {
      volatile Real source = x;
      volatile long word = integer;
      std::fesetround(mode.host);
      const Other converted = static_cast<Other>(source);
      const Real integral = std::nearbyint(source);
      const Real from_word = static_cast<Real>(word);
      std::fesetround(FE_TONEAREST);
      IEEEFloat left = exact;
      left.set_rounding_mode(mode.mode);
      ASSERT_TRUE(agrees(quarv::round(left), integral)) << std::hexfloat << x << " mode " << mode.mode;
      if (std::fabs(integral) < Real(9e18)) {
        ASSERT_EQ(left.to_integer(64), QNumber(static_cast<long>(integral)));
      }
      ASSERT_TRUE(
          agrees(IEEEFloat::from_number(QNumber(integer), HostTraits<Real>::format, mode.mode), from_word))
          << integer << " mode " << mode.mode;
      left.set_format(HostTraits<Other>::format);
      ASSERT_TRUE(agrees(left, converted)) << std::hexfloat << x << " mode " << mode.mode;
    }
  }
}

}  // namespace
}  // namespace quarv
