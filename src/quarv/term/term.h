#pragma once

#include <cstdint>

#include <quarv/term/symbol.h>
#include <quarv/util/hash_map.h>

namespace quarv {

/// An immutable, hash-consed term: two terms of one manager are equal exactly when their pointers are.
/// The number of arguments follows from the symbol (`TermManager::arity`).
struct Term {
  std::uint64_t id;      ///< creation number, dense from 0; the only ordering key between terms
  const Symbol* symbol;  ///< the head
  const Term* args[];    ///< the children, inline
};

static_assert(sizeof(Term) == 16);

/// The order of terms by ascending id.
struct Term_lt {
  bool operator()(const Term* a, const Term* b) const noexcept { return a->id < b->id; }
};

namespace hsh {

/// Terms hash to their id, so that iteration order does not depend on addresses.
template <>
struct hash<const Term*> {
  std::uint64_t operator()(const Term* t) const noexcept { return t->id; }
};

}  // namespace hsh
}  // namespace quarv
