#pragma once

#include <optional>
#include <span>
#include <vector>

#include "reference/values.h"
#include "replay/trace_file.h"

namespace quarv::cli {

/// Operators on literals, as the reference evaluator evaluates them.
class LiteralEvaluation {
 public:
  struct Argument {
    reference::Value value;
    const reference::Sort* sort;
  };

  /// The sort as the evaluator has it; null for sorts whose values are not numbers, and for too large
  /// formats.
  const reference::Sort* sort(const TraceSort& s);

  /// A rounding mode; nothing for other words.
  std::optional<reference::Value> rounding_mode(const Expression& e) const;

  /// The value of the operator `e` on these arguments, if the standard says what it is and it is one of those
  /// that simplifiers evaluate.
  std::optional<reference::Value> operator()(const Expression& e, const TraceSort& result,
                                             std::span<const Argument> args);

 private:
  reference::Sorts sorts_;
};

}  // namespace quarv::cli
