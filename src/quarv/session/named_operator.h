#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include <quarv/term/operators.h>

namespace quarv {

/// The operator of that SMT-LIB name, without indices, for which there can be simplifications of one's own.
/// \throws std::invalid_argument when there is none
inline const OperatorRow& operator_named(std::string_view name) {
  for (const OperatorRow& row : tagged_operators()) {
    if (name == row.smtlib || name == row.synonym || name == row.name) return row;
  }
  throw std::invalid_argument("no operator " + std::string(name) +
                              " has simplifications; it is made of others");
}

}  // namespace quarv
