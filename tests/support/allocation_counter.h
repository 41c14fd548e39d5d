/// \file
/// Counts heap allocations and makes them fail. Linking it into a test program replaces the global
/// `operator new`, and the linker redirects `malloc`, `calloc` and `realloc` of the program's own code here.
#pragma once

#include <cstddef>

namespace quarv {

/// How often memory was asked for so far: by the program's own code (the system's libraries are left out, but
/// not what they do through `operator new`), and by GMP while `CountGmpAllocations` objects exist.
long allocation_count();

/// Has GMP's allocations counted during its life.
class CountGmpAllocations {
 public:
  CountGmpAllocations();
  ~CountGmpAllocations();
  CountGmpAllocations(const CountGmpAllocations&) = delete;
  CountGmpAllocations& operator=(const CountGmpAllocations&) = delete;
};

/// During its life GMP's allocations are counted and fail as others do, by `std::bad_alloc`.
class ThrowingGmp {
 public:
  ThrowingGmp();
  ~ThrowingGmp();
  ThrowingGmp(const ThrowingGmp&) = delete;
  ThrowingGmp& operator=(const ThrowingGmp&) = delete;
};

/// During its life only the next `successes` allocations succeed; all later ones fail, or only the first of
/// them. GMP is spared, unless it is a `ThrowingGmp`: it cannot report a failure.
class FailAllocations {
 public:
  enum Extent { all_later, one };

  explicit FailAllocations(long successes, Extent extent = all_later);
  ~FailAllocations();
  FailAllocations(const FailAllocations&) = delete;
  FailAllocations& operator=(const FailAllocations&) = delete;
};

}  // namespace quarv
