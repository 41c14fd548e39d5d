/// \file
/// Counts heap allocations. Linking it into a test program replaces the global `operator new`.
#pragma once

#include <cstddef>

namespace quarv {

/// How often `operator new` ran so far, and GMP's allocator while `CountGmpAllocations` objects exist.
long allocation_count();

/// Has GMP's allocations counted during its life.
class CountGmpAllocations {
 public:
  CountGmpAllocations();
  ~CountGmpAllocations();
  CountGmpAllocations(const CountGmpAllocations&) = delete;
  CountGmpAllocations& operator=(const CountGmpAllocations&) = delete;
};

}  // namespace quarv
