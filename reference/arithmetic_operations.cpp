#include "reference/operations.h"

namespace quarv::reference {

namespace {

mpz_class rounded_down(const mpq_class& x) {
  mpz_class result;
  mpz_fdiv_q(result.get_mpz_t(), x.get_num_mpz_t(), x.get_den_mpz_t());
  return result;
}

/// The remainder is in 0 .. |divisor| - 1.
mpz_class quotient(const mpz_class& dividend, const mpz_class& divisor) {
  const mpz_class size = abs(divisor);
  const mpz_class result = rounded_down(mpq_class(dividend) / size);
  return sgn(divisor) < 0 ? mpz_class(-result) : result;
}

Value sum(const Call& c) {
  mpq_class result;
  for (std::size_t i = 0; i < c.count(); ++i) result += c.number(i);
  return {result, nullptr};
}

Value product(const Call& c) {
  mpq_class result(1);
  for (std::size_t i = 0; i < c.count(); ++i) result *= c.number(i);
  return {result, nullptr};
}

Value difference(const Call& c) {
  if (c.count() == 1) return {-c.number(0), nullptr};
  mpq_class result = c.number(0);
  for (std::size_t i = 1; i < c.count(); ++i) result -= c.number(i);
  return {result, nullptr};
}

Value division(const Call& c) {
  if (sgn(c.number(1)) == 0) return c.open_value(1);
  return {c.number(0) / c.number(1), nullptr};
}

Value integer_division(const Call& c) {
  if (sgn(c.number(1)) == 0) return c.open_value(1);
  return {quotient(c.integer(0), c.integer(1)), nullptr};
}

Value remainder(const Call& c) {
  if (sgn(c.number(1)) == 0) return c.open_value(1);
  return {c.integer(0) - c.integer(1) * quotient(c.integer(0), c.integer(1)), nullptr};
}

bool divides(const mpz_class& divisor, const mpz_class& x) {
  return mpz_divisible_p(x.get_mpz_t(), divisor.get_mpz_t()) != 0;
}

/// A relation between each two neighbours.
template <class Relation>
Value chain_of_relations(const Call& c, Relation relation) {
  bool result = true;
  for (std::size_t i = 1; i < c.count(); ++i) result = result && relation(c.number(i - 1), c.number(i));
  return truth_value(result);
}

constexpr Operation arithmetic_table[] = {
    {"+", sum},
    {"*", product},
    {"-", difference},
    {"/", division},
    {"div", integer_division},
    {"mod", remainder},
    {"abs",
     [](const Call& c) {
       return Value{abs(c.number(0)), nullptr};
     }},
    {"<=",
     [](const Call& c) {
       return chain_of_relations(c, [](const auto& a, const auto& b) { return a <= b; });
     }},
    {"<",
     [](const Call& c) { return chain_of_relations(c, [](const auto& a, const auto& b) { return a < b; }); }},
    {">=",
     [](const Call& c) {
       return chain_of_relations(c, [](const auto& a, const auto& b) { return a >= b; });
     }},
    {">",
     [](const Call& c) { return chain_of_relations(c, [](const auto& a, const auto& b) { return a > b; }); }},
    {"to_real", [](const Call& c) { return *c.args[0]; }},
    {"to_int",
     [](const Call& c) {
       return Value{rounded_down(c.number(0)), nullptr};
     }},
    {"is_int", [](const Call& c) { return truth_value(c.number(0).get_den() == 1); }},
    {"divisible", [](const Call& c) { return truth_value(divides(c.index(0), c.integer(0))); }},
    // Congruence of the first two arguments modulo the third.
    {"congruent",
     [](const Call& c) { return truth_value(divides(c.integer(2), c.integer(0) - c.integer(1))); }},
};

}  // namespace

std::span<const Operation> arithmetic_operations() {
  return arithmetic_table;
}

}  // namespace quarv::reference
