/// \file
/// What happens when GMP has no memory.
#pragma once

#include <cstddef>

#include <quarv/export.h>

namespace quarv {

/// While one of these exists, GMP throws std::bad_alloc when it has no memory; otherwise it ends the process.
///
/// The functions by which GMP allocates belong to the whole process, so this is in force for all of a
/// program's threads and for what else in it uses GMP. A program that gave GMP functions of its own keeps
/// them, and decides by them what happens. Memory passes freely between GMP's own functions and these.
///
/// GMP was not made to be left by exceptions. quarv calls it in such a way that all numbers stay sound; what
/// GMP needed for the moment may be lost. Other code that calls GMP, and catches the exception, must destroy
/// or assign none of the numbers that were results.
class QUARV_API GmpBadAlloc {
 public:
  GmpBadAlloc() noexcept;
  /// Brings back what was in force.
  ~GmpBadAlloc();
  GmpBadAlloc(const GmpBadAlloc&) = delete;
  GmpBadAlloc& operator=(const GmpBadAlloc&) = delete;

 private:
  bool installed_;
};

}  // namespace quarv
