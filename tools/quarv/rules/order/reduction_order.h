#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "solver/solver_process.h"
#include <quarv/rules/language/rule_language.h>

namespace quarv::cli {

/// Why applying a rule again and again comes to an end.
struct RuleOrder {
  enum class Kind : std::uint8_t {
    decreases,   ///< the result is smaller than the pattern in the order
    rearranges,  ///< the same operators on the same operands, which the conditions put into an order of their
                 ///< own
    none,        ///< it is neither
  };
  Kind kind = Kind::none;
};

/// An order in which as many rules as can be go down together: a Knuth-Bendix order, in which operators that
/// commute compare their operands as multisets, so that it does not depend on how operands are arranged.
struct ReductionOrder {
  bool decided = false;                 ///< the solver answered all that it was asked
  std::vector<RuleOrder> rules;         ///< as given
  std::vector<std::string> weights;     ///< "bvsub 4", the heaviest first
  std::vector<std::string> precedence;  ///< operators, the greatest first
};

/// Lets a solver for linear integer arithmetic find weights and a precedence. Constants have one weight,
/// whatever their values, and what is computed from constants alone is one constant: constructors fold it.
/// Rules that come first have priority. Throws SolverError.
ReductionOrder find_order(std::span<const rules::Rule> rules, SolverProcess& solver,
                          std::chrono::milliseconds limit);

}  // namespace quarv::cli
