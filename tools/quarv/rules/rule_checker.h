#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "solver/solver_process.h"
#include <quarv/rules/queries/rule_query.h>

namespace quarv::cli {

/// What a solver says of a rule.
struct RuleVerdict {
  /// Widths at which the rule applies and holds; up to `small_width` all instances were tried. Rules without
  /// widths have 0 in these lists.
  std::vector<std::size_t> proved;
  std::vector<std::size_t> undecided;  ///< widths at which the time was over
  std::vector<std::size_t> vacuous;    ///< widths at which nothing was found that the rule applies to
  std::string counterexample;          ///< empty: none was found

  /// Values under which the solver said that pattern and result differ, though they do not: the first.
  std::string no_counterexample;

  bool refuted() const noexcept { return !counterexample.empty(); }
  /// ": the solver's counterexample is none, t = #b01" for what is undecided for that; else empty.
  std::string why_undecided() const;
};

/// Up to this width all instances of a rule are checked; beyond, some.
inline constexpr std::size_t small_width = 4;
inline constexpr std::size_t largest_width = 64;
/// The larger widths that are tried for each rule.
std::span<const std::size_t> larger_widths();

/// Asks a solver whether rules hold.
class RuleChecker {
 public:
  /// `limit` is for each query at larger widths; small ones have more time, since they must be decided.
  RuleChecker(const std::string& solver, std::chrono::milliseconds limit) : solver_(solver), limit_(limit) {}

  /// Checks all small instances and then, unless one refutes it, larger ones up to `max_width`; without it,
  /// those that the rule itself asks for may be larger than `largest_width`. Of the others, larger ones than
  /// one that is undecided are not tried. Throws what SolverProcess does.
  RuleVerdict check(const rules::Rule& rule, std::optional<std::size_t> max_width);

 private:
  using Answer = SolverProcess::Answer;
  using Instances = std::span<const rules::RuleInstance>;

  void try_numbers(const rules::Rule& rule, RuleVerdict& verdict);
  Answer ask(const rules::Rule& rule, const std::string& commands, std::chrono::milliseconds limit);
  Answer check_instances(const rules::Rule& rule, Instances instances, std::chrono::milliseconds limit,
                         RuleVerdict& verdict);
  Answer check_together(const rules::Rule& rule, Instances instances, std::chrono::milliseconds limit);
  Answer check_one(const rules::Rule& rule, const rules::RuleInstance& instance,
                   std::chrono::milliseconds limit, RuleVerdict& verdict);
  bool note_counterexample(const rules::Rule& rule, const rules::RuleInstance& instance,
                           const rules::RuleQuery& query, RuleVerdict& verdict);
  bool find_application(const rules::Rule& rule, Instances instances);
  void check_width(const rules::Rule& rule, std::size_t width, RuleVerdict& verdict);

  SolverProcess solver_;
  std::chrono::milliseconds limit_;
};

/// The same; of rules without widths "all values", or the formats that were tried, "formats 2+3, 3+5": bits
/// of the exponent and of the significand, with the hidden one.
std::string list_of_instances(const rules::Rule& rule, const std::vector<std::size_t>& widths);

/// "formats 2+3, 3+5"; empty for a rule without floating-point numbers.
std::string list_of_formats(const rules::Rule& rule);

/// "widths 1-4, 8, 16", "width 20".
std::string list_of_widths(const std::vector<std::size_t>& widths);

}  // namespace quarv::cli
