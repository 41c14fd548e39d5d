#include "expression.h"

namespace quarv::fuzz {

namespace {

mpz_class power(std::size_t n) {
  return mpz_class(1) << n;
}

/// The value modulo 2^width.
Value bits(const mpz_class& x, std::size_t width) {
  mpz_class result;
  mpz_fdiv_r_2exp(result.get_mpz_t(), x.get_mpz_t(), width);
  return {result, nullptr};
}

/// Argument i in two's complement.
mpz_class signed_value(const Call& c, std::size_t i) {
  const mpz_class x = c.integer(i);
  return x < power(c.width(i) - 1) ? x : mpz_class(x - power(c.width(i)));
}

bool fits_signed(const mpz_class& x, std::size_t width) {
  return x >= -power(width - 1) && x < power(width - 1);
}

Value concatenation(const Call& c) {
  mpz_class result;
  for (std::size_t i = 0; i < c.count(); ++i) result = (result << c.width(i)) + c.integer(i);
  return {result, nullptr};
}

Value repetition(const Call& c) {
  mpz_class result;
  for (std::size_t i = 0; i < c.index(0); ++i) result = (result << c.width(0)) + c.integer(0);
  return {result, nullptr};
}

Value rotated_left(const Call& c, std::size_t amount) {
  const std::size_t width = c.width(0);
  const mpz_class twice = (c.integer(0) << width) + c.integer(0);
  return bits(twice >> (width - amount % width), width);
}

Value rotated_right(const Call& c, std::size_t amount) {
  return rotated_left(c, c.width(0) - amount % c.width(0));
}

/// The amount of a rotation by a term.
std::size_t rotation_amount(const Call& c) {
  return mpz_class(c.integer(1) % static_cast<unsigned long>(c.width(0))).get_ui();
}

/// A binary operation on integers, folded over all arguments from the left.
template <class Operation>
Value fold(const Call& c, Operation operation) {
  Value result = *c.args[0];
  for (std::size_t i = 1; i < c.count(); ++i) {
    result = bits(operation(result.number.get_num(), c.integer(i)), c.width(0));
  }
  return result;
}

template <class Relation>
Value chain(const Call& c, Relation relation) {
  bool result = true;
  for (std::size_t i = 1; i < c.count(); ++i) result = result && relation(c.integer(i - 1), c.integer(i));
  return truth_value(result);
}

template <class Relation>
Value signed_chain(const Call& c, Relation relation) {
  bool result = true;
  for (std::size_t i = 1; i < c.count(); ++i) {
    result = result && relation(signed_value(c, i - 1), signed_value(c, i));
  }
  return truth_value(result);
}

Value unsigned_division(const Call& c) {
  if (c.integer(1) == 0) return {power(c.width(0)) - 1, nullptr};
  return {mpz_class(c.integer(0) / c.integer(1)), nullptr};
}

Value unsigned_remainder(const Call& c) {
  if (c.integer(1) == 0) return *c.args[0];
  return {mpz_class(c.integer(0) % c.integer(1)), nullptr};
}

/// The quotient is rounded toward zero; by zero it is 1 for negative dividends, else -1.
Value signed_division(const Call& c) {
  const mpz_class a = signed_value(c, 0), b = signed_value(c, 1);
  if (b == 0) return bits(a < 0 ? 1 : -1, c.width(0));
  return bits(a / b, c.width(0));
}

/// The remainder has the sign of the dividend.
Value signed_remainder(const Call& c) {
  const mpz_class a = signed_value(c, 0), b = signed_value(c, 1);
  return bits(b == 0 ? a : mpz_class(a % b), c.width(0));
}

/// The remainder has the sign of the divisor.
Value signed_modulo(const Call& c) {
  const mpz_class a = signed_value(c, 0), b = signed_value(c, 1);
  mpz_class result = a;
  if (b != 0) mpz_fdiv_r(result.get_mpz_t(), a.get_mpz_t(), b.get_mpz_t());
  return bits(result, c.width(0));
}

/// A shift by the value of the second argument; by the width or more as by the width.
template <class Shift>
Value shifted(const Call& c, Shift shift) {
  const std::size_t width = c.width(0);
  const mpz_class amount = c.integer(1);
  return bits(shift(amount < static_cast<unsigned long>(width) ? amount.get_ui() : width), width);
}

template <class Operation>
Value overflows_signed(const Call& c, Operation operation) {
  return truth_value(!fits_signed(operation(signed_value(c, 0), signed_value(c, 1)), c.width(0)));
}

Value division_overflows(const Call& c) {
  const mpz_class a = signed_value(c, 0), b = signed_value(c, 1);
  return truth_value(b != 0 && !fits_signed(a / b, c.width(0)));
}

using Z = const mpz_class&;

constexpr Operation table[] = {
    {"concat", concatenation},
    {"extract", [](const Call& c) { return bits(c.integer(0) >> c.index(1), c.index(0) - c.index(1) + 1); }},
    {"repeat", repetition},
    {"zero_extend", [](const Call& c) { return *c.args[0]; }},
    {"sign_extend", [](const Call& c) { return bits(signed_value(c, 0), c.width(0) + c.index(0)); }},
    {"rotate_left", [](const Call& c) { return rotated_left(c, c.index(0)); }},
    {"rotate_right", [](const Call& c) { return rotated_right(c, c.index(0)); }},
    {"ext_rotate_left", [](const Call& c) { return rotated_left(c, rotation_amount(c)); }},
    {"ext_rotate_right", [](const Call& c) { return rotated_right(c, rotation_amount(c)); }},

    {"bvnot", [](const Call& c) { return bits(-c.integer(0) - 1, c.width(0)); }},
    {"bvneg", [](const Call& c) { return bits(-c.integer(0), c.width(0)); }},
    {"bvand", [](const Call& c) { return fold(c, [](Z a, Z b) { return mpz_class(a & b); }); }},
    {"bvor", [](const Call& c) { return fold(c, [](Z a, Z b) { return mpz_class(a | b); }); }},
    {"bvxor", [](const Call& c) { return fold(c, [](Z a, Z b) { return mpz_class(a ^ b); }); }},
    {"bvnand", [](const Call& c) { return fold(c, [](Z a, Z b) { return mpz_class(~(a & b)); }); }},
    {"bvnor", [](const Call& c) { return fold(c, [](Z a, Z b) { return mpz_class(~(a | b)); }); }},
    {"bvxnor", [](const Call& c) { return fold(c, [](Z a, Z b) { return mpz_class(~(a ^ b)); }); }},
    {"bvadd", [](const Call& c) { return fold(c, [](Z a, Z b) { return mpz_class(a + b); }); }},
    {"bvsub", [](const Call& c) { return fold(c, [](Z a, Z b) { return mpz_class(a - b); }); }},
    {"bvmul", [](const Call& c) { return fold(c, [](Z a, Z b) { return mpz_class(a * b); }); }},
    {"bvudiv", unsigned_division},
    {"bvurem", unsigned_remainder},
    {"bvsdiv", signed_division},
    {"bvsrem", signed_remainder},
    {"bvsmod", signed_modulo},
    {"bvshl",
     [](const Call& c) { return shifted(c, [&](std::size_t n) { return mpz_class(c.integer(0) << n); }); }},
    {"bvlshr",
     [](const Call& c) { return shifted(c, [&](std::size_t n) { return mpz_class(c.integer(0) >> n); }); }},
    {"bvashr",
     [](const Call& c) {
       return shifted(c, [&](std::size_t n) { return mpz_class(signed_value(c, 0) >> n); });
     }},

    {"bvcomp", [](const Call& c) { return truth_value(c.number(0) == c.number(1)); }},
    {"bvult", [](const Call& c) { return chain(c, [](Z a, Z b) { return a < b; }); }},
    {"bvule", [](const Call& c) { return chain(c, [](Z a, Z b) { return a <= b; }); }},
    {"bvugt", [](const Call& c) { return chain(c, [](Z a, Z b) { return a > b; }); }},
    {"bvuge", [](const Call& c) { return chain(c, [](Z a, Z b) { return a >= b; }); }},
    {"bvslt", [](const Call& c) { return signed_chain(c, [](Z a, Z b) { return a < b; }); }},
    {"bvsle", [](const Call& c) { return signed_chain(c, [](Z a, Z b) { return a <= b; }); }},
    {"bvsgt", [](const Call& c) { return signed_chain(c, [](Z a, Z b) { return a > b; }); }},
    {"bvsge", [](const Call& c) { return signed_chain(c, [](Z a, Z b) { return a >= b; }); }},

    {"bvredor", [](const Call& c) { return truth_value(c.integer(0) != 0); }},
    {"bvredand", [](const Call& c) { return truth_value(c.integer(0) == power(c.width(0)) - 1); }},
    {"bvnego", [](const Call& c) { return truth_value(c.integer(0) == power(c.width(0) - 1)); }},
    {"bvuaddo", [](const Call& c) { return truth_value(c.integer(0) + c.integer(1) >= power(c.width(0))); }},
    {"bvumulo", [](const Call& c) { return truth_value(c.integer(0) * c.integer(1) >= power(c.width(0))); }},
    {"bvusubo", [](const Call& c) { return truth_value(c.integer(0) < c.integer(1)); }},
    {"bvsaddo", [](const Call& c) { return overflows_signed(c, [](Z a, Z b) { return mpz_class(a + b); }); }},
    {"bvssubo", [](const Call& c) { return overflows_signed(c, [](Z a, Z b) { return mpz_class(a - b); }); }},
    {"bvsmulo", [](const Call& c) { return overflows_signed(c, [](Z a, Z b) { return mpz_class(a * b); }); }},
    {"bvsdivo", division_overflows},

    {"bv2nat", [](const Call& c) { return *c.args[0]; }},
    {"ubv_to_int", [](const Call& c) { return *c.args[0]; }},
    {"sbv_to_int",
     [](const Call& c) {
       return Value{signed_value(c, 0), nullptr};
     }},
    {"int2bv", [](const Call& c) { return bits(c.integer(0), c.index(0)); }},
    {"int_to_bv", [](const Call& c) { return bits(c.integer(0), c.index(0)); }},
};

}  // namespace

std::span<const Operation> bit_vector_operations() {
  return table;
}

}  // namespace quarv::fuzz
