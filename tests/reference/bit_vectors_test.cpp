// The reference evaluator's bit-vectors: against the host's integers, and words against integers of any size.

#include <cstdint>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "reference/operations.h"
#include "support/test_scale.h"

namespace quarv::reference {
namespace {

mpz_class value(std::string_view op, const mpz_class& a, const mpz_class& b, std::size_t w) {
  return bit_vector_value<mpz_class>(op, {a, b}, {w, w});
}

template <class Unsigned, class Signed>
void agrees_with_host(Unsigned a, Unsigned b) {
  constexpr std::size_t w = sizeof(Unsigned) * 8;
  const auto x = static_cast<Signed>(a), y = static_cast<Signed>(b);
  const auto check = [&](const char* op, auto wanted) {
    ASSERT_EQ(value(op, static_cast<unsigned long>(a), static_cast<unsigned long>(b), w),
              static_cast<unsigned long>(static_cast<Unsigned>(wanted)))
        << op << ' ' << +a << ' ' << +b << " at width " << w;
  };
  check("bvadd", Unsigned(a + b));
  check("bvsub", Unsigned(a - b));
  check("bvmul", Unsigned(std::uint64_t{a} * b));
  check("bvand", a & b);
  check("bvor", a | b);
  check("bvxor", a ^ b);
  check("bvnand", ~(a & b));
  check("bvnor", ~(a | b));
  check("bvxnor", ~(a ^ b));
  check("bvult", a < b);
  check("bvule", a <= b);
  check("bvugt", a > b);
  check("bvuge", a >= b);
  check("bvslt", x < y);
  check("bvsle", x <= y);
  check("bvsgt", x > y);
  check("bvsge", x >= y);
  check("bvcomp", a == b);
  check("bvshl", b < w ? a << b : 0);
  check("bvlshr", b < w ? a >> b : 0);
  check("bvashr", b < w ? x >> b : x < 0 ? -1 : 0);
  Signed result;
  Unsigned unsigned_result;
  check("bvsaddo", __builtin_add_overflow(x, y, &result));
  check("bvssubo", __builtin_sub_overflow(x, y, &result));
  check("bvsmulo", __builtin_mul_overflow(x, y, &result));
  check("bvuaddo", __builtin_add_overflow(a, b, &unsigned_result));
  check("bvusubo", __builtin_sub_overflow(a, b, &unsigned_result));
  check("bvumulo", __builtin_mul_overflow(a, b, &unsigned_result));
  const bool overflows = x == std::numeric_limits<Signed>::min() && y == -1;
  check("bvsdivo", overflows);
  check("bvudiv", b == 0 ? Unsigned(-1) : Unsigned(a / b));
  check("bvurem", b == 0 ? a : Unsigned(a % b));
  check("bvsdiv", b == 0 ? Signed(x < 0 ? 1 : -1) : overflows ? x : Signed(x / y));
  const auto rest = overflows ? Signed(0) : b == 0 ? x : Signed(x % y);
  check("bvsrem", rest);
  check("bvsmod", b != 0 && rest != 0 && (rest < 0) != (y < 0) ? Signed(rest + y) : rest);
}

TEST(ReferenceBitVectors, AgreeWithTheHost) {
  const auto step = static_cast<unsigned>(one_in_when_sanitized(7));
  for (unsigned a = 0; a < 256; ++a) {
    for (unsigned b = a % step; b < 256; b += step) {
      ASSERT_NO_FATAL_FAILURE((agrees_with_host<std::uint8_t, std::int8_t>(static_cast<std::uint8_t>(a),
                                                                           static_cast<std::uint8_t>(b))));
    }
  }
  std::mt19937_64 random(1);
  for (int i = 0; i < num_cases(5000); ++i) {
    const std::uint64_t a = random() >> random() % 64, b = random() >> random() % 64;
    const std::uint64_t c = random() % 2 == 0 ? a : 0 - a, d = random() % 2 == 0 ? b : 0 - b;
    ASSERT_NO_FATAL_FAILURE((agrees_with_host<std::uint32_t, std::int32_t>(static_cast<std::uint32_t>(c),
                                                                           static_cast<std::uint32_t>(d))));
    ASSERT_NO_FATAL_FAILURE((agrees_with_host<std::uint64_t, std::int64_t>(c, d)));
  }
}

/// Random operands, often at a border, and indices that fit every operator.
TEST(ReferenceBitVectors, AreTheSameOnWordsAndOnIntegers) {
  std::mt19937_64 random(2);
  for (const Operation& op : bit_vector_operations()) {
    ASSERT_NE(op.on_words, nullptr) << op.name;
    for (int i = 0; i < num_cases(2000); ++i) {
      const bool joins = op.name == "concat" || op.name == "repeat" || op.name == "sign_extend";
      const std::size_t w = 1 + random() % (joins ? 31 : 63);
      const std::uint64_t all = ~std::uint64_t{0} >> (64 - w);
      const std::uint64_t borders[] = {0, 1, all, all >> 1, (all >> 1) + 1, w, random(), random()};
      const std::uint64_t a = borders[random() % 8] & all, b = borders[random() % 8] & all;
      std::vector<std::size_t> indices;
      if (op.name == "extract") {
        const std::size_t low = random() % w;
        indices = {low + random() % (w - low), low};
      } else if (op.name == "repeat") {
        indices = {1 + random() % 2};
      } else {
        indices = {random() % (op.name == "sign_extend" ? 32 : 64)};
      }
      if (op.name.starts_with("int") && indices[0] == 0) indices[0] = 1;
      const std::vector<Word> words = {a, b};
      const std::vector<mpz_class> integers = {static_cast<unsigned long>(a), static_cast<unsigned long>(b)};
      const std::vector<std::size_t> widths = {w, w};
      const bool binary = op.name.starts_with("bv") || op.name == "concat" || op.name.starts_with("ext_");
      const std::size_t n = binary ? 2 : 1;
      const Word found = op.on_words({std::span(words).first(n), widths, indices});
      const mpz_class wanted = op.on_integers({std::span(integers).first(n), widths, indices});
      ASSERT_EQ(mpz_class(static_cast<long>(found)), wanted)
          << op.name << ' ' << a << ' ' << b << " at width " << w;
    }
  }
}

}  // namespace
}  // namespace quarv::reference
