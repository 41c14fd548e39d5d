#include <algorithm>

#include <quarv/smtlib/read/defined_operators.h>
#include <quarv/smtlib/read/operators.h>

namespace quarv::smtlib {

namespace build {

namespace {

using TM = TermManager;

/// Conjunction and disjunction of any number of arguments: each argument once, in ascending order of id, and
/// at once the absorbing element when it or two complementary arguments occur.
const Term* lattice(OperatorContext& c, Args a, const Symbol* symbol, const Term* neutral,
                    const Term* absorbing) {
  TermManager& m = c.manager;
  for (const Term* t : a) {
    if (m.type_of(t) != m.bool_type) throw SortError("not all arguments are of sort Bool");
  }
  if (a.size() == 1) return a[0];
  if (a.size() == 2) return m.make_term_unchecked(symbol, a);
  c.scratch.assign(a.begin(), a.end());
  if (m.simplifier() != nullptr) {
    std::vector<const Term*>& list = c.scratch;
    if (!std::is_sorted(list.begin(), list.end(), Term_lt())) std::sort(list.begin(), list.end(), Term_lt());
    list.erase(std::unique(list.begin(), list.end()), list.end());
    std::erase(list, neutral);
    const auto contains = [&list](const Term* t) {
      return std::binary_search(list.begin(), list.end(), t, Term_lt());
    };
    for (const Term* t : list) {
      if (t == absorbing || (t->symbol == m.not_symbol && contains(t->args[0]))) return absorbing;
    }
    if (list.empty()) return neutral;
  }
  const Term* chain = c.scratch.back();
  for (std::size_t i = c.scratch.size() - 1; i-- > 0;) {
    const Term* pair[] = {c.scratch[i], chain};
    chain = m.make_term_unchecked(symbol, pair);
  }
  return chain;
}

const Term* disjunction(OperatorContext& c, Args a) {
  return lattice(c, a, c.manager.or_symbol, c.manager.false_term, c.manager.true_term);
}

const Term* implication(OperatorContext& c, Args a) {
  std::vector<const Term*> parts;
  for (const Term* t : a.first(a.size() - 1)) parts.push_back(c.manager.make_not(t));
  parts.push_back(a.back());
  return disjunction(c, parts);
}

const Term* exclusive_or(OperatorContext& c, Args a) {
  return c.manager.make_not(c.manager.make_iff(a[0], a[1]));
}

/// The value of a numeral; null for other terms, literals of bit-vectors and floats among them.
const QNumber* number(const TermManager& m, const Term* t) {
  return m.is_arithmetic_type(m.type_of(t)) ? m.get_number(t) : nullptr;
}

/// (mod t n) = r for numerals is a congruence, false when r is not a remainder.
const Term* remainder_equality(OperatorContext& c, const Term* a, const Term* b) {
  const QNumber* value = number(c.manager, b);
  if (value == nullptr || c.remainders.empty() || c.manager.simplifier() == nullptr) return nullptr;
  const OperatorContext::Remainder* r = c.remainders.find(a);
  if (r == nullptr || !value->is_integer()) return nullptr;
  const QNumber& modulus = *c.manager.get_number(r->modulus);
  if (value->sign() < 0 || *value >= modulus) return c.manager.false_term;
  return c.manager.make_int_mod_congr(modulus, r->dividend, b);
}

const Term* equality(OperatorContext& c, Args a) {
  if (const Term* t = remainder_equality(c, a[0], a[1])) return t;
  if (const Term* t = remainder_equality(c, a[1], a[0])) return t;
  return c.manager.make_equal(a[0], a[1]);
}

/// Whether a sort has fewer values than there are terms of it. Of two values pairs tell, of long lists the
/// simplifiers.
bool has_fewer_values(const TermManager& m, const DataType* sort, Args terms) {
  const bool is_rounding_mode = sort == m.rounding_mode_type;
  if (!is_rounding_mode && !(m.is_bv_type(sort) && m.get_width_from_type(sort) == 2)) return false;
  const std::size_t num_values = is_rounding_mode ? 5 : 4;
  return terms.size() > num_values &&
         std::ranges::all_of(terms, [&](const Term* t) { return m.type_of(t) == sort; });
}

/// Pairwise different. Few arguments are spelled out; many would need quadratically many pairs.
const Term* distinct(OperatorContext& c, Args a) {
  TermManager& m = c.manager;
  constexpr std::size_t few = 8;
  if (a.size() <= few) {
    if (m.simplifier() != nullptr && has_fewer_values(m, m.type_of(a[0]), a)) return m.false_term;
    std::vector<const Term*> pairs;
    for (std::size_t i = 0; i < a.size(); ++i) {
      for (std::size_t j = i + 1; j < a.size(); ++j) {
        const Term* pair[] = {a[i], a[j]};
        pairs.push_back(m.make_not(equality(c, pair)));
      }
    }
    return conjunction(c, pairs);
  }
  const DataType* type = m.type_of(a[0]);
  for (const Term* t : a) {
    type = m.get_supertype(type, m.type_of(t));
    if (type == nullptr) throw SortError("the arguments are not of the same sort");
  }
  const std::vector<const DataType*> signature(a.size(), type);
  return m.make_term(m.make_opaque_symbol("distinct", signature, m.bool_type), a);
}

const Term* if_then_else(OperatorContext& c, Args a) {
  return c.manager.make_ite(a[0], a[1], a[2]);
}

// Arithmetic.
// ----------------------------------------------------------------------------------------------------------------

const Term* negative(TermManager& m, const Term* t) {
  if (const QNumber* value = number(m, t)) return m.make_number(-*value);
  const Term* minus_one = m.make_number(QNumber(-1));
  return m.make_times(minus_one, t);
}

const Term* minus(OperatorContext& c, Args a) {
  if (a.size() == 1) return negative(c.manager, a[0]);
  std::vector<const Term*> summands{a[0]};
  for (const Term* t : a.subspan(1)) summands.push_back(negative(c.manager, t));
  return associative<&TM::make_plus>(c, summands);
}

const QNumber* non_zero_number(const TermManager& m, const Term* t) {
  const QNumber* value = number(m, t);
  return value != nullptr && !value->is_zero() ? value : nullptr;
}

QNumber reciprocal(const QNumber& value) {
  QNumber r(1);
  r /= value;
  return r;
}

const Term* division(OperatorContext& c, Args a) {
  TermManager& m = c.manager;
  const QNumber* divisor = non_zero_number(m, a[1]);
  if (divisor == nullptr)
    return m.make_term(m.make_opaque_symbol("/", {m.rat_type, m.rat_type}, m.rat_type), a);
  const QNumber* dividend = number(m, a[0]);
  if (dividend != nullptr && m.may_compute(product_bits(*dividend, reciprocal(*divisor)))) {
    return m.make_number(*dividend * reciprocal(*divisor));
  }
  const Term* factor = m.make_number(reciprocal(*divisor));
  return m.make_times(factor, a[0]);
}

/// The quotient that leaves a remainder in 0 .. |divisor| - 1: floor(t / d) for positive d, -floor(t / -d)
/// for negative.
const Term* integer_quotient(TermManager& m, const Term* t, const QNumber& divisor) {
  const bool positive = divisor.sign() > 0;
  const Term* factor = m.make_number(reciprocal(positive ? divisor : -divisor));
  const Term* quotient = m.make_floor(m.make_times(factor, t));
  return positive ? quotient : negative(m, quotient);
}

/// The divisor when `div` and `mod` by it can be expressed, that is, when it is an integral constant other
/// than 0.
const QNumber* integer_divisor(TermManager& m, Args a) {
  if (m.type_of(a[0]) != m.int_type || m.type_of(a[1]) != m.int_type) return nullptr;
  return m.simplifier() == nullptr ? nullptr : non_zero_number(m, a[1]);
}

const Term* integer_operation(OperatorContext& c, std::string_view name, Args a) {
  TermManager& m = c.manager;
  return m.make_term(m.make_opaque_symbol(name, {m.int_type, m.int_type}, m.int_type), a);
}

const Term* integer_division(OperatorContext& c, Args a) {
  const QNumber* divisor = integer_divisor(c.manager, a);
  return divisor == nullptr ? integer_operation(c, "div", a) : integer_quotient(c.manager, a[0], *divisor);
}

const Term* modulo(OperatorContext& c, Args a) {
  TermManager& m = c.manager;
  const QNumber* divisor = integer_divisor(m, a);
  if (divisor == nullptr) return integer_operation(c, "mod", a);
  const QNumber modulus = divisor->sign() > 0 ? *divisor : -*divisor;
  const Term* quotient = integer_quotient(m, a[0], modulus);
  const Term* multiple = m.make_times(m.make_number(-modulus), quotient);
  const Term* result = m.make_plus(a[0], multiple);
  if (m.get_number(result) == nullptr) c.remainders[result] = {a[0], m.make_number(modulus)};
  return result;
}

const Term* to_real(OperatorContext& c, Args a) {
  if (!c.manager.is_arithmetic_type(c.manager.type_of(a[0]))) throw SortError("not a number");
  return a[0];  // Int is a subtype of Real
}

const Term* divisible(OperatorContext& c, Args a) {
  const QNumber divisor = *c.manager.get_number(a[0]);
  if (divisor.is_zero()) bad_index(1, "the index must be positive");
  const Term* zero = c.manager.make_number(QNumber(0));
  return c.manager.make_int_mod_congr(divisor, a[1], zero);
}

constexpr OperatorDefinition core_table[] = {
    {"not", 1, 1, 0, "B", unary<&TM::make_not>, true},
    {"and", 1, OperatorDefinition::any_number, 0, "B", conjunction, true},
    {"or", 1, OperatorDefinition::any_number, 0, "B", disjunction, true},
    {"=>", 2, OperatorDefinition::any_number, 0, "B", implication, true},
    {"xor", 2, OperatorDefinition::any_number, 0, "B", left_associative<exclusive_or>, true},
    {"=", 2, OperatorDefinition::any_number, 0, "S", chainable<equality>, true},
    {"distinct", 2, OperatorDefinition::any_number, 0, "S", distinct, true},
    {"ite", 3, 3, 0, "BSS", if_then_else, true},

    {"+", 1, OperatorDefinition::any_number, 0, "N", associative<&TM::make_plus>},
    {"-", 1, OperatorDefinition::any_number, 0, "N", minus},
    {"*", 1, OperatorDefinition::any_number, 0, "N", associative<&TM::make_times>},
    {"/", 2, OperatorDefinition::any_number, 0, "N", left_associative<division>},
    {"div", 2, OperatorDefinition::any_number, 0, "I", left_associative<integer_division>},
    {"mod", 2, 2, 0, "I", modulo},
    defined("abs", "N"),
    {"<", 2, OperatorDefinition::any_number, 0, "N", chainable<swapped_negated<&TM::make_leq>>},
    {">=", 2, OperatorDefinition::any_number, 0, "N", chainable<swapped<&TM::make_leq>>},
    {">", 2, OperatorDefinition::any_number, 0, "N", chainable<negated<&TM::make_leq>>},
    {"to_real", 1, 1, 0, "N", to_real},
    defined("is_int", "N"),
    {"divisible", 1, 1, 1, "I", divisible, false, true},

};

}  // namespace

const Term* conjunction(OperatorContext& c, Args a) {
  return lattice(c, a, c.manager.and_symbol, c.manager.true_term, c.manager.false_term);
}

const Term* opaque(OperatorContext& c, std::string_view name, Args a, const DataType* result) {
  std::vector<const DataType*> signature;
  for (const Term* t : a) signature.push_back(c.manager.type_of(t));
  return c.manager.make_term(c.manager.make_opaque_symbol(name, signature, result), a);
}

}  // namespace build

std::span<const OperatorDefinition> core_operators() {
  return build::core_table;
}

}  // namespace quarv::smtlib
