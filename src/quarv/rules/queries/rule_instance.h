#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include <quarv/export.h>
#include <quarv/rules/language/rule_language.h>

namespace quarv::rules {

/// The exponent's and the significand's width, with the hidden bit, of a floating-point sort.
struct Format {
  std::size_t exponent = 0;
  std::size_t significand = 0;
};

/// A rule with a width for each bit-vector and a value for each integer; values of bit-vectors are left open.
struct QUARV_API RuleInstance {
  std::vector<std::size_t> widths;      ///< by position; 0 at the root when it is a truth value
  std::vector<std::uint64_t> integers;  ///< by parameter

  /// By sort of the rule: what it is in SMT-LIB. Sorts of which nothing is known are uninterpreted: what
  /// holds of them holds of all.
  std::vector<std::string> sorts;
  std::vector<std::size_t> sort_widths;  ///< by sort: of bit-vectors
  std::vector<Format> formats;           ///< by sort: of floating-point numbers

  std::size_t largest_width() const;
};

/// The formats in which rules on floating-point numbers are tried.
QUARV_API std::span<const Format> formats_to_try();

/// All instances whose variables are at most `bound` bits wide and whose integer conditions hold. Extensions
/// add up to `bound` + 1 bits, rotation amounts go beyond twice the width, extractions are everywhere.
QUARV_API std::vector<RuleInstance> all_instances(const Rule& rule, std::size_t bound);

/// Some of the instances whose widest bit-vector has `width` bits: the smallest, the largest and a middle
/// value wherever there is a choice, and those around the numbers that the rule itself names.
QUARV_API std::vector<RuleInstance> some_instances(const Rule& rule, std::size_t width);

/// The moduli for which a rule on congruences is asked about: some small ones, and those that it names. None
/// for other rules.
QUARV_API std::set<std::size_t> moduli_to_try(const Rule& rule);

/// Widths that a rule asks for by the numbers that it names, in ascending order: around the widths and
/// indices that it compares with, around their sums and differences, and where its constants just fit. A rule
/// that says `(size(t) == 20)` applies at no other width.
QUARV_API std::vector<std::size_t> own_widths(const Rule& rule);

/// The value of an expression; it must not read values of bit-vectors.
QUARV_API std::uint64_t evaluate(const IntExpr& expression, const RuleInstance& instance);

/// The width of an operator's result, 0 for a truth value, by its integers and the widths of its arguments;
/// nothing where these do not fit.
QUARV_API std::optional<std::size_t> width_of_application(const OperatorWord& op,
                                                          const std::vector<std::uint64_t>& parameters,
                                                          const std::vector<std::size_t>& widths);

}  // namespace quarv::rules
