#include "replay/literal_evaluation.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "reference/operations.h"

namespace quarv::cli {

namespace {

/// What simplifiers evaluate where all arguments are values. Of these the trace's reader knows the
/// signatures.
constexpr std::array folded = {"bvnot",          "bvneg",          "bvand",         "bvor",
                               "bvxor",          "bvadd",          "bvsub",         "bvmul",
                               "bvudiv",         "bvurem",         "bvsdiv",        "bvsrem",
                               "bvshl",          "bvlshr",         "bvashr",        "bvcomp",
                               "concat",         "extract",        "zero_extend",   "sign_extend",
                               "rotate_left",    "rotate_right",   "bvult",         "bvule",
                               "bvslt",          "bvsle",          "bv2nat",        "sbv_to_int",
                               "int2bv",         "fp.abs",         "fp.neg",        "fp.add",
                               "fp.sub",         "fp.mul",         "fp.div",        "fp.sqrt",
                               "fp.min",         "fp.max",         "fp.eq",         "fp.lt",
                               "fp.leq",         "fp.isNaN",       "fp.isInfinite", "fp.isZero",
                               "fp.isNormal",    "fp.isSubnormal", "fp.isNegative", "fp.isPositive",
                               "fp.to_ubv",      "fp.to_sbv",      "fp.to_ieee_bv", "to_fp",
                               "to_fp_unsigned", "fp.fma",         "fp.rem",        "fp.roundToIntegral",
                               "fp.to_real"};

/// Floating-point numbers are computed with as rational numbers; those of larger formats would be too long.
constexpr std::size_t most_exponent_bits = 20;

}  // namespace

const reference::Sort* LiteralEvaluation::sort(const TraceSort& s) {
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

std::optional<reference::Value> LiteralEvaluation::rounding_mode(const Expression& e) const {
  const auto& names = reference::rounding_mode_names;
  const auto name = std::ranges::find(names, e.op);
  if (e.kind != Expression::operation || name == std::end(names)) return std::nullopt;
  return reference::Value{static_cast<long>(name - std::begin(names)), nullptr};
}

std::optional<reference::Value> LiteralEvaluation::operator()(const Expression& e, const TraceSort& result,
                                                              std::span<const Argument> args) {
  if (std::ranges::find(folded, e.op) == folded.end()) return std::nullopt;
  const reference::Sort* const sort_of_result = sort(result);
  if (sort_of_result == nullptr) return std::nullopt;
  if (e.op == "int2bv" && args[0].sort->kind != reference::Sort::integer) return std::nullopt;
  std::vector<const reference::Value*> values;
  std::vector<const reference::Sort*> sorts;
  for (const Argument& arg : args) {
    values.push_back(&arg.value);
    sorts.push_back(arg.sort);
  }
  std::vector<std::size_t> indices;
  for (const std::string& text : e.indices) {
    std::from_chars(text.data(), text.data() + text.size(), indices.emplace_back());
  }
  const reference::Operation& op = reference::operation_named(e.op);
  try {
    return op(reference::Call{op, sort_of_result, indices, sorts, values, nullptr});
  } catch (const reference::OpenValue&) {
    return std::nullopt;
  }
}

}  // namespace quarv::cli
