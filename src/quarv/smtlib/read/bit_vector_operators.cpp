#include <bit>
#include <string>

#include <quarv/numbers/bv_number.h>
#include <quarv/smtlib/read/defined_operators.h>
#include <quarv/smtlib/read/operators.h>

namespace quarv::smtlib {

namespace build {

namespace {

using TM = TermManager;

std::size_t width_of(OperatorContext& c, const Term* t) {
  const std::size_t width =
      c.manager.is_bv_type(c.manager.type_of(t)) ? c.manager.get_width_from_type(c.manager.type_of(t)) : 0;
  if (width == 0) throw SortError("not a bit-vector");
  return width;
}

void check_width(std::size_t width) {
  if (width > max_width) {
    throw SortError("the result would have " + std::to_string(width) + " bits, more than the " +
                    std::to_string(max_width) + " that are supported");
  }
}

const Term* concatenation(OperatorContext& c, Args a) {
  std::size_t width = 0;
  for (const Term* t : a) check_width(width += width_of(c, t));
  return associative<&TM::make_bv_concat>(c, a);
}

const Term* extract(OperatorContext& c, Args a) {
  const std::size_t width = width_of(c, a[0]);
  if (c.indices[0] >= width) {
    bad_index(1, "index " + std::to_string(c.indices[0]) + " is out of range for " + std::to_string(width) +
                     (width == 1 ? " bit" : " bits"));
  }
  if (c.indices[1] > c.indices[0]) {
    bad_index(2, "the low index " + std::to_string(c.indices[1]) + " is above the high index " +
                     std::to_string(c.indices[0]));
  }
  return c.manager.make_bv_extract(c.indices[0], c.indices[1], a[0]);
}

template <auto Make>
const Term* extension(OperatorContext& c, Args a) {
  const std::size_t width = width_of(c, a[0]);
  check_width(c.indices[0] > max_width ? c.indices[0] : c.indices[0] + width);
  return (c.manager.*Make)(c.indices[0], a[0]);
}

/// A rotation's amount counts modulo the width, as the standard defines it. The library rotates constants bit
/// by bit; a very wide vector is taken apart and put together instead.
template <auto Make>
const Term* rotated(TermManager& m, const Term* t, std::size_t amount) {
  constexpr std::size_t wide = 4096;
  const std::size_t width = m.get_width_from_type(m.type_of(t));
  amount %= width;
  if (width <= wide || amount == 0) return (m.*Make)(amount, t);
  const std::size_t high_bits = Make == &TM::make_bv_rotate_left ? width - amount : amount;
  const Term* high = m.make_bv_extract(high_bits - 1, 0, t);
  const Term* low = m.make_bv_extract(width - 1, high_bits, t);
  return m.make_bv_concat(high, low);
}

template <auto Make>
const Term* rotation(OperatorContext& c, Args a) {
  width_of(c, a[0]);
  return rotated<Make>(c.manager, a[0], c.indices[0]);
}

/// A rotation by a term: by a constant it is an ordinary one.
template <auto Make>
const Term* rotation_by_term(OperatorContext& c, Args a, const char* name) {
  TermManager& m = c.manager;
  const std::size_t width = width_of(c, a[0]);
  const QNumber* amount = m.type_of(a[0]) == m.type_of(a[1]) ? m.get_number(a[1]) : nullptr;
  if (amount == nullptr) {
    return m.make_term(m.make_opaque_symbol(name, {m.type_of(a[0]), m.type_of(a[0])}, m.type_of(a[0])), a);
  }
  QNumber quotient, remainder;
  amount->divmod(QNumber(static_cast<std::int64_t>(width)), quotient, remainder);
  return rotated<Make>(m, a[0], static_cast<std::size_t>(remainder.demoted().small_num()));
}

const Term* rotate_left_by(OperatorContext& c, Args a) {
  return rotation_by_term<&TM::make_bv_rotate_left>(c, a, "ext_rotate_left");
}

const Term* rotate_right_by(OperatorContext& c, Args a) {
  return rotation_by_term<&TM::make_bv_rotate_right>(c, a, "ext_rotate_right");
}

const Term* repeat(OperatorContext& c, Args a) {
  const std::size_t width = width_of(c, a[0]);
  const std::size_t times = c.indices[0];
  if (times == 0) bad_index(1, "the index must be positive");
  check_width(times > max_width ? times : times * width);
  // By doubling: as many terms as `times` has bits.
  const Term* result = a[0];
  for (std::size_t bit = std::bit_floor(times) / 2; bit != 0; bit /= 2) {
    result = c.manager.make_bv_concat(result, result);
    if ((times & bit) != 0) result = c.manager.make_bv_concat(a[0], result);
  }
  return result;
}

const Term* int_to_bv(OperatorContext& c, Args a) {
  if (c.indices[0] == 0) bad_index(1, "the width must be positive");
  check_width(c.indices[0]);
  return c.manager.make_int_to_bv(c.indices[0], a[0]);
}

constexpr OperatorDefinition bit_vector_table[] = {
    {"concat", 2, OperatorDefinition::any_number, 0, "v", concatenation},
    {"extract", 1, 1, 2, "v", extract},
    defined("bvsmod", "V"),
    {"bvnand", 2, 2, 0, "V", complemented<&TM::make_bv_and, &TM::make_bv_not>},
    {"bvnor", 2, 2, 0, "V", complemented<&TM::make_bv_or, &TM::make_bv_not>},
    {"bvxnor", 2, OperatorDefinition::any_number, 0, "V",
     left_associative<complemented<&TM::make_bv_xor, &TM::make_bv_not>>},
    {"bvugt", 2, OperatorDefinition::any_number, 0, "V", chainable<swapped<&TM::make_bv_ult>>},
    {"bvuge", 2, OperatorDefinition::any_number, 0, "V", chainable<swapped<&TM::make_bv_ule>>},
    {"bvsgt", 2, OperatorDefinition::any_number, 0, "V", chainable<swapped<&TM::make_bv_slt>>},
    {"bvsge", 2, OperatorDefinition::any_number, 0, "V", chainable<swapped<&TM::make_bv_sle>>},
    {"zero_extend", 1, 1, 1, "v", extension<&TM::make_bv_zero_extend>},
    {"sign_extend", 1, 1, 1, "v", extension<&TM::make_bv_sign_extend>},
    {"rotate_left", 1, 1, 1, "v", rotation<&TM::make_bv_rotate_left>},
    {"rotate_right", 1, 1, 1, "v", rotation<&TM::make_bv_rotate_right>},
    {"ext_rotate_left", 2, 2, 0, "V", rotate_left_by},
    {"ext_rotate_right", 2, 2, 0, "V", rotate_right_by},
    {"repeat", 1, 1, 1, "v", repeat},
    defined("bvredor", "V"),
    defined("bvredand", "V"),
    defined("bvnego", "V"),
    defined("bvuaddo", "V"),
    defined("bvsaddo", "V"),
    defined("bvumulo", "V"),
    defined("bvsmulo", "V"),
    defined("bvusubo", "V"),
    defined("bvssubo", "V"),
    defined("bvsdivo", "V"),
    {"int2bv", 1, 1, 1, "I", int_to_bv},
    {"int_to_bv", 1, 1, 1, "I", int_to_bv},
};

constexpr SolverWord solver_table[] = {
    {"bv2int", "bv2nat"},   {"bvudiv_i", "bvudiv"}, {"bvurem_i", "bvurem"},
    {"bvsdiv_i", "bvsdiv"}, {"bvsrem_i", "bvsrem"}, {"bvsmod_i", "bvsmod"},
};

}  // namespace
}  // namespace build

std::span<const OperatorDefinition> bit_vector_operators() {
  return build::bit_vector_table;
}

std::span<const SolverWord> solver_words() {
  return build::solver_table;
}

namespace build {

const Term* bit_vector(TermManager& manager, const QNumber& value, std::size_t width) {
  if (width > max_width) throw SortError("BitVec: " + std::to_string(width) + " bits are not supported");
  if (!value.is_integer()) throw SortError("BitVec: " + value.to_string() + " is not an integer");
  QNumber residue;
  BVNumber::residue(value, width, &residue);
  return manager.make_bv_number(residue, width);
}

}  // namespace build

}  // namespace quarv::smtlib
