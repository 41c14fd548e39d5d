#pragma once

#include <functional>
#include <string>

#include <quarv/term/sort_error.h>

namespace quarv {

/// What the action is refused with, "none" where it is not.
inline std::string error_of(const std::function<void()>& action) {
  try {
    action();
  } catch (const SortError& e) {
    return e.what();
  }
  return "none";
}

}  // namespace quarv
