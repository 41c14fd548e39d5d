// Every operator on literals against plain integer arithmetic: all values of small widths, and random and
// border values of widths up to 512, with the operands' values held small, big, or one each way.
#include <algorithm>
#include <numbers/number_samples.h>
#include <random>
#include <simpl/bv/bv_fixture.h>
#include <string>
#include <support/bit_vector_operators.h>
#include <type_traits>
#include <vector>

namespace quarv {
namespace {

using Tag = SymbolTag;

/// Operators applied to literals; the literals of one width are kept by their value.
template <class Integer>
class Evaluation : public BitVectors {
 protected:
  void TearDown() override { RecordProperty("folds", std::to_string(folds)); }

  static mpz_class exact(const Integer& x) {
    if constexpr (std::is_same_v<Integer, mpz_class>) {
      return x;
    } else {
      return mpz_class(static_cast<long>(x));
    }
  }
  const Term* literal(const Integer& value, std::size_t w) { return bv(exact(value), w); }

  void check(const Term* folded, const Integer& expected, std::size_t w, const char* op) {
    ++folds;
    if (folded == literal(expected, w)) return;
    ADD_FAILURE() << op << " gives " << exact(expected).get_str() << " at width " << w << ", not "
                  << (mgr.get_number(folded) == nullptr ? "a term" : mgr.get_number(folded)->to_string());
  }

  void check_binary(const Term* a, const Term* b, const Integer& x, const Integer& y, std::size_t w) {
    for (const BitVectorOperator& op : binary_bit_vector_operators) {
      check(apply(op.tag, w, {a, b}), op.value<Integer>({x, y}, {w, w}), w, op.name());
    }
    for (const BitVectorOperator& op : bit_vector_comparisons) {
      const Term* const folded = apply(op.tag, w, {a, b});
      const bool expected = op.value<Integer>({x, y}, {w, w}) != 0;
      ++folds;
      EXPECT_EQ(folded, op.tag == Tag::BV_COMP ? bv(expected, 1) : mgr.make_bool(expected))
          << op.name() << " of " << exact(x).get_str() << " and " << exact(y).get_str() << " at width " << w;
    }
  }

  void check_unary(const Term* a, const Integer& x, std::size_t w) {
    check(mgr.make_bv_not(a), applied("bvnot", x, w), w, "bvnot");
    check(mgr.make_bv_neg(a), applied("bvneg", x, w), w, "bvneg");
    folds += 2;
    EXPECT_EQ(mgr.make_int_from_ubv(a), integer(exact(x)));
    EXPECT_EQ(mgr.make_int_from_sbv(a), integer(exact(reference::signed_value(x, w))));
  }

  void check_rotation(const Term* a, const Integer& x, std::size_t amount, std::size_t w) {
    check(mgr.make_bv_rotate_left(amount, a), applied("rotate_left", x, w, {amount}), w, "rotate_left");
    check(mgr.make_bv_rotate_right(amount, a), applied("rotate_right", x, w, {amount}), w, "rotate_right");
  }

  void check_extension(const Term* a, const Integer& x, std::size_t added, std::size_t w) {
    check(mgr.make_bv_zero_extend(added, a), x, w + added, "zero_extend");
    check(mgr.make_bv_sign_extend(added, a), applied("sign_extend", x, w, {added}), w + added, "sign_extend");
  }

  /// Of operators on one bit-vector.
  static Integer applied(const char* op, const Integer& x, std::size_t w,
                         std::initializer_list<std::size_t> indices = {}) {
    return reference::bit_vector_value<Integer>(op, {x}, {w}, indices);
  }
  static Integer concatenation(const Integer& high, std::size_t w, const Integer& low,
                               std::size_t low_width) {
    return reference::bit_vector_value<Integer>("concat", {high, low}, {w, low_width});
  }

  long folds = 0;
};

/// How the values of operands are held.
enum class Form { small, big, alternating };

class BVExhaustive : public Evaluation<reference::Word>, public ::testing::WithParamInterface<Form> {
 protected:
  static constexpr std::size_t max_width = 8;

  BVExhaustive() {
    for (std::size_t w = 1; w <= max_width; ++w) {
      for (long long x = 0; x < 1LL << w; ++x) {
        const Term* const t = literal(x, w);
        literals[w].push_back(t);
        if (GetParam() == Form::big || (GetParam() == Form::alternating && x % 2 != 0)) hold_big(t);
      }
    }
  }

  std::vector<const Term*> literals[max_width + 1];
};

INSTANTIATE_TEST_SUITE_P(Forms, BVExhaustive, ::testing::Values(Form::small, Form::big, Form::alternating));

TEST_P(BVExhaustive, Binary) {
  for (std::size_t w = 1; w <= max_width; ++w) {
    for (long long x = 0; x < 1LL << w; ++x) {
      for (long long y = 0; y < 1LL << w; ++y) check_binary(literals[w][x], literals[w][y], x, y, w);
    }
  }
}

TEST_P(BVExhaustive, Concatenation) {
  for (std::size_t high_width = 1; high_width <= max_width; ++high_width) {
    for (std::size_t low_width = 1; low_width <= max_width; ++low_width) {
      for (long long x = 0; x < 1LL << high_width; ++x) {
        for (long long y = 0; y < 1LL << low_width; ++y) {
          check(mgr.make_bv_concat(literals[high_width][x], literals[low_width][y]),
                concatenation(x, high_width, y, low_width), high_width + low_width, "concat");
        }
      }
    }
  }
}

TEST_P(BVExhaustive, Unary) {
  for (std::size_t w = 1; w <= max_width; ++w) {
    for (long long x = 0; x < 1LL << w; ++x) {
      const Term* const a = literals[w][x];
      check_unary(a, x, w);
      for (std::size_t amount = 0; amount <= 3 * w; ++amount) check_rotation(a, x, amount, w);
      for (std::size_t added = 0; added <= 2 * max_width; ++added) check_extension(a, x, added, w);
      for (std::size_t lsb = 0; lsb < w; ++lsb) {
        for (std::size_t msb = lsb; msb < w; ++msb) {
          check(mgr.make_bv_extract(msb, lsb, a), applied("extract", x, w, {msb, lsb}), msb - lsb + 1,
                "extract");
        }
      }
    }
  }
}

TEST_P(BVExhaustive, IntegersToBitVectors) {
  for (long long n = -300; n <= 300; ++n) {
    const Term* const value = integer(exact(n));
    if (GetParam() != Form::small) hold_big(value);
    for (std::size_t w = 1; w <= max_width + 3; ++w) {
      check(mgr.make_int_to_bv(w, value), reference::wrapped(reference::Word(n), w), w, "int_to_bv");
    }
  }
}

class BVRandom : public Evaluation<mpz_class> {
 protected:
  std::size_t below(std::size_t bound) { return engine_() % bound; }

  /// A width from 7 to 512, often one at which a way of computing begins or ends.
  std::size_t width() {
    static constexpr std::size_t borders[] = {31, 32, 61, 62, 63, 64, 65, 127, 128};
    return below(2) == 0 ? borders[below(std::size(borders))] : 7 + below(506);
  }

  mpz_class value(std::size_t w) {
    const mpz_class top = mpz_class(1) << (w - 1);
    const mpz_class borders[] = {0, 1, top - 1, top, top + 1, 2 * top - 1, w, w - 1};
    if (below(3) == 0) return reference::wrapped(borders[below(std::size(borders))], w);
    mpz_class result = 0;
    for (std::size_t bits = 0; bits < w; bits += 64)
      result = (result << 64) + static_cast<unsigned long>(engine_());
    return reference::wrapped(result, 1 + below(w));
  }

  /// The literal, its value held in a random way.
  const Term* operand(const mpz_class& x, std::size_t w) {
    const Term* const t = literal(x, w);
    QNumber& held = *mgr.numbers.find(t->symbol);
    if (below(2) == 0) {
      hold_big(t);
    } else {
      held = held.demoted();
    }
    return t;
  }

 private:
  std::mt19937_64 engine_{20240607};
};

TEST_F(BVRandom, AllOperators) {
  for (int i = 0; i < num_cases(3000); ++i) {
    const std::size_t w = width();
    const mpz_class x = value(w);
    const mpz_class y = below(8) == 0 ? x : value(w);
    const Term* const a = operand(x, w);
    const Term* const b = operand(y, w);
    check_binary(a, b, x, y, w);
    check_unary(a, x, w);
    check_rotation(a, x, below(3 * w), w);
    check_extension(a, x, below(3) == 0 ? 64 - std::min<std::size_t>(w, 64) : below(200), w);
    const std::size_t lsb = below(w);
    const std::size_t msb = lsb + below(w - lsb);
    check(mgr.make_bv_extract(msb, lsb, a), applied("extract", x, w, {msb, lsb}), msb - lsb + 1, "extract");
    const std::size_t low_width = width();
    const mpz_class z = value(low_width);
    check(mgr.make_bv_concat(a, operand(z, low_width)), concatenation(x, w, z, low_width), w + low_width,
          "concat");
    const mpz_class n = below(2) == 0 ? x : mpz_class(-x);
    check(mgr.make_int_to_bv(low_width, integer(n)), reference::wrapped(n, low_width), low_width,
          "int_to_bv");
  }
}

}  // namespace
}  // namespace quarv
