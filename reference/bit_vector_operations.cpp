#include <array>
#include <functional>

#include "reference/operations.h"

namespace quarv::reference {

namespace {

template <class Integer>
Integer truth(bool x) {
  return Integer(x ? 1 : 0);
}

template <class Integer>
bool fits_signed(const Integer& x, std::size_t width) {
  return x >= -power<Integer>(width - 1) && x < power<Integer>(width - 1);
}

std::size_t to_size(const mpz_class& x) {
  return x.get_ui();
}
std::size_t to_size(Word x) {
  return static_cast<std::size_t>(x);
}

/// The number that argument i is, or `limit` if that is less.
template <class Integer>
std::size_t limited(const Operands<Integer>& c, std::size_t i, std::size_t limit) {
  return c[i] < Integer(static_cast<unsigned long>(limit)) ? to_size(c[i]) : limit;
}

template <class Integer>
Integer rotated_left(const Operands<Integer>& c, std::size_t amount) {
  const std::size_t width = c.width();
  const Integer twice = (c[0] << width) + c[0];
  return wrapped(Integer(twice >> (width - amount % width)), width);
}

template <class Integer>
Integer rotated_right(const Operands<Integer>& c, std::size_t amount) {
  return rotated_left(c, c.width() - amount % c.width());
}

/// The amount of a rotation by a term.
template <class Integer>
std::size_t rotation_amount(const Operands<Integer>& c) {
  return to_size(Integer(c[1] % Integer(static_cast<unsigned long>(c.width()))));
}

/// A binary function of integers, folded over all arguments from the left.
template <class Integer, class Function>
Integer fold(const Operands<Integer>& c) {
  Integer result = c[0];
  for (std::size_t i = 1; i < c.count(); ++i) {
    result = wrapped(Integer(Function()(result, c[i])), c.width());
  }
  return result;
}

/// The complement of each result.
template <class Function>
struct Not {
  template <class Integer>
  Integer operator()(const Integer& a, const Integer& b) const {
    return ~Integer(Function()(a, b));
  }
};

/// A relation between each two neighbours.
template <class Integer, class Relation>
Integer chain(const Operands<Integer>& c) {
  bool result = true;
  for (std::size_t i = 1; i < c.count(); ++i) result = result && Relation()(c[i - 1], c[i]);
  return truth<Integer>(result);
}

template <class Integer, class Relation>
Integer signed_chain(const Operands<Integer>& c) {
  bool result = true;
  for (std::size_t i = 1; i < c.count(); ++i) {
    result = result && Relation()(c.signed_value(i - 1), c.signed_value(i));
  }
  return truth<Integer>(result);
}

template <class Integer>
Integer repetition(const Operands<Integer>& c) {
  Integer result = c[0];
  for (std::size_t i = 1; i < c.index(0); ++i) result = Integer((result << c.width()) + c[0]);
  return result;
}

template <class Integer>
Integer concatenation(const Operands<Integer>& c) {
  Integer result = c[0];
  for (std::size_t i = 1; i < c.count(); ++i) result = Integer((result << c.width(i)) + c[i]);
  return result;
}

template <class Integer>
Integer unsigned_division(const Operands<Integer>& c) {
  return c[1] == 0 ? Integer(power<Integer>(c.width()) - 1) : Integer(c[0] / c[1]);
}

template <class Integer>
Integer unsigned_remainder(const Operands<Integer>& c) {
  return c[1] == 0 ? c[0] : Integer(c[0] % c[1]);
}

/// The quotient is rounded toward zero; by zero it is 1 for negative dividends, else -1.
template <class Integer>
Integer signed_division(const Operands<Integer>& c) {
  const Integer a = c.signed_value(0), b = c.signed_value(1);
  if (b == 0) return wrapped(Integer(a < 0 ? 1 : -1), c.width());
  return wrapped(Integer(a / b), c.width());
}

/// The remainder has the sign of the dividend.
template <class Integer>
Integer signed_remainder(const Operands<Integer>& c) {
  const Integer a = c.signed_value(0), b = c.signed_value(1);
  return wrapped(b == 0 ? a : Integer(a % b), c.width());
}

/// The remainder has the sign of the divisor.
template <class Integer>
Integer signed_modulo(const Operands<Integer>& c) {
  const Integer a = c.signed_value(0), b = c.signed_value(1);
  if (b == 0) return wrapped(a, c.width());
  const Integer rest = a % b;
  return wrapped(Integer(rest != 0 && (rest < 0) != (b < 0) ? rest + b : rest), c.width());
}

template <class Integer, class Function>
Integer overflows(const Operands<Integer>& c) {
  return truth<Integer>(Function()(c[0], c[1]) >= power<Integer>(c.width()));
}

template <class Integer, class Function>
Integer overflows_signed(const Operands<Integer>& c) {
  return truth<Integer>(!fits_signed(Integer(Function()(c.signed_value(0), c.signed_value(1))), c.width()));
}

template <class Integer>
Integer division_overflows(const Operands<Integer>& c) {
  const Integer a = c.signed_value(0), b = c.signed_value(1);
  return truth<Integer>(b != 0 && !fits_signed(Integer(a / b), c.width()));
}

template <class Integer>
Integer unchanged(const Operands<Integer>& c) {
  return c[0];
}

template <class Integer>
Integer integer_modulo(const Operands<Integer>& c) {
  return wrapped(c[0], c.index(0));
}

template <class Integer>
struct Row {
  std::string_view name;
  BitFunction<Integer> function;
};

template <class I, class Args = const Operands<I>&>
constexpr Row<I> rows[] = {
    {"concat", concatenation<I>},
    {"extract", [](Args c) { return wrapped(I(c[0] >> c.index(1)), c.index(0) - c.index(1) + 1); }},
    {"repeat", repetition<I>},
    {"zero_extend", unchanged<I>},
    {"sign_extend", [](Args c) { return wrapped(c.signed_value(0), c.width() + c.index(0)); }},
    {"rotate_left", [](Args c) { return rotated_left(c, c.index(0)); }},
    {"rotate_right", [](Args c) { return rotated_right(c, c.index(0)); }},
    {"ext_rotate_left", [](Args c) { return rotated_left(c, rotation_amount(c)); }},
    {"ext_rotate_right", [](Args c) { return rotated_right(c, rotation_amount(c)); }},

    {"bvnot", [](Args c) { return I(power<I>(c.width()) - 1 - c[0]); }},
    {"bvneg", [](Args c) { return wrapped(I(-c[0]), c.width()); }},
    {"bvand", fold<I, std::bit_and<>>},
    {"bvor", fold<I, std::bit_or<>>},
    {"bvxor", fold<I, std::bit_xor<>>},
    {"bvnand", fold<I, Not<std::bit_and<>>>},
    {"bvnor", fold<I, Not<std::bit_or<>>>},
    {"bvxnor", fold<I, Not<std::bit_xor<>>>},
    {"bvadd", fold<I, std::plus<>>},
    {"bvsub", fold<I, std::minus<>>},
    {"bvmul", fold<I, std::multiplies<>>},
    {"bvudiv", unsigned_division<I>},
    {"bvurem", unsigned_remainder<I>},
    {"bvsdiv", signed_division<I>},
    {"bvsrem", signed_remainder<I>},
    {"bvsmod", signed_modulo<I>},
    {"bvshl", [](Args c) { return wrapped(I(c[0] << limited(c, 1, c.width())), c.width()); }},
    {"bvlshr", [](Args c) { return I(c[0] >> limited(c, 1, c.width())); }},
    {"bvashr", [](Args c) { return wrapped(I(c.signed_value(0) >> limited(c, 1, c.width())), c.width()); }},

    {"bvcomp", chain<I, std::equal_to<>>},
    {"bvult", chain<I, std::less<>>},
    {"bvule", chain<I, std::less_equal<>>},
    {"bvugt", chain<I, std::greater<>>},
    {"bvuge", chain<I, std::greater_equal<>>},
    {"bvslt", signed_chain<I, std::less<>>},
    {"bvsle", signed_chain<I, std::less_equal<>>},
    {"bvsgt", signed_chain<I, std::greater<>>},
    {"bvsge", signed_chain<I, std::greater_equal<>>},

    {"bvredor", [](Args c) { return truth<I>(c[0] != 0); }},
    {"bvredand", [](Args c) { return truth<I>(c[0] == power<I>(c.width()) - 1); }},
    {"bvnego", [](Args c) { return truth<I>(c[0] == power<I>(c.width() - 1)); }},
    {"bvuaddo", overflows<I, std::plus<>>},
    {"bvusubo", chain<I, std::less<>>},
    {"bvumulo", overflows<I, std::multiplies<>>},
    {"bvsaddo", overflows_signed<I, std::plus<>>},
    {"bvssubo", overflows_signed<I, std::minus<>>},
    {"bvsmulo", overflows_signed<I, std::multiplies<>>},
    {"bvsdivo", division_overflows<I>},

    {"bv2nat", unchanged<I>},
    {"ubv_to_int", unchanged<I>},
    {"sbv_to_int", [](Args c) { return c.signed_value(0); }},
    {"int2bv", integer_modulo<I>},
    {"int_to_bv", integer_modulo<I>},
};

}  // namespace

std::span<const Operation> bit_vector_operations() {
  static const auto table = [] {
    std::array<Operation, std::size(rows<Word>)> result;
    for (std::size_t i = 0; i < result.size(); ++i) {
      result[i] = {rows<Word>[i].name, nullptr, rows<mpz_class>[i].function, rows<Word>[i].function};
    }
    return result;
  }();
  return table;
}

}  // namespace quarv::reference
