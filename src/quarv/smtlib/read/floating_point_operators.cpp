#include <string>

#include <quarv/numbers/bv_number.h>
#include <quarv/session/strict_semantics.h>
#include <quarv/smtlib/read/operators.h>
#include <quarv/smtlib/read/real_to_fp.h>
#include <quarv/term/real_to_float.h>

namespace quarv::smtlib {

namespace build {

namespace {

using TM = TermManager;

/// Both widths of a format in SMT-LIB's indices: exponent bits, and significand bits with the hidden one.
struct Format {
  std::size_t ew;
  std::size_t mw;
};

/// The format that indices give to the result of an operation.
Format format_of(const OperatorContext& c) {
  if (c.indices[0] < 2 || c.indices[0] > max_exponent_width) {
    bad_index(1, "exponents of " + std::to_string(c.indices[0]) + " bits are not supported, only of 2 to " +
                     std::to_string(max_exponent_width));
  }
  if (c.indices[1] < 2 || c.indices[1] > max_width) {
    bad_index(2, "significands of " + std::to_string(c.indices[1]) +
                     " bits are not supported, only of 2 to " + std::to_string(max_width));
  }
  return {c.indices[0], c.indices[1] - 1};
}

/// Throws for an argument whose sort is not the expected one, though it may be for other indices or
/// arguments.
[[noreturn]] void bad_argument(const OperatorContext& c, Args a, std::size_t position,
                               const std::string& expected) {
  throw ApplicationError(ApplicationError::Part::argument, position,
                         "argument " + std::to_string(position) + " has sort " +
                             c.manager.type_of(a[position - 1])->abbreviated() + ", expected " + expected);
}

/// An operation on floating-point numbers.
template <OperatorDefinition::Build Build>
const Term* computed(OperatorContext& c, Args a) {
  check_exponents(c, a);
  return Build(c, a);
}

/// sign, exponent and significand bits put together: a literal when all three are.
const Term* from_parts(OperatorContext& c, Args a) {
  TermManager& m = c.manager;
  std::size_t widths[3];
  for (std::size_t i = 0; i < 3; ++i) {
    if (!m.is_bv_type(m.type_of(a[i]))) throw SortError("not a bit-vector");
    widths[i] = m.get_width_from_type(m.type_of(a[i]));
  }
  if (widths[0] != 1) throw SortError("the sign has one bit");
  const std::size_t ew = widths[1];
  const std::size_t mw = widths[2];
  if (ew == 1) bad_argument(c, a, 2, "a bit-vector of 2 bits or more");
  check_format(ew, mw + 1);
  const QNumber* sign = m.get_number(a[0]);
  const QNumber* exponent = m.get_number(a[1]);
  const QNumber* significand = m.get_number(a[2]);
  if (sign == nullptr || exponent == nullptr || significand == nullptr) {
    if (ew > max_exponent_width) {
      bad_argument(c, a, 2,
                   "at most " + std::to_string(max_exponent_width) + " bits where not all are literals");
    }
    const Term* low = m.make_bv_concat(a[1], a[2]);
    return m.make_fp_from_ieeebv(ew, mw, m.make_bv_concat(a[0], low));
  }
  QNumber all_ones;
  BVNumber::pow2(ew, &all_ones);
  all_ones -= QNumber(1);
  if (c.canonical_nan && *exponent == all_ones && !significand->is_zero())
    return quarv::canonical_nan(m, ew, mw);
  QNumber bits;
  BVNumber::bit_left_shift(*sign, ew, &bits);
  bits += *exponent;
  QNumber shifted;
  BVNumber::bit_left_shift(bits, mw, &shifted);
  shifted += *significand;
  return m.make_fp_bits_number(shifted, ew, mw);
}

/// `to_fp` by the sorts of its arguments: from bits, from another format, from a real, from a signed
/// bit-vector.
const Term* to_fp(OperatorContext& c, Args a) {
  TermManager& m = c.manager;
  const auto [ew, mw] = format_of(c);
  if (a.size() == 1) {
    const DataType* bits = m.get_bv_type(ew + mw + 1);
    if (m.type_of(a[0]) != bits) {
      throw ApplicationError(
          ApplicationError::Part::argument, 1,
          "argument 1 has sort " + m.type_of(a[0])->abbreviated() + ", expected " + bits->abbreviated());
    }
    return m.make_fp_from_ieeebv(ew, mw, a[0]);
  }
  const DataType* source = m.type_of(a[1]);
  if (m.is_fp_type(source)) return m.make_fp_cast(ew, mw, a[0], a[1]);
  if (m.is_bv_type(source)) return m.make_fp_from_sbv(ew, mw, a[0], a[1]);
  if (!m.is_arithmetic_type(source)) throw SortError("neither a number nor a bit-vector");
  const QNumber* value = m.simplifier() == nullptr ? nullptr : m.get_number(a[1]);
  if (value != nullptr) {
    if (const Term* folded = fold_real_to_fp(m, a[0], *value, ew, mw)) return folded;
  }
  return m.make_term(make_real_to_float_symbol(m, ew, mw), a);
}

const Term* to_fp_unsigned(OperatorContext& c, Args a) {
  const auto [ew, mw] = format_of(c);
  return c.manager.make_fp_from_ubv(ew, mw, a[0], a[1]);
}

template <auto Make>
const Term* to_bit_vector(OperatorContext& c, Args a) {
  if (c.indices[0] == 0) bad_index(1, "the width must be positive");
  if (c.indices[0] > max_width) {
    bad_index(1, "bit-vectors of more than " + std::to_string(max_width) + " bits are not supported");
  }
  return (c.manager.*Make)(c.indices[0], a[0], a[1]);
}

constexpr OperatorDefinition floating_point_table[] = {
    {"fp", 3, 3, 0, "bvv", from_parts},
    {"fp.geq", 2, OperatorDefinition::any_number, 0, "F", computed<chainable<swapped<&TM::make_fp_le>>>},
    {"fp.gt", 2, OperatorDefinition::any_number, 0, "F", computed<chainable<swapped<&TM::make_fp_lt>>>},
    {"to_fp", 1, 2, 2, "RX", computed<to_fp>},
    {"to_fp_unsigned", 2, 2, 2, "Rv", computed<to_fp_unsigned>},
    {"fp.to_ubv", 2, 2, 1, "RF", computed<to_bit_vector<&TM::make_fp_to_ubv>>},
    {"fp.to_sbv", 2, 2, 1, "RF", computed<to_bit_vector<&TM::make_fp_to_sbv>>},
};

}  // namespace

// Software floats take exponents of at most this many bits.
void check_exponents(const OperatorContext& c, Args a) {
  const TM& m = c.manager;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const DataType* type = m.type_of(a[i]);
    std::size_t ew = 0;
    std::size_t mw = 0;
    if (!m.is_fp_type(type) || !m.get_format_from_type(type, &ew, &mw) || ew <= max_exponent_width) continue;
    bad_argument(c, a, i + 1, "an exponent of at most " + std::to_string(max_exponent_width) + " bits");
  }
}

void check_format(std::size_t exponent_bits, std::size_t significand_bits) {
  if (exponent_bits < 2 || exponent_bits > max_width || significand_bits < 2 ||
      significand_bits > max_width) {
    throw SortError("FloatingPoint: widths " + std::to_string(exponent_bits) + " and " +
                    std::to_string(significand_bits) + " are not supported (exponent 2 to " +
                    std::to_string(max_width) + ", significand 2 to " + std::to_string(max_width) + ")");
  }
}

const Term* make_infinity(TermManager& m, bool negative, std::size_t ew, std::size_t mw) {
  QNumber bits;
  BVNumber::pow2(negative ? ew + 1 : ew, &bits);
  bits -= QNumber(1);
  QNumber shifted;
  BVNumber::bit_left_shift(bits, mw, &shifted);
  return m.make_fp_bits_number(shifted, ew, mw);
}

const Term* make_zero(TermManager& m, bool negative, std::size_t ew, std::size_t mw) {
  QNumber bits;
  if (negative) BVNumber::pow2(ew + mw, &bits);
  return m.make_fp_bits_number(bits, ew, mw);
}

}  // namespace build

std::span<const OperatorDefinition> floating_point_operators() {
  return build::floating_point_table;
}

}  // namespace quarv::smtlib
