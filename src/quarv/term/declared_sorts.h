#pragma once

#include <cstddef>
#include <functional>
#include <set>

#include <quarv/export.h>
#include <quarv/term/term_manager.h>

namespace quarv {

/// Calls `visit` for each declared sort that occurs in `sort`, and for each constructor of sorts with the
/// number of its parameters. A sort may be met more than once, but none of those in `seen`, which grows.
QUARV_API void for_each_declared_sort(const TermManager& manager, const DataType* sort,
                                      const std::function<void(const DataType*, std::size_t)>& visit,
                                      std::set<const DataType*>& seen);

inline void for_each_declared_sort(const TermManager& manager, const DataType* sort,
                                   const std::function<void(const DataType*, std::size_t)>& visit) {
  std::set<const DataType*> seen;
  for_each_declared_sort(manager, sort, visit, seen);
}

}  // namespace quarv
