/// \file
/// Every bit-vector operator of the reader on all constants of a few bits, against plain integers. Operators
/// that the library has not are expressed by others, and those must fold to the right constant.
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/smtlib/read/reader.h>

namespace quarv::smtlib {
namespace {

constexpr int max_bits = 4;

/// Operands: an encoding, and what it stands for when read as signed.
struct Number {
  long u;  ///< 0 .. 2^w - 1
  long s;  ///< -2^(w-1) .. 2^(w-1) - 1

  Number(long encoding, int w)
      : u(encoding), s(encoding < (1L << (w - 1)) ? encoding : encoding - (1L << w)) {}
};

long wrap(long x, int w) {
  const long modulus = 1L << w;
  return ((x % modulus) + modulus) % modulus;
}

bool fits_unsigned(long x, int w) {
  return 0 <= x && x < (1L << w);
}

bool fits_signed(long x, int w) {
  return -(1L << (w - 1)) <= x && x < (1L << (w - 1));
}

long floor_quotient(long a, long b) {
  return a / b - (a % b != 0 && (a < 0) != (b < 0) ? 1 : 0);
}

long power(int exponent) {
  return 1L << std::min(exponent, 20);
}

int bit(long x, int i) {
  return static_cast<int>(x / power(i) % 2);
}

/// The w bits that `choose` gives for the bits of a and b.
template <class Choose>
long bits(Number a, Number b, int w, Choose choose) {
  long result = 0;
  for (int i = 0; i < w; ++i) result += choose(bit(a.u, i), bit(b.u, i)) ? power(i) : 0;
  return result;
}

long rotated_left(long x, int amount, int w) {
  for (int i = 0; i < amount % w; ++i) x = 2 * x % power(w) + bit(x, w - 1);
  return x;
}

std::string literal(long value, int w) {
  std::string text = "#b";
  for (int i = w; i-- > 0;) text += bit(value, i) != 0 ? '1' : '0';
  return text;
}

std::string integer(long value) {
  return value < 0 ? "(- " + std::to_string(-value) + ")" : std::to_string(value);
}

/// Collects equations between a term of constants and its value, and has them all read and simplified.
class Equations {
 public:
  void add(const std::string& term, const std::string& value) {
    terms_.push_back("(= " + term + ' ' + value + ')');
  }

  void check() const {
    Session session({.simplify = false});
    TermManager& manager = session.manager();
    StdTermSimplifier simplifier;
    termsimpl::register_standard_simplifications(&manager, &simplifier);
    manager.set_simplifier(&simplifier);
    std::string text;
    for (const std::string& t : terms_) text.append("(assert ").append(t).append(")\n");
    const Script script = Reader(session).read(text, "equations");
    ASSERT_EQ(script.commands.size(), terms_.size());
    for (std::size_t i = 0; i < terms_.size(); ++i) {
      EXPECT_EQ(script.terms_of(script.commands[i])[0], manager.true_term) << terms_[i];
    }
  }

 private:
  std::vector<std::string> terms_;
};

struct Binary {
  const char* name;
  std::function<long(Number a, Number b, int w)> value;
};

/// Operators with a bit-vector of the operands' width as result.
const Binary functions[] = {
    {"bvand", [](Number a, Number b, int w) { return bits(a, b, w, [](int x, int y) { return x && y; }); }},
    {"bvor", [](Number a, Number b, int w) { return bits(a, b, w, [](int x, int y) { return x || y; }); }},
    {"bvxor", [](Number a, Number b, int w) { return bits(a, b, w, [](int x, int y) { return x != y; }); }},
    {"bvnand",
     [](Number a, Number b, int w) { return bits(a, b, w, [](int x, int y) { return !(x && y); }); }},
    {"bvnor",
     [](Number a, Number b, int w) { return bits(a, b, w, [](int x, int y) { return !(x || y); }); }},
    {"bvxnor", [](Number a, Number b, int w) { return bits(a, b, w, [](int x, int y) { return x == y; }); }},
    {"bvadd", [](Number a, Number b, int w) { return wrap(a.u + b.u, w); }},
    {"bvsub", [](Number a, Number b, int w) { return wrap(a.u - b.u, w); }},
    {"bvmul", [](Number a, Number b, int w) { return wrap(a.u * b.u, w); }},
    {"bvudiv", [](Number a, Number b, int w) { return b.u == 0 ? wrap(-1, w) : a.u / b.u; }},
    {"bvurem", [](Number a, Number b, int) { return b.u == 0 ? a.u : a.u % b.u; }},
    {"bvsdiv", [](Number a, Number b, int w) { return wrap(b.s != 0  ? a.s / b.s
                                                           : a.s < 0 ? 1
                                                                     : -1,
                                                           w); }},
    {"bvsrem", [](Number a, Number b, int w) { return b.s == 0 ? a.u : wrap(a.s % b.s, w); }},
    {"bvsmod", [](Number a, Number b,
                  int w) { return b.s == 0 ? a.u : wrap(a.s - b.s * floor_quotient(a.s, b.s), w); }},
    {"bvshl", [](Number a, Number b, int w) { return wrap(a.u * power(static_cast<int>(b.u)), w); }},
    {"bvlshr", [](Number a, Number b, int) { return a.u / power(static_cast<int>(b.u)); }},
    {"bvashr",
     [](Number a, Number b, int w) { return wrap(floor_quotient(a.s, power(static_cast<int>(b.u))), w); }},
    {"ext_rotate_left",
     [](Number a, Number b, int w) { return rotated_left(a.u, static_cast<int>(b.u), w); }},
    {"ext_rotate_right",
     [](Number a, Number b, int w) { return rotated_left(a.u, w * 16 - static_cast<int>(b.u), w); }},
};

const Binary predicates[] = {
    {"bvult", [](Number a, Number b, int) -> long { return a.u < b.u; }},
    {"bvule", [](Number a, Number b, int) -> long { return a.u <= b.u; }},
    {"bvugt", [](Number a, Number b, int) -> long { return a.u > b.u; }},
    {"bvuge", [](Number a, Number b, int) -> long { return a.u >= b.u; }},
    {"bvslt", [](Number a, Number b, int) -> long { return a.s < b.s; }},
    {"bvsle", [](Number a, Number b, int) -> long { return a.s <= b.s; }},
    {"bvsgt", [](Number a, Number b, int) -> long { return a.s > b.s; }},
    {"bvsge", [](Number a, Number b, int) -> long { return a.s >= b.s; }},
    {"bvuaddo", [](Number a, Number b, int w) -> long { return !fits_unsigned(a.u + b.u, w); }},
    {"bvsaddo", [](Number a, Number b, int w) -> long { return !fits_signed(a.s + b.s, w); }},
    {"bvumulo", [](Number a, Number b, int w) -> long { return !fits_unsigned(a.u * b.u, w); }},
    {"bvsmulo", [](Number a, Number b, int w) -> long { return !fits_signed(a.s * b.s, w); }},
    {"bvusubo", [](Number a, Number b, int w) -> long { return !fits_unsigned(a.u - b.u, w); }},
    {"bvssubo", [](Number a, Number b, int w) -> long { return !fits_signed(a.s - b.s, w); }},
    {"bvsdivo", [](Number a, Number b, int w) -> long { return b.s != 0 && !fits_signed(a.s / b.s, w); }},
    {"=", [](Number a, Number b, int) -> long { return a.u == b.u; }},
    {"distinct", [](Number a, Number b, int) -> long { return a.u != b.u; }},
};

std::string call(const std::string& name, const std::string& a, const std::string& b = "") {
  return '(' + name + ' ' + a + (b.empty() ? "" : " ") + b + ')';
}

std::string indexed(const std::string& name, int index) {
  return "(_ " + name + ' ' + std::to_string(index) + ')';
}

const char* truth(bool value) {
  return value ? "true" : "false";
}

TEST(BitVectorOperators, OfTwoOperandsFold) {
  Equations equations;
  for (int w = 1; w <= max_bits; ++w) {
    for (long x = 0; x < power(w); ++x) {
      for (long y = 0; y < power(w); ++y) {
        const Number a(x, w), b(y, w);
        const std::string s = literal(x, w), t = literal(y, w);
        for (const Binary& op : functions) {
          equations.add(call(op.name, s, t), literal(op.value(a, b, w), w));
        }
        for (const Binary& op : predicates) equations.add(call(op.name, s, t), truth(op.value(a, b, w) != 0));
        equations.add(call("bvcomp", s, t), literal(x == y, 1));
        equations.add(call("concat", s, t), literal(x * power(w) + y, 2 * w));
      }
    }
  }
  equations.check();
}

TEST(BitVectorOperators, OfOneOperandFold) {
  Equations equations;
  for (int w = 1; w <= max_bits; ++w) {
    for (long x = 0; x < power(w); ++x) {
      const Number a(x, w);
      const std::string t = literal(x, w);
      equations.add(call("bvnot", t), literal(power(w) - 1 - x, w));
      equations.add(call("bvneg", t), literal(wrap(-x, w), w));
      equations.add(call("bvredor", t), literal(x != 0, 1));
      equations.add(call("bvredand", t), literal(x == power(w) - 1, 1));
      equations.add(call("bvnego", t), truth(!fits_signed(-a.s, w)));
      for (const char* name : {"bv2nat", "ubv_to_int"}) equations.add(call(name, t), integer(x));
      equations.add(call("sbv_to_int", t), integer(a.s));
      for (int k = 0; k <= 2 * w + 1; ++k) {
        equations.add(call(indexed("rotate_left", k), t), literal(rotated_left(x, k, w), w));
        equations.add(call(indexed("rotate_right", k), t), literal(rotated_left(x, 3 * w - k, w), w));
        equations.add(call(indexed("zero_extend", k), t), literal(x, w + k));
        equations.add(call(indexed("sign_extend", k), t), literal(wrap(a.s, w + k), w + k));
      }
      long repeated = 0;
      for (int k = 1; k <= 5; ++k) {
        repeated = repeated * power(w) + x;
        equations.add(call(indexed("repeat", k), t), literal(repeated, k * w));
      }
      for (int low = 0; low < w; ++low) {
        for (int high = low; high < w; ++high) {
          equations.add(call("(_ extract " + std::to_string(high) + ' ' + std::to_string(low) + ')', t),
                        literal(x / power(low) % power(high - low + 1), high - low + 1));
        }
      }
    }
  }
  equations.check();
}

TEST(BitVectorOperators, FromIntegersWrap) {
  Equations equations;
  for (int w = 1; w <= max_bits; ++w) {
    for (long x = -3 * power(w); x <= 3 * power(w); ++x) {
      for (const char* name : {"int2bv", "int_to_bv"}) {
        equations.add(call(indexed(name, w), integer(x)), literal(wrap(x, w), w));
      }
    }
  }
  equations.check();
}

}  // namespace
}  // namespace quarv::smtlib
