#pragma once

#include <stdexcept>
#include <string>

#include <quarv/export.h>

namespace quarv {

/// Thrown by the manager's constructors when arguments do not fit the operator. The message names the
/// operator, the position of the argument (from 1), its type and the type that is needed. Nothing has been
/// interned.
class QUARV_API SortError : public std::invalid_argument {
 public:
  explicit SortError(const std::string& message) : std::invalid_argument(message) {}
};

}  // namespace quarv
