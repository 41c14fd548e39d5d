#include "reference/floats.h"
#include "reference/operations.h"

namespace quarv::reference {

namespace {

FloatFormat format(const Sort* sort) {
  return {sort->width, sort->mantissa};
}

/// The format of argument i.
FloatFormat format(const Call& c, std::size_t i) {
  return format(c.sorts[i]);
}

Rounding rounding(const Call& c) {
  return static_cast<Rounding>(c.integer(0).get_ui());
}

Value number(const FloatResult& x) {
  return {x.bits, nullptr};
}

Value from_parts(const Call& c) {
  const FloatFormat f = format(c.sort);
  const mpz_class bits = (((c.integer(0) << c.width(1)) + c.integer(1)) << c.width(2)) + c.integer(2);
  return {f.is_nan(bits) ? f.nan() : bits, nullptr};
}

/// From an encoding, or rounded from another format, a signed bit-vector or a rational number.
Value conversion(const Call& c) {
  const FloatFormat f = format(c.sort);
  if (c.count() == 1) return {f.is_nan(c.integer(0)) ? f.nan() : c.integer(0), nullptr};
  if (c.sorts[1]->kind == Sort::floating_point) {
    return number(f.convert(c.integer(1), format(c, 1), rounding(c)));
  }
  const bool is_signed = c.sorts[1]->kind == Sort::bit_vector;
  return number(f.round(is_signed ? signed_value(c.integer(1), c.width(1)) : c.number(1), rounding(c)));
}

Value negated(const Call& c) {
  const FloatFormat f = format(c.sort);
  const mpz_class x = c.integer(0);
  return {f.is_nan(x) ? x : f.with_sign(!f.is_negative(x), f.magnitude(x)), nullptr};
}

/// The smaller or the larger number; of two different zeros the model chooses one.
Value extremum(const Call& c, int wanted_order) {
  const FloatFormat f = format(c.sort);
  const mpz_class a = c.integer(0), b = c.integer(1);
  if (f.is_nan(a)) return {b, nullptr};
  if (f.is_nan(b)) return {a, nullptr};
  if (f.is_zero(a) && f.is_zero(b) && a != b) return {c.open(2).below(2) == 0 ? a : b, nullptr};
  return {f.compare(a, b) == wanted_order ? a : b, nullptr};
}

template <class Relation>
Value chain_of_orders(const Call& c, Relation relation) {
  const FloatFormat f = format(c, 0);
  bool result = true;
  for (std::size_t i = 1; i < c.count(); ++i) {
    const mpz_class a = c.integer(i - 1), b = c.integer(i);
    result = result && !f.is_nan(a) && !f.is_nan(b) && relation(f.compare(a, b));
  }
  return truth_value(result);
}

template <class Predicate>
Value classified(const Call& c, Predicate predicate) {
  return truth_value(predicate(format(c, 0), c.integer(0)));
}

Value to_bit_vector(const Call& c, bool is_signed) {
  const auto result = format(c, 1).to_integer(c.integer(1), c.index(0), is_signed, rounding(c));
  if (!result) return c.open_value(2);
  return {wrapped(*result, c.index(0)), nullptr};
}

Value to_real(const Call& c) {
  const FloatFormat f = format(c, 0);
  if (!f.is_finite(c.integer(0))) return c.open_value(1);
  return {f.value(c.integer(0)), nullptr};
}

/// The encoding; of NaN the model chooses one.
Value to_encoding(const Call& c) {
  const FloatFormat f = format(c, 0);
  if (!f.is_nan(c.integer(0))) return *c.args[0];
  Random random = c.open(1);
  mpz_class payload = random.natural(f.significand_bits());
  if (payload == 0) payload = 1;
  return {f.with_sign(random.below(2) != 0, f.infinity(false) + payload), nullptr};
}

using F = const FloatFormat&;
using Z = const mpz_class&;

constexpr Operation float_table[] = {
    {"fp", from_parts},
    {"to_fp", conversion},
    {"to_fp_unsigned", [](const Call& c) { return number(format(c.sort).round(c.number(1), rounding(c))); }},

    {"fp.abs",
     [](const Call& c) {
       return Value{format(c.sort).magnitude(c.integer(0)), nullptr};
     }},
    {"fp.neg", negated},
    {"fp.add",
     [](const Call& c) { return number(format(c, 1).add(c.integer(1), c.integer(2), rounding(c))); }},
    {"fp.sub",
     [](const Call& c) { return number(format(c, 1).subtract(c.integer(1), c.integer(2), rounding(c))); }},
    {"fp.mul",
     [](const Call& c) { return number(format(c, 1).multiply(c.integer(1), c.integer(2), rounding(c))); }},
    {"fp.div",
     [](const Call& c) { return number(format(c, 1).divide(c.integer(1), c.integer(2), rounding(c))); }},
    {"fp.fma",
     [](const Call& c) {
       return number(format(c, 1).multiply_add(c.integer(1), c.integer(2), c.integer(3), rounding(c)));
     }},
    {"fp.sqrt", [](const Call& c) { return number(format(c, 1).square_root(c.integer(1), rounding(c))); }},
    {"fp.rem", [](const Call& c) { return number(format(c, 0).remainder(c.integer(0), c.integer(1))); }},
    {"fp.roundToIntegral",
     [](const Call& c) { return number(format(c, 1).round_to_integral(c.integer(1), rounding(c))); }},
    {"fp.min", [](const Call& c) { return extremum(c, -1); }},
    {"fp.max", [](const Call& c) { return extremum(c, 1); }},

    {"fp.leq", [](const Call& c) { return chain_of_orders(c, [](int order) { return order <= 0; }); }},
    {"fp.lt", [](const Call& c) { return chain_of_orders(c, [](int order) { return order < 0; }); }},
    {"fp.geq", [](const Call& c) { return chain_of_orders(c, [](int order) { return order >= 0; }); }},
    {"fp.gt", [](const Call& c) { return chain_of_orders(c, [](int order) { return order > 0; }); }},
    {"fp.eq", [](const Call& c) { return chain_of_orders(c, [](int order) { return order == 0; }); }},

    {"fp.isNormal", [](const Call& c) { return classified(c, [](F f, Z x) { return f.is_normal(x); }); }},
    {"fp.isSubnormal",
     [](const Call& c) { return classified(c, [](F f, Z x) { return f.is_subnormal(x); }); }},
    {"fp.isZero", [](const Call& c) { return classified(c, [](F f, Z x) { return f.is_zero(x); }); }},
    {"fp.isInfinite", [](const Call& c) { return classified(c, [](F f, Z x) { return f.is_infinite(x); }); }},
    {"fp.isNaN", [](const Call& c) { return classified(c, [](F f, Z x) { return f.is_nan(x); }); }},
    {"fp.isNegative",
     [](const Call& c) { return classified(c, [](F f, Z x) { return !f.is_nan(x) && f.is_negative(x); }); }},
    {"fp.isPositive",
     [](const Call& c) { return classified(c, [](F f, Z x) { return !f.is_nan(x) && !f.is_negative(x); }); }},

    {"fp.to_ubv", [](const Call& c) { return to_bit_vector(c, false); }},
    {"fp.to_sbv", [](const Call& c) { return to_bit_vector(c, true); }},
    {"fp.to_real", to_real},
    {"fp.to_ieee_bv", to_encoding},
};

}  // namespace

std::span<const Operation> float_operations() {
  return float_table;
}

}  // namespace quarv::reference
