/// \file
/// Checking what simplifiers do: operators on values, which the reference evaluator evaluates.
#include <algorithm>
#include <array>
#include <charconv>

#include "reference/operations.h"
#include "replay/replay_checker.h"

namespace quarv::cli {

namespace {

/// What simplifiers evaluate where all arguments are values. Of these the trace's reader knows the
/// signatures.
constexpr std::array folded = {
    "bvnot",         "bvneg",       "bvand",         "bvor",           "bvxor",         "bvadd",
    "bvsub",         "bvmul",       "bvudiv",        "bvurem",         "bvsdiv",        "bvsrem",
    "bvshl",         "bvlshr",      "bvashr",        "bvcomp",         "concat",        "extract",
    "zero_extend",   "sign_extend", "rotate_left",   "rotate_right",   "bvult",         "bvule",
    "bvslt",         "bvsle",       "bv2nat",        "sbv_to_int",     "int2bv",        "fp.abs",
    "fp.neg",        "fp.add",      "fp.sub",        "fp.mul",         "fp.div",        "fp.sqrt",
    "fp.min",        "fp.max",      "fp.eq",         "fp.lt",          "fp.leq",        "fp.isNaN",
    "fp.isInfinite", "fp.isZero",   "fp.isNormal",   "fp.isSubnormal", "fp.isNegative", "fp.isPositive",
    "fp.to_ubv",     "fp.to_sbv",   "fp.to_ieee_bv", "to_fp",          "to_fp_unsigned"};

/// Floating-point numbers are computed with as rational numbers; those of larger formats would be too long.
constexpr std::size_t most_exponent_bits = 20;

}  // namespace

/// The sort as the evaluator has it; null for sorts whose values are not numbers, and for too large formats.
const reference::Sort* FoldingChecker::reference_sort(std::size_t sort) const {
  const TraceSort& s = trace_.sort(sort);
  switch (s.kind) {
    case TraceSort::boolean:
      return sorts_.boolean();
    case TraceSort::integer:
      return sorts_.integer();
    case TraceSort::real:
      return sorts_.real();
    case TraceSort::rounding_mode:
      return sorts_.rounding_mode();
    case TraceSort::bit_vector:
      return sorts_.bit_vector(s.width);
    case TraceSort::floating_point:
      return s.width <= most_exponent_bits ? sorts_.floating_point(s.width, s.significand - 1) : nullptr;
    default:
      return nullptr;
  }
}

/// The value of a literal, a truth value or a rounding mode.
std::optional<reference::Value> FoldingChecker::literal(TermName t) const {
  if (const auto value = truth(t)) return reference::truth_value(*value);
  const Expression& e = trace_.term(t);
  const reference::Sort* const sort = reference_sort(e.sort);
  if (sort == nullptr) return std::nullopt;
  if (sort->kind == reference::Sort::rounding_mode && e.kind == Expression::operation) {
    const auto& names = reference::rounding_mode_names;
    const auto name = std::ranges::find(names, e.op);
    if (name == std::end(names)) return std::nullopt;
    return reference::Value{static_cast<long>(name - std::begin(names)), nullptr};
  }
  if (e.kind != Expression::value) return std::nullopt;
  if (is_nan(e)) return reference::Value{reference::FloatFormat(sort->width, sort->mantissa).nan(), nullptr};
  return reference::Value{e.number, nullptr};
}

/// The value of an operator on values, if the standard says what it is.
std::optional<reference::Value> FoldingChecker::evaluated(const Expression& e) const {
  if (std::ranges::find(folded, e.op) == folded.end()) return std::nullopt;
  std::vector<reference::Value> values;
  std::vector<const reference::Sort*> sorts;
  for (const TermName arg : e.args) {
    auto value = literal(arg);
    if (!value) return std::nullopt;
    values.push_back(std::move(*value));
    sorts.push_back(reference_sort(trace_.term(arg).sort));
  }
  const reference::Sort* const sort = reference_sort(e.sort);
  if (sort == nullptr || (e.op == "int2bv" && sorts[0]->kind != reference::Sort::integer))
    return std::nullopt;
  std::vector<const reference::Value*> args;
  for (const reference::Value& value : values) args.push_back(&value);
  std::vector<std::size_t> indices;
  for (const std::string& text : e.indices) {
    std::from_chars(text.data(), text.data() + text.size(), indices.emplace_back());
  }
  const reference::Operation& op = reference::operation_named(e.op);
  try {
    return op(reference::Call{op, sort, indices, sorts, args, nullptr});
  } catch (const reference::OpenValue&) {
    return std::nullopt;
  }
}

}  // namespace quarv::cli
