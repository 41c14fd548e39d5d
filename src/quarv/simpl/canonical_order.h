#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include <quarv/term/term.h>

namespace quarv::termsimpl {

/// The argument vector for writing. Simplifiers receive it as constant, yet by contract the caller does not
/// rely on its contents afterwards, and no vector that reaches a simplifier is a constant object.
inline std::vector<const Term*>& writable(const std::vector<const Term*>& args) {
  return const_cast<std::vector<const Term*>&>(args);
}

/// Puts arguments i and i + 1 of a commutative operator in ascending order of id, in place.
inline void order_by_id(const std::vector<const Term*>& args, std::size_t i = 0) {
  if (args[i]->id > args[i + 1]->id) std::swap(writable(args)[i], writable(args)[i + 1]);
}

}  // namespace quarv::termsimpl
