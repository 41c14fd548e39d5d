#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <quarv/rules/language/rule_language.h>

namespace quarv::cli {

/// A side of a rule as a term of a term rewriting system.
struct OrderTerm {
  enum class Kind : std::uint8_t { variable, constant, application };
  Kind kind = Kind::constant;
  std::size_t variable = 0;                 ///< position in the pattern
  const rules::OperatorWord* op = nullptr;  ///< null for constants
  std::vector<rules::IntExpr> integers{};   ///< of the operator
  std::vector<OrderTerm> args{};
};

OrderTerm pattern_term(const rules::Rule& rule);
OrderTerm result_term(const rules::Rule& rule);

/// Both sides have the same operators and leaves, and conditions say which arrangement is the better one.
bool rearranges(const rules::Rule& rule);

/// SMT-LIB: the pattern is greater than the result, in terms of the integers `weight_name` and
/// `precedence_name`.
std::string goes_down(const rules::Rule& rule);

/// "w.bvadd"; of constants for null.
std::string weight_name(const rules::OperatorWord* op);
std::string precedence_name(const rules::OperatorWord* op);

}  // namespace quarv::cli
