/// \file
/// Checking what simplifiers do: operators on values, which the reference evaluator evaluates.
#include "replay/replay_checker.h"

namespace quarv::cli {

/// The value of a literal, a truth value or a rounding mode.
std::optional<reference::Value> FoldingChecker::literal(TermName t) const {
  if (const auto value = truth(t)) return reference::truth_value(*value);
  const Expression& e = trace_.term(t);
  const reference::Sort* const sort = evaluation_.sort(trace_.sort(e.sort));
  if (sort == nullptr) return std::nullopt;
  if (sort->kind == reference::Sort::rounding_mode) return evaluation_.rounding_mode(e);
  if (e.kind != Expression::value) return std::nullopt;
  if (is_nan(e)) return reference::Value{reference::FloatFormat(sort->width, sort->mantissa).nan(), nullptr};
  return reference::Value{e.number, nullptr};
}

/// The value of an operator on values, if the standard says what it is.
std::optional<reference::Value> FoldingChecker::evaluated(const Expression& e) const {
  std::vector<LiteralEvaluation::Argument> args;
  for (const TermName arg : e.args) {
    auto value = literal(arg);
    if (!value) return std::nullopt;
    args.push_back({std::move(*value), evaluation_.sort(trace_.sort_of(arg))});
  }
  return evaluation_(e, trace_.sort(e.sort), args);
}

}  // namespace quarv::cli
