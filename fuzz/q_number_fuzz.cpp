/// \file
/// Fuzzes exact rational numbers: a sequence of operations on a few numbers, each of which GMP's own
/// rationals do as well. After each operation value, form and text agree.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <climits>
#include <gmpxx.h>

#include "byte_source.h"
#include <quarv/numbers/bv_number.h>
#include <quarv/numbers/q_number.h>

namespace quarv::fuzz {

namespace {

constexpr std::size_t num_registers = 4;
constexpr std::size_t longest = 2000;  // of numerators and denominators, in bits

void require(bool condition, const char* what, const mpq_class& wanted, const std::string& found) {
  if (condition) return;
  std::fprintf(stderr, "%s: wanted %s, found %s\n", what, wanted.get_str().c_str(), found.c_str());
  std::abort();
}

/// Both forms are canonical, and one number is the same in both.
void check(const QNumber& x, const mpq_class& wanted, const char* operation) {
  const std::string text = x.to_string();
  require(x.num() == wanted.get_num() && x.den() == wanted.get_den(), operation, wanted, text);
  require(text == wanted.get_str(), "text", wanted, text);
  require(!x.is_small() || (x.small_num() != LONG_MIN && x.small_den() > 0), "small form", wanted, text);
  require(x.sign() == sgn(wanted) && x.is_zero() == (wanted == 0), "sign", wanted, text);
  require(x.is_integer() == (wanted.get_den() == 1), "integrality", wanted, text);
  const QNumber small = x.demoted(), read = QNumber::parse(text);
  require(small == x && read == x && small.hash() == x.hash() && read.hash() == x.hash(), "equality", wanted,
          small.to_string());
  const bool fits =
      wanted.get_num().fits_slong_p() && wanted.get_num() != LONG_MIN && wanted.get_den().fits_slong_p();
  require(small.is_small() == fits && read.is_small() == fits, "demotion", wanted, text);
}

mpz_class floor(const mpq_class& x) {
  mpz_class result;
  mpz_fdiv_q(result.get_mpz_t(), x.get_num_mpz_t(), x.get_den_mpz_t());
  return result;
}

class Machine {
 public:
  explicit Machine(ByteSource& source) : source_(source) {}

  void run() {
    while (!source_.empty()) step();
  }

 private:
  mpz_class integer() {
    static constexpr std::uint8_t borders[] = {1, 10, 31, 32, 62, 63, 64, 65, 128};
    const std::size_t choice = source_.below(4);
    mpz_class result;
    if (choice == 0) {
      result = source_.natural(4);
    } else if (choice == 1) {
      result = (mpz_class(1) << borders[source_.below(std::size(borders))]) + source_.natural(2) - 1;
    } else {
      result = source_.natural(choice == 2 ? 64 : 160);
    }
    return source_.one_in(2) ? mpz_class(-result) : result;
  }

  void set(std::size_t i) {
    const mpz_class num = integer();
    mpz_class den = source_.one_in(2) ? integer() : mpz_class(1);
    if (den == 0) den = 1;
    exact_[i] = mpq_class(num, den);
    exact_[i].canonicalize();
    const bool words = num.fits_slong_p() && den.fits_slong_p();
    const std::size_t way = source_.below(4);
    if (way == 0 && words) {
      number_[i] = QNumber(num.get_si(), den.get_si());
    } else if (way == 1) {
      number_[i] = QNumber(num.get_mpz_t(), den.get_mpz_t(), true);
    } else if (way == 2) {
      number_[i] = QNumber::parse(exact_[i].get_str());
    } else {
      number_[i] = QNumber(num, den);
    }
  }

  void arithmetic(std::size_t op, std::size_t to, std::size_t a, std::size_t b) {
    const bool in_place = source_.one_in(2);
    const mpq_class x = exact_[in_place ? to : a], y = exact_[b];
    if (in_place) a = to;
    QNumber& result = number_[to];
    if (op == 0) {
      exact_[to] = x + y;
      in_place ? result += number_[b] : result = number_[a] + number_[b];
    } else if (op == 1) {
      exact_[to] = x - y;
      in_place ? result -= number_[b] : result = number_[a] - number_[b];
    } else if (op == 2) {
      exact_[to] = x * y;
      in_place ? result *= number_[b] : result = number_[a] * number_[b];
    } else if (op == 3 && y != 0) {
      exact_[to] = x / y;
      in_place ? result /= number_[b] : result = number_[a] / number_[b];
    } else {
      exact_[to] += x * y;
      result.self_addmul(number_[a], number_[b]);
    }
  }

  void compare(std::size_t a, std::size_t b) {
    const QNumber &x = number_[a], &y = number_[b];
    const int order = cmp(exact_[a], exact_[b]);
    const bool agree = (x == y) == (order == 0) && (x < y) == (order < 0) && (x > y) == (order > 0) &&
                       (x <= y) == (order <= 0) && (x >= y) == (order >= 0);
    require(agree, "comparison", exact_[a], y.to_string());
    require(x != y || x.hash() == y.hash(), "hash", exact_[a], y.to_string());
  }

  void unary(std::size_t op, std::size_t to, std::size_t a) {
    if (op == 0) {
      exact_[to] = -exact_[a];
      number_[to] = -number_[a];
    } else if (op == 1) {
      exact_[to] = mpq_class(floor(exact_[a]));
      number_[to] = number_[a].floor();
    } else if (op == 2) {
      exact_[to] = mpq_class(exact_[a]);
      number_[to] = number_[a];
    } else {
      number_[to] = std::move(number_[a]);
      exact_[to] = exact_[a];
      if (to != a) exact_[a] = 0;
    }
    check(number_[a], exact_[a], "operand");
  }

  /// Operations on the integers next to the registers' numbers.
  void integral(std::size_t op, std::size_t to, std::size_t a, std::size_t b) {
    const mpz_class x = floor(exact_[a]), y = floor(exact_[b]);
    const QNumber m = number_[a].floor(), n = number_[b].floor();
    mpz_class result;
    if (op == 0) {
      mpz_gcd(result.get_mpz_t(), x.get_mpz_t(), y.get_mpz_t());
      number_[to] = gcd(m, n);
    } else if (op == 1) {
      mpz_lcm(result.get_mpz_t(), x.get_mpz_t(), y.get_mpz_t());
      number_[to] = lcm(m, n);
    } else if (y != 0) {
      QNumber remainder;
      m.divmod(n, number_[to], remainder);
      const bool truncated = m.is_small() && n.is_small();
      result = truncated ? mpz_class(x / y) : floor(mpq_class(x) / y);
      check(remainder, mpq_class(x - result * y), "remainder");
    } else {
      return;
    }
    exact_[to] = mpq_class(result);
  }

  /// Bit-vector arithmetic on the register's integer modulo 2^width.
  void bits(std::size_t op, std::size_t to, std::size_t a, std::size_t b) {
    const std::size_t width = 1 + source_.below(140);
    mpz_class x = floor(exact_[a]), y = floor(exact_[b]);
    mpz_fdiv_r_2exp(x.get_mpz_t(), x.get_mpz_t(), width);
    mpz_fdiv_r_2exp(y.get_mpz_t(), y.get_mpz_t(), width);
    const QNumber m = QNumber::from_integer(x.get_mpz_t()), n = QNumber::from_integer(y.get_mpz_t());
    const mpz_class power = mpz_class(1) << width;
    QNumber& out = number_[to];
    const mpz_class wanted[] = {x == 0 ? x : mpz_class(power - x),
                                -x - 1,
                                x << width,
                                x >> width / 2,
                                x & y,
                                x | y,
                                x ^ y,
                                power,
                                x * y % power,
                                x};
    switch (op) {
      case 0:
        BVNumber::neg(width, m, &out);
        break;
      case 1:
        BVNumber::bit_complement(m, &out);
        break;
      case 2:
        BVNumber::bit_left_shift(m, width, &out);
        break;
      case 3:
        if (width / 2 >= 64 && m.is_small()) return;
        BVNumber::bit_right_shift(m, width / 2, &out);
        break;
      case 4:
        BVNumber::bit_op(m, n, BVNumber::bit_and_l, mpz_and, &out);
        break;
      case 5:
        BVNumber::bit_op(m, n, BVNumber::bit_or_l, mpz_ior, &out);
        break;
      case 6:
        BVNumber::bit_op(m, n, BVNumber::bit_xor_l, mpz_xor, &out);
        break;
      case 7:
        BVNumber::pow2(width, &out);
        break;
      case 8:
        out = m * n;
        BVNumber::trim(out, width);
        break;
      default: {
        BVNumber::twos_complement(x >= power / 2 ? QNumber(mpz_class(x - power), 1) : m, width, &out);
      }
    }
    exact_[to] = mpq_class(wanted[op]);
  }

  void step() {
    const std::size_t kind = source_.below(5);
    const std::size_t to = source_.below(num_registers), a = source_.below(num_registers),
                      b = source_.below(num_registers);
    if (kind == 0) {
      set(to);
    } else if (kind == 1) {
      arithmetic(source_.below(5), to, a, b);
    } else if (kind == 2) {
      unary(source_.below(4), to, a);
    } else if (kind == 3) {
      integral(source_.below(3), to, a, b);
    } else {
      bits(source_.below(10), to, a, b);
    }
    if (mpz_sizeinbase(exact_[to].get_num_mpz_t(), 2) + mpz_sizeinbase(exact_[to].get_den_mpz_t(), 2) >
        longest) {
      exact_[to] = 1;
      number_[to] = QNumber(1);
    }
    static constexpr const char* names[] = {"assignment", "arithmetic", "unary operation",
                                            "integer operation", "bit operation"};
    check(number_[to], exact_[to], names[kind]);
    compare(a, b);
    compare(to, a);
  }

  ByteSource& source_;
  QNumber number_[num_registers];
  mpq_class exact_[num_registers];
};

}  // namespace
}  // namespace quarv::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quarv::fuzz::ByteSource source(data, size);
  quarv::fuzz::Machine(source).run();
  return 0;
}
